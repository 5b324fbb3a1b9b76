// A provider library that has the stage act for it. PROVIDER_NUMBER (0 or 1) tells the two built from this source apart.
#include <atomic>

#include "keluab/codes.h"
#include "session/plugins/plugin_export.h"
#include "session/provider_stage.h"

using namespace uab;

namespace {

ProviderStage* stage = nullptr;
std::atomic<int> calls = 0;  // under way in this code

struct UnloadNote {
  ~UnloadNote() {
    if (stage != nullptr) stage->unloaded(*stage, PROVIDER_NUMBER, calls);
  }
} unload_note;

void PassThrough() {
  ++calls;
  stage->called(*stage);
  --calls;
}

}  // namespace

PLUGIN_EXPORT HRESULT UAB_CALL ABProviderOpen(WCHAR* app_key, HINSTANCE resources, IUABSupport* support,
                                              IMAPIProp* section, ULONG_PTR caller_param, ULONG flags,
                                              UABAllocateBufferFunction buffer, UABAllocateMoreFunction,
                                              UABFreeBufferFunction, IAddrBook** provider, ULONG_PTR host_value) {
  stage = reinterpret_cast<ProviderStage*>(caller_param);
  stage->through[PROVIDER_NUMBER] = &PassThrough;
  HRESULT hr = stage->open(*stage, PROVIDER_NUMBER,
                           {app_key, resources, support, section, flags, buffer, provider, host_value});
  if (hr == ProviderStage::kThrow) throw 1;
  return hr;
}

// Keeps what it is given as the service's settings.
PLUGIN_EXPORT HRESULT UAB_CALL ServiceEntry(HINSTANCE, ULONG_PTR, ULONG, ULONG, ULONG count, SPropValue* values,
                                            IMAPIProp* section, IUABSupport* support, ULONG_PTR) {
  if (count == 0) return S_OK;
  UABAllocateBufferFunction allocate_buffer;
  UABAllocateMoreFunction allocate_more;
  UABFreeBufferFunction free_buffer;
  support->GetMemAllocRoutines(&allocate_buffer, &allocate_more, &free_buffer);
  SPropProblemArray* problems = nullptr;
  if (HRESULT hr = section->SetProps(count, values, &problems); hr != S_OK) return hr;
  if (problems == nullptr) return section->SaveChanges(0);
  free_buffer(problems);
  return E_OUTOFMEMORY;
}
