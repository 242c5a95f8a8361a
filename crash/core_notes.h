#pragma once

#include <signal.h>
#include <sys/ucontext.h>

#include <cstddef>
#include <span>

#include "crash/memory_regions.h"
#include "crash/scratch_arena.h"

namespace crash {

// The note segment of a core file of the calling process, for a fault on the calling thread:
// the thread's status with its registers (NT_PRSTATUS) and, when the context has them, its
// floating-point registers (NT_FPREGSET); the process (NT_PRPSINFO), the fault (NT_SIGINFO),
// the auxiliary vector (NT_AUXV, from which a debugger learns where the program was loaded)
// and the mapped files (NT_FILE, from which it finds the shared libraries). Built in `arena`;
// empty when it does not fit. Async-signal-safe.
std::span<const std::byte> build_core_notes(ScratchArena& arena, const siginfo_t& info,
                                            const ucontext_t& context,
                                            std::span<const MemoryRegion> regions,
                                            std::size_t page_size);

}  // namespace crash
