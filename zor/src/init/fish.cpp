// The function for fish.
#include "init/text.h"
#include "words.h"

namespace zor {

namespace {

// A variable that fish keeps read-only refuses a local one of its name as well. While a function
// listens for the interrupt, fish does not stop at it half-way.
constexpr std::string_view kDefinition =
    R"zor(function zor --description 'Load and unload the products of a warehouse'
    if not contains -- "$argv[1]" @COMMANDS@
        @PROGRAM@ $argv
        return
    end
    set -l zor_script (@PROGRAM@ --shell fish $argv)
    set -l zor_status $status
    switch $zor_status
        case 0
        case @DIRECTLY@
            @PROGRAM@ $argv
            return
        case '*'
            return $zor_status
    end
    if not string match -q -- ': zor-begin*' "$zor_script[1]"; or test "$zor_script[-1]" != ': zor-end'
        echo 'zor: the program printed something else than a script; nothing was changed' >&2
        return 1
    end
    for zor_name in (string split ' ' -- $zor_script[1])[3..-1]
        if not begin
                true
                set -l $zor_name ''
            end
            echo "zor: fish refuses $zor_name; nothing was changed" >&2
            return 1
        end
    end
    function __zor_interrupt --on-signal INT
    end
    eval (string join \n -- $zor_script | string collect)
    set zor_status $status
    functions -e __zor_interrupt
    return $zor_status
end
function __zor_complete
    set -l zor_words (commandline -opc) (commandline -ct)
    @PROGRAM@ complete fish -- $zor_words[2..-1] 2>/dev/null
end
complete -e -c zor
complete -c zor -f -a '(__zor_complete)'
)zor";

}  // namespace

std::string define_for_fish(const Callee& callee) {
  return filled(kDefinition,
                {{"COMMANDS", joined(callee.changing, " ")},
                 {"DIRECTLY", directly()},
                 {"PROGRAM", quoted(callee.path, '\'', {{'\\', "\\\\"}, {'\'', "\\'"}})}});
}

}  // namespace zor
