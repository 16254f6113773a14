#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "bridge.hpp"
#include "fault.hpp"
#include "host.hpp"
#include "kit/promised-models.hpp"
#include "system.hpp"

using namespace kit;

using Vesk::Locality;
using Vesk::Pins::Bridge;
using Vesk::Pins::Fault;

namespace {

using Names = std::vector<std::string>;
using Fill = std::function<void(kit::System&)>;

// What Compound::Create does in the tests of loading.
std::function<Compound*(int, char**)> create;

// A model that a host has loaded, without the check of threads.
class Loaded {
 public:
  explicit Loaded(const Fill& fill, Locality locality = Locality::REPEATABLE)
      : Loaded(filled(fill, locality)) {}
  explicit Loaded(std::unique_ptr<kit::System> root) {
    root->initialize(nullptr);
    mBridge = std::make_unique<Bridge>(&mModel, std::move(root));
    mBridge->describe();
    mModel.context = mBridge.get();
    mModel.nextAll = [](model_t model, int* source, TransitionCB callback, void* context) {
      return of(model).giveAll(source, callback, context);
    };
    mModel.nextOfGroup = [](model_t model, int group, int* source, TransitionCB callback,
                            void* context) {
      return of(model).giveGroup(group, source, callback, context);
    };
    mModel.stateLabel = [](model_t model, int label, int* state) {
      return of(model).stateLabel(label, state);
    };
  }

  grey_box_model& model() { return mModel; }
  PinsHost::Exploration explore(bool byGroups = false) {
    return PinsHost::explore(&mModel, byGroups);
  }
  // The texts of the slots.
  Names texts(const std::vector<int>& state) const {
    Names all;
    for (std::size_t slot = 0; slot < state.size(); ++slot) all.push_back(mModel.text(state, slot));
    return all;
  }
  // Source, label and target of each transition.
  std::multiset<std::tuple<Names, std::string, Names>> transitions(bool byGroups) {
    std::multiset<std::tuple<Names, std::string, Names>> all;
    const PinsHost::Exploration found = explore(byGroups);
    for (const PinsHost::Transition& each : found.transitions) {
      all.emplace(texts(found.states[static_cast<std::size_t>(each.source)]), each.label,
                  texts(found.states[static_cast<std::size_t>(each.target)]));
    }
    return all;
  }
  std::size_t labelled(const std::string& label) {
    return PinsHost::countLabelled(&mModel, explore(), label);
  }

 private:
  static std::unique_ptr<kit::System> filled(const Fill& fill, Locality locality) {
    auto root = std::make_unique<kit::System>("s");
    fill(*root);
    declareAll(*root, locality);
    return root;
  }
  static Bridge& of(model_t model) { return *static_cast<Bridge*>(model->context); }

  grey_box_model mModel;
  std::unique_ptr<Bridge> mBridge;
};

// An atom with an untimed port that is always enabled, and a state that the test says.
class ShapedAtom : public Atom {
 public:
  ShapedAtom(const char* name, const Compound* holder, std::function<Node*()> state)
      : Atom(name, holder), mState(std::move(state)) {
    addPort(port = new Port("p", this));
  }
  using Atom::initialize;
  void initialize() override { port->setSynced(true); }
  void execute(Port*) override {}
  Node* getState() override { return mState(); }
  void setState(Node*) override {}

  Port* port;

 private:
  const std::function<Node*()> mState;
};

// A model that makes its state itself, which depends on how often it has fired.
class OwnState : public kit::System {
 public:
  explicit OwnState(std::function<Node*(int fired)> state)
      : System("s"), mState(std::move(state)), mAtom(atom("A")) {
    rendezvous("k", mAtom->rule("p", [] { return true; }));
  }
  Node* getState() override { return mState(mAtom->fired); }
  void setState(Node*) override {}

