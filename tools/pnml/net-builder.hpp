// Puts a net together from places, transitions, references and arcs in any order.
#ifndef VESK_PNML_NET_BUILDER_HPP
#define VESK_PNML_NET_BUILDER_HPP

#include <string>
#include <unordered_map>
#include <vector>

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

// Every operation throws a Fault when the net has one.
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
  // Resolves the references and joins the arcs between the same nodes: their weights add up, and
  // of several inhibitor arcs the strictest counts. To be called once, last.
  Net build();

 private:
  enum class Kind { PLACE, TRANSITION, REFERENCE_PLACE, REFERENCE_TRANSITION, ARC };

  struct Node {
    Kind kind;
    int index;  // into the list of its kind
  };

  struct Reference {
    std::string id;
    std::string target;
    Position at;
    int node = -1;  // the place or transition, once resolved
  };

  // An arc seen from its transition.
  struct Link {
    int arc;
    int place;
    bool toTransition;
  };

  void add(const std::string& id, Kind kind, std::size_t index, Position at);
  void resolveAll(std::vector<Reference>& references, Kind node, Kind reference);
  void resolve(std::vector<Reference>& references, Reference& first, Kind node, Kind reference);
  Node endOf(const Arc& arc, const std::string& id, const char* role) const;
  void linkArc(int arc, std::vector<std::vector<Link>>& links) const;
  void addUses(Transition& transition, const std::vector<Link>& links, std::vector<int>& slots);
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
