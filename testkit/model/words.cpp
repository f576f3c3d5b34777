#include "words.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <cstdint>
#include <map>
#include <set>

namespace model {

namespace {

// ---- Patterns ----

enum class Kind { kRoot, kAny, kPath, kExists, kEnd };

struct Token {
  Kind kind;
  std::string text;
};

using Tokens = std::vector<Token>;

Tokens Parse(const std::string& text) {
  if (text.size() >= 4 && text.starts_with("**") && text.ends_with("**")) {
    Tokens tokens = Parse(text.substr(2, text.size() - 4));
    tokens.insert(tokens.begin(), {Kind::kAny, "**"});
    tokens.insert(tokens.end() - 1, {Kind::kAny, "**"});
    return tokens;
  }
  Tokens tokens;
  const std::size_t bar = text.find('|');
  std::string rest = text.substr(0, bar);
  if (rest.starts_with("/")) {
    tokens.push_back({Kind::kRoot, "/"});
    rest.erase(0, 1);
  }
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string element = rest.substr(0, end);
    rest.erase(0, end + 1);
    if (element == "**")
      tokens.push_back({Kind::kAny, element});
    else if (!element.empty())
      tokens.push_back({Kind::kPath, element});
  }
  if (bar != std::string::npos) tokens.push_back({Kind::kExists, text.substr(bar + 1)});
  tokens.push_back({Kind::kEnd, "end"});
  return tokens;
}

std::u32string Characters(const std::string& text) {
  std::u32string characters;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    char32_t c = length == 1 ? lead : lead & (0x7f >> length);
    for (std::size_t k = 1; k < length; ++k)
      c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3f);
    characters.push_back(c);
    i += length;
  }
  return characters;
}

bool ElementMatches(const char32_t* pattern, const char32_t* string) {
  if (*string == 0) {
    if (*pattern == '*') return ElementMatches(pattern + 1, string);
    return *pattern == 0;
  }
  if (*pattern == '*')
    return ElementMatches(pattern + 1, string) || ElementMatches(pattern, string + 1);
  if (*pattern == 0) return false;
  if (*pattern == '?') return ElementMatches(pattern + 1, string + 1);
  return *pattern == *string && ElementMatches(pattern + 1, string + 1);
}

std::string Absolute(const std::string& path, const std::string& current) {
  if (path.starts_with("/")) return path;
  return current.empty() ? "./" + path : current + "/" + path;
}

bool DirectoryHasFile(const std::string& directory, const std::string& file,
                      const std::string& current) {
  if (!HasGlobs(file)) {
    std::string path = directory;
    Append(path, file);
    struct stat facts;
    // No file has an empty name.
    return !path.empty() && stat(Absolute(path, current).c_str(), &facts) == 0;
  }
  for (const std::string& entry : Entries(Absolute(directory, current)))
    if (GlobMatches(file, entry, current)) return true;
  return false;
}

bool PathMatches(const Token* pattern, const Token* input, const std::string& original,
                 const std::string& current) {
  if (input->kind == Kind::kEnd) {
    if (pattern->kind == Kind::kAny) return PathMatches(pattern + 1, input, original, current);
    if (pattern->kind == Kind::kExists) return DirectoryHasFile(original, pattern->text, current);
    return pattern->kind == Kind::kEnd;
  }
  if (pattern->kind == Kind::kAny)
    return PathMatches(pattern + 1, input, original, current) ||
           PathMatches(pattern, input + 1, original, current);
  if (pattern->kind == Kind::kEnd || pattern->kind != input->kind) return false;
  return ElementMatches(Characters(pattern->text).c_str(), Characters(input->text).c_str()) &&
         PathMatches(pattern + 1, input + 1, original, current);
}

// ---- Versions ----

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

using Groups = std::vector<std::string>;

std::vector<Groups> ParseVersion(std::string text, bool add_dots) {
  if (add_dots && text.find('.') == std::string::npos) {
    std::string dotted;
    for (std::size_t i = 0; i < text.size(); ++i) {
      dotted += text[i];
      // Behind a whole character.
      const bool inside = i + 1 < text.size() && (text[i + 1] & 0xc0) == 0x80;
      if (!inside) dotted += '.';
    }
    text = dotted;
  }
  std::vector<Groups> elements;
  for (const std::string& element : Split(text, ".")) {
    Groups groups;
    for (const char c : element) {
      if (groups.empty() || IsDigit(groups.back().back()) != IsDigit(c)) groups.emplace_back();
      groups.back() += c;
    }
    elements.push_back(groups);
  }
  return elements;
}