 private:
  const std::function<Node*(int)> mState;
  TestAtom* mAtom;
};

// Two switches, each turned on by its own connector and both turned off by a third one.
void fillWithSwitches(kit::System& system) {
  auto* one = system.add(new PromisedAtom("A", &system, {"off", "on"}));
  auto* other = system.add(new PromisedAtom("B", &system, {"off", "on"}));
  system.join("a", {one->addPort("on", {{0, 1}})});
  system.join("b", {other->addPort("on", {{0, 1}})});
  system.join("both", {one->addPort("off", {{1, 0}}), other->addPort("off", {{1, 0}})});
}

// A line of places, of which one has a text with a marker.
Fill walkTo(const std::string& marked) {
  return [marked](kit::System& system) {
    auto* walker = system.add(new PromisedAtom("W", &system, {"0", "1", marked, "3"}));
    auto* other = system.add(new PromisedAtom("B", &system, {"x", "y"}));
    system.join("step", {walker->addPort("step", {{0, 1}, {1, 2}, {2, 3}})});
    system.join("other", {other->addPort("p", {{0, 1}, {1, 0}})});
  };
}

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  return create ? create(argc, argv) : nullptr;
}

// ---- What a tool is told ------------------------------------------------------------------------

TEST(PinsTest, TheVectorHasASlotForEachAtomWithItsPathAndText) {
  Loaded loaded([](kit::System& system) {
    kit::System* below = system.compound("left");
    below->add(new PromisedAtom("A", below, {"first"}));
    system.add(new PromisedAtom("B", &system, {""}));
  });
  EXPECT_EQ(loaded.model().type->slots, (Names{"s/left/A", "s/B"}));
  EXPECT_EQ(loaded.texts(loaded.model().initial), (Names{"first", ""}));
}

TEST(PinsTest, ThereAreTwoSlotsAtLeast) {
  Loaded loaded([](kit::System& system) {
    auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1"}));
    system.join("p", {atom->addPort("p", {{0, 1}})});
  });
  EXPECT_EQ(loaded.model().type->slots, (Names{"s/A", "none"}));
  EXPECT_EQ(loaded.transitions(false), (std::multiset<std::tuple<Names, std::string, Names>>{
                                           {{"0", "none"}, "s/p/A:p", {"1", "none"}}}));
  EXPECT_EQ(grey_box_model::row(*loaded.model().depends, 0), grey_box_model::Row{0});
}

TEST(PinsTest, AnAtomWithoutANameHasAPathWithoutOne) {
  Loaded loaded([](kit::System& system) {
    system.add(new ShapedAtom(nullptr, &system, [] { return new Leaf(new Atomleaf("x")); }));
    system.add(new PromisedAtom("B", &system, {"y"}));
  });
  EXPECT_EQ(loaded.model().type->slots, (Names{"s/", "s/B"}));
}

TEST(PinsTest, LabelsOfTransitionsAndStatesHaveNames) {
  Loaded loaded(fillWithSwitches);
  EXPECT_EQ(loaded.model().type->edgeLabels, Names{"action"});
  EXPECT_EQ(loaded.model().type->stateLabels,
            (Names{"error", "prune", "deadlock", "valid_end_state"}));
}

TEST(PinsTest, SlotsHaveATypeEachUnlessThereAreMany) {
  const auto typesOf = [](int atoms) {
    Loaded loaded([atoms](kit::System& system) {
      for (int i = 0; i < atoms; ++i) {
        system.add(new PromisedAtom("A" + std::to_string(i), &system, {"t"}));
      }
    });
    const std::vector<int>& types = loaded.model().type->slotTypes;
    return std::set<int>(types.begin(), types.end()).size();
  };
  EXPECT_EQ(typesOf(400), 400u);
  EXPECT_EQ(typesOf(401), 1u);
}

