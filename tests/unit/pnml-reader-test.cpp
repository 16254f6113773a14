// The reader of nets in PNML: every construct, and every message with its position.
#include "reader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "pnml-text.hpp"

namespace {

using pnml::Net;
using pnml::Reading;
using pnml::Use;

const char* const PT_NET_WANTED =
    ", expected a place/transition net (http://www.pnml.org/version-2009/grammar/ptnet)";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

Reading read(const std::string& document) {
  std::string text = document;
  const std::unique_ptr<std::FILE, CloseFile> file(fmemopen(text.data(), text.size(), "rb"));
  return pnml::readNet(file.get());
}

std::string lineOf(const pnml::Message& message) {
  return std::to_string(message.at.line) + ":" + std::to_string(message.at.column) + ": " +
         message.text;
}

// All of them, in their order.
std::string linesOf(const std::vector<pnml::Message>& messages) {
  std::string lines;
  for (const pnml::Message& message : messages) {
    lines += (lines.empty() ? "" : "\n") + lineOf(message);
  }
  return lines;
}

Net netOf(const std::string& document) {
  Reading reading = read(document);
  EXPECT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
  EXPECT_TRUE(reading.warnings.empty()) << lineOf(reading.warnings.front());
  return reading.net.value_or(Net());
}

Net netWith(const std::string& body) {
  return netOf(netDocument(body));
}

std::string errorOf(const std::string& document) {
  const Reading reading = read(document);
  EXPECT_FALSE(reading.net.has_value());
  return linesOf(reading.errors);
}

std::string errorWith(const std::string& body) {
  return errorOf(netDocument(body));
}

void expectUse(const Use& use, int place, int consumed, int produced, int below) {
  EXPECT_EQ(place, use.place);
  EXPECT_EQ(consumed, use.consumed);
  EXPECT_EQ(produced, use.produced);
  EXPECT_EQ(below, use.below);
}

// A place p and a transition t, then an arc with the given start tag and content.
Net netWithArc(const std::string& arc) {
  return netWith("<place id='p'/><transition id='t'/>" + arc);
}

// The arc stands in line 3 from column 1 on.
std::string errorWithArc(const std::string& arc) {
  return errorWith("<place id='p'/><transition id='t'/>\n" + arc);
}

std::string utf16(const std::string& ascii, bool bigEndian) {
  std::string text = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (char c : ascii) {
    text += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  }
  return text;
}

}  // namespace

// ---- Nets --------------------------------------------------------------------------------------

TEST(PnmlReaderTest, PlacesTransitionsAndArcsBecomeANet) {
  const Net net = netWith(
      "<place id='p'><initialMarking><text> 3 </text></initialMarking></place>\n"
      "<place id='q'/>\n"
      "<transition id='t'/>\n"
      "<arc id='a' source='p' target='t'><inscription><text>2</text></inscription></arc>\n"
      "<arc id='b' source='t' target='q'/>\n");
  EXPECT_EQ("n", net.id);
  ASSERT_EQ(2u, net.places.size());
  EXPECT_EQ("p", net.places[0].id);
  EXPECT_EQ(3, net.places[0].tokens);
  EXPECT_EQ("q", net.places[1].id);
  EXPECT_EQ(0, net.places[1].tokens);
  ASSERT_EQ(1u, net.transitions.size());
  EXPECT_EQ("t", net.transitions[0].id);
  EXPECT_EQ(4u, net.transitions[0].at.line);
  EXPECT_EQ(1u, net.transitions[0].at.column);
  ASSERT_EQ(2u, net.transitions[0].uses.size());
  expectUse(net.transitions[0].uses[0], 0, 2, 0, 0);
  expectUse(net.transitions[0].uses[1], 1, 0, 1, 0);
}

TEST(PnmlReaderTest, AnEmptyNetIsANet) {
  const Net net = netWith("");
  EXPECT_TRUE(net.places.empty());
  EXPECT_TRUE(net.transitions.empty());
}

TEST(PnmlReaderTest, TheArcsOfASelfLoopAreOneUse) {
  const Net net = netWithArc(
      "<arc source='p' target='t'/><arc source='t' target='p'><inscription><text>4"
      "</text></inscription></arc>");
  ASSERT_EQ(1u, net.transitions[0].uses.size());
  expectUse(net.transitions[0].uses[0], 0, 1, 4, 0);
}

TEST(PnmlReaderTest, TheWeightsOfArcsBetweenTheSameNodesAddUp) {
  const Net net = netWith(placeText("p", 0) + placeText("q", 0) + transitionText("t") +
                          arcText("p", "t", 2) + arcText("q", "t") + arcText("p", "t", 3));
  ASSERT_EQ(2u, net.transitions[0].uses.size());
  expectUse(net.transitions[0].uses[0], 0, 5, 0, 0);
  expectUse(net.transitions[0].uses[1], 1, 1, 0, 0);
}

TEST(PnmlReaderTest, TheStrictestOfSeveralInhibitorArcsCounts) {
  const Net net = netWithArc(inhibitorText("p", "t", 5) + inhibitorText("p", "t", 3) +
                             inhibitorText("p", "t", 4) + arcText("p", "t"));
  ASSERT_EQ(1u, net.transitions[0].uses.size());
  expectUse(net.transitions[0].uses[0], 0, 1, 0, 3);
}

