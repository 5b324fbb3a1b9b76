#include "fuzz/registry.h"
#include "support/hive.h"

namespace uab::fuzz {

HMODULE AnyLibrary() { return LoadLibraryW(UAB_TEXT("kernel32.dll")); }

struct Registry::State {
  TestHive hive;
};

Registry::Registry(void (*fill)()) : state_(std::make_unique<State>()) {
  counted_guids = 0;
  Sys().co_create_guid = &CountedGuid;
  if (fill != nullptr) fill();
}

Registry::~Registry() { Sys() = before_; }

}  // namespace uab::fuzz
