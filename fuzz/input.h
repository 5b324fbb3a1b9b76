// A fuzzer's input as a cursor: numbers, bytes and texts are drawn from its front, and zeros behind its end, so that
// every input is a whole script. A target is a file with one FuzzOne; what it finds wrong beyond a crash goes to
// Expect.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "platform/win32.h"

namespace uab::fuzz {

using Text = std::basic_string<WCHAR>;

class Input {
 public:
  explicit Input(std::string_view bytes) noexcept : rest_(bytes) {}

  bool done() const noexcept { return rest_.empty(); }
  std::string_view rest() const noexcept { return rest_; }

  template <typename Number>
  Number Draw() noexcept {
    Number number{};
    std::string_view bytes = Take(sizeof(number));
    std::memcpy(&number, bytes.data(), bytes.size());
    return number;
  }
  std::uint8_t Byte() noexcept { return Draw<std::uint8_t>(); }
  // 0 to count - 1. REQUIRES: count is 1 to 256.
  std::size_t Below(std::size_t count) noexcept { return Byte() % count; }
  bool OneIn(std::size_t count) noexcept { return !done() && Below(count) == count - 1; }
  template <typename T>
  const T& OneOf(std::span<const T> items) noexcept {
    return items[Below(items.size())];
  }

  // A length of one byte, then so many bytes.
  std::string_view Bytes(std::size_t most = 255) noexcept { return Take(std::min<std::size_t>(Byte(), most)); }
  // The same as characters, mostly plain ones of one byte; no terminator inside.
  Text Words(std::size_t most = 255) {
    Text text;
    for (std::string_view left = Bytes(most); !left.empty(); left.remove_prefix(1)) {
      auto unit = static_cast<unsigned char>(left.front());
      if (unit != 0) text.push_back(static_cast<WCHAR>(unit >= 0xF0 ? unit * 0x100 + unit : unit));
    }
    return text;
  }

 private:
  std::string_view Take(std::size_t size) noexcept {
    std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
};

// What has to hold whatever the input says.
inline void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: does not hold: %s\n", what);
  std::abort();
}

// Written by each target. Nothing of one run may be left for the next.
void FuzzOne(Input input);

}  // namespace uab::fuzz
