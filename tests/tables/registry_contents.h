// What stands in the registry, to be compared as a whole.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "platform/registry.h"
#include "support/hive.h"

namespace uab {

using Data = std::vector<BYTE>;
using Values = std::map<Text, Data>;     // by name
using Services = std::map<Text, Values>;  // subkeys with their values, by name

inline std::vector<Text> NamesIn(HKEY key, LSTATUS (*enumerate)(HKEY, DWORD, WCHAR*, DWORD) noexcept) {
  std::vector<Text> names;
  WCHAR name[kKeyNameCapacity];
  for (DWORD index = 0; enumerate(key, index, name, kKeyNameCapacity) == 0; ++index) names.emplace_back(name);
  return names;
}

inline Data ReadBytes(HKEY key, const Text& name) {
  DWORD size = 0;
  if (RegQueryValueExW(key, name.c_str(), nullptr, nullptr, nullptr, &size) != 0) return {};
  Data data(size);
  RegQueryValueExW(key, name.c_str(), nullptr, nullptr, data.data(), &size);
  return data;
}

inline Values ReadValues(HKEY key) {
  Values values;
  for (const Text& name : NamesIn(key, &EnumValueName)) values[name] = ReadBytes(key, name);
  return values;
}

inline Services ReadServices(HKEY key) {
  Services services;
  for (const Text& name : NamesIn(key, &EnumSubkey)) {
    UniqueKey service;
    EXPECT_EQ(OpenKey(key, name.c_str(), KEY_READ, &service), S_OK);
    services[name] = ReadValues(service.Get());
  }
  return services;
}

}  // namespace uab
