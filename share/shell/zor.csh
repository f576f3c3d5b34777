# zor.csh (zorenv 1.0.0): the alias zor for csh and tcsh. A csh can't tell a script where it lies, so say it first:
#
#     set zor_directory = /usr/share/zorenv/shell
#     source $zor_directory/zor.csh
#
# The command zor is used as in zor.sh, where its words are told. The settings are checked as there, and zor-translate
# writes them in csh's own quoting. The variables histchars and backslash_quote change that quoting and must not be set.

alias zor 'if ($?histchars || $?backslash_quote) echo "zor: unset histchars and backslash_quote first"; set zor_script = /dev/null; if (! $?histchars && ! $?backslash_quote) set zor_script = "`$zor_directory:q/zor-translate csh $shell:q \!*`"; source $zor_script:q; test $zor_script:q != /dev/null'
