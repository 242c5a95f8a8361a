#pragma once

#include <signal.h>
#include <sys/ucontext.h>

namespace crash {

// Writes an ELF core file of the calling process to `fd` for a fault on the calling thread,
// described by `info` and `context` as the fault handler received them: the notes of
// build_core_notes, then one loadable segment per mapping, with the bytes of those that
// region_contents_dumped keeps. Only the faulting thread's registers are recorded (other
// threads keep running while the file is written). Pages that cannot be read are left as
// zeros. Returns false when the process's mappings could not be read or nothing could be
// written. Allocates no heap memory; async-signal-safe.
bool write_core_file(int fd, const siginfo_t& info, const ucontext_t& context) noexcept;

}  // namespace crash
