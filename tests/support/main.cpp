// Runs the tests of one program with the library's code attached, as the loader would.
#include <gtest/gtest.h>

#include "frame/module.h"
#include "support/fault_count.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!uab::ProcessAttach(nullptr)) return 2;
  int result = RUN_ALL_TESTS();
  uab::ProcessDetach();
  uab::PrintFaults();
  return result;
}
