// Loads KELUAB at run time, finds the seven exports, uses them, and unloads it: host_load PATH
#include <cstdio>

#include "keluab/keluab.h"
#include "module.h"

namespace {

struct Keluab {
  uab::UABOpenFunction open;
  uab::UABAdminProfilesFunction admin_profiles;
  uab::UABAllocateBufferFunction allocate_buffer;
  uab::UABAllocateMoreFunction allocate_more;
  uab::UABFreeBufferFunction free_buffer;
  uab::UABFreeProwsFunction free_prows;
  uab::UABFreePadrlistFunction free_padrlist;
};

template <typename Function>
bool Find(void* module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(FindExport(module, name));
  return function != nullptr;
}

bool FindAll(void* module, Keluab& keluab) {
  return Find(module, "UABOpen", keluab.open) && Find(module, "UABAdminProfiles", keluab.admin_profiles) &&
         Find(module, "UABAllocateBuffer", keluab.allocate_buffer) &&
         Find(module, "UABAllocateMore", keluab.allocate_more) && Find(module, "UABFreeBuffer", keluab.free_buffer) &&
         Find(module, "UABFreeProws", keluab.free_prows) && Find(module, "UABFreePadrlist", keluab.free_padrlist);
}

// A head block, a block linked to it, and one call that frees both.
bool UseChain(const Keluab& keluab) {
  void* head = nullptr;
  void* linked = nullptr;
  if (uab::Failed(keluab.allocate_buffer(16, &head))) return false;
  bool whole = uab::Succeeded(keluab.allocate_more(1000, head, &linked));
  return uab::Succeeded(keluab.free_buffer(head)) && whole;
}

bool CountProfiles(const Keluab& keluab) {
  static uab::WCHAR app_key[] = UAB_TEXT("Guide");  // kept by pointer: static, or it outlives every object
  uab::IProfAdmin* admin = nullptr;
  if (uab::Failed(keluab.admin_profiles(app_key, nullptr, uab::MAPI_UNICODE, &admin, 0))) return false;
  uab::IMAPITable* profiles = nullptr;
  uab::ULONG count = 0;
  bool counted = uab::Succeeded(admin->GetProfileTable(uab::MAPI_UNICODE, &profiles)) &&
                 uab::Succeeded(profiles->GetRowCount(0, &count));
  if (profiles != nullptr) profiles->Release();
  admin->Release();
  if (counted) std::printf("%u profiles\n", static_cast<unsigned>(count));
  return counted;
}

}  // namespace

int main(int argc, char** argv) {
  void* module = argc == 2 ? LoadModule(argv[1]) : nullptr;
  if (module == nullptr) {
    std::fprintf(stderr, "host_load: name the library's file, KELUAB.dll or KELUAB.so, with its path\n");
    return 2;
  }
  Keluab keluab{};
  bool done = FindAll(module, keluab) && UseChain(keluab) && CountProfiles(keluab);
  UnloadModule(module);  // last: every object is released, every block is freed
  std::printf("%s\n", done ? "loaded, used and unloaded" : "failed");
  return done ? 0 : 1;
}
