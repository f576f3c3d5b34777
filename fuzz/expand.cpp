// Expansion. An input is the text to expand, and lines that say what its references mean:
//
//   NAME=value      a binding of the symbol table
//   -               a further context, behind those before
//   @NAME=content   a file
//   $NAME=value     a variable of the process
//
// In values \n and \r stand for line ends.
//
// - Result and error are those of a plain expander, which also tells of texts that would grow for
//   ever: those are left out.
// - A text without a percent sign is its own result, whatever its bytes.
#include <stdlib.h>
#include <unistd.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fuzz.h"
#include "fwerror.h"
#include "warehouse.h"
#include "wherror.h"

namespace {

using Bindings = std::vector<std::pair<std::string, std::string>>;

struct Setting {
  std::vector<Bindings> contexts;
  std::map<std::string, std::string> files;
  std::map<std::string, std::string> variables;
};

struct Expanded {
  std::string text;
  std::string missing;       // the last name that has no meaning
  bool no_value = false;     // the last error is that one
  bool failed = false;       // there is an error
  bool bounded = true;       // false: left out
  bool reaches_out = false;  // a name leads elsewhere: left out
};

constexpr int kMostPasses = 40;
constexpr std::size_t kLongest = 1 << 16;

Bindings Globals() {
  const std::string cn = "%(FS)%(THIS-CATEGORY)%(FS)%(THIS-NAME)";
  const std::string cnv = cn + "%(FS)%(THIS-VERSION)";
  const std::string cnvr = cnv + "%(FS)%(THIS-REV)";
  const auto dir = [](const std::string& name, const std::string& rest) {
    return "%(" + name + ")" + rest;
  };
  return {
      {"FS", "/"},
      {"EXE", ""},
      {"DLL", ".so"},
      {"LIB", ".a"},
      {"THIS-CNVR", "%(THIS-CATEGORY)%(FS)%(THIS-NAME)%(FS)%(THIS-VERSION)%(FS)%(THIS-REV)"},
      {"PLAT-THIS-CNVR",
       "%(PLAT-CATEGORY)%(PFS)%(THIS-NAME)%(PFS)%(THIS-VERSION)%(PFS)%(THIS-REV)"},
      {"BASE-CN", dir("BASE-DIRECTORY", cn)},
      {"FROM-CN", dir("INSTALLED-FROM", cn)},
      {"BASE-CNV", dir("BASE-DIRECTORY", cnv)},
      {"FROM-CNV", dir("INSTALLED-FROM", cnv)},
      {"BASE-CNVR", dir("BASE-DIRECTORY", cnvr)},
      {"FROM-CNVR", dir("INSTALLED-FROM", cnvr)},
      {"BINPATH", "%(BASE-DIRECTORY)"},
      {"HOST-PLATFORM", FWC(wh_host_platform)},
  };
}

class PlainExpander {
 public:
  explicit PlainExpander(const Setting& setting) : setting_(setting) {}

  Expanded Expand(std::string text) {
    for (int passes = 0; passes < kMostPasses && text.size() < kLongest; ++passes) {
      const std::string before = text;
      const bool replaced = Pass(before, text);
      if (!replaced || result_.reaches_out) {
        result_.text = text;
        return result_;
      }
      if (text == before) break;
    }
    result_.bounded = false;
    return result_;
  }

 private:
  bool Pass(const std::string& text, std::string& out) {
    bool replaced = false;
    out.clear();
    for (std::size_t i = 0; i < text.size();) {
      if (text[i] != '%') {
        out += text[i++];
        continue;
      }
      const char open = i + 1 < text.size() ? text[i + 1] : '\0';
      const std::string brackets = "([{";
      const std::size_t kind = open != '\0' ? brackets.find(open) : std::string::npos;
      std::size_t close = std::string::npos;
      if (kind != std::string::npos) {
        close = text.find_first_of(std::string("%") + ")]}"[kind], i + 2);
        if (close != std::string::npos && text[close] == '%') close = std::string::npos;
      }
      if (close == std::string::npos) {
        // The sign goes with the character behind it, and that one's further bytes are no sign.
        out += text[i++];
        if (i < text.size()) out += text[i++];
        continue;
      }
      replaced |= Replace(open, text.substr(i + 2, close - i - 2), out);
      i = close + 1;
    }
    return replaced;
  }

  bool Replace(char open, const std::string& name, std::string& out) {
    if (open == '(') {
      for (const Bindings& context : setting_.contexts)
        for (const auto& [n, v] : context)
          if (n == name) {
            out += v;
            return true;
          }
      out += name;
      NoValue(name);
      return false;
    }
    if (open == '{') {
      // The system finds "A=B" where A has the value "B=...".
      if (name.find('=') != std::string::npos) result_.reaches_out = true;
      const auto found = setting_.variables.find(name);
      if (found == setting_.variables.end()) {
        NoValue(name);
        return false;
      }
      if (result_.failed) return false;
      out += found->second;
      return true;
    }
    if (result_.failed) return false;
    if (name.find('/') != std::string::npos || name.empty() || name == "." || name == "..")
      result_.reaches_out = true;
    const auto found = setting_.files.find(name);
    if (found == setting_.files.end()) {
      result_.failed = true;
      result_.no_value = false;
      return false;
    }
    out += found->second;
    if (out.ends_with("\r\n"))
      out.resize(out.size() - 2);
    else if (out.ends_with("\n") || out.ends_with("\r"))
      out.pop_back();
    return true;
  }

  void NoValue(const std::string& name) {
    result_.failed = result_.no_value = true;
    result_.missing = name;
  }

