// Requests: the words by which people name products, turned into queries.
//
//   zor env tools/weaver site            products by their paths, as far as they need to be told
//   zor env weaver/1.9                   by the name alone, where only one product has it
//   zor env tools/weaver[platform=linux-x86]
//   zor env -p tools weaver 1.9 -v platform x --and -p site
//                                        as on a line of zorenv, which means the same here
//   zor env tools/weaver // site         "//" or "--and" begins a group that overrides
//   zor env @weaving                     what was saved under that name, or a set of zor.toml
//
// How the elements of a path are meant is decided by what is on disk; two readings that both exist
// are an error that names both.
#ifndef ZOR_REQUEST_H
#define ZOR_REQUEST_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config.h"
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
  bool list_reads = false;  // the answer is to tell what it depends on
  std::string platform;     // that the host counts as, if not as what it is
  std::shared_ptr<const Config> config;
  std::string notes;  // what the user is to hear of it, as lines
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

// Takes the words of a request out of a command line. The disk is looked at only for short words.
// Throws Error for wrong usage, ambiguous and unknown names.
SplitWords take_request(const std::vector<std::string>& words, const OptionLookup& options,
                        const Environment& environment);

// The default requests of the settings, for a request that names nothing. Those that can't be met
// are left out if the settings say so, and told of in its notes. Throws Error as above.
Request with_defaults(Request request, const Environment& environment);

// One short word, such as "tools/weaver/1.9[platform=x]". Throws Error as above.
Query read_word(const std::string& word, const std::string& root, const Config& config = Config());

// What the user should hear of choices that give nothing: a line for each product of which no
// variety meets the conditions, or none that does is complete.
std::vector<std::string> silent_choices(const Request& request, const Answer& answer);

// The same of parts that do not exist, which are passed over: lines with their ends.
std::string missing_parts(const Answer& answer);

}  // namespace zor

#endif
