// While it lives, what the system itself requests of the heap inside these calls, outside Windows, counts as somebody
// else's: a sweep then goes over the library's own requests, the same ones on every system. The stand-ins have
// sweeps of their own.
#pragma once

#include "platform/system_calls.h"
#include "support/heap_watch.h"

namespace uab {

class UnwatchedSystemCalls : NonCopyable {
 public:
  UnwatchedSystemCalls() noexcept : before_(Sys()) {
    real() = before_;
    Replace<&SystemCalls::reg_create_key>(Sys().reg_create_key);
    Replace<&SystemCalls::reg_open_key>(Sys().reg_open_key);
    Replace<&SystemCalls::reg_enum_key>(Sys().reg_enum_key);
    Replace<&SystemCalls::reg_enum_value>(Sys().reg_enum_value);
    Replace<&SystemCalls::reg_query_value>(Sys().reg_query_value);
    Replace<&SystemCalls::reg_set_value>(Sys().reg_set_value);
    Replace<&SystemCalls::reg_delete_key>(Sys().reg_delete_key);
    Replace<&SystemCalls::reg_delete_value>(Sys().reg_delete_value);
    Replace<&SystemCalls::load_library>(Sys().load_library);
    Replace<&SystemCalls::get_proc_address>(Sys().get_proc_address);
    Replace<&SystemCalls::acquire_user_mutex>(Sys().acquire_user_mutex);
    Replace<&SystemCalls::co_create_guid>(Sys().co_create_guid);
    Replace<&SystemCalls::get_private_profile_section>(Sys().get_private_profile_section);
  }
  ~UnwatchedSystemCalls() { Sys() = before_; }

 private:
  static SystemCalls& real() noexcept {
    static SystemCalls calls;
    return calls;
  }

  template <auto kCall, typename Result, typename... Arguments>
  static void Replace(Result (*&call)(Arguments...)) noexcept {
    call = [](Arguments... arguments) -> Result {
      UnwatchedScope unwatched;
      return (real().*kCall)(arguments...);
    };
  }

  SystemCalls before_;
};

}  // namespace uab
