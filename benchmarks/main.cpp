// Runs the benchmarks with the library's code attached, as the loader would, and with a heap that keeps what it has: that
// the system takes pages back and clears them again is not what is measured.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include "frame/module.h"

int main(int argc, char** argv) {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv) || !uab::ProcessAttach(nullptr)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  uab::ProcessDetach();
  return 0;
}
