// Where the fuzzing engine, or replay.cpp, calls a target: with the library's code attached, as the loader would.
#include "frame/module.h"
#include "fuzz/input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) { return uab::ProcessAttach(nullptr) ? 0 : 2; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  uab::fuzz::FuzzOne(uab::fuzz::Input({reinterpret_cast<const char*>(data), size}));
  return 0;
}
