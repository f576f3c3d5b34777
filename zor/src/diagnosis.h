// What is wrong with a data file, in words for people: where, what was met and what may stand there
// instead, why it matters, what to do, and where to read on.
//
// It is the file's reader that says so (product.xml, env.xml and so on have one by their names), so
// that a file has a fault here if and only if the reader refuses it.
#ifndef ZOR_DIAGNOSIS_H
#define ZOR_DIAGNOSIS_H

#include <string>
#include <string_view>
#include <vector>

namespace zor {

struct Diagnosis {
  std::string file;
  int line = 0;         // from 1; 0 for the file as a whole
  int column = 0;       // in characters, from 1
  std::string text;     // what was met, and what may stand there instead
  std::string why;      // why it matters
  std::string help;     // what to do
  std::string read_on;  // a page and its section
};

// All that is wrong with one data file, in the order of its lines; empty if it reads well, and for
// a file that does not exist or whose name is no data file's.
std::vector<Diagnosis> diagnose_file(const std::string& path);

// As text: "file:line:column: text", and below it, indented, why, what to do and where to read on.
std::string told(const Diagnosis& diagnosis);

// "a", "a and b", "a, b and c"; with "or" in place of "and" if that is the word.
std::string enumerated(const std::vector<std::string>& words, std::string_view word = "and");

// The candidate that a misspelt word most likely means, whatever its case; empty if none is near.
std::string meant(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace zor

#endif
