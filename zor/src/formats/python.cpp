// Python, and the shell that is made of it.
#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// The inner part of a literal of bytes, or of a text of printable characters.
void append_quoted(std::string* text, std::string_view value) {
  *text += '\'';
  for (const char c : value) {
    if (c == '\'' || c == '\\') *text += '\\';
    if (is_printable(c)) {
      *text += c;
    } else if (const char letter = escape_letter(c)) {
      *text += '\\';
      *text += letter;
    } else {
      *text += "\\x";
      append_hex(text, c);
    }
  }
  *text += '\'';
}

bool is_ascii(std::string_view value) {
  for (const char c : value)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

// xonsh makes lists of these, and expands variables and home directories in their elements
// whenever it hands them on.
bool would_expand(std::string_view name, std::string_view value) {
  if (!name.ends_with("PATH") && !name.ends_with("DIRS")) return false;
  for (std::size_t at = 0; at < value.size(); ++at) {
    const bool begins = at == 0 || value[at - 1] == ':' || value[at - 1] == '=';
    if (value[at] == '$' || (value[at] == '~' && begins)) return true;
  }
  return false;
}

}  // namespace

// The bytes of the environment, whatever encoding the interpreter takes them for.
void write_python(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "os.environb.pop(b";
    append_quoted(text, change.name);
    *text += ", None)\n";
    return;
  }
  *text += "os.environb[b";
  append_quoted(text, change.name);
  *text += "] = b";
  append_quoted(text, *change.value);
  *text += '\n';
}

std::string refuse_for_xonsh(const Change& change) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  if (change.name.starts_with("XONSH") || change.name.starts_with("XONTRIB"))
    return "is kept for itself by xonsh";
  std::string reason = reason_of_keepers({&kXonsh}, change.name);
  if (!reason.empty()) return reason;
  if (change.value && would_expand(change.name, *change.value))
    return "is a list to xonsh, which would expand the $ or ~ in it";
  return {};
}

void write_xonsh(std::string* text, const Change& change) {
  *text += "${...}";
  if (!change.value) {
    *text += ".pop('" + change.name + "', None)\n";
    return;
  }
  *text += "['" + change.name + "'] = ";
  // Texts are characters there; of bytes outside ASCII the interpreter makes its own.
  const bool ascii = is_ascii(*change.value);
  if (!ascii) *text += "__import__('os').fsdecode(b";
  append_quoted(text, *change.value);
  *text += ascii ? "\n" : ")\n";
}

}  // namespace zor
