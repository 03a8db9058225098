/* The command `show` of zeb_recording: prints a summary and the timeline as text or JSON, or signal values as CSV. */
#ifndef SHOW_H
#define SHOW_H

#include "facts.h"

#include <optional>

enum class show_form { TEXT, JSON, CSV };

struct show_options {
    show_form form = show_form::TEXT;
    /* Lines that begin before `from_us` or after `to_us` are not shown. Both count from the recording's start. */
    std::optional<int64_t> from_us;
    std::optional<int64_t> to_us;
    std::vector<std::string_view> only; /* the kinds of lines to show; empty: all kinds */
};

/* Whether the option --only takes this word: the kind of a line in a recording ("send"), "failed" or "slow". */
bool show_is_kind(std::string_view kind);

/* Returns the words that the option --only takes, with commas between them, for a message to the user. */
std::string show_kinds();

/* Returns the whole output of the command. */
std::string show_text(const session &s, const facts &f, const show_options &options);

#endif
