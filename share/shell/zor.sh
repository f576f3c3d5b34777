# shellcheck shell=sh
# zor.sh (zorenv 1.0.0): the function zor for sh, bash and zsh. Source it from your shell's start file:
#
#     . /usr/share/zorenv/shell/zor.sh
#
#     zor [-u] [-r root] [--ignore-missing] category [name] [version] [rev] [-v name value]...
#         [-p category [name] [version] [rev] [-v name value]...]...
#         [--and -p category ...]...
#
# puts the settings of the products into this shell; with -u it undoes them. The words are those of zorenv: only the
# first -p may be left out, when the category follows. The status is 0 if all was done, and 1 if nothing was.
#
# The program is zorenv as PATH finds it, or the one that the variable ZORENV names: set it where a product's settings
# may take zorenv off your PATH.
#
# zorenv writes values between single quotes as they are, and whatever else it prints would be evaluated with them. So
# the whole script is read first, and only what consists of its two kinds of records,
#
#     NAME='VALUE'; export NAME         and         unset NAME ;
#
# is evaluated, where NAME is a name to the shell, VALUE has no single quote, and no name comes twice. Such a text can
# set and unset variables and nothing else, whatever the values hold. A value with a single quote can't make one: its
# last record would be of the name that its first had. The rest is refused, and nothing is changed. The same goes for
# variables that the shell does not keep as plain text, such as read-only ones and numbers: it would stop half-way, or
# calculate with the value.

zor() {
  # shellcheck disable=SC3044 # zsh has it
  if [ -n "${ZSH_VERSION-}" ]; then typeset -g zor_script; fi
  # The checks run in the command substitution and leave no variables behind.
  zor_script=$(zor_checked sh "$@") || {
    unset zor_script
    return 1
  }
  # Its variable goes before the script is run, not after: a product may set one of that name.
  if [ -n "${ZSH_VERSION-}" ]; then
    emulate sh -c "unset zor_script
$zor_script"
  else
    eval "unset zor_script
$zor_script"
  fi
}

# zor_checked FORM ARGUMENT...: the script for these arguments of zor, in the form sh, csh or fish, once it is known to
# be one. Ends the subshell that it must be called in with status 1 and a message if it is not.
zor_checked() {
  if [ -n "${ZSH_VERSION-}" ]; then emulate sh; fi
  set +eux
  zor_form=$1
  shift
  case ${1-} in
    '' | -h | --help)
      {
        echo 'usage: zor [-u] [-r root] [--ignore-missing] category [name] [version] [rev] [-v name value]...'
        echo '           [-p category ...]... [--and -p category ...]...'
      } >&2
      exit 1
      ;;
  esac
  zor_run "$@"
  zor_seen=' '
  zor_result=
  zor_rest=$zor_script
  while [ -n "$zor_rest" ]; do
    case $zor_rest in
      'unset '*)
        zor_record=${zor_rest%%"$zor_newline"*}
        zor_name=${zor_record#unset }
        zor_name=${zor_name% ;}
        zor_kind='unset'
        zor_expected="unset $zor_name ;"
        ;;
      *)
        zor_name=${zor_rest%%=*}
        zor_value=${zor_rest#"$zor_name='"}
        [ "$zor_value" != "$zor_rest" ] || zor_refuse
        zor_value=${zor_value%%\'*}
        # shellcheck disable=SC2034 # for the function called below
        zor_kind='set'
        zor_expected="$zor_name='$zor_value'; export $zor_name"
        ;;
    esac
    # Ranges such as a-z hold other letters as well in some locales.
    case $zor_name in
      '' | [0123456789]* | *[!ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_]*) zor_refuse ;;
    esac
    case $zor_rest$zor_newline in
      "$zor_expected$zor_newline"*) ;;
      *) zor_refuse ;;
    esac
    case $zor_seen in
      *" $zor_name "*) zor_refuse ;;
    esac
    zor_seen="$zor_seen$zor_name "
    "zor_add_$zor_form"
    zor_rest=${zor_rest#"$zor_expected"}
    zor_rest=${zor_rest#"$zor_newline"}
  done
  if [ "$zor_form" = sh ]; then
    # A rehearsal in a further subshell: here a read-only variable shows.
    (eval "$zor_script") </dev/null >/dev/null 2>&1 || zor_fail 'this shell refuses one of the variables'
  fi
  printf '%s\n' "$zor_result"
}

# Sets zor_script to what zorenv prints for the arguments of zor.
zor_run() {
  zor_newline='
'
  zor_undo=
  zor_ignore=
  unset IFS zor_root
  while :; do
    case ${1-} in
      -u) zor_undo=-u ;;
      -i | --ignore-missing) zor_ignore=-i ;;
      -r)
        [ $# -gt 1 ] || break
        zor_root=$2
        shift
        ;;
      -*) break ;;
      *)
        set -- -p "$@"
        break
        ;;
    esac
    shift
  done
  # The mark keeps the script's own line ends from the shell, which cuts them.
  zor_script=$(
    command "${ZORENV:-zorenv}" --sh $zor_undo $zor_ignore ${zor_root+-r "$zor_root"} "$@"
    zor_status=$?
    echo .
    exit "$zor_status"
  ) || {
    zor_script=${zor_script%.}
    [ -z "$zor_script" ] || printf '%s' "$zor_script" | zor_show
    zor_fail 'zorenv failed'
  }
  zor_script=${zor_script%.}
}

# A number, a list, a read-only variable: what the shell would not take as plain text.
zor_add_sh() {
  zor_result=$zor_script
  zor_attributes=
  if [ -n "${ZSH_VERSION-}" ]; then
    eval "zor_attributes=\${(t)$zor_name}"
    case $zor_attributes in
      '' | scalar*) ;;
      *) zor_fail "$zor_name is no plain variable of this shell" ;;
    esac
    case $zor_attributes in
      *-readonly* | *-left* | *-right* | *-upper* | *-lower*) zor_fail "$zor_name is no plain variable of this shell" ;;
    esac
  elif [ -n "${BASH_VERSION-}" ]; then
    # shellcheck disable=SC3044 # bash has it
    zor_attributes=$(declare -p "$zor_name" 2>/dev/null)
    case $zor_attributes in
      '' | 'declare -- '* | 'declare -x '*) ;;
      *) zor_fail "$zor_name is no plain variable of this shell" ;;
    esac
  fi
}

# Prints on standard error, without what would steer a terminal.
zor_show() {
  tr -d '\000-\010\013-\037\177' >&2
}

zor_fail() {
  printf 'zor: %s; nothing was changed\n' "$1" >&2
  exit 1
}

# Shows the line that is no record.
zor_refuse() {
  zor_line=${zor_rest%%"$zor_newline"*}
  {
    echo 'zor: this is no setting that a shell can take (a single quote in a value, an odd name, a report of zorenv):'
    printf '%s\n' "$zor_line"
  } 2>&1 | zor_show
  zor_fail 'refused'
}