TEST(PinsTest, AGroupForEachConnectorDependsOnTheAtomsOfItsPorts) {
  for (const Locality locality : {Locality::LOCAL, Locality::REPEATABLE}) {
    Loaded loaded(fillWithSwitches, locality);
    grey_box_model& model = loaded.model();
    std::set<grey_box_model::Row> rows;
    for (const matrix_t* matrix : {model.depends, model.reads, model.mayWrite, model.mustWrite}) {
      ASSERT_EQ(matrix->rows, 3);
      ASSERT_EQ(matrix->cols, 2);
      for (int group = 0; group < 3; ++group) rows.insert(grey_box_model::row(*matrix, group));
    }
    EXPECT_EQ(rows, (std::set<grey_box_model::Row>{{0}, {1}, {0, 1}}));
  }
}

TEST(PinsTest, AnExportedPortMakesTheAtomsBelowDependenciesOfTheConnectorAbove) {
  Loaded loaded([](kit::System& system) {
    auto* one = system.add(new PromisedAtom("A", &system, {"0", "1"}));
    auto* other = system.add(new PromisedAtom("B", &system, {"0", "1"}));
    auto* alone = system.add(new PromisedAtom("C", &system, {"0"}));
    TestConnector* below = system.group("below", {one->addPort("p", {{0, 1}})});
    system.join("above", {below->xPort(), other->addPort("p", {{0, 1}})});
    static_cast<void>(alone);
  });
  ASSERT_EQ(loaded.model().depends->rows, 1);
  EXPECT_EQ(grey_box_model::row(*loaded.model().depends, 0), (grey_box_model::Row{0, 1}));
  EXPECT_EQ(loaded.explore(true).transitions.size(), 1u);
}

TEST(PinsTest, AModelWithoutConnectorsHasAGroupWithoutTransitions) {
  Loaded loaded([](kit::System& system) { system.add(new PromisedAtom("A", &system, {"0"})); });
  ASSERT_EQ(loaded.model().depends->rows, 1);
  EXPECT_EQ(grey_box_model::row(*loaded.model().depends, 0), grey_box_model::Row{});
  EXPECT_EQ(loaded.explore(true).transitions.size(), 0u);
}

TEST(PinsTest, AModelThatPromisesNothingIsOneGroupOverEverything) {
  Loaded loaded(fillWithSwitches, Locality::UNDECLARED);
  ASSERT_EQ(loaded.model().depends->rows, 1);
  EXPECT_EQ(grey_box_model::row(*loaded.model().depends, 0), (grey_box_model::Row{0, 1}));
}

TEST(PinsTest, AVariableAsksForOneGroup) {
  setenv(Vesk::Pins::ONE_GROUP_VARIABLE, "1", 1);
  Loaded loaded(fillWithSwitches);
  unsetenv(Vesk::Pins::ONE_GROUP_VARIABLE);
  ASSERT_EQ(loaded.model().depends->rows, 1);
  EXPECT_EQ(grey_box_model::row(*loaded.model().depends, 0), (grey_box_model::Row{0, 1}));
  EXPECT_EQ(loaded.transitions(true).size(), 5u);
}

TEST(PinsTest, ADominatedConnectorMakesOneGroup) {
  Loaded loaded([](kit::System& system) {
    fillWithSwitches(system);
    system.connectors()[1]->setDominated(true);
  });
  EXPECT_EQ(loaded.model().depends->rows, 1);
  // b stands behind both and before a in the list of legal connectors, and ends the walk.
  EXPECT_EQ(loaded.explore().transitions.size(), 0u);
}

TEST(PinsTest, StateLabelsReadTheWholeVector) {
  Loaded loaded(fillWithSwitches);
  ASSERT_EQ(loaded.model().labelReads->rows, 4);
  for (int label = 0; label < 4; ++label) {
    EXPECT_EQ(grey_box_model::row(*loaded.model().labelReads, label), (grey_box_model::Row{0, 1}));
  }
}

// ---- Transitions --------------------------------------------------------------------------------

