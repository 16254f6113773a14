// The same ring in SystemC: for each place a module with a method and an event.
//   <program> <places>
#include <cstdlib>
#include <string>
#include <systemc>
#include <vector>

namespace {

struct Place : sc_core::sc_module {
  SC_HAS_PROCESS(Place);
  explicit Place(sc_core::sc_module_name name) : sc_module(name) {
    SC_METHOD(pass);
    sensitive << token;
    dont_initialize();
  }
  void pass() { sc_core::sc_stop(); }

  sc_core::sc_event token;
  Place* next = nullptr;
};

}  // namespace

// Ends without taking the ring down, as programs with SystemC do.
int sc_main(int argc, char** argv) {
  const int places = argc > 1 ? std::atoi(argv[1]) : 2;
  std::vector<Place*> ring;
  for (int i = 0; i < places; ++i) {
    const std::string name = "p" + std::to_string(i);
    ring.push_back(new Place(name.c_str()));
  }
  for (std::size_t i = 0; i < ring.size(); ++i) ring[i]->next = ring[(i + 1) % ring.size()];
  ring[0]->next->token.notify(1, sc_core::SC_NS);
  sc_core::sc_start();
  std::_Exit(0);
}
