// The smallest host: obtains an allocation chain from the library, shows how its blocks lie in memory, and frees it.
#include <cstdio>
#include <cstring>
#include <map>

#include "keluab/keluab.h"

using namespace uab;

namespace {

struct Header {  // in front of every block's data, see keluab/exports.h
  ULONG signature;
  ULONG size;
  Header* previous;
  Header* next;
};
static_assert(sizeof(Header) == 24, "block layout");

void PrintChain(void* head) {
  auto* first = reinterpret_cast<Header*>(static_cast<unsigned char*>(head) - sizeof(Header));
  std::map<Header*, int> places{{nullptr, 0}};
  for (Header* block = first; block != nullptr; block = block->next) {
    int place = static_cast<int>(places.size());
    places[block] = place;
  }
  std::printf("block  signature  size  previous  next  first byte  guard\n");
  for (Header* block = first; block != nullptr; block = block->next) {
    auto* data = reinterpret_cast<unsigned char*>(block + 1);
    std::printf("%5d       0x%02X  %4u  %8d  %4d        0x%02X   0x%02X\n", places[block],
                static_cast<unsigned>(block->signature), static_cast<unsigned>(block->size), places[block->previous],
                places[block->next], static_cast<unsigned>(data[0]), static_cast<unsigned>(data[block->size]));
  }
}

}  // namespace

int main() {
  void* head = nullptr;
  if (UABAllocateBuffer(16, &head) != S_OK) return 1;
  for (ULONG size : {5u, 100u, 1000u}) {
    void* block = nullptr;
    if (UABAllocateMore(size, head, &block) != S_OK) return 1;
    std::memset(block, static_cast<int>(size & 0xFF), size);
  }
  std::printf("A head of 16 bytes and blocks of 5, 100 and 1000 bytes linked to it; 0 stands for no block:\n\n");
  PrintChain(head);
  HRESULT hr = UABFreeBuffer(head);
  std::printf("\nOne call frees them all: 0x%08X\n", static_cast<unsigned>(hr));
  return hr == S_OK ? 0 : 1;
}
