// Shells of the sh family.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "formats/names.h"
#include "formats/rows.h"

namespace zor {

namespace {

// Variables that a shell of the family keeps for itself. Quotes do not help: bash, mksh, ksh and
// zsh read the values of their numbers as arithmetic, which can hold a command; zsh changes the
// user when root sets USERNAME or one of the ids; TMOUT ends the shell; others are read-only
// somewhere, which would stop the script half-way.
constexpr std::string_view kKept[] = {"BASHOPTS",
                                      "BASHPID",
                                      "BASH_ARGC",
                                      "BASH_ARGV",
                                      "BASH_LINENO",
                                      "BASH_VERSINFO",
                                      "COLUMNS",
                                      "DIRSTACK",
                                      "EGID",
                                      "EPOCHREALTIME",
                                      "EPOCHSECONDS",
                                      "ERRNO",
                                      "EUID",
                                      "FUNCNAME",
                                      "FUNCNEST",
                                      "GID",
                                      "GROUPS",
                                      "HISTCMD",
                                      "HISTCHARS",
                                      "HISTSIZE",
                                      "IFS",
                                      "KEYTIMEOUT",
                                      "KSHEGID",
                                      "KSHGID",
                                      "KSHUID",
                                      "LINENO",
                                      "LINES",
                                      "LISTMAX",
                                      "LOGCHECK",
                                      "MAILCHECK",
                                      "OPTARG",
                                      "OPTIND",
                                      "PGRP",
                                      "PIPESTATUS",
                                      "PPID",
                                      "RANDOM",
                                      "SAVEHIST",
                                      "SECONDS",
                                      "SHELLOPTS",
                                      "SHLVL",
                                      "SRANDOM",
                                      "TMOUT",
                                      "TTYIDLE",
                                      "UID",
                                      "USERNAME",
                                      "USER_ID",
                                      "ZSH_EVAL_CONTEXT",
                                      "_",
                                      "argv",
                                      "cdpath",
                                      "fignore",
                                      "fpath",
                                      "histchars",
                                      "mailpath",
                                      "manpath",
                                      "module_path",
                                      "path",
                                      "pipestatus",
                                      "psvar",
                                      "status",
                                      "watch"};

bool is_kept_by_shells(std::string_view name) {
  return std::find(std::begin(kKept), std::end(kKept), name) != std::end(kKept);
}

// Between single quotes everything is itself; a single quote stands outside, behind a backslash.
void append_quoted(std::string* text, std::string_view value) {
  *text += '\'';
  for (const char c : value) {
    if (c == '\'')
      *text += "'\\''";
    else
      *text += c;
  }
  *text += '\'';
}

}  // namespace

std::string refuse_for_sh(const Change& change) {
  if (!is_identifier(change.name)) return "is not a valid name for a variable of a shell";
  if (is_kept_by_shells(change.name)) return "is a variable that shells keep for themselves";
  return {};
}

void write_sh(std::string* text, const Change& change) {
  if (!change.value) {
    *text += "unset " + change.name + ";\n";
    return;
  }
  *text += change.name + '=';
  append_quoted(text, *change.value);
  *text += "; export " + change.name + ";\n";
}

}  // namespace zor
