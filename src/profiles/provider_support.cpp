#include "profiles/provider_support.h"

#include <new>

#include "props/copy_engine.h"

namespace uab {

HRESULT ProviderSupport::Create(std::unique_ptr<UidRegistrar> registrar, ComPtr<ProviderSupport>& support) noexcept {
  support = ComPtr<ProviderSupport>::Attach(new (std::nothrow) ProviderSupport(std::move(registrar)));
  return support ? S_OK : E_OUTOFMEMORY;
}

HRESULT ProviderSupport::GetMemAllocRoutines(UABAllocateBufferFunction* allocate_buffer,
                                             UABAllocateMoreFunction* allocate_more,
                                             UABFreeBufferFunction* free_buffer) noexcept {
  if (allocate_buffer == nullptr || allocate_more == nullptr || free_buffer == nullptr) return E_INVALIDARG;
  *allocate_buffer = &UABAllocateBuffer;
  *allocate_more = &UABAllocateMore;
  *free_buffer = &UABFreeBuffer;
  return S_OK;
}

HRESULT ProviderSupport::SetProviderUID(MAPIUID* uid, ULONG) noexcept {
  if (registrar_ == nullptr) return MAPI_E_NO_SUPPORT;
  return uid == nullptr ? E_INVALIDARG : registrar_->RegisterUid(*uid);
}

HRESULT ProviderSupport::DoCopyTo(const IID* source_iid, void* source, ULONG, const IID*, SPropTagArray* excluded_tags,
                                  ULONG_PTR, IMAPIProgress*, const IID* destination_iid, void* destination, ULONG flags,
                                  SPropProblemArray** problems) noexcept {
  return uab::DoCopyTo({source_iid, source}, excluded_tags, {destination_iid, destination}, flags, problems);
}

HRESULT ProviderSupport::DoCopyProps(const IID* source_iid, void* source, SPropTagArray* tags, ULONG_PTR,
                                     IMAPIProgress*, const IID* destination_iid, void* destination, ULONG flags,
                                     SPropProblemArray** problems) noexcept {
  return uab::DoCopyProps({source_iid, source}, tags, {destination_iid, destination}, flags, problems);
}

}  // namespace uab
