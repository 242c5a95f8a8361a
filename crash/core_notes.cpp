#include "crash/core_notes.h"

#include <elf.h>
#include <sys/procfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "crash/fault_registers.h"
#include "crash/proc_file.h"

namespace crash {
namespace {

// Linux names every note of a process core "CORE".
constexpr char kNoteName[] = "CORE";
constexpr std::size_t kAuxvCapacity = 8192;

constexpr std::size_t align4(std::size_t size) {
  return (size + 3) / 4 * 4;
}

constexpr std::size_t note_size(std::size_t desc_size) {
  return sizeof(Elf64_Nhdr) + align4(sizeof kNoteName) + align4(desc_size);
}

// Appends notes to a buffer sized beforehand; the padding stays zero.
class NoteWriter {
 public:
  explicit NoteWriter(std::byte* out) : out_(out) {}

  void add(std::uint32_t type, const void* desc, std::size_t desc_size) {
    const Elf64_Nhdr header{sizeof kNoteName, static_cast<Elf64_Word>(desc_size), type};
    std::memcpy(out_ + size_, &header, sizeof header);
    size_ += sizeof header;
    std::memcpy(out_ + size_, kNoteName, sizeof kNoteName);
    size_ += align4(sizeof kNoteName);
    std::memcpy(out_ + size_, desc, desc_size);
    size_ += align4(desc_size);
  }

  std::size_t size() const { return size_; }

 private:
  std::byte* out_;
  std::size_t size_ = 0;
};

elf_prstatus thread_status(const siginfo_t& info, const ucontext_t& context) {
  elf_prstatus status{};
  status.pr_info.si_signo = info.si_signo;
  status.pr_info.si_code = info.si_code;
  status.pr_info.si_errno = info.si_errno;
  status.pr_cursig = static_cast<short>(info.si_signo);
  std::memcpy(&status.pr_sighold, &context.uc_sigmask,
              std::min(sizeof status.pr_sighold, sizeof context.uc_sigmask));
  // A thread's status carries its thread id where a process's would carry the process id.
  status.pr_pid = gettid();
  status.pr_ppid = getppid();
  status.pr_pgrp = getpgrp();
  status.pr_sid = getsid(0);
  const user_regs_struct regs = registers_at_fault(context);
  static_assert(sizeof regs == sizeof status.pr_reg);
  std::memcpy(&status.pr_reg, &regs, sizeof regs);
  status.pr_fpvalid = context.uc_mcontext.fpregs != nullptr ? 1 : 0;
  return status;
}

elf_prpsinfo process_info() {
  elf_prpsinfo process{};
  process.pr_state = 0;
  process.pr_sname = 'R';
  process.pr_uid = getuid();
  process.pr_gid = getgid();
  process.pr_pid = getpid();
  process.pr_ppid = getppid();
  process.pr_pgrp = getpgrp();
  process.pr_sid = getsid(0);
  // The program's short name ends in a newline; the note wants it without.
  const std::size_t name_length =
      read_proc_file("/proc/self/comm", {process.pr_fname, sizeof process.pr_fname - 1});
  std::replace(process.pr_fname, process.pr_fname + name_length, '\n', '\0');
  // The command line's arguments are separated by NULs; the note shows them separated by
  // spaces, as far as they fit.
  const std::size_t args_length =
      read_proc_file("/proc/self/cmdline", {process.pr_psargs, sizeof process.pr_psargs - 1});
  std::size_t shown = args_length;
  while (shown > 0 && process.pr_psargs[shown - 1] == '\0') {
    --shown;
  }
  std::replace(process.pr_psargs, process.pr_psargs + shown, '\0', ' ');
  return process;
}

// The NT_FILE description: the number of file mappings and the page size, then start, end
// and file offset (in pages) of each, then their paths, each NUL-terminated.
std::size_t file_mappings_size(std::span<const MemoryRegion> regions) {
  std::size_t size = 2 * sizeof(std::uint64_t);
  for (const MemoryRegion& region : regions) {
    if (region.file_backed()) {
      size += 3 * sizeof(std::uint64_t) + region.path.size() + 1;
    }
  }
  return size;
}

void write_file_mappings(std::byte* out, std::span<const MemoryRegion> regions,
                         std::size_t page_size) {
  std::uint64_t count = 0;
  for (const MemoryRegion& region : regions) {
    count += region.file_backed() ? 1 : 0;
  }
  const auto put = [&out](const void* bytes, std::size_t size) {
    std::memcpy(out, bytes, size);
    out += size;
  };
  const std::uint64_t page = page_size;
  put(&count, sizeof count);
  put(&page, sizeof page);
  for (const MemoryRegion& region : regions) {
    if (region.file_backed()) {
      const std::uint64_t entry[3] = {region.start, region.end, region.file_offset / page_size};
      put(entry, sizeof entry);
    }
  }
  for (const MemoryRegion& region : regions) {
    if (region.file_backed()) {
      put(region.path.data(), region.path.size());
      put("", 1);
    }
  }
}

}  // namespace

std::span<const std::byte> build_core_notes(ScratchArena& arena, const siginfo_t& info,
                                            const ucontext_t& context,
                                            std::span<const MemoryRegion> regions,
                                            std::size_t page_size) {
  char* auxv = arena.allocate_buffer(kAuxvCapacity);
  const std::size_t files_size = file_mappings_size(regions);
  std::byte* files = arena.allocate<std::byte>(files_size);
  if (auxv == nullptr || files == nullptr) {
    return {};
  }
  const std::size_t auxv_size = read_proc_file("/proc/self/auxv", {auxv, kAuxvCapacity});
  write_file_mappings(files, regions, page_size);
  const bool has_fp_registers = context.uc_mcontext.fpregs != nullptr;
  // The FXSAVE image the context points at is the layout of the floating-point note.
  static_assert(sizeof(*context.uc_mcontext.fpregs) == sizeof(user_fpregs_struct));

  const std::size_t total = note_size(sizeof(elf_prstatus)) + note_size(sizeof(elf_prpsinfo)) +
                            note_size(sizeof(siginfo_t)) + note_size(auxv_size) +
                            note_size(files_size) +
                            (has_fp_registers ? note_size(sizeof(user_fpregs_struct)) : 0);
  std::byte* notes = arena.allocate<std::byte>(total);
  if (notes == nullptr) {
    return {};
  }
  // The order a Linux core has: the faulting thread's status first (a debugger takes it for
  // the current thread), then the process-wide notes, then that thread's further registers.
  NoteWriter writer(notes);
  const elf_prstatus status = thread_status(info, context);
  writer.add(NT_PRSTATUS, &status, sizeof status);
  const elf_prpsinfo process = process_info();
  writer.add(NT_PRPSINFO, &process, sizeof process);
  writer.add(NT_SIGINFO, &info, sizeof info);
  writer.add(NT_AUXV, auxv, auxv_size);
  writer.add(NT_FILE, files, files_size);
  if (has_fp_registers) {
    writer.add(NT_FPREGSET, context.uc_mcontext.fpregs, sizeof(user_fpregs_struct));
  }
  return {notes, writer.size()};
}

}  // namespace crash
