// The scheduler hands its files to a search, whichever of them it has.

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/promised-models.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

constexpr Vesk::Locality PROMISES[] = {Vesk::Locality::UNDECLARED, Vesk::Locality::LOCAL,
                                       Vesk::Locality::REPEATABLE};

}  // namespace

TEST(ExplorationTest, NothingIsWrittenWithoutOutput) {
  auto system = line(numbered(3));
  TemporaryFiles files;
  for (const Vesk::Locality declared : PROMISES) {
    declareAll(*system, declared);
    for (const Traversal traversal : {BFS, DFS}) {
      ExploringScheduler scheduler(system.get(), traversal);
      scheduler.setFiles(files[0], files[1], files[2], files[3]);
      scheduler.disableOutput();
      testing::internal::CaptureStdout();
      scheduler.explore();
      EXPECT_EQ(files.contents(summary(3, 0, 1, 0, 3)),
                (Explored{testing::internal::GetCapturedStdout(), "", "", "", ""}))
          << nameOf(traversal) << ", " << nameOf(declared);
    }
  }
}

TEST(ExplorationTest, MissingFilesAreSkipped) {
  for (int missing = 0; missing < 4; ++missing) {
    for (const Vesk::Locality declared : PROMISES) {
      for (const Traversal traversal : {BFS, DFS}) {
        auto system = line({"0,", "1,", "2 PRUNE,"});
        declareAll(*system, declared);
        clearGlobals();
        TemporaryFiles files;
        FILE* given[] = {files[0], files[1], files[2], files[3]};
        given[missing] = nullptr;
        ExploringScheduler scheduler(system.get(), traversal);
        scheduler.setFiles(given[0], given[1], given[2], given[3]);
        testing::internal::CaptureStdout();
        scheduler.explore();
        const Explored found = files.contents(testing::internal::GetCapturedStdout());
        Explored whole = explored(*system, traversal);
        std::string* texts[] = {&whole.aut, &whole.state, &whole.pruned, &whole.deadlock};
        texts[missing]->clear();
        EXPECT_EQ(whole, found) << missing << ' ' << nameOf(traversal) << ' ' << nameOf(declared);
      }
    }
  }
}

TEST(ExplorationTest, WithoutOutputTheFilesStayTheCallers) {
  auto system = line(numbered(3));
  TemporaryFiles files;
  ExploringScheduler scheduler(system.get(), BFS);
  scheduler.setFiles(files[0], files[1], files[2], files[3]);
  scheduler.disableOutput();
  testing::internal::CaptureStdout();
  scheduler.run();
  EXPECT_EQ(summary(3, 0, 1, 0, 3), testing::internal::GetCapturedStdout());
  EXPECT_TRUE(scheduler.hasFiles());
}

TEST(ExplorationTest, TheFilesAreClosedOnce) {
  auto system = line(numbered(3));
  ExploringScheduler scheduler(system.get(), BFS);
  scheduler.setFiles(std::tmpfile(), std::tmpfile(), nullptr, std::tmpfile());
  testing::internal::CaptureStdout();
  scheduler.run();
  EXPECT_FALSE(scheduler.hasFiles());
  scheduler.run();
  EXPECT_EQ(summary(3, 0, 1, 0, 3) + summary(3, 0, 1, 0, 3),
            testing::internal::GetCapturedStdout());
}
