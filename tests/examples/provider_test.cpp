// The provider's objects; what a host makes of them, the session of the command-line host shows.
#include "provider.h"

#include <gtest/gtest.h>

#include <map>

#include "com.h"
#include "file_io.h"
#include "profiles/provider_support.h"
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
constexpr char kWork[] = "BEGIN:VCARD\nVERSION:4.0\nFN:Cyd\nUID:urn:uuid:cyd\nTEL;TYPE=fax:+1 555 0103\nEND:VCARD\n";

std::string Utf8(const SPropValue& value) {
  return PropType(value.ulPropTag) == PT_UNICODE ? ToUtf8(value.Value.lpszW) : "<no text>";
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
    book_ = {};
    EXPECT_EQ(support_->AddRef(), 2u) << "the provider keeps its support object";
    support_->Release();
  }

  void Open() {
    book_ = {};
    IAddrBook* book = nullptr;
    WCHAR key[] = UAB_TEXT("app");
    ASSERT_EQ(ABProviderOpen(key, nullptr, support_.Get(), &section_, 0, MAPI_UNICODE, UABAllocateBuffer, UABAllocateMore,
                             UABFreeBuffer, &book, 0),
              S_OK);
    book_ = Ref<IAddrBook>::Attach(book);
  }

  template <typename T>
  Ref<T> OpenId(const std::string& id, ULONG expected_type, ULONG flags = MAPI_MODIFY) {
    ULONG type = 0;
    IUnknown* object = nullptr;
    const HRESULT hr = book_->OpenEntry(static_cast<ULONG>(id.size()), Entry(id), nullptr, flags, &type, &object);
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(type, expected_type);
    return Ref<T>::Attach(static_cast<T*>(object));
  }
  static ENTRYID* Entry(const std::string& id) { return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data())); }

  // Rows as "name|number|type", identifiers by name.
  std::vector<std::string> Rows(IMAPITable* table, std::map<std::string, std::string>* ids = nullptr) {
    const Ref<IMAPITable> owner = Ref<IMAPITable>::Attach(table);
    constexpr TagArray<5> kTags{5, {PR_ENTRYID, PR_NULL, PR_DISPLAY_NAME_W, PR_EMAIL_ADDRESS_W, PR_OBJECT_TYPE}};
    EXPECT_EQ(table->SetColumns(kTags.address(), 0), S_OK);
    std::vector<std::string> result;
    for (SRowSet* rows = nullptr; Succeeded(table->QueryRows(1, 0, &rows)); UABFreeProws(rows)) {
      if (rows->cRows == 0) {
        UABFreeProws(rows);
        break;
      }
      const SPropValue* row = rows->aRow[0].lpProps;
      EXPECT_EQ(row[1].ulPropTag, PR_NULL);
      const std::string name = Utf8(row[2]);
      const bool address = row[3].ulPropTag == PR_EMAIL_ADDRESS_W;
      result.push_back(name + "|" + (address ? Utf8(row[3]) : "-") + "|" + std::to_string(row[4].Value.l));
      if (ids) (*ids)[name] = IdentifierBytes(row[0].Value.bin.lpb, row[0].Value.bin.cb);
    }
    return result;
  }
  template <typename Container>
  std::vector<std::string> Contents(const Container& container, std::map<std::string, std::string>* ids = nullptr) {
    IMAPITable* table = nullptr;
    EXPECT_EQ(container->GetContentsTable(MAPI_UNICODE, &table), S_OK);
    return Rows(table, ids);
  }
  std::map<std::string, std::string> Books() {
    std::map<std::string, std::string> ids;
    IMAPITable* table = nullptr;
    auto root = OpenId<IABContainer>("", MAPI_ABCONT);
    EXPECT_EQ(root->GetHierarchyTable(MAPI_UNICODE, &table), S_OK);
    Rows(table, &ids);
    return ids;
  }
  std::string IdOf(IMAPIProp& object, ULONG tag = PR_ENTRYID) {
    ULONG count = 0;
    SPropValue* values = nullptr;
    const TagArray<1> tags{1, {tag}};
    EXPECT_EQ(object.GetProps(tags.address(), MAPI_UNICODE, &count, &values), S_OK);
    const std::string id = IdentifierBytes(values->Value.bin.lpb, values->Value.bin.cb);
    UABFreeBuffer(values);
    return id;
  }
  Ref<IMAPIProp> Create(IABContainer& container, ULONG which, const WCHAR* name, const WCHAR* number) {
    const std::string id = IdOf(container, which);
    IMAPIProp* made = nullptr;
    EXPECT_EQ(container.CreateEntry(static_cast<ULONG>(id.size()), Entry(id), 0, &made), S_OK);
    SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, name), TextValue(PR_EMAIL_ADDRESS_W, number)};
    EXPECT_EQ(made->SetProps(number ? 2 : 1, values, nullptr), S_OK);
    return Ref<IMAPIProp>::Attach(made);
  }
  std::string File(const char* name) { return ReadWholeFile(hive_.Folder() / name).value_or("<none>"); }

  TestHive hive_;
  FakeSection section_;
  ComPtr<ProviderSupport> support_;
  Ref<IAddrBook> book_;
};

using Names = std::vector<std::string>;

