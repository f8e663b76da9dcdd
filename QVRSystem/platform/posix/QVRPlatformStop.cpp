#include "QVRSystem/platform/QVRPlatformStop.h"

#include <dlfcn.h>
#include <gnu/lib-names.h>
#include <link.h>
#include <pthread.h>
#include <signal.h>
#include <sys/auxv.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <span>
#include <utility>

namespace qvr::QVR_PLATFORM {

namespace {

using Address = std::uintptr_t;

int stopSignal() { return SIGRTMIN + 11; }

constinit std::atomic<void (*)(const void* context)> stopHandler = nullptr;

void takeStop(int /*signal*/, siginfo_t* /*info*/, void* context) {
  const int error = errno;
  stopHandler.load()(context);
  errno = error;
}

/// What the processor was about to do when the signal came.
struct Registers {
  Address instruction;
  Address stack;
  long result;           // of a call of the system that has just returned
  bool isBeforeRestart;  // the kernel came back from a call to make it again
};

#if defined(__x86_64__)

constexpr std::array<unsigned char, 2> kSystemCall{0x0f, 0x05};

// The instruction that calls the kernel leaves the address behind it in rcx, where the
// kernel then puts the instruction pointer back to make the call again. Whoever is about to
// make one for the first time has something else there.
Registers registersOf(const void* context) {
  const auto& saved = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
  const auto instruction = static_cast<Address>(saved[REG_RIP]);
  return {instruction, static_cast<Address>(saved[REG_RSP]), static_cast<long>(saved[REG_RAX]),
          static_cast<Address>(saved[REG_RCX]) == instruction + kSystemCall.size()};
}

#elif defined(__aarch64__)

constexpr std::array<unsigned char, 4> kSystemCall{0x01, 0x00, 0x00, 0xd4};

// Nothing tells a call that is made again from one that is about to be made.
Registers registersOf(const void* context) {
  const auto& saved = static_cast<const ucontext_t*>(context)->uc_mcontext;
  return {saved.pc, saved.sp, static_cast<long>(saved.regs[0]), false};
}

#endif

struct Range {
  Address begin = 0;
  Address end = 0;

  bool contains(Address address) const { return begin <= address && address < end; }
};

bool isInside(std::span<const Range> code, Address instruction) {
  return std::ranges::any_of(code, [&](const Range& range) { return range.contains(instruction); });
}

/// A few values that are looked up in signal handlers.
template <class T, std::size_t kMost>
class Table {
 public:
  void add(const T& value) {
    if (size_ < kMost) values_[size_++] = value;
  }
  std::span<const T> values() const& { return {values_.data(), size_}; }

 private:
  std::array<T, kMost> values_{};
  std::size_t size_ = 0;
};

/// The code of the libraries in which a thread may hold a lock that every other needs: the C
/// library, the dynamic loader, the C++ library and the unwinder beneath it, and whichever
/// library the heap is in.
class SystemCode {
 public:
  SystemCode() noexcept {
    for (const char* name :
         {"malloc", "fwrite", "pthread_mutex_lock", "__tls_get_addr", "__cxa_throw"}) {
      forEachDefinition(name, [this](Address function) { addModule(function); });
    }
    prepareUnwinder();
    if (!unwinderIsLockless()) addModule(reinterpret_cast<Address>(&_Unwind_RaiseException));
    for (const char* name : kLockless) {
      forEachDefinition(name, [this](Address function) { lockless_.add(function); });
    }
    loader_ = moduleOf(find(libc_, "__tls_get_addr"));
    mutexLock_ = find(libc_, "pthread_mutex_lock");
    lockWait_ =
        reinterpret_cast<Address>(dlvsym(libc_, "__lll_lock_wait_private", "GLIBC_PRIVATE"));
    addModule(getauxval(AT_SYSINFO_EHDR));
    if (libc_ != nullptr) dlclose(libc_);
  }