TEST(PnmlReaderTest, UsesOfOneTransitionAreNotMixedWithThoseOfAnother) {
  const Net net =
      netWith(placeText("p", 0) + placeText("q", 0) + transitionText("s") + transitionText("t") +
              arcText("p", "s") + arcText("q", "s") + arcText("q", "t") + arcText("p", "t", 2));
  ASSERT_EQ(2u, net.transitions[1].uses.size());
  expectUse(net.transitions[1].uses[0], 1, 1, 0, 0);
  expectUse(net.transitions[1].uses[1], 0, 2, 0, 0);
}

TEST(PnmlReaderTest, InhibitorArcsAreMarkedByAttributeOrElement) {
  for (const char* arc : {"<arc source='p' target='t' type='inhibitor'/>",
                          "<arc source='p' target='t'><type value='inhibitor'/></arc>",
                          "<arc source='p' target='t'><type><text>inhibitor</text></type></arc>",
                          "<arc source='p' target='t'><arctype><text>\n inhibitor \n</text>"
                          "</arctype></arc>"}) {
    const Net net = netWithArc(arc);
    ASSERT_EQ(1u, net.transitions[0].uses.size()) << arc;
    expectUse(net.transitions[0].uses[0], 0, 0, 0, 1);
  }
}

TEST(PnmlReaderTest, NormalIsAnArcType) {
  const Net net = netWithArc("<arc source='p' target='t'><type value='normal'/></arc>");
  expectUse(net.transitions[0].uses[0], 0, 1, 0, 0);
}

TEST(PnmlReaderTest, PagesAreFlattened) {
  const Net net = netWith(
      "<page id='1'><name><text>one</text></name><place id='p'/>"
      "<page id='2'><transition id='t'/><arc source='p' target='t'/></page></page>"
      "<page id='3'><place id='q'/><arc source='t' target='q'/></page>");
  ASSERT_EQ(2u, net.places.size());
  ASSERT_EQ(1u, net.transitions.size());
  EXPECT_EQ(2u, net.transitions[0].uses.size());
}

TEST(PnmlReaderTest, ReferencesStandForTheNodeAtTheEndOfTheChain) {
  const Net net = netWith(
      "<page id='1'><referencePlace id='r' ref='s'/><referenceTransition id='u' ref='t'/>"
      "<arc source='r' target='u'/></page>"
      "<page id='2'><referencePlace id='s' ref='p'/><place id='p'/><transition id='t'/>"
      "<arc source='s' target='t'/></page>");
  ASSERT_EQ(1u, net.places.size());
  ASSERT_EQ(1u, net.transitions.size());
  ASSERT_EQ(1u, net.transitions[0].uses.size());
  expectUse(net.transitions[0].uses[0], 0, 2, 0, 0);
}

TEST(PnmlReaderTest, ArcsMayStandBeforeTheirNodes) {
  const Net net = netWith("<arc source='t' target='p'/><transition id='t'/><place id='p'/>");
  expectUse(net.transitions[0].uses[0], 0, 0, 1, 0);
}

TEST(PnmlReaderTest, NumbersReachFromTheLeastToTheLargestInt) {
  const Net net = netWith(
      "<place id='p'><initialMarking><text>2147483647</text></initialMarking></place>"
      "<place id='q'><initialMarking><text>0</text></initialMarking></place>"
      "<transition id='t'/><arc source='p' target='t'><inscription><text>2147483647</text>"
      "</inscription></arc>");
  EXPECT_EQ(2147483647, net.places[0].tokens);
  EXPECT_EQ(0, net.places[1].tokens);
  EXPECT_EQ(2147483647, net.transitions[0].uses[0].consumed);
}

TEST(PnmlReaderTest, NamesDrawingsAndToolDataDoNotMatter) {
  const Net net = netWith(
      "<name><text>net</text></name><toolspecific tool='x' version='1'><place id='no'/>"
      "<weird><text>7</text></weird>loose text</toolspecific>"
      "<place id='p'><name><graphics><offset x='1' y='2'/></graphics><text>P</text></name>"
      "<initialMarking><graphics/><text>1</text><toolspecific tool='x' version='1'/>"
      "</initialMarking><graphics><position x='1' y='2'/></graphics></place>");
  ASSERT_EQ(1u, net.places.size());
  EXPECT_EQ(1, net.places[0].tokens);
}

TEST(PnmlReaderTest, PropertiesThatMeanNothingAreAccepted) {
  const Net net = netWith(
      "<place id='p'><initialMarking><value>2</value></initialMarking>"
      "<capacity><value>0</value></capacity></place>"
      "<transition id='t'><orientation><value>0</value></orientation>"
      "<rate><value>1.0</value></rate><timed><value>false</value></timed>"
      "<infiniteServer><value>false</value></infiniteServer>"
      "<priority><value>1</value></priority></transition>"
      "<arc source='p' target='t'><tagged><value>false</value></tagged>"
      "<arcpath id='000' x='1' y='1' curvePoint='false'/></arc>");
  EXPECT_EQ(2, net.places[0].tokens);
}

// ---- Notations ---------------------------------------------------------------------------------

