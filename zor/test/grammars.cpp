#include "grammars.h"

#include <cctype>
#include <cstdlib>

namespace {

// Thrown where a script is no list of settings.
struct Refused {};

class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool Ended() const { return rest_.empty(); }
  char Peek() const { return rest_.empty() ? '\0' : rest_[0]; }
  char Next() {
    if (rest_.empty()) throw Refused();
    const char c = rest_[0];
    rest_.remove_prefix(1);
    return c;
  }
  bool Take(std::string_view literal) {
    if (!rest_.starts_with(literal)) return false;
    rest_.remove_prefix(literal.size());
    return true;
  }
  void Expect(std::string_view literal) {
    if (!Take(literal)) throw Refused();
  }
  // What stands before the next such text, which is passed over.
  std::string Until(std::string_view end) {
    const std::size_t at = rest_.find(end);
    if (at == std::string_view::npos) throw Refused();
    const std::string taken(rest_.substr(0, at));
    rest_.remove_prefix(at + end.size());
    return taken;
  }
  std::string Name() {
    std::string name;
    while (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '_')
      name += Next();
    if (name.empty()) throw Refused();
    return name;
  }
  // A number of one to so many digits.
  unsigned long Number(int base, std::size_t digits) {
    std::string number;
    const std::string_view all = "0123456789abcdef";
    while (number.size() < digits && Peek() != '\0' &&
           all.substr(0, static_cast<std::size_t>(base)).find(Peek()) != std::string_view::npos)
      number += Next();
    if (number.empty()) throw Refused();
    return std::strtoul(number.c_str(), nullptr, base);
  }

 private:
  std::string_view rest_;
};

char Byte(unsigned long number) {
  if (number == 0 || number > 255) throw Refused();
  return static_cast<char>(number);
}

std::string Utf8(unsigned long c) {
  const auto tail = [](unsigned long bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
  if (c < 0x80) return {static_cast<char>(c)};
  if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), tail(c)};
  if (c < 0x10000) return {static_cast<char>(0xE0 | c >> 12), tail(c >> 6), tail(c)};
  return {static_cast<char>(0xF0 | c >> 18), tail(c >> 12), tail(c >> 6), tail(c)};
}

bool IsOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}

// --- quotes ---

// Up to the quote, which is doubled inside.
std::string Doubling(Reader& in) {
  std::string value;
  for (;;) {
    value += in.Until("'");
    if (!in.Take("'")) return value;
    value += '\'';
  }
}

struct Escapes {
  std::string_view own = {};  // characters that a backslash leaves as they are
  int base = 0;               // of the number of a byte behind a backslash, of three digits; or 0
  bool hexadecimal = false;   // \xHH
  bool unicode = false;       // \uHHHH
  bool braces = false;        // \u{H...}
  std::string_view expanded = {};  // characters that would be expanded where no backslash is before
};

std::string Escaped(Reader& in, char quote, const Escapes& escapes) {
  std::string value;
  for (char c; (c = in.Next()) != quote;) {
    if (IsOneOf(c, escapes.expanded)) throw Refused();
    if (c != '\\') {
      value += c;
      continue;
    }
    const char next = in.Peek();
    if (escapes.base != 0 && next >= '0' && next <= '9') {
      value += Byte(in.Number(escapes.base, 3));
    } else if (in.Take("n")) {
      value += '\n';
    } else if (in.Take("r")) {
      value += '\r';
    } else if (in.Take("t")) {
      value += '\t';
    } else if (escapes.hexadecimal && in.Take("x")) {
      value += Byte(in.Number(16, 2));
    } else if (escapes.braces && in.Take("u{")) {
      value += Utf8(in.Number(16, 6));
      in.Expect("}");
    } else if (escapes.unicode && in.Take("u")) {
      value += Utf8(in.Number(16, 4));
    } else if (next == quote || next == '\\' || IsOneOf(next, escapes.own)) {
      value += in.Next();
    } else {
      throw Refused();
    }
  }
  return value;
}

// --- words of shells ---

std::string DoubleQuotedOfSh(Reader& in) {
  std::string value;
  for (char c; (c = in.Next()) != '"';) {
    if (c == '$' || c == '`') throw Refused();
    if (c == '\\' && in.Take("\n")) continue;
    value += c == '\\' && IsOneOf(in.Peek(), "$`\"\\") ? in.Next() : c;
  }
  return value;
}

bool IsPlain(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || IsOneOf(c, "/._:+,@%-");
}

