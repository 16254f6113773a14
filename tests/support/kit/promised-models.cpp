#include "kit/promised-models.hpp"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "draw.hpp"
#include "kit/trees.hpp"

using Vesk::Locality;

namespace kit {

// ---- PromisedAtom ----------------------------------------------------------------------------

namespace {

Leaf* foreignLeaf() {
  static auto& leaf = *new Leaf(new Atomleaf("foreign"));
  return &leaf;
}

bool raisesPrune(Signal signal) {
  return signal == Signal::PRUNE || signal == Signal::PRUNE_LEAF || signal == Signal::PRUNE_OWN;
}

bool raisesError(Signal signal) {
  return signal == Signal::ERROR || signal == Signal::ERROR_LEAF;
}

}  // namespace

PromisedAtom::PromisedAtom(const std::string& name, const Compound* holder,
                           std::vector<std::string> texts)
    : Atom(name.c_str(), holder), mTexts(std::move(texts)) {
  for (int i = 0; i < states(); ++i) mNumbers.emplace(mTexts[static_cast<std::size_t>(i)], i);
}

PromisedAtom::~PromisedAtom() = default;

Port* PromisedAtom::addPort(const std::string& name, const std::map<int, int>& transitions) {
  Port* port = new Port(name.c_str(), this);
  mPorts.add(port);
  mTransitions[port] = transitions;
  return port;
}

void PromisedAtom::initialize() {
  mState = 0;
  announce(false);
}

void PromisedAtom::execute(Port* port) {
  const std::map<int, int>& transitions = mTransitions[port];
  const auto taken = transitions.find(mState);
  if (taken != transitions.end()) mState = taken->second;
  const auto followed = mFollowed.find(port);
  if (followed != mFollowed.end()) mState = (mState + followed->second->value()) % states();
  raise(raised, mState, nullptr);
  if (speaks) {
    std::printf("%s: %d\n", mName, mState);
    std::fprintf(stderr, "%s!\n", mName);
  }
  announce(restless);
}

Node* PromisedAtom::getState() {
  const std::string& text = mTexts[static_cast<std::size_t>(mState)];
  Node* node = makeNode(text);
  raise(shown, mNumbers.at(text), node->isLeaf() ? static_cast<Leaf*>(node) : nullptr);
  return node;
}

void PromisedAtom::setState(Node* state) {
  mState = mNumbers.at(stateText(state));
  announce(false);
}

void PromisedAtom::announce(bool other) {
  for (int i = 0; i < mPorts.count(); ++i) {
    const bool isThere = mTransitions[mPorts[i]].count(mState) != 0;
    mPorts[i]->setSynced(isThere != (other && (mState + i) % 3 == 0));
  }
}

void PromisedAtom::raise(const std::map<int, Signal>& signals, int state, Leaf* own) {
  const auto found = signals.find(state);
  if (found == signals.end() || found->second == Signal::NONE) return;
  const Signal signal = found->second;
  if (raisesPrune(signal)) global_prune = true;
  if (raisesError(signal)) global_error = true;
  if (signal == Signal::PRUNE_OWN && own != nullptr) faulty_leaf = own;
  const bool isForeign = signal == Signal::LEAF || signal == Signal::PRUNE_LEAF;
  if (isForeign || signal == Signal::ERROR_LEAF) faulty_leaf = foreignLeaf();
}

Node* PromisedAtom::makeNode(const std::string& text) const {
  if (shape == RICH_LEAF) return new RichLeaf(text.c_str(), mState);
  if (shape == LEAF) return new Leaf(new Atomleaf(text.c_str()));
  return pairOf(text.substr(0, text.size() / 2), text.substr(text.size() / 2)).release();
}

// ---- PromisedConnector -----------------------------------------------------------------------

PromisedConnector::PromisedConnector(Kind kind, const std::string& name, const Compound* holder,
                                     bool subconn)
    : TestConnector(kind, name.c_str(), holder, subconn) {}

PromisedConnector::~PromisedConnector() = default;

namespace {

int valueOf(const Port& port) {
  if (port.connHolder() != nullptr)
    return static_cast<PromisedConnector*>(port.connHolder())->value;
  return static_cast<PromisedAtom*>(port.atomHolder())->value();
}

// That of the ports that take part in the interaction under consideration.
int valueOfInteraction(Connector& connector) {
  int sum = 0;
  const BitVector& set = connector.feasibleInter()->synced();
  for (int i = 0; i < connector.ports().count(); ++i) {
    if (set.in(i)) sum += (i + 1) * valueOf(*connector.ports()[i]);
  }
  return sum;
}

// ---- RandomParts -----------------------------------------------------------------------------

// How likely something is that few models have, in percent.
enum Chance { RARE = 3, SOME = 15, OFTEN = 35 };

class RandomParts {
 public:
  explicit RandomParts(unsigned int seed) : mDraw(seed), mIsFree(chance(OFTEN)) {}

  bool isFree() const { return mIsFree; }
  std::unique_ptr<System> make();

