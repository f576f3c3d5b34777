// What zor needs of the warehouse floor, in types that own what they hold. Besides warehouse.cpp
// and the sources that share its beginning no source of zor includes a header of that floor.
//
//   Engine engine;                                 once in a process, before anything else
//   Answer answer = compute({root, groups}, Environment::of_process());
//   if (answer.done) ... answer.environment ...
//   else             ... answer.faults ...
#ifndef ZOR_WAREHOUSE_H
#define ZOR_WAREHOUSE_H

#include <compare>
#include <string>
#include <vector>

#include "environment.h"

namespace zor {

// A product's identity. In a query "+" stands for the latest version or rev on disk.
struct ProductName {
  std::string category;
  std::string name;
  std::string version;
  std::string rev;

  // category/name/version/rev
  std::string path() const;
  auto operator<=>(const ProductName&) const = default;
};

// A variable of a variety, or a condition on one, whose value is then a pattern.
struct Binding {
  std::string name;
  std::string value;

  auto operator<=>(const Binding&) const = default;
};

struct Query {
  ProductName product;
  std::vector<Binding> conditions;

  auto operator<=>(const Query&) const = default;
};

// The products of a group are resolved together; a later group overrides an earlier one.
using Group = std::vector<Query>;

struct Question {
  std::string root;  // as given; an empty one is the current directory
  std::vector<Group> groups;
  bool undo = false;            // unenv.xml and unset.xml in place of env.xml and setup.xml
  bool ignore_missing = false;  // a product that does not exist is no fault
  bool choices_only = false;    // products are read and nothing is computed
  std::string platform;         // what the host counts as, if not as what it is
  bool list_reads = false;      // the answer tells what it depends on
};

enum class FaultKind {
  kClash,       // a value both inserted and removed
  kCycle,       // order constraints in a circle
  kEndless,     // a product inserts what one of its parts removes: nothing settles the two
  kSeparators,  // two separators for one variable
  kUndefined,   // a name that nothing defines
  kMissing,     // a file or directory that does not exist
  kData,        // a data file that can't be read as one
  kAssertion,   // the program's own: a contract was broken
  kOther,
};

// An operation in a data file.
struct Location {
  ProductName product;
  std::string file;  // its path
  int line = 0;      // from 1
  int column = 0;    // in characters, from 1

  auto operator<=>(const Location&) const = default;
};

// A fault, once however often the computation met it.
struct Fault {
  FaultKind kind = FaultKind::kOther;
  // For people. The engine's words, without "Error:" in front of them; for faults of data files and
  // of what lies on disk, where, what, why and what to do, in lines.
  std::string text;
  // The details in it, each a word for what it is ("File", "environment variable") and its name.
  std::vector<Binding> details;
  // The insert and the remove of a clash and of what has no end; the operations of a circle, each
  // of which wants its element in front of that of the next; the places of faults in a data file,
  // and of uses of a name that nothing defines, these without a product.
  std::vector<Location> places = {};

  bool operator==(const Fault&) const = default;
};

struct Variety {
  std::string name;  // may be empty
  std::vector<Binding> variables;
  bool complete = true;  // each of its segments is here
  bool chosen = false;   // by the query
};

// What a query led to.
struct Choice {
  ProductName product;             // with the version and rev that were taken
  std::vector<Variety> varieties;  // all, in the order of the file
};

// A part that a part list names and that does not exist.
struct MissingPart {
  ProductName product;
  Location where;   // of the product that has it
  std::string why;  // in words
};

struct Answer {
  bool done = false;  // no fault: environment holds
  Environment environment;
  std::vector<Fault> faults;
  std::vector<std::vector<Choice>> groups;  // of the products that were named, as far as loaded
  // Of each query, with the version and rev that are the latest where they were left open.
  std::vector<std::vector<ProductName>> taken;
  std::string root;                   // absolute
  std::vector<ProductName> products;  // all that were read, in the order of reading; parts too
  // The separators that data files state: a variable's name, which may be a pattern, and the
  // separator that is stated first for it.
  std::vector<Binding> separators;
  // Parts that were passed over, but for those that are optional.
  std::vector<MissingPart> missing_parts;
  // If asked for: the paths of all data files that were looked for, those that do not exist as
  // well, sorted, each once. Paths below the root are relative to it.
  std::vector<std::string> reads;
};

// The names of all data files that a product may have.
inline constexpr const char* kDataFiles[] = {"product.xml", "partlist.xml", "setup.xml", "prep.xml",
                                             "unset.xml",   "env.xml",      "unenv.xml"};

// Boots the floors below. There must be one object of it, at the head of main; argv is kept.
// Where the locale of the environment is that of C, the floors work in UTF-8.
class Engine {
 public:
  Engine(int argc, char** argv);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
};

// Lets exhausted memory end the process with status 2 and without a word, where a process above it
// tells of it.
void end_silently();

// Computes the environment that a question leads to from base. %{NAME} in data files means base.
Answer compute(const Question& question, const Environment& base);

// The root as the computation takes it: absolute, without a separator at its end.
std::string absolute_root(const std::string& root);

// Less than 0, 0 or more than 0, as the first is lower than, equal to or higher than the second.
int compare_versions(const std::string& first, const std::string& second);

// This host's platform, such as "linux_6_1_0-x86_64".
std::string host_platform_name();

// Whether a text is more than itself in the warehouse's pattern language, and whether it matches.
bool is_pattern(const std::string& text);
bool pattern_matches(const std::string& pattern, const std::string& text);

}  // namespace zor

#endif