TEST(PinsTest, AllGroupsTogetherGiveWhatTheGroupsGive) {
  const Names off{"off", "off"};
  const Names left{"on", "off"};
  const Names right{"off", "on"};
  const Names on{"on", "on"};
  const std::multiset<std::tuple<Names, std::string, Names>> expected{
      {off, "s/a/A:on", left},
      {off, "s/b/B:on", right},
      {left, "s/b/B:on", on},
      {right, "s/a/A:on", on},
      {on, "s/both/A:off|B:off", off}};
  for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    for (const bool byGroups : {false, true}) {
      EXPECT_EQ(Loaded(fillWithSwitches, locality).transitions(byGroups), expected)
          << nameOf(locality);
    }
  }
}

TEST(PinsTest, AVectorThatAnotherProcessHasFoundIsUnderstood) {
  for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    Loaded loaded(fillWithSwitches, locality);
    grey_box_model& model = loaded.model();
    std::vector<int> state{model.put(model.type->slotTypes[0], "on"),
                           model.put(model.type->slotTypes[1], "on")};
    std::string label;
    struct Given {
      grey_box_model& model;
      Names labels;
    } given{model, {}};
    const auto take = [](void* context, transition_info_t* info, int*, int*) {
      auto& to = *static_cast<Given*>(context);
      const auto type = static_cast<std::size_t>(to.model.type->edgeLabelTypes[0]);
      to.labels.push_back(to.model.chunks[type][static_cast<std::size_t>(info->labels[0])]);
    };
    EXPECT_EQ(model.nextAll(&model, state.data(), take, &given), 1);
    EXPECT_EQ(given.labels, Names{"s/both/A:off|B:off"}) << nameOf(locality);
  }
}

TEST(PinsTest, WhatExecuteDoesIsRepeatedWhereItIsNotPromised) {
  // After execute() it announces other ports than after setState(), which is what counts.
  Loaded loaded(
      [](kit::System& system) {
        auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1", "2"}));
        atom->restless = true;
        system.join("p", {atom->addPort("p", {{0, 1}, {1, 2}, {2, 0}})});
      },
      Locality::LOCAL);
  EXPECT_EQ(loaded.explore(false).transitions.size(), 3u);
  EXPECT_EQ(loaded.explore(true).transitions.size(), 3u);
}

// ---- Markers ------------------------------------------------------------------------------------

TEST(PinsTest, DeadlocksAreLabelled) {
  const auto fill = [](kit::System& system) {
    auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1", "2"}));
    system.join("p", {atom->addPort("p", {{0, 1}})});
    system.join("q", {atom->addPort("q", {{0, 2}, {2, 0}})});
  };
  for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    Loaded loaded(fill, locality);
    EXPECT_EQ(loaded.labelled("deadlock"), 1u);
    EXPECT_EQ(loaded.labelled("valid_end_state"), 0u);
  }
}

TEST(PinsTest, NothingFollowsAStateWithAMarkerAndItIsNoDeadlock) {
  for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL, Locality::REPEATABLE}) {
    for (const std::string marker : {"PRUNE", "ERROR"}) {
      Loaded loaded(walkTo("2 " + marker), locality);
      EXPECT_EQ(loaded.explore().states.size(), 6u) << marker << nameOf(locality);
      EXPECT_EQ(loaded.labelled("prune"), marker == "PRUNE" ? 2u : 0u);
      EXPECT_EQ(loaded.labelled("error"), marker == "ERROR" ? 2u : 0u);
      EXPECT_EQ(loaded.labelled("valid_end_state"), 2u);
      EXPECT_EQ(loaded.labelled("deadlock"), 0u);
    }
  }
}

TEST(PinsTest, AModelWithMarkersIsNotAskedByGroups) {
  Loaded loaded(walkTo("2 PRUNE"));
  EXPECT_THROW(loaded.explore(true), Fault);
}

