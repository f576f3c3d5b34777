// Requests: the words by which people name products, turned into queries.
//
//   zor env tools/weaver site            products by their paths, as far as they need to be told
//   zor env weaver/1.9                   by the name alone, where only one product has it
//   zor env tools/weaver[platform=linux-x86]
//   zor env -p tools weaver 1.9 -v platform x --and -p site
//                                        as on a line of zorenv, which means the same here
//   zor env tools/weaver // site         "//" or "--and" begins a group that overrides
//
// How the elements of a path are meant is decided by what is on disk; two readings that both exist
// are an error that names both.
#ifndef ZOR_REQUEST_H
#define ZOR_REQUEST_H

#include <functional>
#include <string>
#include <vector>

#include "warehouse.h"

namespace zor {

// A product as the user named it.
struct NamedQuery {
  Query query;
  std::string word;   // as it was typed
  bool exact = true;  // it came in the form of zorenv, which takes what is there without a word
};

struct Request {
  std::vector<std::vector<NamedQuery>> groups;
  std::string root;  // as given by -r, else the value of ZORROOT, else empty
  bool undo = false;
  bool ignore_missing = false;
  // What zorenv would have made of it: an output option of its own, or a program and its arguments.
  std::string dialect;  // "sh", "csh", "posh", "bat" or nothing
  std::vector<std::string> program;

  bool empty() const;
  Question question() const;
};

// Which of a subcommand's own options take a value, so that the value is not taken for a product.
enum class OptionForm { kUnknown, kFlag, kTakesValue };
using OptionLookup = std::function<OptionForm(const std::string& word)>;

// Words taken apart: those of the request, and those that belong to the subcommand.
struct SplitWords {
  Request request;
  std::vector<std::string> rest;
};

// Takes the words of a request out of a command line. expand gives the queries that a saved name
// stands for, for words that begin with "@". Nothing on disk is looked at but for words that are
// paths. Throws Error for wrong usage, ambiguous and unknown names.
SplitWords take_request(const std::vector<std::string>& words, const OptionLookup& options,
                        const Environment& environment);

// One short word, such as "tools/weaver/1.9[platform=x]". Throws Error as above.
Query read_word(const std::string& word, const std::string& root);

// "tools/weaver/1.9/1[platform=x]", which read_word takes again.
std::string written(const Query& query);

// A category without empty elements and with "/" between the others, so that one directory has one
// name.
std::string normal_category(std::string_view category);

// Names with which the queries' answers say nothing: those whose conditions no variety meets, or
// of which no variety is complete. A line for people for each.
std::vector<std::string> silent_choices(const Request& request, const Answer& answer);

}  // namespace zor

#endif
