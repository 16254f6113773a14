// Puts a net together from places, transitions, references and arcs in any order.
#ifndef VESK_PNML_NET_BUILDER_HPP
#define VESK_PNML_NET_BUILDER_HPP

#include <string>
#include <unordered_map>
#include <vector>

#include "fault.hpp"
#include "net.hpp"

namespace pnml {

// An arc as it stands in the document; its ends may be reference nodes.
struct Arc {
  std::string id;  // may be empty: nothing refers to an arc
  std::string source;
  std::string target;
  Position at;
  int weight = 1;
  bool inhibitor = false;
};

// Every operation but lose() and build() throws a Fault when the net has one.
class NetBuilder {
 public:
  void setId(const std::string& id) { mNet.id = id; }
  void addPlace(const std::string& id, Position at);
  // Of the place added last.
  void setTokens(int tokens) { mNet.places.back().tokens = tokens; }
  void addTransition(const std::string& id, Position at);
  // A stand-in for the node with the id `target`, which may be a stand-in itself.
  void addReferencePlace(const std::string& id, const std::string& target, Position at);
  void addReferenceTransition(const std::string& id, const std::string& target, Position at);
  void addArc(const Arc& arc);
  // Something with this id could not be understood: who names it is not at fault.
  void lose(const std::string& id) { mNodes.emplace(id, Node{Kind::LOST, 0}); }
  // Resolves the references and joins the arcs between the same nodes: their weights add up, and
  // of several inhibitor arcs the strictest counts. To be called once, last. The net is of use only
  // when no fault was added.
  Net build(Faults& faults);

 private:
  enum class Kind { PLACE, TRANSITION, REFERENCE_PLACE, REFERENCE_TRANSITION, ARC, LOST };

  struct Node {
    Kind kind;
    int index;  // into the list of its kind
  };

  static constexpr int UNRESOLVED = -1;
  static constexpr int NOWHERE = -2;  // it leads to something at fault

  struct Reference {
    std::string id;
    std::string target;
    Position at;
    int node = UNRESOLVED;  // the place or transition, once resolved, or NOWHERE
  };

  // An arc seen from its transition.
  struct Link {
    int arc;
    int place;
    bool toTransition;
  };

  void add(const std::string& id, Kind kind, std::size_t index, Position at);
  using Chain = std::vector<Reference*>;
  void resolveAll(std::vector<Reference>& references, Kind node, Kind reference, Faults& faults);
  int resolve(std::vector<Reference>& references, Reference& first, Kind node, Kind reference,
              Chain& chain);
  Node endOf(const Arc& arc, const std::string& id, const char* role) const;
  void linkArc(int arc, std::vector<std::vector<Link>>& links) const;
  void addUses(Transition& transition, const std::vector<Link>& links, std::vector<int>& slots,
               Faults& faults);
  void addToUse(Use& use, const Link& link) const;
  void addWeight(int& sum, const Arc& arc) const;

  Net mNet;
  std::unordered_map<std::string, Node> mNodes;
  std::vector<Reference> mReferencePlaces;
  std::vector<Reference> mReferenceTransitions;
  std::vector<Arc> mArcs;
};

}  // namespace pnml

#endif