  bool contains(Address instruction) const { return isInside(ranges_.values(), instruction); }
  bool isLoader(Address instruction) const { return isInside(loader_.values(), instruction); }

  /// Those in which a thread sleeps for a lock: one of the C library's own, and one of anybody's.
  bool isLockWait(Address function) const { return function != 0 && function == lockWait_; }
  bool isMutexLock(Address function) const { return function != 0 && function == mutexLock_; }

  /// Whether the function that begins there takes no lock and calls none that does.
  bool isLockless(Address function) const {
    return std::ranges::find(lockless_.values(), function) != lockless_.values().end();
  }

 private:
  // A thread may do little else for long than copy memory or call the kernel. What the C
  // library itself calls them for is another matter, and seen from their callers.
  static constexpr const char* kLockless[] = {"memcpy",
                                              "memmove",
                                              "mempcpy",
                                              "memset",
                                              "memcmp",
                                              "bcmp",
                                              "memchr",
                                              "memrchr",
                                              "strlen",
                                              "strnlen",
                                              "strchr",
                                              "strrchr",
                                              "strchrnul",
                                              "rawmemchr",
                                              "strcmp",
                                              "strncmp",
                                              "strcpy",
                                              "strncpy",
                                              "stpcpy",
                                              "stpncpy",
                                              "wmemcpy",
                                              "wmemset",
                                              "wcslen",
                                              "_dl_find_object",
                                              "read",
                                              "write",
                                              "pread",
                                              "pread64",
                                              "pwrite",
                                              "pwrite64",
                                              "readv",
                                              "writev",
                                              "recv",
                                              "recvfrom",
                                              "recvmsg",
                                              "send",
                                              "sendto",
                                              "sendmsg",
                                              "lseek",
                                              "lseek64",
                                              "open",
                                              "open64",
                                              "openat",
                                              "openat64",
                                              "close",
                                              "stat",
                                              "stat64",
                                              "fstat",
                                              "fstat64",
                                              "lstat",
                                              "lstat64",
                                              "fstatat",
                                              "fstatat64",
                                              "ioctl",
                                              "poll",
                                              "ppoll",
                                              "select",
                                              "pselect",
                                              "epoll_wait",
                                              "madvise",
                                              "fsync",
                                              "fdatasync",
                                              "getppid",
                                              "getpid",
                                              "sched_yield",
                                              "nanosleep",
                                              "access",
                                              "unlink",
                                              "rename",
                                              "mmap",
                                              "clock_nanosleep",
                                              "clock_gettime",
                                              "munmap",
                                              "mprotect"};

  // The unwinder took the loader's lock before there was a look-up without. A thread that
  // does little but throw is hardly ever found elsewhere.
  static bool unwinderIsLockless() { return dlsym(RTLD_DEFAULT, "_dl_find_object") != nullptr; }

  // Its first use, which others wait for, is not to be that of a thread that is stopped.
  static void prepareUnwinder() {
    _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
  }

  // The program may use another definition than the C library does.
  template <class Action>
  void forEachDefinition(const char* name, Action action) {
    for (void* const scope : {RTLD_DEFAULT, libc_}) {
      if (const Address found = find(scope, name)) action(found);
    }
  }

  static Address find(void* scope, const char* name) {
    return reinterpret_cast<Address>(dlsym(scope, name));
  }

  void addModule(Address inside) {
    if (inside == 0 || contains(inside)) return;
    const Table<Range, 4> code = moduleOf(inside);
    for (const Range& range : code.values()) ranges_.add(range);
  }

  static Table<Range, 4> moduleOf(Address inside) {
    Search search{inside, {}, false};
    dl_iterate_phdr(&findModule, &search);
    return search.code;
  }

  struct Search {
    Address inside;
    Table<Range, 4> code;
    bool isPastProgram;
  };

