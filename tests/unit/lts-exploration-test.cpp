// What the files beside the transition system say.
#include "exploration.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "lts-files.hpp"
#include "side-files.hpp"
#include "state-texts.hpp"
#include "text-hash.hpp"
#include "text-index.hpp"

namespace {

using namespace Vesk::Lts;

class LtsExplorationTest : public testing::Test {
 protected:
  using Texts = std::vector<std::pair<State, std::string>>;

  Texts statesOf(const std::string& content, std::size_t end = 1000) {
    Texts result;
    readStates(mFiles.write("x.state", content), end, mFiles.progress(),
               [&](State state, std::string_view text) { result.emplace_back(state, text); });
    return result;
  }
  NumberedStates deadlocksOf(const std::string& content) {
    return readDeadlocks(mFiles.write("x.deadlock", content), 1000, mFiles.progress());
  }
  NumberedStates prunedOf(const std::string& content) {
    return readPruned(mFiles.write("x.pruned", content), 1000, mFiles.progress());
  }
  // The states from 0 of which the question is true.
  template <class Question>
  static std::vector<State> statesThat(const Exploration& exploration, Question question) {
    std::vector<State> result;
    for (State state = 0; state < exploration.graph().states(); ++state) {
      if ((exploration.*question)(state)) result.push_back(state);
    }
    return result;
  }

