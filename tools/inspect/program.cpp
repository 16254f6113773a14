#include "program.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "arguments.hpp"
#include "component.hpp"

namespace Vesk::Inspect {

namespace {

void putBack(int copy, int descriptor) {
  if (copy == -1) return;
  dup2(copy, descriptor);
  close(copy);
}

}  // namespace

OutputAside::OutputAside(Place place)
    : mOutput((std::fflush(stdout), dup(STDOUT_FILENO))), mError(dup(STDERR_FILENO)) {
  const int nowhere = place == TO_NOWHERE ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
  dup2(nowhere != -1 ? nowhere : STDERR_FILENO, STDOUT_FILENO);
  if (nowhere == -1) return;
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

OutputAside::~OutputAside() {
  std::cout.flush();
  std::fflush(stdout);
  putBack(mOutput, STDOUT_FILENO);
  putBack(mError, STDERR_FILENO);
}

void say(const std::string& text) {
  std::fprintf(stderr, "vesk: %s\n", text.c_str());
}

Status print(const std::string& text) {
  const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  if (!written) say("standard output could not be written completely");
  return written ? SUCCESS : FAILURE;
}

std::unique_ptr<Compound> build(Arguments& arguments) {
  const OutputAside aside(OutputAside::TO_STANDARD_ERROR);
  std::unique_ptr<Compound> root(Compound::Create(arguments.argc(), arguments.argv()));
  if (root == nullptr) say("the model has built no system");
  return root;
}

}  // namespace Vesk::Inspect
