// Logging on to a profile of n services, each with a library of its own, and off again, against opening and closing the
// same libraries and reading the files that the profile is kept in.
#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/with_floor.h"
#include "keluab/tags.h"
#include "profiles/stored_services.h"
#include "session/logon.h"
#include "support/hive.h"
#include "support/values.h"

namespace uab {
namespace {

namespace fs = std::filesystem;

constexpr const WCHAR* kAppKey = UAB_TEXT("Logon");
constexpr std::int64_t kMost = 400;

// A hive with a profile of as many services, and copies of the provider in a folder beside this program.
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

  // The profile's name; it is made anew in an empty hive.
  Text ProfileOf(std::int64_t services) {
    hive_.reset();
    hive_.emplace();
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
    return SaveNewProfile(kAppKey, UAB_TEXT("many"), *table) == S_OK ? UAB_TEXT("many") : Text();
  }

  fs::path Hive() const { return hive_->Folder(); }

 private:
  static constexpr const char* kFolder = "logon_benchmark";
  static std::string FileName(std::int64_t number) { return "provider" + std::to_string(number) + ".so"; }

  const fs::path folder_;
  std::optional<TestHive> hive_;
};

void LogonAndOff(benchmark::State& state) {
  Text profile = Stage::Instance().ProfileOf(state.range(0));
  const LogonArguments arguments = {const_cast<WCHAR*>(kAppKey), nullptr, 0, 0};
  for (auto _ : state) {
    ComPtr<IAddrBook> address_book;
    ComPtr<IUABSession> session;
    if (Logon(arguments, profile.c_str(), address_book.Put(), session.Put()) != S_OK) {
      return state.SkipWithError("no session");
    }
  }
}

void LogonFloor(benchmark::State& state) {
  Stage& stage = Stage::Instance();
  stage.ProfileOf(state.range(0));
  std::vector<void*> libraries(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(stage.Hive())) {
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
