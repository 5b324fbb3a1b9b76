// Message services and their profile sections, with a real service library.
#include "profiles/msg_service_admin.h"

#include "profiles/profile_world.h"

namespace uab {
namespace {

using List = std::vector<Text>;

std::vector<ULONG> contexts;  // of the calls into the service library

class MsgServiceAdminTest : public ProfileWorld {
 protected:
  MsgServiceAdminTest() {
    contexts.clear();
    EXPECT_EQ(ProfileWorld::Create(kA), S_OK);
    services_ = Admin(kA);
  }

  HRESULT Add(const WCHAR* name, const WCHAR* text = nullptr, ULONG flags = 0) {
    return services_->CreateMsgService(Mutable(name), Mutable(UAB_TEXT("Mine")), Mutable(text), flags, 7, MAPI_UNICODE);
  }
  Services Stored() { return ReadProfiles()[kA]; }

  // Display names of the services, and their identifiers.
  List Table(std::vector<MAPIUID>* uids = nullptr) {
    ComPtr<IMAPITable> table;
    EXPECT_EQ(services_->GetMsgServiceTable(MAPI_UNICODE, table.Put()), S_OK);
    TagArray<2> columns = {2, {PR_DISPLAY_NAME_W, PR_SERVICE_UID}};
    EXPECT_EQ(table->SetColumns(columns.address(), 0), S_OK);
    RowSetPtr rows;
    EXPECT_EQ(table->QueryRows(100, 0, rows.Put()), S_OK);
    List names;
    for (SPropValue* row : RowsOf(*rows.Get())) {
      names.push_back(TextOf(row[0]));
      if (uids != nullptr) uids->push_back(*reinterpret_cast<MAPIUID*>(row[1].Value.bin.lpb));
    }
    return names;
  }
  // The only service.
  MAPIUID AddFirst() {
    EXPECT_EQ(Add(UAB_TEXT("First")), S_OK);
    std::vector<MAPIUID> uids;
    Table(&uids);
    return uids.at(0);
  }