TEST_F(VCardProvider, RefusesWhatIsNoIdentifierOfItsOwn) {
  const std::string good = Books()["work"];
  for (std::size_t size = 1; size < good.size(); ++size) {
    ULONG type = 9;
    IUnknown* object = nullptr;
    EXPECT_EQ(book_->OpenEntry(static_cast<ULONG>(size), Entry(good), nullptr, 0, &type, &object),
              MAPI_E_INVALID_ENTRYID)
        << size;
    EXPECT_EQ(object, nullptr);
  }
  std::string gone = good;
  gone.back() ^= 1;
  ULONG type = 0;
  IUnknown* object = nullptr;
  EXPECT_EQ(book_->OpenEntry(32, Entry(gone), nullptr, 0, &type, &object), MAPI_E_NOT_FOUND);
  EXPECT_EQ(book_->OpenEntry(32, Entry(good), &IID_IMailUser, 0, &type, &object), E_NOINTERFACE);
  SBinary foreign{20, reinterpret_cast<BYTE*>(gone.data())};
  ENTRYLIST list{1, &foreign};
  EXPECT_EQ(OpenId<IABContainer>(good, MAPI_ABCONT)->DeleteEntries(&list, 0), MAPI_E_INVALID_ENTRYID);
}

TEST_F(VCardProvider, ChangesOneCardAndLeavesTheRestOfTheFile) {
  std::map<std::string, std::string> ids;
  {
    auto friends = OpenId<IABContainer>(Books()["friends"], MAPI_ABCONT);
    Contents(friends, &ids);
    SPropValue value = TextValue(PR_EMAIL_ADDRESS_W, UAB_TEXT("+1 555 0199"));
    EXPECT_EQ(OpenId<IMailUser>(ids["Ann"], MAPI_MAILUSER, 0)->SetProps(1, &value, nullptr), E_ACCESSDENIED);
    auto ann = OpenId<IMailUser>(ids["Ann"], MAPI_MAILUSER);
    SPropValue values[] = {value, LongValue(PR_OBJECT_TYPE, 8), LongValue(PR_NULL, 0)};
    SPropProblemArray* problems = nullptr;
    ASSERT_EQ(ann->SetProps(3, values, &problems), S_OK);
    ASSERT_NE(problems, nullptr);
    EXPECT_EQ(problems->cProblem, 1u);
    EXPECT_EQ(problems->aProblem[0].scode, MAPI_E_COMPUTED);
    UABFreeBuffer(problems);
    // Meanwhile another program renames her.
    std::string file = kFriends;
    file.replace(file.find("FN:Ann"), 6, "FN:Anna");
    hive_.WriteFile("friends.vcf", file);
    ASSERT_EQ(ann->SaveChanges(0), S_OK);
    EXPECT_EQ(ann->SetProps(1, &value, nullptr), E_ACCESSDENIED) << "closed for writing";
  }
  std::string expected = kFriends;
  expected.replace(expected.find("FN:Ann"), 6, "FN:Anna").replace(expected.find("0101"), 4, "0199");
  EXPECT_EQ(File("friends.vcf"), expected);
}

TEST_F(VCardProvider, CreatesLinksUnlinksAndDeletes) {
  std::map<std::string, std::string> ids;
  {
    auto work = OpenId<IABContainer>(Books()["work"], MAPI_ABCONT);
    auto list = Create(*work.get(), PR_DEF_CREATE_DL, UAB_TEXT("List"), nullptr);
    ASSERT_EQ(list->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    IDistList* container = nullptr;
    ASSERT_EQ(list->QueryInterface(IID_IDistList, reinterpret_cast<void**>(&container)), S_OK);
    Ref<IDistList> members = Ref<IDistList>::Attach(container);
    IMAPIProp* nameless = nullptr;
    const std::string id = IdOf(*members.get(), PR_DEF_CREATE_MAILUSER);
    ASSERT_EQ(members->CreateEntry(static_cast<ULONG>(id.size()), Entry(id), 0, &nameless), S_OK);
    EXPECT_EQ(nameless->SaveChanges(0), MAPI_E_MISSING_REQUIRED_COLUMN);
    nameless->Release();
    auto dora = Create(*members.get(), PR_DEF_CREATE_MAILUSER, UAB_TEXT("Dora \x00e9"), UAB_TEXT("+1 555 0104"));
    ASSERT_EQ(dora->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    Contents(work, &ids);
    std::string twice = ids["Cyd"];
    SBinary entries[] = {{48, reinterpret_cast<BYTE*>(twice.data())}, {48, reinterpret_cast<BYTE*>(twice.data())}};
    ENTRYLIST both{2, entries};
    ASSERT_EQ(members->CopyEntries(&both, 0, nullptr, 1), S_OK);
    EXPECT_EQ(Contents(members), (Names{"Dora \xC3\xA9|+1 555 0104|6", "Cyd|+1 555 0103|6"}));
    ENTRYLIST one{1, entries};
    ASSERT_EQ(members->DeleteEntries(&one, 0), S_OK);
    EXPECT_EQ(Contents(members).size(), 1u);
    EXPECT_EQ(Contents(work).size(), 3u) << "a member that leaves a list keeps its card";
    ASSERT_EQ(OpenId<IABContainer>("", MAPI_ABCONT)->DeleteEntries(&one, 0), S_OK)
        << "through the root, as the host does";
    EXPECT_EQ(Contents(work).size(), 2u);
  }
  Open();
  auto work = OpenId<IABContainer>(Books()["work"], MAPI_ABCONT);
  EXPECT_EQ(Contents(work), (Names{"List|-|8", "Dora \xC3\xA9|+1 555 0104|6"})) << File("work.vcf");
  EXPECT_EQ(Contents(OpenId<IDistList>(ids["List"], MAPI_DISTLIST)).size(), 1u);
}

}  // namespace
}  // namespace uab::vcard