std::string WordOfSh(Reader& in, bool dollar) {
  std::string value;
  for (;;) {
    if (in.Take("'"))
      value += in.Until("'");
    else if (in.Take("\""))
      value += DoubleQuotedOfSh(in);
    else if (dollar && in.Take("$'"))
      value += Escaped(in, '\'', {.own = "\"", .base = 8});
    else if (in.Take("\\"))
      value += in.Next();
    else if (IsPlain(in.Peek()))
      value += in.Next();
    else
      return value;
  }
}

std::string SingleQuotedOfFish(Reader& in) {
  std::string value;
  for (char c; (c = in.Next()) != '\'';)
    value += c == '\\' && IsOneOf(in.Peek(), "\\'") ? in.Next() : c;
  return value;
}

std::string WordOfFish(Reader& in) {
  std::string value;
  for (;;) {
    if (in.Take("'"))
      value += SingleQuotedOfFish(in);
    else if (in.Take("\""))
      value += DoubleQuotedOfSh(in);
    else if (in.Take("\\n"))
      value += '\n';
    else if (in.Take("\\r"))
      value += '\r';
    else if (in.Take("\\t"))
      value += '\t';
    else if (in.Take("\\X"))
      value += Byte(in.Number(16, 2));
    else if (IsPlain(in.Peek()))
      value += in.Next();
    else
      return value;
  }
}

std::string QuotedOfCsh(Reader& in, char quote) {
  std::string value;
  for (char c; (c = in.Next()) != quote;) {
    if (c == '\n' || c == '!' || (quote == '"' && (c == '$' || c == '`'))) throw Refused();
    value += c == '\\' && IsOneOf(in.Peek(), "\n!") ? in.Next() : c;
  }
  return value;
}

std::string WordOfCsh(Reader& in) {
  std::string value;
  for (;;) {
    if (in.Take("'"))
      value += QuotedOfCsh(in, '\'');
    else if (in.Take("\""))
      value += QuotedOfCsh(in, '"');
    else if (in.Take("\\"))
      value += in.Peek() == '\n' ? throw Refused() : in.Next();
    else if (IsPlain(in.Peek()))
      value += in.Next();
    else
      return value;
  }
}

std::string TextOfElvish(Reader& in) {
  if (in.Take("'")) return Doubling(in);
  in.Expect("\"");
  return Escaped(in, '"', {.hexadecimal = true});
}

std::string TextOfNushell(Reader& in) {
  if (in.Take("'")) return in.Until("'");
  in.Expect("\"");
  return Escaped(in, '"', {.own = "'/", .braces = true});
}

// Typographic quotes are quotes there, so nothing outside ASCII is let pass.
std::string TextOfPowerShell(Reader& in) {
  std::string value;
  if (in.Take("'")) {
    value = Doubling(in);
  } else {
    in.Expect("\"");
    for (char c; (c = in.Next()) != '"';) {
      if (c == '$' || static_cast<unsigned char>(c) >= 0x80) throw Refused();
      if (c != '`') {
        value += c;
      } else if (in.Take("n")) {
        value += '\n';
      } else if (in.Take("r")) {
        value += '\r';
      } else if (in.Take("t")) {
        value += '\t';
      } else if (in.Take("u{")) {
        value += Utf8(in.Number(16, 6));
        in.Expect("}");
      } else if (IsOneOf(in.Peek(), "`\"$")) {
        value += in.Next();
      } else {
        throw Refused();
      }
    }
    return value;
  }
  for (const char c : value)
    if (static_cast<unsigned char>(c) >= 0x80) throw Refused();
  return value;
}

// --- scripts of shells: what each calls its records ---

