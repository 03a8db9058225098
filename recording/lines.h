/* Describes a line of a recording in words. */
#ifndef LINES_H
#define LINES_H

#include "session.h"

struct line_words {
    const char *kind = ""; /* the word for the line's kind in a recording, such as "send" */
    std::string what;      /* the request, other call, indication or event */
    std::string result;    /* what the call returned, or what the program decoded from the indication */
    std::string timing;    /* the duration if it is 1 ms or more; "kept from before" for a kept call; or empty */
    bool failed = false;
    bool slow = false;
};

line_words line_describe(const session_line &line);

/* The word for the entry's kind in a recording, such as "send" or "ind". */
const char *line_kind(const recording_entry &entry);

/* A status of the platform as text, such as "ZEB_TRANSPORT_ERR (-8)". */
std::string line_status(int32_t status);

/* A message's ID and name as text, such as "0x004f get signal info". */
std::string line_message_name(uint32_t type, uint32_t id);

#endif
