// The function for elvish.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

// A definition that is evaluated is known to what is evaluated with it only, and an editor is there
// only where somebody types.
constexpr std::string_view kDefinition = R"zor(use str
fn zor {|@words|
  var program~ = (external @PROGRAM@)
  if (or (== 0 (count $words)) (not (has-value [@COMMANDS@] $words[0]))) {
    program $@words
    return
  }
  var script = ''
  var directly = $false
  try {
    set script = (program --shell elvish $@words | slurp)
  } catch error {
    try { set directly = (== @DIRECTLY@ $error[reason][exit-status]) } catch { nop }
    if (not $directly) { fail $error }
  }
  if $directly {
    program $@words
    return
  }
  if (not (and (str:has-prefix $script '# zor-begin') (str:has-suffix $script "# zor-end\n"))) {
    fail 'zor: the program printed something else than a script; nothing was changed'
  }
  eval $script
}
fn zor-complete {|@words|
  try {
    @PROGRAM@ complete elvish -- $@words[1..] 2>/dev/null | from-lines
  } catch { nop }
}
try {
  eval 'edit:add-var zor~ $zor~; set edit:completion:arg-completer[zor] = $zor-complete~'
} catch { nop }
)zor";

}  // namespace

std::string define_for_elvish(const Callee& callee) {
  return filled(kDefinition, {{"COMMANDS", joined(callee.changing, " ")},
                              {"DIRECTLY", directly()},
                              {"PROGRAM", quoted(callee.path, '\'', {{'\'', "''"}})}});
}

}  // namespace zor
