// A process that is killed at any call of the system during any operation on stored profiles: the next process finds
// each profile whole, as before or as after, and goes on.
#include "support/killed_process.h"

#include <optional>
#include <set>

#include "addrbook/settings.h"
#include "profiles/profile_world.h"
#include "support/dialog_script.h"
#include "support/fault_count.h"

namespace uab {
namespace {

constexpr const WCHAR* kUidValue = UAB_TEXT("1024196866");  // of a service, made by chance

// All that is stored, but for chance: services by what they are, identifiers left out.
std::string Picture() {
  std::string picture;
  auto add = [&picture](const Text& name, const Bytes& data) {
    picture += std::string(name.begin(), name.end()) + "=" + std::string(data.begin(), data.end()) + ";";
  };
  UniqueKey root;
  if (Failed(OpenKey(HKEY_CURRENT_USER, kRoot, KEY_READ, &root))) return "nothing";
  for (const auto& [name, data] : ReadValues(root.Get())) add(name, data);
  for (const auto& [profile, services] : ReadProfiles()) {
    UniqueKey key;
    EXPECT_EQ(OpenKey(root.Get(), profile.c_str(), KEY_READ, &key), S_OK);
    std::multiset<Values> sorted;
    for (auto [uid, values] : services) {
      values.erase(kUidValue);
      sorted.insert(values);
    }
    add(UAB_TEXT("\nprofile ") + profile, {});
    for (const auto& [name, data] : ReadValues(key.Get())) add(name, data);
    for (const Values& values : sorted) {
      picture += "\n  ";
      for (const auto& [name, data] : values) add(name, data);
    }
  }
  return picture;
}

MAPIUID uids[2];  // of the services of profile "a"

HRESULT Configure(int service, bool through_its_library) {
  ComPtr<IProfAdmin> admin;
  ComPtr<IMsgServiceAdmin> services;
  ComPtr<IMAPIProp> section;
  UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0);
  if (HRESULT hr = admin->AdminServices(kA, MAPI_UNICODE, services.Put()); Failed(hr)) return hr;
  SPropValue values[] = {LongValue(PR_DEPTH, service), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new")),
                         TextValue(PR_COMMENT_W, UAB_TEXT("newer"))};
  if (!through_its_library) {
    IMAPIProp* none = nullptr;
    return services->ConfigureMsgService(&uids[service], 0, MAPI_UNICODE, 3, values, &none);
  }
  const ULONG flags = MAPI_UNICODE | SERVICE_UI_ALWAYS;
  HRESULT hr = services->ConfigureMsgService(&uids[service], 0, flags, 3, values, section.Put());
  return Failed(hr) ? hr : section->SaveChanges(0);
}

HRESULT WithServices(HRESULT (*act)(IMsgServiceAdmin&)) {
  ComPtr<IProfAdmin> admin;
  ComPtr<IMsgServiceAdmin> services;
  UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0);
  HRESULT hr = admin->AdminServices(kA, MAPI_UNICODE, services.Put());
  return Failed(hr) ? hr : act(*services.Get());
}

// The address book's settings as a session keeps them.
HRESULT Set(ULONG count) {
  Settings settings;
  HRESULT hr = settings.Load(kAppKey, kA);
  for (ULONG i = 0; Succeeded(hr) && i < count; ++i) {
    const std::string id(20 + 7 * i, static_cast<char>('a' + i));
    hr = settings.Set(BinaryValue(((0x6600 + i) << 16) | PT_BINARY, id.data(), static_cast<ULONG>(id.size())));
  }
  if (Succeeded(hr)) settings.Save();
  return hr;
}

using Act = HRESULT (*)(IProfAdmin&);

struct Operation {
  const char* name;
  Act act;
  // Where it is several changes, each whole: what stands between them is as good.
  std::vector<Act> steps = {};
  const char* dialog = nullptr;  // its user's commands
};

const Operation kOperations[] = {
    {"create", [](IProfAdmin& admin) { return admin.CreateProfile(kB, 0, MAPI_UNICODE | MAPI_DEFAULT_SERVICES); }},
    {"delete", [](IProfAdmin& admin) { return admin.DeleteProfile(kA, MAPI_UNICODE); }},
    {"copy", [](IProfAdmin& admin) { return admin.CopyProfile(kA, kB, MAPI_UNICODE); }},
    {"rename",
     [](IProfAdmin& admin) { return admin.RenameProfile(kA, kB, MAPI_UNICODE); },
     {[](IProfAdmin& admin) { return admin.CopyProfile(kA, kB, MAPI_UNICODE); },
      [](IProfAdmin& admin) { return admin.SetDefaultProfile(kB, MAPI_UNICODE); },
      [](IProfAdmin& admin) { return admin.DeleteProfile(kA, MAPI_UNICODE); }}},
    {"default", [](IProfAdmin& admin) { return admin.SetDefaultProfile(kC, MAPI_UNICODE); }},
    {"no default", [](IProfAdmin& admin) { return admin.SetDefaultProfile(nullptr, MAPI_UNICODE); }},
    {"add a service",
     [](IProfAdmin&) {
       return WithServices([](IMsgServiceAdmin& services) {
         return services.CreateMsgService(Mutable(UAB_TEXT("First")), kB, nullptr, 0, 0, MAPI_UNICODE);
       });
     }},
    {"remove a service",
     [](IProfAdmin&) {
       return WithServices([](IMsgServiceAdmin& services) { return services.DeleteMsgService(&uids[0]); });
     }},
    {"configure", [](IProfAdmin&) { return Configure(1, false); }},
    {"save a section", [](IProfAdmin&) { return Configure(0, true); }},
    {"settings of the address book", [](IProfAdmin&) { return Set(4); }},
    {"confirm the dialog",
     [](IProfAdmin& admin) { return admin.ConfigureProfile(kA, 0, MAPI_UNICODE); },
     {[](IProfAdmin&) { return Configure(0, true); }, [](IProfAdmin&) { return Configure(1, true); }},
     "press 1158\nselect 1\npress 1158\nok\n"},
};

