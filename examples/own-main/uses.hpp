// What the first word of the command line asks for.
#ifndef VESK_EXAMPLES_OWN_MAIN_USES_HPP
#define VESK_EXAMPLES_OWN_MAIN_USES_HPP

struct Use {
  const char* name;
  int mode;    // of choice: 0 by deadlines, 1 by the user, 2 by deadlines after a random wait
  bool shown;  // the model has debug support
};

// Null when the command line does not start with a use.
const Use* findUse(int argc, char** argv);

#endif
