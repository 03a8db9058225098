/* A line of the timeline in words. */
#ifndef LINES_H
#define LINES_H

#include "session.h"

struct line_words {
    const char *kind = ""; /* as the recording calls it: "send" */
    std::string what;      /* the request, call, indication or event */
    std::string result;    /* its outcome */
    std::string timing;    /* how long it took; empty when that was short */
    bool failed = false;
    bool slow = false;
};

line_words line_describe(const session_line &line);

/* The name of the entry's kind, as recordings have it. */
const char *line_kind(const recording_entry &entry);

/* A status of the platform: "ZEB_TRANSPORT_ERR (-8)". */
std::string line_status(int32_t status);

/* "0x004f get signal info" */
std::string line_message_name(uint32_t type, uint32_t id);

#endif
