#include "formats/format.h"

#include <map>

#include "error.h"
#include "formats/rows.h"

namespace zor {

namespace {

constexpr Format kFormats[] = {
    {"sh", "sh, dash, busybox sh, and what all shells of that family read", refuse_for_sh,
     write_sh},
    {"bash", "bash", refuse_for_bash, write_bash},
    {"zsh", "zsh", refuse_for_zsh, write_ksh},
    {"ksh", "ksh93 and mksh", refuse_for_ksh, write_ksh},
    {"fish", "fish", refuse_for_fish, write_fish},
    {"csh", "csh and tcsh", refuse_for_csh, write_csh},
    {"elvish", "elvish", refuse_for_elvish, write_elvish},
    {"xonsh", "xonsh", refuse_for_xonsh, write_xonsh},
    {"nushell", "nushell", refuse_for_nushell, write_nushell},
    {"powershell", "PowerShell 6 and later", refuse_for_powershell, write_powershell},
    {"cmd", "batch files of cmd.exe", refuse_for_cmd, write_cmd, "", "", "", true},
    {"rc", "rc", refuse_for_rc, write_rc},
    {"python", "Python", refuse_for_bytes, write_python, "import os\n"},
    {"perl", "Perl", refuse_for_bytes, write_perl},
    {"ruby", "Ruby", refuse_for_bytes, write_ruby},
    {"lua", "Lua: a table, in which false stands for a variable to remove", refuse_for_bytes,
     write_lua, "return {\n", "", "}\n"},
    {"tcl", "Tcl", refuse_for_bytes, write_tcl,
     "set ::zor_encoding [encoding system]\nencoding system iso8859-1\n", "",
     "encoding system $::zor_encoding\nunset ::zor_encoding\n"},
    {"r", "R", refuse_for_bytes, write_r},
    {"make", "GNU make: variables that are exported to recipes", refuse_for_make, write_make},
    {"cmake", "CMake", refuse_for_cmake, write_cmake},
    {"json", "a JSON object, in which null stands for a variable to remove", refuse_for_text,
     write_json, "{", ",", "\n}\n"},
    {"dotenv", ".env files", refuse_for_dotenv, write_dotenv},
    {"systemd", "files for EnvironmentFile= of systemd", refuse_for_systemd, write_systemd},
    {"docker", "files for docker run --env-file", refuse_for_docker, write_docker},
    {"github", "the file that $GITHUB_ENV names in a workflow", refuse_for_github, write_github},
    {"env0", "NAME=VALUE, each ended by a zero byte", refuse_for_bytes, write_env0},
};

constexpr struct {
  std::string_view program, format;
} kPrograms[] = {
    {"dash", "sh"},  {"busybox", "sh"}, {"posh", "sh"},         {"ksh93", "ksh"},
    {"mksh", "ksh"}, {"tcsh", "csh"},   {"pwsh", "powershell"}, {"nu", "nushell"},
    {"bat", "cmd"},  {"R", "r"},        {"Rscript", "r"},       {"tclsh", "tcl"},
};

std::string in_small_letters(std::string_view name) {
  std::string small(name);
  for (char& c : small)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return small;
}

// What can't be carried, a line for each variable.
std::string refusals(const Format& format, std::span<const Change> changes) {
  std::string refused;
  std::map<std::string, std::string_view> seen;
  for (const Change& change : changes) {
    std::string reason = format.refusal(change);
    if (reason.empty() && format.folds_case) {
      const auto [other, is_new] = seen.emplace(in_small_letters(change.name), change.name);
      if (!is_new)
        reason = fmt::format("is the same variable as {} to {}", other->second, format.name);
    }
    if (!reason.empty())
      refused += fmt::format("\n  {} {}", change.name.empty() ? "''" : change.name, reason);
  }
  return refused;
}

}  // namespace

std::span<const Format> formats() {
  return kFormats;
}

const Format* find_format(std::string_view name) {
  for (const auto& row : kPrograms)
    if (row.program == name) name = row.format;
  for (const Format& format : kFormats)
    if (format.name == name) return &format;
  return nullptr;
}

std::string written(const Format& format, std::span<const Change> changes) {
  const std::string refused = refusals(format, changes);
  if (!refused.empty())
    fail("the format {} can't carry these variables, so nothing was written:{}", format.name,
         refused);
  std::string text(format.head);
  for (const Change& change : changes) {
    if (&change != changes.data()) text += format.separator;
    format.write(&text, change);
  }
  text += format.tail;
  return text;
}

}  // namespace zor
