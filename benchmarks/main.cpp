// Runs the benchmarks with the library's code attached, as the loader would.
#include <benchmark/benchmark.h>

#include "frame/module.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv) || !uab::ProcessAttach(nullptr)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  uab::ProcessDetach();
  return 0;
}
