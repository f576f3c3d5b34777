// The rules of zor check and their findings. Each rule has a section in zor-check(7).
//
// An identifier never changes its meaning; a rule that is dropped leaves a gap. The hundreds are
// subjects: files that can't be read, the directory tree, varieties, parts, settings, and products
// together with others.
#ifndef ZOR_CHECK_RULE_H
#define ZOR_CHECK_RULE_H

#include <compare>
#include <span>
#include <string>
#include <string_view>

namespace zor::check {

// An error keeps a product from working, a warning is most likely not what was meant, a note is
// what some sites want to know.
enum class Severity { kNote, kWarning, kError };

std::string_view name_of(Severity severity);

struct Rule {
  std::string_view id;  // "ZW401"
  std::string_view name;
  Severity severity;
  std::string_view sentence;  // what is wrong with what it finds
};

// All of them, by identifier.
std::span<const Rule> rules();

// By identifier or name; null if there is none.
const Rule* find_rule(std::string_view id_or_name);

struct Finding {
  std::string file;  // below the root
  int line = 0;      // from 1; 0 if it is about the file, or the directory, as a whole
  int column = 0;    // in characters, from 1
  int end_line = 0;
  int end_column = 0;   // of the character behind it
  std::string rule;     // its identifier
  std::string text;     // what is wrong, without an end mark
  std::string help;     // what to do
  std::string product;  // for which it was found first, if for more than one

  // By place, then by rule.
  auto operator<=>(const Finding&) const = default;
};

}  // namespace zor::check

#endif
