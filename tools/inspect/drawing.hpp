// The model as a picture.
#ifndef VESK_INSPECT_DRAWING_HPP
#define VESK_INSPECT_DRAWING_HPP

#include <string>

namespace Vesk::Inspect {

class Parts;

// In the language of Graphviz. Atoms are boxes with their ports, in a colour for each class.
// Rendezvous are ellipses, broadcasts hexagons, sub-connectors dashed, the ports that they export
// dots. Dashed arrows are priorities and lead to the interaction that wins. The title is the name
// of the root and the command line of the model.
std::string drawingOf(const Parts& parts, const std::string& run);

}  // namespace Vesk::Inspect

#endif
