// Shells of the sh family.
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// Between single quotes everything is itself; a single quote stands outside, behind a backslash.
void append_quoted(std::string* text, std::string_view value) {
  *text += '\'';
  for (const char c : value) {
    if (c == '\'')
      *text += "'\\''";
    else
      *text += c;
  }
  *text += '\'';
}

}  // namespace

std::string refuse_for_sh(const Change& change) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  return {};
}

void write_sh(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unset " + change.name + ";\n";
    return;
  }
  *text += change.name + '=';
  append_quoted(text, *change.value);
  *text += "; export " + change.name + ";\n";
}

}  // namespace zor
