// Errors of standard input, as against its end. Private to the engine.
#ifndef VESK_INPUT_WATCH_HPP
#define VESK_INPUT_WATCH_HPP

namespace Vesk {

// Lives while standard input is read, as a stream or by stdio. When that meets an error, it is
// reported on standard error, once; the reader sees the end of the input.
class __attribute__((visibility("hidden"))) InputWatch {
 public:
  InputWatch();
  InputWatch(const InputWatch&) = delete;
  InputWatch& operator=(const InputWatch&) = delete;
  ~InputWatch();
};

}  // namespace Vesk

#endif