 private:
  using Ports = std::vector<Port*>;

  bool chance(int percent) { return mDraw.below(100) < percent; }
  template <class T>
  const T& oneOf(const std::vector<T>& list) {
    return list[static_cast<std::size_t>(mDraw.below(static_cast<int>(list.size())))];
  }

  Ports fill(System& compound, int level);
  void addAtoms(System& compound, int count, Ports& ports);
  void addAtom(System& compound, Ports& ports);
  std::vector<std::string> texts();
  std::string collidingText();
  std::map<int, int> transitions(int states);
  void takeLiberties(PromisedAtom& atom);
  Signal signal() { return static_cast<Signal>(mDraw.below(static_cast<int>(Signal::COUNT))); }

  void addConnectors(System& compound, Ports& ports, Ports& exported);
  PromisedConnector* addConnector(System& compound, const Ports& ports, bool exports);
  Ports choosePorts(const Ports& ports);
  void setHooks(PromisedConnector& connector);
  void addFollower(PromisedConnector& connector);
  void addWideConnectors(System& compound, const Ports& ports);
  void addPriorities(System& compound);

  Draw mDraw;
  bool mIsFree;
  int mParts = 0;  // so far, for their names
  std::map<const Port*, int> mUses;
  std::set<const Port*> mReserved;  // no other connector may use them
};

std::unique_ptr<System> RandomParts::make() {
  auto system = std::make_unique<System>("s");
  if (!chance(RARE)) {
    fill(*system, 0);
    return system;
  }
  Ports ports;
  addAtoms(*system, mDraw.between(20, 128), ports);
  addWideConnectors(*system, ports);
  return system;
}

// Gives the exported ports that connectors above may use.
RandomParts::Ports RandomParts::fill(System& compound, int level) {
  Ports ports;
  Ports exported;
  addAtoms(compound, mDraw.between(level == 0 ? 1 : 0, 3), ports);
  while (level < 3 && chance(OFTEN)) {
    auto* part = compound.compound(("C" + std::to_string(++mParts)).c_str());
    const Ports below = fill(*part, level + 1);
    ports.insert(ports.end(), below.begin(), below.end());
    if (chance(SOME)) addAtoms(compound, 1, ports);  // behind the part
  }
  addConnectors(compound, ports, exported);
  if (chance(SOME)) addPriorities(compound);
  if (chance(SOME) && !ports.empty()) exported.push_back(oneOf(ports));  // straight from below
  return exported;
}

// ---- Atoms

void RandomParts::addAtoms(System& compound, int count, Ports& ports) {
  for (int i = 0; i < count; ++i) addAtom(compound, ports);
}

void RandomParts::addAtom(System& compound, Ports& ports) {
  auto* atom = compound.add(new PromisedAtom("A" + std::to_string(++mParts), &compound, texts()));
  for (int i = mDraw.between(1, 3); i > 0; --i) {
    ports.push_back(atom->addPort("p" + std::to_string(i), transitions(atom->states())));
  }
  if (chance(SOME)) atom->shape = static_cast<PromisedAtom::Shape>(mDraw.below(3));
  if (chance(RARE)) atom->shown[mDraw.below(atom->states())] = signal();
  if (mIsFree) takeLiberties(*atom);
}

// Only with liberties two states may have one text.
std::vector<std::string> RandomParts::texts() {
  const bool collide = chance(SOME);
  const int states = chance(RARE) ? 300 : mDraw.between(1, 6);
  std::vector<std::string> list;
  for (int i = 0; i < states; ++i) {
    std::string text = collide ? collidingText() : std::to_string(i) + ",";
    if (chance(1)) text += mDraw.coin() ? "PRUNE" : "ERROR,PRUN";
    if (chance(1)) text.insert(0, std::string(static_cast<std::size_t>(mDraw.between(5, 40)), 't'));
    const bool isThere = std::find(list.begin(), list.end(), text) != list.end();
    if (isThere && !(mIsFree && mDraw.coin())) text = std::to_string(i) + (collide ? "" : ";");
    list.push_back(text);
  }
  return list;
}

std::string RandomParts::collidingText() {
  std::string text;
  for (int i = mDraw.between(0, 3); i > 0; --i) text += mDraw.coin() ? 'a' : 'b';
  return text;
}

std::map<int, int> RandomParts::transitions(int states) {
  std::map<int, int> table;
  for (int i = 0; i < states; ++i) {
    if (chance(75)) table[i] = chance(OFTEN) ? mDraw.below(states) : (i + 1) % states;
  }
  return table;
}

void RandomParts::takeLiberties(PromisedAtom& atom) {
  if (chance(SOME)) atom.raised[mDraw.below(atom.states())] = signal();
  atom.restless = chance(SOME);
  atom.speaks = chance(SOME);
}

// ---- Connectors

void RandomParts::addConnectors(System& compound, Ports& ports, Ports& exported) {
  for (int i = mDraw.between(1, 4); i > 0; --i) {
    PromisedConnector* connector = addConnector(compound, choosePorts(ports), chance(OFTEN));
    if (connector->xPort() == nullptr) continue;
    if (chance(OFTEN)) ports.push_back(connector->xPort());
    exported.push_back(connector->xPort());
  }
}

// The same port may be there twice, and several ports of one atom.
RandomParts::Ports RandomParts::choosePorts(const Ports& ports) {
  Ports chosen;
  if (ports.empty() || chance(RARE)) return chosen;
  for (int i = mDraw.between(1, 4); i > 0; --i) {
    Port* port = oneOf(ports);
    const bool isThere = std::find(chosen.begin(), chosen.end(), port) != chosen.end();
    if (mReserved.count(port) == 0 && (!isThere || chance(RARE))) chosen.push_back(port);
  }
  return chosen;
}

PromisedConnector* RandomParts::addConnector(System& compound, const Ports& ports, bool exports) {
  const Kind kind = chance(OFTEN) ? BROADCAST : RENDEZVOUS;
  const bool isSub = exports && chance(80);
  const std::string name = "k" + std::to_string(++mParts);
  auto* made = compound.add(new PromisedConnector(kind, name, &compound, isSub));
  made->addPorts(ports);
  for (const Port* port : ports) ++mUses[port];
  if (exports) made->exportPort();
  setHooks(*made);
  addFollower(*made);
  if (chance(1)) made->setDominated(true);
  return made;
}

void RandomParts::setHooks(PromisedConnector& connector) {
  PromisedConnector* self = &connector;
  connector.onUp = [self] { self->value = valueOfInteraction(*self) % 5; };
  if (chance(SOME)) {
    const int forbidden = mDraw.below(3);
    connector.onGuard = [self, forbidden] { return valueOfInteraction(*self) % 3 != forbidden; };
  }
  if (chance(OFTEN)) {
    const int triggers = mDraw.below(3);
    connector.onComplete = [self, triggers] {
      for (int i = 0; i < self->ports().count() && i < triggers; ++i) {
        if (self->ports()[i]->complete()) return true;
      }
      return false;
    };
  }
}

// A port that another connector uses as well would follow an atom that is not in that one.
void RandomParts::addFollower(PromisedConnector& connector) {
  if (connector.ports().count() < 2 || !chance(SOME)) return;
  Port* port = connector.ports()[0];
  const Port* other = connector.ports()[1];
  if (port->atomHolder() == nullptr || other->atomHolder() == nullptr || mUses[port] > 1) return;
  mReserved.insert(port);
  static_cast<PromisedAtom*>(port->atomHolder())
      ->follow(port, static_cast<PromisedAtom*>(other->atomHolder()));
}

void RandomParts::addWideConnectors(System& compound, const Ports& ports) {
  const auto size = static_cast<int>(ports.size());
  for (int i = mDraw.between(1, 3); i > 0; --i) {
    const int count = mDraw.between(1, std::min(size, 128));
    const int first = mDraw.between(0, size - count);
    addConnector(compound, Ports(ports.begin() + first, ports.begin() + first + count), false);
  }
  for (int i = mDraw.between(2, 10); i > 0; --i) addConnector(compound, choosePorts(ports), false);
}

void RandomParts::addPriorities(System& compound) {
  const int count = compound.connectors().count();
  for (int i = mDraw.between(1, 2); i > 0; --i) {
    Connector* low = compound.connectors()[mDraw.below(count)];
    Connector* high = compound.connectors()[mDraw.below(count)];
    const bool isLow = low->isSubconnSameHolder() || high->isSubconnSameHolder();
    if (isLow && !chance(SOME)) continue;
    const auto all = BitVector::below(high->ports().count());
    compound.priority("q", Interaction::Create(low, BitVector::EMPTY),
                      chance(OFTEN) ? nullptr : Interaction::Create(high, all));
  }
}

}  // namespace

// ---- PromisedModel ---------------------------------------------------------------------------

Locality PromisedModel::kept() const {
  return RandomParts(mSeed).isFree() ? Locality::LOCAL : Locality::REPEATABLE;
}

std::unique_ptr<System> PromisedModel::make(Locality declared) const {
  auto system = RandomParts(mSeed).make();
  declareAll(*system, declared);
  return system;
}

Explored exploredAs(Locality declared, Traversal traversal,
                    const std::function<void(System&)>& fill, int limit) {
  System system("s");
  fill(system);
  declareAll(system, declared);
  Explored found = explored(system, traversal, limit);
  found.out = withoutRates(found.out);
  return found;
}

void declareAll(Compound& system, Locality locality) {
  for (Connector* connector : system.connectors()) connector->declare(locality);
  for (int i = 0; i < system.components().count(); ++i) {
    Component* part = system.components()[i];
    if (part->isCompound()) declareAll(static_cast<Compound&>(*part), locality);
    if (part->isAtom()) static_cast<Atom*>(part)->declare(locality);
  }
}

}  // namespace kit
