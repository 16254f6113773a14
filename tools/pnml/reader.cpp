#include "reader.hpp"

#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <set>
#include <type_traits>
#include <utility>

#include "fault.hpp"
#include "net-builder.hpp"

namespace pnml {

namespace {

const char* const PNML_NAMESPACE = "http://www.pnml.org/";
const char* const NET_TYPE_WANTED =
    ", expected a place/transition net (http://www.pnml.org/version-2009/grammar/ptnet)";
const char* const TOKENS_WANTED = ", expected a number from 0 to 2147483647";
const char* const WEIGHT_WANTED = ", expected a number from 1 to 2147483647";
const char* const ARC_TYPE_WANTED = ", expected \"normal\" or \"inhibitor\"";
const char* const ONE_TEXT_WANTED = ", expected one <text>";
const char* const OUT_OF_MEMORY = "the net is too large, expected one that fits into memory";

constexpr int CHUNK = 1 << 16;           // bytes read at once
constexpr int MAX_TOKEN = 1 << 24;       // bytes of a single tag, comment or run of blanks
constexpr std::size_t MAX_DEPTH = 1000;  // of nested elements
constexpr std::size_t MAX_VALUE = 1000;  // bytes kept of the text of a label
constexpr std::size_t MAX_NAME = 60;     // bytes kept of the name of an element, for messages
constexpr std::size_t MAX_WARNINGS = 10;

const char* const BLANKS = " \t\r\n";

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(BLANKS);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

// ---- What a document is made of ----------------------------------------------------------------

// The elements that matter, each in its place. What is in a SKIPPED element never matters.
enum class Element {
  DOCUMENT,
  PNML,
  NET,
  PAGE,
  PLACE,
  TRANSITION,
  ARC,
  REFERENCE_PLACE,
  REFERENCE_TRANSITION,
  MARKING,
  INSCRIPTION,
  ARC_TYPE,
  PROPERTY,
  TEXT,
  SKIPPED
};

constexpr unsigned int bit(Element element) {
  return 1u << static_cast<unsigned int>(element);
}

constexpr unsigned int AREAS = bit(Element::NET) | bit(Element::PAGE);
constexpr unsigned int NODES = bit(Element::PLACE) | bit(Element::TRANSITION) |
                               bit(Element::REFERENCE_PLACE) | bit(Element::REFERENCE_TRANSITION);
constexpr unsigned int OBJECTS = AREAS | NODES | bit(Element::ARC);
constexpr unsigned int LABELS = bit(Element::MARKING) | bit(Element::INSCRIPTION) |
                                bit(Element::ARC_TYPE) | bit(Element::PROPERTY);

struct Rule {
  unsigned int parents;
  const char* name;
  Element element;
};

constexpr Rule RULES[] = {
    {bit(Element::DOCUMENT), "pnml", Element::PNML},
    {bit(Element::PNML), "net", Element::NET},
    {AREAS, "page", Element::PAGE},
    {AREAS, "place", Element::PLACE},
    {AREAS, "transition", Element::TRANSITION},
    {AREAS, "arc", Element::ARC},
    {AREAS, "referencePlace", Element::REFERENCE_PLACE},
    {AREAS, "referenceTransition", Element::REFERENCE_TRANSITION},
    {bit(Element::PLACE), "initialMarking", Element::MARKING},
    {bit(Element::ARC), "inscription", Element::INSCRIPTION},
    {bit(Element::ARC), "type", Element::ARC_TYPE},
    {bit(Element::ARC), "arctype", Element::ARC_TYPE},
    {bit(Element::PLACE), "capacity", Element::PROPERTY},
    {bit(Element::TRANSITION), "priority", Element::PROPERTY},
    {bit(Element::TRANSITION), "timed", Element::PROPERTY},
    {LABELS, "text", Element::TEXT},
    {LABELS, "value", Element::TEXT},
    // Names, drawings and the private notes of tools.
    {OBJECTS, "name", Element::SKIPPED},
    {OBJECTS | LABELS, "graphics", Element::SKIPPED},
    {OBJECTS | LABELS | bit(Element::PNML), "toolspecific", Element::SKIPPED},
    {NODES, "orientation", Element::SKIPPED},
    {NODES, "infiniteServer", Element::SKIPPED},
    {NODES, "rate", Element::SKIPPED},
    {bit(Element::ARC), "arcpath", Element::SKIPPED},
    {bit(Element::ARC), "tagged", Element::SKIPPED},
};

// Elements that change what a net means.
struct Refusal {
  unsigned int parents;
  const char* name;
  const char* meaning;
};

constexpr Refusal REFUSALS[] = {
    {OBJECTS, "declaration", "coloured"},
    {OBJECTS, "hlinitialMarking", "coloured"},
    {OBJECTS, "hlinscription", "coloured"},
    {OBJECTS, "condition", "coloured"},
    {bit(Element::PLACE), "type", "coloured"},
    {OBJECTS, "delay", "timed"},
    {OBJECTS, "interval", "timed"},
    {OBJECTS, "time", "timed"},
    {OBJECTS, "timing", "timed"},
    {OBJECTS, "invariant", "timed"},
    {bit(Element::REFERENCE_PLACE), "initialMarking", "differently marked"},
};

// Properties that some tools write for every node, with the values that mean nothing.
struct Property {
  const char* name;
  const char* meaningless[2];
  const char* wanted;
};

constexpr Property PROPERTIES[] = {
    {"capacity", {"0", "0"}, ", expected an unbounded place (0)"},
    {"priority", {"0", "1"}, ", expected transitions without priority (0 or 1)"},
    {"timed", {"false", "false"}, ", expected an untimed transition (false)"},
};

// Net types are URLs, or words of a tool. The last part of one may say that a net is none of ours;
// otherwise one of the first list must be in there somewhere.
constexpr const char* PLAIN_NETS[] = {"ptnet", "p/t", "epnml", "pnmlcoremodel"};
constexpr const char* COLOURED_NETS[] = {"symmetricnet", "highlevel", "hlpn", "hlnet", "colo"};
constexpr const char* TIMED_NETS[] = {"time", "tpn", "stochastic", "gspn"};

template <class Words>
bool containsAny(const std::string& text, const Words& words) {
  for (const char* word : words) {
    if (text.find(word) != std::string::npos) return true;
  }
  return false;
}

void checkNetType(const std::string& type, Position at) {
  std::string text = type;
  for (char& c : text) {
    if ('A' <= c && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  const std::string last = text.substr(text.find_last_of('/') + 1);
  const char* kind = "unknown";
  if (containsAny(last, COLOURED_NETS)) {
    kind = "coloured";
  } else if (containsAny(last, TIMED_NETS)) {
    kind = "timed";
  } else if (containsAny(text, PLAIN_NETS)) {
    return;
  }
  throw FinalFault(at,
                   "net of the " + std::string(kind) + " type " + quoted(type) + NET_TYPE_WANTED);
}

// ---- Misspelt names ----------------------------------------------------------------------------

char lower(char c) {
  return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same(char one, char other) {
  return lower(one) == lower(other);
}

// How many letters must be added, left out, replaced or exchanged with their neighbour, whatever
// their case; more than any limit when the lengths differ much.
std::size_t distance(const std::string& one, const std::string& other) {
  constexpr std::size_t FAR = 100;
  if (one.size() > other.size() + 2 || other.size() > one.size() + 2) return FAR;
  std::vector<std::vector<std::size_t>> steps(one.size() + 1,
                                              std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      std::size_t& best = steps[i][j];
      if (i == 0 || j == 0) {
        best = i + j;
        continue;
      }
      const bool equal = same(one[i - 1], other[j - 1]);
      best = std::min(
          {steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + (equal ? 0 : 1)});
      const bool exchanged =
          i > 1 && j > 1 && same(one[i - 1], other[j - 2]) && same(one[i - 2], other[j - 1]);
      if (exchanged) best = std::min(best, steps[i - 2][j - 2] + 1);
    }
  }
  return steps[one.size()][other.size()];
}

// Short names are near to many words, so only a letter of the wrong case counts there.
bool looksLike(const char* name, const std::string& known) {
  const std::size_t most = known.size() <= 4 ? 0 : known.size() <= 8 ? 1 : 2;
  return strnlen(name, MAX_NAME) < MAX_NAME && distance(name, known) <= most;
}

// ---- The reader --------------------------------------------------------------------------------

// The text inside a label such as <initialMarking>.
struct Value {
  std::string text;
  Position at;  // of the label until there is a <text>, then of that
  int count = 0;
};

// Turns the events of the XML parser into a net.
class Reader {
 public:
  Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  void read(std::FILE* document, Reading& reading);

 private:
  struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  struct Open {
    Element element;
    Position at;
    std::string name;      // its beginning, for messages
    bool hasText = false;  // which is a fault; reported
  };

  // The handlers that the parser calls. After a fault the element is passed over; a final fault
  // stops the parser.
  static void XMLCALL onStart(void* reader, const XML_Char* name, const XML_Char** attributes);
  static void XMLCALL onEnd(void* reader, const XML_Char* name);
  static void XMLCALL onText(void* reader, const XML_Char* text, int length);
  static void XMLCALL onSkippedEntity(void* reader, const XML_Char* name, int isParameter);
  static int XMLCALL onExternalEntity(XML_Parser parser, const XML_Char* context,
                                      const XML_Char* base, const XML_Char* system,
                                      const XML_Char* publicName);
  template <class Action>
  bool guarded(Action action);
  void stop();

  bool feed(std::FILE* document);
  bool feedChunk(std::FILE* document, int size, bool& last);
  Fault faultOfParser() const;
  Fault mismatch() const;
  std::string nameHere() const;
  Position here() const;

  void start(const char* qualifiedName, const char** attributes);
  void open(const Rule& rule, const char** attributes);
  void openNet(const char** attributes);
  void openNode(Element element, const char** attributes);
  void openArc(const char** attributes);
  void openLabel(const Rule& rule, const char** attributes);
  void openText();
  bool refuse(Element parent, const char* name, bool ours);
  bool isMisspelt(Element parent, const char* name);
  void warn(const char* name);
  void push(Element element, const char* name);
  void passOver(const char* qualifiedName, const char** attributes);
  void end();
  void closeProperty();
  void text(const char* text, int length);

  bool isOurs(const std::string& space) const;
  const char* required(const char** attributes, const char* name, const char* element) const;
  const char* requiredId(const char** attributes, const char* element) const;
  void setArcType(const std::string& type, Position at);
  int number(int low, const char* what, const char* wanted) const;

  std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> mParser;
  NetBuilder mBuilder;
  std::vector<Open> mOpen;  // the elements around the present position, outermost first
  std::optional<std::string> mNamespace;  // of the root element; empty before that
  Value mValue;                           // of the label that is open
  const Property* mProperty;              // the property that is open
  Arc mArc;                               // the arc that is open
  unsigned int mSeen;                     // the labels of the object that is open
  bool mHasNet;
  std::set<std::string> mUnknown;  // names of elements that were warned about or refused
  std::vector<Message> mWarnings;
  Faults mFaults;
  bool mStopped;  // the rest of the document cannot be understood, or there are enough faults
};

Reader::Reader()
    : mParser(XML_ParserCreateNS(nullptr, ' ')),
      mProperty(nullptr),
      mSeen(0),
      mHasNet(false),
      mStopped(false) {
  if (mParser == nullptr) throw std::bad_alloc();
  XML_Parser parser = mParser.get();
  XML_SetUserData(parser, this);
  XML_SetElementHandler(parser, onStart, onEnd);
  XML_SetCharacterDataHandler(parser, onText);
  XML_SetSkippedEntityHandler(parser, onSkippedEntity);
  XML_SetExternalEntityRefHandler(parser, onExternalEntity);
  mOpen.push_back({Element::DOCUMENT, {}, ""});
}

// What the parts of the net have to do with each other is looked at when all are there.
void Reader::read(std::FILE* document, Reading& reading) {
  if (feed(document)) {
    if (!mHasNet) mFaults.add({here(), "the document has no net, expected one <net>"});
    Net net = mBuilder.build(mFaults);
    if (mFaults.empty()) reading.net = std::move(net);
  }
  for (const Fault& fault : mFaults.inOrder()) reading.errors.push_back({fault.at(), fault.text()});
  if (reading.net) reading.warnings = std::move(mWarnings);
}

// ---- Input -------------------------------------------------------------------------------------

Position Reader::here() const {
  return {static_cast<unsigned long>(XML_GetCurrentLineNumber(mParser.get())),
          static_cast<unsigned long>(XML_GetCurrentColumnNumber(mParser.get())) + 1};
}

// The parser looks again at a token that it has not seen the end of. Chunks as long as that token
// keep the time in proportion to the document. False when the end was not reached.
bool Reader::feed(std::FILE* document) {
  XML_Index fed = 0;
  XML_Index pending = 0;
  for (bool last = false; !last;) {
    const int size = std::max(CHUNK, static_cast<int>(pending));
    if (!feedChunk(document, size, last)) return false;
    fed += size;
    pending = fed - (mNamespace ? XML_GetCurrentByteIndex(mParser.get()) : 0);
    if (!last && pending > MAX_TOKEN) {
      mFaults.add(
          {here(), "a tag, comment or gap is longer than 16 MiB, expected a PNML document"});
      return false;
    }
  }
  return true;
}

bool Reader::feedChunk(std::FILE* document, int size, bool& last) {
  void* buffer = XML_GetBuffer(mParser.get(), size);
  if (buffer == nullptr) throw std::bad_alloc();
  const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(size), document);
  if (std::ferror(document)) {
    mFaults.add({here(), "the file cannot be read (" + std::string(std::strerror(errno)) +
                             "), expected a PNML document"});
    return false;
  }
  last = got < static_cast<std::size_t>(size);
  if (XML_ParseBuffer(mParser.get(), static_cast<int>(got), last) == XML_STATUS_OK) return true;
  if (!mStopped) mFaults.add(faultOfParser());
  return false;
}

Fault Reader::faultOfParser() const {
  const XML_Error code = XML_GetErrorCode(mParser.get());
  if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  if (code == XML_ERROR_AMPLIFICATION_LIMIT_BREACH) {
    return {here(), "entities grow beyond all bounds, expected a document without such entities"};
  }
  if (code == XML_ERROR_TAG_MISMATCH) return mismatch();
  const bool early = code == XML_ERROR_NO_ELEMENTS || code == XML_ERROR_UNCLOSED_TOKEN ||
                     code == XML_ERROR_PARTIAL_CHAR || code == XML_ERROR_UNCLOSED_CDATA_SECTION;
  if (!early) {
    return {here(),
            "malformed XML: " + std::string(XML_ErrorString(code)) + ", expected well-formed XML"};
  }
  if (mOpen.size() == 1) return {here(), "the document ends early, expected <pnml>"};
  const Position at = mOpen.back().at;
  return {here(), "the document ends early, expected the end of the element that begins at " +
                      std::to_string(at.line) + ":" + std::to_string(at.column)};
}

// An end tag that is not that of the element that is open; there is one, or the tag is no token.
Fault Reader::mismatch() const {
  const Open& open = mOpen.back();
  return {here(), "malformed XML: mismatched tag </" + nameHere() + ">, expected </" + open.name +
                      "> for the element that begins at " + std::to_string(open.at.line) + ":" +
                      std::to_string(open.at.column)};
}

// The name at which the parser has stopped, as the document has it. Of wider characters the bytes
// that are 0 are left out.
std::string Reader::nameHere() const {
  int at = 0;
  int size = 0;
  const char* const input = XML_GetInputContext(mParser.get(), &at, &size);
  std::string name;
  for (; input != nullptr && at < size && name.size() < MAX_NAME; ++at) {
    const char c = input[at];
    if (c == '>' || (c != '\0' && std::strchr(BLANKS, c) != nullptr)) break;
    if (c != '\0') name += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  }
  return name;
}

// ---- Handlers ----------------------------------------------------------------------------------

void Reader::stop() {
  mStopped = true;
  XML_StopParser(mParser.get(), XML_FALSE);
}

// Runs an action of the reader; after a final fault none is run. False when there was a fault.
template <class Action>
bool Reader::guarded(Action action) {
  if (mStopped) return false;
  try {
    action();
    return true;
  } catch (const FinalFault& fault) {
    mFaults.add(fault);
    stop();
  } catch (const Fault& fault) {
    mFaults.add(fault);
    if (mFaults.full()) stop();
  } catch (const std::bad_alloc&) {
    mFaults.add({here(), OUT_OF_MEMORY});
    stop();
  }
  return false;
}

void Reader::onStart(void* reader, const XML_Char* name, const XML_Char** attributes) {
  Reader& self = *static_cast<Reader*>(reader);
  if (self.guarded([&] { self.start(name, attributes); })) return;
  self.guarded([&] { self.passOver(name, attributes); });
}

void Reader::onEnd(void* reader, const XML_Char*) {
  Reader& self = *static_cast<Reader*>(reader);
  self.guarded([&] { self.end(); });
}

void Reader::onText(void* reader, const XML_Char* text, int length) {
  Reader& self = *static_cast<Reader*>(reader);
  self.guarded([&] { self.text(text, length); });
}

void Reader::onSkippedEntity(void* reader, const XML_Char* name, int isParameter) {
  if (isParameter != 0) return;
  Reader& self = *static_cast<Reader*>(reader);
  self.guarded([&] {
    throw Fault(self.here(), "entity " + quoted(name) +
                                 " is not declared in the document, expected one that is");
  });
}

int Reader::onExternalEntity(XML_Parser parser, const XML_Char*, const XML_Char*, const XML_Char*,
                             const XML_Char*) {
  Reader& self = *static_cast<Reader*>(XML_GetUserData(parser));
  self.guarded([&] {
    throw FinalFault(self.here(), "an entity is outside the document, expected one inside it");
  });
  return XML_STATUS_ERROR;
}

// ---- Elements ----------------------------------------------------------------------------------

const char* attribute(const char** attributes, const char* name) {
  for (; *attributes != nullptr; attributes += 2) {
    if (std::strcmp(attributes[0], name) == 0) return attributes[1];
  }
  return nullptr;
}

// Behind the namespace and a blank.
const char* localName(const char* qualifiedName) {
  const char* const blank = std::strchr(qualifiedName, ' ');
  return blank != nullptr ? blank + 1 : qualifiedName;
}

const char* Reader::required(const char** attributes, const char* name, const char* element) const {
  if (const char* value = attribute(attributes, name)) return value;
  throw Fault(here(), "<" + std::string(element) + "> has no " + name +
                          ", expected the attribute " + name + "=\"...\"");
}

const char* Reader::requiredId(const char** attributes, const char* element) const {
  const char* id = required(attributes, "id", element);
  for (const char* c = id; *c != '\0'; ++c) {
    if (static_cast<unsigned char>(*c) < 0x20) {
      throw Fault(here(), "id " + quoted(id) + " has a control character, expected a plain text");
    }
  }
  if (*id != '\0') return id;
  throw Fault(here(), "<" + std::string(element) + "> has an empty id, expected a text");
}

bool Reader::isOurs(const std::string& space) const {
  return space.empty() || space == *mNamespace || space.rfind(PNML_NAMESPACE, 0) == 0;
}

void Reader::push(Element element, const char* name) {
  if (mOpen.size() > MAX_DEPTH) {
    throw FinalFault(here(), "too many elements within each other, expected at most " +
                                 std::to_string(MAX_DEPTH));
  }
  mOpen.push_back({element, here(), std::string(name, strnlen(name, MAX_NAME))});
}

// An element with a fault is as if it were not there, and who names it is not at fault.
void Reader::passOver(const char* qualifiedName, const char** attributes) {
  if (const char* id = attribute(attributes, "id")) mBuilder.lose(id);
  push(Element::SKIPPED, localName(qualifiedName));
}

void Reader::start(const char* qualifiedName, const char** attributes) {
  const Element parent = mOpen.back().element;
  const char* const name = localName(qualifiedName);
  if (parent == Element::SKIPPED) {
    push(Element::SKIPPED, name);
    return;
  }
  const std::string space =
      name != qualifiedName ? std::string(qualifiedName, name - 1) : std::string();
  if (parent == Element::DOCUMENT) mNamespace = space;
  const bool ours = isOurs(space);
  if (!refuse(parent, name, ours)) {
    for (const Rule& rule : RULES) {
      if (!ours || (rule.parents & bit(parent)) == 0 || std::strcmp(rule.name, name) != 0) continue;
      open(rule, attributes);
      return;
    }
    if (!ours || !isMisspelt(parent, name)) {
      warn(name);
      push(Element::SKIPPED, name);
      return;
    }
  }
  passOver(qualifiedName, attributes);
}

// Whether an element changes what the net means. The first one of each name is a fault.
bool Reader::refuse(Element parent, const char* name, bool ours) {
  if (parent == Element::DOCUMENT && std::strcmp(name, "pnml") != 0) {
    throw FinalFault(here(), "the document is a " + quoted(name) + ", expected <pnml>");
  }
  for (const Refusal& refusal : REFUSALS) {
    if (!ours || (refusal.parents & bit(parent)) == 0) continue;
    if (std::strcmp(refusal.name, name) != 0) continue;
    if (!mUnknown.insert(name).second) return true;
    throw Fault(here(), "<" + std::string(name) + "> belongs to a " + refusal.meaning + " net" +
                            NET_TYPE_WANTED);
  }
  return false;
}

// Whether an unknown element looks like one that may stand here. The first one of each name is a
// fault.
bool Reader::isMisspelt(Element parent, const char* name) {
  for (const Rule& rule : RULES) {
    if ((rule.parents & bit(parent)) == 0 || !looksLike(name, rule.name)) continue;
    if (!mUnknown.insert(name).second) return true;
    throw Fault(here(), "element " + quoted(name) + " looks like a misspelt <" + rule.name +
                            ">, expected that or another element of a place/transition net");
  }
  return false;
}

void Reader::warn(const char* name) {
  if (mWarnings.size() == MAX_WARNINGS || !mUnknown.insert(name).second) return;
  mWarnings.push_back({here(), "unknown element " + quoted(name) +
                                   " is ignored, expected an element of a place/transition net"});
}

void Reader::open(const Rule& rule, const char** attributes) {
  if ((bit(rule.element) & AREAS) == 0 && (bit(mOpen.back().element) & AREAS) != 0) mSeen = 0;
  switch (rule.element) {
    case Element::NET:
      openNet(attributes);
      break;
    case Element::PLACE:
    case Element::TRANSITION:
    case Element::REFERENCE_PLACE:
    case Element::REFERENCE_TRANSITION:
      openNode(rule.element, attributes);
      break;
    case Element::ARC:
      openArc(attributes);
      break;
    case Element::MARKING:
    case Element::INSCRIPTION:
    case Element::ARC_TYPE:
    case Element::PROPERTY:
      openLabel(rule, attributes);
      break;
    case Element::TEXT:
      openText();
      break;
    default:
      break;
  }
  push(rule.element, rule.name);
}

void Reader::openNet(const char** attributes) {
  if (mHasNet) throw Fault(here(), "a second net, expected one <net>");
  mHasNet = true;
  mBuilder.setId(requiredId(attributes, "net"));
  if (const char* type = attribute(attributes, "type")) checkNetType(type, here());
}

void Reader::openNode(Element element, const char** attributes) {
  switch (element) {
    case Element::PLACE:
      mBuilder.addPlace(requiredId(attributes, "place"), here());
      break;
    case Element::TRANSITION:
      mBuilder.addTransition(requiredId(attributes, "transition"), here());
      break;
    case Element::REFERENCE_PLACE:
      mBuilder.addReferencePlace(requiredId(attributes, "referencePlace"),
                                 required(attributes, "ref", "referencePlace"), here());
      break;
    default:
      mBuilder.addReferenceTransition(requiredId(attributes, "referenceTransition"),
                                      required(attributes, "ref", "referenceTransition"), here());
      break;
  }
}

void Reader::openArc(const char** attributes) {
  mArc = Arc();
  if (attribute(attributes, "id") != nullptr) mArc.id = requiredId(attributes, "arc");
  mArc.source = required(attributes, "source", "arc");
  mArc.target = required(attributes, "target", "arc");
  mArc.at = here();
  if (const char* type = attribute(attributes, "type")) setArcType(type, here());
}

void Reader::openLabel(const Rule& rule, const char** attributes) {
  if (rule.element != Element::PROPERTY) {
    if ((mSeen & bit(rule.element)) != 0) {
      throw Fault(here(), "a second <" + std::string(rule.name) + ">, expected one");
    }
    mSeen |= bit(rule.element);
  }
  mValue = Value();
  mValue.at = here();
  mProperty = std::find_if(std::begin(PROPERTIES), std::end(PROPERTIES), [&](const Property& each) {
    return std::strcmp(each.name, rule.name) == 0;
  });
  if (const char* value = attribute(attributes, "value")) {
    mValue.text = value;
    ++mValue.count;
  }
}

void Reader::openText() {
  if (mValue.count != 0) throw Fault(here(), "a second text" + std::string(ONE_TEXT_WANTED));
  ++mValue.count;
  mValue.at = here();
}

void Reader::text(const char* text, int length) {
  const Element element = mOpen.back().element;
  if (element == Element::SKIPPED) return;
  const std::string piece(text, static_cast<std::size_t>(length));
  if (element != Element::TEXT) {
    if (mOpen.back().hasText || piece.find_first_not_of(BLANKS) == std::string::npos) return;
    mOpen.back().hasText = true;
    throw Fault(here(),
                "text " + quoted(trimmed(piece)) + " between elements, expected an element");
  }
  const std::size_t room = MAX_VALUE - std::min(MAX_VALUE, mValue.text.size());
  mValue.text.append(piece, 0, room);
}

// ---- Labels ------------------------------------------------------------------------------------

void Reader::end() {
  const Element element = mOpen.back().element;
  const bool hasText = mOpen.back().hasText;
  mOpen.pop_back();
  if ((bit(element) & LABELS) != 0 && mValue.count == 0) {
    if (hasText) return;
    throw Fault(mValue.at, "a label without text" + std::string(ONE_TEXT_WANTED));
  }
  switch (element) {
    case Element::ARC:
      mBuilder.addArc(mArc);
      break;
    case Element::MARKING:
      mBuilder.setTokens(number(0, "initial marking", TOKENS_WANTED));
      break;
    case Element::INSCRIPTION:
      mArc.weight = number(1, "arc weight", WEIGHT_WANTED);
      break;
    case Element::ARC_TYPE:
      setArcType(trimmed(mValue.text), mValue.at);
      break;
    case Element::PROPERTY:
      closeProperty();
      break;
    default:
      break;
  }
}

int Reader::number(int low, const char* what, const char* wanted) const {
  const std::string text = trimmed(mValue.text);
  int value = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, value);
  if (result.ec == std::errc() && result.ptr == end && value >= low) return value;
  throw Fault(mValue.at, std::string(what) + " " + quoted(text) + wanted);
}

void Reader::setArcType(const std::string& type, Position at) {
  mArc.inhibitor = type == "inhibitor";
  if (mArc.inhibitor || type == "normal") return;
  throw Fault(at, "unknown arc type " + quoted(type) + ARC_TYPE_WANTED);
}

void Reader::closeProperty() {
  const std::string text = trimmed(mValue.text);
  for (const char* meaningless : mProperty->meaningless) {
    if (text == meaningless) return;
  }
  throw Fault(mValue.at, std::string(mProperty->name) + " " + quoted(text) + mProperty->wanted);
}

}  // namespace

Reading readNet(std::FILE* document) {
  Reading reading;
  try {
    Reader reader;
    reader.read(document, reading);
  } catch (const std::bad_alloc&) {
    reading = Reading();
    reading.errors.push_back({{}, OUT_OF_MEMORY});
  }
  return reading;
}

}  // namespace pnml
