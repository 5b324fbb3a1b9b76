// Logging on to a profile of n services, each with a library of its own, and off again, against opening and closing the
// same libraries and reading the files that the profile is kept in.
#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "benchmarks/shared_hive.h"
#include "benchmarks/with_floor.h"
#include "keluab/tags.h"
#include "profiles/stored_services.h"
#include "session/logon.h"
#include "support/values.h"

namespace uab {
namespace {

namespace fs = std::filesystem;

constexpr const WCHAR* kProfile = UAB_TEXT("profile");
constexpr std::int64_t kMost = 400;

// Profiles of as many services, one for each application key, and copies of the provider beside this program.
class Stage {
 public:
  Stage() : folder_(fs::read_symlink("/proc/self/exe").parent_path() / kFolder) {
    fs::create_directories(folder_);
    for (std::int64_t i = 0; i < kMost; ++i) {
      fs::copy_file(folder_.parent_path() / "benchmark_provider.so", folder_ / FileName(i),
                    fs::copy_options::overwrite_existing);
    }
  }
  ~Stage() { fs::remove_all(folder_); }

  static Stage& Instance() {
    static Stage stage;
    return stage;
  }

  fs::path Library(std::int64_t number) const { return folder_ / FileName(number); }

  // The application key, such as "logon100".
  static Text ProfileOf(std::int64_t services) {
    const std::string digits = std::to_string(services);
    const Text key = UAB_TEXT("logon") + Text(digits.begin(), digits.end());
    ComPtr<MemTable> table;
    MemTable::Create(table);
    for (std::int64_t i = 0; i < services; ++i) {
      BYTE uid[16] = {static_cast<BYTE>(i), static_cast<BYTE>(i >> 8), 1};
      const Text library = fs::path(kFolder + ("/" + FileName(i))).u16string();
      char entry[] = "ServiceEntry";
      SPropValue values[] = {BinaryValue(PR_SERVICE_UID, uid, 16), TextValue(PR_SERVICE_DLL_NAME_W, library.c_str()),
                             TextValue(PR_DISPLAY_NAME_W, UAB_TEXT("a service")), {}};
      values[3].ulPropTag = PR_SERVICE_ENTRY_NAME;
      values[3].Value.lpszA = entry;
      table->AddRow(SRow{0, 4, values}, table->row_count());
    }
    SharedHive();
    SaveNewProfile(key.c_str(), kProfile, *table);  // the second time there is one already
    return key;
  }

  // The folder in which the hive keeps that key.
  static fs::path FolderOf(const Text& key) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(SharedHive().Folder())) {
      if (entry.path().filename().u16string() == key) return entry.path();
    }
    return {};
  }

 private:
  static constexpr const char* kFolder = "logon_benchmark";
  static std::string FileName(std::int64_t number) { return "provider" + std::to_string(number) + ".so"; }

  const fs::path folder_;
};

void LogonAndOff(benchmark::State& state) {
  Text key = Stage::Instance().ProfileOf(state.range(0));
  const LogonArguments arguments = {key.data(), nullptr, 0, MAPI_UNICODE};
  for (auto _ : state) {
    ComPtr<IAddrBook> address_book;
    ComPtr<IUABSession> session;
    if (Logon(arguments, kProfile, address_book.Put(), session.Put()) != S_OK) {
      return state.SkipWithError("no session");
    }
  }
}

void LogonFloor(benchmark::State& state) {
  Stage& stage = Stage::Instance();
  const fs::path folder = Stage::FolderOf(stage.ProfileOf(state.range(0)));
  if (folder.empty()) return state.SkipWithError("no profile");
  std::vector<void*> libraries(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      std::string content(std::istreambuf_iterator<char>(file), {});
      benchmark::DoNotOptimize(content.data());
    }
    for (std::size_t i = 0; i < libraries.size(); ++i) {
      libraries[i] = dlopen(stage.Library(static_cast<std::int64_t>(i)).c_str(), RTLD_NOW | RTLD_LOCAL);
      if (libraries[i] == nullptr) return state.SkipWithError("no library");
    }
    for (void* library : libraries) dlclose(library);
  }
}

const WithFloor logon("log on and off, services", {1, 10, 100, kMost}, &LogonAndOff, &LogonFloor);

}  // namespace
}  // namespace uab
