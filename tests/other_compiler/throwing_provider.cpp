// A provider library that throws when it is to open.
#include "keluab/provider.h"
#include "keluab/thread_storage.h"

extern "C" UAB_PLUGIN_EXPORT uab::HRESULT ABProviderOpen() { throw 1; }
extern "C" UAB_PLUGIN_EXPORT uab::HRESULT ThrowingServiceEntry() { return 0; }
