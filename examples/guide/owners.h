// Owners for what KELUAB hands out, so that no program frees or releases by hand, and text in UTF-8. Copy it.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

#include "keluab/keluab.h"

namespace guide {

// Stops the program's work at the first failure; the owners below free what there is.
inline void Check(uab::HRESULT hr, const char* what) {
  if (uab::Succeeded(hr)) return;
  char text[80];
  std::snprintf(text, sizeof text, "can't %s: 0x%08X", what, static_cast<unsigned>(hr));
  throw std::runtime_error(text);
}

// One reference to an object. Put is where a call stores an object: with it comes a reference that is ours.
template <typename T>
class Com {
 public:
  Com() = default;
  Com(const Com&) = delete;
  Com& operator=(const Com&) = delete;
  ~Com() { Reset(); }
  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T** Put() {
    Reset();
    return &object_;
  }
  void Reset() {
    if (T* object = std::exchange(object_, nullptr)) object->Release();
  }

 private:
  T* object_ = nullptr;
};

// One pointer that a routine of the library frees: a head block, a row set or an address list.
template <typename T, auto Free>
class Owned {
 public:
  Owned() = default;
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { Reset(); }
  T* get() const { return data_; }
  T* operator->() const { return data_; }
  T& operator[](std::size_t index) const { return data_[index]; }
  T** Put() {
    Reset();
    return &data_;
  }
  T** InOut() { return &data_; }  // for an operation that replaces what it is given
  void Reset() {
    if (T* data = std::exchange(data_, nullptr)) Free(data);
  }

 private:
  T* data_ = nullptr;
};

template <typename T>
void FreeHead(T* head) {
  UABFreeBuffer(head);
}
template <typename T>
using Buffer = Owned<T, &FreeHead<T>>;
using Rows = Owned<uab::SRowSet, &UABFreeProws>;
using Recipients = Owned<uab::ADRLIST, &UABFreePadrlist>;

// UTF-16 with a terminator from UTF-8, for arguments: UTF-16 strings of the library are not const.
inline std::basic_string<uab::WCHAR> Wide(const std::string& text) {
  std::basic_string<uab::WCHAR> wide;
  for (std::size_t i = 0; i < text.size();) {
    unsigned char lead = static_cast<unsigned char>(text[i++]);
    unsigned long point = lead < 0x80 ? lead : lead < 0xE0 ? lead & 0x1Fu : lead < 0xF0 ? lead & 0x0Fu : lead & 0x07u;
    for (; i < text.size() && (text[i] & 0xC0) == 0x80; ++i) {
      point = point << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    }
    if (point >= 0x10000) wide += static_cast<uab::WCHAR>(0xD7C0 + (point >> 10));
    wide += static_cast<uab::WCHAR>(point >= 0x10000 ? 0xDC00 + (point & 0x3FF) : point);
  }
  return wide;
}

// UTF-8 from a text value; "-" for a value that is missing, which has the type PT_ERROR.
inline std::string Text(const uab::SPropValue& value) {
  if (uab::PropType(value.ulPropTag) != uab::PT_UNICODE || value.Value.lpszW == nullptr) return "-";
  std::string text;
  for (const uab::WCHAR* unit = value.Value.lpszW; *unit != 0; ++unit) {
    unsigned long point = *unit;
    if (point >= 0xD800 && point < 0xDC00 && unit[1] >= 0xDC00 && unit[1] < 0xE000) {
      point = 0x10000 + ((point & 0x3FF) << 10) + (*++unit & 0x3FFu);
    }
    if (point >= 0x10000) text += {static_cast<char>(0xF0 | point >> 18), static_cast<char>(0x80 | (point >> 12 & 63))};
    if (point >= 0x800 && point < 0x10000) text += static_cast<char>(0xE0 | point >> 12);
    if (point >= 0x800) text += static_cast<char>(0x80 | (point >> 6 & 63));
    if (point >= 0x80 && point < 0x800) text += static_cast<char>(0xC0 | point >> 6);
    text += static_cast<char>(point < 0x80 ? point : 0x80 | (point & 63));
  }
  return text;
}

// A 32-bit number, or 0 for a value that is missing.
inline uab::ULONG Number(const uab::SPropValue& value) {
  return uab::PropType(value.ulPropTag) == uab::PT_LONG ? value.Value.ul : 0;
}

}  // namespace guide