  const Setting& setting_;
  Expanded result_;
};

std::string WithLineEnds(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == 'n' || next == 'r') {
      out += next == 'n' ? '\n' : '\r';
      ++i;
    } else {
      out += text[i];
    }
  }
  return out;
}

Setting ReadSetting(fuzz::Input& input) {
  Setting setting;
  setting.contexts = {Globals(), {}};
  while (!input.Ended()) {
    const std::string line = input.Line();
    if (line == "-") setting.contexts.emplace_back();
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string name = line.substr(0, equals);
    const std::string value = WithLineEnds(line.substr(equals + 1));
    if (name.starts_with("$"))
      setting.variables["FUZZ_" + name.substr(1)] = value;
    else if (!name.starts_with("@"))
      setting.contexts.back().emplace_back(name, value);
    else if (name.size() > 1 && name.size() < 20 && name.find('/') == std::string::npos &&
             name != "@." && name != "@..")
      setting.files[name.substr(1)] = value;
  }
  return setting;
}

WH_SYMTAB* MakeTable(const Setting& setting) {
  fuzz::Text source("env.xml");
  WH_SYMTAB* table = make_symtab(source);
  for (std::size_t i = 1; i < setting.contexts.size(); ++i) {
    WH_CONTEXT_VALUE* values = nullptr;
    const Bindings& bindings = setting.contexts[i];
    for (auto binding = bindings.rbegin(); binding != bindings.rend(); ++binding) {
      fuzz::Text name(binding->first), value(binding->second);
      values = make_cv(name, value, values);
    }
    add_context(table, make_context(values));
  }
  return table;
}

void CheckOnce(const std::string& text, WH_SYMTAB* table, const Expanded& expected) {
  fuzz::Text writable(text);
  FwErrorState err;
  const std::string result = fuzz::Take(wh_expand(&err, writable, table));

  std::string kind = "none";
  if (err.pError != nullptr) kind = err.pError == whErrorNoValue ? "no value" : "a file's";
  if (err.pError == whErrorNoValue) kind += std::string(" ") + FWC(err.items[0].name);
  std::string expected_kind = "none";
  if (expected.failed)
    expected_kind = expected.no_value ? "no value " + expected.missing : "a file's";
  FwErrorClear(&err);
  if (kind != expected_kind) fuzz::Fail("another error", kind + " not " + expected_kind);
  if (result != expected.text)
    fuzz::Fail("another result", fuzz::Quoted(result) + " not " + fuzz::Quoted(expected.text));
}

// What a table keeps of one run counts in the next.
void Check(const std::string& text, const Setting& setting, const Expanded& expected) {
  WH_SYMTAB* table = MakeTable(setting);
  CheckOnce(text, table, expected);
  keep_meanings(table);
  for (int run = 0; run < 2; ++run)
    CheckOnce(text, table, expected);
  free_symtab(&table);
}

// Bytes that are no text may hide a percent sign, and so have another result; what holds no
// reference keeps its bytes.
void CheckBroken(const std::string& text, const std::string& all, const Setting& setting) {
  // Only the text's own references, and no files but those of the input.
  if (text.find('/') != std::string::npos) return;
  for (std::size_t i = 1; i < setting.contexts.size(); ++i)
    for (const auto& [name, value] : setting.contexts[i])
      if (value.find('%') != std::string::npos) return;
  const fuzz::Allow allow = fuzz::Malformed(all);
  const fuzz::Allow nameless({"trailing directory separator when file name expected",
                              "root directory when file name expected"});
  fuzz::Text writable(text);
  WH_SYMTAB* table = MakeTable(setting);
  FwErrorState err;
  const std::string result = fuzz::Take(wh_expand(&err, writable, table));
  if (text.find('%') == std::string::npos && (result != text || err.pError != nullptr))
    fuzz::Fail("bytes are changed", fuzz::Quoted(text) + " " + fuzz::Quoted(result));
  FwErrorClear(&err);
  free_symtab(&table);
}

}  // namespace

void fuzz::Try(Input& input) {
  const std::string text = input.Line();
  Setting setting = ReadSetting(input);

  std::string all = text;
  const auto add = [&all](const auto& bindings) {
    for (const auto& [name, value] : bindings)
      all.append("\n").append(name).append("\n").append(value);
  };
  for (const Bindings& context : setting.contexts)
    add(context);
  add(setting.files);
  add(setting.variables);
  if (!WellFormed(all)) {
    CheckBroken(text, all, setting);
    return;
  }

  // The variables of the process itself have meanings as well.
  for (char** each = environ; *each != nullptr; ++each) {
    const std::string variable = *each;
    const std::size_t equals = variable.find('=');
    if (equals != std::string::npos)
      setting.variables.emplace(variable.substr(0, equals), variable.substr(equals + 1));
  }
  const Expanded expected = PlainExpander(setting).Expand(text);
  if (!expected.bounded || expected.reaches_out) return;
  if (text.find('%') == std::string::npos && expected.text != text) Fail("the plain one is wrong");

  for (const auto& [name, value] : setting.files)
    WriteFile(name, value);
  for (const auto& [name, value] : setting.variables)
    if (name.starts_with("FUZZ_")) setenv(name.c_str(), value.c_str(), 1);
  Check(text, setting, expected);
  for (const auto& [name, value] : setting.variables)
    if (name.starts_with("FUZZ_")) unsetenv(name.c_str());
  for (const auto& [name, value] : setting.files)
    unlink((Directory() + "/" + name).c_str());
}
