// A model with one atom class for every name that the engine uses for itself. They pass a token
// from the first to the last, which is a deadlock. With VESK_NEUTRAL the classes have names that
// nobody else has. Words of the command line put a marker into the text of the last but one:
// `prune`, `error`.

#include <cstdio>
#include <cstring>
#include <string>

#include "vesk.hpp"

#ifdef VESK_NEUTRAL
#define JOIN(a, b) a##b
#define NEUTRAL(line) JOIN(NeutralNameOfLine, line)
#define NAME(name) NEUTRAL(__LINE__)
#else
#define NAME(name) name
#endif

namespace names_model {

class Member : public Atom {
 public:
  Member(const char* name, const Compound* holder, bool first)
      : Atom(name, holder), mHasToken(first) {
    addPort(new Port("take", this));
    addPort(new Port("give", this));
  }
  using Atom::initialize;
  void initialize() override { announce(); }
  void initialize(LogicalClock* clock) override {
    Atom::initialize(clock);
    announce();
  }
  void execute(Port* port) override {
    mHasToken = port == mPorts[0];
    tick();
    announce();
  }
  Node* getState() override {
    std::string text = mHasToken ? "1" : "0";
    if (mHasToken) text += mMarker;
    text += ownText();
    return new Leaf(new Atomleaf(text.c_str()));
  }
  void setState(Node* state) override {
    mHasToken = static_cast<Leaf*>(state)->getAleaf()->getVal()[0] == '1';
    announce();
  }
  void setMarker(const char* marker) { mMarker = marker; }

 protected:
  virtual void tick() = 0;
  virtual const std::string& ownText() const = 0;

 private:
  void announce() {
    mPorts[0]->setSynced(false);
    mPorts[1]->setSynced(false);
    rt_sync(2, mPorts[0], int(!mHasToken), static_cast<Constraint*>(nullptr), mPorts[1],
            int(mHasToken), static_cast<Constraint*>(nullptr));
  }

  bool mHasToken;
  std::string mMarker;
};

class Pass : public Connector {
 public:
  Pass(const char* name, const Compound* holder, Member* from, Member* to)
      : Connector(name, holder, false, 2, from->ports()[1], to->ports()[0]) {}
  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }
};

// What the next atom is created with: its constructor takes no arguments, like that of many others.
const Compound* system = nullptr;
int created = 0;
int destroyed = 0;

std::string nextName() {
  return "atom" + std::to_string(created);
}

}  // namespace names_model

#define MEMBER(Class)                                                             \
  class Class : public names_model::Member {                                      \
   public:                                                                        \
    Class();                                                                      \
    ~Class() override;                                                            \
                                                                                  \
   protected:                                                                     \
    void tick() override;                                                         \
    const std::string& ownText() const override;                                  \
                                                                                  \
   private:                                                                       \
    std::string mOwnText;                                                         \
  };                                                                              \
  Class::Class()                                                                  \
      : names_model::Member(names_model::nextName().c_str(), names_model::system, \
                            names_model::created == 0),                           \
        mOwnText(" a text too long to lie in the object,") {                      \
    ++names_model::created;                                                       \
  }                                                                               \
  Class::~Class() {                                                               \
    ++names_model::destroyed;                                                     \
  }                                                                               \
  void Class::tick() {                                                            \
    mOwnText[1] = 'a';                                                            \
  }                                                                               \
  const std::string& Class::ownText() const {                                     \
    return mOwnText;                                                              \
  }

#define DECLARE(Class) MEMBER(Class)
#define CLASS(name) DECLARE(NAME(name))
#define FUNCTION(name)
#include "names.inc"
#undef CLASS

namespace names_model {

class System : public Compound {
 public:
  System(int argc, char** argv) : Compound("names", nullptr) {
    system = this;
#define CLASS(name) append(new NAME(name));
#include "names.inc"
#undef CLASS
    connect("skip", created / 2, created - 1);
    for (int i = 0; i + 1 < created; ++i) connect("pass", i, i + 1);
    for (int i = 1; i < argc; ++i) {
      if (std::strcmp(argv[i], "prune") == 0) member(created - 2)->setMarker("PRUNE");
      if (std::strcmp(argv[i], "error") == 0) member(created - 2)->setMarker("ERROR");
    }
  }

 private:
  void append(Member* member) {
    mComponents.add(member);
  }
  Member* member(int i) {
    return static_cast<Member*>(mComponents[i]);
  }
  void connect(const char* name, int from, int to) {
    mConnectors.add(new Pass(name, this, member(from), member(to)));
  }
};

}  // namespace names_model

#define CLASS(name)
#undef FUNCTION
#define FUNCTION(name) int NAME(name) = 1;
#include "names.inc"
#undef FUNCTION

namespace names_model {

// At the end every destructor must have run once, and nobody has touched the objects.
class Census {
 public:
  ~Census() { std::printf("%d created, %d destroyed, %d kept\n", created, destroyed, kept()); }

 private:
  static int kept() {
    int count = 0;
#define FUNCTION(name) count += NAME(name);
#include "names.inc"
#undef FUNCTION
    return count;
  }
};

Census census;

}  // namespace names_model

Compound* Compound::Create(int argc, char** argv) {
  return new names_model::System(argc, argv);
}
