// The model as a picture and as JSON, and the names in both.
#include "drawing.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "description.hpp"
#include "kit/systems.hpp"
#include "names.hpp"
#include "parts.hpp"

using namespace kit;

using Vesk::Inspect::descriptionOf;
using Vesk::Inspect::drawingOf;
using Vesk::Inspect::Parts;

namespace {

using Json = nlohmann::ordered_json;

class DrawingTest : public testing::Test {
 protected:
  DrawingTest() : a(system.atom("A")) {}

  std::string drawing() { return drawingOf(Parts(system), "model words"); }
  Json description() { return descriptionOf(Parts(system), "model", {"word"}); }
  // Whether the picture has the line, however deep it stands.
  bool has(const std::string& line) {
    return drawing().find("  " + line + "\n") != std::string::npos;
  }

  System system{"s"};
  TestAtom* a;
};

Interaction* whole(Connector* connector) {
  return Interaction::Create(connector, 1, 0);
}

}  // namespace

// ---- Atoms and connectors --------------------------------------------------------------------

TEST_F(DrawingTest, PortsSayWhetherTheyAreInternalOrNotConnected) {
  system.rendezvous("k", a->port("p"));
  a->internal("i");
  a->port("free");
  const std::string drawn = drawing();
  EXPECT_NE(drawn.find("label=\"{A|{<p0>p|<p1>i\\ (internal)|<p2>free\\ (not\\ connected)}}\""),
            std::string::npos)
      << drawn;
}

TEST_F(DrawingTest, SignsThatGraphvizReadsAreEscaped) {
  System quoting("a\"b\\c\nd");
  quoting.atom("x{y}|<z> \"\\\nw");
  const std::string drawn = drawingOf(Parts(quoting), "run");
  EXPECT_NE(drawn.find("digraph \"a\\\"b\\\\c d\" {"), std::string::npos) << drawn;
  EXPECT_NE(drawn.find("label=\"{x\\{y\\}\\|\\<z\\>\\ \\\"\\\\ w|{}}\""), std::string::npos)
      << drawn;
}

TEST_F(DrawingTest, KindsOfConnectorsLookDifferent) {
  system.rendezvous("r", a->port("p"));
  system.broadcast("b", a->port("q"));
  system.exported(BROADCAST, "sub", a->port("t"));
  EXPECT_TRUE(has("c0 [shape=ellipse, label=\"r\"]"));
  EXPECT_TRUE(has("c1 [shape=hexagon, label=\"b\"]"));
  EXPECT_TRUE(has("c2 [shape=hexagon, style=\"filled,dashed\", label=\"sub\"]"));
  EXPECT_TRUE(has("x2 [shape=point, width=0.15, fillcolor=black, xlabel=\"x\"]"));
  EXPECT_TRUE(has("c2 -> x2"));
}

TEST_F(DrawingTest, TheFirstPortStandsAboveItsConnectorAndTheOthersBelow) {
  Port* first = a->port("p");
  TestConnector* sub = system.exported(RENDEZVOUS, "sub", a->port("q"));
  system.rendezvous("k", first, sub->xPort());
  EXPECT_TRUE(has("a0:p0 -> c1"));
  EXPECT_TRUE(has("c1 -> x0"));
}

TEST_F(DrawingTest, WhatIsNotInTheTreeHasANodeOfItsOwn) {
  TestAtom outside("B", &system);
  Port unlisted("loose", a);
  TestConnector other(RENDEZVOUS, "other", &system, true, a->port("p"));
  other.exportPort();
  system.rendezvous("k", outside.port("q"), &unlisted, other.xPort());
  EXPECT_TRUE(has("\"B:q (not in the tree)\" -> c0"));
  EXPECT_TRUE(has("c0 -> \"A:loose (not in the tree)\""));
  EXPECT_TRUE(has("c0 -> \"other.x (not in the tree)\""));
}

TEST_F(DrawingTest, APortThatNothingHasOrExportsHasANodeOfItsOwn) {
  Port lonely("q", static_cast<Atom*>(nullptr));
  TestConnector* below = system.exported(RENDEZVOUS, "below", a->port("p"));
  Port second("second", below);
  system.rendezvous("k", &lonely, &second);
  const std::string drawn = drawing();
  EXPECT_NE(drawn.find("(not in the tree)\" -> c1\n"), std::string::npos) << drawn;
  EXPECT_NE(drawn.find("c1 -> \"s/below.second (not in the tree)\"\n"), std::string::npos) << drawn;
}

