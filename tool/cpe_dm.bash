# Completion of cpe_dm for bash. The help of the program gives the commands, options and keys.

# _cpe_dm_of TITLE [COMMAND]: prints the first word of each line under this title in the help of the command, or of the
# program when no command is given. A short option at the start of a line does not count.
_cpe_dm_of() {
    "${COMP_WORDS[0]}" ${2:+"$2"} --help 2>/dev/null |
        sed -n "/^$1:/,/^\$/s/^ *\(-[a-z], \)\{0,1\}\([-a-z]\{2,\}\) .*/\2/p"
}

_cpe_dm() {
    local current=$2 previous=$3 command='' word words
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
        -*) ;;
        *)
            command=$word
            break
            ;;
        esac
    done
    case $previous in
    -o | --output | --textfile)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -i | -n | --interval | --rows | --timeout | --within | --for | --label) return ;;
    esac
    case $command:$current in
    *:-*) words=$(_cpe_dm_of Options "$command") ;;
    :*) words=$(_cpe_dm_of Commands) ;;
    scan:*) words='lte nr5g all' ;;
    get:* | watch:*) words="lte nr5g all $("${COMP_WORDS[0]}" metrics 2>/dev/null | sed '1d; s/ .*//')" ;;
    check:*)
        words=$("${COMP_WORDS[0]}" metrics 2>/dev/null | sed '1d; s/ .*//')
        compopt -o nospace
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _cpe_dm cpe_dm
