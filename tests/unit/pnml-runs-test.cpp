// Whole runs of vesk-pnml: nets whose state spaces are known from formulas, and published ones.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kit/exploration-checker.hpp"
#include "kit/output.hpp"
#include "pnml-text.hpp"

using namespace kit;

namespace {

namespace fs = std::filesystem;

// Sizes that only an optimised build explores within seconds.
#ifdef VESK_LARGE_RUNS
constexpr bool LARGE = true;
#else
constexpr bool LARGE = false;
#endif

long long linesOf(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  long long count = 0;
  while (std::getline(in, line)) ++count;
  return count;
}

// A folder that lives as long as a test.
class PnmlRunTest : public testing::Test {
 protected:
  fs::path file(const char* name) const { return mFolder.name(name); }

  fs::path save(const std::string& body) const {
    const fs::path name = file("net.pnml");
    std::ofstream(name, std::ios::binary) << netDocument(body);
    return name;
  }

  // The exit status, -1 when a signal ended the run. Output and error go to files.
  int run(const std::string& arguments) const {
    const std::string command = "cd '" + mFolder.path() + "' && '" VESK_PNML "' " + arguments +
                                " >output 2>error </dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  Size explore(const fs::path& net, const std::string& how) const {
    EXPECT_EQ(0, run("'" + net.string() + "' --" + how + " -o out"));
    EXPECT_EQ("", contents(file("error")));
    Size size{-1, -1, linesOf(file("out.deadlock"))};
    std::sscanf(contents(file("out.aut")).c_str(), "des(0, %lld, %lld)", &size.transitions,
                &size.states);
    EXPECT_NE(
        std::string::npos,
        contents(file("output")).find("\nFinal size : " + std::to_string(size.states) + "\n"));
    EXPECT_EQ(size.states, linesOf(file("out.state")));
    return size;
  }

  void expectSize(const Size& size, const std::string& body) const {
    const fs::path net = save(body);
    EXPECT_EQ(size, explore(net, "bfs"));
    EXPECT_EQ(size, explore(net, "dfs"));
  }

  void expectPublishedSizes(const std::string& how) const;