// Too great a number counts as nothing.
std::uint32_t Number(const std::string& digits) {
  std::uint64_t number = 0;
  for (const char c : digits) {
    number = number * 10 + static_cast<std::uint64_t>(c - '0');
    if (number > 0xffffffffu) return 0;
  }
  return static_cast<std::uint32_t>(number);
}

template <class T>
int Sign(T one, T other) {
  return one < other ? -1 : one > other ? 1 : 0;
}

int CompareGroups(const std::string& one, const std::string& other) {
  if (IsDigit(one[0]) && IsDigit(other[0])) return Sign(Number(one), Number(other));
  std::size_t i = 0;
  while (i < one.size() && i < other.size() && Upper(one[i]) == Upper(other[i]))
    ++i;
  const auto at = [i](const std::string& text) -> int {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  return Sign(at(one), at(other));
}

int CompareElements(const std::vector<Groups>& one, const std::vector<Groups>& other) {
  for (std::size_t j = 0; j < one.size() && j < other.size(); ++j) {
    for (std::size_t k = 0; k < one[j].size() && k < other[j].size(); ++k)
      if (const int sign = CompareGroups(one[j][k], other[j][k])) return sign;
    if (const int sign = Sign(one[j].size(), other[j].size())) return sign;
  }
  return Sign(one.size(), other.size());
}

// ---- Platforms ----

using Graph = std::map<std::string, std::vector<std::string>>;

const Graph& Systems() {
  static const Graph kGraph = {
      {"all", {}},
      {"pc", {"all"}},
      {"dos", {"pc"}},
      {"win", {"dos"}},
      {"win_32", {"win"}},
      {"win_95", {"win_32"}},
      {"win_98", {"win_95"}},
      {"win_me", {"win_98"}},
      {"win_nt", {"win_32"}},
      {"win_nt_3", {"win_nt"}},
      {"win_nt_4", {"win_nt_3"}},
      {"win_2000", {"win_nt_4"}},
      {"win_xp", {"win_2000"}},
      {"win_vista", {"win_xp"}},
      {"unix", {"all"}},
      {"solaris", {"unix"}},
      {"solaris_2", {"solaris"}},
      {"solaris_2_5", {"solaris_2"}},
      {"solaris_2_6", {"solaris_2_5"}},
      {"solaris_7", {"solaris_2_6"}},
      {"solaris_8", {"solaris_7"}},
      {"sunos", {"unix"}},
      {"irix", {"unix"}},
      {"irix_6", {"irix"}},
      {"irix_6_3", {"irix_6"}},
      {"irix_6_4", {"irix_6_3"}},
      {"irix_6_5", {"irix_6_4"}},
      {"mac", {"all"}},
      {"macos", {"mac"}},
      {"macos_8", {"macos"}},
      {"macos_9", {"macos_8"}},
      {"darwin", {"unix"}},
      {"macosx", {"darwin"}},
      {"hpux", {"unix"}},
      {"hpux_10", {"hpux"}},
      {"hpux_11", {"hpux"}},
      {"linux", {"unix"}},
      {"linux_2", {"linux"}},
      {"linux_2_4", {"linux_2"}},
  };
  return kGraph;
}

const Graph& Machines() {
  static const Graph kGraph = {
      {"all", {}},
      {"x86", {"all"}},
      {"386", {"x86"}},
      {"486", {"386"}},
      {"486_sx", {"486"}},
      {"486_dx", {"486_sx"}},
      {"pentium", {"486"}},
      {"i686", {"pentium"}},
      {"pentium_4", {"i686"}},
      {"x86_64", {"pentium_4"}},
      {"mips", {"all"}},
      {"mips_r4000", {"mips"}},
      {"mips_r5000", {"mips", "mips_r10000"}},
      {"mips_r8000", {"mips_r5000"}},
      {"mips_r10000", {"mips_r8000"}},
      {"ppc", {"all"}},
      {"601", {"ppc"}},
      {"603", {"601"}},
      {"604", {"603"}},
      {"g3", {"604"}},
      {"x704", {"g3"}},
      {"g4", {"x704"}},
      {"sparc", {"all"}},
      {"hppa", {"all"}},
  };
  return kGraph;
}

bool Reaches(const Graph& graph, const std::string& node, const std::string& name,
             std::set<std::string>& visited) {
  if (!visited.insert(node).second) return false;
  if (node == name) return true;
  for (const std::string& link : graph.at(node))
    if (Reaches(graph, link, name, visited)) return true;
  return false;
}

// Is one at or under the other?
bool Compatible(std::string one, const std::string& other, const Graph& graph) {
  if (one == other) return true;
  while (!one.empty()) {
    if (graph.count(one)) {
      std::set<std::string> visited;
      return Reaches(graph, one, other, visited);
    }
    const std::size_t bar = one.rfind('_');
    one = bar == std::string::npos ? "" : one.substr(0, bar);
  }
  return false;
}

struct Platform {
  std::string system, machine;

  explicit Platform(const std::string& name) {
    const std::size_t dash = name.rfind('-');
    system = name.substr(0, dash);
    machine = dash == std::string::npos ? "all" : name.substr(dash + 1);
  }
};

}  // namespace

