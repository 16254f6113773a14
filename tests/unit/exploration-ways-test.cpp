// Models that keep a promise, explored without declaration and with it: all that comes out is the
// same to the byte.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "draw.hpp"
#include "exploration/system-parts.hpp"
#include "kit/explorations.hpp"
#include "kit/promised-models.hpp"
#include "kit/scratch.hpp"

using namespace kit;

using Vesk::Locality;

namespace {

// ---- Exploring -----------------------------------------------------------------------------

struct Found {
  Explored files;
  std::string err;
  bool leavesLeaf = false;  // faulty_leaf is set when all is over
};

// The first line in which two texts differ, with the two before it; empty when they are the same.
std::string difference(const std::string& what, const std::string& one, const std::string& other) {
  if (one == other) return "";
  std::istringstream expected(one);
  std::istringstream found(other);
  std::string text = what + ":\n";
  std::string before[2];
  for (int line = 1;; ++line) {
    std::string here;
    std::string there;
    const bool more = std::getline(expected, here) || std::getline(found, there);
    if (!expected.eof()) std::getline(found, there);
    if (more && here == there) {
      before[0].swap(before[1]);
      before[1] = "  both     " + here + "\n";
      continue;
    }
    return text + before[0] + before[1] + "  expected " + here + "\n  found    " + there +
           "\n  line " + std::to_string(line) + "\n";
  }
}

std::string difference(const Found& one, const Found& other) {
  return difference("output", one.files.out, other.files.out) +
         difference("aut", one.files.aut, other.files.aut) +
         difference("state", one.files.state, other.files.state) +
         difference("pruned", one.files.pruned, other.files.pruned) +
         difference("deadlock", one.files.deadlock, other.files.deadlock) +
         difference("messages", one.err, other.err) +
         (one.leavesLeaf != other.leavesLeaf ? "one leaves a faulty leaf\n" : "");
}

class Explorer {
 public:
  Found explore(Compound& system, Traversal traversal, int limit) {
    clearGlobals();
    for (ScratchFile& file : mFiles) file.clear();
    mOut.start();
    mErr.start();
    {
      ExploringScheduler scheduler(&system, traversal, limit);
      scheduler.setFiles(mFiles[0].file(), mFiles[1].file(), mFiles[2].file(), mFiles[3].file());
      scheduler.explore();
    }
    Found found;
    found.err = mErr.stop();
    found.files = {withoutRates(mOut.stop()), mFiles[0].content(), mFiles[1].content(),
                   mFiles[2].content(), mFiles[3].content()};
    found.leavesLeaf = faulty_leaf != nullptr;
    clearGlobals();
    return found;
  }

 private:
  ScratchFile mFiles[4];
  Redirection mOut{STDOUT_FILENO, stdout};
  Redirection mErr{STDERR_FILENO, stderr};
};

Explorer& explorer() {
  static Explorer one;
  return one;
}

// ---- Comparing -----------------------------------------------------------------------------

// How often the engine was asked to take each way.
using Taken = std::map<Locality, int>;

void compare(const PromisedModel& model, Traversal traversal, int limit, Taken& taken) {
  const Found expected = explorer().explore(*model.make(Locality::UNDECLARED), traversal, limit);
  for (const Locality declared : {Locality::LOCAL, Locality::REPEATABLE}) {
    if (declared > model.kept()) continue;
    const auto system = model.make(declared);
    ++taken[Vesk::SystemParts(*system).locality()];
    const Found found = explorer().explore(*system, traversal, limit);
    ASSERT_EQ("", difference(expected, found))
        << nameOf(declared) << ", " << nameOf(traversal) << ", limit " << limit;
  }
}

// One in ten is stopped by a small limit, and some go on for long.
int limitFor(unsigned int seed) {
  Draw draw(seed + 1000000);
  if (draw.below(10) == 0) return draw.between(1, 110);
  return draw.below(20) == 0 ? 1000 : 60;
}

}  // namespace

class ExplorationWaysTest : public testing::TestWithParam<int> {};

constexpr int BLOCKS = 20;
#ifdef __SANITIZE_ADDRESS__
constexpr int MODELS = 50;
#else
constexpr int MODELS = 500;
#endif

TEST_P(ExplorationWaysTest, ADeclaredModelIsExploredLikeAnUndeclaredOne) {
  Taken taken;
  for (int i = 0; i < MODELS; ++i) {
    const auto seed = static_cast<unsigned int>(GetParam() * 10000 + i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (const Traversal traversal : {BFS, DFS}) {
      compare(PromisedModel(seed), traversal, limitFor(seed), taken);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_LT(MODELS, taken[Locality::LOCAL]);
  EXPECT_LT(MODELS / 2, taken[Locality::REPEATABLE]);
}

INSTANTIATE_TEST_SUITE_P(Blocks, ExplorationWaysTest, testing::Range(0, BLOCKS));