 private:
  Folder mFolder;
};

std::string indexed(const char* name, int i) {
  return name + std::to_string(i);
}

// Everybody takes the two forks in any order and puts both back at once.
std::string philosophers(int n) {
  std::string text;
  for (int i = 0; i < n; ++i) {
    text += placeText(indexed("think", i), 1) + placeText(indexed("fork", i), 1) +
            placeText(indexed("left", i), 0) + placeText(indexed("right", i), 0) +
            placeText(indexed("eat", i), 0);
  }
  for (int i = 0; i < n; ++i) {
    const std::string mine = indexed("fork", i);
    const std::string other = indexed("fork", (i + 1) % n);
    const std::string think = indexed("think", i);
    const std::string left = indexed("left", i);
    const std::string right = indexed("right", i);
    const std::string eat = indexed("eat", i);
    text += stepText(indexed("take-left", i), {think, mine}, {left}) +
            stepText(indexed("take-right", i), {think, other}, {right}) +
            stepText(indexed("then-right", i), {left, other}, {eat}) +
            stepText(indexed("then-left", i), {right, mine}, {eat}) +
            stepText(indexed("drop", i), {eat}, {think, mine, other});
  }
  return text;
}

long long power(long long base, int exponent) {
  return exponent == 0 ? 1 : base * power(base, exponent - 1);
}

// A reader takes one of R keys, a writer all of them.
std::string readersWritersWithKeys(int readers, int writers) {
  std::string text = placeText("keys", readers);
  for (int i = 0; i < readers; ++i) {
    const std::string idle = indexed("reader", i);
    const std::string busy = indexed("reading", i);
    text += placeText(idle, 1) + placeText(busy, 0) +
            stepText(indexed("read", i), {idle, "keys"}, {busy}) +
            stepText(indexed("close", i), {busy}, {idle, "keys"});
  }
  for (int i = 0; i < writers; ++i) {
    const std::string idle = indexed("writer", i);
    const std::string busy = indexed("writing", i);
    text += placeText(idle, 1) + placeText(busy, 0) +
            stepText(indexed("write", i), {idle}, {busy}) +
            arcText("keys", indexed("write", i), readers) +
            stepText(indexed("store", i), {busy}, {idle}) +
            arcText(indexed("store", i), "keys", readers);
  }
  return text;
}

// Readers start while nobody writes, writers while nobody reads or writes.
std::string readersWritersWithInhibitors(int readers, int writers) {
  std::string text = placeText("readers", 0) + placeText("writers", 0);
  for (int i = 0; i < readers; ++i) {
    const std::string idle = indexed("reader", i);
    const std::string busy = indexed("reading", i);
    text += placeText(idle, 1) + placeText(busy, 0) +
            stepText(indexed("read", i), {idle}, {busy, "readers"}) +
            inhibitorText("writers", indexed("read", i)) +
            stepText(indexed("close", i), {busy, "readers"}, {idle});
  }
  for (int i = 0; i < writers; ++i) {
    const std::string idle = indexed("writer", i);
    const std::string busy = indexed("writing", i);
    text += placeText(idle, 1) + placeText(busy, 0) +
            stepText(indexed("write", i), {idle}, {busy, "writers"}) +
            inhibitorText("writers", indexed("write", i)) +
            inhibitorText("readers", indexed("write", i)) +
            stepText(indexed("store", i), {busy, "writers"}, {idle});
  }
  return text;
}

// Any of the readers read, or one of the writers writes.
Size readersWritersSize(int readers, int writers) {
  return {power(2, readers) + writers, readers * power(2, readers) + 2 * writers, 0};
}

// The buffer of k items is bounded by free slots, or by an inhibitor arc of weight k.
std::string producerConsumer(int k, bool slots) {
  std::string text = placeText("ready", 1) + placeText("made", 0) + placeText("hungry", 1) +
                     placeText("got", 0) + placeText("buffer", 0) +
                     stepText("make", {"ready"}, {"made"}) + stepText("eat", {"got"}, {"hungry"});
  if (slots) {
    text += placeText("slots", k) + stepText("put", {"made", "slots"}, {"ready", "buffer"}) +
            stepText("get", {"hungry", "buffer"}, {"got", "slots"});
  } else {
    text += stepText("put", {"made"}, {"ready", "buffer"}) + inhibitorText("buffer", "put", k) +
            stepText("get", {"hungry", "buffer"}, {"got"});
  }
  return text;
}

// Producer and consumer have two states each and the buffer k + 1. Making and eating are possible
// in half of them, putting and getting in a quarter of those with room and with items.
Size producerConsumerSize(int k) {
  return {4 * (k + 1LL), 4 * (k + 1LL) + 4LL * k, 0};
}

// One transition from n marked places.
std::string wideNet(int n) {
  std::vector<std::string> places;
  std::string text;
  for (int i = 0; i < n; ++i) {
    places.push_back(indexed("a-place-with-a-rather-long-name-", i));
    text += placeText(places.back(), 1);
  }
  return text + stepText("t", places, {});
}

// What a wide net is labelled with.
std::string wideLabel(int n) {
  std::string label = "n/t/";
  for (int i = 0; i < n; ++i) {
    if (i > 0) label += "|";
    label += indexed("a-place-with-a-rather-long-name-", i) + ":-1";
  }
  return label;
}

// Each process goes alone, and all come back together.
std::string barrier(int processes) {
  std::vector<std::string> before;
  std::vector<std::string> after;
  std::string text;
  for (int i = 0; i < processes; ++i) {
    before.push_back(indexed("a", i));
    after.push_back(indexed("b", i));
    text += placeText(before.back(), 1) + placeText(after.back(), 0) +
            stepText(indexed("go", i), {before.back()}, {after.back()});
  }
  return text + stepText("all", after, before);
}

std::string ring(int n) {
  std::string text;
  for (int i = 0; i < n; ++i) text += placeText(indexed("p", i), i == 0 ? 1 : 0);
  for (int i = 0; i < n; ++i) {
    text += stepText(indexed("t", i), {indexed("p", i)}, {indexed("p", (i + 1) % n)});
  }
  return text;
}

// ---- A slow model ------------------------------------------------------------------------------

// The rules of Petri nets on plain tables.
struct SlowNet {
  struct Arcs {
    std::vector<int> takes;
    std::vector<int> puts;
    std::vector<int> below;  // 0: no inhibitor arc
  };

  std::vector<int> marking;
  std::vector<Arcs> transitions;

  bool enabled(const Arcs& arcs, const std::vector<int>& tokens) const {
    for (std::size_t p = 0; p < tokens.size(); ++p) {
      if (tokens[p] < arcs.takes[p] || (arcs.below[p] > 0 && tokens[p] >= arcs.below[p]))
        return false;
    }
    return true;
  }

  // No states when there are more than the limit.
  Size explore(std::size_t limit) const {
    std::set<std::vector<int>> known{marking};
    std::vector<std::vector<int>> pending{marking};
    Size size{1, 0, 0};
    while (!pending.empty()) {
      const std::vector<int> from = pending.back();
      pending.pop_back();
      const long long before = size.transitions;
      for (const Arcs& arcs : transitions) {
        if (!enabled(arcs, from)) continue;
        ++size.transitions;
        std::vector<int> to = from;
        for (std::size_t p = 0; p < to.size(); ++p) to[p] += arcs.puts[p] - arcs.takes[p];
        if (known.insert(to).second) pending.push_back(to);
      }
      if (size.transitions == before) ++size.deadlocks;
      if (known.size() > limit) return {0, 0, 0};
    }
    size.states = static_cast<long long>(known.size());
    return size;
  }

