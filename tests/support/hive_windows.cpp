// The hive of a test on Windows: a fresh key stands in for the current user's.
#include <atomic>
#include <stdexcept>

#include "support/hive.h"

namespace uab {
namespace {

Text FreshName() {
  static std::atomic<int> count = 0;
  return L"keluab-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
}

}  // namespace

TestHive::TestHive() {
  Text name = FreshName();
  saved_ = L"Software\\" + name;
  folder_ = std::filesystem::temp_directory_path() / name;
  // What a killed process of the same number left.
  RegDeleteTreeW(HKEY_CURRENT_USER, saved_.c_str());
  std::filesystem::remove_all(folder_);
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_CURRENT_USER, saved_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != 0 ||
      RegOverridePredefKey(HKEY_CURRENT_USER, key) != 0) {
    throw std::runtime_error("no hive for a test");
  }
  RegCloseKey(key);
  std::filesystem::create_directory(folder_);
}

TestHive::~TestHive() {
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  RegDeleteTreeW(HKEY_CURRENT_USER, saved_.c_str());
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace uab
