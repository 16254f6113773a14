// Bytes as a program of operations on a constraint: over 0 .. 39, where every result must be that
// of forty flags, or with any bounds and any list of intervals, where every operation must stay in
// range.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "choices.hpp"
#include "constraint-flags.hpp"

using Vesk::Time;

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "the algebra breaks its promise: %s\n", what);
  std::abort();
}

Piece piece(kit::Choices& choices, long long low, long long high) {
  const int attributes = choices.below(12);
  return Piece(low, high, static_cast<Urgency>(attributes % 3),
               static_cast<Domination>(attributes / 3 % 2 == 1),
               static_cast<Observability>(attributes / 6 % 2 == 0));
}

// Sorted, disjoint, not empty; neighbours may be adjacent.
Pieces tidyPieces(kit::Choices& choices) {
  Pieces list;
  int low = choices.below(8);
  for (int count = choices.below(7); count > 0 && low < CELLS; --count) {
    const int high = std::min(CELLS - 1, low + choices.below(9));
    list.push_back(piece(choices, low, high));
    low = high + 1 + choices.below(5);
  }
  return list;
}

long long bound(kit::Choices& choices) {
  static const std::vector<long long> limits = {NEVER - 1, NEVER, NEVER + 1, -1,        0,        1,
                                                EVER - 1,  EVER,  EVER + 1,  INT64_MIN, INT64_MAX};
  return choices.below(3) == 0 ? choices.oneOf(limits) : choices.between(-5, 45);
}

Pieces anyPieces(kit::Choices& choices) {
  Pieces list;
  for (int i = choices.below(8); i > 0; --i) {
    const long long low = bound(choices);
    list.push_back(piece(choices, low, bound(choices)));
  }
  return list;
}

// ---- Against the flags -------------------------------------------------------------------------

bool overlap(const Pieces& left, const Pieces& right) {
  return (instants(left) & instants(right)).any();
}

void checkTidyOperation(kit::Choices& choices, Probe& probe) {
  const Pieces left = probe.pieces();
  const Pieces right = tidyPieces(choices);
  Flags model(left);
  const int operation = choices.below(6);
  switch (operation) {
    case 0:
      model.intersect(Flags(right));
      probe &= Probe(right);
      return require(probe.pieces() == model.pieces(), "an intersection is what lies in both");
    case 1:
      probe |= Probe(right);
      require(instants(probe.pieces()) == (instants(left) | instants(right)), "a union");
      return require(probe.check() || overlap(left, right), "a union without overlaps is tidy");
    case 2:
      for (const Piece& one : right) model.subtract(one);
      probe -= Probe(right);
      return require(probe.pieces() == fused(model.pieces()), "a difference");
    case 3:
      for (const Piece& one : right) model.dominate(one);
      probe.setDomination(true);
      probe -= Probe(right);
      probe.setDomination(false);
      return require(probe.pieces() == fused(model.pieces()), "domination marks what it covers");
    case 4:
      model.applyDomination();
      probe.applyDomination();
      return require(probe.pieces() == model.pieces(), "what is dominated goes");
    default:
      probe.clean();
      return require(probe.pieces() == fused(left), "clean fuses neighbours");
  }
}

void checkQueries(const Probe& probe, int t) {
  const Flags model(probe.pieces());
  const bool held = model.holds(t);
  require(probe.in(Time(t)) == held, "in");
  require(probe.next(Time(t)) == Time(nextInstant(model, t)), "next");
  require(probe.deadline(Time(t)) == Time(forcedInstant(model, t, false)), "deadline");
  require(probe.observableDeadline(Time(t)) == Time(forcedInstant(model, t, true)),
          "observable deadline");
  require(probe.observable(Time(t)) == (held && model[t].observable), "observable");
  const bool due = held && model[t].urgency == DELAYABLE && model.last(t) == t;
  require(probe.urgent(Time(t)) == (due || (held && model[t].urgency == EAGER)), "urgent");
  int after = 77;
  require(probe.position(Time(t), after) == (held ? intervalsBefore(model, t) : -1), "position");
}

void runTidy(kit::ByteChoices& choices) {
  Probe probe(tidyPieces(choices));
  while (!choices.isEmpty()) {
    checkTidyOperation(choices, probe);
    if (!probe.check()) return;  // overlaps have rules of their own
    checkQueries(probe, choices.between(-3, CELLS + 2));
  }
}

// ---- Any list of intervals ---------------------------------------------------------------------

void operate(kit::Choices& choices, Probe& probe, const Probe& operand) {
  const std::size_t size = probe.size();
  const std::size_t more = operand.size();
  probe.setDomination(choices.coin());
  probe.setDelay(choices.coin() ? Time(0) : Time(bound(choices)));
  switch (choices.below(6)) {
    case 0:
      probe &= operand;
      return require(probe.size() <= size + more, "an intersection has few intervals");
    case 1:
      probe |= operand;
      return require(probe.size() <= size + more, "a union has few intervals");
    case 2:
      probe -= operand;
      return require(probe.size() <= size + 2 * more, "a difference has few intervals");
    case 3:
      probe += Time(bound(choices));
      return require(probe.size() == size, "a shift keeps the intervals");
    case 4:
      probe -= Time(bound(choices));
      return require(probe.size() == size, "a shift keeps the intervals");
    default:
      probe.applyDomination();
      return require(probe.size() <= size, "what is dominated goes");
  }
}

void ask(kit::Choices& choices, const Probe& probe) {
  const Time t(bound(choices));
  probe.next(t);
  probe.deadline(t);
  probe.observableDeadline(t);
  probe.urgent(t);
  probe.in(Piece(bound(choices), bound(choices)).interval());
  int first = 0;
  int last = 0;
  if (probe.intersect(Piece(bound(choices), bound(choices)).interval(), first, last)) {
    require(0 <= first && first <= last && last < static_cast<int>(probe.size()), "places exist");
  }
  std::ostringstream text;
  text << probe;
}

// At the ends of 64 bits sums go round, so that the last instant is a neighbour of the first one.
bool goesRound(const Pieces& pieces) {
  return std::any_of(pieces.begin(), pieces.end(), [](const Piece& piece) {
    return piece.low == INT64_MIN || piece.high == INT64_MAX;
  });
}

void runAny(kit::ByteChoices& choices) {
  Probe probe(anyPieces(choices));
  for (int step = 0; step < 40 && !choices.isEmpty(); ++step) {
    const Probe operand(anyPieces(choices));
    operate(choices, probe, choices.below(8) == 7 ? probe : operand);
    ask(choices, probe);
    if (probe.size() > 200) return;
  }
  const bool round = goesRound(probe.pieces());
  probe.clean();
  for (const Piece& left : probe.pieces())
    require(round || left.low <= left.high, "clean leaves no empty ones");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kit::ByteChoices choices(data, size);
  if (choices.coin()) {
    runTidy(choices);
  } else {
    runAny(choices);
  }
  return 0;
}
