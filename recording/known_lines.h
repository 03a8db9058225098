/* Redacts lines of the module's log and of the client's console output. The form (printf format) of all lines that the
 * module and the client print is known, so the numbers in such a line can be replaced one by one. Any other line may
 * contain anything, so the redacted text leaves it out. */
#ifndef KNOWN_LINES_H
#define KNOWN_LINES_H

#include "identities.h"

#include <optional>

/* The form of a line: `form` is its printf format in the module or the client, without the line end. The letters of
 * `kinds` say what each conversion of `form` prints:
 *   c  channel           l  the low 16 bits of an NR 5G channel     p  PCI    g  CGI    t  TAC    m  MCC    n  MNC
 *   PPP  the three bytes of a PLMN, one conversion each      TTT  the three bytes of a TAC, one conversion each
 *   .  no identity
 * If `kinds` is empty, no conversion prints an identity. %s prints the name of a metric, an indication or an
 * operation. */
struct known_line {
    const char *form;
    const char *kinds = "";
};

extern const std::span<const known_line> known_lines;

/* Redacts one line, which is passed without its line end: replaces identities, and adds `shift_us` to the time at the
 * beginning of a log line. Returns std::nullopt when the form of the line is not known, when an identity does not fit
 * into 64 bits, or when a byte of a PLMN or TAC is above 255. */
std::optional<std::string> known_line_redact(std::string_view line, identities &all, int64_t shift_us);

/* The time at the beginning of a log line, in microseconds since 1970; std::nullopt when the line has no time. */
std::optional<int64_t> known_line_time(std::string_view line);

#endif