TEST_F(DrawingTest, AnAtomAndAConnectorOutsideTheTreeHaveTheirOwnNames) {
  TestAtom outside("B", &system);
  TestConnector other(RENDEZVOUS, "other", &system, true, a->port("p"));
  const Parts parts(system);
  EXPECT_EQ(parts.nameOf(outside), "B");
  EXPECT_EQ(parts.nameOf(*a), "s/A");
  EXPECT_EQ(parts.nameOf(other), "other");
}

TEST_F(DrawingTest, PlacesOfATreeThatHoldNothingAreLeftOut) {
  struct Neither : Component {
    using Component::Component;
    using Component::initialize;
    void initialize() override {}
    void initialize(LogicalClock*) override {}
    Node* getState() override { return nullptr; }
    void setState(Node*) override {}
  };
  system.components().add(nullptr);
  system.components().add(new Neither("N", &system));
  System* inner = system.compound("inner");
  inner->atom("B");
  const Parts parts(system);
  ASSERT_EQ(2u, parts.atoms().size());
  EXPECT_EQ(parts.atoms()[1].path, "s/inner/B");
  EXPECT_EQ(2u, parts.compounds().size());
}

TEST_F(DrawingTest, CompoundsAreClustersWithinEachOther) {
  System* one = system.compound("one");
  System* deep = one->compound("deep");
  deep->atom("B");
  system.compound("two")->atom("C");
  const std::string drawn = drawing();
  EXPECT_NE(drawn.find("  subgraph cluster_1 {\n"
                       "    label=\"one\"\n"
                       "    subgraph cluster_2 {\n"
                       "      label=\"deep\"\n"
                       "      a1 [shape=record"),
            std::string::npos)
      << drawn;
  EXPECT_NE(drawn.find("    }\n"
                       "  }\n"
                       "  subgraph cluster_3 {\n"
                       "    label=\"two\"\n"
                       "    a2 [shape=record"),
            std::string::npos)
      << drawn;
  EXPECT_EQ(drawn.substr(drawn.size() - 6), "  }\n}\n");
}

// ---- Priorities ------------------------------------------------------------------------------

TEST_F(DrawingTest, APlainPriorityIsAnArrowToTheOneThatWins) {
  TestConnector* low = system.rendezvous("low", a->port("p"));
  TestConnector* high = system.rendezvous("high", a->port("q"));
  system.add(new Priority(&system, whole(low), whole(high), Vesk::Time(0)));
  EXPECT_TRUE(has("c0 -> c1 [dir=forward, style=dashed, constraint=false]"));
}

TEST_F(DrawingTest, ADelayOrAClassStandsAlone) {
  TestConnector* low = system.rendezvous("low", a->port("p"));
  TestConnector* high = system.rendezvous("high", a->port("q"));
  system.add(new Priority(&system, whole(low), whole(high), Vesk::Time(1000)));
  system.add(new TestPriority("named", &system, whole(low), whole(high)));
  const std::string arrow = "c0 -> c1 [dir=forward, style=dashed, constraint=false, label=";
  EXPECT_TRUE(has(arrow + "\"delay 1ms\"]"));
  EXPECT_TRUE(has(arrow + "\"guard of kit::TestPriority\"]"));
}

TEST_F(DrawingTest, APriorityBelowAllOthersPointsAtThem) {
  TestConnector* low = system.rendezvous("low", a->port("p"));
  system.add(new Priority(&system, whole(low), nullptr, Vesk::Time(0)));
  EXPECT_TRUE(has("any0 [shape=plaintext, fillcolor=none, label=\"all others\"]"));
  EXPECT_TRUE(has("c0 -> any0 [dir=forward, style=dashed, constraint=false]"));
}

