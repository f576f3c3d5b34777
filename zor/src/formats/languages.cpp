// Languages whose literals know any byte: Perl, Ruby, Lua, Tcl, R.
#include <algorithm>
#include <string_view>

#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// A text in double quotes. Of printable characters the special ones get a backslash; of others
// append_other writes the number behind one.
void append_quoted(std::string* text, std::string_view value, std::string_view special,
                   void (*append_other)(std::string* text, char c)) {
  *text += '"';
  for (const char c : value) {
    if (is_printable(c)) {
      if (c == '"' || c == '\\' || special.find(c) != std::string_view::npos) *text += '\\';
      *text += c;
      continue;
    }
    *text += '\\';
    if (const char letter = escape_letter(c))
      *text += letter;
    else
      append_other(text, c);
  }
  *text += '"';
}

void append_for_perl(std::string* text, std::string_view value) {
  append_quoted(text, value, "$@", append_octal);
}

void append_for_ruby(std::string* text, std::string_view value) {
  append_quoted(text, value, "#", append_octal);
}

void append_for_lua(std::string* text, std::string_view value) {
  append_quoted(text, value, "", append_decimal);
}

void append_for_r(std::string* text, std::string_view value) {
  append_quoted(text, value, "", append_octal);
}

bool is_continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Each byte a character: the script is read while Tcl takes the environment for ISO 8859-1. What
// is read from env later is made characters of the system's own encoding.
void append_for_tcl(std::string* text, std::string_view value) {
  append_quoted(text, value, "$[]", append_octal);
}

}  // namespace

void write_perl(std::string* text, const Change& change) {
  *text += change.value ? "$ENV{" : "delete $ENV{";
  append_for_perl(text, change.name);
  *text += '}';
  if (change.value) {
    *text += " = ";
    append_for_perl(text, *change.value);
  }
  *text += ";\n";
}

void write_ruby(std::string* text, const Change& change) {
  *text += change.value ? "ENV[" : "ENV.delete(";
  append_for_ruby(text, change.name);
  *text += change.value ? "] = " : ")";
  if (change.value) append_for_ruby(text, *change.value);
  *text += '\n';
}

void write_lua(std::string* text, const Change& change) {
  *text += "  [";
  append_for_lua(text, change.name);
  *text += "] = ";
  if (change.value)
    append_for_lua(text, *change.value);
  else
    *text += "false";
  *text += ",\n";
}

void write_tcl(std::string* text, const Change& change) {
  // The name of an element: all that stands between the first parenthesis and the last.
  std::string name = "::env(" + change.name + ')';
  *text += change.value ? "set " : "unset -nocomplain ";
  if (is_identifier(change.name))
    *text += name;
  else
    append_for_tcl(text, name);
  if (change.value) {
    *text += ' ';
    append_for_tcl(text, *change.value);
  }
  *text += '\n';
}

// R reads lines of some thousand bytes at most when it runs a file, so a long value is put together
// of pieces.
void write_r(std::string* text, const Change& change) {
  constexpr std::size_t kPiece = 900;
  std::string name;
  append_for_r(&name, change.name);
  if (!change.value) {
    *text += "invisible(Sys.unsetenv(" + name + "))\n";
    return;
  }
  std::string_view value = *change.value;
  if (value.size() <= kPiece) {
    *text += "Sys.setenv(" + name + " = ";
    append_for_r(text, value);
    *text += ")\n";
    return;
  }
  *text += ".zor <- character()\n";
  for (std::size_t piece = 1; !value.empty(); ++piece) {
    std::size_t size = std::min(kPiece, value.size());
    // Not within a character of UTF-8, which has four bytes at most.
    for (int i = 0; i < 3 && size < value.size() && is_continuation(value[size]); ++i)
      --size;
    *text += ".zor[" + std::to_string(piece) + "] <- ";
    append_for_r(text, value.substr(0, size));
    *text += '\n';
    value.remove_prefix(size);
  }
  *text += "Sys.setenv(" + name + " = paste(.zor, collapse = \"\"))\nrm(.zor)\n";
}

}  // namespace zor