class KilledProcess : public ProfileWorld {
 protected:
  void SetUp() override {
    script.behave = [](const EntryCall& call) -> HRESULT {
      if (call.context != MSG_SERVICE_CONFIGURE) return S_OK;
      const bool first = call.section != nullptr && ServiceOf(*call.section) == 0;
      SPropValue values[] = {LongValue(PR_DEPTH, first ? 0 : 1), TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("new")),
                             TextValue(PR_COMMENT_W, UAB_TEXT("newer"))};
      return call.section->SetProps(3, values, nullptr);
    };
    ASSERT_EQ(Create(kA, MAPI_DEFAULT_SERVICES), S_OK);
    ASSERT_EQ(Create(kC), S_OK);
    ASSERT_EQ(admin_->SetDefaultProfile(kA, MAPI_UNICODE), S_OK);
    ASSERT_EQ(Set(2), S_OK);
    int service = 0;
    const Services services = ReadProfiles()[kA];
    for (const auto& [name, values] : services) std::copy_n(&values.at(kUidValue)[32], 16, uids[service++].ab);
    std::filesystem::rename(Hive(), Saved());
    Restore();
    before_ = Picture();
  }
  static int ServiceOf(IMAPIProp& section) {
    TagArray<1> tags = {1, {PR_SERVICE_UID}};
    ULONG count = 0;
    ChainPtr<SPropValue> value;
    section.GetProps(tags.address(), MAPI_UNICODE, &count, value.Put());
    return std::equal(uids[0].ab, uids[0].ab + 16, value->Value.bin.lpb) ? 0 : 1;
  }
  std::filesystem::path Hive() const { return hive_.Folder() / "config/keluab/registry"; }
  std::filesystem::path Saved() const { return hive_.Folder() / "saved"; }
  void Restore() {
    std::filesystem::remove_all(Hive());
    std::filesystem::copy(Saved(), Hive(), std::filesystem::copy_options::recursive);
  }
  // With a new object, as a new process has one.
  static HRESULT Run(Act act) {
    ComPtr<IProfAdmin> admin;
    HRESULT hr = UABAdminProfiles(kAppKey, nullptr, MAPI_UNICODE, admin.Put(), 0);
    return Failed(hr) ? hr : act(*admin.Get());
  }
  HRESULT RunWithUser(const Operation& operation) {
    std::optional<DialogScript> user;
    if (operation.dialog != nullptr) user.emplace(operation.dialog);
    return Run(operation.act);
  }
  ChildEnd Kill(const Operation& operation, std::uint32_t call) {
    std::optional<DialogScript> user;
    if (operation.dialog != nullptr) user.emplace(operation.dialog);
    return RunKilledAt(call, [&] {
      if (Failed(Run(operation.act))) abort();
    });
  }

  std::string before_;
};

TEST_F(KilledProcess, LeavesEachProfileWholeAndTheNextOneGoesOn) {
  const std::uint32_t kStride = Stride(199);
  std::uint32_t first = 0;
  for (const Operation& operation : kOperations) {
    first += 37;
    std::vector<std::string> whole = {before_};
    Restore();
    for (Act step : operation.steps) {
      ASSERT_EQ(Run(step), S_OK) << operation.name;
      whole.push_back(Picture());
    }
    Restore();
    ASSERT_EQ(RunWithUser(operation), S_OK) << operation.name;
    const std::string after = Picture();
    ASSERT_NE(after, before_) << operation.name;
    whole.push_back(after);

    std::set<std::string> seen;
    for (std::uint32_t call = 1 + first % kStride;; call += kStride) {
      SCOPED_TRACE(testing::Message() << operation.name << ", killed at call " << call);
      Restore();
      const ChildEnd end = Kill(operation, call);
      EXPECT_EQ(Run([](IProfAdmin& admin) {
                  ComPtr<IMAPITable> table;
                  return admin.GetProfileTable(MAPI_UNICODE, table.Put());
                }),
                S_OK);
      const std::string found = Picture();
      ASSERT_TRUE(std::find(whole.begin(), whole.end(), found) != whole.end()) << found << "\nbefore:\n" << before_;
      if (end == ChildEnd::kDone) {
        ASSERT_EQ(found, after);
        break;
      }
      seen.insert(found);
      if (found == before_) {
        ASSERT_EQ(RunWithUser(operation), S_OK);
        ASSERT_EQ(Picture(), after);
      } else {
        ASSERT_EQ(Run([](IProfAdmin& admin) { return admin.CopyProfile(kC, Mutable(UAB_TEXT("d")), MAPI_UNICODE); }),
                  S_OK);
      }
    }
    EXPECT_TRUE(!IsSoak() || seen.size() > 1) << "killed too early or too late to see anything";
  }
}

}  // namespace
}  // namespace uab