TEST(PnmlReaderTest, TheNamespaceMayHaveAPrefixOrBeMissing) {
  EXPECT_EQ(1u, netOf("<x:pnml xmlns:x='http://www.pnml.org/version-2009/grammar/pnml'>"
                      "<x:net id='n'><x:place id='p'/></x:net></x:pnml>")
                    .places.size());
  EXPECT_EQ(1u, netOf("<pnml><net id='n'><place id='p'/></net></pnml>").places.size());
  EXPECT_EQ(1u,
            netOf("<pnml xmlns='http://example.org/my'><net id='n'><place id='p'/></net></pnml>")
                .places.size());
}

TEST(PnmlReaderTest, ElementsOfAnotherNamespaceAreIgnoredWithAWarning) {
  const Reading reading =
      read(netDocument("<place id='p'/>\n <y:place xmlns:y='http://example.org/y' id='q'/>"));
  ASSERT_TRUE(reading.net.has_value());
  EXPECT_EQ(1u, reading.net->places.size());
  ASSERT_EQ(1u, reading.warnings.size());
  EXPECT_EQ(
      "3:2: unknown element \"place\" is ignored, expected an element of a place/transition net",
      lineOf(reading.warnings[0]));
}

TEST(PnmlReaderTest, EachUnknownElementIsWarnedAboutOnceAndTenAltogether) {
  std::string body = "<x0><x1/></x0>";
  for (int i = 0; i < 20; ++i) body += "<x" + std::to_string(i / 2) + "/>";
  for (int i = 10; i < 20; ++i) body += "<x" + std::to_string(i) + "/>";
  const Reading reading = read(netDocument(body));
  ASSERT_TRUE(reading.net.has_value());
  EXPECT_EQ(10u, reading.warnings.size());
}

TEST(PnmlReaderTest, AnUnknownElementThatComesBackIsNotWarnedAboutAgain) {
  const Reading reading = read(netDocument("<strange/><other/><strange/>"));
  ASSERT_EQ(2u, reading.warnings.size());
  EXPECT_NE(std::string::npos, reading.warnings[0].text.find("\"strange\""));
  EXPECT_NE(std::string::npos, reading.warnings[1].text.find("\"other\""));
}

TEST(PnmlReaderTest, AnElementOfAnotherNamespaceIsIgnoredWhateverItsName) {
  const Reading reading = read(netDocument(
      "<place id=\"p\"><x:type xmlns:x=\"urn:x\"/><x:initialMarking xmlns:x=\"urn:x\"/></place>"));
  ASSERT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
  ASSERT_EQ(2u, reading.warnings.size());
  EXPECT_NE(std::string::npos, reading.warnings[0].text.find("\"type\" is ignored"));
}

TEST(PnmlReaderTest, CommentsInstructionsAndCdataAreUnderstood) {
  const Net net = netOf(
      "<?xml version='1.0'?><!-- a --><?pi b?><pnml><!-- c --><net id='n'><place id='p'>"
      "<initialMarking><text><!-- d -->1<![CDATA[2]]><?pi e?>3</text></initialMarking></place>"
      "</net></pnml><!-- f -->");
  EXPECT_EQ(123, net.places[0].tokens);
}

TEST(PnmlReaderTest, EntitiesAreReplaced) {
  const Net net = netOf(
      "<!DOCTYPE pnml [<!ENTITY two '2'><!ENTITY node '<place id=\"e\"/>'>]>"
      "<pnml><net id='a&amp;b'><place id='p&#x41;&two;'><initialMarking><text>&two;&#49;</text>"
      "</initialMarking></place>&node;</net></pnml>");
  EXPECT_EQ("a&b", net.id);
  ASSERT_EQ(2u, net.places.size());
  EXPECT_EQ("pA2", net.places[0].id);
  EXPECT_EQ(21, net.places[0].tokens);
  EXPECT_EQ("e", net.places[1].id);
}

// It may have declared something, but nothing that the net uses.
TEST(PnmlReaderTest, AParameterEntityThatIsSomewhereElseIsPassedOver) {
  const Net net = netOf(
      "<!DOCTYPE pnml [<!ENTITY % more SYSTEM 'more.dtd'> %more;]>"
      "<pnml><net id='n'><place id='p'/></net></pnml>");
  EXPECT_EQ(1u, net.places.size());
}

TEST(PnmlReaderTest, ByteOrderMarksAndEncodingsAreUnderstood) {
  const std::string text = "<pnml><net id='n'><place id='p'/></net></pnml>";
  EXPECT_EQ(1u, netOf("\xEF\xBB\xBF" + text).places.size());
  EXPECT_EQ(1u, netOf(utf16(text, true)).places.size());
  EXPECT_EQ(1u, netOf(utf16(text, false)).places.size());
  const Net latin = netOf(
      "<?xml version='1.0' encoding='ISO-8859-1'?><pnml><net id='n'><place id='\xE9'/></net>"
      "</pnml>");
  EXPECT_EQ("\xC3\xA9", latin.places[0].id);
}

