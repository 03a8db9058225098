/* A line of the timeline in words. */
#ifndef LINES_H
#define LINES_H

#include "session.h"

struct line_words {
    const char *kind = ""; /* as the recording calls it: "send" */
    std::string what;      /* what was asked or told */
    std::string result;    /* what came of it */
    std::string timing;    /* how long it took, when that is worth a word */
    bool failed = false;
    bool slow = false;
};

line_words line_describe(const session_line &line);

/* The kind as the recording calls it. */
const char *line_kind(const recording_entry &entry);

/* A status of the platform: "ZEB_TRANSPORT_ERR (-8)". */
std::string line_status(int32_t status);

/* "0x004f get signal info" */
std::string line_message_name(uint32_t type, uint32_t id);

#endif
