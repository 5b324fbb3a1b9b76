// Profiles as somebody else left them in the registry: keys and values of any name, type, size and content, and over
// them the operations of profile and service administration and logging on, in an order that the input gives. What the
// services' libraries do is of the input too.
#include <vector>

#include "fuzz/registry.h"
#include "fuzz/service_library.h"
#include "fuzz/table_script.h"
#include "fuzz/values.h"
#include "platform/registry.h"
#include "profiles/msg_service_admin.h"
#include "profiles/prof_admin.h"
#include "profiles/profile_lock.h"
#include "profiles/stored_services.h"
#include "session/logon.h"
#include "tables/registry_persistence.h"

namespace uab::fuzz {
namespace {

constexpr const WCHAR* kAppKey = UAB_TEXT("Fuzz");
constexpr const WCHAR* kRoot = UAB_TEXT("Software\\Ostrel\\QUILLDOC\\Fuzz\\UAB Profiles\\");
const Text kServices[] = {UAB_TEXT("01000000000000000000000000000000"), UAB_TEXT("02000000000000000000000000000000"),
                          UAB_TEXT("0200000000000000000000000000000A"), UAB_TEXT("none")};

// What stands in the definition file: two services, of which one has a library.
DWORD Definitions(const WCHAR* section, WCHAR* buffer, DWORD size, const WCHAR*) {
  static constexpr WCHAR kList[] = UAB_TEXT("One = First\0Two = Second\0");
  static constexpr WCHAR kOne[] = UAB_TEXT("PR_SERVICE_DLL_NAME = one\0PR_SERVICE_ENTRY_NAME = Entry\0");
  static constexpr WCHAR kTwo[] = UAB_TEXT("PR_SERVICE_SUPPORT_FILES = a,b\0PR_RESOURCE_FLAGS = SERVICE_SINGLE_COPY\0");
  std::span<const WCHAR> lines = kList;
  if (Text(section) == UAB_TEXT("One")) lines = kOne;
  if (Text(section) == UAB_TEXT("Two")) lines = kTwo;
  Expect(lines.size() < size, "the first buffer is large enough");
  std::copy(lines.begin(), lines.end(), buffer);
  return static_cast<DWORD>(lines.size() - 1);
}

struct World : NonCopyable {
  explicit World(Input& its_input) : input(its_input), library(its_input) {
    Sys().get_private_profile_section = &Definitions;
    Expect(Succeeded(ProfAdmin::Create(kAppKey, nullptr, profiles)), "there is memory");
  }

  Text DrawProfile() {
    switch (input.Below(8)) {
      case 0:
        return UAB_TEXT("q");
      case 1:
        return UAB_TEXT("P");
      case 2:
        return input.Words(70);
      default:
        return UAB_TEXT("p");
    }
  }
  MAPIUID DrawUid() {
    MAPIUID uid{};
    uid.ab[0] = static_cast<BYTE>(1 + input.Below(4));
    return uid;
  }

  // What a process may have left behind that was killed, or that is no such thing.
  void WriteUnfinished() {
    UniqueKey root;
    if (Failed(CreateKey(HKEY_CURRENT_USER, kRoot, &root, nullptr))) return;
    std::string record;
    auto put_text = [&](const Text& text) {
      record.append(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(WCHAR));
    };
    auto put_number = [&](ULONG number) { record.append(reinterpret_cast<const char*>(&number), sizeof(number)); };
    put_text(DrawProfile() + (input.OneIn(2) ? UAB_TEXT('\\') + kServices[input.Below(4)] : Text()));
    put_number(input.Byte() % 4);
    for (std::size_t left = input.Below(3); left > 0; --left) {
      put_text(input.OneIn(4) ? input.Words(70) : kServices[input.Below(4)]);
      put_text(input.Words(10));
      put_number(input.Byte());
      const std::string_view data = input.Bytes();
      put_number(input.OneIn(8) ? input.Byte() : static_cast<ULONG>(data.size()));
      record += data;
    }
    if (input.OneIn(8)) record.resize(record.size() - 1);
    (void)SetValue(root.Get(), UAB_TEXT("Unfinished"), REG_BINARY,
                   {reinterpret_cast<const BYTE*>(record.data()), record.size()});
    ProfileLock lock;
    Expect(long_names || lock.AcquireToChange(kAppKey) == S_OK, "what is no record stands in nobody's way");
  }

