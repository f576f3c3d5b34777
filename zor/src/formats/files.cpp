// Files of settings: JSON, .env, systemd, docker, GitHub's workflows, and what "env -0" writes.
// Most of them can only set.
#include <algorithm>
#include <string_view>

#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

constexpr const char* kNoName = "is not a name that such a file takes";
constexpr const char* kNoRemoval = "would be removed, which such a file can't say";
constexpr const char* kNotUtf8 = "holds bytes that are not UTF-8";

// What an environment itself can't hold.
std::string refuse_name(const std::string& name) {
  if (name.empty()) return "is no name of a variable";
  if (name.find('=') != std::string::npos) return "holds a '='";
  return {};
}

// For files of text that hold variables to be set.
std::string refuse_setting(const Change& change) {
  if (!is_identifier(change.name)) return kNoName;
  if (!change.value) return kNoRemoval;
  if (!is_utf8(*change.value)) return kNotUtf8;
  return {};
}

void append_json(std::string* text, std::string_view value) {
  *text += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\') *text += '\\';
    if (is_printable(c) || static_cast<unsigned char>(c) >= 0x80) {
      *text += c;
    } else if (const char letter = escape_letter(c)) {
      *text += '\\';
      *text += letter;
    } else {
      *text += "\\u00";
      append_hex(text, c);
    }
  }
  *text += '"';
}

// What the readers of .env files take alike: between single quotes everything is itself, but some
// read \' and \\ as one character, and some make one line end of all kinds. Between double quotes
// some expand variables and commands, and read escapes.
bool fits_single_quotes(std::string_view value) {
  return value.find('\'') == std::string_view::npos && !value.ends_with('\\') &&
         value.find("\\\\") == std::string_view::npos;
}

bool fits_double_quotes(std::string_view value) {
  return value.find_first_of("\"\\$`\n") == std::string_view::npos;
}

// A line that is none of the value's: the end of what follows NAME<<.
std::string delimiter_for(std::string_view value) {
  std::string delimiter = "ZOR_END";
  const std::string lines = '\n' + std::string(value) + '\n';
  for (unsigned i = 1; lines.find('\n' + delimiter + '\n') != std::string::npos; ++i)
    delimiter = "ZOR_END_" + std::to_string(i);
  return delimiter;
}

}  // namespace

std::string refuse_for_bytes(const Change& change) {
  return refuse_name(change.name);
}

std::string refuse_for_text(const Change& change) {
  std::string reason = refuse_name(change.name);
  if (!reason.empty()) return reason;
  if (!is_utf8(change.name)) return "is not UTF-8";
  if (change.value && !is_utf8(*change.value)) return kNotUtf8;
  return {};
}

void write_json(std::string* text, const Change& change) {
  *text += "\n  ";
  append_json(text, change.name);
  *text += ": ";
  if (change.value)
    append_json(text, *change.value);
  else
    *text += "null";
}

std::string refuse_for_dotenv(const Change& change) {
  std::string reason = refuse_setting(change);
  if (!reason.empty()) return reason;
  if (change.value->find('\r') != std::string::npos) return "holds a carriage return";
  if (!fits_single_quotes(*change.value) && !fits_double_quotes(*change.value))
    return "holds quotes or backslashes that readers of .env files take in different ways";
  return {};
}

void write_dotenv(std::string* text, const Change& change) {
  const char quote = fits_single_quotes(*change.value) ? '\'' : '"';
  *text += change.name + '=' + quote + *change.value + quote + '\n';
}

std::string refuse_for_systemd(const Change& change) {
  std::string reason = refuse_setting(change);
  if (!reason.empty()) return reason;
  const auto is_control = [](char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') || c == 0x7F;
  };
  if (std::any_of(change.value->begin(), change.value->end(), is_control))
    return "holds control characters";
  return {};
}

// Between double quotes a backslash makes these four plain characters.
void write_systemd(std::string* text, const Change& change) {
  *text += change.name + "=\"";
  for (const char c : *change.value) {
    if (c == '"' || c == '\\' || c == '`' || c == '$') *text += '\\';
    *text += c;
  }
  *text += "\"\n";
}

std::string refuse_for_docker(const Change& change) {
  // A line is read into 64 KiB, its end included.
  constexpr std::size_t kLongest = 65535;
  std::string reason = refuse_setting(change);
  if (!reason.empty()) return reason;
  if (change.value->find('\n') != std::string::npos) return "holds a line end";
  if (change.value->ends_with('\r')) return "ends with a carriage return";
  if (change.name.size() + 1 + change.value->size() > kLongest)
    return "is too long for a line of such a file";
  return {};
}

void write_docker(std::string* text, const Change& change) {
  *text += change.name + '=' + *change.value + '\n';
}

std::string refuse_for_github(const Change& change) {
  std::string reason = refuse_setting(change);
  if (!reason.empty()) return reason;
  if (change.name.starts_with("GITHUB_") || change.name.starts_with("RUNNER_") ||
      change.name == "NODE_OPTIONS")
    return "is kept for itself by the workflow's runner";
  if (change.value->find('\r') != std::string::npos) return "holds a carriage return";
  return {};
}

void write_github(std::string* text, const Change& change) {
  const std::string delimiter = delimiter_for(*change.value);
  *text += change.name + "<<" + delimiter + '\n' + *change.value + '\n' + delimiter + '\n';
}

// A name alone is a variable to remove.
void write_env0(std::string* text, const Change& change) {
  *text += change.name;
  if (change.value) *text += '=' + *change.value;
  *text += '\0';
}

}  // namespace zor
