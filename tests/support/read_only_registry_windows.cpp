#include "support/read_only_registry.h"

namespace uab {

ReadOnlyRegistry::ReadOnlyRegistry() : before_(Sys()) {
  Sys().reg_create_key = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
  Sys().reg_open_key = [](HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY result) -> LSTATUS {
    return (access & ~static_cast<REGSAM>(KEY_READ)) != 0 ? ERROR_ACCESS_DENIED
                                                          : RegOpenKeyExW(key, path, options, access, result);
  };
  Sys().reg_set_value = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
  Sys().reg_delete_key = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
  Sys().reg_delete_value = [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; };
}

ReadOnlyRegistry::~ReadOnlyRegistry() { Sys() = before_; }

}  // namespace uab