  // What somebody else might write: names of ours with data of theirs, and the other way round.
  void WriteHostile() {
    Text path = kRoot + DrawProfile();
    if (!input.OneIn(4)) path += UAB_TEXT('\\') + (input.OneIn(8) ? input.Words(70) : kServices[input.Below(4)]);
    UniqueKey key;
    if (Failed(CreateKey(HKEY_CURRENT_USER, path.c_str(), &key, nullptr))) return;
    long_names = long_names || path.size() - Text(kRoot).size() > kProfileNameChars;
    std::string data;
    Text name;
    if (input.OneIn(4)) {
      data = input.Bytes();
      name = input.OneIn(4) ? UAB_TEXT("Unfinished") : input.Words(70);
    } else {
      ChainPtr<SPropValue> value = DrawValues(input, 1);
      const bool is_uid = input.OneIn(2);
      MAPIUID uid = DrawUid();
      if (is_uid) {
        value->ulPropTag = PR_SERVICE_UID;
        value->Value.bin = {sizeof(uid), uid.ab};
      }
      PropNodePtr node;
      if (Failed(MakePropNode(*value.Get(), node))) return;
      data.assign(reinterpret_cast<const char*>(&node->record), node->record.recLength);
      if (input.OneIn(8)) data[input.Below(data.size() > 256 ? 256 : data.size())] ^= static_cast<char>(input.Byte());
      for (char digit : std::to_string(node->tag())) name.push_back(static_cast<WCHAR>(digit));
      if (input.OneIn(8)) name = input.Words(70);
    }
    long_names = long_names || name.size() > kProfileNameChars;
    (void)Sys().reg_set_value(key.Get(), name.c_str(), 0, input.OneIn(4) ? REG_SZ : REG_BINARY,
                              reinterpret_cast<const BYTE*>(data.data()), static_cast<DWORD>(data.size()));
  }

  void Section(IMsgServiceAdmin& admin) {
    MAPIUID uid = DrawUid();
    ComPtr<IMAPIProp> section;
    if (Failed(admin.OpenProfileSection(&uid, nullptr, 0, section.Put()))) return;
    ULONG count = 0;
    ChainPtr<SPropValue> all;
    Expect(Succeeded(section->GetProps(nullptr, MAPI_UNICODE, &count, all.Put())), "a section can be read");
    const auto given = static_cast<ULONG>(input.Below(4));
    ChainPtr<SPropValue> values = DrawValues(input, given);
    (void)section->SetProps(given, values.Get(), nullptr);
    if (ChainPtr<SPropTagArray> tags = DrawTags(input, 3)) (void)section->DeleteProps(tags.Get(), nullptr);
    if (input.OneIn(2)) (void)section->SaveChanges(0);
    if (input.OneIn(4)) CopySection(admin, *section.Get());
  }

  void CopySection(IMsgServiceAdmin& admin, IMAPIProp& section) {
    MAPIUID uid = DrawUid();
    ComPtr<IMAPIProp> other;
    if (Failed(admin.OpenProfileSection(&uid, nullptr, MAPI_MODIFY, other.Put()))) return;
    ChainPtr<SPropTagArray> tags = DrawTags(input, 3);
    ChainPtr<SPropProblemArray> problems;
    const ULONG flags = MAPI_UNICODE | (input.OneIn(4) ? MAPI_NOREPLACE : 0);
    if (input.OneIn(2)) {
      (void)section.CopyTo(0, nullptr, tags.Get(), 0, nullptr, &IID_IMAPIProp, other.Get(), flags, problems.Put());
    } else {
      (void)section.CopyProps(tags.Get(), 0, nullptr, &IID_IMAPIProp, other.Get(), flags, problems.Put());
    }
    ChainPtr<SPropTagArray> all;
    Expect(Succeeded(other->GetPropList(MAPI_UNICODE, all.Put())) && all, "a section can list its properties");
    (void)other->SaveChanges(0);
  }

  void LogOn() {
    Text name = DrawProfile(), app_key = kAppKey;
    const ULONG flags = MAPI_UNICODE | (input.OneIn(4) ? UAB_DEFAULT_PROFILE : 0);
    ComPtr<IAddrBook> book;
    ComPtr<IUABSession> session;
    HRESULT hr = Logon({app_key.data(), nullptr, 0, flags}, name.c_str(), book.Put(), session.Put());
    Expect(Succeeded(hr) == static_cast<bool>(session) && (session || !book), "a session comes with success");
    ULONG type = 0;
    ComPtr<IUnknown> root;
    ComPtr<IMAPITable> table;
    if (book && Succeeded(book->OpenEntry(0, nullptr, nullptr, 0, &type, root.Put())) &&
        Succeeded(static_cast<IABContainer*>(root.Get())->GetHierarchyTable(MAPI_UNICODE, table.Put()))) {
      ReadTable(input, *table.Get());
    }
    table.Reset();
    root.Reset();
    book.Reset();
    session.Reset();
    Expect(library.held() == 0, "everything is given back");
  }

