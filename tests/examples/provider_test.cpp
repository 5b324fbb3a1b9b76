// The provider's objects; what a host makes of them, the session of the command-line host shows.
#include "provider.h"

#include <gtest/gtest.h>

#include <map>

#include "file_io.h"
#include "profiles/provider_support.h"
#include "support/adr_list.h"
#include "support/hive.h"
#include "support/refusing_objects.h"
#include "support/values.h"

namespace uab::vcard {
namespace {

constexpr char kFriends[] =
    "BEGIN:VCARD\nVERSION:3.0\nFN:Ann\nUID:ann\nTEL;TYPE=FAX:+1 555 0101\nX-ODD:keep\nEND:VCARD\n"
    "BEGIN:VCARD\nVERSION:3.0\nFN:Bob\nUID:bob\nTEL;TYPE=VOICE:+1 555 0102\nEMAIL:bob@example.com\nEND:VCARD\n"
    "BEGIN:VCARD\nVERSION:3.0\nFN:lost\n"
    "BEGIN:VCARD\nVERSION:3.0\nX-ADDRESSBOOKSERVER-KIND:group\nFN:All\nUID:all\n"
    "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:ann\nX-ADDRESSBOOKSERVER-MEMBER:urn:uuid:cyd\n"
    "X-ADDRESSBOOKSERVER-MEMBER:mailto:BOB@example.com\nX-ADDRESSBOOKSERVER-MEMBER:urn:uuid:nobody\nEND:VCARD\n";
constexpr char kWork[] =
    "BEGIN:VCARD\nVERSION:4.0\nFN:Cyd\nUID:urn:uuid:cyd\nTEL;TYPE=fax:+1 555 0103\nEND:VCARD\n"
    "BEGIN:VCARD\nVERSION:4.0\nFN:X\nUID:urn:uuid:\nEND:VCARD\n";

std::string Utf8(const SPropValue& value) {
  return PropType(value.ulPropTag) == PT_UNICODE ? ToUtf8(value.Value.lpszW) : "-";
}

// The settings of a service.
struct FakeSection : RefusingProp<Refusing<IProfSect>> {
  std::map<ULONG, Text> texts;

  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    const Memory memory{UABAllocateBuffer, UABAllocateMore, UABFreeBuffer};
    Properties properties;
    for (const auto& [tag, text] : texts) properties.AddText(tag, ToUtf8(text));
    return HandOver(memory, properties, tags, count, values);
  }
};

struct AnyUid : UidRegistrar {
  HRESULT RegisterUid(const MAPIUID&) noexcept override { return S_OK; }
};

class VCardProvider : public testing::Test {
 protected:
  VCardProvider() {
    hive_.WriteFile("friends.vcf", kFriends);
    hive_.WriteFile("work.vcf", kWork);
    EXPECT_EQ(ProviderSupport::Create(std::make_unique<AnyUid>(), support_), S_OK);
    section_.texts[PR_VCARD_FOLDER_W] = hive_.PathOf("");
    section_.texts[UAB_PR_FILE_NAME_W] = UAB_TEXT("friends.vcf");
    Open();
  }
  ~VCardProvider() override {
    book_.Reset();
    EXPECT_EQ(support_->AddRef(), 2u) << "the provider keeps its support object";
    support_->Release();
  }

