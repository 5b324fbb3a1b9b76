#include "profiles/profile_operations.h"

#include <optional>
#include <set>

#include "addrbook/settings.h"
#include "profiles/profile_lock.h"
#include "support/dialog_script.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

constexpr const WCHAR* kUidValue = UAB_TEXT("1024196866");  // of a service, made by chance
MAPIUID uids[2];                                            // of the services of profile "a"

template <typename Range>
std::string Narrow(const Range& range) {
  return std::string(range.begin(), range.end());
}

SPropValue values[] = {TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new")), TextValue(PR_COMMENT_W, UAB_TEXT("newer"))};

template <typename Use>
HRESULT WithServices(IProfAdmin& admin, Use use) {
  ComPtr<IMsgServiceAdmin> services;
  HRESULT hr = admin.AdminServices(kA, MAPI_UNICODE, services.Put());
  return Failed(hr) ? hr : use(*services.Get());
}

// Through the service's library, as the dialog does.
template <int kService>
HRESULT Configure(IProfAdmin& admin) {
  return WithServices(admin, [](IMsgServiceAdmin& services) {
    ComPtr<IMAPIProp> section;
    const ULONG flags = MAPI_UNICODE | SERVICE_UI_ALWAYS;
    HRESULT hr = services.ConfigureMsgService(&uids[kService], 0, flags, 2, values, section.Put());
    return Failed(hr) ? hr : section->SaveChanges(0);
  });
}

// The address book's settings as a session keeps them.
HRESULT SetSettings(ULONG count) {
  Settings settings;
  HRESULT hr = settings.Load(kAppKey, kA);
  for (ULONG i = 0; Succeeded(hr) && i < count; ++i) {
    const std::string id(20 + 7 * i, static_cast<char>('a' + i));
    hr = settings.Set(BinaryValue(((0x6600 + i) << 16) | PT_BINARY, id.data(), static_cast<ULONG>(id.size())));
  }
  if (Succeeded(hr)) settings.Save();
  return hr;
}

HRESULT Copy(IProfAdmin& admin) { return admin.CopyProfile(kA, kB, MAPI_UNICODE); }
HRESULT Delete(IProfAdmin& admin) { return admin.DeleteProfile(kA, MAPI_UNICODE); }
template <WCHAR kName>
HRESULT SetDefault(IProfAdmin& admin) {
  WCHAR name[] = {kName, 0};
  return admin.SetDefaultProfile(name, MAPI_UNICODE);
}

}  // namespace

const std::vector<Operation> kOperations = {
    {"create", [](IProfAdmin& admin) { return admin.CreateProfile(kB, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES); }},
    {"delete", &Delete},
    {"copy", &Copy},
    {"rename",
     [](IProfAdmin& admin) { return admin.RenameProfile(kA, kB, MAPI_UNICODE); },
     {&Copy, &SetDefault<'b'>, &SetDefault<'a'>, &Delete}},  // a record of the default that fails stays behind
    {"default", &SetDefault<'c'>},
    {"no default", [](IProfAdmin& admin) { return admin.SetDefaultProfile(nullptr, MAPI_UNICODE); }},
    {"add a service",
     [](IProfAdmin& admin) {
       return WithServices(admin, [](IMsgServiceAdmin& services) {
         return services.CreateMsgService(Mutable(UAB_TEXT("First")), kB, nullptr, 0, 0, MAPI_UNICODE);
       });
     }},
    {"remove a service",
     [](IProfAdmin& admin) {
       return WithServices(admin, [](IMsgServiceAdmin& services) { return services.DeleteMsgService(&uids[0]); });
     }},
    {"configure",
     [](IProfAdmin& admin) {
       return WithServices(admin, [](IMsgServiceAdmin& services) {
         IMAPIProp* none = nullptr;
         return services.ConfigureMsgService(&uids[1], 0, MAPI_UNICODE, 2, values, &none);
       });
     }},
    {"save a section", &Configure<0>},
    {"settings of the address book", [](IProfAdmin&) { return SetSettings(4); }, {}, false},
    {"confirm the dialog",
     [](IProfAdmin& admin) { return admin.ConfigureProfile(kA, 0, MAPI_UNICODE); },
     {&Configure<0>, &Configure<1>},
     true,
     "press 1158\nselect 1\npress 1158\nok\n"},
};

void ProfileOperations::SetUp() {
  script.behave = [](const EntryCall& call) -> HRESULT {
    if (call.context != MSG_SERVICE_CONFIGURE) return S_OK;
    ChainPtr<SPropProblemArray> problems;
    HRESULT hr = call.section->SetProps(2, values, problems.Put());
    return problems ? E_OUTOFMEMORY : hr;
  };
  Make();
  before_ = Picture();
}

void ProfileOperations::Make() {
  ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
  ASSERT_EQ(Create(kC), S_OK);
  ASSERT_EQ(admin_->SetDefaultProfile(kA, MAPI_UNICODE), S_OK);
  ASSERT_EQ(SetSettings(2), S_OK);
  int service = 0;
  const Services services = ReadProfiles()[kA];
  for (const auto& [name, stored] : services) std::copy_n(&stored.at(kUidValue)[32], 16, uids[service++].ab);
}

void ProfileOperations::Restore() {
  UnwatchedScope unwatched;  // what it makes outlives the run
  if (Picture() == before_) return;
  Empty();
  Make();
  ASSERT_EQ(Picture(), before_);
}

std::vector<std::string> ProfileOperations::WholePictures(const Operation& operation) {
  std::vector<std::string> pictures = {before_};
  auto run = [&](Act act) {
    EXPECT_EQ(Run(act), S_OK) << operation.name;
    pictures.push_back(Picture());
  };
  Restore();
  for (Act step : operation.steps) run(step);
  Restore();
  std::optional<DialogScript> user;
  if (operation.dialog != nullptr) user.emplace(operation.dialog);
  run(operation.act);
  EXPECT_NE(pictures.back(), before_) << operation.name;
  return pictures;
}

HRESULT ProfileOperations::Run(Act act) {
  ComPtr<IProfAdmin> admin;
  HRESULT hr = UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0);
  return Failed(hr) ? hr : act(*admin.Get());
}

std::string ProfileOperations::Picture() {
  ProfileLock lock;  // undoes or finishes what was begun
  EXPECT_EQ(lock.AcquireToRead(kAppKey), S_OK);
  std::string picture;
  auto add = [&picture](const Values& stored) {
    for (const auto& [name, data] : stored) picture += Narrow(name) + "=" + Narrow(data) + ";";
  };
  UniqueKey root;
  if (Failed(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_READ, &root))) return "nothing";
  add(ReadValues(root.Get()));
  for (const auto& [profile, services] : ReadProfiles()) {
    UniqueKey key;
    EXPECT_EQ(OpenKey(root.Get(), profile.c_str(), KEY_READ, &key), S_OK);
    (picture += "\nprofile ") += Narrow(profile) + ": ";
    add(ReadValues(key.Get()));
    std::multiset<Values> sorted;
    for (auto [uid, stored] : services) {
      stored.erase(kUidValue);
      sorted.insert(std::move(stored));
    }
    for (const Values& stored : sorted) {
      picture += "\n  ";
      add(stored);
    }
  }
  return picture;
}

}  // namespace uab