TEST(PnmlReaderTest, TheNamesOfPlainNetTypesAreKnown) {
  for (const char* type : {"http://www.pnml.org/version-2009/grammar/ptnet", "ptnet", "P/T net",
                           "http://www.informatik.hu-berlin.de/top/pntd/ptNetb",
                           "http://www.yasper.org/specs/epnml-1.1",
                           "http://www.pnml.org/version-2009/grammar/pnmlcoremodel"}) {
    netOf("<pnml><net id='n' type='" + std::string(type) + "'/></pnml>");
  }
}

TEST(PnmlReaderTest, LongDocumentsAreReadInPieces) {
  std::string body;
  for (int i = 0; i < 20000; ++i) body += placeText("place-" + std::to_string(i), i);
  const Net net = netWith(body);
  ASSERT_EQ(20000u, net.places.size());
  EXPECT_EQ("place-19999", net.places[19999].id);
  EXPECT_EQ(19999, net.places[19999].tokens);
}

TEST(PnmlReaderTest, ATagMayBeLongerThanAPiece) {
  const std::string id(3000000, 'x');
  EXPECT_EQ(id, netWith("<place id='" + id + "'/>").places[0].id);
}

// ---- Errors of the net -------------------------------------------------------------------------

TEST(PnmlReaderErrorTest, ColouredAndTimedTypesAreRefused) {
  const std::string wanted = PT_NET_WANTED;
  EXPECT_EQ("1:7: net of the coloured type \"http://x/symmetricnet\"" + wanted,
            errorOf("<pnml><net id='n' type='http://x/symmetricnet'/></pnml>"));
  EXPECT_EQ("1:7: net of the coloured type \"http://x/highlevelnet\"" + wanted,
            errorOf("<pnml><net id='n' type='http://x/highlevelnet'/></pnml>"));
  EXPECT_EQ("1:7: net of the coloured type \"x/pt-hlpng\"" + wanted,
            errorOf("<pnml><net id='n' type='x/pt-hlpng'/></pnml>"));
  EXPECT_EQ("1:7: net of the timed type \"http://x/timedPTNet\"" + wanted,
            errorOf("<pnml><net id='n' type='http://x/timedPTNet'/></pnml>"));
  EXPECT_EQ("1:7: net of the unknown type \"banana\"" + wanted,
            errorOf("<pnml><net id='n' type='banana'/></pnml>"));
}

TEST(PnmlReaderErrorTest, ColouredAndTimedElementsAreRefused) {
  const std::string wanted = PT_NET_WANTED;
  EXPECT_EQ("2:1: <declaration> belongs to a coloured net" + wanted, errorWith("<declaration/>"));
  EXPECT_EQ("3:2: <hlinitialMarking> belongs to a coloured net" + wanted,
            errorWith("<place id='p'>\n <hlinitialMarking/></place>"));
  EXPECT_EQ("2:15: <type> belongs to a coloured net" + wanted,
            errorWith("<place id='p'><type/></place>"));
  EXPECT_EQ("2:20: <condition> belongs to a coloured net" + wanted,
            errorWith("<transition id='t'><condition/></transition>"));
  EXPECT_EQ("3:28: <hlinscription> belongs to a coloured net" + wanted,
            errorWithArc("<arc source='p' target='t'><hlinscription/></arc>"));
  EXPECT_EQ("2:20: <delay> belongs to a timed net" + wanted,
            errorWith("<transition id='t'><delay/></transition>"));
  EXPECT_EQ("2:20: <interval> belongs to a timed net" + wanted,
            errorWith("<transition id='t'><interval/></transition>"));
}

TEST(PnmlReaderErrorTest, PropertiesThatMeanSomethingAreRefused) {
  EXPECT_EQ("2:25: capacity \"3\", expected an unbounded place (0)",
            errorWith("<place id='p'><capacity><value>3</value></capacity></place>"));
  EXPECT_EQ("2:27: timed \"true\", expected an untimed transition (false)",
            errorWith("<transition id='t'><timed><value>true</value></timed></transition>"));
  EXPECT_EQ("2:30: priority \"2\", expected transitions without priority (0 or 1)",
            errorWith("<transition id='t'><priority><value>2</value></priority></transition>"));
  EXPECT_EQ(
      "2:1: reference \"r\" names no place: \"p\", expected the id of a place\n"
      "2:32: <initialMarking> belongs to a differently marked net" +
          std::string(PT_NET_WANTED),
      errorWith("<referencePlace id='r' ref='p'><initialMarking/></referencePlace>"));
}

TEST(PnmlReaderErrorTest, UnknownArcTypesAreRefused) {
  const std::string wanted = ", expected \"normal\" or \"inhibitor\"";
  EXPECT_EQ("3:1: unknown arc type \"reset\"" + wanted,
            errorWithArc("<arc source='p' target='t' type='reset'/>"));
  EXPECT_EQ("3:28: unknown arc type \"read\"" + wanted,
            errorWithArc("<arc source='p' target='t'><type value='read'/></arc>"));
  EXPECT_EQ("3:37: unknown arc type \"\"" + wanted,
            errorWithArc("<arc source='p' target='t'><arctype><text/></arctype></arc>"));
}

TEST(PnmlReaderErrorTest, TokenCountsMustBeInRange) {
  for (const char* count :
       {"-1", "2147483648", "99999999999999999999", "1.5", "one", "", "+1", "1 2", "0x10"}) {
    EXPECT_EQ("2:31: initial marking \"" + std::string(count) +
                  "\", expected a number from 0 to 2147483647",
              errorWith("<place id='p'><initialMarking><text>" + std::string(count) +
                        "</text></initialMarking></place>"))
        << count;
  }
}