bool GlobMatches(const std::string& pattern, const std::string& subject,
                 const std::string& current) {
  return PathMatches(Parse(pattern).data(), Parse(subject).data(), subject, current);
}

bool HasGlobs(const std::string& pattern) {
  return pattern.find_first_of("*?|") != std::string::npos;
}

int CompareVersions(const std::string& one, const std::string& other) {
  const bool one_dotted = one.find('.') != std::string::npos;
  const bool other_dotted = other.find('.') != std::string::npos;
  const bool add_dots = one_dotted != other_dotted;
  return CompareElements(ParseVersion(one, add_dots), ParseVersion(other, add_dots));
}

std::string HostPlatform() {
  utsname names;
  if (uname(&names) != 0) return "unix-unknown";
  const std::string system = names.sysname;
  std::string name = system == "Linux" ? "linux" : "unknown", release = names.release;
  for (char& c : release)
    if (c == '.' || c == '-') c = '_';
  if (!release.empty()) name += "_" + release;
  std::string machine = names.machine;
  if (machine.size() == 4 && machine[0] == 'i' && IsDigit(machine[1]) && machine.ends_with("86"))
    machine = machine[1] < '5' ? machine.substr(1) : machine[1] == '5' ? "pentium" : machine;
  return name + "-" + machine;
}

bool PlatformIncludes(const std::string& general, const std::string& specific) {
  const Platform g(general), s(specific);
  return Compatible(s.system, g.system, Systems()) && Compatible(s.machine, g.machine, Machines());
}

bool PlatformsOverlap(const std::string& one, const std::string& other) {
  const Platform a(one), b(other);
  return (Compatible(a.system, b.system, Systems()) || Compatible(b.system, a.system, Systems())) &&
         (Compatible(a.machine, b.machine, Machines()) ||
          Compatible(b.machine, a.machine, Machines()));
}

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> pieces;
  std::string rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find(separator);
    if (end != 0) pieces.push_back(rest.substr(0, end));
    rest = end == std::string::npos ? "" : rest.substr(end + separator.size());
  }
  return pieces;
}

std::vector<std::string> SplitAtAny(const std::string& text, const std::string& separators) {
  std::string same = text;
  for (char& c : same)
    if (separators.find(c) != std::string::npos) c = separators[0];
  return Split(same, separators.substr(0, 1));
}

void EndWithSeparator(std::string& path) {
  if (!path.empty() && !path.ends_with("/")) path += "/";
}

void Append(std::string& path, const std::string& element) {
  EndWithSeparator(path);
  path += element.starts_with("/") ? element.substr(1) : element;
}

void AppendAll(std::string& path, const std::string& elements) {
  for (const std::string& element : SplitAtAny(elements, "/\\:"))
    Append(path, element);
}

std::string FirstCharacter(const std::string& text) {
  std::size_t length = text.empty() ? 0 : 1;
  while (length < text.size() && (text[length] & 0xc0) == 0x80)
    ++length;
  return text.substr(0, length);
}

bool EqualFolded(const std::string& one, const std::string& other) {
  if (one.size() != other.size()) return false;
  for (std::size_t i = 0; i < one.size(); ++i)
    if (Upper(one[i]) != Upper(other[i])) return false;
  return true;
}

std::vector<std::string> Entries(const std::string& directory) {
  std::vector<std::string> names;
  DIR* open = opendir(directory.c_str());
  if (open == nullptr) return names;
  while (const dirent* entry = readdir(open)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(open);
  return names;
}

}  // namespace model
