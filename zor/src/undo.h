// The unenv.xml that an env.xml needs, and what it can't bring back.
//
// An environment keeps no trace of what it held before, so undoing works by the values alone: what
// was inserted is removed again. Whether that leads back to exactly the environment before depends
// on that environment, and the claims here say on what of it.
#ifndef ZOR_UNDO_H
#define ZOR_UNDO_H

#include <string>
#include <vector>

#include "facts.h"

namespace zor {

// One operation of unenv.xml.
struct UndoStep {
  bool deletes = false;  // the whole variable
  std::string variable;
  std::string separator;
  std::vector<std::string> values;
};

struct UndoGroup {
  Condition when;
  std::vector<UndoStep> steps;
};

// What must have held of a variable before, so that it is the same again afterwards.
struct UndoClaim {
  std::string variable;            // as env.xml writes it; a pattern means all that it matches
  std::string separator;           // of its elements
  bool set = false;                // it was set
  bool unset = false;              // it was not set
  bool tidy = false;               // it was UTF-8 without empty and repeated elements
  bool order = false;              // setting keeps the order of its elements
  std::vector<std::string> lacks;  // no element matched any of these; expanded
  std::vector<std::string> same;   // the %{NAME} and %[FILE] that must mean the same again
};

// An operation that no other one takes back, or of which can't be told whether one does.
struct NotUndone {
  Operation operation;
  std::string why;
  // Where the claims on its variable hold, it did nothing. Otherwise they say nothing of it.
  bool is_covered = false;
};

struct UndoFile {
  std::vector<UndoGroup> groups;  // those of env.xml, in its order
  std::vector<UndoClaim> claims;  // of each variable of which something can be said
  std::vector<NotUndone> not_undone;
};

// Of the operations of an env.xml. Variables that are the product's own are deleted, so that they
// are not left empty. Meanings are those of read_meanings.
UndoFile undo_of(const ProductFacts& facts, const std::vector<std::vector<std::string>>& meanings,
                 const std::vector<std::string>& own);

// The text of the file.
std::string written(const UndoFile& file);

// What people are to know of a claim: "PATH: ...".
std::string shown(const UndoClaim& claim);

}  // namespace zor

#endif
