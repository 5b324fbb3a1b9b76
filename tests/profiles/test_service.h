// A service library for tests: it does what the script says that the host value points to. The library is loaded anew
// for each call and keeps nothing itself.
#pragma once

#include "keluab/provider.h"

namespace uab {

struct EntryCall {
  HINSTANCE resources;
  ULONG_PTR ui;
  ULONG flags;
  ULONG context;
  ULONG count;
  SPropValue* values;
  IMAPIProp* section;
  IUABSupport* support;
};

struct ServiceScript {
  HRESULT (*behave)(const EntryCall& call);
  bool throws;
};

}  // namespace uab