  LtsFiles mFiles;
};

// ---- Names --------------------------------------------------------------------------------------

TEST_F(LtsExplorationTest, ANameStandsForAllFilesThatAreThere) {
  mFiles.writeTable("t");
  const FileNames names = FileNames::of(mFiles.path("t"));
  EXPECT_EQ(mFiles.path("t.aut"), names.transitions);
  EXPECT_EQ(mFiles.path("t.state"), names.states);
  EXPECT_EQ(mFiles.path("t.deadlock"), FileNames::of(mFiles.path("t.aut")).deadlocks);
}

TEST_F(LtsExplorationTest, OtherFilesNeedNotBeThere) {
  mFiles.write("a.aut", "");
  EXPECT_EQ("", FileNames::of(mFiles.path("a")).states);
  mFiles.write("b.lts", "");
  EXPECT_EQ(mFiles.path("b.lts"), FileNames::of(mFiles.path("b.lts")).transitions);
  EXPECT_EQ(mFiles.path("c.aut"), FileNames::of(mFiles.path("c")).transitions);
}

TEST_F(LtsExplorationTest, ANameMayItselfEndLikeAFile) {
  mFiles.write("a.aut.aut", "");
  EXPECT_EQ(mFiles.path("a.aut.aut"), FileNames::of(mFiles.path("a.aut")).transitions);
}

// ---- Lines of the files -------------------------------------------------------------------------

TEST_F(LtsExplorationTest, StatesHaveNumbersAndTexts) {
  EXPECT_EQ((Texts{{0, "a : b"}, {1, ""}, {5, " x"}}), statesOf("0 : a : b\n1 : \n5 :  x\n"));
}

TEST_F(LtsExplorationTest, ATextMayHaveLineBreaks) {
  EXPECT_EQ((Texts{{0, "a\n\n0 : b"}, {1, "c"}}), statesOf("0 : a\n\n0 : b\n1 : c\n"));
}

TEST_F(LtsExplorationTest, ALastStateThatIsCutIsLeftOut) {
  EXPECT_EQ((Texts{{0, "a"}}), statesOf("0 : a\n1 : tex"));
  EXPECT_EQ((Texts{}), statesOf("0 : a"));
}

TEST_F(LtsExplorationTest, StatesBeyondTheTransitionsAreLeftOut) {
  EXPECT_EQ((Texts{{0, "a"}}), statesOf("0 : a\n1 : b\n", 1));
}

TEST_F(LtsExplorationTest, AFileWithoutStatesIsRefused) {
  EXPECT_EQ("x.state:1: \"hello\", expected \"NUMBER : TEXT\"",
            faultOf(mFiles, [&] { statesOf("hello\n"); }));
}

TEST_F(LtsExplorationTest, DeadlocksOfBothSearches) {
  EXPECT_EQ((std::vector<State>{4, 12}), deadlocksOf("4\n12\n").states);
  const NumberedStates byDepth =
      deadlocksOf("3 || 0, 3,  :: a\nb/c/d[[NULL]]\n5 || 5,  :: x[[NULL]]\n");
  EXPECT_EQ((std::vector<State>{3, 5}), byDepth.states);
  EXPECT_TRUE(byDepth.hasPaths);
  EXPECT_EQ("x.deadlock:2: \"four\", expected \"NUMBER\" or \"NUMBER || PATH\"",
            faultOf(mFiles, [&] { deadlocksOf("4\nfour\n"); }));
  EXPECT_EQ((std::vector<State>{4}), deadlocksOf("4\n1").states);
}

TEST_F(LtsExplorationTest, PrunedPathsOfBothSearches) {
  EXPECT_EQ(2u, prunedOf(" :: c/k/p[[PRUNE]]\n :: c/k/q[[PRUNE\nx]]\n").unnumbered);
  EXPECT_EQ((std::vector<State>{3}), prunedOf("3 || 0, 3,  :: c/k/p[[PRUNE]]\n").states);
  EXPECT_EQ("x.pruned:1: \"3\", expected \" :: LABEL[[TEXT]]\" or \"NUMBER || PATH\"",
            faultOf(mFiles, [&] { prunedOf("3\n"); }));
}

// ---- What they mean -----------------------------------------------------------------------------

TEST_F(LtsExplorationTest, AWholeExplorationHasNoWarnings) {
  mFiles.writeTable("t");
  const Exploration table = mFiles.explore("t");
  EXPECT_EQ((std::vector<State>{4}), table.deadlocks());
  EXPECT_EQ(6u, table.statesFound());
  EXPECT_EQ(0u, table.prunedCount());
  EXPECT_TRUE(table.warnings().empty());
  EXPECT_EQ((std::vector<State>{}), statesThat(table, &Exploration::isUnexpanded));
}

TEST_F(LtsExplorationTest, WithoutTheFileOfDeadlocksEveryEndIsOne) {
  mFiles.write("x.aut", "des (0,2,3)\n(0,a,1)\n(0,b,2)\n");
  EXPECT_EQ((std::vector<State>{1, 2}), mFiles.explore("x").deadlocks());
}

TEST_F(LtsExplorationTest, AFileThatHasLostTransitionsHasNoDeadlocksOfItsOwn) {
  mFiles.write("x.aut", "des (0,2,3)\n(0,a,1)\n");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_TRUE(exploration.deadlocks().empty());
  EXPECT_EQ((std::vector<State>{1}), statesThat(exploration, &Exploration::isUnexpanded));
}

TEST_F(LtsExplorationTest, DepthFirstDoesNotReportTheInitialState) {
  mFiles.writeOwn("x.aut", 0, 1, "");
  mFiles.write("x.state", "0 : a\n");
  mFiles.write("x.deadlock", "");
  mFiles.write("x.pruned", "");
  EXPECT_EQ((std::vector<State>{0}), mFiles.explore("x").deadlocks());
}

// Where the header counts transitions, or there are some, an initial state without one waits.
TEST_F(LtsExplorationTest, AnInitialStateIsNoDeadlockWhereThereAreTransitions) {
  mFiles.write("x.state", "0 : a\n1 : b\n2 : c\n");
  mFiles.write("x.deadlock", "2\n");
  mFiles.writeOwn("x.aut", 2, 3, "");
  EXPECT_FALSE(mFiles.explore("x").isDeadlock(0)) << "they are lost";
  mFiles.writeOwn("x.aut", 0, 3, "(1, a, 2)\n");
  EXPECT_FALSE(mFiles.explore("x").isDeadlock(0)) << "they are not counted";
}

// 0 -> 1, 0 -> 2 (pruned), 1 -> 3, 3 is a deadlock.
TEST_F(LtsExplorationTest, BreadthFirstDoesNotListPrunedStates) {
  mFiles.writeOwn("x.aut", 3, 4, "(0, a, 1)\n(0, b, 2)\n(1, a, 3)\n");
  mFiles.write("x.state", "0 : a\n1 : b\n3 : c\n");
  mFiles.write("x.deadlock", "3\n");
  mFiles.write("x.pruned", " :: b[[PRUNE]]\n");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ((std::vector<State>{2}), statesThat(exploration, &Exploration::isPruned));
  EXPECT_EQ((std::vector<State>{}), statesThat(exploration, &Exploration::isUnexpanded));
  EXPECT_EQ(1u, exploration.prunedCount());
}

// The search was stopped when 2 and 3 were waiting.
TEST_F(LtsExplorationTest, StatesThatWereWaitingAreUnexpandedAndNoDeadlocks) {
  mFiles.writeOwn("x.aut", 3, 4, "(0, a, 1)\n(0, b, 2)\n(1, a, 3)\n");
  mFiles.write("x.state", "0 : a\n1 : b\n");
  mFiles.write("x.deadlock", "");
  mFiles.write("x.pruned", "");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ((std::vector<State>{2, 3}), statesThat(exploration, &Exploration::isUnexpanded));
  EXPECT_TRUE(exploration.deadlocks().empty());
}

// 1 was pruned; of 3 and 4 one was pruned and one was waiting.
TEST_F(LtsExplorationTest, PrunedStatesThatMayAsWellHaveWaitedAreNotCalledPruned) {
  mFiles.writeOwn("x.aut", 4, 5, "(0, a, 1)\n(0, b, 2)\n(2, a, 3)\n(2, a, 4)\n");
  mFiles.write("x.state", "0 : a\n2 : b\n");
  mFiles.write("x.deadlock", "");
  mFiles.write("x.pruned", " :: a[[PRUNE]]\n :: a[[PRUNE]]\n");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ((std::vector<State>{1}), statesThat(exploration, &Exploration::isPruned));
  EXPECT_EQ((std::vector<State>{3, 4}), statesThat(exploration, &Exploration::isUnexpanded));
  EXPECT_EQ(2u, exploration.prunedCount());
}

TEST_F(LtsExplorationTest, BreadthFirstCountsTheTransitionIntoAnErrorWithoutWritingIt) {
  mFiles.writeOwn("x.aut", 2, 2, "(0, right, 1)\n");
  mFiles.write("x.state", "0 : 1,\n");
  mFiles.write("x.deadlock", "");
  mFiles.write("x.pruned", "");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ(State{0}, exploration.errorSource());
  EXPECT_FALSE(exploration.errorState());
  EXPECT_TRUE(exploration.warnings().empty());
}

TEST_F(LtsExplorationTest, DepthFirstEndsWithTheStateOfTheError) {
  mFiles.writeOwn("x.aut", 1, 2, "(0, left, 1)\n");
  mFiles.write("x.state", "0 : 1,\n1 : 2 ERROR,\n");
  mFiles.write("x.deadlock", "");
  mFiles.write("x.pruned", "");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ(State{1}, exploration.errorState());
  EXPECT_FALSE(exploration.errorSource());
  EXPECT_TRUE(exploration.deadlocks().empty());
}

TEST_F(LtsExplorationTest, CutAndKilledFilesAreReadWithAWarning) {
  mFiles.writeOwn("cut.aut", 9, 9, "(0, a, 1)\n(1, a, 2");
  const Exploration cut = mFiles.explore("cut");
  ASSERT_EQ(2u, cut.warnings().size());
  EXPECT_EQ(9u, cut.statesFound());
  EXPECT_EQ(2u, cut.graph().states());
  mFiles.writeOwn("killed.aut", 1, 2, "(0, a, 1)\n(1, a, 2)\n");
  const Exploration killed = mFiles.explore("killed");
  ASSERT_EQ(1u, killed.warnings().size());
  EXPECT_NE(std::string::npos, killed.warnings()[0].find("killed"));
  EXPECT_EQ(3u, killed.statesFound());
}

TEST_F(LtsExplorationTest, StatesThatTheTransitionSystemHasLostAreLeftOut) {
  const std::string deadlocks = mFiles.write("x.deadlock", "3\n4\n5\n");
  EXPECT_EQ((std::vector<State>{3}), readDeadlocks(deadlocks, 4, mFiles.progress()).states);
  const std::string pruned = mFiles.write("x.pruned", "4 || 0,  :: a[[x]]\n5 || 0,  :: a[[x]]\n");
  EXPECT_EQ((std::vector<State>{4}), readPruned(pruned, 5, mFiles.progress()).states);
  const std::string states = mFiles.write("x.state", "3 : a\n4 : b\n");
  std::vector<State> given;
  readStates(states, 4, mFiles.progress(),
             [&](State state, std::string_view) { given.push_back(state); });
  EXPECT_EQ((std::vector<State>{3}), given);
}

TEST_F(LtsExplorationTest, ASideFileBeginsWithALineOfItsKind) {
  const std::string path = mFiles.write("x.deadlock", "what\n3\n");
  EXPECT_EQ("x.deadlock:1: \"what\", expected \"NUMBER\" or \"NUMBER || PATH\"",
            faultOf(mFiles, [&] { readDeadlocks(path, 9, mFiles.progress()); }));
}

// ---- Texts --------------------------------------------------------------------------------------

TEST_F(LtsExplorationTest, TextsAreFoundByStateAndStatesByText) {
  mFiles.writeOwn("x.aut", 3, 4, "(0, a, 1)\n(0, b, 2)\n(1, a, 3)\n");
  mFiles.write("x.state", "0 : a\n1 : \n3 : c\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  EXPECT_EQ("a", texts.of(0));
  EXPECT_EQ("", texts.of(1));
  EXPECT_FALSE(texts.of(2));
  EXPECT_EQ("c", texts.of(3));
  TextIndex index(texts, 4);
  EXPECT_EQ(3u, index.next("c"));
  EXPECT_EQ(1u, index.next(""));
  EXPECT_EQ(Graph::NO_STATE, index.next("d"));
}

TEST_F(LtsExplorationTest, StatesWithOneTextAreFoundOneAfterTheOther) {
  mFiles.writeOwn("x.aut", 3, 4, "(0, a, 1)\n(0, b, 2)\n(1, a, 3)\n");
  mFiles.write("x.state", "0 : a\n1 : b\n2 : a\n3 : a\n");
  const StateTexts texts(mFiles.explore("x"), mFiles.progress());
  TextIndex index(texts, 4);
  EXPECT_EQ(0u, index.next("a"));
  EXPECT_EQ(2u, index.next("a"));
  EXPECT_EQ(1u, index.next("b"));
  EXPECT_EQ(3u, index.next("a"));
  EXPECT_EQ(3u, index.next("a"));
}

// As many texts as the index has room for at first, and one more.
TEST_F(LtsExplorationTest, ATextThatNoStateHasIsNotFoundAmongAnyNumberOfThem) {
  for (int count = 1; count <= 33; ++count) {
    std::string transitions;
    std::string texts;
    for (int state = 0; state < count; ++state) {
      transitions += "(0, a, " + std::to_string(state) + ")\n";
      texts += std::to_string(state) + " : text " + std::to_string(state) + "\n";
    }
    mFiles.writeOwn("x.aut", count, count, transitions);
    mFiles.write("x.state", texts);
    const Exploration exploration = mFiles.explore("x");
    const StateTexts all(exploration, mFiles.progress());
    TextIndex index(all, exploration.graph().states());
    for (State state = 0; state < exploration.graph().states(); ++state) {
      EXPECT_EQ(state, index.next("text " + std::to_string(state)));
    }
    EXPECT_EQ(Graph::NO_STATE, index.next("another text"));
  }
}

// All of them want one of the even slots, of which there are just as many.
TEST_F(LtsExplorationTest, TextsThatCollideAreFoundAllTheSame) {
  std::vector<std::string> texts;
  for (int i = 0; texts.size() < 9; ++i) {
    const std::string text = "text " + std::to_string(i);
    if (textHash(text) % 2 == 0) texts.push_back(text);
  }
  std::string states;
  for (std::size_t i = 0; i < 8; ++i) states += std::to_string(i) + " : " + texts[i] + "\n";
  mFiles.writeOwn("x.aut", 1, 8, "(0, a, 7)\n");
  mFiles.write("x.state", states);
  const Exploration exploration = mFiles.explore("x");
  const StateTexts all(exploration, mFiles.progress());
  TextIndex index(all, 8);
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(i, index.next(texts[i]));
  EXPECT_EQ(Graph::NO_STATE, index.next(texts[8]));
}

TEST_F(LtsExplorationTest, OnlyWantedTextsAreKept) {
  mFiles.writeTable("t");
  const StateTexts texts(mFiles.explore("t"), mFiles.progress(),
                         [](State state) { return state == 4; });
  EXPECT_EQ(1u, texts.count());
  EXPECT_EQ("l,u,l,u,", texts.of(4));
  EXPECT_FALSE(texts.of(0));
}

// The number of the next state is larger.
TEST_F(LtsExplorationTest, ATextMayHaveALineThatLooksLikeAState) {
  mFiles.writeOwn("x.aut", 1, 3, "(1, x, 2)\n");
  mFiles.write("x.state", "1 : a\n1 : b\n0 : c\n9\n2 : d\n");
  const Exploration exploration = mFiles.explore("x");
  const StateTexts texts(exploration, mFiles.progress());
  EXPECT_EQ("a\n1 : b\n0 : c\n9", texts.of(1));
  EXPECT_EQ("d", texts.of(2));
  EXPECT_FALSE(texts.of(0));
}

TEST_F(LtsExplorationTest, ErrorsAndPrunedStatesAreNoDeadlocksEvenWithoutTheFileOfDeadlocks) {
  mFiles.writeOwn("x.aut", 3, 4, "(0, x, 1)\n(0, y, 2)\n(0, z, 3)\n");
  mFiles.write("x.state", "0 : s\n1 : t\n2 : PRUNE\n3 : ERROR\n");
  mFiles.write("x.pruned", "2 || y\n");
  const Exploration exploration = mFiles.explore("x");
  EXPECT_EQ(State{3}, exploration.errorState());
  EXPECT_EQ(std::vector<State>{1}, exploration.deadlocks());
}

}  // namespace