TEST(PnmlReaderErrorTest, WeightsMustBeInRange) {
  for (const char* weight : {"0", "-1", "2147483648", "w"}) {
    EXPECT_EQ(
        "3:41: arc weight \"" + std::string(weight) + "\", expected a number from 1 to 2147483647",
        errorWithArc("<arc source='p' target='t'><inscription><text>" + std::string(weight) +
                     "</text></inscription></arc>"))
        << weight;
  }
}

TEST(PnmlReaderErrorTest, TheSumOfWeightsMustBeInRange) {
  EXPECT_EQ(
      "4:1: the arcs from \"t\" to \"p\" weigh too much together, expected a sum of at most "
      "2147483647",
      errorWithArc(arcText("t", "p", 2147483647) + arcText("t", "p")));
}

TEST(PnmlReaderErrorTest, LabelsHaveOneTextAndStandOnce) {
  EXPECT_EQ("2:15: a label without text, expected one <text>",
            errorWith("<place id='p'><initialMarking/></place>"));
  EXPECT_EQ("2:46: a second text, expected one <text>",
            errorWith("<place id='p'><initialMarking><text>1</text> <text>2</text>"
                      "</initialMarking></place>"));
  EXPECT_EQ("3:1: a second <initialMarking>, expected one",
            errorWith("<place id='p'><initialMarking><text>1</text></initialMarking>\n"
                      "<initialMarking><text>1</text></initialMarking></place>"));
}

TEST(PnmlReaderErrorTest, IdsAreUnique) {
  const std::string wanted = ", expected an id of its own for each element";
  EXPECT_EQ("3:1: id \"p\" is taken" + wanted, errorWith("<place id='p'/>\n<place id='p'/>"));
  EXPECT_EQ("3:1: id \"p\" is taken" + wanted, errorWith("<place id='p'/>\n<transition id='p'/>"));
  EXPECT_EQ("3:1: id \"p\" is taken" + wanted,
            errorWith("<place id='p'/>\n<referencePlace id='p' ref='p'/>"));
  EXPECT_EQ("3:1: id \"p\" is taken" + wanted, errorWithArc("<arc id='p' source='p' target='t'/>"));
}

TEST(PnmlReaderErrorTest, IdsAndEndsMustBeThere) {
  EXPECT_EQ("2:1: <place> has no id, expected the attribute id=\"...\"", errorWith("<place/>"));
  EXPECT_EQ("2:1: <transition> has an empty id, expected a text", errorWith("<transition id=''/>"));
  EXPECT_EQ("2:1: id \"a?b\" has a control character, expected a plain text",
            errorWith("<place id='a&#10;b'/>"));
  EXPECT_EQ("1:7: <net> has no id, expected the attribute id=\"...\"",
            errorOf("<pnml><net/></pnml>"));
  EXPECT_EQ("3:1: <arc> has no source, expected the attribute source=\"...\"",
            errorWithArc("<arc target='t'/>"));
  EXPECT_EQ("3:1: <arc> has no target, expected the attribute target=\"...\"",
            errorWithArc("<arc source='p'/>"));
  EXPECT_EQ("2:1: <referencePlace> has no ref, expected the attribute ref=\"...\"",
            errorWith("<referencePlace id='r'/>"));
}

TEST(PnmlReaderErrorTest, ArcsMustJoinAPlaceAndATransition) {
  EXPECT_EQ(
      "3:1: the target \"x\" of the arc does not exist, expected the id of a place or transition",
      errorWithArc("<arc source='p' target='x'/>"));
  EXPECT_EQ(
      "3:1: the source \"a\" of the arc does not exist, expected the id of a place or transition",
      errorWithArc("<arc id='a' source='a' target='t'/>"));
  EXPECT_EQ(
      "3:1: the arc joins two places \"p\" and \"p\", expected one end at a place and one at a "
      "transition",
      errorWithArc("<arc source='p' target='p'/>"));
  EXPECT_EQ(
      "3:1: the arc joins two transitions \"t\" and \"t\", expected one end at a place and one at "
      "a transition",
      errorWithArc("<arc source='t' target='t'/>"));
  EXPECT_EQ(
      "3:1: an inhibitor arc leads to the place \"p\", expected one from a place to a transition",
      errorWithArc("<arc source='t' target='p' type='inhibitor'/>"));
}

TEST(PnmlReaderErrorTest, ReferencesMustLeadToANodeOfTheirKind) {
  EXPECT_EQ("2:1: reference \"r\" names no place: \"x\", expected the id of a place",
            errorWith("<referencePlace id='r' ref='x'/>"));
  EXPECT_EQ("3:1: reference \"r\" names no transition: \"p\", expected the id of a transition",
            errorWith("<place id='p'/>\n<referenceTransition id='r' ref='p'/>"));
  EXPECT_EQ("2:1: reference \"r\" leads back to itself, expected a place at the end of the chain",
            errorWith("<referencePlace id='r' ref='s'/>\n<referencePlace id='s' ref='r'/>"));
  EXPECT_EQ(
      "2:1: reference \"r\" leads back to itself, expected a transition at the end of the chain",
      errorWith("<referenceTransition id='r' ref='r'/>"));
}

