// A library to be preloaded: lets one call of the system fail, or all from one on. Calls are
// counted by kind from 1, when the libraries have been loaded. VESK_FAULT says which call and how:
//
//     memory:17         the 17th allocation gets nothing
//     memory:17+        neither does any after it
//     write:3:28        the third write ends with errno 28; open, read, seek and close likewise
//     write:3+:short    from the third on each write takes one byte
//
// A close that fails has closed the descriptor. VESK_FAULT_COUNTS names a file that gets the counts
// at the end: a line for each kind, in the order of the enumeration below.
//
// Allocations are counted by functions that stand before those of the C library. Calls of the
// kernel are caught by a filter, because the C library does not make its own through functions that
// could be replaced.

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

enum Kind { MEMORY, OPEN, READ, WRITE, SEEK, CLOSE, KINDS };
const char* const NAMES[KINDS] = {"memory", "open", "read", "write", "seek", "close"};

// What a call of the kernel from here carries where none of these calls has an argument.
constexpr unsigned int OWN = 0x5e1f;
constexpr int SHORT = -1;

struct Fault {
  int kind = KINDS;
  long first = 0;
  bool goesOn = false;
  int error = ENOMEM;  // or SHORT
};

Fault fault;
bool counting = false;
long calls[KINDS];

// ---- Which call fails --------------------------------------------------------------------------

void readFault(const char* text) {
  if (text == nullptr) return;
  const char* colon = std::strchr(text, ':');
  if (colon == nullptr) return;
  const auto length = static_cast<std::size_t>(colon - text);
  for (int kind = 0; kind < KINDS; ++kind) {
    if (std::strncmp(text, NAMES[kind], length) == 0 && NAMES[kind][length] == '\0') {
      fault.kind = kind;
    }
  }
  char* end = nullptr;
  fault.first = std::strtol(colon + 1, &end, 10);
  fault.goesOn = *end == '+';
  if (fault.goesOn) ++end;
  if (*end != ':') return;
  fault.error = std::strcmp(end, ":short") == 0 ? SHORT : std::atoi(end + 1);
}

bool fails(int kind) {
  if (!counting) return false;
  const long call = ++calls[kind];
  return kind == fault.kind && (call == fault.first || (fault.goesOn && call > fault.first));
}

bool memoryFails() {
  if (!fails(MEMORY)) return false;
  errno = ENOMEM;
  return true;
}

// ---- Calls of the kernel -----------------------------------------------------------------------

struct Call {
  int number;
  int kind;
};

const Call CALLS[] = {
    {SYS_openat, OPEN},    {SYS_open, OPEN},    {SYS_creat, OPEN},  {SYS_read, READ},
    {SYS_readv, READ},     {SYS_pread64, READ}, {SYS_write, WRITE}, {SYS_writev, WRITE},
    {SYS_pwrite64, WRITE}, {SYS_lseek, SEEK},   {SYS_close, CLOSE},
#if defined(SYS__llseek)
    {SYS__llseek, SEEK},
#endif
};

int kindOf(int number) {
  for (const Call& call : CALLS) {
    if (call.number == number) return call.kind;
  }
  return KINDS;
}

#if defined(__x86_64__)
constexpr int RESULT = REG_RAX;
constexpr int ARGUMENTS[] = {REG_RDI, REG_RSI, REG_RDX, REG_R10, REG_R8};
constexpr unsigned int ARCHITECTURE = AUDIT_ARCH_X86_64;
#else
constexpr int RESULT = REG_EAX;
constexpr int ARGUMENTS[] = {REG_EBX, REG_ECX, REG_EDX, REG_ESI, REG_EDI};
constexpr unsigned int ARCHITECTURE = AUDIT_ARCH_I386;
#endif

long perform(int number, const greg_t* registers) {
  const long result =
      syscall(number, registers[ARGUMENTS[0]], registers[ARGUMENTS[1]], registers[ARGUMENTS[2]],
              registers[ARGUMENTS[3]], registers[ARGUMENTS[4]], OWN);
  return result != -1 ? result : -errno;
}

long performShort(int number, greg_t* registers) {
  if (number == SYS_write || number == SYS_pwrite64) {
    if (registers[ARGUMENTS[2]] > 1) registers[ARGUMENTS[2]] = 1;
    return perform(number, registers);
  }
  if (number == SYS_writev) {
    const auto* part = reinterpret_cast<const iovec*>(registers[ARGUMENTS[1]]);
    for (greg_t left = registers[ARGUMENTS[2]]; left > 0; --left, ++part) {
      if (part->iov_len == 0) continue;
      const long result = syscall(SYS_write, registers[ARGUMENTS[0]], part->iov_base, 1, 0, 0, OWN);
      return result != -1 ? result : -errno;
    }
  }
  return perform(number, registers);
}

void catchCall(int, siginfo_t* info, void* context) {
  const int error = errno;
  greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const int number = info->si_syscall;
  const int kind = kindOf(number);
  long result;
  if (!fails(kind)) {
    result = perform(number, registers);
  } else if (fault.error == SHORT) {
    result = performShort(number, registers);
  } else {
    if (kind == CLOSE) perform(number, registers);
    result = -fault.error;
  }
  registers[RESULT] = static_cast<greg_t>(result);
  errno = error;
}

// Traps the calls that are counted, unless they are made here.
bool installFilter() {
  constexpr std::size_t COUNT = sizeof CALLS / sizeof *CALLS;
  constexpr auto SIXTH = static_cast<unsigned int>(offsetof(seccomp_data, args) + 5 * 8);
  sock_filter filter[COUNT + 8] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ARCHITECTURE, 0, COUNT + 1),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
  };
  sock_filter* next = filter + 3;
  for (std::size_t i = 0; i < COUNT; ++i) {
    const auto number = static_cast<unsigned int>(CALLS[i].number);
    const auto toOrigin = static_cast<unsigned char>(COUNT - i);
    *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, toOrigin, 0);
  }
  *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  *next++ = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, SIXTH);
  *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, OWN, 0, 1);
  *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
  const sock_fprog program = {static_cast<unsigned short>(next - filter), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void catchCalls() {
  struct sigaction action = {};
  action.sa_sigaction = catchCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGSYS, &action, nullptr);
  if (installFilter()) return;
  static const char MESSAGE[] = "the calls of this program cannot be caught\n";
  if (write(STDERR_FILENO, MESSAGE, sizeof MESSAGE - 1) > 0) _exit(99);
  _exit(99);
}

// ---- From beginning to end ---------------------------------------------------------------------

__attribute__((constructor)) void begin() {
  readFault(std::getenv("VESK_FAULT"));
  catchCalls();
  counting = true;
}

__attribute__((destructor)) void end() {
  counting = false;
  const char* name = std::getenv("VESK_FAULT_COUNTS");
  std::FILE* file = name != nullptr ? std::fopen(name, "w") : nullptr;
  if (file == nullptr) return;
  for (const long count : calls) std::fprintf(file, "%ld\n", count);
  std::fclose(file);
}

}  // namespace

// ---- Allocations -------------------------------------------------------------------------------

extern "C" {

void* malloc(std::size_t size) {
  return memoryFails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  return memoryFails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  return memoryFails() ? nullptr : __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
  return memoryFails() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  if (memoryFails()) return ENOMEM;
  *block = __libc_memalign(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}
}
