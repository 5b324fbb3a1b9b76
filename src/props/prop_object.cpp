#include "props/prop_object.h"

#include "frame/allocation_chain.h"
#include "keluab/tags.h"
#include "props/prop_values.h"

namespace uab {
namespace {

bool IsPlaceholder(const SPropValue& value) noexcept {
  return value.ulPropTag == PR_NULL || PropType(value.ulPropTag) == PT_ERROR;
}

// Gathers problems for a caller who asked for them. Room for all is made before anything is changed.
class Problems {
 public:
  HRESULT Prepare(SPropProblemArray** out, ULONG capacity) noexcept {
    out_ = out;
    if (out_ == nullptr) return S_OK;
    return AllocateInto(array_, ProblemArraySize(capacity));
  }

  void Add(ULONG index, ULONG tag, HRESULT code) noexcept {
    if (array_) array_->aProblem[array_->cProblem++] = {index, tag, code};
  }

  void HandOver() noexcept {
    if (array_ && array_->cProblem != 0) *out_ = array_.Detach();
  }

 private:
  SPropProblemArray** out_ = nullptr;
  ChainPtr<SPropProblemArray> array_;
};

}  // namespace

HRESULT CheckPropTag(ULONG tag) noexcept {
  if (PropType(tag) == PT_OBJECT) return E_ACCESSDENIED;
  switch (PropId(tag)) {
    case PropId(PR_ACCESS):
    case PropId(PR_INSTANCE_KEY):
    case PropId(PR_ACCESS_LEVEL):
    case PropId(PR_OBJECT_TYPE):
    case PropId(PR_ENTRYID):
    case PropId(PR_SEARCH_KEY):
    case PropId(PR_CONTAINER_FLAGS):
    case PropId(PR_AB_PROVIDER_ID):
    case PropId(PR_DISPLAY_TYPE):
      return MAPI_E_COMPUTED;
    default:
      return S_OK;
  }
}

HRESULT PropObject::InitProps(ULONG count, const SPropValue* values) noexcept {
  PropList list;
  for (ULONG i = 0; i < count; ++i) {
    if (IsPlaceholder(values[i])) continue;
    if (HRESULT hr = list.Set(values[i]); Failed(hr)) return hr;
  }
  LockedScope scope(section_);
  list_ = std::move(list);
  return S_OK;
}

HRESULT PropObject::GetProps(const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) noexcept {
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  if (count == nullptr || values == nullptr) return E_INVALIDARG;
  if (tags == nullptr) return GetAllProps(count, values);
  if (tags->cValues == 0) return E_INVALIDARG;
  LockedScope scope(section_);
  ChainPtr<SPropValue> result;
  if (HRESULT hr = AllocateInto(result, sizeof(SPropValue) * std::size_t{tags->cValues}); Failed(hr)) return hr;
  HRESULT status = S_OK;
  std::size_t cursor = 0;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    SPropValue& value = result.Get()[i];
    ULONG tag = tags->aulPropTag[i];
    if (tag == PR_NULL) {
      value.ulPropTag = PR_NULL;
    } else if (const PropNode* node = list_.FindNext(tag, cursor)) {
      if (HRESULT hr = ReadPropRecord(node->record, result.Get(), value); Failed(hr)) return hr;
    } else {
      value = NotFoundValue(tag);
      status = MAPI_W_ERRORS_RETURNED;
    }
  }
  *count = tags->cValues;
  *values = result.Detach();
  return status;
}

HRESULT PropObject::GetAllProps(ULONG* count, SPropValue** values) noexcept {
  LockedScope scope(section_);
  ChainPtr<SPropValue> result;
  if (!list_.empty()) {
    if (HRESULT hr = AllocateInto(result, sizeof(SPropValue) * list_.count()); Failed(hr)) return hr;
    SPropValue* next = result.Get();
    for (const PropNodePtr& node : list_.nodes()) {
      if (HRESULT hr = ReadPropRecord(node->record, result.Get(), *next++); Failed(hr)) return hr;
    }
  }
  *count = static_cast<ULONG>(list_.count());
  *values = result.Detach();
  return S_OK;
}

HRESULT PropObject::GetPropList(ULONG flags, SPropTagArray** tags) noexcept {
  if (tags != nullptr) *tags = nullptr;
  if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
  if (tags == nullptr) return E_INVALIDARG;
  LockedScope scope(section_);
  ChainPtr<SPropTagArray> result;
  if (HRESULT hr = AllocateInto(result, TagArraySize(list_.count())); Failed(hr)) return hr;
  for (const PropNodePtr& node : list_.nodes()) result->aulPropTag[result->cValues++] = node->tag();
  *tags = result.Detach();
  return S_OK;
}

HRESULT PropObject::SetProps(ULONG count, const SPropValue* values, SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (count != 0 && values == nullptr) return E_INVALIDARG;
  Problems found;
  if (HRESULT hr = found.Prepare(problems, count); Failed(hr)) return hr;
  LockedScope scope(section_);
  for (ULONG i = 0; i < count; ++i) {
    if (HRESULT hr = SetOneProp(values[i]); Failed(hr)) found.Add(i, values[i].ulPropTag, hr);
  }
  found.HandOver();
  return S_OK;
}

HRESULT PropObject::SetOneProp(const SPropValue& value) noexcept {
  if (IsPlaceholder(value)) return S_OK;
  if (HRESULT hr = CheckPropTag(value.ulPropTag); Failed(hr)) return hr;
  LockedScope scope(section_);
  return list_.Set(value);
}

HRESULT PropObject::DeleteProps(const SPropTagArray* tags, SPropProblemArray** problems) noexcept {
  if (problems != nullptr) *problems = nullptr;
  if (tags == nullptr) return E_INVALIDARG;
  Problems found;
  if (HRESULT hr = found.Prepare(problems, tags->cValues); Failed(hr)) return hr;
  LockedScope scope(section_);
  for (ULONG i = 0; i < tags->cValues; ++i) {
    if (!list_.Remove(tags->aulPropTag[i])) found.Add(i, tags->aulPropTag[i], MAPI_E_NOT_FOUND);
  }
  found.HandOver();
  return S_OK;
}

}  // namespace uab