  ComPtr<IMsgServiceAdmin> services_;
};

TEST_F(MsgServiceAdminTest, AddsServicesThatSetThemselvesUp) {
  script.behave = [](const EntryCall& call) -> HRESULT {
    contexts.push_back(call.context);
    EXPECT_TRUE(call.ui == 7 && call.flags == MAPI_UNICODE && call.resources == nullptr);
    const bool text = call.context == MSG_SERVICE_CREATE_TEXT;
    EXPECT_TRUE(!text || (call.count == 1 && call.values[0].ulPropTag == 0));
    SPropValue value = TextValue(UAB_PR_FILE_NAME_W, text ? call.values[0].Value.lpszW : UAB_TEXT("book"));
    HRESULT hr = call.section->SetProps(1, &value, nullptr);
    return Failed(hr) ? hr : call.section->SaveChanges(KEEP_OPEN_READWRITE);
  };
  EXPECT_EQ(Add(UAB_TEXT("First"), UAB_TEXT("")), S_OK);
  EXPECT_EQ(contexts, std::vector<ULONG>{MSG_SERVICE_CREATE});
  EXPECT_EQ(Add(UAB_TEXT("First"), UAB_TEXT("text"), 0x10000), S_OK);
  EXPECT_EQ(contexts, (std::vector<ULONG>{MSG_SERVICE_CREATE, MSG_SERVICE_CREATE, MSG_SERVICE_CREATE_TEXT}));
  EXPECT_EQ(Add(UAB_TEXT("Second")), S_OK);
  EXPECT_EQ(Add(UAB_TEXT("Second")), MAPI_E_COLLISION);
  EXPECT_EQ(Table(), (List{UAB_TEXT("Number two"), UAB_TEXT("Mine"), UAB_TEXT("Mine")})) << "the newest first";
  std::string flags;  // what the caller has given
  const Services stored = Stored();
  for (const auto& [uid, values] : stored) {
    EXPECT_EQ(values.count(UAB_TEXT("1711276063")), 1u) << "the file name";
    flags += std::to_string(values.at(UAB_TEXT("805896195"))[18]);
  }
  EXPECT_EQ(flags, "010");
}

TEST_F(MsgServiceAdminTest, AServiceThatFailsLeavesNothing) {
  ASSERT_EQ(Add(UAB_TEXT("First")), S_OK);
  const Services before = Stored();
  const struct {
    const WCHAR* name;
    const WCHAR* text;
    ServiceScript script;
    HRESULT hr;
  } cases[] = {
      {UAB_TEXT("none"), nullptr, script, MAPI_E_NOT_FOUND},
      {UAB_TEXT("first"), nullptr, script, MAPI_E_NOT_FOUND},
      {UAB_TEXT("Lost"), nullptr, script, MAPI_E_NOT_FOUND},
      {UAB_TEXT("Empty"), nullptr, script, MAPI_E_NOT_FOUND},  // a file that is no library
      {UAB_TEXT("Broken"), nullptr, script, E_FAIL},
      {UAB_TEXT("First"),
       nullptr,
       {[](const EntryCall&) -> HRESULT { return MAPI_E_USER_CANCEL; }, false},
       MAPI_E_USER_CANCEL},
      {UAB_TEXT("First"), nullptr, {script.behave, true}, E_FAIL},
      {UAB_TEXT("First"),
       UAB_TEXT("text"),
       {[](const EntryCall& call) -> HRESULT { return call.count == 0 ? S_OK : MAPI_E_BAD_VALUE; }, false},
       MAPI_E_BAD_VALUE},
  };
  for (const auto& test : cases) {
    script = test.script;
    EXPECT_EQ(Add(test.name, test.text), test.hr) << &test - cases;
    EXPECT_EQ(Stored(), before);
  }
  EXPECT_EQ(Table(), List{UAB_TEXT("Mine")});
}

TEST_F(MsgServiceAdminTest, EachTableIsReadAnewAndAServiceCanBeDeleted) {
  ComPtr<IMAPITable> table, older;
  ULONG count = 9;
  ASSERT_EQ(services_->GetMsgServiceTable(MAPI_UNICODE, older.Put()), S_OK);
  ASSERT_EQ(Add(UAB_TEXT("First")), S_OK);
  ASSERT_EQ(Add(UAB_TEXT("Second")), S_OK);
  for (bool is_read : {false, true}) {  // the first one is that to which the services were added
    ASSERT_EQ(services_->GetMsgServiceTable(MAPI_UNICODE, table.Put()), S_OK);
    ChainPtr<SPropTagArray> columns;
    EXPECT_EQ(table->QueryColumns(0, columns.Put()), S_OK);
    EXPECT_EQ(columns->cValues, 10u);
    EXPECT_TRUE(!is_read || columns->aulPropTag[0] == PR_INSTANCE_KEY);
    TagArray<1> one = {1, {PR_SERVICE_UID}};
    EXPECT_EQ(table->SetColumns(one.address(), 0), S_OK);
  }
  EXPECT_EQ(older->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 0u);
  Services before = Stored();
  std::vector<MAPIUID> uids;
  EXPECT_EQ(Table(&uids), (List{UAB_TEXT("Mine"), UAB_TEXT("Number two")}));
  EXPECT_EQ(services_->DeleteMsgService(nullptr), E_INVALIDARG);
  EXPECT_EQ(services_->DeleteMsgService(&uids.at(0)), S_OK);
  EXPECT_EQ(services_->DeleteMsgService(&uids.at(0)), MAPI_E_NOT_FOUND);
  for (int read = 0; read < 2; ++read) EXPECT_EQ(Table(), List{UAB_TEXT("Number two")}) << read;
  before.erase(before.begin());
  EXPECT_EQ(Stored(), before);
}

TEST_F(MsgServiceAdminTest, ConfiguresByValuesOrThroughTheLibrary) {
  MAPIUID uid = AddFirst(), unknown = {};
  script.behave = [](const EntryCall& call) -> HRESULT {
    contexts.push_back(call.context);
    return call.section->SetProps(call.count, call.values, nullptr);
  };
  SPropValue value = TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new")),
             comment = TextValue(PR_COMMENT_W, UAB_TEXT("comment"));
  IMAPIProp* section = nullptr;
  auto configure = [&](MAPIUID* service, ULONG flags, ULONG count) {
    return services_->ConfigureMsgService(service, 0, flags, count, &value, &section);
  };
  EXPECT_EQ(configure(nullptr, 0, 1), E_INVALIDARG);
  EXPECT_EQ(services_->ConfigureMsgService(&uid, 0, 0, 1, &value, nullptr), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(services_->ConfigureMsgService(&uid, 0, MAPI_UNICODE, 1, &value, nullptr), E_INVALIDARG);
  EXPECT_EQ(configure(&unknown, MAPI_UNICODE, 1), MAPI_E_NOT_FOUND);
  // What another administration changes meanwhile is not lost.
  EXPECT_EQ(Admin(kA)->ConfigureMsgService(&uid, 0, MAPI_UNICODE, 1, &comment, &section), S_OK);
  EXPECT_EQ(configure(&uid, MAPI_UNICODE, 1), S_OK);
  EXPECT_TRUE(contexts.empty() && section == nullptr);
  EXPECT_EQ(Table(), List{UAB_TEXT("new")});
  ComPtr<IMAPIProp> opened;
  EXPECT_EQ(services_->OpenProfileSection(&uid, nullptr, 0, opened.Put()), S_OK);
  EXPECT_EQ(PropText(*opened.Get(), PR_COMMENT_W), UAB_TEXT("comment"));

  value.Value.lpszW = Mutable(UAB_TEXT("newer"));
  EXPECT_EQ(configure(&uid, MAPI_UNICODE | SERVICE_UI_ALWAYS, 1), S_OK);
  ComPtr<IMAPIProp> kept = ComPtr<IMAPIProp>::Attach(section);
  ASSERT_TRUE(kept);
  EXPECT_EQ(contexts, std::vector<ULONG>{MSG_SERVICE_CONFIGURE});
  EXPECT_EQ(Table(), List{UAB_TEXT("new")});
  EXPECT_EQ(kept->SaveChanges(0), S_OK);
  EXPECT_EQ(Table(), List{UAB_TEXT("newer")});
  script.throws = true;
  EXPECT_EQ(configure(&uid, MAPI_UNICODE | SERVICE_UI_ALLOWED, 1), E_FAIL);
  EXPECT_EQ(section, kept.Get());
}

TEST_F(MsgServiceAdminTest, SectionsAreSnapshotsThatAreWrittenBack) {
  MAPIUID uid = AddFirst(), unknown = {};
  ComPtr<IMAPIProp> section, target;
  EXPECT_EQ(services_->OpenProfileSection(&unknown, nullptr, 0, section.Put()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(services_->OpenProfileSection(nullptr, nullptr, 0, section.Put()), E_INVALIDARG);
  EXPECT_EQ(services_->OpenProfileSection(&uid, nullptr, 0, nullptr), E_INVALIDARG);
  ASSERT_EQ(services_->OpenProfileSection(&uid, nullptr, 0, section.Put()), S_OK);
  const Services before = Stored();
  SPropValue value = TextValue(UAB_PR_FILE_NAME_W, UAB_TEXT("book"));
  EXPECT_EQ(section->SetProps(1, &value, nullptr), S_OK);
  TagArray<1> name = {1, {PR_DISPLAY_NAME_W}}, file = {1, {UAB_PR_FILE_NAME_W}};
  EXPECT_EQ(section->DeleteProps(name.address(), nullptr), S_OK);
  EXPECT_EQ(Stored(), before);
  EXPECT_EQ(section->SaveChanges(0), S_OK);
  EXPECT_EQ(Stored().begin()->second.size(), before.begin()->second.size() + 1);
  EXPECT_EQ(Table(), List{UAB_TEXT("Mine")}) << "what was deleted stays";

  ASSERT_EQ(services_->OpenProfileSection(&uid, nullptr, 0, target.Put()), S_OK);
  EXPECT_EQ(section->SetProps(1, &(value = TextValue(UAB_PR_FILE_NAME_W, UAB_TEXT("other"))), nullptr), S_OK);
  auto copy_to = [&](const IID* iid, ULONG flags) {
    return section->CopyTo(0, nullptr, file.address(), 0, nullptr, iid, target.Get(), flags, nullptr);
  };
  EXPECT_EQ(copy_to(nullptr, MAPI_UNICODE), E_INVALIDARG);
  EXPECT_EQ(copy_to(&IID_IMAPIProp, 0), MAPI_E_BAD_CHARWIDTH);
  EXPECT_EQ(copy_to(&IID_IProfSect, MAPI_UNICODE), S_OK);
  EXPECT_EQ(PropText(*target.Get(), UAB_PR_FILE_NAME_W), UAB_TEXT("book"));
  EXPECT_EQ(section->CopyProps(nullptr, 0, nullptr, &IID_IMAPIProp, target.Get(), MAPI_UNICODE, nullptr), E_INVALIDARG);
  EXPECT_EQ(section->CopyProps(file.address(), 0, nullptr, &IID_IMAPIProp, target.Get(), MAPI_UNICODE, nullptr), S_OK);
  EXPECT_EQ(PropText(*target.Get(), UAB_PR_FILE_NAME_W), UAB_TEXT("other"));
  const Services stored = Stored();
  const BYTE zeros[33] = {};
  IMAPIProp* none = nullptr;
  for (ULONG size : {0, 5, 16, 32, 33}) {  // a service keeps its identifier
    value = size == 0 ? LongValue(PropTag(PT_LONG, 0x3D0C), 1) : BinaryValue(PR_SERVICE_UID, zeros, size);
    const HRESULT hr = size == 33 ? MAPI_E_STRING_TOO_LONG : E_INVALIDARG;
    EXPECT_EQ(services_->ConfigureMsgService(&uid, 0, MAPI_UNICODE, 1, &value, &none), hr) << size;
    EXPECT_EQ(section->SetProps(1, &value, nullptr), S_OK);
    EXPECT_EQ(section->SaveChanges(0), hr) << size;
  }
  EXPECT_EQ(Stored(), stored);
  EXPECT_EQ(section->SetProps(1, &(value = BinaryValue(PR_SERVICE_UID, uid.ab, 16)), nullptr), S_OK);
  EXPECT_EQ(section->SaveChanges(0), S_OK);
  EXPECT_EQ(services_->DeleteMsgService(&uid), S_OK);
  EXPECT_EQ(section->SaveChanges(0), MAPI_E_NOT_FOUND);
}

TEST_F(MsgServiceAdminTest, AServiceMayCallBackAndRemoveItself) {
  static IMsgServiceAdmin* admin;
  admin = services_.Get();
  script.behave = [](const EntryCall& call) -> HRESULT {
    TagArray<1> tags = {1, {PR_SERVICE_UID}};
    ULONG count = 0;
    ChainPtr<SPropValue> values;
    HRESULT hr = call.section->GetProps(tags.address(), MAPI_UNICODE, &count, values.Put());
    if (Failed(hr)) return hr;
    return admin->DeleteMsgService(reinterpret_cast<MAPIUID*>(values->Value.bin.lpb));
  };
  EXPECT_EQ(Add(UAB_TEXT("First")), S_OK);
  EXPECT_TRUE(Stored().empty());
}

}  // namespace
}  // namespace uab
