// The command for nushell, which evaluates no text: its script is a record in JSON.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

constexpr std::string_view kDefinition =
    R"zor(def --env --wrapped zor [...words: string@"zor complete"] {
  let program = @PROGRAM@
  if ($words | is-empty) or ($words.0 not-in [@COMMANDS@]) {
    ^$program ...$words
    return
  }
  let result = (^$program --shell nushell ...$words | complete)
  if $result.exit_code == @DIRECTLY@ {
    ^$program ...$words
    return
  }
  print --stderr --no-newline $result.stderr
  if $result.exit_code != 0 {
    error make --unspanned {msg: $"zor: nothing was changed, status ($result.exit_code)"}
  }
  let script = ($result.stdout | from json)
  hide-env --ignore-errors ...$script.unset
  load-env $script.set
  if "PATH" in $script.set { $env.PATH = ($script.set.PATH | split row (char esep)) }
}
def "zor complete" [context: string] {
  ^@PROGRAM@ complete nushell -- $context | complete | get stdout | lines
}
)zor";

}  // namespace

std::string define_for_nushell(const Callee& callee) {
  return filled(
      kDefinition,
      {{"COMMANDS", joined(callee.changing, " ")},
       {"DIRECTLY", directly()},
       {"PROGRAM", quoted(callee.path, '"', {{'\\', "\\\\"}, {'"', "\\\""}, {'\n', "\\n"}})}});
}

}  // namespace zor
