#include "formats/kept.h"

#include <algorithm>
#include <array>

namespace zor {

namespace {

constexpr std::string_view kReadOnly = "is read-only in";
constexpr std::string_view kNumber = "is a number that would be calculated by";
constexpr std::string_view kRun = "holds what is run or expanded by";
constexpr std::string_view kOwned = "is kept for itself by";
constexpr std::string_view kUser = "changes the user or group of root's";

// --- bash ---

constexpr std::string_view kBashReadOnly[] = {"BASHOPTS", "BASH_VERSINFO", "EUID",
                                              "PPID",     "SHELLOPTS",     "UID"};
constexpr std::string_view kBashNumbers[] = {
    "BASHPID",       "BASH_SUBSHELL", "BASH_XTRACEFD",   "CHILD_MAX", "COLUMNS",
    "EPOCHREALTIME", "FUNCNEST",      "EPOCHSECONDS",    "HISTCMD",   "HISTFILESIZE",
    "HISTSIZE",      "IGNOREEOF",     "LINENO",          "LINES",     "MAILCHECK",
    "OPTERR",        "OPTIND",        "RANDOM",          "SECONDS",   "SHLVL",
    "SRANDOM",       "TMOUT",         "BASH_MONOSECONDS"};
constexpr std::string_view kBashRuns[] = {"MAILPATH", "PROMPT_COMMAND", "PS0", "PS1", "PS2", "PS4"};
constexpr std::string_view kBashOwn[] = {"BASH",
                                         "BASH_ALIASES",
                                         "BASH_ARGC",
                                         "BASH_ARGV",
                                         "BASH_ARGV0",
                                         "BASH_CMDS",
                                         "BASH_COMMAND",
                                         "BASH_COMPAT",
                                         "BASH_EXECUTION_STRING",
                                         "BASH_LINENO",
                                         "BASH_REMATCH",
                                         "BASH_SOURCE",
                                         "BASH_TRAPSIG",
                                         "BASH_VERSION",
                                         "COMPREPLY",
                                         "COMP_CWORD",
                                         "COMP_KEY",
                                         "COMP_LINE",
                                         "COMP_POINT",
                                         "COMP_TYPE",
                                         "COMP_WORDBREAKS",
                                         "COMP_WORDS",
                                         "COPROC",
                                         "DIRSTACK",
                                         "EXECIGNORE",
                                         "FUNCNAME",
                                         "GLOBIGNORE",
                                         "GROUPS",
                                         "IFS",
                                         "OLDPWD",
                                         "OPTARG",
                                         "PIPESTATUS",
                                         "POSIXLY_CORRECT",
                                         "PWD",
                                         "READLINE_LINE",
                                         "READLINE_MARK",
                                         "READLINE_POINT",
                                         "REPLY",
                                         "_",
                                         "auto_resume",
                                         "histchars",
                                         "ignoreeof"};
constexpr KeptNames kBashKept[] = {
    {kReadOnly, kBashReadOnly}, {kNumber, kBashNumbers}, {kRun, kBashRuns}, {kOwned, kBashOwn}};

// --- zsh ---

constexpr std::string_view kZshReadOnly[] = {"ARGC",
                                             "EPOCHREALTIME",
                                             "EPOCHSECONDS",
                                             "HISTCMD",
                                             "LINENO",
                                             "PPID",
                                             "TTYIDLE",
                                             "ZCURSES_COLORS",
                                             "ZCURSES_COLOR_PAIRS",
                                             "ZSH_EVAL_CONTEXT",
                                             "ZSH_SUBSHELL",
                                             "status"};
constexpr std::string_view kZshUser[] = {"EGID", "EUID", "GID", "UID", "USERNAME"};
constexpr std::string_view kZshNumbers[] = {"BAUD",
                                            "COLUMNS",
                                            "DIRSTACKSIZE",
                                            "ERRNO",
                                            "FUNCNEST",
                                            "HISTSIZE",
                                            "KEYTIMEOUT",
                                            "LINES",
                                            "LISTMAX",
                                            "LOGCHECK",
                                            "MAILCHECK",
                                            "OPTIND",
                                            "PERIOD",
                                            "RANDOM",
                                            "REPORTMEMORY",
                                            "REPORTTIME",
                                            "SAVEHIST",
                                            "SECONDS",
                                            "SHLVL",
                                            "TMOUT",
                                            "TRY_BLOCK_ERROR",
                                            "TRY_BLOCK_INTERRUPT",
                                            "ZLE_RPROMPT_INDENT"};
constexpr std::string_view kZshRuns[] = {"MAILPATH",    "NULLCMD", "PROMPT",   "PROMPT2", "PROMPT3",
                                         "PROMPT4",     "PS1",     "PS2",      "PS3",     "PS4",
                                         "READNULLCMD", "RPROMPT", "RPROMPT2", "RPS1",    "RPS2",
                                         "SPROMPT",     "STTY",    "prompt"};
// The lower-case ones are lists and tables, many of them of modules that are loaded when they are
// first named.
constexpr std::string_view kZshOwn[] = {"FIGNORE",
                                        "HISTCHARS",
                                        "IFS",
                                        "KEYBOARD_HACK",
                                        "MODULE_PATH",
                                        "OLDPWD",
                                        "OPTARG",
                                        "PSVAR",
                                        "PWD",
                                        "WATCH",
                                        "WORDCHARS",
                                        "ZSH_ARGZERO",
                                        "ZSH_EXECUTION_STRING",
                                        "ZSH_NAME",
                                        "ZSH_PATCHLEVEL",
                                        "ZSH_VERSION",
                                        "_",
                                        "aliases",
                                        "argv",
                                        "builtins",
                                        "cdpath",
                                        "commands",
                                        "dirstack",
                                        "dis_aliases",
                                        "dis_builtins",
                                        "dis_functions",
                                        "dis_functions_source",
                                        "dis_galiases",
                                        "dis_patchars",
                                        "dis_reswords",
                                        "dis_saliases",
                                        "epochtime",
                                        "errnos",
                                        "fignore",
                                        "fpath",
                                        "funcfiletrace",
                                        "funcsourcetrace",
                                        "funcstack",
                                        "functions",
                                        "functions_source",
                                        "functrace",
                                        "galiases",
                                        "histchars",
                                        "history",
                                        "historywords",
                                        "jobdirs",
                                        "jobstates",
                                        "jobtexts",
                                        "keymaps",
                                        "langinfo",
                                        "mailpath",
                                        "manpath",
                                        "mapfile",
                                        "module_path",
                                        "modules",
                                        "nameddirs",
                                        "options",
                                        "parameters",
                                        "patchars",
                                        "path",
                                        "pipestatus",
                                        "psvar",
                                        "reswords",
                                        "saliases",
                                        "signals",
                                        "sysparams",
                                        "termcap",
                                        "terminfo",
                                        "userdirs",
                                        "usergroups",
                                        "watch",
                                        "widgets",
                                        "zcurses_attrs",
                                        "zcurses_colors",
                                        "zcurses_keycodes",
                                        "zcurses_windows",
                                        "zle_bracketed_paste",
                                        "zsh_eval_context",
                                        "zsh_scheduled_events"};
constexpr KeptNames kZshKept[] = {{kReadOnly, kZshReadOnly},
                                  {kUser, kZshUser},
                                  {kNumber, kZshNumbers},
                                  {kRun, kZshRuns},
                                  {kOwned, kZshOwn}};

// --- ksh93, mksh ---

constexpr std::string_view kKsh93Numbers[] = {
    "COLUMNS", "ERRNO", "HISTCMD", "HISTSIZE", "JOBMAX", "LINENO",  "LINES", "MAILCHECK",
    "OPTIND",  "PPID",  "RANDOM",  "SECONDS",  "SHLVL",  "SRANDOM", "TMOUT"};
constexpr std::string_view kKsh93Runs[] = {"MAILPATH", "PS1", "PS2", "PS4"};
constexpr std::string_view kKsh93Own[] = {"HISTFILE", "IFS",       "KSH_VERSION", "OLDPWD",
                                          "OPTARG",   "PWD",       "_",           "_AST_FEATURES",
                                          "REPLY",    "SH_OPTIONS"};
constexpr KeptNames kKsh93Kept[] = {
    {kNumber, kKsh93Numbers}, {kRun, kKsh93Runs}, {kOwned, kKsh93Own}};

constexpr std::string_view kMkshNumbers[] = {
    "BASHPID",    "COLUMNS", "EPOCHREALTIME", "ERRNO",   "HISTSIZE", "KSHEGID",
    "KSHGID",     "KSHUID",  "LINENO",        "LINES",   "OPTIND",   "PGRP",
    "PIPESTATUS", "PPID",    "RANDOM",        "SECONDS", "TMOUT",    "USER_ID"};
constexpr std::string_view kMkshRuns[] = {"MAILPATH", "PS1", "PS2", "PS4"};
constexpr std::string_view kMkshOwn[] = {"CATEGORY",  "EXECSHELL",   "HISTFILE", "IFS",
                                         "KSH_MATCH", "KSH_VERSION", "OLDPWD",   "OPTARG",
                                         "PATHSEP",   "PWD",         "REPLY",    "_"};
constexpr KeptNames kMkshKept[] = {{kNumber, kMkshNumbers}, {kRun, kMkshRuns}, {kOwned, kMkshOwn}};

// --- dash, busybox ---

constexpr std::string_view kDashNumbers[] = {"HISTSIZE", "LINENO", "OPTIND", "PPID"};
constexpr std::string_view kDashRuns[] = {"MAILPATH", "PS1", "PS2", "PS4"};
constexpr std::string_view kDashOwn[] = {"ATTY", "IFS", "OLDPWD", "OPTARG", "PWD", "_"};
constexpr KeptNames kDashKept[] = {{kNumber, kDashNumbers}, {kRun, kDashRuns}, {kOwned, kDashOwn}};

constexpr std::string_view kBusyboxNumbers[] = {"EPOCHREALTIME", "EPOCHSECONDS", "HISTFILESIZE",
                                                "LINENO",        "OPTIND",       "PPID",
                                                "RANDOM",        "SHLVL",        "TMOUT"};
constexpr std::string_view kBusyboxOwn[] = {"FUNCNAME", "HISTFILE", "IFS", "OPTARG",
                                            "OLDPWD",   "PWD",      "_"};
constexpr KeptNames kBusyboxKept[] = {
    {kNumber, kBusyboxNumbers}, {kRun, kDashRuns}, {kOwned, kBusyboxOwn}};

// --- the other shells ---

constexpr std::string_view kFishReadOnly[] = {
    "FISH_VERSION", "PWD",      "SHLVL",      "_",      "EUID",
    "history",      "hostname", "pipestatus", "status", "status_generation",
    "version"};
constexpr std::string_view kFishOwn[] = {"CMD_DURATION", "COLUMNS", "IFS",     "LINES", "OLDPWD",
                                         "argv",         "dirprev", "dirnext", "umask"};
constexpr KeptNames kFishKept[] = {{kReadOnly, kFishReadOnly}, {kOwned, kFishOwn}};

constexpr std::string_view kCshOwn[] = {"COLUMNS", "LINES",       "LSCOLORS", "LS_COLORS",
                                        "OLDPWD",  "PWD",         "SHLVL",    "TERMCAP",
                                        "_",       "COMMAND_LINE"};
constexpr KeptNames kCshKept[] = {{kOwned, kCshOwn}};

constexpr std::string_view kElvishOwn[] = {"OLDPWD", "PWD", "SHLVL"};
constexpr KeptNames kElvishKept[] = {{kOwned, kElvishOwn}};

constexpr std::string_view kXonshOwn[] = {"ALIAS_COMPLETIONS_OPTIONS_BY_DEFAULT",
                                          "ALIAS_COMPLETIONS_OPTIONS_LONGEST",
                                          "ANSICON",
                                          "ASYNC_INVALIDATE_INTERVAL",
                                          "ASYNC_PROMPT_THREAD_WORKERS",
                                          "AUTO_CD",
                                          "AUTO_CONTINUE",
                                          "AUTO_PUSHD",
                                          "AUTO_SUGGEST",
                                          "AUTO_SUGGEST_IN_COMPLETIONS",
                                          "BASH_COMPLETIONS",
                                          "BOTTOM_TOOLBAR",
                                          "CASE_SENSITIVE_COMPLETIONS",
                                          "CMD_COMPLETIONS_SHOW_DESC",
                                          "COLOR_INPUT",
                                          "COLOR_RESULTS",
                                          "COMMANDS_CACHE_SAVE_INTERMEDIATE",
                                          "COMPLETE_DOTS",
                                          "COMPLETIONS_BRACKETS",
                                          "COMPLETIONS_CONFIRM",
                                          "COMPLETIONS_DISPLAY",
                                          "COMPLETIONS_MENU_ROWS",
                                          "COMPLETION_IN_THREAD",
                                          "COMPLETION_MODE",
                                          "COMPLETION_QUERY_LIMIT",
                                          "DIRSTACK_SIZE",
                                          "DOTGLOB",
                                          "DYNAMIC_CWD_ELISION_CHAR",
                                          "DYNAMIC_CWD_WIDTH",
                                          "ENABLE_ASYNC_PROMPT",
                                          "ENABLE_COMMANDS_CACHE",
                                          "EXPAND_ENV_VARS",
                                          "FORCE_POSIX_PATHS",
                                          "FOREIGN_ALIASES_OVERRIDE",
                                          "FOREIGN_ALIASES_SUPPRESS_SKIP_MESSAGE",
                                          "FUZZY_PATH_COMPLETION",
                                          "GLOB_SORTED",
                                          "HISTCONTROL",
                                          "IGNOREEOF",
                                          "INDENT",
                                          "INTENSIFY_COLORS_ON_WIN",
                                          "LAST_RETURN_CODE",
                                          "LS_COLORS",
                                          "MOUSE_SUPPORT",
                                          "MULTILINE_PROMPT",
                                          "OLDPWD",
                                          "PATHEXT",
                                          "PRETTY_PRINT_RESULTS",
                                          "PROMPT",
                                          "PROMPT_FIELDS",
                                          "PROMPT_REFRESH_INTERVAL",
                                          "PROMPT_TOKENS_FORMATTER",
                                          "PROMPT_TOOLKIT_COLOR_DEPTH",
                                          "PTK_STYLE_OVERRIDES",
                                          "PUSHD_MINUS",
                                          "PUSHD_SILENT",
                                          "PWD",
                                          "RAISE_SUBPROC_ERROR",
                                          "RIGHT_PROMPT",
                                          "SHELL_TYPE",
                                          "SHLVL",
                                          "SUBSEQUENCE_PATH_COMPLETION",
                                          "SUGGEST_COMMANDS",
                                          "SUGGEST_MAX_NUM",
                                          "SUGGEST_THRESHOLD",
                                          "SUPPRESS_BRANCH_TIMEOUT_MESSAGE",
                                          "THREAD_SUBPROCS",
                                          "TITLE",
                                          "UPDATE_COMPLETIONS_ON_KEYPRESS",
                                          "UPDATE_OS_ENVIRON",
                                          "UPDATE_PROMPT_ON_KEYPRESS",
                                          "VC_BRANCH_TIMEOUT",
                                          "VC_GIT_INCLUDE_UNTRACKED",
                                          "VC_HG_SHOW_BRANCH",
                                          "VI_MODE",
                                          "_"};
constexpr KeptNames kXonshKept[] = {{kOwned, kXonshOwn}};

constexpr std::string_view kNushellOwn[] = {"CMD_DURATION_MS",
                                            "CURRENT_FILE",
                                            "ENV_CONVERSIONS",
                                            "FILE_PWD",
                                            "LAST_EXIT_CODE",
                                            "NU_LIB_DIRS",
                                            "NU_PLUGIN_DIRS",
                                            "NU_VERSION",
                                            "OLDPWD",
                                            "PROCESS_PATH",
                                            "PWD",
                                            "SHLVL",
                                            "config"};
constexpr KeptNames kNushellKept[] = {{kOwned, kNushellOwn}};

constexpr std::string_view kRcOwn[] = {"CDPATH",  "apid",   "apids",  "bqstatus", "cdpath",
                                       "history", "home",   "ifs",    "nl",       "path",
                                       "pid",     "prompt", "status", "tab",      "version"};
constexpr KeptNames kRcKept[] = {{kOwned, kRcOwn}};

constexpr std::string_view kMakeOwn[] = {
    "CURDIR",        "GNUMAKEFLAGS", "MAKE",          "MAKECMDGOALS",  "MAKEFILES",
    "MAKEFILE_LIST", "MAKEFLAGS",    "MAKELEVEL",     "MAKEOVERRIDES", "MAKESHELL",
    "MAKE_COMMAND",  "MAKE_HOST",    "MAKE_RESTARTS", "MAKE_TERMERR",  "MAKE_TERMOUT",
    "MAKE_VERSION",  "MFLAGS",       "SHELL",         "SUFFIXES",      "VPATH"};
constexpr KeptNames kMakeKept[] = {{kOwned, kMakeOwn}};

}  // namespace

constexpr Keeper kBash = {"bash", kBashKept};
constexpr Keeper kZsh = {"zsh", kZshKept};
constexpr Keeper kKsh93 = {"ksh93", kKsh93Kept};
constexpr Keeper kMksh = {"mksh", kMkshKept};
constexpr Keeper kDash = {"dash", kDashKept};
constexpr Keeper kBusybox = {"busybox sh", kBusyboxKept};
constexpr Keeper kFish = {"fish", kFishKept};
constexpr Keeper kCsh = {"tcsh", kCshKept};
constexpr Keeper kElvish = {"elvish", kElvishKept};
constexpr Keeper kXonsh = {"xonsh", kXonshKept};
constexpr Keeper kNushell = {"nushell", kNushellKept};
constexpr Keeper kRc = {"rc", kRcKept};
constexpr Keeper kMake = {"make", kMakeKept};

namespace {

// The length, the first and the last character of a name, as one small number. Few of the names
// that no shell keeps share their number with one that a shell keeps.
constexpr std::size_t kShapes = 4096;
constexpr std::size_t shape_of(std::string_view name) {
  const auto first = static_cast<unsigned char>(name.front());
  const auto last = static_cast<unsigned char>(name.back());
  return (name.size() * 2039 + first * 61 + last) % kShapes;
}

constexpr std::array<bool, kShapes> kKeptShapes = [] {
  std::array<bool, kShapes> shapes = {};
  for (const Keeper* keeper : {&kBash, &kZsh, &kKsh93, &kMksh, &kDash, &kBusybox, &kFish, &kCsh,
                               &kElvish, &kXonsh, &kNushell, &kRc, &kMake})
    for (const KeptNames& kept : keeper->kept)
      for (const std::string_view name : kept.names)
        shapes[shape_of(name)] = true;
  return shapes;
}();

}  // namespace

std::string reason_of_keepers(std::initializer_list<const Keeper*> keepers, std::string_view name) {
  if (name.empty() || !kKeptShapes[shape_of(name)]) return {};
  for (const Keeper* keeper : keepers)
    for (const KeptNames& kept : keeper->kept)
      if (std::find(kept.names.begin(), kept.names.end(), name) != kept.names.end())
        return std::string(kept.reason) + ' ' + std::string(keeper->shell);
  return {};
}

}  // namespace zor
