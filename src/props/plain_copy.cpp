#include "props/plain_copy.h"

#include <utility>

#include "props/called_objects.h"

namespace uab {
namespace {

bool StaysBehind(const SPropValue& value) noexcept {
  switch (PropType(value.ulPropTag)) {
    case PT_ERROR:
    case PT_OBJECT:
    case PT_BINARY:
    case PT_MV_BINARY:
      return true;
    default:
      return false;
  }
}

bool IsMissing(const SPropValue& value) noexcept {
  return PropType(value.ulPropTag) == PT_ERROR && value.Value.err == MAPI_E_NOT_FOUND;
}

// Turns the values of properties that the destination has into placeholders.
HRESULT KeepExisting(IMAPIProp* destination, const SPropTagArray* tags, ULONG count, SPropValue* values) noexcept {
  ULONG existing_count = 0;
  ChainPtr<SPropValue> existing;
  HRESULT hr = GetValues(destination, tags, MAPI_UNICODE, &existing_count, existing);
  if (Failed(hr)) return hr;
  if (existing_count != count) return E_FAIL;
  for (ULONG i = 0; i < count; ++i) {
    if (!IsMissing(existing.Get()[i])) values[i].ulPropTag = PR_NULL;
  }
  return S_OK;
}

}  // namespace

HRESULT PlainCopy(const SPropTagArray* tags, IUnknown* source, IUnknown* destination, ULONG flags,
                  SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (source == nullptr || destination == nullptr) return E_INVALIDARG;
  ComPtr<IMAPIProp> from, to;
  if (HRESULT hr = AskFor(source, IID_IMAPIProp, from); Failed(hr)) return hr;
  if (HRESULT hr = AskFor(destination, IID_IMAPIProp, to); Failed(hr)) return hr;

  ULONG count = 0;
  ChainPtr<SPropValue> values;
  if (HRESULT hr = GetValues(from.Get(), tags, MAPI_UNICODE, &count, values); Failed(hr)) return hr;
  for (ULONG i = 0; i < count; ++i) {
    if (StaysBehind(values.Get()[i])) values.Get()[i].ulPropTag = PR_NULL;
  }
  if ((flags & MAPI_NOREPLACE) != 0) {
    if (HRESULT hr = KeepExisting(to.Get(), tags, count, values.Get()); Failed(hr)) return hr;
  }

  ChainPtr<SPropProblemArray> found;
  HRESULT hr = call_out([&] { return to->SetProps(count, values.Get(), found.Put()); });
  if (Succeeded(hr) && problems != nullptr) *problems = found.Detach();
  return hr;
}

}  // namespace uab
