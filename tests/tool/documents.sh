#!/usr/bin/env bash
# documents.sh ROOT TOOL...: docs/tool.md names every command of the tool, the manual page names every command and
# option, and the completion offers the commands, the options and the keys.
root=$1
shift
tool=("$@")
status=0
wrong() {
    echo "$*"
    status=1
}
# shellcheck source=tool/cpe_dm.bash
source "$root/tool/cpe_dm.bash"
compopt() { :; }
# shellcheck disable=SC2317 # the completion calls it
cpe_dm() { "${tool[@]}" "$@"; }
# offered WORD...: prints what the completion offers after these words, while the last word is being typed.
offered() {
    COMP_WORDS=(cpe_dm "$@")
    COMP_CWORD=$#
    _cpe_dm cpe_dm "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
    echo "${COMPREPLY[*]}"
}
mapfile -t commands < <("$@" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(offered '')" = "${commands[*]}" ] || wrong "offered as commands: $(offered '')"
for command in "${commands[@]}"; do
    grep -q "^### \`$command\b" "$root/docs/tool.md" || wrong "docs/tool.md does not name $command"
    grep -Eq "^\.B[IR]* \"?$command" "$root/tool/cpe_dm.1" || wrong "cpe_dm.1 does not name $command"
    mapfile -t options < <("$@" "$command" --help | sed -nE 's/^ +(-[a-z], )?(--?[a-z]+) .*/\2/p')
    [ "$(offered "$command" -)" = "${options[*]}" ] || wrong "offered behind $command: $(offered "$command" -)"
    for option in "${options[@]}"; do
        grep -qF -e "${option//-/\\-}" "$root/tool/cpe_dm.1" || wrong "cpe_dm.1 does not name $option"
    done
done
[ "$(offered get --raw lte.rs)" = "lte.rsrp lte.rsrq" ] || wrong "offered as keys: $(offered get --raw lte.rs)"
[ "$(offered scan '')" = "lte nr5g all" ] || wrong "offered behind scan: $(offered scan '')"
exit $status
