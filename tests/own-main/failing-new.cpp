// An operator new that fails at the call with the number of the variable VESK_FAIL_AT, counted from
// 1 when the libraries have been loaded. It throws what VESK_FAIL_BY says: `memory`, `text` or
// `number`.

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

namespace {

bool loaded = false;
long calls = 0;

// Initialised after the libraries.
struct Loaded {
  Loaded() { loaded = true; }
};

const Loaded LOADED;

bool failsBy(const char* way) {
  const char* chosen = std::getenv("VESK_FAIL_BY");
  return chosen != nullptr && std::strcmp(chosen, way) == 0;
}

void failWhenItIsTime() {
  const char* at = std::getenv("VESK_FAIL_AT");
  if (!loaded || at == nullptr || ++calls != std::strtol(at, nullptr, 10)) return;
  if (failsBy("text")) throw std::runtime_error("no flour");
  if (failsBy("number")) throw 7;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  failWhenItIsTime();
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
