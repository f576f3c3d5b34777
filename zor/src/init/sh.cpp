// The function for bash, zsh, ksh and the other shells of the sh family.
//
// It has no variables of its own, which a product might set as well: what it must remember are its
// positional parameters. Commands stand behind a backslash, so that no alias takes their place.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

// The script is tried in a subshell first: there a variable shows that can't be set. The commands
// between the two evaluations differ by shell; @APPLY@ ends with the status of the second.
constexpr std::string_view kFunction = R"zor(\unalias zor 2>/dev/null || :
zor() {
@OPTIONS@  case ${1-} in
    @COMMANDS@) ;;
    *)
      @PROGRAM@ "$@"
      \return
      ;;
  esac
  \set -- "$(@PROGRAM@ --shell @DIALECT@ "$@" || \echo "$?")" "$@"
  case $1 in
    ': zor-begin'*': zor-end') ;;
    @DIRECTLY@)
      \shift
      @PROGRAM@ "$@"
      \return
      ;;
    [123456789] | [123456789][0123456789] | [12][0123456789][0123456789])
      \return "$1"
      ;;
    *)
      \echo 'zor: the program printed something else than a script; nothing was changed' >&2
      \return 1
      ;;
  esac
  \set -- "$1" zor-rehearsal
  (\eval "$1") </dev/null >/dev/null || {
    \echo 'zor: this shell refuses one of the variables; nothing was changed' >&2
    \return 1
  }
  \set -- "$1"
@APPLY@}
)zor";

// An interrupt would leave an interactive shell's evaluation half-way; elsewhere it ends the shell,
// or its own trap lets it go on.
constexpr std::string_view kApply = R"zor(  case $- in
    *i*)
      \set -- "$1" "@TRAPS@"
      \trap '' INT
      \eval "$1"
      \set -- "$?" "$2"
      \trap - INT
      \eval "$2"
      \return "$1"
      ;;
  esac
  \eval "$1"
)zor";

// The option of functions puts the trap back.
constexpr std::string_view kApplyInZsh = R"zor(  \trap '' INT
  \eval "$1"
)zor";

constexpr std::string_view kCompletionOfBash = R"zor(_zor() {
  \local - IFS='
'
  \set +eu -f
  COMPREPLY=($(@PROGRAM@ complete bash -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
  case ${#COMPREPLY[@]}${COMPREPLY[0]-} in
    1*/) \compopt -o nospace ;;
  esac
}
\complete -F _zor zor
)zor";

constexpr std::string_view kCompletionOfZsh = R"zor(_zor() {
  \emulate -L zsh
  \local line
  \local -a words_of values texts open
  words_of=("${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}")
  for line in "${(@f)$(@PROGRAM@ complete zsh -- "$words_of[@]" 2>/dev/null)}"; do
    case $line in
      '') ;;
      */) open+=("$line") ;;
      *)
        values+=("${line%%$'\t'*}")
        texts+=("${line/$'\t'/  -- }")
        ;;
    esac
  done
  \compadd -S '' -- "$open[@]"
  \compadd -l -d texts -- "$values[@]"
}
if ((${+functions[compdef]})); then \compdef _zor zor; fi
)zor";

std::string function_text(const Callee& callee, const std::string& dialect,
                          const std::string& options, std::string_view apply,
                          const std::string& traps) {
  return filled(kFunction, {{"OPTIONS", options},
                            {"COMMANDS", joined(callee.changing, " | ")},
                            {"APPLY", filled(apply, {{"TRAPS", traps}})},
                            {"DIALECT", dialect},
                            {"DIRECTLY", directly()},
                            {"PROGRAM", quoted_for_sh(callee.path)}});
}

}  // namespace

// A dash can't tell which traps there are: one on INT is back at its default afterwards.
std::string define_for_sh(const Callee& callee) {
  return function_text(callee, "sh", "", kApply, "$(\\trap)");
}

std::string define_for_bash(const Callee& callee) {
  return function_text(callee, "bash", "", kApply, "$(\\trap -p INT)") +
         filled(kCompletionOfBash, {{"PROGRAM", quoted_for_sh(callee.path)}});
}

// zsh reads all of what it evaluates before it runs any of it, an alias of the name included, so
// the function is defined in an evaluation of its own. Its text stands on one line: between quotes
// zsh may have been told to take no line end, as csh does.
std::string define_for_zsh(const Callee& callee) {
  return "\\unalias zor 2>/dev/null || :\n\\eval $" +
         quoted(function_text(callee, "zsh", "  \\emulate -L zsh\n  \\setopt local_traps\n",
                              kApplyInZsh, "") +
                    filled(kCompletionOfZsh, {{"PROGRAM", quoted_for_sh(callee.path)}}),
                '\'', {{'\'', "\\'"}, {'\\', "\\\\"}, {'\n', "\\n"}}) +
         "\n";
}

// The form of substitution that makes no subshell: in a subshell mksh has no traps to tell.
std::string define_for_ksh(const Callee& callee) {
  return function_text(callee, "ksh", "", kApply, "${ \\trap;}");
}

}  // namespace zor