TEST(PnmlReaderErrorTest, LongAndStrangeTextsAreShownShort) {
  const std::string id(100, 'i');
  EXPECT_EQ("3:1: id \"" + id.substr(0, 60) +
                "...\" is taken, expected an id of its own for each "
                "element",
            errorWith("<place id='" + id + "'/>\n<place id='" + id + "'/>"));
  std::string accents;
  for (int i = 0; i < 50; ++i) accents += "\xC3\xA9";
  EXPECT_EQ("2:31: initial marking \"x" + accents.substr(0, 58) +
                "...\", expected a number from 0 to 2147483647",
            errorWith("<place id='p'><initialMarking><text>x" + accents +
                      "</text></initialMarking></place>"));
}

// ---- Errors of the document --------------------------------------------------------------------

TEST(PnmlReaderErrorTest, AnEmptyDocumentIsRefused) {
  EXPECT_EQ("2:1: the document ends early, expected <pnml>", errorOf("\n"));
}

TEST(PnmlReaderErrorTest, OtherDocumentsAreRefused) {
  EXPECT_EQ("2:1: the document is a \"html\", expected <pnml>", errorOf("\n<html></html>"));
  EXPECT_EQ("1:1: malformed XML: not well-formed (invalid token), expected well-formed XML",
            errorOf("\x01\x02\x03"));
  EXPECT_EQ("1:1: malformed XML: syntax error, expected well-formed XML", errorOf("places 3"));
}

TEST(PnmlReaderErrorTest, ThereIsOneNet) {
  EXPECT_EQ("1:14: the document has no net, expected one <net>", errorOf("<pnml></pnml>"));
  EXPECT_EQ("2:1: a second net, expected one <net>",
            errorOf("<pnml><net id='n'/>\n<net id='m'/></pnml>"));
}

TEST(PnmlReaderErrorTest, MalformedDocumentsAreRefused) {
  EXPECT_EQ(
      "2:3: malformed XML: mismatched tag </net>, expected </pnml> for the element that begins at "
      "1:1",
      errorOf("<pnml>\n</net></pnml>"));
  EXPECT_EQ("2:21: malformed XML: duplicate attribute, expected well-formed XML",
            errorWith("<place id='p' x='1' x='2'/>"));
  EXPECT_EQ("2:1: malformed XML: unbound prefix, expected well-formed XML",
            errorWith("<q:place id='p'/>"));
  EXPECT_EQ("1:31: malformed XML: unknown encoding, expected well-formed XML",
            errorOf("<?xml version='1.0' encoding='x'?><pnml/>"));
  EXPECT_EQ("2:1: malformed XML: junk after document element, expected well-formed XML",
            errorOf("<pnml><net id='n'/></pnml>\n<pnml/>"));
}

TEST(PnmlReaderErrorTest, TruncatedDocumentsNameTheElementThatIsOpen) {
  EXPECT_EQ("2:1: the document ends early, expected the end of the element that begins at 1:7",
            errorOf("<pnml><net id='n'>\n"));
  EXPECT_EQ("2:3: the document ends early, expected the end of the element that begins at 1:1",
            errorOf("<pnml>\n  <net id='n"));
  EXPECT_EQ("1:7: the document ends early, expected the end of the element that begins at 1:1",
            errorOf("<pnml><!-- comment"));
}

TEST(PnmlReaderErrorTest, TextBetweenElementsIsRefused) {
  EXPECT_EQ("2:1: text \"5\" between elements, expected an element", errorWith("5"));
  EXPECT_EQ("2:31: text \"5\" between elements, expected an element",
            errorWith("<place id='p'><initialMarking>5</initialMarking></place>"));
}

TEST(PnmlReaderErrorTest, EntitiesMustStandInTheDocument) {
  EXPECT_EQ("2:1: malformed XML: undefined entity, expected well-formed XML", errorWith("&no;"));
  EXPECT_EQ("2:13: entity \"no\" is not declared in the document, expected one that is",
            errorOf("<!DOCTYPE pnml SYSTEM 'pnml.dtd'><pnml>\n<net id='n'>&no;</net></pnml>"));
  EXPECT_EQ("2:13: an entity is outside the document, expected one inside it",
            errorOf("<!DOCTYPE pnml [<!ENTITY e SYSTEM 'e.xml'>]><pnml>\n<net id='n'>&e;</net>"
                    "</pnml>"));
}

TEST(PnmlReaderErrorTest, AnEntityBombIsRefused) {
  std::string document = "<!DOCTYPE pnml [<!ENTITY e0 'lollollollollollollollollollol'>\n";
  for (int i = 1; i < 10; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    document += "<!ENTITY e" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) document += inner;
    document += "'>\n";
  }
  document += "]>\n<pnml><net id='n'><name><text>&e9;</text></name></net></pnml>";
  EXPECT_NE(std::string::npos,
            errorOf(document).find(": entities grow beyond all bounds, expected a document without "
                                   "such entities"));
}

