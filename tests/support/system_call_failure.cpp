#include "support/system_call_failure.h"

#include <cstddef>
#include <type_traits>

#include "support/fault_count.h"
#include "support/heap_watch.h"

namespace uab {
namespace {

SystemCalls real_calls;
constinit thread_local Countdown* thread_countdown = nullptr;

// One call of the table: what it answers when refused (a call that returns a pointer: null), and the last error that it
// then leaves. It stores nothing then.
template <auto kCall, LONG kResult, DWORD kLastError = 0>
struct Call {
  static constexpr auto kPlace = kCall;
  template <typename Result, typename... Arguments>
  static Result Stand(Arguments... arguments) {
    if (thread_countdown == nullptr) {
      UnwatchedScope unwatched;
      return (real_calls.*kCall)(arguments...);
    }
    if (!thread_countdown->Refuses()) return (real_calls.*kCall)(arguments...);
    if constexpr (kLastError != 0) SetLastError(kLastError);
    if constexpr (std::is_pointer_v<Result>) {
      return nullptr;
    } else {
      return static_cast<Result>(kResult);
    }
  }
  template <typename Result, typename... Arguments>
  static void Replace(Result (*&call)(Arguments...)) noexcept {
    call = &Stand<Result, Arguments...>;
  }
};

template <typename... Calls>
struct CallList {
  static constexpr std::size_t kBytes = sizeof...(Calls) * sizeof(void (*)());
  static void Replace() noexcept { (Calls::Replace(Sys().*Calls::kPlace), ...); }
};

using EveryCall = CallList<                                             //
    Call<&SystemCalls::acquire_user_mutex, 0>,                          //
    Call<&SystemCalls::co_create_guid, E_FAIL>,                         //
    Call<&SystemCalls::dialog_box_param, -1>,                           //
    Call<&SystemCalls::get_module_file_name, 0, ERROR_INVALID_HANDLE>,  //
    Call<&SystemCalls::get_private_profile_section, 0, ERROR_ACCESS_DENIED>,
    Call<&SystemCalls::get_proc_address, 0, ERROR_PROC_NOT_FOUND>,  //
    Call<&SystemCalls::load_library, 0, ERROR_MOD_NOT_FOUND>,       //
    Call<&SystemCalls::reg_create_key, ERROR_ACCESS_DENIED>,        //
    Call<&SystemCalls::reg_delete_key, ERROR_ACCESS_DENIED>,        //
    Call<&SystemCalls::reg_delete_value, ERROR_ACCESS_DENIED>,      //
    Call<&SystemCalls::reg_enum_key, ERROR_ACCESS_DENIED>,          //
    Call<&SystemCalls::reg_enum_value, ERROR_ACCESS_DENIED>,        //
    Call<&SystemCalls::reg_open_key, ERROR_ACCESS_DENIED>,          //
    Call<&SystemCalls::reg_query_value, ERROR_ACCESS_DENIED>,       //
    Call<&SystemCalls::reg_set_value, ERROR_ACCESS_DENIED>>;
static_assert(EveryCall::kBytes == sizeof(SystemCalls), "each call of the table has a line here, and none has two");

}  // namespace

SystemCallScope::SystemCallScope(Countdown* countdown) noexcept : before_(Sys()) {
  real_calls = before_;
  EveryCall::Replace();
  if (countdown == nullptr) Sys().dialog_box_param = before_.dialog_box_param;  // it runs the library's own code
  thread_countdown = countdown;
}

SystemCallScope::~SystemCallScope() {
  if (thread_countdown != nullptr && thread_countdown->refused() != 0) CountFault(Fault::kSystemCall);
  thread_countdown = nullptr;
  Sys() = before_;
}

}  // namespace uab
