/* The lines of a log and of the client's console that can be redacted and sent. The form of such a line is known, so
 * its numbers can be replaced one by one. A line of any other form may hold anything, and is left out. */
#ifndef KNOWN_LINES_H
#define KNOWN_LINES_H

#include "identities.h"

#include <optional>

/* The forms as they stand in the module and in the client, without line ends. `kinds` has a letter for each conversion:
 *   c  channel           l  the low 16 bits of an NR 5G channel     p  PCI    g  CGI    t  TAC    m  MCC    n  MNC
 *   P  one of the three bytes of a PLMN, which stand one behind the other           T  one of those of a TAC
 *   .  no identity; with empty `kinds`, no conversion is an identity
 * %s is the name of a metric, an indication or an operation. */
struct known_line {
    const char *form;
    const char *kinds = "";
};

extern const std::span<const known_line> known_lines;

/* Redacts a line without its line end: replaces identities, and moves a time at the beginning by shift_us. Returns
 * std::nullopt when the line's form is not known. */
std::optional<std::string> known_line_redact(std::string_view line, identities &all, int64_t shift_us);

/* The time at the beginning of a line of a log, in microseconds; std::nullopt when there is none. */
std::optional<int64_t> known_line_time(std::string_view line);

#endif