TEST(PnmlReaderErrorTest, AnEntityThatContainsItselfIsRefused) {
  EXPECT_EQ("1:71: malformed XML: recursive entity reference, expected well-formed XML",
            errorOf("<!DOCTYPE pnml [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><pnml><net id='n'>&a;"
                    "</net></pnml>"));
}

TEST(PnmlReaderErrorTest, DeepNestingIsRefused) {
  std::string body;
  for (int i = 0; i < 2000; ++i) body += "<page id='p'>";
  EXPECT_EQ("2:12975: too many elements within each other, expected at most 1000", errorWith(body));
}

TEST(PnmlReaderErrorTest, EndlessTagsAndGapsAreRefused) {
  const std::string wanted =
      "a tag, comment or gap is longer than 16 MiB, expected a PNML document";
  EXPECT_EQ("1:1: " + wanted, errorOf("<" + std::string(40000000, 'a')));
  EXPECT_NE(std::string::npos, errorOf(std::string(40000000, ' ')).find(wanted));
  EXPECT_EQ("1:7: " + wanted, errorOf("<pnml><!--" + std::string(40000000, 'x')));
}

TEST(PnmlReaderErrorTest, AFolderIsNoDocument) {
  const std::unique_ptr<std::FILE, CloseFile> folder(std::fopen(".", "rb"));
  EXPECT_EQ("1:1: the file cannot be read (Is a directory), expected a PNML document",
            linesOf(pnml::readNet(folder.get()).errors));
}

// ---- several faults ----------------------------------------------------------------------------

TEST(PnmlReaderErrorTest, MismatchedTagIsNamedWithTheElementThatIsOpen) {
  EXPECT_EQ(
      "3:3: malformed XML: mismatched tag </plase>, expected </place> for the element that "
      "begins at 2:1",
      errorWith("<place id='p'>\n</plase>"));
  EXPECT_EQ(
      "3:3: malformed XML: mismatched tag </x:b>, expected </a> for the element that begins "
      "at 2:15",
      errorWith("<toolspecific><a>\n</x:b></toolspecific>"));
}

TEST(PnmlReaderErrorTest, LongNamesAreNamedInPart) {
  const std::string name(5000, 'n');
  const std::string error = errorWith("<place id='p'>\n</" + name + ">");
  EXPECT_EQ(0u, error.find("3:3: malformed XML: mismatched tag </nnn")) << error.substr(0, 80);
  EXPECT_LT(error.size(), name.size());
  const Reading reading = read(netDocument("<" + name + "/>"));
  EXPECT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
}

TEST(PnmlReaderErrorTest, OfALongNameSixtyCharactersAreNamed) {
  for (const std::size_t length : {59u, 60u, 61u, 100u}) {
    EXPECT_EQ("3:3: malformed XML: mismatched tag </" +
                  std::string(std::min<std::size_t>(length, 60), 'n') +
                  ">, expected </place> for the element that begins at 2:1",
              errorWith("<place id='p'>\n</" + std::string(length, 'n') + ">"));
  }
}

// Each of its two bytes is the number of a control character.
TEST(PnmlReaderErrorTest, AWideCharacterOfAMismatchedTagIsNamedByQuestionMarks) {
  for (bool bigEndian : {false, true}) {
    std::string text = utf16("<pnml></#>", bigEndian);
    text.replace(text.find('#') - (bigEndian ? 1 : 0), 2, bigEndian ? "\x7F\x16" : "\x16\x7F");
    const std::string error = errorOf(text);
    EXPECT_NE(std::string::npos, error.find("mismatched tag </?\?>, expected </pnml>")) << error;
  }
}

TEST(PnmlReaderErrorTest, ATagThatClosesNothingIsNamed) {
  EXPECT_NE("", errorOf("<pnml></pnml></pnml>"));
  EXPECT_NE("", errorOf("</pnml>"));
}

TEST(PnmlReaderErrorTest, ElementsOfOurNamespaceAreKnownByItToo) {
  const Reading reading = read(
      "<pnml xmlns='http://www.pnml.org/version-2009/grammar/pnml'><net id='n' "
      "type='http://www.pnml.org/version-2009/grammar/ptnet'><page id='g'>"
      "<x:place xmlns:x='http://www.pnml.org/version-2009/grammar/other' id='p'/>"
      "</page></net></pnml>");
  ASSERT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
  EXPECT_EQ(1u, reading.net->places.size());
}

TEST(PnmlReaderErrorTest, MismatchedTagOfWiderCharactersIsNamed) {
  for (bool bigEndian : {false, true}) {
    const std::string error = errorOf(utf16("<pnml></net>", bigEndian));
    EXPECT_NE(std::string::npos, error.find("mismatched tag </net>, expected </pnml>")) << error;
  }
}

TEST(PnmlReaderErrorTest, MisspeltElementIsRefusedByItsName) {
  const std::string wanted = ">, expected that or another element of a place/transition net";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"plase", "place"},
      {"Place", "place"},
      {"palce", "place"},
      {"places", "place"},
      {"transtion", "transition"},
      {"trasnitions", "transition"},
      {"Arc", "arc"},
      {"referenceplace", "referencePlace"},
  };
  for (const auto& [name, known] : cases) {
    EXPECT_EQ("2:1: element \"" + name + "\" looks like a misspelt <" + known + wanted,
              errorWith("<" + name + " id='p'/>"));
  }
  EXPECT_EQ("2:15: element \"initialmarking\" looks like a misspelt <initialMarking" + wanted,
            errorWith("<place id='p'><initialmarking><text>5</text></initialmarking></place>"));
  EXPECT_EQ("2:15: element \"graphic\" looks like a misspelt <graphics" + wanted,
            errorWith("<place id='p'><graphic/></place>"));
}

