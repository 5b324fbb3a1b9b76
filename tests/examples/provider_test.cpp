#include "provider.h"

#include <gtest/gtest.h>

#include <map>

#include "com.h"
#include "file_io.h"
#include "keluab/notification.h"
#include "props/copy_engine.h"
#include "support/hive.h"
#include "support/refusing_objects.h"

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

SPropValue LongValue(ULONG tag, LONG number) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.l = number;
  return value;
}

SPropValue TextValue(ULONG tag, const WCHAR* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<WCHAR*>(text);
  return value;
}

std::string Utf8(const SPropValue& value) {
  return PropType(value.ulPropTag) == PT_UNICODE ? ToUtf8(value.Value.lpszW) : "<no text>";
}

struct FakeSection : RefusingProp<Refusing<IProfSect>> {
  std::map<ULONG, Text> texts;
  std::map<ULONG, std::string> bytes;
  int saved = 0;

  HRESULT UAB_CALL SaveChanges(ULONG) override { return ++saved, S_OK; }
  HRESULT UAB_CALL SetProps(ULONG count, SPropValue* values, SPropProblemArray**) override {
    for (ULONG i = 0; i < count; ++i) {
      const SBinary& binary = values[i].Value.bin;
      if (PropType(values[i].ulPropTag) == PT_UNICODE)
        texts[values[i].ulPropTag] = values[i].Value.lpszW;
      else
        bytes[values[i].ulPropTag] = IdentifierBytes(binary.lpb, binary.cb);
    }
    return S_OK;
  }
  HRESULT UAB_CALL GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
    const Memory memory{UABAllocateBuffer, UABAllocateMore, UABFreeBuffer};
    Properties properties;
    for (const auto& [tag, text] : texts) properties.AddText(tag, ToUtf8(text));
    for (const auto& [tag, value] : bytes) properties.AddBytes(tag, value);
    return HandOver(memory, properties, tags, count, values);
  }
};

struct FakeSupport : Refusing<IUABSupport> {
  std::vector<std::string> uids;
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return S_OK; }
  HRESULT UAB_CALL GetMemAllocRoutines(UABAllocateBufferFunction* allocate, UABAllocateMoreFunction* more,
                                       UABFreeBufferFunction* free) override {
    *allocate = UABAllocateBuffer, *more = UABAllocateMore, *free = UABFreeBuffer;
    return S_OK;
  }
  HRESULT UAB_CALL SetProviderUID(MAPIUID* uid, ULONG) override {
    uids.push_back(IdentifierBytes(uid->ab, sizeof uid->ab));
    return S_OK;
  }
  HRESULT UAB_CALL Reserved7() override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DoCopyTo(const IID* from, void* source, ULONG, const IID*, SPropTagArray* excluded, ULONG_PTR,
                            IMAPIProgress*, const IID* to, void* destination, ULONG flags,
                            SPropProblemArray** problems) override {
    return uab::DoCopyTo({from, source}, excluded, {to, destination}, flags, problems);
  }
  HRESULT UAB_CALL DoCopyProps(const IID*, void*, SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*, ULONG,
                               SPropProblemArray**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL Reserved10() override { return MAPI_E_NO_SUPPORT; }
};

struct Sink : Refusing<IMAPIAdviseSink> {
  std::vector<std::pair<ULONG, std::string>> events;
  IAddrBook* ask = nullptr;  // called back: the lock has to be free
  ULONG UAB_CALL OnNotify(ULONG count, NOTIFICATION* notifications) override {
    for (ULONG i = 0; i < count; ++i) {
      const OBJECT_NOTIFICATION& object = notifications[i].info.obj;
      events.emplace_back(notifications[i].ulEventType, IdentifierBytes(object.lpEntryID, object.cbEntryID));
      ULONG type = 0;
      IUnknown* opened = nullptr;
      if (ask->OpenEntry(object.cbEntryID, object.lpEntryID, nullptr, 0, &type, &opened) == S_OK) opened->Release();
    }
    return 0;
  }
};

class VCardProvider : public testing::Test {
 protected:
  VCardProvider() {
    hive_.WriteFile("friends.vcf", kFriends);
    hive_.WriteFile("work.vcf", kWork);
    section_.texts[PR_VCARD_FOLDER_W] = hive_.PathOf("");
    section_.texts[UAB_PR_FILE_NAME_W] = UAB_TEXT("friends.vcf");
    Open();
  }
  ~VCardProvider() override {
    book_ = {};
    EXPECT_EQ(support_.references, 0u) << "the provider keeps its support object";
  }

