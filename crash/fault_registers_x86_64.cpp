#include "crash/fault_registers.h"

#include <asm/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#if !defined(__x86_64__)
#error "the register block is written for x86-64"
#endif

namespace crash {
namespace {

std::uint64_t segment_base(int which) {
  unsigned long base = 0;
  syscall(SYS_arch_prctl, which, &base);
  return base;
}

// The segment selectors do not change while a thread runs user code: the current ones are
// those of the faulting code.
struct Selectors {
  std::uint16_t ss, ds, es, fs, gs;
};

Selectors current_selectors() {
  Selectors s{};
  asm("mov %%ss, %0" : "=r"(s.ss));
  asm("mov %%ds, %0" : "=r"(s.ds));
  asm("mov %%es, %0" : "=r"(s.es));
  asm("mov %%fs, %0" : "=r"(s.fs));
  asm("mov %%gs, %0" : "=r"(s.gs));
  return s;
}

}  // namespace

user_regs_struct registers_at_fault(const ucontext_t& context) noexcept {
  const greg_t* g = context.uc_mcontext.gregs;
  const auto value = [g](int index) { return static_cast<unsigned long long>(g[index]); };
  const Selectors selectors = current_selectors();

  user_regs_struct regs{};
  regs.r15 = value(REG_R15);
  regs.r14 = value(REG_R14);
  regs.r13 = value(REG_R13);
  regs.r12 = value(REG_R12);
  regs.rbp = value(REG_RBP);
  regs.rbx = value(REG_RBX);
  regs.r11 = value(REG_R11);
  regs.r10 = value(REG_R10);
  regs.r9 = value(REG_R9);
  regs.r8 = value(REG_R8);
  regs.rax = value(REG_RAX);
  regs.rcx = value(REG_RCX);
  regs.rdx = value(REG_RDX);
  regs.rsi = value(REG_RSI);
  regs.rdi = value(REG_RDI);
  // Not inside a system call: the kernel's marker for "no system call to restart".
  regs.orig_rax = ~0ull;
  regs.rip = value(REG_RIP);
  // The context keeps cs in the low 16 bits of its packed cs/gs/fs word.
  regs.cs = value(REG_CSGSFS) & 0xffff;
  regs.eflags = value(REG_EFL);
  regs.rsp = value(REG_RSP);
  regs.ss = selectors.ss;
  regs.fs_base = segment_base(ARCH_GET_FS);
  regs.gs_base = segment_base(ARCH_GET_GS);
  regs.ds = selectors.ds;
  regs.es = selectors.es;
  regs.fs = selectors.fs;
  regs.gs = selectors.gs;
  return regs;
}

}  // namespace crash
