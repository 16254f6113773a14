// What a model may declare about its parts, so that exploration need not look at the whole system
// after every transition.
//
// An atom or connector that declares nothing promises nothing. When every atom and connector of
// a system is declared, exploration looks only at what a transition has touched; the files and
// texts that it writes are the same to the byte. The promise that counts is the smallest of all.
//
//     class Fork : public Atom {
//      public:
//       Fork(const char* name, const Compound* holder) : Atom(name, holder) {
//         declare(Vesk::Locality::REPEATABLE);
//       }
//     };
//
// When a part does not do what it has promised, the result of an exploration is wrong without any
// message: states are missing, or states are listed that cannot be reached. Runs that are no
// exploration do not ask for the declaration.
#ifndef VESK_LOCALITY_HPP
#define VESK_LOCALITY_HPP

namespace Vesk {

// Each promise contains those before it.
enum class Locality : signed char {
  // No promise.
  UNDECLARED,
  // An atom: its text, the ports that it announces and the variables of its ports change only by
  // its own initialize, execute and setState. What setState does depends on the text alone.
  // getState changes nothing and raises flags only for what its text says.
  // A connector: guard, complete and up read only the atoms of its ports and of the connectors
  // below them, and change nothing but the variables of its exported port.
  // Both: the compounds above keep the getState and setState of the engine, and no hook adds parts.
  LOCAL,
  // Besides: what execute does to the atoms of one connector depends on their texts and the fired
  // port alone; an atom announces the same ports after execute as after setState with the text that
  // execute has left. Nothing else is read or written: no global flag, no output, no clock. The
  // hooks may then be called once for all states in which these atoms show the same texts.
  REPEATABLE
};

}  // namespace Vesk

#endif
