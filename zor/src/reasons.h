// Why an environment is as it is: what the engine does in a computation, step by step, in types
// that own what they hold.
//
//   const Account account = account_of(question, Environment::of_process(), "PATH");
//   for (const VariableReason& variable : account.variables) ...
//
// Operations and stations are referred to by their index in the account, -1 for none.
#ifndef ZOR_REASONS_H
#define ZOR_REASONS_H

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "facts.h"
#include "graph.h"
#include "warehouse.h"

namespace zor {

// In place of a group: the old recipes of all groups, which are replayed before the first one.
inline constexpr int kRecipes = -1;

// A variety of a product on the way from one that the request names to one that has operations.
struct Station {
  ProductName product;
  std::string variety;  // may be empty
  std::vector<Binding> variables;
  int includer = -1;  // -1: the request names the product
  Location part;      // where the includer names it; its product is the includer
  int group = 0;      // of the request
  int query = -1;     // in the group, if the request names the product
};

// An operation as it was applied: all text is expanded.
struct AppliedOperation {
  OperationKind kind = OperationKind::kInsert;
  int group = 0;  // or kRecipes
  int station = -1;
  Location place;
  std::string variable;             // a name, or a pattern over names
  std::string separator;            // one character, or none
  std::vector<std::string> values;  // the element, or patterns of elements to remove
  std::vector<std::string> before;
  std::vector<std::string> after;
  std::string word;  // of a recipe: "set", "prepend", "append", "remove" or "delete"
};

// The operation wants first in front of second: by a BEFORE if it inserts first, by an AFTER if it
// inserts second.
struct ConstraintReason {
  std::string first;
  std::string second;
  int operation = -1;
};

struct ElementReason {
  std::string value;
  int position = -1;         // in the new value; -1 if it is not there
  bool was_there = false;    // in the value before the group
  std::vector<int> inserts;  // those that stand; of recipes, that put it there
  // Those that stand; of recipes, what took it away last, also where a later one put it back.
  std::vector<int> removes;
  std::vector<std::pair<int, int>> overruled;  // loser and winner
  // What made it come before its turn, in front of an element that had to wait for it. Otherwise
  // it came in its turn: those that were there in their old order, then the new ones.
  std::optional<ConstraintReason> placed_by;
};

// What a group does to a variable.
struct VariableReason {
  std::string name;
  int group = 0;  // or kRecipes
  std::string separator;
  std::optional<std::string> before;    // as the group finds it
  std::optional<std::string> after;     // none also where its circles leave it without a value
  std::vector<int> operations;          // that touch it, in their order
  std::vector<ElementReason> elements;  // those of the new value in their order, then the others
  std::vector<ConstraintReason> constraints;  // each pair of elements that is ordered, if asked for
  // Of each circle the members in order: the second element of each is the first of the next, and
  // the last one leads back to the first.
  std::vector<std::vector<ConstraintReason>> cycles;
};

struct Account {
  Answer answer;
  std::vector<Station> stations;
  std::vector<AppliedOperation> operations;
  std::vector<VariableReason> variables;  // recipes first, then group by group
};

// Computes and tells why, of one variable or, without a name, of all that operations touch. What
// an answer that is not done holds is told as far as the computation came. Pairs of constraints may
// be as many as pairs of elements, so they are told only on request.
Account account_of(const Question& question, const Environment& base,
                   const std::string& variable = "", bool constraints = false);

// The variable that a fault is about, as environments name it; faults give names as data files do.
std::string variable_of(const Fault& fault);

// Of a variable or of an element, null if there is none.
const VariableReason* reason_of(const Account& account, const std::string& variable, int group);
const ElementReason* reason_of(const VariableReason& variable, const std::string& element);

// The reasons of an account by variables and elements, for those who ask for many. The account must
// outlive it unchanged.
class ReasonIndex {
 public:
  explicit ReasonIndex(const Account& account);
  // The steps that a variable has gone through: the old recipes, then group by group.
  std::vector<const VariableReason*> steps(const std::string& variable) const;
  // The element in one of these steps, null if it is not there.
  const ElementReason* find(const VariableReason& step, const std::string& element) const;

 private:
  std::unordered_map<std::string_view, std::vector<const VariableReason*>> steps_;
  std::unordered_map<const VariableReason*,
                     std::unordered_map<std::string_view, const ElementReason*>>
      elements_;
};

// The stations from the one that the request names to that of an operation.
std::vector<int> chain_of(const Account& account, int operation);

// Whether a variety fits a query.
struct VarietyReason {
  Variety variety;
  std::vector<Binding> failed;       // the conditions that it does not meet
  bool other_host = false;           // it meets them, but its platform is not this host's
  std::vector<std::string> missing;  // the hosts of the segments that are not here
};

// What a query led to.
struct ChoiceReason {
  int query = 0;  // in its group
  ProductName product;
  std::vector<VarietyReason> varieties;
};

// What a part list led to. Varieties that ask for one product in the same way lead to it together.
struct PartReason {
  struct Includer {
    ProductName product;
    std::string variety;
    Location place;  // of the part
  };

  int group = 0;
  ProductName product;
  Presence presence = Presence::kThere;
  bool optional = false;
  std::vector<std::vector<Binding>>
      conditions;  // one of these lists must hold; none is no condition
  std::vector<Includer> includers;
  std::vector<VarietyReason> varieties;
};

struct Choices {
  Answer answer;                                 // of the choices alone
  std::vector<std::vector<ChoiceReason>> named;  // of each query whose product exists, by group
  std::vector<PartReason> parts;                 // nearer ones before those further off, by group
};

Choices choices_of(const Question& question, const Environment& base);

}  // namespace zor

#endif
