// Build systems: GNU make, CMake.
#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

constexpr const char* kNoName = "is not a valid name for a variable of a build system";

void append_make_text(std::string* text, std::string_view value) {
  for (const char c : value) {
    if (c == '$') *text += '$';
    *text += c;
  }
}

// A line between "define" and "endef". A backslash at its end would join it with the next one, a
// carriage return there would be taken for a part of the line end, and a line may not look like
// the end of the definition, or like the begin of another: references that give the character, or
// nothing, stand in their place.
void append_make_line(std::string* text, std::string_view line) {
  if (line.find("define") != std::string_view::npos || line.find("endef") != std::string_view::npos)
    *text += "$(if ,)";
  const char last = line.empty() ? '\0' : line.back();
  if (last == '\\' || last == '\r') line.remove_suffix(1);
  append_make_text(text, line);
  if (last == '\\' || last == '\r') {
    *text += "$(if 1,";
    *text += last;
    *text += ')';
  }
  *text += '\n';
}

// Whether it can stand behind ":=", where blanks in front are lost and comments begin.
bool fits_make_line(std::string_view value) {
  return !value.empty() && is_printable(value) && value[0] != ' ' &&
         value.find_first_of("#\\") == std::string_view::npos;
}

// Whether it is more than one that CMake reads between quotes for sure: where a project asks for no
// newer policies, the parser of such arguments has a stack of 50,000 tokens.
bool is_long(std::string_view value) {
  return value.size() > 10000;
}

void append_cmake_quoted(std::string* text, std::string_view value) {
  *text += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\' || c == '$' || c == '@') *text += '\\';
    if (const char letter = escape_letter(c)) {
      *text += '\\';
      *text += letter;
    } else {
      *text += c;
    }
  }
  *text += '"';
}

// Between brackets everything is itself, but that a line end behind the first is left out, and that
// a carriage return is lost in front of one.
void append_cmake_bracket(std::string* text, std::string_view value) {
  std::string marks = "=";
  while ((std::string(value) + ']').find(']' + marks + ']') != std::string::npos)
    marks += '=';
  *text += '[' + marks + "[\n" + std::string(value) + ']' + marks + ']';
}

}  // namespace

std::string refuse_for_make(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  return reason_of_keepers({&kMake}, change.name);
}

void write_make(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unexport " + change.name + "\nundefine " + change.name + '\n';
    return;
  }
  std::string_view value = *change.value;
  if (fits_make_line(value)) {
    *text += "export " + change.name + " := ";
    append_make_text(text, value);
    *text += '\n';
    return;
  }
  *text += "define " + change.name + " :=\n";
  if (!value.empty()) {
    for (std::size_t end; (end = value.find('\n')) != std::string_view::npos;) {
      append_make_line(text, value.substr(0, end));
      value.remove_prefix(end + 1);
    }
    append_make_line(text, value);
  }
  *text += "endef\nexport " + change.name + '\n';
}

std::string refuse_for_cmake(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (!change.value) return {};
  if (change.value->empty()) return "is empty, which removes it in CMake";
  if (is_long(*change.value) && change.value->find('\r') != std::string::npos)
    return "is long and holds a carriage return, which CMake can't read";
  return {};
}

void write_cmake(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unset(ENV{" + change.name + "})\n";
    return;
  }
  *text += "set(ENV{" + change.name + "} ";
  if (is_long(*change.value))
    append_cmake_bracket(text, *change.value);
  else
    append_cmake_quoted(text, *change.value);
  *text += ")\n";
}

}  // namespace zor
