// The ring without time of model.cpp, written by hand as small as it can be:
//   <program> <places> <steps>
// Virtual transitions, a heap of the connectors that depend on what has moved, nothing else.
// Prints nanoseconds of processor time per step.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

double processorTime() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

struct Connector;

struct Atom {
  virtual ~Atom() = default;
  virtual void fire(unsigned int port) = 0;

  unsigned int enabled = 0;  // a bit for each port
  std::vector<Connector*> users;
};

struct Place : Atom {
  static constexpr unsigned int GIVE = 0;
  static constexpr unsigned int TAKE = 1;

  explicit Place(bool full) { announce(full); }
  void fire(unsigned int port) override { announce(port == TAKE); }
  void announce(bool full) { enabled = 1u << (full ? GIVE : TAKE); }
};

struct Connector {
  struct End {
    Atom* atom;
    unsigned int port;
  };

  bool isEnabled() const {
    for (int i = 0; i < count; ++i) {
      if ((ends[i].atom->enabled >> ends[i].port & 1u) == 0) return false;
    }
    return true;
  }
  void fire() const {
    for (int i = 0; i < count; ++i) ends[i].atom->fire(ends[i].port);
  }

  int count;
  End ends[3];
  int level = 0;
  bool queued = false;
};

// The connectors to look at, the highest level first.
class Queue {
 public:
  bool empty() const { return mItems.empty(); }
  void put(Connector* connector) {
    if (connector->queued) return;
    connector->queued = true;
    std::size_t place = mItems.size();
    mItems.push_back(connector);
    for (; place > 0 && level((place - 1) / 2) < connector->level; place = (place - 1) / 2) {
      mItems[place] = mItems[(place - 1) / 2];
    }
    mItems[place] = connector;
  }
  Connector* take() {
    Connector* const top = mItems.front();
    Connector* const last = mItems.back();
    mItems.pop_back();
    top->queued = false;
    if (!mItems.empty()) sink(last);
    return top;
  }

 private:
  int level(std::size_t place) const { return mItems[place]->level; }
  // Finds the place of a connector from the top on.
  void sink(Connector* connector) {
    std::size_t place = 0;
    for (std::size_t below = 1; below < mItems.size(); below = 2 * place + 1) {
      if (below + 1 < mItems.size() && level(below + 1) > level(below)) ++below;
      if (level(below) <= connector->level) break;
      mItems[place] = mItems[below];
      place = below;
    }
    mItems[place] = connector;
  }

  std::vector<Connector*> mItems;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const auto count = static_cast<std::size_t>(std::atol(argv[1]));
  const long steps = std::atol(argv[2]);
  std::vector<std::unique_ptr<Atom>> atoms;
  std::vector<std::unique_ptr<Connector>> connectors;
  Queue queue;
  for (std::size_t i = 0; i < count; ++i) atoms.push_back(std::make_unique<Place>(i == 0));
  for (std::size_t i = 0; i < count; ++i) {
    Atom* const from = atoms[i].get();
    Atom* const to = atoms[(i + 1) % count].get();
    connectors.push_back(
        std::make_unique<Connector>(Connector{2, {{from, Place::GIVE}, {to, Place::TAKE}, {}}}));
    for (Atom* end : {from, to}) end->users.push_back(connectors.back().get());
    queue.put(connectors.back().get());
  }
  const double begin = processorTime();
  for (long step = 0; step < steps && !queue.empty();) {
    Connector* const top = queue.take();
    if (!top->isEnabled()) continue;
    ++step;
    top->fire();
    for (int i = 0; i < top->count; ++i) {
      for (Connector* user : top->ends[i].atom->users) queue.put(user);
    }
  }
  std::printf("%.1f\n", (processorTime() - begin) * 1e9 / double(steps));
}