TEST_F(DrawingTest, ArrowsSayWhichPortsTheyAreAboutTheDelayAndTheClass) {
  TestConnector* low = system.broadcast("low", a->port("p"), a->port("q"), a->port("r"));
  TestConnector* high = system.broadcast("high", a->port("t"), a->port("u"));
  Interaction* two = Interaction::Create(low, 2, 1, 2);
  Interaction* all = Interaction::Create(high, 2, 0, 1);
  Interaction* one = Interaction::Create(high, 1, 1);
  system.add(new Priority(&system, two, all, Vesk::Time(2000)));
  system.add(new Priority(&system, Interaction::Create(low, 3, 0, 1, 2), one, Vesk::Time(0)));
  system.add(new TestPriority("named", &system, two, one, Vesk::Time(1000)));
  const std::string arrow = "c0 -> c1 [dir=forward, style=dashed, constraint=false, label=";
  // The arguments of a call are made in any order, so the ports are asked for their names.
  const auto name = [&](Connector* connector, int port) {
    return "A:" + std::string(connector->ports()[port]->name());
  };
  const std::string ofLow = "{" + name(low, 1) + "|" + name(low, 2) + "}";
  const std::string ofHigh = "{" + name(high, 1) + "}";
  EXPECT_TRUE(has(arrow + "\"" + ofLow + ", delay 2ms\"]"));
  EXPECT_TRUE(has(arrow + "\"< " + ofHigh + "\"]"));
  EXPECT_TRUE(
      has(arrow + "\"" + ofLow + " < " + ofHigh + ", delay 1ms, guard of kit::TestPriority\"]"));
}

TEST_F(DrawingTest, APriorityOverAConnectorOutsideTheTreeIsDrawn) {
  TestConnector* low = system.rendezvous("low", a->port("p"));
  TestConnector other(RENDEZVOUS, "other", &system, false, a->port("q"));
  system.add(new Priority(&system, whole(low), whole(&other), Vesk::Time(0)));
  EXPECT_TRUE(
      has("c0 -> \"other (not in the tree)\" [dir=forward, style=dashed, "
          "constraint=false]"));
}

// ---- JSON ------------------------------------------------------------------------------------

TEST_F(DrawingTest, TheDescriptionHasConnectorsOfAllKinds) {
  system.rendezvous("r", a->port("p"));
  system.exported(BROADCAST, "sub", a->port("t"));
  const Json connectors = description()["connectors"];
  ASSERT_EQ(2u, connectors.size());
  EXPECT_EQ("rendezvous", connectors[0]["kind"]);
  EXPECT_EQ(false, connectors[0]["subconnector"]);
  EXPECT_TRUE(connectors[0]["exported"].is_null());
  EXPECT_EQ(Json::array({"s/A.p"}), connectors[0]["ports"]);
  EXPECT_EQ("broadcast", connectors[1]["kind"]);
  EXPECT_EQ(true, connectors[1]["subconnector"]);
  EXPECT_EQ("x", connectors[1]["exported"]);
}

TEST_F(DrawingTest, TheDescriptionHasPrioritiesAndWhatIsInternal) {
  TestConnector* low = system.rendezvous("low", a->port("p"));
  TestConnector* high = system.rendezvous("high", a->port("q"));
  a->internal("i");
  system.add(new Priority(&system, whole(low), whole(high), Vesk::Time(7)));
  system.add(new Priority(&system, whole(low), nullptr, Vesk::Time(0)));
  const Json json = description();
  ASSERT_EQ(2u, json["priorities"].size());
  const Json& first = json["priorities"][0];
  EXPECT_EQ("s", first["compound"]);
  EXPECT_EQ("Priority", first["class"]);
  EXPECT_EQ("s/low", first["low"]["connector"]);
  EXPECT_EQ(Json::array({"s/A.p"}), first["low"]["ports"]);
  EXPECT_EQ("s/high", first["high"]["connector"]);
  EXPECT_EQ(7, first["delay"]);
  EXPECT_TRUE(json["priorities"][1]["high"].is_null());
  const Json& ports = json["atoms"][0]["ports"];
  ASSERT_EQ(3u, ports.size());
  EXPECT_EQ(false, ports[0]["internal"]);
  EXPECT_EQ(true, ports[0]["connected"]);
  EXPECT_EQ(true, ports[2]["internal"]);
  EXPECT_EQ(false, ports[2]["connected"]);
}

