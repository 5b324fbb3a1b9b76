// A hint that memory will be read soon, where the compiler has one.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define UAB_PREFETCH(address) __builtin_prefetch(address)
#else
#define UAB_PREFETCH(address) static_cast<void>(address)
#endif
