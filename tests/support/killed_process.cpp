#include "support/killed_process.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "support/fault_count.h"

namespace uab {
namespace {

constexpr int kCallStop = SIGTRAP | (PTRACE_EVENT_SECCOMP << 8);

// From here on each call of the system stops the process, for its tracer, before it is carried out.
bool StopAtEachCall() {
  sock_filter stop[] = {BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE)};
  sock_fprog filter = {1, stop};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

int WaitFor(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("lost a child");
  return status;
}

}  // namespace

ChildEnd RunKilledAt(std::uint32_t call, const std::function<void()>& body) {
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child");
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(3);
    raise(SIGSTOP);
    if (!StopAtEachCall()) _exit(4);
    body();
    _exit(0);
  }
  int status = WaitFor(child);
  if (WIFSTOPPED(status)) ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESECCOMP);
  for (std::uint32_t calls = 0; WIFSTOPPED(status); status = WaitFor(child)) {
    const bool at_call = status >> 8 == kCallStop;
    if (at_call && ++calls == call) {
      kill(child, SIGKILL);
      WaitFor(child);
      CountFault(Fault::kKill);
      return ChildEnd::kKilled;
    }
    const int signal = at_call || WSTOPSIG(status) == SIGSTOP ? 0 : WSTOPSIG(status);
    ptrace(PTRACE_CONT, child, nullptr, static_cast<std::intptr_t>(signal));
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error("a child ended with " + std::to_string(status));
  return ChildEnd::kDone;
}

}  // namespace uab
