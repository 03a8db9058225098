/* The lines of a log and of the client's console that can be sent redacted: those whose form is known, number by
 * number. A line of any other form may hold anything, and is left out. */
#ifndef KNOWN_LINES_H
#define KNOWN_LINES_H

#include "identities.h"

#include <optional>

/* The forms as they stand in the module and in the client, without line ends. `kinds` has a letter for each conversion:
 *   c  channel           l  the low 16 bits of an NR 5G channel     p  PCI    g  CGI    t  TAC    m  MCC    n  MNC
 *   P  one of the three bytes of a PLMN, which stand one behind the other           T  likewise of a TAC
 *   .  no identity; and so are all where there are no letters.
 * %s is the name of a metric, an indication or an operation. */
struct known_line {
    const char *form;
    const char *kinds = "";
};

extern const std::span<const known_line> known_lines;

/* A line, without its end, redacted: identities are replaced, and a time at its beginning is moved by shift_us.
 * std::nullopt: the line's form is not known. */
std::optional<std::string> known_line_redact(std::string_view line, identities &all, int64_t shift_us);

/* The time at the beginning of a line of a log; std::nullopt where there is none. */
std::optional<int64_t> known_line_time(std::string_view line);

#endif
