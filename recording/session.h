/* A recording as this program reads it. The entries are in the order in which they began, and each decoding is joined
 * to its indication. */
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
    bool continued = false; /* another part follows */
};

struct session_line {
    const recording_entry *entry = nullptr;
    const recording_entry *decoding =
        nullptr; /* of an indication: the entry of its decoding; null: the program did not decode it */
    const session_file *file = nullptr;
};

struct session {
    std::vector<std::unique_ptr<session_file>> files; /* in the order of the parts */
    std::vector<session_line> lines;
    int64_t start_us = 0; /* wall-clock time of the recording's start; times of lines count from here */
    bool dated = false;   /* the recording tells when it began */
};

/* Both read a recording: the first from the text of a file (`name` is for messages), the second from the file. On
 * failure they return false, with "file:line: reason" in `error`. */
bool session_parse(std::string name, std::string text, session_file &out, std::string &error);
bool session_read(const char *name, session_file &out, std::string &error);

/* Reads the text of a file of any kind, up to the greatest length of a recording. Reports failures as session_parse
 * does. */
bool session_read_text(const char *name, std::string &text, std::string &error);

/* Makes a session of one recording, or of several parts of one recording. Reports failures as session_parse does. */
bool session_make(std::vector<std::unique_ptr<session_file>> files, session &out, std::string &error);

/* The whole buffer, with the zeros at its end. */
std::vector<uint8_t> session_bytes(const recording_bytes &bytes);

/* A message with its bytes; `what` is null when the table knows no such message. */
struct session_message {
    const message *what = nullptr;
    std::vector<uint8_t> bytes;
};

/* The first returns the message of a request. The second returns the message that came back with status 0 from a
 * request or a decoding. For any other entry, and for a message whose length is not that in the platform's header,
 * `what` is null. */
session_message session_request(const recording_entry &entry);
session_message session_answer(const recording_entry &entry);

#endif
