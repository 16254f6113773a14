// The declarations of a value change dump: variables in scopes, which are the compounds and atoms.
#ifndef VESK_TRACE_VCD_SCOPES_HPP
#define VESK_TRACE_VCD_SCOPES_HPP

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

class VcdScopes {
 public:
  // A variable in the scope of that path, whose pieces have slashes between. The kind is "event" or
  // "string".
  void add(std::string_view path, std::string_view kind, std::string_view id,
           std::string_view name);
  // In the order in which they were added, all of a scope together.
  void write(Lts::OutputFile& file) const;

 private:
  struct Scope {
    std::string name;
    std::vector<std::string> variables;                       // lines
    std::map<std::string, std::size_t, std::less<>> numbers;  // of the scopes in it, by name
    std::vector<std::size_t> scopes;                          // the same in order
  };

  std::size_t scopeOf(std::string_view path);
  std::size_t scopeIn(std::size_t outer, std::string_view name);
  void write(Lts::OutputFile& file, const Scope& scope) const;

  std::vector<Scope> mScopes = std::vector<Scope>(1);  // the first one is what is around all
};

}  // namespace Vesk::Traces

#endif
