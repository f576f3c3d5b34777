// What a product says of itself: its data files as records that own what they hold.
//
//   const ProductFacts facts = read_product(root, {"tools", "weaver", "1.10", "2"});
//
// Texts of the data files stay as they are written, with %(NAME) and the like in them, unless a
// function here says that it expands them.
#ifndef ZOR_FACTS_H
#define ZOR_FACTS_H

#include <string>
#include <vector>

#include "warehouse.h"

namespace zor {

struct Description {
  std::string language;  // may be empty
  std::string text;
};

// Whether a part of a variety is on disk, and for which hosts it is.
struct Segment {
  std::string host;
  bool here = false;
};

struct VarietyFacts {
  std::string name;  // may be empty
  std::string description;
  std::vector<Binding> variables;
  std::vector<Segment> segments;
  bool complete = false;  // each of its segments is here
  bool for_host = false;  // a request without conditions takes it on this host
};

// A condition on varieties: all of its variables must match.
struct Alternative {
  std::string host;
  std::vector<Binding> variables;
};

// One of these must hold; without any the condition is always met.
using Condition = std::vector<Alternative>;

struct Part {
  Condition when;  // on the variety that has the part
  ProductName product;
  Condition varieties;  // of the part that are taken
};

// A file of the product, as its part list names it; for one variety or more.
struct FilePart {
  std::string path;  // expanded, below the product's directory unless absolute
  bool exists = false;
};

enum class OperationKind { kInsert, kRemove, kDelete, kRecipe };

// "insert", "remove", "delete" or "recipe".
const char* word_for(OperationKind kind);

// What happens to a variable.
struct Operation {
  OperationKind kind = OperationKind::kInsert;
  std::string file;  // below the root
  int line = 0;      // in it, from 1
  Condition when;
  std::string variable;             // a name, or a pattern over names
  std::string separator;            // one character, or none
  std::vector<std::string> values;  // the element, or patterns of elements to remove
  std::vector<std::string> before;
  std::vector<std::string> after;
  std::string word;  // of a recipe: "set", "prepend" and so on
};

struct ProductFacts {
  ProductName product;
  std::string directory;
  std::string title;
  std::vector<Description> descriptions;
  bool visible = false;
  std::vector<VarietyFacts> varieties;
  std::vector<Part> parts;
  std::vector<FilePart> files;
  std::vector<Operation> operations;  // when it is set up, old recipes included if they count
  std::vector<std::string> recipes;   // the names of its old recipes
  // The directories that it puts on PATH on this host, expanded, in the order of its files.
  std::vector<std::string> path;
};

// Reads all data files of a product. Throws Error that says what is wrong with them.
ProductFacts read_product(const std::string& root, const ProductName& product);

// What the values in a product's env.xml mean, operation by operation as in the facts: the distinct
// expansions for all complete varieties that meet the operation's condition. Throws Error as above.
std::vector<std::vector<std::string>> read_meanings(const std::string& root,
                                                    const ProductName& product);

// The product with the latest version and rev that are on disk in place of "+". Throws Error if
// there are none.
ProductName latest_of(const std::string& root, const ProductName& product);

// The names of platforms that include this host's, the narrowest first: operating systems, and
// architectures.
struct PlatformWords {
  std::vector<std::string> systems;
  std::vector<std::string> architectures;
};
PlatformWords platform_words();

}  // namespace zor

#endif
