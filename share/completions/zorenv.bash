# zorenv.bash (zorenv 1.0.0): completion of zorenv for bash. Source it, or put it where bash-completion looks.
#
# Products are completed from the warehouse itself: -r or ZORROOT, else the current directory. A level of directories is
# one pattern, and no program is started.

_zorenv() {
  local -
  set +fu
  local restore=
  shopt -q nullglob || restore='shopt -u nullglob'
  shopt -q failglob && restore="$restore; shopt -s failglob"
  shopt -s nullglob
  shopt -u failglob
  _zorenv_complete
  eval "${restore#; }"
}

_zorenv_complete() {
  local cur=${COMP_WORDS[COMP_CWORD]} root=${ZORROOT:-.} want='' variable='' word i
  cur=${cur//[\\\"\']/}
  # The fields of the product that the cursor's word may belong to.
  local -a fields=() found=()
  local open=''
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]//[\\\"\']/}
    case $want in
      root) root=$word want='' && continue ;;
      value) want='' && continue ;;
      variable) want=value variable=$word && continue ;;
      category) fields=("$word") open=1 want='' && continue ;;
    esac
    case $word in
      -p*) want=category ;;
      -r*) want=root ;;
      -v*) want=variable ;;
      -X* | --exec) want=program && break ;;
      -*) open= ;;
      *)
        [[ -n $open ]] && fields+=("$word")
        ;;
    esac
    [[ $word == -* ]] && open=
  done
  # shellcheck disable=SC2088 # a tilde that the shell has not expanded
  case $root in
    '~/'*) root=$HOME/${root#??} ;;
  esac

  case $want in
    root)
      compopt -o filenames
      for word in "${cur/#~\//$HOME/}"*/; do found+=("${word%/}"); done
      COMPREPLY=("${found[@]}")
      return
      ;;
    program)
      # shellcheck disable=SC2207 # mapfile is not in the bash of some systems, and globbing is off
      if ((i + 1 == COMP_CWORD)); then COMPREPLY=($(compgen -c -- "$cur")); else compopt -o default; fi
      return
      ;;
    category) _zorenv_categories ;;
    variable | value) _zorenv_variables ;;
    *)
      if [[ $cur == -* ]]; then
        _zorenv_options
      elif [[ -n $open ]]; then
        _zorenv_fields
      fi
      ;;
  esac
  for i in "${!found[@]}"; do
    [[ ${found[i]} == "$cur"* ]] || continue
    printf -v word %q "${found[i]}"
    COMPREPLY+=("$word")
  done
  [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == */ ]] && compopt -o nospace
}

_zorenv_options() {
  found=(-p -v -r -u --and --ignore-missing --exec --sh --csh --posh --bat --proc --user --system)
}

# A category holds names with versions with revisions. It may be deeper.
_zorenv_categories() {
  local directory products
  for directory in "$root/$cur"*/; do
    products=("$directory"*/*/*/product.xml)
    word=${directory#"$root/"}
    if ((${#products[@]})); then
      found+=("${word%/}")
      continue
    fi
    products=("$directory"*/*/*/*/product.xml "$directory"*/*/*/*/*/product.xml "$directory"*/*/*/*/*/*/product.xml)
    ((${#products[@]})) && found+=("$word")
  done
}

_zorenv_fields() {
  local base=$root/${fields[0]}
  case ${#fields[@]} in
    1)
      _zorenv_level "$base" '*/*'
      # A name that begins with a digit can't be given.
      for i in "${!found[@]}"; do [[ ${found[i]} == [0-9]* ]] && unset 'found[i]'; done
      _zorenv_level "$base/Contents" '*'
      ;;
    2)
      if [[ ${fields[1]} == [0-9]* || ${fields[1]} == + ]]; then
        _zorenv_revisions "$base/Contents" "${fields[1]}"
      else
        found=(+)
        _zorenv_level "$base/${fields[1]}" '*'
      fi
      ;;
    3)
      [[ ${fields[1]} == [0-9]* || ${fields[1]} == + ]] || _zorenv_revisions "$base/${fields[1]}" "${fields[2]}"
      ;;
  esac
}

# Adds the directories in one that hold a file product.xml below the pattern.
_zorenv_level() {
  local directory products
  for directory in "$1/$cur"*/; do
    # shellcheck disable=SC2206 # the pattern is to match
    products=("$directory"$2/product.xml)
    ((${#products[@]})) || continue
    directory=${directory%/}
    found+=("${directory##*/}")
  done
}

_zorenv_revisions() {
  local version
  found=(+)
  if [[ $2 == + ]]; then
    for version in "$1"/*/; do _zorenv_level "${version%/}" .; done
  else
    _zorenv_level "$1/$2" .
  fi
}

# The variables of the product's varieties, or the values of one.
_zorenv_variables() {
  local file text tag name value base
  local in="[[:space:]]*=[[:space:]]*(\"([^\"]*)\"|'([^']*)')" files=()
  if [[ ${fields[1]-+} == [0-9+]* ]]; then
    base=$root/${fields[0]-}/Contents fields=("${fields[0]-}" Contents "${fields[@]:1}")
  else
    base=$root/${fields[0]}/${fields[1]}
  fi
  local version=${fields[2]-+} revision=${fields[3]-+}
  case $version,$revision in
    +,+) files=("$base"/*/*/product.xml) ;;
    +,*) files=("$base"/*/"$revision/product.xml") ;;
    *,+) files=("$base/$version"/*/product.xml) ;;
    *) files=("$base/$version/$revision/product.xml") ;;
  esac
  for file in "${files[@]}"; do
    [[ -r $file && -f $file ]] || continue
    IFS= read -r -d '' text <"$file"
    while [[ $text =~ \<VAR[[:space:]]+([^\>]*)\> ]]; do
      tag=" ${BASH_REMATCH[1]}"
      text=${text#*"${BASH_REMATCH[0]}"}
      [[ $tag =~ [[:space:]]n$in ]] || continue
      name=${BASH_REMATCH[2]}${BASH_REMATCH[3]}
      value=
      [[ $tag =~ [[:space:]]v$in ]] && value=${BASH_REMATCH[2]}${BASH_REMATCH[3]}
      if [[ $want == variable ]]; then
        [[ " ${found[*]} " == *" $name "* ]] || found+=("$name")
      elif [[ $name == "$variable" ]]; then
        [[ " ${found[*]} " == *" $value "* ]] || found+=("$value")
      fi
    done
  done
}

complete -F _zorenv zorenv
