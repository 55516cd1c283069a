#include "tests/sweep/failing_calls.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

// The C library's own, which stand behind the ones below.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);
extern "C" void* __libc_memalign(size_t alignment, size_t size);

// Makes a system call, from the one place where it does not pass through the handler.
extern "C" long PassOn(long number, long a, long b, long c, long d, long e, long f);
extern "C" const char kPassedOn;
asm(R"(
  .text
  .globl PassOn, kPassedOn
PassOn:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
kPassedOn:
  ret
)");

namespace custom_bidi_test {
namespace {

struct SystemCall {
  uint32_t number;
  const char* name;
  int error;
};
constexpr SystemCall kSystemCalls[] = {
    {SYS_open, "open", EMFILE},
    {SYS_openat, "openat", EMFILE},
    {SYS_read, "read", EIO},
    {SYS_pread64, "pread", EIO},
    {SYS_write, "write", ENOSPC},
    {SYS_writev, "writev", ENOSPC},
    {SYS_pwrite64, "pwrite", ENOSPC},
    {SYS_stat, "stat", EACCES},
    {SYS_lstat, "lstat", EACCES},
    {SYS_fstat, "fstat", EIO},
    {SYS_newfstatat, "fstatat", EACCES},
    {SYS_statx, "statx", EACCES},
    {SYS_access, "access", EACCES},
    {SYS_readlink, "readlink", EACCES},
    {SYS_readlinkat, "readlinkat", EACCES},
    {SYS_getdents64, "getdents", EIO},
    {SYS_getcwd, "getcwd", ENOENT},
    {SYS_lseek, "lseek", EINVAL},
    {SYS_flock, "flock", ENOLCK},
    {SYS_fsync, "fsync", EIO},
    {SYS_ftruncate, "ftruncate", EIO},
    {SYS_rename, "rename", ENOSPC},
    {SYS_renameat, "renameat", ENOSPC},
    {SYS_unlink, "unlink", EROFS},
    {SYS_unlinkat, "unlinkat", EROFS},
    {SYS_mkdir, "mkdir", ENOSPC},
    {SYS_fcntl, "fcntl", ENOLCK},
    {SYS_dup, "dup", EMFILE},
    {SYS_pipe2, "pipe", EMFILE},
    {SYS_eventfd2, "eventfd", EMFILE},
    {SYS_mmap, "mmap", ENOMEM},
    {SYS_getrandom, "getrandom", ENOSYS},
    {SYS_socket, "socket", EMFILE},
    {SYS_bind, "bind", EADDRINUSE},
    {SYS_connect, "connect", ENETUNREACH},
    {SYS_getsockname, "getsockname", ENOBUFS},
    {SYS_getsockopt, "getsockopt", ENOBUFS},
    {SYS_setsockopt, "setsockopt", ENOMEM},
    {SYS_sendto, "send", ENOBUFS},
    {SYS_sendmsg, "sendmsg", ENOBUFS},
    {SYS_recvfrom, "recv", ENOMEM},
    {SYS_recvmsg, "recvmsg", ENOMEM},
    {SYS_poll, "poll", ENOMEM},
    {SYS_ppoll, "ppoll", ENOMEM},
    {SYS_select, "select", ENOMEM},
    {SYS_pselect6, "pselect", ENOMEM},
};
constexpr char kAllocation[] = "allocation";

std::atomic<Failing> g_what = Failing::kNothing;
std::atomic<int> g_to_go;
std::atomic<bool> g_for_ever;
std::atomic<const char*> g_failed;
std::array<void*, 24> g_frames;  // where it failed
std::atomic<int> g_frame_count;
int g_crash_log = STDERR_FILENO;

bool MustFail(Failing what, const char* name) {
  if (g_what != what) {
    return false;
  }
  if (g_failed != nullptr) {
    return g_for_ever && g_failed == name;
  }
  if (--g_to_go != 0) {
    return false;
  }
  g_failed = name;
  g_frame_count = backtrace(g_frames.data(), static_cast<int>(g_frames.size()));
  return true;
}

template <class Allocate>
void* UnlessItFails(Allocate&& allocate) {
  if (MustFail(Failing::kAllocations, kAllocation)) {
    errno = ENOMEM;
    return nullptr;
  }
  return allocate();
}

/// The mask is the one that is restored when the handler returns. This signal is never blocked: the system
/// would end the process.
long ChangeMask(ucontext_t& context, int how, const uint64_t* set, uint64_t* former) {
  uint64_t mask = 0;
  std::memcpy(&mask, &context.uc_sigmask, sizeof(mask));
  if (former != nullptr) {
    *former = mask;
  }
  if (set != nullptr) {
    mask = how == SIG_SETMASK ? *set : how == SIG_BLOCK ? mask | *set : mask & ~*set;
    mask &= ~(uint64_t{1} << (SIGSYS - 1));
    std::memcpy(&context.uc_sigmask, &mask, sizeof(mask));
  }
  return 0;
}

void OnSystemCall(int /*signal*/, siginfo_t* info, void* raw_context) {
  const int kept_errno = errno;
  auto& context = *static_cast<ucontext_t*>(raw_context);
  greg_t* const registers = context.uc_mcontext.gregs;
  const auto number = static_cast<uint32_t>(info->si_syscall);
  const auto* const row = std::ranges::find(kSystemCalls, number, &SystemCall::number);
  if (number == SYS_rt_sigprocmask) {
    registers[REG_RAX] = ChangeMask(context, static_cast<int>(registers[REG_RDI]),
                                    reinterpret_cast<const uint64_t*>(registers[REG_RSI]),
                                    reinterpret_cast<uint64_t*>(registers[REG_RDX]));
  } else if (row != std::end(kSystemCalls) && MustFail(Failing::kSystemCalls, row->name)) {
    registers[REG_RAX] = -row->error;
  } else {
    registers[REG_RAX] = PassOn(number, registers[REG_RDI], registers[REG_RSI], registers[REG_RDX],
                                registers[REG_R10], registers[REG_R8], registers[REG_R9]);
  }
  errno = kept_errno;
}

/// To a file or a terminal, whether that takes it or not.
void Say(int file, std::string_view text) {
  static_cast<void>(write(file, text.data(), text.size()) < 0);
}

void OnCrash(int signal) {
  g_what = Failing::kNothing;
  if (IsOfLoader()) {
    _exit(kLoaderExit);
  }
  ShowWhereItFailed(g_crash_log);
  Say(g_crash_log, "-- crashed:\n");
  g_frame_count = backtrace(g_frames.data(), static_cast<int>(g_frames.size()));
  backtrace_symbols_fd(g_frames.data(), g_frame_count, g_crash_log);
  _exit(128 + signal);
}

sock_filter Statement(unsigned code, uint32_t value, size_t if_equal = 0, size_t else_skip = 0) {
  return {static_cast<uint16_t>(code), static_cast<uint8_t>(if_equal), static_cast<uint8_t>(else_skip),
          value};
}

/// All that the handler does not do itself is let through.
std::vector<sock_filter> Filter() {
  constexpr unsigned kLoad = BPF_LD | BPF_W | BPF_ABS;
  constexpr unsigned kIfEqual = BPF_JMP | BPF_JEQ | BPF_K;
  constexpr size_t kCount = std::size(kSystemCalls) + 1;
  const auto address = reinterpret_cast<uintptr_t>(&kPassedOn);
  constexpr uint32_t kAddressAt = offsetof(seccomp_data, instruction_pointer);
  std::vector<sock_filter> filter = {Statement(kLoad, kAddressAt),
                                     Statement(kIfEqual, static_cast<uint32_t>(address), 0, 2),
                                     Statement(kLoad, kAddressAt + 4),
                                     Statement(kIfEqual, static_cast<uint32_t>(address >> 32), kCount + 1, 0),
                                     Statement(kLoad, offsetof(seccomp_data, nr)),
                                     Statement(kIfEqual, SYS_rt_sigprocmask, kCount, 0)};
  for (size_t i = 1; i < kCount; ++i) {
    filter.push_back(Statement(kIfEqual, kSystemCalls[i - 1].number, kCount - i, 0));
  }
  filter.push_back(Statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  filter.push_back(Statement(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
  return filter;
}

}  // namespace

void WatchThisProcess(int crash_log) {
  g_crash_log = crash_log;
  backtrace(g_frames.data(), 1);  // loads what it needs
  for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) {
    std::signal(number, OnCrash);
  }
  struct sigaction action {};
  action.sa_sigaction = OnSystemCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  std::vector<sock_filter> filter = Filter();
  const sock_fprog program{static_cast<uint16_t>(filter.size()), filter.data()};
  if (sigaction(SIGSYS, &action, nullptr) != 0 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    throw std::system_error(errno, std::generic_category(), "system calls cannot be watched");
  }
}

void BeginFailing(Failing what, int n, bool for_ever) {
  g_failed = nullptr;
  g_to_go = n;
  g_for_ever = for_ever;
  g_what = what;
}

bool IsOfLoader() {
  Dl_info own{};
  dladdr(reinterpret_cast<const void*>(&IsOfLoader), &own);
  for (size_t i = 0; i < static_cast<size_t>(g_frame_count); ++i) {
    if (Dl_info asker{}; dladdr(g_frames[i], &asker) != 0 && asker.dli_fbase != own.dli_fbase) {
      return std::string_view(asker.dli_fname).find("/ld-linux") != std::string_view::npos;
    }
  }
  return false;
}

void ShowWhereItFailed(int file) {
  Say(file, "-- failed:\n");
  backtrace_symbols_fd(g_frames.data(), g_frame_count, file);
}

std::string EndFailing() {
  g_what = Failing::kNothing;
  const char* const failed = g_failed;
  return failed != nullptr ? failed : "";
}

}  // namespace custom_bidi_test

extern "C" {

void* malloc(size_t size) noexcept {
  return custom_bidi_test::UnlessItFails([=] { return __libc_malloc(size); });
}

void* calloc(size_t count, size_t size) noexcept {
  return custom_bidi_test::UnlessItFails([=] { return __libc_calloc(count, size); });
}

void* realloc(void* block, size_t size) noexcept {
  return custom_bidi_test::UnlessItFails([=] { return __libc_realloc(block, size); });
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
  return custom_bidi_test::UnlessItFails([=] { return __libc_memalign(alignment, size); });
}

int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
  *block = aligned_alloc(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

}  // extern "C"