void ReadShell(std::string_view dialect, Reader& in, Settings* settings) {
  const auto set = [&](std::string_view between, std::string (*value)(Reader&),
                       std::string_view end) {
    const std::string name = in.Name();
    in.Expect(between);
    (*settings)[name] = value(in);
    in.Expect(end);
  };
  const auto remove = [&](std::string_view end) {
    const std::string name = in.Name();
    in.Expect(end);
    (*settings)[name] = std::nullopt;
  };
  if (dialect == "sh" || dialect == "bash" || dialect == "zsh" || dialect == "ksh") {
    if (in.Take("unset ")) return remove(";\n");
    const std::string name = in.Name();
    in.Expect("=");
    (*settings)[name] = WordOfSh(in, dialect != "sh");
    in.Expect("; export " + name + ";\n");
  } else if (dialect == "fish") {
    if (in.Take("set -e -g ")) return remove(";\n");
    in.Expect("set -gx ");
    set(" ", WordOfFish, ";\n");
  } else if (dialect == "csh") {
    if (in.Take("unsetenv ")) return remove(";\n");
    in.Expect("setenv ");
    set(" ", WordOfCsh, ";\n");
  } else if (dialect == "elvish") {
    if (in.Take("unset-env ")) return remove(";\n");
    in.Expect("set-env ");
    set(" ", TextOfElvish, ";\n");
  } else if (dialect == "nushell") {
    if (in.Take("hide-env --ignore-errors ")) return remove(";\n");
    in.Expect("$env.");
    set(" = ", TextOfNushell, ";\n");
  } else if (dialect == "powershell") {
    in.Expect("${env:");
    const std::string name = in.Name();
    in.Expect("} = ");
    if (in.Take("$null"))
      (*settings)[name] = std::nullopt;
    else
      (*settings)[name] = TextOfPowerShell(in);
    in.Expect(";\n");
  } else if (dialect == "rc") {
    const std::string name = in.Name();
    in.Expect("=");
    if (in.Take("()")) {
      (*settings)[name] = std::nullopt;
    } else {
      in.Expect("'");
      (*settings)[name] = Doubling(in);
    }
    in.Expect(";\n");
  } else {
    throw Refused();
  }
}

// A batch file: set "NAME=VALUE", lines of 8191 characters at most; an empty value removes.
void ReadCmd(Reader& in, Settings* settings) {
  const std::string content = in.Until("\r\n");
  Reader line(content);
  const std::string text = line.Until("\"") + '"';
  if (text != "set \"") throw Refused();
  const std::string name = line.Name();
  line.Expect("=");
  std::string value;
  std::size_t length = 5 + name.size() + 2;
  for (char c; (c = line.Next()) != '"'; ++length) {
    if (c == '%' && (++length, !line.Take("%"))) throw Refused();
    if (static_cast<unsigned char>(c) >= 0x7F || (c < ' ' && c != '\t')) throw Refused();
    value += c;
  }
  if (!line.Ended() || length > 8191) throw Refused();
  (*settings)[name] = value.empty() ? std::nullopt : std::optional(value);
}

// --- languages ---

void ReadLanguage(std::string_view dialect, Reader& in, Settings* settings) {
  const auto record = [&](std::string_view before, char quote, const Escapes& escapes,
                          std::string_view between, std::string_view end) {
    in.Expect(before);
    const std::string name = Escaped(in, quote, escapes);
    in.Expect(between);
    (*settings)[name] = Escaped(in, quote, escapes);
    in.Expect(end);
  };
  if (dialect == "python")
    record("os.environb[b'", '\'', {.hexadecimal = true}, "] = b'", "\n");
  else if (dialect == "perl")
    record("$ENV{\"", '"', {.own = "$@", .base = 8, .expanded = "$@"}, "} = \"", ";\n");
  else if (dialect == "ruby")
    record("ENV[\"", '"', {.own = "#", .base = 8, .expanded = "#"}, "] = \"", "\n");
  else if (dialect == "lua")
    record("  [\"", '"', {.base = 10}, "] = \"", ",\n");
  else if (dialect == "json")
    record("\n  \"", '"', {.own = "/", .unicode = true}, ": \"", "");
  else
    throw Refused();
}

// --- files ---

// A line of a definition: references to functions give a character or nothing.
std::string LineOfMake(Reader& in) {
  std::string value;
  char last = '\0';
  for (char c; (c = in.Next()) != '\n'; last = c) {
    if (c != '$') {
      value += c;
    } else if (in.Take("$")) {
      value += '$';
    } else if (in.Take("(if ,)")) {
    } else {
      in.Expect("(if 1,");
      value += in.Next();
      in.Expect(")");
      c = ')';
    }
  }
  // The one joins lines, the other is part of a line end.
  if (last == '\\' || last == '\r') throw Refused();
  return value;
}

void ReadMake(Reader& in, Settings* settings) {
  if (in.Take("export ")) {
    const std::string name = in.Name();
    in.Expect(" := ");
    if (in.Peek() == ' ') throw Refused();
    const std::string value = LineOfMake(in);
    if (value.find('#') != std::string::npos) throw Refused();
    (*settings)[name] = value;
    return;
  }
  in.Expect("define ");
  const std::string name = in.Name();
  in.Expect(" :=\n");
  std::string value;
  while (!in.Take("endef\n"))
    value += LineOfMake(in) + '\n';
  in.Expect("export " + name + '\n');
  if (!value.empty()) value.pop_back();
  (*settings)[name] = value;
}