TEST(PinsTest, AModelThatRaisesAFlagWithoutAMarkerIsRefused) {
  for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL}) {
    for (const Signal signal : {Signal::PRUNE, Signal::ERROR}) {
      Loaded loaded(
          [signal](kit::System& system) {
            auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1"}));
            atom->raised[1] = signal;
            system.join("p", {atom->addPort("p", {{0, 1}, {1, 0}})});
          },
          locality);
      EXPECT_THROW(loaded.explore(), Fault);
    }
  }
}

TEST(PinsTest, AStateMayHaveTheSameMarkerInSeveralAtoms) {
  for (const std::string marker : {"PRUNE", "ERROR"}) {
    const auto fill = [&](kit::System& system) {
      auto* one = system.add(new PromisedAtom("A", &system, {"0", "1 " + marker}));
      auto* other = system.add(new PromisedAtom("B", &system, {"0", "2 " + marker}));
      system.join("k", {one->addPort("p", {{0, 1}}), other->addPort("q", {{0, 1}})});
    };
    for (const Locality locality : {Locality::UNDECLARED, Locality::LOCAL}) {
      Loaded loaded(fill, locality);
      EXPECT_EQ(loaded.labelled("prune"), marker == "PRUNE" ? 1u : 0u);
      EXPECT_EQ(loaded.labelled("error"), marker == "ERROR" ? 1u : 0u);
      EXPECT_EQ(loaded.labelled("deadlock"), 0u);
    }
  }
}

// ---- States without texts -----------------------------------------------------------------------

TEST(PinsTest, WhatHasNoTextHasAnEmptyOne) {
  const std::vector<std::function<Node*()>> states{
      [] { return new Leaf(new Atomleaf("")); }, [] { return new Leaf(new Atomleaf); },
      [] { return new Leaf(static_cast<Atomleaf*>(nullptr)); }, []() -> Node* { return nullptr; }};
  for (std::size_t i = 0; i < states.size(); ++i) {
    Loaded loaded(
        [&](kit::System& system) {
          auto* atom = system.add(new ShapedAtom("A", &system, states[i]));
          auto* other = system.add(new PromisedAtom("B", &system, {"0", "1"}));
          system.join("a", {atom->port});
          system.join("b", {other->addPort("q", {{0, 1}})});
        },
        Locality::LOCAL);
    EXPECT_EQ(loaded.texts(loaded.model().initial), (Names{"", "0"})) << i;
    EXPECT_EQ(loaded.transitions(true), (std::multiset<std::tuple<Names, std::string, Names>>{
                                            {{"", "0"}, "s/a/A:p", {"", "0"}},
                                            {{"", "1"}, "s/a/A:p", {"", "1"}},
                                            {{"", "0"}, "s/b/B:q", {"", "1"}}}))
        << i;
  }
}

// Its atoms are no leaves of the tree then, so leaves are counted.
TEST(PinsTest, AModelAsAWholeMayHaveAnAtomWithoutAState) {
  Loaded loaded(
      [](kit::System& system) {
        system.add(new ShapedAtom("A", &system, []() -> Node* { return nullptr; }));
        auto* other = system.add(new PromisedAtom("B", &system, {"0", "1"}));
        system.join("b", {other->addPort("q", {{0, 1}})});
      },
      Locality::UNDECLARED);
  EXPECT_EQ(loaded.model().type->slots, (Names{"leaf0", "none"}));
  EXPECT_EQ(loaded.transitions(false), (std::multiset<std::tuple<Names, std::string, Names>>{
                                           {{"0", "none"}, "s/b/B:q", {"1", "none"}}}));
}

TEST(PinsTest, AModelThatTellsNothingOfItsStateHasOne) {
  Loaded loaded(std::make_unique<OwnState>([](int) { return nullptr; }));
  const PinsHost::Exploration found = loaded.explore();
  EXPECT_EQ(found.states.size(), 1u);
  EXPECT_EQ(found.transitions.size(), 1u);
}

TEST(PinsTest, AModelWhoseTreeChangesItsShapeIsRefused) {
  Loaded loaded(std::make_unique<OwnState>([](int fired) -> Node* {
    auto* tree = new Nonleaf(1 + fired);
    for (int i = 0; i <= fired; ++i) tree->setChild(new Leaf(new Atomleaf("x")), i);
    return tree;
  }));
  EXPECT_THROW(loaded.explore(), Fault);
}

