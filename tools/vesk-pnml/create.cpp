// Builds the system from the net that the command line names.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "net-system.hpp"
#include "operands.hpp"
#include "reader.hpp"

namespace {

const char* const PROGRAM = "vesk-pnml";
const char* const USAGE = "usage: vesk-pnml NET.pnml [option]...\n";
const char* const ERROR = "%s:%lu:%lu: %s\n";
const char* const WARNING = "%s:%lu:%lu: warning: %s\n";
const char* const CANNOT_OPEN =
    "%s:1:1: the file cannot be opened (%s), expected a PNML document\n";

constexpr int FAILURE = 2;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Ends the program with a message when there is no such net.
pnml::Net readNetFrom(const char* name) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name, "rb"));
  if (file == nullptr) {
    std::fprintf(stderr, CANNOT_OPEN, name, std::strerror(errno));
    std::exit(FAILURE);
  }
  pnml::Reading reading = pnml::readNet(file.get());
  for (const pnml::Message& warning : reading.warnings) {
    std::fprintf(stderr, WARNING, name, warning.at.line, warning.at.column, warning.text.c_str());
  }
  if (!reading.net) {
    for (const pnml::Message& error : reading.errors) {
      std::fprintf(stderr, ERROR, name, error.at.line, error.at.column, error.text.c_str());
    }
    std::exit(FAILURE);
  }
  return *std::move(reading.net);
}

}  // namespace

Compound* Compound::Create(int argc, char** argv) {
  Operands operands(PROGRAM, argc, argv);
  if (operands.engineEndsProgram()) return nullptr;
  const char* const name = operands.word();
  if (name == nullptr) {
    std::fprintf(stderr, "%s", USAGE);
    std::exit(FAILURE);
  }
  operands.finish();
  return new NetSystem(readNetFrom(name));
}
