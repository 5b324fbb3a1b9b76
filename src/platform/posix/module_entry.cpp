// The loader's calls on Linux: attach and detach of the process. A failed attach can't be refused here; the library is
// then without its allocator, and every allocation answers E_OUTOFMEMORY.
#include <dlfcn.h>

#include "frame/module.h"
#include "platform/posix/modules.h"

namespace uab {
namespace {

__attribute__((constructor)) void OnLoad() { ProcessAttach(ThisModule()); }
__attribute__((destructor)) void OnUnload() { ProcessDetach(); }

}  // namespace
}  // namespace uab