  // Again: what is stored is read anew.
  void Open() {
    WCHAR key[] = UAB_TEXT("app");
    ASSERT_EQ(ABProviderOpen(key, nullptr, support_.Get(), &section_, 0, MAPI_UNICODE, UABAllocateBuffer,
                             UABAllocateMore, UABFreeBuffer, book_.Put(), 0),
              S_OK);
    IMAPITable* books = nullptr;
    EXPECT_EQ(OpenId<IABContainer>("", MAPI_ABCONT)->GetHierarchyTable(MAPI_UNICODE, &books), S_OK);
    Rows(books);
  }
  HRESULT OpenEntry(const std::string& id, const IID* iid, ULONG flags, ULONG* type, IUnknown** object) {
    return book_->OpenEntry(SizeOf(id), EntryIn(id), iid, flags, type, object);
  }
  template <typename T>
  ComPtr<T> OpenId(const std::string& id, ULONG expected_type, ULONG flags = MAPI_MODIFY) {
    ULONG type = 0;
    IUnknown* object = nullptr;
    EXPECT_EQ(OpenEntry(id, nullptr, flags, &type, &object), S_OK);
    EXPECT_EQ(type, expected_type);
    return ComPtr<T>::Attach(static_cast<T*>(object));
  }
  // Each row as "name|number|type;". Identifiers are kept, by name.
  std::string Rows(IMAPITable* table) {
    const auto owner = ComPtr<IMAPITable>::Attach(table);
    constexpr TagArray<4> kTags{4, {PR_ENTRYID, PR_DISPLAY_NAME_W, PR_EMAIL_ADDRESS_W, PR_OBJECT_TYPE}};
    RowSetPtr rows;
    EXPECT_EQ(table->SetColumns(kTags.address(), 0), S_OK);
    EXPECT_GE(table->QueryRows(100, 0, rows.Put()), 0);
    std::string shown;
    for (ULONG i = 0; i < rows->cRows; ++i) {
      const SPropValue* row = rows->aRow[i].lpProps;
      ids_[Utf8(row[1])] = Bytes(row[0].Value.bin.lpb, row[0].Value.bin.cb);
      shown += Utf8(row[1]) + "|" + Utf8(row[2]) + "|" + std::to_string(row[3].Value.l) + ";";
    }
    return shown;
  }
  std::string Contents(IMAPIContainer& container) {
    IMAPITable* table = nullptr;
    EXPECT_EQ(container.GetContentsTable(MAPI_UNICODE, &table), S_OK);
    return Rows(table);
  }
  // A new entry from a container's template for lists or users, not saved yet.
  ComPtr<IMAPIProp> Create(IABContainer& container, ULONG which, const std::vector<SPropValue>& values) {
    ULONG count = 0;
    ChainPtr<SPropValue> id;
    ComPtr<IMAPIProp> made;
    const TagArray<1> tags{1, {which}};
    EXPECT_EQ(container.GetProps(tags.address(), MAPI_UNICODE, &count, id.Put()), S_OK);
    const SBinary& bytes = id->Value.bin;
    EXPECT_EQ(container.CreateEntry(bytes.cb, reinterpret_cast<ENTRYID*>(bytes.lpb), 0, made.Put()), S_OK);
    auto* given = const_cast<SPropValue*>(values.data());
    EXPECT_TRUE(values.empty() || made->SetProps(static_cast<ULONG>(values.size()), given, nullptr) == S_OK);
    return made;
  }

