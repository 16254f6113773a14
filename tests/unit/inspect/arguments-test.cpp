// Which words of a command line are the program's, and which the model's.
#include "arguments.hpp"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "kit/output.hpp"

using Vesk::Inspect::Arguments;

namespace {

using Words = std::vector<std::string>;

// The command line stays alive as long as what was read from it.
class CommandLine {
 public:
  CommandLine(std::initializer_list<const char*> words) : mWords(words.begin(), words.end()) {
    for (std::string& word : mWords) mPointers.push_back(word.data());
    mArguments.emplace_back(static_cast<int>(mPointers.size()), mPointers.data());
  }
  const Arguments& operator*() const { return mArguments.front(); }
  const Arguments* operator->() const { return &mArguments.front(); }

 private:
  Words mWords;
  std::vector<char*> mPointers;
  std::vector<Arguments> mArguments;
};

unsigned int seedOf(std::initializer_list<const char*> words) {
  return CommandLine(words)->seed();
}

}  // namespace

TEST(InspectArgumentsTest, TheModelGetsAllWordsThatAreNotTheProgramsOwn) {
  const CommandLine line{"./tower-inspect", "3", "--dot", "-q", "--random"};
  EXPECT_TRUE(line->request().dot);
  EXPECT_EQ(-1, line->request().status);
  EXPECT_EQ("tower", line->model());
  EXPECT_EQ((Words{"3", "-q", "--random"}), line->words());
}

TEST(InspectArgumentsTest, AProgramWithoutTheSuffixKeepsItsName) {
  EXPECT_EQ("tower", CommandLine({"tower", "--dot"})->model());
  EXPECT_EQ("-inspect", CommandLine({"-inspect", "--dot"})->model());
  EXPECT_EQ("", CommandLine({})->model());
}

TEST(InspectArgumentsTest, EverythingBehindTwoDashesIsTheModels) {
  const CommandLine line{"m-inspect", "--json", "--", "--dot"};
  EXPECT_TRUE(line->request().json);
  EXPECT_FALSE(line->request().dot);
  EXPECT_EQ((Words{"--", "--dot"}), line->words());
}

TEST(InspectArgumentsTest, AValueStandsBehindAnEqualsSignOrInTheNextWord) {
  const CommandLine joined{"m-inspect", "--record=run", "next"};
  EXPECT_EQ("run", joined->request().record);
  EXPECT_EQ(Words{"next"}, joined->words());
  const CommandLine apart{"m-inspect", "--check", "--steps", "7", "next"};
  EXPECT_EQ(7u, apart->request().steps);
  EXPECT_EQ(Words{"next"}, apart->words());
}

TEST(InspectArgumentsTest, AValueThatIsMissingIsAWrongUse) {
  int status = 0;
  const std::string said = kit::errorsOf([&status] {
    status = CommandLine({"m-inspect", "--record"})->request().status;
  });
  EXPECT_EQ(2, status);
  EXPECT_NE(said.find("--record"), std::string::npos) << said;
}

TEST(InspectArgumentsTest, TheNumberOfStepsIsNoneOrFromOneToAThousandMillions) {
  int status = 0;
  for (const char* steps : {"0", "1000000001", "-1", "x"}) {
    kit::errorsOf([&] {
      status = CommandLine({"m-inspect", "--check", "--steps", steps})->request().status;
    });
    EXPECT_EQ(2, status) << steps;
  }
  EXPECT_EQ(1u, CommandLine({"m-inspect", "--check", "--steps", "1"})->request().steps);
  EXPECT_EQ(1000000000u,
            CommandLine({"m-inspect", "--check", "--steps", "1000000000"})->request().steps);
}

TEST(InspectArgumentsTest, HelpIsNoFault) {
  int status = -1;
  const std::string said = kit::outputOf([&status] {
    status = CommandLine({"m-inspect", "--help"})->request().status;
  });
  EXPECT_EQ(0, status);
  EXPECT_NE(said.find("m-inspect"), std::string::npos) << said;
}

TEST(InspectArgumentsTest, TheSeedIsThatOfTheEngine) {
  EXPECT_EQ(1u, seedOf({"m-inspect", "--check"}));
  EXPECT_EQ(5u, seedOf({"m-inspect", "--check", "--seed", "5"}));
  EXPECT_EQ(6u, seedOf({"m-inspect", "--check", "a", "--seed=6"}));
  EXPECT_EQ(1u, seedOf({"m-inspect", "--check", "--seed"}));
  EXPECT_EQ(1u, seedOf({"m-inspect", "--check", "--seeds=6"}));
  EXPECT_EQ(0u, seedOf({"m-inspect", "--check", "--seed="}));
  EXPECT_EQ(7u, seedOf({"m-inspect", "--check", "--seed", "5", "--seed=6", "--seed", "7"}));
}
