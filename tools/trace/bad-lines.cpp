#include "bad-lines.hpp"

#include "fault.hpp"
#include "printable.hpp"

namespace Vesk::Traces {

namespace {

constexpr std::uint64_t MAX_SAID = 10;

}  // namespace

void BadLines::add(const std::string& file, std::uint64_t line, const std::string& what) {
  const Lts::Fault fault(file, line, what);
  if (mIsStrict) throw fault;
  if (++mCount <= MAX_SAID) mSay(fault.what() + std::string("; left out"));
}

void BadLines::finish(const std::string& file) {
  if (mCount > MAX_SAID) {
    mSay(Lts::printable(file) + ": " + std::to_string(mCount - MAX_SAID) +
         " more lines were left out");
  }
  mCount = 0;
}

}  // namespace Vesk::Traces
