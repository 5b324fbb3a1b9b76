#include "profiles/test_service.h"
#include "session/plugins/plugin_export.h"

using namespace uab;

PLUGIN_EXPORT HRESULT UAB_CALL TestEntry(HINSTANCE resources, ULONG_PTR ui, ULONG flags, ULONG context, ULONG count,
                                         SPropValue* values, IMAPIProp* section, IUABSupport* support,
                                         ULONG_PTR host_value) {
  auto* script = reinterpret_cast<ServiceScript*>(host_value);
  HRESULT hr = script->behave({resources, ui, flags, context, count, values, section, support});
  if (script->throws) throw 1;
  return hr;
}
