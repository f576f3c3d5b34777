# zor.fish (zorenv 1.0.0): the function zor for fish. Source it from config.fish:
#
#     source /usr/share/zorenv/shell/zor.fish
#
# It is used as in zor.sh, where its words are told. The settings are checked as there, and zor-translate, which lies
# beside this file, writes them in fish's own quoting.

set -g zor_directory (builtin realpath (dirname (status filename)))

function zor --description 'Put the settings of products into this shell'
    set -l zor_commands ($zor_directory/zor-translate fish $argv)
    or return 1
    # One text again, line ends inside the values and all.
    set zor_commands (string join \n -- $zor_commands | string collect)
    # First a rehearsal with local variables: the read-only ones show.
    set -l zor_refused
    set -l zor_scope -lx
    eval "begin
$zor_commands
end" 2>/dev/null
    if set -q zor_refused[1]
        echo "zor: fish refuses $zor_refused; nothing was changed" >&2
        return 1
    end
    set zor_scope -gx
    eval $zor_commands
    true
end
