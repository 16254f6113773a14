// Part of the library, of tools and of test programs in builds that count what the tests reach: the
// counters are written also when a program aborts, ends itself by a signal or leaves by _exit(), as
// tests of such ends want to be counted.
//
// All processes add to the same files, and what one of them cuts is lost for all: so there is no
// limit on the size of files while counters are written, and at the end of a process no signal from
// outside comes.
//
// The library and the program have counters of their own. Each part that has some handles a signal
// that nothing else uses, and hands it on to the part that was there before; so this signal makes
// all of them write.

#include <csignal>
#include <initializer_list>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" void __gcov_dump();
extern "C" void __gcov_reset();

namespace {

using Handler = void (*)(int);
Handler earlier = SIG_DFL;

bool isFunction(Handler handler) {
  return handler != SIG_DFL && handler != SIG_IGN && handler != SIG_ERR;
}

// Whether there is no limit any more. Only a privileged process can lift every one.
bool liftLimit() {
  rlimit limit = {RLIM_INFINITY, RLIM_INFINITY};
  if (setrlimit(RLIMIT_FSIZE, &limit) == 0) return true;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_FSIZE, &limit);
  return limit.rlim_max == RLIM_INFINITY;
}

// What is counted from now on is added when the counters are written again.
void writeCounters(int signal) {
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  if (liftLimit()) {
    __gcov_dump();
    __gcov_reset();
  }
  setrlimit(RLIMIT_FSIZE, &limit);
  if (isFunction(earlier)) earlier(signal);
}

int send(int signal) {
  return static_cast<int>(syscall(SYS_tgkill, getpid(), syscall(SYS_gettid), signal));
}

void writeAndAbort(int signal) {
  send(SIGRTMAX);
  std::signal(signal, SIG_DFL);
  send(signal);
}

__attribute__((constructor)) void install() {
  earlier = std::signal(SIGRTMAX, writeCounters);
  std::signal(SIGABRT, writeAndAbort);
}

// Runs before the counters are written at the end of the process.
__attribute__((destructor)) void protectCounters() {
  liftLimit();
  sigset_t others;
  sigfillset(&others);
  for (const int own : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS}) sigdelset(&others, own);
  sigprocmask(SIG_BLOCK, &others, nullptr);
}

}  // namespace

extern "C" [[noreturn]] __attribute__((visibility("hidden"))) void _exit(int status) {
  send(SIGRTMAX);
  for (;;) syscall(SYS_exit_group, status);
}

extern "C" __attribute__((visibility("hidden"))) int raise(int signal) noexcept {
  send(SIGRTMAX);
  return send(signal);
}
