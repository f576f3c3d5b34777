// Which products include which: those of a request, and those of a whole warehouse.
//
//   const Graph graph = graph_of({root, groups}, Environment::of_process());
//   for (const Edge& edge : graph.edges) ... graph.nodes[edge.from], graph.nodes[edge.to]
//
// A product that includes another overrules it, so edges lead from what overrules to what is
// overruled. Parts are found as a computation finds them.
#ifndef ZOR_GRAPH_H
#define ZOR_GRAPH_H

#include <string>
#include <vector>

#include "catalogue.h"
#include "warehouse.h"

namespace zor {

enum class Presence {
  kThere,
  kMissing,     // there is no such product; a computation passes over it
  kUnreadable,  // its data files are faulty
};

// As documents name it: "there", "missing", "unreadable".
const char* word_for(Presence presence);

// A product in one group of a request.
struct Node {
  ProductName product;
  std::vector<Variety> varieties;  // all that it has; chosen are those that anything here takes
  Presence presence = Presence::kThere;
  int group = 0;
  bool named = false;  // by the user
};

// A part of the product "from".
struct Edge {
  int from = 0;
  int to = 0;
  Location place;         // of the part
  bool optional = false;  // it says that it may be missing

  bool operator==(const Edge&) const = default;
};

struct Graph {
  std::vector<Node> nodes;  // those that the user named first, nearer ones before those further off
  std::vector<Edge> edges;  // those of one product in the order of its part list
  Answer answer;            // of the choices; with the faults of parts that can't be read
};

// The products that a question leads to. Each is there once in a group.
Graph graph_of(const Question& question, const Environment& base);

// A variety of a product. A product that is missing, or of which a part takes no variety at all, is
// one of its own, without a name.
struct Member {
  ProductName product;
  std::string variety;
  bool missing = false;            // the product does not exist
  std::vector<std::string> files;  // those that it names as parts, as absolute paths
};

struct Inclusion {
  int from = 0;
  int to = 0;
  Location place;
};

struct Inclusions {
  std::vector<Member> members;
  std::vector<Inclusion> parts;
  std::vector<CatalogueRemark> remarks;  // products that could not be read
};

// All parts of all complete varieties of these products. Each product's data files are read once.
// Files are looked at only if asked for.
Inclusions read_inclusions(const std::string& root, const std::vector<ProductName>& products,
                           bool with_files);

}  // namespace zor

#endif
