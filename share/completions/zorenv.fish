# zorenv.fish (zorenv 1.0.0): completion of zorenv for fish. Source it from config.fish, or put it into a
# directory of fish_complete_path.
#
# Products are completed from the warehouse itself: -r or ZORROOT, else the current directory. A level of directories is
# one pattern, and no program is started.

function __zorenv_candidates
    set -l tokens (commandline -opc)
    set -l cur (commandline -ct)
    set -l root .
    set -q ZORROOT; and set root $ZORROOT
    set -l want
    set -l variable
    set -l fields
    set -l open
    for word in $tokens[2..]
        switch "$want"
            case root
                set root (string replace -r '^~/' "$HOME/" -- $word)
                set want
                continue
            case value
                set want
                continue
            case variable
                set variable $word
                set want value
                continue
            case category
                set fields $word
                set open 1
                set want
                continue
            case program
                return
        end
        switch $word
            case '-p*'
                set want category
            case '-r*'
                set want root
            case '-v*'
                set want variable
            case '-X*' --exec
                set want program
            case '-*'
            case '*'
                set -q open[1]; and set -a fields $word
        end
        string match -q -- '-*' $word; and set open
    end

    set -l numeric '^([0-9].*|\+)$'
    switch "$want"
        case root
            __fish_complete_directories $cur
        case program
            complete -C "$cur"
        case category
            # A category holds names with versions with revisions. It may be deeper.
            set -l above (string replace -r '[^/]*$' '' -- "$cur")
            for directory in $root/$above*/
                set -l word $above(string split -r -m 1 / -- (string trim -r -c / -- $directory))[-1]
                set -l products $directory*/*/*/product.xml
                if set -q products[1]
                    echo $word
                    continue
                end
                set products $directory*/*/*/*/product.xml $directory*/*/*/*/*/product.xml \
                    $directory*/*/*/*/*/*/product.xml
                set -q products[1]; and echo $word/
            end
        case variable value
            if not set -q fields[2]; or string match -q -r -- $numeric $fields[2]
                set fields $fields[1] Contents $fields[2..]
            end
            set -l base $root/$fields[1]/$fields[2]
            set -l files
            set -q fields[3]; or set -a fields +
            set -q fields[4]; or set -a fields +
            switch $fields[3],$fields[4]
                case '+,+'
                    set files $base/*/*/product.xml
                case '+,*'
                    set files $base/*/$fields[4]/product.xml
                case '*,+'
                    set files $base/$fields[3]/*/product.xml
                case '*'
                    set files $base/$fields[3]/$fields[4]/product.xml
            end
            for file in $files
                test -r $file; or continue
                read -z -l text <$file
                for tag in (string match -a -r '<VAR\s[^>]*>' -- $text | string replace -a \n ' ')
                    set -l name (string replace -f -r '^.*?\sn\s*=\s*["\']([^"\']*).*' '$1' -- $tag); or continue
                    if test $want = variable
                        echo $name
                    else if test "$name" = "$variable"
                        string replace -f -r '^.*?\sv\s*=\s*["\']([^"\']*).*' '$1' -- $tag
                    end
                end
            end
        case '*'
            if string match -q -- '-*' $cur
                printf '%s\n' -p -v -r -u --and --ignore-missing --exec --sh --csh --posh --bat --proc --user --system
            else if set -q open[1]
                set -l base $root/$fields[1]
                switch (count $fields)
                    case 1
                        # A name that begins with a digit can't be given.
                        __zorenv_level $base 2 | string match -v -r '^[0-9]'
                        __zorenv_level $base/Contents 1
                    case 2
                        echo +
                        if string match -q -r -- $numeric $fields[2]
                            __zorenv_revisions $base/Contents $fields[2]
                        else
                            __zorenv_level $base/$fields[2] 1
                        end
                    case 3
                        if not string match -q -r -- $numeric $fields[2]
                            echo +
                            __zorenv_revisions $base/$fields[2] $fields[3]
                        end
                end
            end
    end
end

# Prints the directories in one that hold a file product.xml so many levels below.
function __zorenv_level
    for directory in $argv[1]/*/
        set -l products
        switch $argv[2]
            case 0
                set products $directory/product.xml
                test -e $products; or set products
            case 1
                set products $directory*/product.xml
            case 2
                set products $directory*/*/product.xml
        end
        set -q products[1]; and echo (string split -r -m 1 / -- (string trim -r -c / -- $directory))[-1]
    end
end

function __zorenv_revisions
    if test $argv[2] = +
        for directory in $argv[1]/*/
            __zorenv_level (string trim -r -c / -- $directory) 0
        end
    else
        __zorenv_level $argv[1]/$argv[2] 0
    end
end

complete -c zorenv -f -a '(__zorenv_candidates)'