void ReadCmake(Reader& in, Settings* settings) {
  in.Expect("set(ENV{");
  const std::string name = in.Name();
  in.Expect("} ");
  std::string value;
  if (in.Take("\"")) {
    value = Escaped(in, '"', {.own = "$@", .expanded = "$@"});
  } else {
    in.Expect("[");
    const std::string marks = in.Until("[");
    in.Take("\n");
    value = in.Until(']' + marks + ']');
    if (value.find('\r') != std::string::npos) throw Refused();
  }
  in.Expect(")\n");
  (*settings)[name] = value.empty() ? std::nullopt : std::optional(value);
}

// Readers of .env files differ: those of Ruby and JavaScript take what stands between single quotes
// as it is, that of Python reads \\ and \' there; between double quotes some expand. A quote ends
// at the first one that no backslash stands before.
void ReadDotenv(Reader& in, Settings* settings) {
  const std::string name = in.Name();
  in.Expect("=");
  const char quote = in.Next();
  if (quote != '\'' && quote != '"') throw Refused();
  std::string value;
  for (char c; (c = in.Next()) != quote;) {
    if (c == '\r' || (c == '\\' && IsOneOf(in.Peek(), "\\'"))) throw Refused();
    if (quote == '"' && IsOneOf(c, "\\$`\n")) throw Refused();
    value += c;
  }
  in.Expect("\n");
  (*settings)[name] = value;
}

// systemd.exec(5): between double quotes a backslash makes ", \, ` and $ plain, and joins lines.
// Control characters other than tabs and line ends make the variable one that is left out.
void ReadSystemd(Reader& in, Settings* settings) {
  const std::string name = in.Name();
  in.Expect("=\"");
  std::string value;
  for (char c; (c = in.Next()) != '"';) {
    if ((c >= 0 && c < ' ' && c != '\t' && c != '\n') || c == 0x7F) throw Refused();
    if (c == '\\' && in.Take("\n")) continue;
    value += c == '\\' && IsOneOf(in.Peek(), "\"\\`$") ? in.Next() : c;
  }
  in.Expect("\n");
  (*settings)[name] = value;
}

// A line a variable, of 64 KiB at most, nothing quoted; blanks in front of a line and a carriage
// return at its end are dropped, and # begins a comment.
void ReadDocker(Reader& in, Settings* settings) {
  std::string line = in.Until("\n");
  if (line.size() >= 65536) throw Refused();
  if (line.ends_with('\r')) line.pop_back();
  Reader inner(line);
  const std::string name = inner.Name();
  inner.Expect("=");
  (*settings)[name] = line.substr(name.size() + 1);
}

// NAME<<DELIMITER, lines, and the first line that is the delimiter.
void ReadGithub(Reader& in, Settings* settings) {
  const std::string name = in.Name();
  in.Expect("<<");
  const std::string delimiter = in.Until("\n");
  std::string value;
  bool first = true;
  for (std::string line; (line = in.Until("\n")) != delimiter; first = false)
    value += (first ? "" : "\n") + line;
  if (delimiter.empty() || value.find('\r') != std::string::npos) throw Refused();
  (*settings)[name] = value;
}

void ReadRecord(std::string_view dialect, Reader& in, Settings* settings) {
  if (dialect == "cmd") return ReadCmd(in, settings);
  if (dialect == "make") return ReadMake(in, settings);
  if (dialect == "cmake") return ReadCmake(in, settings);
  if (dialect == "dotenv") return ReadDotenv(in, settings);
  if (dialect == "systemd") return ReadSystemd(in, settings);
  if (dialect == "docker") return ReadDocker(in, settings);
  if (dialect == "github") return ReadGithub(in, settings);
  if (dialect == "python" || dialect == "perl" || dialect == "ruby" || dialect == "lua" ||
      dialect == "json")
    return ReadLanguage(dialect, in, settings);
  ReadShell(dialect, in, settings);
}

}  // namespace

std::optional<Settings> ReadScript(std::string_view dialect, std::string_view script) {
  Reader in(script);
  Settings settings;
  try {
    if (dialect == "python") in.Expect("import os\n");
    if (dialect == "lua") in.Expect("return {\n");
    if (dialect == "json") in.Expect("{");
    const std::string_view tail = dialect == "lua" ? "}\n" : dialect == "json" ? "\n}\n" : "";
    while (tail.empty() ? !in.Ended() : !in.Take(tail)) {
      if (dialect == "json" && !settings.empty()) in.Expect(",");
      ReadRecord(dialect, in, &settings);
    }
    if (!in.Ended()) return std::nullopt;
  } catch (const Refused&) {
    return std::nullopt;
  }
  return settings;
}