  void Open() {
    book_ = {};
    IAddrBook* book = nullptr;
    WCHAR key[] = UAB_TEXT("app");
    ASSERT_EQ(ABProviderOpen(key, nullptr, &support_, &section_, 0, MAPI_UNICODE, UABAllocateBuffer, UABAllocateMore,
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
  FakeSupport support_;
  Ref<IAddrBook> book_;
};

using Names = std::vector<std::string>;

TEST_F(VCardProvider, ShowsFilesCardsAndMembersAcrossFiles) {
  auto books = Books();
  ASSERT_EQ(books.size(), 2u);
  auto friends = OpenId<IABContainer>(books["friends"], MAPI_ABCONT);
  std::map<std::string, std::string> ids;
  EXPECT_EQ(Contents(friends, &ids), (Names{"Ann|+1 555 0101|6", "Bob|-|6", "All|-|8"}));
  auto all = OpenId<IDistList>(ids["All"], MAPI_DISTLIST);
  EXPECT_EQ(Contents(all), (Names{"Ann|+1 555 0101|6", "Cyd|+1 555 0103|6", "Bob|-|6"}));
  ULONG count = 0;
  SPropValue* values = nullptr;
  TagArray<2> tags{2, {PR_VCARD_SKIPPED, PR_CONTAINER_FLAGS}};
  ASSERT_EQ(friends->GetProps(tags.address(), 0, &count, &values), S_OK);
  EXPECT_EQ(values[0].Value.ul, 1u);
  EXPECT_EQ(values[1].Value.ul, AB_RECIPIENTS | AB_MODIFIABLE);
  UABFreeBuffer(values);
  Open();  // identifiers hold in the next session
  EXPECT_EQ(Contents(OpenId<IDistList>(ids["All"], MAPI_DISTLIST)).size(), 3u);
}

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

TEST_F(VCardProvider, ListsAreCopiedToAnotherFileWithTheirMembers) {
  std::map<std::string, std::string> ids;
  Contents(OpenId<IABContainer>(Books()["friends"], MAPI_ABCONT), &ids);
  {
    auto work = OpenId<IABContainer>(Books()["work"], MAPI_ABCONT);
    auto copy = Create(*work.get(), PR_DEF_CREATE_DL, UAB_TEXT("to be overwritten"), nullptr);
    ASSERT_EQ(copy->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    auto all = OpenId<IDistList>(ids["All"], MAPI_DISTLIST);
    ASSERT_EQ(all->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IDistList, copy.get(), MAPI_UNICODE, nullptr), S_OK);
    ASSERT_EQ(copy->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    ids["copy"] = IdOf(*copy.get());
  }
  const std::string file = File("work.vcf");
  EXPECT_NE(file.find("\nX-ODD:keep"), std::string::npos) << "what no property shows is copied too: " << file;
  EXPECT_EQ(File("friends.vcf"), kFriends);
  Open();
  const Names members = {"Ann|+1 555 0101|6", "Cyd|+1 555 0103|6", "Bob|-|6"};
  EXPECT_EQ(Contents(OpenId<IDistList>(ids["copy"], MAPI_DISTLIST)), members) << file;
  EXPECT_EQ(Contents(OpenId<IABContainer>(Books()["work"], MAPI_ABCONT)),
            (Names{"Cyd|+1 555 0103|6", "All|-|8", members[0], members[1], members[2]}));
}

TEST_F(VCardProvider, CompletesRecipientsAndKeepsWhatElseTheyHave) {
  std::map<std::string, std::string> ids;
  Contents(OpenId<IABContainer>(Books()["friends"], MAPI_ABCONT), &ids);
  const Memory memory{UABAllocateBuffer, UABAllocateMore, UABFreeBuffer};
  auto* list = memory.AllocateAs<ADRLIST>(8 + 2 * sizeof(ADRENTRY));
  list->cEntries = 2;
  for (ULONG i = 0; i < 2; ++i) {
    Properties properties;
    properties.AddBytes(PR_ENTRYID, i == 0 ? ids["Ann"] : "another provider's, of any length");
    properties.Add(PR_RECIPIENT_TYPE, MAPI_TO + i);
    bool missing = false;
    list->aEntries[i].rgPropVals = MakeValues(memory, properties, nullptr, list->aEntries[i].cValues, missing);
  }
  TagArray<2> tags{2, {PR_EMAIL_ADDRESS_W, PR_DISPLAY_NAME_W}};
  EXPECT_EQ(book_->PrepareRecips(1, tags.address(), list), E_INVALIDARG);
  ASSERT_EQ(book_->PrepareRecips(0, tags.address(), list), S_OK);
  const SPropValue* ann = list->aEntries[0].rgPropVals;
  ASSERT_EQ(list->aEntries[0].cValues, 4u);
  EXPECT_EQ(Utf8(ann[0]), "+1 555 0101");
  EXPECT_EQ(Utf8(ann[1]), "Ann");
  EXPECT_EQ(IdentifierBytes(ann[2].Value.bin.lpb, ann[2].Value.bin.cb), ids["Ann"]);
  EXPECT_EQ(ann[3].Value.ul, MAPI_TO);
  const SPropValue* other = list->aEntries[1].rgPropVals;
  EXPECT_EQ(other[0].ulPropTag, WithPropType(PR_EMAIL_ADDRESS_W, PT_ERROR));
  EXPECT_EQ(other[3].Value.ul, MAPI_CC);
  UABFreePadrlist(list);
}

TEST_F(VCardProvider, TellsWatchersAfterTheChangeWithoutItsLock) {
  Sink sink;
  sink.ask = book_.get();
  auto books = Books();
  auto friends = OpenId<IABContainer>(books["friends"], MAPI_ABCONT);
  ULONG connection = 0;
  ASSERT_EQ(book_->Advise(32, Entry(books["friends"]), fnevObjectCreated | fnevObjectDeleted, &sink, &connection),
            S_OK);
  auto made = Create(*friends.get(), PR_DEF_CREATE_MAILUSER, UAB_TEXT("Eve"), nullptr);
  ASSERT_EQ(made->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  SPropValue name = TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("Eva"));
  ASSERT_EQ(made->SetProps(1, &name, nullptr), S_OK);
  ASSERT_EQ(made->SaveChanges(KEEP_OPEN_READWRITE), S_OK);  // not in the mask
  std::string id = IdOf(*made.get());
  SBinary binary{48, reinterpret_cast<BYTE*>(id.data())};
  ENTRYLIST entries{1, &binary};
  ASSERT_EQ(friends->DeleteEntries(&entries, 0), S_OK);
  using Event = std::pair<ULONG, std::string>;
  EXPECT_EQ(sink.events, (std::vector<Event>{{fnevObjectCreated, id}, {fnevObjectDeleted, id}}));
  EXPECT_EQ(sink.references, 1u);
  EXPECT_EQ(book_->Unadvise(connection), S_OK);
  EXPECT_EQ(book_->Unadvise(connection), MAPI_E_NOT_FOUND);
  EXPECT_EQ(sink.references, 0u);
}

TEST_F(VCardProvider, ServiceEntryKeepsItsFolderAndOneIdentity) {
  FakeSection section;
  section.bytes[PR_SERVICE_UID] = std::string(16, 's');
  const auto call = [&](ULONG context, ULONG flags, ULONG count, SPropValue* values) {
    return VCardServiceEntry(nullptr, 0, MAPI_UNICODE | flags, context, count, values, &section, &support_, 0);
  };
  ASSERT_EQ(call(MSG_SERVICE_CREATE, 0, 0, nullptr), S_OK);
  const std::string uid = section.bytes[PR_VCARD_UID];
  EXPECT_EQ(uid.size(), 16u);
  EXPECT_NE(uid, section.bytes[PR_SERVICE_UID]);
  const Text folder = hive_.PathOf("");
  SPropValue text = TextValue(0, folder.c_str());
  ASSERT_EQ(call(MSG_SERVICE_CREATE_TEXT, 0, 1, &text), S_OK);
  EXPECT_TRUE(section.texts[UAB_PR_FILE_NAME_W].ends_with(UAB_TEXT("contacts.vcf")));
  SPropValue missing = TextValue(PR_VCARD_FOLDER_W, UAB_TEXT("no such folder"));
  EXPECT_EQ(call(MSG_SERVICE_CONFIGURE, 0, 1, &missing), MAPI_E_NOT_FOUND);
  EXPECT_EQ(call(MSG_SERVICE_CONFIGURE, 0, 0, nullptr), E_INVALIDARG);
  SPropValue file = TextValue(UAB_PR_FILE_NAME_W, UAB_TEXT("mine.vcf"));
  ASSERT_EQ(call(MSG_SERVICE_CONFIGURE, 0, 1, &file), S_OK);
  EXPECT_TRUE(section.texts[UAB_PR_FILE_NAME_W].ends_with(UAB_TEXT("mine.vcf")));
  EXPECT_EQ(section.saved, 3);
  section.bytes[PR_SERVICE_UID] = std::string(16, 't');  // the profile has been copied
  ASSERT_EQ(call(MSG_SERVICE_CONFIGURE, 0, 1, &file), S_OK);
  EXPECT_EQ(section.bytes[PR_VCARD_UID], uid);
}

}  // namespace
}  // namespace uab::vcard
