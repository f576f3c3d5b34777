// One product after another, as a computation sees it: what its texts mean for each of its
// varieties, which products its parts are, and which environment it gives.
//
//   Inspection inspection(root);
//   if (inspection.load(product).empty())
//     for (std::size_t i = 0; i < inspection.varieties().size(); ++i) ...
//
// Products that were read stay in memory, as parts are shared by many, until forget.
#ifndef ZOR_INSPECTION_H
#define ZOR_INSPECTION_H

#include <memory>
#include <string>
#include <vector>

#include "facts.h"

namespace zor {

// What a text means.
struct Expansion {
  std::string text;
  std::string undefined;  // a name in it that nothing defines
  std::string missing;    // a file that %[FILE] names and that is not there
  std::string fault;      // what else went wrong

  bool done() const { return undefined.empty() && missing.empty() && fault.empty(); }
};

// What a PRODUCT element leads to.
struct PartFacts {
  ProductName product;  // with all names expanded
  std::vector<Fault> faults;
  bool exists = false;
  std::vector<VarietyFacts> taken;  // complete ones that the pattern takes
  std::size_t complete = 0;         // varieties that could be taken
};

// An operation that applies, expanded.
struct AppliedStep {
  OperationKind kind = OperationKind::kInsert;
  Location place;
  std::string variable;
  std::string separator;
  std::vector<std::string> values;
  std::vector<std::string> before;
  std::vector<std::string> after;
};

// An insert that does not count since a product that includes its own inserts the same.
struct OverruledInsert {
  Location loser;
  Location winner;
  std::string variable;
  std::string value;
  bool loses_constraints = false;  // it states some, and the other one states none
};

// What operations of a computation state, of any variable.
struct Stated {
  bool before = false;
  bool after = false;
  bool separator = false;      // another one than a colon
  bool pattern_names = false;  // a pattern over names of variables
};

struct Trial {
  Answer answer;
  Stated stated;
  std::vector<AppliedStep> steps;  // if asked for
  std::vector<OverruledInsert> overruled;
};

class Inspection {
 public:
  // The root is absolute.
  explicit Inspection(const std::string& root);
  ~Inspection();
  Inspection(const Inspection&) = delete;
  Inspection& operator=(const Inspection&) = delete;

  // Makes it the product at hand. Gives what is wrong with its files.
  std::vector<Fault> load(const ProductName& product);
  void forget();

  const std::vector<VarietyFacts>& varieties() const;
  bool meets(std::size_t variety, const Condition& condition) const;
  // The text as it stands in a data file. The reference stays until the next load.
  const Expansion& expand(std::size_t variety, const std::string& text) const;
  PartFacts part(std::size_t variety, const ProductName& written, const Condition& taken) const;
  // What comes of a request for the product. answer.environment is not made.
  Trial compute(const std::vector<Binding>& conditions, bool undo, const Environment& base,
                bool with_steps) const;
  // Whether undoing it and its parts only takes out, by whatever separator, so that nothing can be
  // at odds.
  bool undoes_plainly() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Whether a host of the second platform takes a variety for the first.
bool platforms_fit(const std::string& one, const std::string& other);

// Whether %(NAME) stands for something in every product, so that a variety can't give it a meaning.
bool is_reserved_name(const std::string& name);

}  // namespace zor

#endif