  TestHive hive_;
  FakeSection section_;
  ComPtr<ProviderSupport> support_;
  ComPtr<IAddrBook> book_;
  std::map<std::string, std::string> ids_;
};

TEST_F(VCardProvider, RefusesWhatIsNoIdentifierOfItsOwn) {
  const std::string good = ids_["work"];
  ULONG type = 9;
  IUnknown* object = nullptr;
  for (std::size_t size = 1; size < good.size(); ++size) {
    EXPECT_EQ(OpenEntry(good.substr(0, size), nullptr, 0, &type, &object), MAPI_E_INVALID_ENTRYID) << size;
  }
  std::string gone = good;
  gone.back() ^= 1;
  EXPECT_EQ(OpenEntry(gone, nullptr, 0, &type, &object), MAPI_E_NOT_FOUND);
  EXPECT_EQ(OpenEntry(good, &IID_IMailUser, 0, &type, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  gone.resize(20);
  SBinary foreign = BinaryIn(gone);
  ENTRYLIST list{1, &foreign};
  EXPECT_EQ(OpenId<IABContainer>(good, MAPI_ABCONT)->DeleteEntries(&list, 0), MAPI_E_INVALID_ENTRYID);
}

TEST_F(VCardProvider, ChangesOneCardAndLeavesTheRestOfTheFile) {
  std::string file = kFriends;
  Contents(*OpenId<IABContainer>(ids_["friends"], MAPI_ABCONT));
  SPropValue values[] = {TextValue(PR_EMAIL_ADDRESS_W, UAB_TEXT("+1 555 0199")), LongValue(PR_OBJECT_TYPE, 8),
                         LongValue(PR_NULL, 0)};
  EXPECT_EQ(OpenId<IMailUser>(ids_["Ann"], MAPI_MAILUSER, 0)->SetProps(1, values, nullptr), E_ACCESSDENIED);
  auto ann = OpenId<IMailUser>(ids_["Ann"], MAPI_MAILUSER);
  ChainPtr<SPropProblemArray> problems;
  ASSERT_EQ(ann->SetProps(3, values, problems.Put()), S_OK);
  EXPECT_TRUE(problems && problems->cProblem == 1 && problems->aProblem[0].scode == MAPI_E_COMPUTED);
  hive_.WriteFile("friends.vcf", file.replace(file.find("FN:Ann"), 6, "FN:Anna"));  // by another program, meanwhile
  ASSERT_EQ(ann->SaveChanges(0), S_OK);
  EXPECT_EQ(ann->SetProps(1, values, nullptr), E_ACCESSDENIED) << "closed for writing";
  EXPECT_EQ(ReadWholeFile(hive_.Folder() / "friends.vcf"), file.replace(file.find("0101"), 4, "0199"));
}

TEST_F(VCardProvider, CreatesLinksUnlinksAndDeletes) {
  auto work = OpenId<IABContainer>(ids_["work"], MAPI_ABCONT);
  auto list = Create(*work, PR_DEF_CREATE_DL, {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("List"))});
  ASSERT_EQ(list->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  ComPtr<IDistList> members;
  ASSERT_EQ(list->QueryInterface(IID_IDistList, members.PutVoid()), S_OK);
  EXPECT_EQ(Create(*members, PR_DEF_CREATE_MAILUSER, {})->SaveChanges(0), MAPI_E_MISSING_REQUIRED_COLUMN);
  auto dora = Create(
      *members, PR_DEF_CREATE_MAILUSER,
      {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Dora \x00e9")), TextValue(PR_EMAIL_ADDRESS_W, UAB_TEXT("+1 555 0104"))});
  ASSERT_EQ(dora->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  Contents(*work);
  const std::string cyd = ids_["Cyd"], odd = ids_["X"];
  SBinary entries[] = {BinaryIn(cyd), BinaryIn(cyd), BinaryIn(odd), BinaryIn(cyd)};
  ENTRYLIST both{2, entries}, one{1, entries}, last{2, entries + 2};
  ASSERT_EQ(members->CopyEntries(&both, 0, nullptr, 1), S_OK);
  EXPECT_EQ(members->CopyEntries(&last, 0, nullptr, 1), E_ACCESSDENIED) << "no line can name the odd one";
  EXPECT_EQ(Contents(*members), "Dora \xC3\xA9|+1 555 0104|6;Cyd|+1 555 0103|6;");
  ASSERT_EQ(members->DeleteEntries(&one, 0), S_OK);
  EXPECT_EQ(Contents(*members), "Dora \xC3\xA9|+1 555 0104|6;");
  EXPECT_EQ(Contents(*work), "Cyd|+1 555 0103|6;X|-|6;List|-|8;Dora \xC3\xA9|+1 555 0104|6;") << "its card stays";
  ASSERT_EQ(OpenId<IABContainer>("", MAPI_ABCONT)->DeleteEntries(&one, 0), S_OK)
      << "through the root, as the host does";
  work.Reset(), list.Reset(), members.Reset(), dora.Reset();
  Open();
  EXPECT_EQ(Contents(*OpenId<IABContainer>(ids_["work"], MAPI_ABCONT)), "X|-|6;List|-|8;Dora \xC3\xA9|+1 555 0104|6;");
  EXPECT_EQ(Contents(*OpenId<IDistList>(ids_["List"], MAPI_DISTLIST)), "Dora \xC3\xA9|+1 555 0104|6;");
}

}  // namespace
}  // namespace uab::vcard