TEST_F(DrawingTest, PartsWithoutAStateTextGiveNone) {
  struct Odd : TestAtom {
    using TestAtom::TestAtom;
    Node* getState() override { return node; }
    Node* node = nullptr;
  };
  Odd odd("A", nullptr);
  EXPECT_FALSE(Vesk::Inspect::stateOf(odd).given);
  odd.node = new Nonleaf(0);
  EXPECT_FALSE(Vesk::Inspect::stateOf(odd).given);
  odd.node = new Leaf(nullptr);
  EXPECT_FALSE(Vesk::Inspect::stateOf(odd).given);
  odd.node = new Leaf(new Atomleaf(nullptr));
  EXPECT_FALSE(Vesk::Inspect::stateOf(odd).given);
  odd.node = new Leaf(new Atomleaf("3"));
  const Vesk::Inspect::StateText given = Vesk::Inspect::stateOf(odd);
  EXPECT_TRUE(given.given);
  EXPECT_TRUE(given == (Vesk::Inspect::StateText{true, "3"}));
  EXPECT_FALSE(given == (Vesk::Inspect::StateText{true, "4"}));
  EXPECT_FALSE(given == (Vesk::Inspect::StateText{false, "3"}));
}

// ---- Names -----------------------------------------------------------------------------------

TEST(NamesTest, WhatIsUtf8StaysAsItIs) {
  const std::vector<std::string> texts = {
      "",
      "a\x7f",
      "\xc2\x80",          // the first of two bytes
      "\xdf\xbf",          // the last
      "\xe0\xa0\x80",      // the first of three
      "\xed\x9f\xbf",      // the last before the surrogates
      "\xee\x80\x80",      // the first behind them
      "\xf0\x90\x80\x80",  // the first of four
      "\xf4\x8f\xbf\xbf",  // the last of all
  };
  for (const std::string& text : texts) EXPECT_EQ(text, Vesk::Inspect::utf8(text));
}

// "Texts that are not UTF-8 have a character for each of their bytes".
TEST(NamesTest, OtherwiseEachByteIsACharacter) {
  const std::vector<std::pair<std::string, std::string>> texts = {
      {"\xe4", "\xc3\xa4"},                                      // Latin, at the end
      {"\xff!", "\xc3\xbf!"},                                    // in no character
      {"\xf5\x80\x80\x80", "\xc3\xb5\xc2\x80\xc2\x80\xc2\x80"},  // no first byte
      {"\x80", "\xc2\x80"},                                      // no first byte
      {"\xc0\x80", "\xc3\x80\xc2\x80"},                          // too long for its number
      {"\xe0\x9f\xbf", "\xc3\xa0\xc2\x9f\xc2\xbf"},              // the same with three
      {"\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80"},              // a surrogate
      {"\xf0\x8f\xbf\xbf", "\xc3\xb0\xc2\x8f\xc2\xbf\xc2\xbf"},  // too long, with four
      {"\xf4\x90\x80\x80", "\xc3\xb4\xc2\x90\xc2\x80\xc2\x80"},  // beyond Unicode
      {"\xe4z", "\xc3\xa4z"},                                    // too short
      {"\xe2\x82z", "\xc3\xa2\xc2\x82z"},                        // no third byte
      {"\xe2z\x82", "\xc3\xa2z\xc2\x82"},                        // no second byte
      {"\xf0\x90\x80z", "\xc3\xb0\xc2\x90\xc2\x80z"},            // no fourth byte
  };
  for (const auto& [bytes, expected] : texts) EXPECT_EQ(expected, Vesk::Inspect::utf8(bytes));
  const std::string_view cut = std::string_view("z\xe2\x82\xac").substr(0, 3);
  EXPECT_EQ("z\xc3\xa2\xc2\x82", Vesk::Inspect::utf8(cut)) << "what follows it does not count";
}

TEST(NamesTest, ClassesAreNamedAsTheirAuthorsWroteThem) {
  EXPECT_EQ("kit::System", Vesk::Inspect::readable("N3kit6SystemE"));
  EXPECT_EQ("Own", Vesk::Inspect::readable("N12_GLOBAL__N_13OwnE"));
  EXPECT_EQ("Pair<Own, Own>", Vesk::Inspect::readable("4PairIN12_GLOBAL__N_13OwnENS0_3OwnEE"));
  EXPECT_EQ("no such name", Vesk::Inspect::readable("no such name"));
}

TEST(NamesTest, ANameThatIsMissingIsEmpty) {
  EXPECT_STREQ("", Vesk::Inspect::textOf(nullptr));
  EXPECT_STREQ("n", Vesk::Inspect::textOf("n"));
}
