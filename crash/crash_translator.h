#pragma once

#include <signal.h>

// Hardware faults (SIGSEGV, SIGBUS, SIGFPE, SIGILL) on a thread that installed the translator
// become crash reports: the handler writes a core file of the process (crash/crash_report.h)
// and throws, from the faulting instruction, an hx_exception whose message asks the user to
// send that file to support. The module is built with -fnon-call-exceptions, so the exception
// unwinds the faulting code like any other and reaches the entry point's barrier (or, on the
// render thread, the job's waiting caller).
//
// Faults on other threads, faults that some process sent with kill (they did not happen at the
// instruction they interrupted, so throwing there is unsafe) and a fault inside a report being
// written go to the handler that was installed before (libraries such as OpenCL runtimes keep
// their own); without one the default action ends the process.

// Marks the calling thread for translation and gives it an alternate signal stack (a stack
// overflow can then be reported); the first call in the process installs the signal
// handlers, for all threads. Called by the module's entry point for global setup and first
// thing on the render thread. Never throws; any thread.
void install_crash_translator() noexcept;

// The signal handler itself (SA_SIGINFO form), installed with SA_ONSTACK | SA_NODEFER: the
// fault signal stays unblocked although the handler is left by an exception rather than by
// returning, so a later fault is translated again.
void crash_translator(int signal, siginfo_t* info, void* context);
