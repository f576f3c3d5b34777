// The dialects of zor. An input is a line with a name, and a value of any bytes but zero.
//
// - What a dialect doesn't refuse, a reader of its published grammar finds as it was: the value
//   byte by byte, and nothing else set.
// - Beside another variable it is the same, so what a value holds ends at its own record.
#include "grammars.h"

#include "formats/format.h"
#include "fuzz.h"

namespace {

constexpr const char* kDialects[] = {"sh",     "bash",    "zsh",        "ksh",   "fish",  "csh",
                                     "elvish", "nushell", "powershell", "cmd",   "rc",    "python",
                                     "perl",   "ruby",    "lua",        "make",  "cmake", "json",
                                     "dotenv", "systemd", "docker",     "github"};

void Check(const char* dialect, const std::vector<zor::Change>& changes) {
  const zor::Format& format = *zor::find_format(dialect);
  std::vector<zor::Change> carried;
  Settings expected;
  for (const zor::Change& change : changes) {
    if (!format.refusal(change).empty()) continue;
    carried.push_back(change);
    expected[change.name] = change.value;
  }
  const std::string script = zor::written(format, carried);
  const std::optional<Settings> found = ReadScript(dialect, script);
  if (!found)
    fuzz::Fail("no script of settings", std::string(dialect) + ' ' + fuzz::Quoted(script));
  if (*found != expected)
    fuzz::Fail("another value", std::string(dialect) + ' ' + fuzz::Quoted(script));
}

}  // namespace

void fuzz::Try(Input& input) {
  std::string name = input.Line();
  std::string value = input.Rest();
  std::erase(value, '\0');
  // Names of one case, as those of the second variable, so that none are the same to cmd.
  if (name == "other" || name == "OTHER") name += '_';
  for (const char* dialect : kDialects) {
    Check(dialect, {{name, value}});
    Check(dialect, {{name, value}, {"OTHER", value}});
  }
}