  std::string text() const {
    std::string text;
    for (std::size_t p = 0; p < marking.size(); ++p) {
      text += placeText(indexed("p", static_cast<int>(p)), marking[p]);
    }
    for (std::size_t t = 0; t < transitions.size(); ++t) {
      const std::string transition = indexed("t", static_cast<int>(t));
      text += transitionText(transition);
      for (std::size_t p = 0; p < marking.size(); ++p) {
        const std::string place = indexed("p", static_cast<int>(p));
        const Arcs& arcs = transitions[t];
        if (arcs.takes[p] > 0) text += arcText(place, transition, arcs.takes[p]);
        if (arcs.puts[p] > 0) text += arcText(transition, place, arcs.puts[p]);
        if (arcs.below[p] > 0) text += inhibitorText(place, transition, arcs.below[p]);
      }
    }
    return text;
  }
};

SlowNet randomNet(std::mt19937& random) {
  const auto upTo = [&random](unsigned int n) { return static_cast<int>(random() % (n + 1)); };
  const auto rarely = [&](unsigned int n) { return upTo(3) == 0 ? 1 + upTo(n) : 0; };
  SlowNet net;
  const int places = 2 + upTo(6);
  for (int p = 0; p < places; ++p) net.marking.push_back(rarely(12));
  const int transitions = 1 + upTo(7);
  for (int t = 0; t < transitions; ++t) {
    SlowNet::Arcs arcs;
    for (int p = 0; p < places; ++p) {
      arcs.takes.push_back(rarely(2));
      arcs.puts.push_back(rarely(2));
      arcs.below.push_back(upTo(5) == 0 ? 1 + upTo(12) : 0);
    }
    net.transitions.push_back(arcs);
  }
  return net;
}

}  // namespace

// ---- Families ----------------------------------------------------------------------------------

// Each fork lies on the table or is in one of two hands, and that is the state. A fork that lies
// there can be taken by two, and who has both can drop them.
TEST_F(PnmlRunTest, PhilosophersHaveThreeStatesPerFork) {
  for (int n = 3; n <= (LARGE ? 10 : 7); ++n) {
    SCOPED_TRACE(n);
    expectSize({power(3, n), 7 * n * power(3, n - 2), 2}, philosophers(n));
  }
}

TEST_F(PnmlRunTest, ReadersAndWritersExcludeEachOtherByWeights) {
  for (int readers : {1, 2, 5, LARGE ? 12 : 8}) {
    for (int writers : {1, 3}) {
      SCOPED_TRACE(readers);
      expectSize(readersWritersSize(readers, writers), readersWritersWithKeys(readers, writers));
    }
  }
}

TEST_F(PnmlRunTest, ReadersAndWritersExcludeEachOtherByInhibitorArcs) {
  for (int readers : {1, 2, 5, LARGE ? 12 : 8}) {
    for (int writers : {1, 3}) {
      SCOPED_TRACE(readers);
      expectSize(readersWritersSize(readers, writers),
                 readersWritersWithInhibitors(readers, writers));
    }
  }
}

TEST_F(PnmlRunTest, ProducerAndConsumerShareABoundedBuffer) {
  for (int k : {1, 2, 9, 10, 99, 1000}) {
    SCOPED_TRACE(k);
    expectSize(producerConsumerSize(k), producerConsumer(k, true));
    expectSize(producerConsumerSize(k), producerConsumer(k, false));
  }
}

TEST_F(PnmlRunTest, RandomNetsHaveTheSizesThatASlowModelFinds) {
  std::mt19937 random(1);
  int explored = 0;
  for (int round = 0; explored < 30; ++round) {
    const SlowNet net = randomNet(random);
    const Size size = net.explore(3000);
    if (size.states < 5) continue;
    SCOPED_TRACE(round);
    expectSize(size, net.text());
    ++explored;
  }
}

// ---- Published sizes ---------------------------------------------------------------------------

