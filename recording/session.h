/* A recording as zeb_recording works with it: the lines of all parts, ordered by the time at which each line began. An
 * indication and its decoding are one line. */
#ifndef SESSION_H
#define SESSION_H

#include "fields.h"
#include "recording.h"

#include <memory>
#include <span>

/* One file: a whole recording, or a part of one. */
struct session_file {
    std::string name;
    std::string text;
    recording content;
    uint64_t end_us = 0;
    bool continued = false; /* a later part of the recording was read, too */
};

struct session_line {
    const recording_entry *entry = nullptr;
    /* The call that decoded the indication in `entry`. Null: `entry` is no indication, or was not decoded. */
    const recording_entry *decoding = nullptr;
    const session_file *file = nullptr;
};

struct session {
    std::vector<std::unique_ptr<session_file>> files; /* the first part comes first */
    std::vector<session_line> lines;
    /* When the recording began, in us since 1970; 0: unknown. The times of entries count from this moment. */
    int64_t start_us = 0;
    bool dated = false; /* the recording says when it began */
};

/* session_parse reads a recording from `text`, and session_read reads a recording from the file `name`. session_parse
 * does not open a file: its `name` is for messages. On failure, both functions return false, with "file:line: reason"
 * in `error`. */
bool session_parse(std::string name, std::string text, session_file &out, std::string &error);
bool session_read(const char *name, session_file &out, std::string &error);

/* Reads a file of any content into `text`. Fails when the file is longer than a recording may be. Reports failures as
 * session_parse does. */
bool session_read_text(const char *name, std::string &text, std::string &error);

/* Makes a session of one recording, or of several parts of one recording. Reports failures as session_parse does. */
bool session_make(std::vector<std::unique_ptr<session_file>> files, session &out, std::string &error);

/* Returns all bytes of a recorded buffer. Adds the zeros at its end, which a recording omits. */
std::vector<uint8_t> session_bytes(const recording_bytes &bytes);

/* The bytes of a message, and the description of its fields in `what`. `what` is null when there is no description. */
struct session_message {
    const message *what = nullptr;
    std::vector<uint8_t> bytes;
};

/* session_request returns the message that a request sent. session_answer returns the response to a request, or the
 * message that a decoding call produced; a call that failed has no answer. In the returned record, `what` is null in
 * three cases: the entry has no such message, fields.h does not describe the message, or the length does not fit the
 * structure in the platform's header. */
session_message session_request(const recording_entry &entry);
session_message session_answer(const recording_entry &entry);

#endif
