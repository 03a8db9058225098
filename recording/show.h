/* The command show: first what happened at a glance, then the timeline; as text, JSON or CSV. */
#ifndef SHOW_H
#define SHOW_H

#include "facts.h"

#include <optional>

enum class show_form { TEXT, JSON, CSV };

struct show_options {
    show_form form = show_form::TEXT;
    std::optional<int64_t> from_us; /* since the recording's start */
    std::optional<int64_t> to_us;
    std::vector<std::string_view> only; /* kinds of lines; none: all */
};

/* Whether `kind` is a kind of lines: a kind of the recording, "failed" or "slow". */
bool show_is_kind(std::string_view kind);

/* The names of all kinds, for a message. */
std::string show_kinds();

/* What the command prints. */
std::string show_text(const session &s, const facts &f, const show_options &options);

#endif
