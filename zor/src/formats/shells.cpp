// Shells of other families: elvish, nushell, PowerShell, cmd.exe, rc. xonsh is with Python.
#include <algorithm>
#include <string_view>

#include "formats/kept.h"
#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

constexpr const char* kNoName = "is not a valid name for a variable of a shell";
constexpr const char* kNotUtf8 = "holds bytes that are not UTF-8";

// Between single quotes everything is itself; a quote is doubled.
void append_doubling(std::string* text, std::string_view value) {
  *text += '\'';
  for (const char c : value) {
    if (c == '\'') *text += c;
    *text += c;
  }
  *text += '\'';
}

// In double quotes, with numbers of bytes for what is not ASCII: elvish reads its input as UTF-8.
void append_for_elvish(std::string* text, std::string_view value) {
  if (is_printable(value)) return append_doubling(text, value);
  *text += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\') *text += '\\';
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
  *text += '"';
}

// Between single quotes nushell takes everything as it is, and has no way to write the quote.
void append_for_nushell(std::string* text, std::string_view value) {
  if (is_printable(value) && value.find('\'') == std::string_view::npos) {
    *text += '\'' + std::string(value) + '\'';
    return;
  }
  *text += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\') *text += '\\';
    if (is_printable(c) || static_cast<unsigned char>(c) >= 0x80) {
      *text += c;
    } else if (const char letter = escape_letter(c)) {
      *text += '\\';
      *text += letter;
    } else {
      *text += "\\u{";
      append_hex(text, static_cast<char32_t>(c));
      *text += '}';
    }
  }
  *text += '"';
}

// PowerShell takes typographic quotes for quotes, and its input may come line by line, so
// characters outside ASCII and line ends are written as escapes.
void append_for_powershell(std::string* text, std::string_view value) {
  if (is_printable(value)) return append_doubling(text, value);
  *text += '"';
  for (; !value.empty(); value.remove_prefix(character_length(value))) {
    const char c = value[0];
    if (is_printable(c)) {
      if (c == '"' || c == '$' || c == '`') *text += '`';
      *text += c;
    } else if (const char letter = escape_letter(c)) {
      *text += '`';
      *text += letter;
    } else {
      *text += "`u{";
      append_hex(text, first_character(value));
      *text += '}';
    }
  }
  *text += '"';
}

}  // namespace

std::string refuse_for_elvish(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  return reason_of_keepers({&kElvish}, change.name);
}

void write_elvish(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unset-env " + change.name + ";\n";
    return;
  }
  *text += "set-env " + change.name + ' ';
  append_for_elvish(text, *change.value);
  *text += ";\n";
}

std::string refuse_for_nushell(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (change.name.starts_with("PROMPT_") || change.name.starts_with("TRANSIENT_PROMPT_"))
    return "holds what is run or expanded by nushell";
  std::string reason = reason_of_keepers({&kNushell}, change.name);
  if (!reason.empty()) return reason;
  if (change.value && !is_utf8(*change.value)) return kNotUtf8;
  return {};
}

void write_nushell(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "hide-env --ignore-errors " + change.name + ";\n";
    return;
  }
  *text += "$env." + change.name + " = ";
  append_for_nushell(text, *change.value);
  *text += ";\n";
}

std::string refuse_for_powershell(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (change.value && change.value->empty()) return "is empty, which removes it in PowerShell";
  if (change.value && !is_utf8(*change.value)) return kNotUtf8;
  return {};
}

void write_powershell(std::string* text, const Change& change) {
  *text += "${env:" + change.name + "} = ";
  if (change.value)
    append_for_powershell(text, *change.value);
  else
    *text += "$null";
  *text += ";\n";
}

// What a batch file means outside ASCII depends on the code page of the moment.
std::string refuse_for_cmd(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (!change.value) return {};
  const std::string& value = *change.value;
  // The longest line that cmd.exe reads is of 8191 characters.
  std::string line;
  write_cmd(&line, change);
  if (value.empty()) return "is empty, which removes it in cmd";
  if (value.find('"') != std::string::npos) return "holds a quote";
  if (value.find_first_of("\n\r") != std::string::npos) return "holds a line end";
  if (!std::all_of(value.begin(), value.end(), [](char c) { return is_printable(c) || c == '\t'; }))
    return "holds characters other than those of ASCII";
  if (line.size() > 8191) return "is too long for a line of cmd";
  return {};
}

// Between the quotes only the percent sign has a meaning, as long as no one has turned delayed
// expansion on.
void write_cmd(std::string* text, const Change& change) {
  *text += "set \"" + change.name + '=';
  for (const char c : change.value.value_or(std::string())) {
    if (c == '%') *text += '%';
    *text += c;
  }
  *text += "\"\r\n";
}

std::string refuse_for_rc(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (change.name.starts_with("fn_")) return "is a function to rc";
  std::string reason = reason_of_keepers({&kRc}, change.name);
  if (!reason.empty()) return reason;
  // They separate the elements of a list in the environment.
  if (change.value && change.value->find_first_of("\1\2") != std::string::npos)
    return "holds a byte 1 or 2, which rc writes in another way";
  if (change.value && change.value->find('\xFF') != std::string::npos)
    return "holds a byte 255, which rc takes for the end of its input";
  return {};
}

void write_rc(std::string* text, const Change& change) {
  *text += change.name + '=';
  if (change.value)
    append_doubling(text, *change.value);
  else
    *text += "()";
  *text += ";\n";
}

}  // namespace zor
