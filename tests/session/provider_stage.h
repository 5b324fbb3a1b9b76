// What a test tells its provider libraries to do, and what they tell it. Its address is the caller_param of a logon.
// Plain memory: the libraries may have a run-time of their own.
#pragma once

#include <atomic>
#include <cstring>

#include "keluab/provider.h"

namespace uab {

inline constexpr HRESULT kStagedFailure = static_cast<HRESULT>(0x80040F0Eu);

struct ProviderStage {
  enum Act { kWork, kFail, kFailWithObject, kThrow, kNoObject };

  struct Role {  // of one of the two libraries
    Act act = kWork;
    bool registers_late = false;  // keeps the support object instead, for the test to use and release
    bool keeps_section = false;   // until its object is released

    IUABSupport* kept_support = nullptr;
    HRESULT registered = S_OK;  // what SetProviderUID answered
    const WCHAR* app_key = nullptr;
    HINSTANCE resources = nullptr;
    ULONG flags = 0;
    ULONG_PTR host_value = 0;
  };
  Role roles[2];

  // Every call of a slot is counted; the one with this number fails.
  std::atomic<int> calls{0};
  int refused_call = 0;

  // Called by a provider during each of its calls.
  void (*intrude)(ProviderStage& stage) = nullptr;
  void* intruder = nullptr;

  // What happened, in order: O opened, R object gone, U library unloaded, each with the library's number.
  char events[64] = "";
  void Note(char what, int number) {
    std::size_t length = std::strlen(events);
    if (length + 2 >= sizeof(events)) return;
    events[length] = what;
    events[length + 1] = static_cast<char>('0' + number);
    events[length + 2] = 0;
  }

  HRESULT Answer() {
    if (intrude != nullptr) intrude(*this);
    return ++calls == refused_call ? kStagedFailure : S_OK;
  }
};

// The identifiers of a library's entries: flags, MAPIUID, and which entry.
struct StagedId {
  enum Entry : BYTE { kContainer, kList, kAnn, kBob };
  BYTE abFlags[4] = {};
  MAPIUID uid = {};
  BYTE entry = kContainer;

  StagedId() = default;
  StagedId(int number, Entry which) : entry(which) { uid.ab[0] = static_cast<BYTE>(0xA0 + number); }
};
static_assert(sizeof(StagedId) == 21);

}  // namespace uab