TEST(PinsTest, AnAtomWhoseStateIsATreeIsRefused) {
  EXPECT_THROW(Loaded([](kit::System& system) {
                 system.add(new PromisedAtom("A", &system, {"0"}))->shape =
                     PromisedAtom::TWO_LEAVES;
               }),
               Fault);
}

// ---- Random models ------------------------------------------------------------------------------

// Promised models keep their promises, so what is asked group by group is what the whole system
// does.
TEST(PinsTest, LocalModelsDoWhatTheyDoAsAWhole) {
  int compared = 0;
  for (unsigned int seed = 1; seed <= 30; ++seed) {
    const PromisedModel drawn(seed);
    try {
      const auto whole = Loaded(drawn.make(Locality::UNDECLARED)).transitions(false);
      EXPECT_EQ(Loaded(drawn.make(drawn.kept())).transitions(false), whole) << "seed " << seed;
      if (!whole.empty()) ++compared;
    } catch (const Fault&) {
      continue;  // it raises flags without markers, or has atoms with trees
    }
  }
  EXPECT_GE(compared, 8);
}

// ---- Loading ------------------------------------------------------------------------------------

TEST(PinsLoadDeathTest, TheModelGetsItsArguments) {
  create = [](int argc, char** argv) -> Compound* {
    std::exit(argc == 3 && std::string(argv[0]) == "m" && std::string(argv[2]) == "b c" ? 7 : 8);
  };
  setenv(Vesk::Pins::ARGUMENTS_VARIABLE, "a 'b c'", 1);
  grey_box_model model;
  EXPECT_EXIT(Vesk::Pins::load(&model, "m"), testing::ExitedWithCode(7), "");
  unsetenv(Vesk::Pins::ARGUMENTS_VARIABLE);
}

TEST(PinsLoadDeathTest, AModelThatBuildsNothingEndsTheTool) {
  create = nullptr;
  grey_box_model model;
  EXPECT_EXIT(Vesk::Pins::load(&model, "m"), testing::ExitedWithCode(255),
              "vesk: m: the model has not built a system");
}

TEST(PinsLoadDeathTest, WhatTheModelThrowsEndsTheTool) {
  create = [](int, char**) -> Compound* { throw std::runtime_error("out of paper"); };
  grey_box_model model;
  EXPECT_EXIT(Vesk::Pins::load(&model, "m"), testing::ExitedWithCode(255), "vesk: out of paper");
}

TEST(PinsLoadDeathTest, WhatIsNoExceptionEndsTheToolToo) {
  create = [](int, char**) -> Compound* { throw 7; };
  grey_box_model model;
  EXPECT_EXIT(Vesk::Pins::load(&model, "m"), testing::ExitedWithCode(255),
              "vesk: the model has thrown something that is no std::exception");
}

TEST(PinsLoadDeathTest, ASecondModelInTheProcessIsRefused) {
  create = [](int, char**) -> Compound* { return new kit::System("s"); };
  const auto loadTwice = [] {
    grey_box_model models[2];
    for (grey_box_model& model : models) Vesk::Pins::load(&model, "m");
  };
  EXPECT_EXIT(loadTwice(), testing::ExitedWithCode(255), "one thread only.*--procs");
}

TEST(PinsLoadDeathTest, AnotherThreadIsRefused) {
  create = [](int, char**) -> Compound* { return new kit::System("s"); };
  const auto askInThread = [] {
    auto& model = *new grey_box_model;
    Vesk::Pins::load(&model, "m");
    std::thread([&model] { model.nextAll(&model, model.initial.data(), nullptr, nullptr); }).join();
  };
  EXPECT_EXIT(askInThread(), testing::ExitedWithCode(255), "one thread only.*--procs");
}