  // Of the program itself nothing is system code, also where a heap is linked into it: then
  // all of it would be. It is listed first.
  static int findModule(dl_phdr_info* module, std::size_t /*size*/, void* argument) {
    auto& search = *static_cast<Search*>(argument);
    if (!std::exchange(search.isPastProgram, true)) return 0;
    Table<Range, 4> code;
    bool isIt = false;
    for (const auto& segment : std::span(module->dlpi_phdr, module->dlpi_phnum)) {
      if (segment.p_type != PT_LOAD) continue;
      const Address begin = module->dlpi_addr + segment.p_vaddr;
      const Range range{begin, begin + segment.p_memsz};
      isIt = isIt || range.contains(search.inside);
      if ((segment.p_flags & PF_X) != 0) code.add(range);
    }
    if (isIt) search.code = code;
    return isIt ? 1 : 0;
  }

  void* const libc_ = dlopen(LIBC_SO, RTLD_LAZY | RTLD_NOLOAD);
  Table<Range, 16> ranges_;
  Table<Address, 256> lockless_;
  Table<Range, 4> loader_;
  Address lockWait_ = 0;
  Address mutexLock_ = 0;
};

// Never freed: a signal may come at any time.
constinit std::atomic<const SystemCode*> knownSystemCode = nullptr;

const SystemCode& systemCode() { return *knownSystemCode.load(std::memory_order_acquire); }

// Without a lock, which would be held while the loader takes its own. A lack of memory is one
// of the system's here, as where it has none for the thread itself.
bool findSystemCode() {
  if (knownSystemCode.load(std::memory_order_acquire) != nullptr) return true;
  void* const memory = std::malloc(sizeof(SystemCode));
  if (memory == nullptr) return false;
  const SystemCode* known = nullptr;
  if (!knownSystemCode.compare_exchange_strong(known, new (memory) SystemCode)) std::free(memory);
  return true;
}

bool isSystemCall(Address instruction) {
  return std::memcmp(reinterpret_cast<const void*>(instruction), kSystemCall.data(),
                     kSystemCall.size()) == 0;
}

// A signal ends a call in which the thread slept. Either the kernel goes back to make the call
// again, or the call has failed. Where the first cannot be told from a call that is about
// to be made, a thread that is at one place again and again is taken to sleep there.
bool isAsleep(const Registers& at, PlatformWhereabouts& whereabouts) {
  constexpr std::uint32_t kAgainAndAgain = 20;
  const bool isBefore = isSystemCall(at.instruction);
  if (isBefore && at.isBeforeRestart) return true;
  if (isSystemCall(at.instruction - kSystemCall.size()) && at.result == -EINTR) return true;
  const bool isSame = whereabouts.instruction == at.instruction && whereabouts.stack == at.stack;
  whereabouts = {at.instruction, at.stack, isBefore && isSame ? whereabouts.times + 1 : 0};
  return whereabouts.times >= kAgainAndAgain;
}

/// The innermost calls of a thread that was found in the system's code, out to the first that
/// is not. No further: what others tell of their frames need not be true.
class Calls {
 public:
  struct Call {
    Address instruction;
    Address function;  // where that begins; 0 where nothing is known of it
  };

  explicit Calls(Address interrupted) : interrupted_(interrupted) {
    _Unwind_Backtrace(&addFrame, this);
  }

  std::span<const Call> innermost() const& { return {calls_.data(), size_}; }

 private:
  static _Unwind_Reason_Code addFrame(_Unwind_Context* frame, void* calls) {
    return static_cast<Calls*>(calls)->add(frame);
  }

  // The first frames are those of the handler.
  _Unwind_Reason_Code add(_Unwind_Context* frame) {
    int isInterrupted = 0;
    const Address instruction = _Unwind_GetIPInfo(frame, &isInterrupted);
    if (size_ == 0 && (isInterrupted == 0 || instruction != interrupted_)) return _URC_NO_REASON;
    calls_[size_++] = {instruction, _Unwind_GetRegionStart(frame)};
    const bool isLast = size_ == calls_.size() || !systemCode().contains(instruction);
    return isLast ? _URC_END_OF_STACK : _URC_NO_REASON;
  }