// A short name is near to many words, and what another tool calls its own is nobody's mistake.
TEST(PnmlReaderErrorTest, OtherUnknownElementsAreNotTakenForMisspeltOnes) {
  for (const char* body :
       {"<place id='p'><date/></place>", "<place id='p'><note/></place>", "<labels/>", "<ark/>",
        "<x:plase xmlns:x='http://example.org'/>", "<inscription/>", "<animation/>"}) {
    const Reading reading = read(netDocument(body));
    EXPECT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
    EXPECT_EQ(1u, reading.warnings.size()) << body;
  }
}

// Of eight letters one may be wrong, of longer names two.
TEST(PnmlReaderErrorTest, ALongerNameMayHaveMoreWrongLetters) {
  for (const char* name : {"kapazity", "grafics"}) {
    const Reading reading = read(netDocument("<place id='p'><" + std::string(name) + "/></place>"));
    EXPECT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
    EXPECT_EQ(1u, reading.warnings.size()) << name;
  }
  for (const char* name : {"ace", "xxplace", "plac_xx", "plaxxce"}) {
    const Reading reading = read(netDocument("<" + std::string(name) + "/>"));
    EXPECT_TRUE(reading.net.has_value()) << linesOf(reading.errors);
    EXPECT_EQ(1u, reading.warnings.size()) << name;
  }
  EXPECT_NE("", errorWith("<place id='p'><kapacity/></place>"));
  EXPECT_NE("", errorWith("<dransidion id='t'/>"));
}

// The ring is the fault, not who leads into it.
TEST(PnmlReaderErrorTest, AReferenceIntoARingIsNotAFaultOfItsOwn) {
  EXPECT_EQ("2:1: reference \"r\" leads back to itself, expected a place at the end of the chain",
            errorWith("<referencePlace id='r' ref='s'/>\n<referencePlace id='s' ref='r'/>\n"
                      "<referencePlace id='q' ref='r'/>"));
}

TEST(PnmlReaderErrorTest, AllFaultsAreFoundInTheOrderOfTheirPlaces) {
  EXPECT_EQ(
      "2:1: the source \"q\" of the arc does not exist, expected the id of a place or transition\n"
      "4:32: initial marking \"x\", expected a number from 0 to 2147483647\n"
      "5:1: id \"t\" is taken, expected an id of its own for each element\n"
      "6:28: unknown arc type \"odd\", expected \"normal\" or \"inhibitor\"\n"
      "7:1: reference \"r\" names no place: \"none\", expected the id of a place\n"
      "8:1: the arc joins two transitions \"t\" and \"t\", expected one end at a place and one at "
      "a "
      "transition",
      errorWith("<arc source='q' target='t'/>\n"
                "<transition id='t'/>\n"
                "<place id='p'><initialMarking> <text>x</text></initialMarking></place>\n"
                "<place id='t'/>\n"
                "<arc source='p' target='t'><type value='odd'/></arc>\n"
                "<referencePlace id='r' ref='none'/>\n"
                "<arc source='t' target='t'/>"));
}

TEST(PnmlReaderErrorTest, WhoNamesAnElementWithAFaultIsNotAtFault) {
  EXPECT_EQ(
      "2:1: element \"plase\" looks like a misspelt <place>, expected that or another element "
      "of a place/transition net",
      errorWith("<plase id='p'><initialMarking><text>x</text></initialMarking></plase>"
                "<plase id='q'/><transition id='t'/><referencePlace id='r' ref='p'/>"
                "<arc source='p' target='t'/><arc source='t' target='q'/>"
                "<arc source='r' target='t'/>"));
}

TEST(PnmlReaderErrorTest, RefusedElementsAreReportedOnceForEachName) {
  EXPECT_EQ("2:15: <type> belongs to a coloured net" + std::string(PT_NET_WANTED),
            errorWith("<place id='p'><type/></place><place id='q'><type/></place>"));
}

TEST(PnmlReaderErrorTest, ReportsTwentyFaultsAtMost) {
  std::string arcs;
  for (int i = 0; i < 50; ++i) arcs += "<arc source='x' target='y'/>\n";
  EXPECT_EQ(20u, read(netDocument(arcs)).errors.size());
  std::string places;
  for (int i = 0; i < 50; ++i) places += "<place/>\n";
  const Reading reading = read(netDocument(places));
  ASSERT_EQ(20u, reading.errors.size());
  EXPECT_EQ(21u, reading.errors.back().at.line);
}

// What a part of a document lacks is no fault of the part that is there.
TEST(PnmlReaderErrorTest, DanglingArcsOfADocumentThatBreaksOffAreNotReported) {
  EXPECT_EQ(
      "1:49: malformed XML: mismatched tag </place>, expected </net> for the element that "
      "begins at 1:7",
      errorOf("<pnml><net id='n'><arc source='p' target='t'/></place>"));
}
