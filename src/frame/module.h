// The library's state in its process: the module handle, the task allocator, the host value. Attach and detach are
// serialised by the loader; the rest may be called from any thread in between.
#pragma once

#include "platform/win32.h"

namespace uab {

// The first attach keeps the module and obtains the task allocator; false (nothing changed) when there is none.
bool ProcessAttach(HMODULE module) noexcept;

// The last detach releases the task allocator.
void ProcessDetach() noexcept;

// The module that was attached first: where the definition file and the providers lie.
HMODULE ModuleInstance() noexcept;

// Null before the first attach and after the last detach. Borrowed. Inline: every block of a chain asks for it.
namespace module_state {
extern IMalloc* task_allocator;
}
inline IMalloc* TaskAllocator() noexcept { return module_state::task_allocator; }

// Puts another allocator in force and hands over the one before, with their references. Blocks must be freed by the
// allocator that made them.
IMalloc* ExchangeTaskAllocator(IMalloc* allocator) noexcept;

// The first value that is not zero stays.
void OfferHostValue(ULONG_PTR value) noexcept;
ULONG_PTR HostValue() noexcept;

}  // namespace uab