  void Administer() {
    Text name = DrawProfile();
    ComPtr<IMsgServiceAdmin> admin;
    if (Failed(profiles->AdminServices(name.data(), MAPI_UNICODE, admin.Put()))) return;
    for (std::size_t left = input.Below(4); left > 0; --left) {
      MAPIUID uid = DrawUid();
      ComPtr<IMAPITable> table;
      switch (input.Below(5)) {
        case 0:
          if (Succeeded(admin->GetMsgServiceTable(MAPI_UNICODE, table.Put()))) ReadTable(input, *table.Get());
          break;
        case 1: {
          const auto count = static_cast<ULONG>(input.Below(4));
          ChainPtr<SPropValue> values = DrawValues(input, count);
          ComPtr<IMAPIProp> section;
          (void)admin->ConfigureMsgService(&uid, 0, MAPI_UNICODE | (input.OneIn(4) ? SERVICE_UI_ALWAYS : 0), count,
                                           values.Get(), section.Put());
          break;
        }
        case 2:
          (void)admin->DeleteMsgService(&uid);
          break;
        case 3: {
          Text service = input.OneIn(2) ? UAB_TEXT("One") : UAB_TEXT("Two"), shown = UAB_TEXT("x");
          (void)admin->CreateMsgService(service.data(), shown.data(), nullptr, 0, 0, MAPI_UNICODE);
          break;
        }
        default:
          Section(*admin.Get());
      }
    }
  }

  // All services of a profile, sorted, each as its sorted records; false: it can't be read.
  static bool Stored(const Text& profile, std::vector<std::vector<std::string>>& services) {
    ProfileLock lock;
    ComPtr<MemTable> table;
    if (Failed(lock.AcquireToRead(kAppKey)) || Failed(LoadServices(kAppKey, profile.c_str(), table))) return false;
    services.clear();
    for (std::size_t i = 0; i < table->row_count(); ++i) {
      std::vector<std::string>& records = services.emplace_back();
      for (std::size_t place = 0; place < table->row(i).count(); ++place) {
        const std::span<const BYTE> bytes = table->row(i).record(place).bytes();
        records.emplace_back(bytes.begin(), bytes.end());
      }
      std::sort(records.begin(), records.end());
    }
    std::sort(services.begin(), services.end());
    return true;
  }

  // Reads and saves the services; how many there were, or -1.
  static int SaveAsRead(const Text& profile) {
    ProfileLock lock;
    ComPtr<MemTable> table;
    if (Failed(lock.AcquireToChange(kAppKey)) || Failed(LoadServices(kAppKey, profile.c_str(), table))) return -1;
    return Succeeded(SaveServices(kAppKey, profile.c_str(), *table)) ? static_cast<int>(table->row_count()) : -1;
  }

  // Once saved, the services read back as they were saved, also under another name.
  void SaveAndCompare() {
    Text profile = DrawProfile(), other = UAB_TEXT("r");
    const int count = SaveAsRead(profile);
    if (count < 0) return;
    std::vector<std::vector<std::string>> saved, again;
    Expect(Stored(profile, saved), "what was saved can be read");
    Expect(saved.size() <= static_cast<std::size_t>(count), "nothing but the rows is left");
    Expect(SaveAsRead(profile) >= 0 && Stored(profile, again) && saved == again, "saving again changes nothing");
    if (Succeeded(profiles->CopyProfile(profile.data(), other.data(), MAPI_UNICODE))) {
      Expect(Stored(other, again) && saved == again, "a copy has the same services");
      Expect(Succeeded(profiles->DeleteProfile(other.data(), MAPI_UNICODE)), "a copy can be deleted");
      Expect(!Stored(other, again), "a deleted profile is gone");
    }
  }

  void Step() {
    Text name = DrawProfile(), target = DrawProfile();
    ComPtr<IMAPITable> table;
    switch (input.Below(12)) {
      case 0:
        (void)profiles->CreateProfile(name.data(), 0, MAPI_UNICODE | (input.OneIn(2) ? MAPI_DEFAULT_SERVICES : 0));
        break;
      case 1:
        (void)profiles->CopyProfile(name.data(), target.data(), MAPI_UNICODE);
        break;
      case 2:
        (void)profiles->RenameProfile(name.data(), target.data(), MAPI_UNICODE);
        break;
      case 3:
        (void)profiles->DeleteProfile(name.data(), MAPI_UNICODE);
        break;
      case 4:
        (void)profiles->SetDefaultProfile(name.data(), MAPI_UNICODE);
        break;
      case 5:
        if (Succeeded(profiles->GetProfileTable(MAPI_UNICODE, table.Put()))) ReadTable(input, *table.Get());
        break;
      case 6:
        return SaveAndCompare();
      case 7:
        return Administer();
      case 8:
        return WriteUnfinished();
      case 9:
        return LogOn();
      default:
        return WriteHostile();
    }
  }

  Input& input;
  Registry registry;
  ServiceLibrary library;
  ComPtr<ProfAdmin> profiles;
  bool long_names = false;  // so that a key can't be read any more
};

}  // namespace

void FuzzOne(Input input) {
  World world(input);
  for (int step = 0; step < 40 && !input.done(); ++step) world.Step();
}

}  // namespace uab::fuzz
