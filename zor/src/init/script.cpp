// The scripts that the functions evaluate.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "formats/format.h"
#include "init/init.h"

namespace zor {

namespace {

// What a dialect needs around the settings. The functions are given the names of the variables.
struct Dialect {
  std::string_view name;
  std::string_view mark;       // what stands before "zor-begin" and "zor-end"
  std::string_view separator;  // between two settings, in place of a line end
  // What is to be looked at in a rehearsal, before anything is set.
  std::string (*check)(std::span<const Change> changes);
};

std::string joined_names(std::span<const Change> changes) {
  std::string names;
  for (const Change& change : changes)
    names += (names.empty() ? "" : " ") + change.name;
  return names;
}

// Numbers, lists, read-only variables and those that change their value's case are nothing that a
// text can be put into; assigning to a number runs what its subscripts hold.
constexpr std::string_view kRefuse =
    "\\echo \"zor: $zor_name is no plain variable of this shell\" >&2; exit 1";

std::string check_in_bash(std::span<const Change> changes) {
  const std::string names = joined_names(changes);
  return fmt::format(
      "case $(declare -p {0} 2>/dev/null) in\n"
      "*'declare -'[!x-]*|*'declare -x'[!\\ ]*)\n"
      "for zor_name in {0}; do case $(declare -p \"$zor_name\" 2>/dev/null) in "
      "''|'declare -- '*|'declare -x '*) ;; *) {1} ;; esac; done ;;\n"
      "esac\n",
      names, kRefuse);
}

std::string check_in_zsh(std::span<const Change> changes) {
  std::string pairs;
  for (const Change& change : changes)
    pairs += fmt::format(" {0} \"${{(t){0}}}\"", change.name);
  return fmt::format(
      "for zor_name zor_kind in{0}; do case $zor_kind in "
      "*-readonly*|*-left*|*-right*|*-upper*|*-lower*) {1} ;; ''|scalar*) ;; *) {1} ;; "
      "esac; done\n",
      pairs, kRefuse);
}

std::string check_in_ksh(std::span<const Change> changes) {
  return fmt::format(
      "for zor_name in {0}; do case ${{ typeset -p \"$zor_name\" 2>/dev/null;}} in "
      "''|\"$zor_name=\"*|\"typeset $zor_name=\"*|\"typeset -x $zor_name=\"*|"
      "\"typeset -x $zor_name\") ;; *) {1} ;; esac; done\n",
      joined_names(changes), kRefuse);
}

constexpr Dialect kDialects[] = {
    {"sh", ": ", "", nullptr},         {"bash", ": ", "", check_in_bash},
    {"zsh", ": ", "", check_in_zsh},   {"ksh", ": ", "", check_in_ksh},
    {"fish", ": ", "", nullptr},       {"csh", ": ", "", nullptr},
    {"elvish", "# ", " |\n", nullptr}, {"xonsh", "# ", "", nullptr},
    {"powershell", "# ", "", nullptr},
};

bool is_of_sh_family(std::string_view dialect) {
  return dialect == "sh" || dialect == "bash" || dialect == "zsh" || dialect == "ksh";
}

// An "unset" that was refused lets most shells go on, so the script's last word is whether the
// variables have gone.
std::string with_a_last_word(std::span<const Change> changes) {
  std::string set;
  for (const Change& change : changes)
    if (!change.value) set += fmt::format("${{{}+x}}", change.name);
  return set.empty() ? "" : fmt::format("[ -z \"{}\" ] && ", set);
}

// nushell evaluates no text.
std::string record_for_nushell(std::span<const Change> changes) {
  nlohmann::ordered_json set = nlohmann::ordered_json::object();
  nlohmann::ordered_json unset = nlohmann::ordered_json::array();
  for (const Change& change : changes) {
    if (change.value)
      set[change.name] = *change.value;
    else
      unset.push_back(change.name);
  }
  return nlohmann::ordered_json{{"set", set}, {"unset", unset}}.dump() + '\n';
}

// The settings, each a command of its own.
std::string settings(const Dialect& dialect, const Format& format,
                     std::span<const Change> changes) {
  std::string text = written(format, changes);
  if (dialect.separator.empty() || changes.empty()) return text;
  text.clear();
  for (const Change& change : changes) {
    if (!text.empty()) text += dialect.separator;
    std::string one = written(format, {&change, 1});
    while (one.ends_with('\n') || one.ends_with(';'))
      one.pop_back();
    text += one;
  }
  return text + '\n';
}

}  // namespace

std::string shell_script(const Format& format, std::span<const Change> changes) {
  if (format.name == "nushell") {
    written(format, changes);  // for what it refuses
    return record_for_nushell(changes);
  }
  const auto* const row = std::find_if(std::begin(kDialects), std::end(kDialects),
                                       [&](const Dialect& one) { return one.name == format.name; });
  if (row == std::end(kDialects)) return written(format, changes);
  const std::string names = joined_names(changes);
  std::string text = fmt::format("{}zor-begin{}{}\n", row->mark, names.empty() ? "" : " ", names);
  const std::string body = settings(*row, format, changes);
  if (row->check && !changes.empty())
    text +=
        fmt::format("case ${{2-}} in zor-rehearsal) set +eu\n{} ;; esac\n", row->check(changes));
  text += body;
  if (is_of_sh_family(format.name)) text += with_a_last_word(changes);
  return text + fmt::format("{}zor-end\n", row->mark);
}

}  // namespace zor
