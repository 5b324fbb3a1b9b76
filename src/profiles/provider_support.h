// What a provider or a service library may ask of the library: memory, registering its identifiers, copying. Bound:
// made for a provider at logon, and registers with its entry of the session's provider list. Unbound: made for a
// service entry, which has nothing to register. Any thread may call.
#pragma once

#include <memory>

#include "frame/com_object.h"
#include "keluab/iids.h"
#include "keluab/provider.h"

namespace uab {

// Where a bound support object registers. It may outlive what it registers with.
class UidRegistrar : NonCopyable {
 public:
  virtual ~UidRegistrar() = default;

  // E_INVALIDARG: what it registered with is gone. MAPI_E_COLLISION: registered here already. E_OUTOFMEMORY.
  virtual HRESULT RegisterUid(const MAPIUID& uid) noexcept = 0;
};

class ProviderSupport final : public ComObject<ProviderSupport, IUABSupport, &IID_IUABSupport> {
 public:
  // Stores a support object that owns the registrar; unbound when that is null. E_OUTOFMEMORY.
  static HRESULT Create(std::unique_ptr<UidRegistrar> registrar, ComPtr<ProviderSupport>& support) noexcept;

  HRESULT UAB_CALL GetLastError(HRESULT, ULONG, MAPIERROR**) noexcept override { return S_OK; }
  HRESULT UAB_CALL GetMemAllocRoutines(UABAllocateBufferFunction* allocate_buffer,
                                       UABAllocateMoreFunction* allocate_more,
                                       UABFreeBufferFunction* free_buffer) noexcept override;
  HRESULT UAB_CALL SetProviderUID(MAPIUID* uid, ULONG flags) noexcept override;
  HRESULT UAB_CALL Reserved7() noexcept override { return MAPI_E_NO_SUPPORT; }
  HRESULT UAB_CALL DoCopyTo(const IID* source_iid, void* source, ULONG excluded_count, const IID* excluded_iids,
                            SPropTagArray* excluded_tags, ULONG_PTR ui, IMAPIProgress* progress,
                            const IID* destination_iid, void* destination, ULONG flags,
                            SPropProblemArray** problems) noexcept override;
  HRESULT UAB_CALL DoCopyProps(const IID* source_iid, void* source, SPropTagArray* tags, ULONG_PTR ui,
                               IMAPIProgress* progress, const IID* destination_iid, void* destination, ULONG flags,
                               SPropProblemArray** problems) noexcept override;
  HRESULT UAB_CALL Reserved10() noexcept override { return MAPI_E_NO_SUPPORT; }

 private:
  explicit ProviderSupport(std::unique_ptr<UidRegistrar> registrar) noexcept : registrar_(std::move(registrar)) {}

  const std::unique_ptr<UidRegistrar> registrar_;  // null: unbound
};

}  // namespace uab
