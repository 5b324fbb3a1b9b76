// A service's library that is no provider: it lacks ABProviderOpen.
#include "session/plugins/plugin_export.h"

PLUGIN_EXPORT void ServiceEntry();
void ServiceEntry() {}