  const Address interrupted_;
  std::size_t size_ = 0;
  std::array<Call, 24> calls_{};
};

Address functionAt(Address instruction) {
  return reinterpret_cast<Address>(
      _Unwind_FindEnclosingFunction(reinterpret_cast<void*>(instruction + 1)));
}

// The heap and the streams copy memory and call the kernel too.
bool isLocklessForCaller(Address instruction) {
  if (!systemCode().isLockless(functionAt(instruction))) return false;
  const Calls calls(instruction);
  for (const auto& call : calls.innermost()) {
    if (!systemCode().contains(call.instruction)) return true;
    if (!systemCode().isLockless(call.function)) return false;
  }
  return false;
}

// The heap has threads wait for one of its locks while they hold another of the system's. A
// mutex that the system's libraries take is one of theirs.
bool awaitsSystem(Address instruction) {
  if (systemCode().isLockWait(functionAt(instruction))) return true;
  const Calls calls(instruction);
  const auto innermost = calls.innermost();
  return innermost.size() > 2 && systemCode().isMutexLock(innermost[1].function) &&
         systemCode().contains(innermost[2].instruction);
}

// Whether a return into the loader is among what is on top of the stack, as while it runs a
// library's initialisers. What was left there by earlier calls may look the same. Not past
// the page: nothing else may be there. To a sanitizer not all of it is to be read.
__attribute__((no_sanitize("address"))) bool isUnderLoader(const Registers& at) {
  constexpr std::size_t kMostWords = 64;
  constexpr Address kPageSize = 4096;
  const auto* const words = reinterpret_cast<const Address*>(at.stack);
  const std::size_t onPage = (kPageSize - at.stack % kPageSize) / sizeof(Address);
  for (std::size_t i = 0; i < onPage && i < kMostWords; ++i) {
    if (systemCode().isLoader(words[i])) return true;
  }
  return false;
}

}  // namespace

int handleStops(void (*handler)(const void* context)) noexcept {
  if (!findSystemCode()) return ENOMEM;
  stopHandler.store(handler);
  struct sigaction action = {};
  action.sa_sigaction = &takeStop;
  action.sa_flags = SA_SIGINFO | SA_RESTART;
  sigfillset(&action.sa_mask);
  return sigaction(stopSignal(), &action, nullptr) == 0 ? 0 : errno;
}

int allowStops() noexcept {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, stopSignal());
  return pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

int requestStop(std::uint32_t threadId) noexcept {
  return syscall(SYS_tgkill, getpid(), threadId, stopSignal()) == 0 ? 0 : errno;
}

int createStopTimer(PlatformStopTimer& made, std::uint32_t threadId) noexcept {
  struct sigevent event = {};
  event.sigev_notify = SIGEV_THREAD_ID;
  event.sigev_signo = stopSignal();
  event._sigev_un._tid = static_cast<pid_t>(threadId);
  return timer_create(CLOCK_MONOTONIC, &event, &made) == 0 ? 0 : errno;
}

int startStopTimer(PlatformStopTimer timer, std::uint64_t nanoseconds) noexcept {
  const itimerspec once{{0, 0}, {0, static_cast<long>(nanoseconds)}};
  return timer_settime(timer, 0, &once, nullptr) == 0 ? 0 : errno;
}

int closeStopTimer(PlatformStopTimer timer) noexcept {
  return timer_delete(timer) == 0 ? 0 : errno;
}

PlatformPlace placeOf(const void* context, PlatformWhereabouts& whereabouts) noexcept {
  using enum PlatformPlace;
  const Registers at = registersOf(context);
  if (!systemCode().contains(at.instruction)) return isUnderLoader(at) ? kUnderLoader : kElsewhere;
  if (isAsleep(at, whereabouts)) return awaitsSystem(at.instruction) ? kAwaitsSystem : kElsewhere;
  return isLocklessForCaller(at.instruction) ? kElsewhere : kInSystem;
}

}  // namespace qvr::QVR_PLATFORM
