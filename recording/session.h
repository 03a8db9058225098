/* A recording as this program reads it: the entries of the reader, in the order in which they began, each decoding
 * joined to its indication. */
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
        nullptr; /* of an indication: what decoding made of it; null: it was not decoded */
    const session_file *file = nullptr;
};

struct session {
    std::vector<std::unique_ptr<session_file>> files; /* in the order of the parts */
    std::vector<session_line> lines;
    int64_t start_us = 0; /* wall-clock time; all times of lines count from it */
    bool dated = false;   /* the recording says when it began */
};

/* Reads a recording from its text; name is the file's, for messages. On failure returns false with "file:line: reason"
 * in error. session_read takes the text from the file. */
bool session_parse(std::string name, std::string text, session_file &out, std::string &error);
bool session_read(const char *name, session_file &out, std::string &error);

/* The text of a file of any kind, up to the length that a recording can have. On failure as above. */
bool session_read_text(const char *name, std::string &text, std::string &error);

/* Makes a session of one recording, or of several parts of one. On failure as above. */
bool session_make(std::vector<std::unique_ptr<session_file>> files, session &out, std::string &error);

/* A buffer with the zeros at its end. */
std::vector<uint8_t> session_bytes(const recording_bytes &bytes);

/* A message with its bytes; `what` is null where the table knows no such message. */
struct session_message {
    const message *what = nullptr;
    std::vector<uint8_t> bytes;
};

/* The message of a request; and the message that came back with status 0 from a request or a decoding. Other entries
 * have none, and a message whose length is not that of the platform's header is none. */
session_message session_request(const recording_entry &entry);
session_message session_answer(const recording_entry &entry);

#endif
