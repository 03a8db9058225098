# Makes a transcript of a program's whole output. Only repetitions are left out:
#   - when the client's menu is printed more than once, "[menu] " stands for each exact copy; when the menu is printed
#     once, it stays, and so does the banner, which is left out in all other cases;
#   - of a long numbered list (lines with a #number) whose entries differ only in numbers, the first and the last entry
#     stay; so do the first and the last of the lines in which the client announces a list of metrics.
# A backslash at the end of a line says that the program ended the line's text without a newline.
{ text = text $0 "\n" }

# Line i without what differs between the entries of a list. Each line that is no list entry gets a different text.
function shape(i,   s) {
    s = line[i]
    if (sub(/^CPE DEMO APP : Getting LTE.5G \[.*\] metric information\.$/, "Getting", s)) {
        return s
    }
    if (s !~ /#[0-9]/) {
        return "line " i
    }
    gsub(/-?[0-9]+/, "N", s)
    return s
}

# The lines from line i on are taken in groups of p lines. Returns the number of lines in those groups at the start that
# all have the shapes of the first group.
function alike(i, p,   n) {
    for (n = p; i + n <= lines && shape(i + n) == shape(i + n - p); n++) {
    }
    return n - n % p
}

END {
    text = substr(text, 1, length(text) - length("[end]\n"))
    if (text !~ /\n$/) {
        text = text "\\\n"
    }
    at = index(text, "\n\nPlease select")
    prompt = index(text, "Option > ")
    menu = at && prompt > at ? substr(text, at, prompt + length("Option > ") - at) : ""
    single = menu != "" && !index(substr(text, prompt + 1), menu)
    if (!single && match(text, /^\n\n#+ [^\n]* #+\n\n/)) {
        text = substr(text, RLENGTH + 1)
    }
    while (menu != "" && !single && (at = index(text, menu))) {
        before = substr(text, 1, at - 1)
        text = before (before ~ /[^\n]$/ ? "\\\n" : "") "[menu] " substr(text, at + length(menu))
    }
    lines = split(text, line, "\n") - 1
    for (i = 1; i <= lines; i++) {
        for (p = 1; p <= 3; p++) {
            n = alike(i, p)
            if (n >= 2 * p + 3) {
                for (j = i; j < i + p; j++) {
                    print line[j]
                }
                printf "... %d lines\n", n - 2 * p
                i += n - p
                break
            }
        }
        print line[i]
    }
}
