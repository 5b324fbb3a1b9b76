// Runs a target on files, with any compiler and on every system: replay FILE-OR-FOLDER... The tests do so with the
// seeds and the past findings. Fails when there is nothing to run.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int runs = 0;

void Run(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) std::exit(1);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  std::printf("%s\n", path.filename().string().c_str());
  std::fflush(stdout);  // so that the last line names the one that crashed
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  ++runs;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize(&argc, &argv) != 0) return 2;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      Run(argv[i]);
    } else {
      for (const auto& entry : std::filesystem::directory_iterator(argv[i])) Run(entry.path());
    }
  }
  std::printf("%d inputs\n", runs);
  return runs > 0 ? 0 : 1;
}
