// What stands between a test and its provider libraries. Its address is the caller_param of a logon: the libraries hand
// every ABProviderOpen over to it, and tell it when they are unloaded. Calls of a provider go the other way round: the
// stage runs them through the code of the provider's library, which has to be there as long.
#pragma once

#include "keluab/provider.h"

namespace uab {

struct ProviderStage {
  struct Opening {  // the arguments of ABProviderOpen
    WCHAR* app_key;
    HINSTANCE resources;
    IUABSupport* support;
    IMAPIProp* section;
    ULONG flags;
    UABAllocateBufferFunction allocate_buffer;
    IAddrBook** provider;
    ULONG_PTR host_value;
  };
  static constexpr HRESULT kThrow = static_cast<HRESULT>(0x80040F0Eu);  // the library throws, instead of answering this

  HRESULT (*open)(ProviderStage& stage, int number, const Opening& opening) = nullptr;  // of library 0 or 1
  void (*through[2])() = {};  // the code of library 0 and 1 while it is loaded; calls `called`
  void (*called)(ProviderStage& stage) = nullptr;
  void (*unloaded)(ProviderStage& stage, int number, int calls) = nullptr;  // with so many calls in its code
};

}  // namespace uab
