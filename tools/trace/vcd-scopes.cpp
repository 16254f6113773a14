#include "vcd-scopes.hpp"

#include "output-file.hpp"
#include "printable.hpp"

namespace Vesk::Traces {

namespace {

constexpr int MAX_DEPTH = 50;  // deeper paths keep their slashes in the last name

// The format ends a name at a blank, and keywords start with a dollar.
std::string nameIn(std::string_view name) {
  std::string result = Lts::printable(name);
  for (char& c : result) {
    if (c == ' ' || c == '$') c = '_';
  }
  return result.empty() ? "_" : result;
}

}  // namespace

void VcdScopes::add(std::string_view path, std::string_view kind, std::string_view id,
                    std::string_view name) {
  mScopes[scopeOf(path)].variables.push_back("$var " + std::string(kind) + " 1 " + std::string(id) +
                                             " " + nameIn(name) + " $end\n");
}

std::size_t VcdScopes::scopeOf(std::string_view path) {
  std::size_t scope = 0;
  for (int depth = 1; !path.empty(); ++depth) {
    const std::size_t slash = depth < MAX_DEPTH ? path.find('/') : std::string_view::npos;
    scope = scopeIn(scope, path.substr(0, slash));
    path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
  }
  return scope;
}

std::size_t VcdScopes::scopeIn(std::size_t outer, std::string_view name) {
  const auto found = mScopes[outer].numbers.find(name);
  if (found != mScopes[outer].numbers.end()) return found->second;
  const std::size_t scope = mScopes.size();
  mScopes[outer].numbers.emplace(name, scope);
  mScopes[outer].scopes.push_back(scope);
  mScopes.emplace_back();
  mScopes.back().name = name;
  return scope;
}

void VcdScopes::write(Lts::OutputFile& file) const {
  write(file, mScopes.front());
}

void VcdScopes::write(Lts::OutputFile& file, const Scope& scope) const {
  for (const std::string& variable : scope.variables) file.write(variable);
  for (std::size_t inner : scope.scopes) {
    file.write("$scope module " + nameIn(mScopes[inner].name) + " $end\n");
    write(file, mScopes[inner]);
    file.write("$upscope $end\n");
  }
}

}  // namespace Vesk::Traces
