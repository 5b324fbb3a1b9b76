// Bases of a test's own tables, containers and address books, with a reference count that a test can read; the test owns
// the object. Slots that a fake does not write refuse.
#pragma once

#include <atomic>

#include "keluab/admin.h"
#include "keluab/objects.h"
#include "platform/win32.h"

namespace uab {

template <typename Interface>
struct Refusing : Interface {
  HRESULT UAB_CALL QueryInterface(const IID&, void** object) override {
    *object = this;
    ++references;
    return S_OK;
  }
  ULONG UAB_CALL AddRef() noexcept override { return ++references; }
  ULONG UAB_CALL Release() override { return --references; }

  std::atomic<ULONG> references{0};  // that others hold
};

struct RefusingServiceAdmin : Refusing<IMsgServiceAdmin> {
  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL GetMsgServiceTable(ULONG, IMAPITable**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL CreateMsgService(WCHAR*, WCHAR*, WCHAR*, ULONG, ULONG_PTR, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL DeleteMsgService(MAPIUID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL ConfigureMsgService(MAPIUID*, ULONG_PTR, ULONG, ULONG, SPropValue*, IMAPIProp**) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT UAB_CALL OpenProfileSection(MAPIUID*, const IID*, ULONG, IMAPIProp**) override { return MAPI_E_NO_SUPPORT; }
};

}  // namespace uab
