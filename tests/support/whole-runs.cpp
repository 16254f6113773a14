#include "whole-runs.hpp"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "run-observer.hpp"
#include "vesk.hpp"

#ifdef __SANITIZE_ADDRESS__
extern "C" void __sanitizer_set_report_fd(void* descriptor);
#endif

namespace kit {

// A run that is not over.
struct UnderWay {
  const std::function<std::unique_ptr<Compound>()>* model;  // null: Compound::Create is not called
  Compound* root;
  std::jmp_buf end;
  int status;
};
}  // namespace kit

namespace {

using kit::UnderWay;

constexpr long long FIRST_READING = 1000000000;  // microseconds
constexpr long long TICK = 331;                  // that pass with every look at the clock
constexpr long long LONG_TICK = 5003;            // after very many looks, so that waits end soon
constexpr int MANY = 20000;

long long reading = FIRST_READING;
int looks = 0;
UnderWay* underWay = nullptr;

void require(bool condition, const char* what) {
  if (condition) return;
  std::perror(what);
  std::abort();
}

}  // namespace

// ---- What the runs get instead of the system ---------------------------------------------------

extern "C" int gettimeofday(timeval* time, void*) noexcept {
  reading += ++looks < MANY ? TICK : LONG_TICK;
  time->tv_sec = static_cast<decltype(time->tv_sec)>(reading / 1000000);
  time->tv_usec = static_cast<decltype(time->tv_usec)>(reading % 1000000);
  return 0;
}

extern "C" std::time_t time(std::time_t* result) noexcept {
  if (result != nullptr) *result = 0;
  return 0;
}

// The end of a process is the end of a run. What the run has on its stack is not destroyed.
extern "C" void exit(int status) noexcept {
  if (underWay == nullptr) {
    using Exit = void (*)(int);
    reinterpret_cast<Exit>(dlsym(RTLD_NEXT, "exit"))(status);
    std::abort();
  }
  underWay->status = status;
  std::longjmp(underWay->end, 1);
}

Compound* Compound::Create(int, char**) {
  underWay->root = (*underWay->model)().release();
  return underWay->root;
}

namespace kit {

namespace {

std::string contentsOf(int descriptor) {
  std::string text;
  char block[4096];
  for (off_t at = 0;;) {
    const ssize_t length = pread(descriptor, block, sizeof block, at);
    if (length <= 0) return text;
    text.append(block, static_cast<std::size_t>(length));
    at += length;
  }
}

void setContents(int descriptor, const std::string& text) {
  require(ftruncate(descriptor, 0) == 0, "truncate");
  require(pwrite(descriptor, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
          "write");
  lseek(descriptor, 0, SEEK_SET);
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  DIR* open = opendir(folder.c_str());
  require(open != nullptr, "folder");
  while (const dirent* entry = readdir(open)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(open);
  std::sort(names.begin(), names.end());
  return names;
}

// Puts descriptors in the place of the standard ones while it lives.
class Standard {
 public:
  Standard(int in, int out, int err) {
    flush();
    const int given[] = {in, out, err};
    for (int i = 0; i < 3; ++i) {
      mKept[i] = dup(i);
      dup2(given[i], i);
    }
    clearInput();
  }
  Standard(const Standard&) = delete;
  Standard& operator=(const Standard&) = delete;
  ~Standard() {
    flush();
    for (int i = 0; i < 3; ++i) {
      dup2(mKept[i], i);
      close(mKept[i]);
    }
    clearInput();
    std::cout.clear();
    std::cerr.clear();
  }

 private:
  static void flush() {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(stdout);
    std::fflush(stderr);
  }
  static void clearInput() {
    std::rewind(stdin);
    std::cin.clear();
    std::clearerr(stdout);
    std::clearerr(stderr);
  }

  int mKept[3];
};

// The status of the body; the frames of one that calls exit() are left as they are.
int statusOf(UnderWay& way, const std::function<int()>& body) {
  underWay = &way;
  way.status = 0;
  if (setjmp(way.end) == 0) {
    way.status = body();
  } else {
    delete way.root;
  }
  underWay = nullptr;
  return way.status;
}

// Takes all files out of the current folder.
std::vector<RunFile> takeFiles() {
  std::vector<RunFile> files;
  for (const std::string& name : namesIn(".")) {
    std::FILE* file = std::fopen(name.c_str(), "rb");
    if (file != nullptr) {
      files.push_back({name, contentsOf(fileno(file))});
      std::fclose(file);
    }
    unlink(name.c_str());
  }
  return files;
}

}  // namespace

std::string textOf(const WholeRun& run) {
  std::string text = "status " + std::to_string(run.status) + "\n";
  text += run.out + "== standard error\n" + run.err;
  for (const RunFile& file : run.files) text += "== " + file.name + "\n" + file.content;
  return text;
}

RunFolder::RunFolder()
    : mPath("/dev/shm/vesk-runs-XXXXXX"),
      mIn(memfd_create("in", 0)),
      mOut(memfd_create("out", 0)),
      mErr(memfd_create("err", 0)) {
  require(mkdtemp(&mPath[0]) != nullptr, "folder");
  require(mIn >= 0 && mOut >= 0 && mErr >= 0, "files in memory");
#ifdef __SANITIZE_ADDRESS__
  // What a sanitizer finds in a run is for the reader of the test.
  __sanitizer_set_report_fd(
      reinterpret_cast<void*>(static_cast<std::intptr_t>(dup(STDERR_FILENO))));
#endif
}

RunFolder::~RunFolder() {
  for (const std::string& name : namesIn(mPath)) unlink((mPath + "/" + name).c_str());
  rmdir(mPath.c_str());
  close(mIn);
  close(mOut);
  close(mErr);
}

WholeRun RunFolder::run(const std::vector<std::string>& arguments, const std::string& input,
                        const std::function<std::unique_ptr<Compound>()>& model) {
  std::vector<std::string> words = arguments;
  words.insert(words.begin(), "model");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(&word[0]);
  argv.push_back(nullptr);
  const int argc = static_cast<int>(words.size());
  UnderWay way{&model, nullptr, {}, 0};
  return runAs(way, input, [&] { return Vesk::runProgram(argc, argv.data()); });
}

WholeRun RunFolder::run(const std::string& input, const std::function<int()>& body) {
  UnderWay way{nullptr, nullptr, {}, 0};
  return runAs(way, input, body);
}

WholeRun RunFolder::runAs(UnderWay& way, const std::string& input,
                          const std::function<int()>& body) {
  setContents(mIn, input);
  setContents(mOut, "");
  setContents(mErr, "");
  reading = FIRST_READING;
  looks = 0;
  char before[4096];
  require(getcwd(before, sizeof before) != nullptr && chdir(mPath.c_str()) == 0, "folder");
  WholeRun result;
  {
    const Standard standard(mIn, mOut, mErr);
    result.status = statusOf(way, body);
    global_error = global_prune = false;
    faulty_leaf = nullptr;
  }
  result.out = contentsOf(mOut);
  result.err = contentsOf(mErr);
  result.files = takeFiles();
  require(chdir(before) == 0, "folder");
  return result;
}

}  // namespace kit
