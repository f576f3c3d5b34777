// A second, plain computation of what the tool prints: the records of a warehouse in memory, the
// data files that they make, and the answer of a run worked out by the shortest road from what the
// data files are documented to mean. It is written for the eye and not for speed, and shares
// nothing with the program, so that the two can be compared on warehouses that nobody thought of.
#ifndef MODEL_MODEL_H
#define MODEL_MODEL_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace model {

using Maybe = std::optional<std::string>;

// ---- What the data files say ----

struct Variable {
  Maybe name, value;
};

// Alternatives, each of conditions that must all hold. None at all: no condition.
using Pattern = std::vector<std::vector<Variable>>;

struct Variety {
  std::vector<Variable> variables;
  std::vector<Maybe> segments;  // their "here"
};

struct Part {
  bool is_file = false;
  Maybe category, name, version, rev;
  bool optional = false;
  Pattern pattern;
};

struct PartGroup {
  Pattern pattern;
  std::vector<Part> parts;
};

enum class Action { kInsert, kRemove, kDelete };

struct Operation {
  Action action = Action::kInsert;
  Maybe separator;
  std::string name;
  std::vector<std::string> values;                        // of an insert one, of a delete none
  std::vector<std::pair<bool, std::string>> constraints;  // true: BEFORE, false: AFTER
};

struct Group {
  Pattern pattern;
  std::vector<Operation> operations;
};

// A SETENV, or another command, which no run of the tool minds.
struct Command {
  Maybe op, name, value;
  std::string other;
};

struct Step {
  Pattern pattern;
  std::vector<Command> commands;
};

// What a data file holds in place of its content, and what a run says of it.
struct Fault {
  bool is_directory = false;
  std::string text;
  std::string complaint;  // up to the name of the file, if that is named
  bool names_the_file = true;
};

template <class Content>
struct DataFile {
  bool there = false;
  std::optional<Fault> fault;
  Content content;
};

struct Product {
  std::string directory;  // below the root
  DataFile<std::vector<Variety>> info;
  DataFile<std::vector<PartGroup>> parts;
  DataFile<std::vector<Step>> setup, prep, unset;
  DataFile<std::vector<Group>> env, unenv;
};

// ---- A run ----

struct Case {
  std::string base;  // the working directory; the warehouse is its "root"
  std::vector<Product> products;
  std::vector<std::pair<std::string, std::string>> files;  // others, below the base
  std::vector<std::string> directories;                    // empty ones, below the base
  std::vector<std::string> arguments;                      // after the program's name
  std::vector<std::string> environment;
  unsigned long long shuffle = 0;  // decides the order in which the files are made
};

// What there is to make on disk, in order, below the base: a file's name and content; a directory
// has none.
std::vector<std::pair<std::string, Maybe>> Layout(const Case& run);

struct Answer {
  std::string out, err;
  int status = 0;
  bool endless = false;  // the run never ends, and prints nothing more than err
};

// The answer of the tool, started as "zorenv". The warehouse must be laid out: what is on disk, and
// in which order a directory gives it, is read there.
Answer Compute(const Case& run);

}  // namespace model

#endif