void PnmlRunTest::expectPublishedSizes(const std::string& how) const {
  const char* setting = std::getenv("VESK_PUBLISHED_NETS");
  if (setting == nullptr) GTEST_SKIP() << "VESK_PUBLISHED_NETS names no folder with published nets";
  const fs::path folder = setting;
  std::ifstream counts(folder / "counts.tsv");
  ASSERT_TRUE(counts) << "there is no counts.tsv in " << folder;
  constexpr long long SMALL = 200000;  // transitions
  int explored = 0;
  for (std::string line; std::getline(counts, line);) {
    if (line[0] == '#') continue;
    std::istringstream fields(line);
    std::string name;
    int places = 0;
    int transitions = 0;
    Size size{};
    ASSERT_TRUE(fields >> name >> places >> transitions >> size.states >> size.transitions >>
                size.deadlocks)
        << line;
    if (!LARGE && size.transitions > SMALL) continue;
    EXPECT_EQ(size, explore(folder / (name + ".pnml"), how)) << name;
    ++explored;
  }
  EXPECT_LT(0, explored);
}

TEST_F(PnmlRunTest, PublishedNetsHaveTheirPublishedSizesBreadthFirst) {
  expectPublishedSizes("bfs");
}

TEST_F(PnmlRunTest, PublishedNetsHaveTheirPublishedSizesDepthFirst) {
  expectPublishedSizes("dfs");
}

// ---- Limits ------------------------------------------------------------------------------------

TEST_F(PnmlRunTest, ATransitionMayHave128PlacesAndALongLabel) {
  expectSize({2, 1, 1}, wideNet(128));
  const std::string label = wideLabel(128);
  ASSERT_LT(1023u, label.size());
  const std::string transitions = contents(file("out.aut"));
  EXPECT_NE(std::string::npos, transitions.find("\n(0, " + label + ", 1)\n"));
}

TEST_F(PnmlRunTest, ATransitionMayHaveMorePlaces) {
  for (const int n : {129, 5001}) {
    expectSize({2, 1, 1}, wideNet(n));
    const std::string label = wideLabel(n);
    EXPECT_NE(std::string::npos, contents(file("out.aut")).find("\n(0, " + label + ", 1)\n"));
    for (const std::string how : {"opt1", "opt2"}) {
      EXPECT_EQ(0, run("net.pnml --" + how));
      const std::string expected = "\nscheduler : " + label + "\n";
      EXPECT_NE(std::string::npos, contents(file("output")).find(expected)) << how;
      EXPECT_EQ("", contents(file("error"))) << how;
    }
    EXPECT_EQ(0, run("net.pnml"));
    const std::string timed = "\nscheduler [0ms] " + label + " eager (_,_)\n";
    EXPECT_NE(std::string::npos, contents(file("output")).find(timed));
  }
}

// Nobody goes twice before all have come back, with 64 processes by a narrow transition, with more
// by a wide one.
TEST_F(PnmlRunTest, TheHeapPlaysWideTransitionsLikeNarrowOnes) {
  for (const int processes : {64, 65, 150}) {
    SCOPED_TRACE(processes);
    save(barrier(processes));
    EXPECT_EQ(0, run("net.pnml --opt2 --limit " + std::to_string(2 * processes + 2)));
    EXPECT_EQ("", contents(file("error")));
    std::istringstream lines(contents(file("output")));
    std::string line;
    std::getline(lines, line);  // of the engine
    for (int round = 0; round < 2; ++round) {
      std::set<std::string> gone;
      for (int i = 0; i < processes; ++i) {
        std::getline(lines, line);
        EXPECT_EQ(0u, line.find("scheduler : n/go")) << line;
        gone.insert(line);
      }
      EXPECT_EQ(static_cast<std::size_t>(processes), gone.size());
      std::getline(lines, line);
      EXPECT_EQ(0u, line.find("scheduler : n/all/b0:-1|b1:-1|")) << line;
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
  }
}

TEST_F(PnmlRunTest, LargeNetsAreLoaded) {
  save(ring(LARGE ? 100000 : 5000));
  EXPECT_EQ(0, run("net.pnml --opt2 --limit 3"));
  EXPECT_EQ(
      "VESK mono-threaded engine. Version: Engines: d20101124\n"
      "scheduler : n/t0/p0:-1|p1:+1\nscheduler : n/t1/p1:-1|p2:+1\nscheduler : n/t2/p2:-1|p3:+1\n",
      contents(file("output")));
  EXPECT_EQ("", contents(file("error")));
}

TEST_F(PnmlRunTest, TooManyTokensEndAnExplorationWithItsFilesComplete) {
  save(placeText("sink", 2147483646) + stepText("t", {}, {"sink"}));
  for (const std::string how : {"bfs", "dfs"}) {
    EXPECT_EQ(3, run("net.pnml --" + how + " -o out")) << how;
    EXPECT_EQ(
        "vesk: the run ends by an exception: place sink gets 2147483648 tokens, at most 2147483647 "
        "are possible\n",
        contents(file("error")))
        << how;
    EXPECT_EQ(0u, contents(file("out.aut")).find("des(0, 1, 2)")) << how;
  }
}
