// A heart that beats a thousand times per second: how exactly does the engine release it?
#include "../../support/operands.hpp"
#include "heart.hpp"
#include "vesk.hpp"

class Body : public Compound {
 public:
  Body(const char* name, int period) : Compound(name, nullptr) {
    Heart* heart = new Heart("heart", this, period);
    mComponents.add(heart);
    mConnectors.add(new Beat("beat", this, heart->beat()));
  }
};

Compound* Compound::Create(int argc, char** argv) {
  Operands operands("heartbeat", argc, argv);
  const int period = operands.number("period in microseconds", 1000, 1, 10000000);
  operands.finish();
  return new Body("body", period);
}
