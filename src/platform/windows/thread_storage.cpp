// The library's thread-local variables and the run-time's, given back when it is unloaded.
#include "keluab/thread_storage.h"
