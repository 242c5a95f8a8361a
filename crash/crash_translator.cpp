#include "crash/crash_translator.h"

#include <signal.h>
#include <sys/ucontext.h>
#include <time.h>

#include <cstddef>
#include <iterator>
#include <string>

#include "crash/alternate_signal_stack.h"
#include "crash/crash_message.h"
#include "crash/crash_report.h"
#include "plugin/hx_exception.h"

namespace {

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// The handlers that were in place before ours, by position in kFaultSignals. Written once,
// while the handlers are installed.
struct sigaction previous_actions[std::size(kFaultSignals)];

// Read by the handler, which must not allocate: initial-exec TLS is a fixed offset from the
// thread pointer, while the default model in a loaded module may allocate a thread's block on
// first access.
[[gnu::tls_model("initial-exec")]] thread_local bool translating = false;
[[gnu::tls_model("initial-exec")]] thread_local bool writing_report = false;

const struct sigaction* previous_action(int signal) {
  for (std::size_t i = 0; i < std::size(kFaultSignals); ++i) {
    if (kFaultSignals[i] == signal) {
      return &previous_actions[i];
    }
  }
  return nullptr;
}

// si_code > 0: the kernel raised the signal for the instruction that was interrupted (kill,
// tgkill and sigqueue give 0 or less).
bool raised_by_fault(const siginfo_t* info) {
  return info != nullptr && info->si_code > 0;
}

// What would have happened without us: the previous handler, else the default action.
void pass_on(int signal, siginfo_t* info, void* context) {
  const struct sigaction* previous = previous_action(signal);
  if (previous != nullptr && previous->sa_handler != SIG_DFL && previous->sa_handler != SIG_IGN) {
    if ((previous->sa_flags & SA_SIGINFO) != 0) {
      previous->sa_sigaction(signal, info, context);
    } else {
      previous->sa_handler(signal);
    }
    return;
  }
  // An ignored fault cannot be ignored: the faulting instruction would only fault again.
  struct sigaction default_action {};
  default_action.sa_handler = SIG_DFL;
  sigemptyset(&default_action.sa_mask);
  sigaction(signal, &default_action, nullptr);
  // A fault repeats when its instruction runs again on return, now with the default action,
  // so a core dump of the process shows the faulting instruction; a sent signal is sent again.
  if (!raised_by_fault(info)) {
    raise(signal);
  }
}

void install_handlers() {
  // The handler reads the local time, which may not load the time zone itself.
  tzset();
  struct sigaction action {};
  action.sa_sigaction = crash_translator;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < std::size(kFaultSignals); ++i) {
    sigaction(kFaultSignals[i], &action, &previous_actions[i]);
  }
}

}  // namespace

void install_crash_translator() noexcept {
  static const bool installed = (install_handlers(), true);
  static_cast<void>(installed);
  crash::ensure_alternate_signal_stack();
  translating = true;
}

void crash_translator(int signal, siginfo_t* info, void* context) {
  if (!translating || writing_report || !raised_by_fault(info) || context == nullptr) {
    pass_on(signal, info, context);
    return;
  }
  // Up to the throw nothing here allocates, as the fault may have struck inside malloc, and
  // the only lock taken is the time zone's (crash_report.cpp). The exception itself is the
  // first allocation, made once the report is on disk.
  writing_report = true;
  crash::PathText dump_path;
  crash::write_crash_report(*info, *static_cast<const ucontext_t*>(context), dump_path);
  crash::MessageText message;
  crash::append_crash_message(message, dump_path.view());
  writing_report = false;
  throw hx_exception(std::string(message.view()));
}
