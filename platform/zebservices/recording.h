/* Reads a recording: a text file of what passed between a program and the platform. docs/recording.md describes the
 * format. */
#ifndef RECORDING_H
#define RECORDING_H

#include "zeb_call.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline constexpr size_t RECORDING_FILE_MAX = size_t{64} << 20;
inline constexpr size_t RECORDING_LINE_MAX = size_t{1} << 20;
inline constexpr uint32_t RECORDING_BYTES_MAX = uint32_t{1} << 20; /* the longest buffer in a line */
inline constexpr int64_t RECORDING_TOOK_MAX_US = int64_t{31} * 24 * 3600 * 1000000;

/* The content of a buffer: the bytes of `head`, followed by zeros up to `length` bytes. */
struct recording_bytes {
    bool null = true;
    uint32_t length = 0;
    std::string head; /* without the zeros at the end of the buffer */
};

recording_bytes recording_pack(const void *bytes, uint32_t length);

/* LOST: the recorder lost lines at this place. UNRECORDED: the program created a client or notifier, or registered a
 * callback, that the recorder does not follow. The recorder follows only a limited number of them at a time. */
enum class recording_kind { CALL, INDICATION, EVENT, LOST, UNRECORDED };

/* A line of the recording. The first line, comments, and the lines `before` and `end` have no entry. A `returned` line
 * is stored in the entry of the indication or event whose callback has returned. */
struct recording_entry {
    size_t line = 0;
    recording_kind kind = recording_kind::CALL;
    zeb_call_kind call = zeb_call_kind::OBJECT; /* the kind of call; for a CALL only */
    bool kept = false; /* a CALL of an earlier part, repeated in this part because later calls need its answer */
    uint64_t begin_us =
        0; /* time since the recording's start; of a kept call: when the part that holds this line began */
    uint64_t took_us = 0;     /* how long a CALL took; INDICATION, EVENT: how long the callback took if `returned` */
    bool returned = false;    /* INDICATION, EVENT: the callback has returned; always false in format version 1 */
    size_t returned_line = 0; /* the line number of the callback's `returned` line; 0: none */
    int32_t status = 0;       /* the return value of a CALL, or the event code of an EVENT */
    uint32_t handle = 0;      /* the number of the client or notifier in the recording; 0: none or not recorded */
    std::array<uint32_t, 3> numbers = {}; /* as in zeb_call; INDICATION: the message ID is numbers[0] */
    uint32_t instance = 0;                /* of a CLIENT call */
    uint32_t timeout_ms = 0;              /* of a CLIENT or SEND call */
    recording_bytes in;                   /* as in zeb_call; INDICATION: the encoded message */
    recording_bytes out;                  /* as in zeb_call: the buffer's content after the call */
    uint32_t entries = 0;                 /* of a LIST call */
    uint32_t services = 0;                /* of a LIST call */
    uint64_t count = 0; /* LOST: number of lines lost at this place; UNRECORDED: number of clients, notifiers and
                           callbacks that are missing from the recording up to this place */
};

struct recording {
    uint32_t version = 0;
    /* `start`, `machine`, `program` and `recorder` come from the first line of the file. A text that is missing from
     * the first line is empty. */
    std::string start;
    int64_t start_ms = 0; /* the time in `start`, in milliseconds since 1970; -1: unknown */
    std::string machine;
    std::string program;
    std::string recorder; /* the recorder's version */
    uint32_t part = 0;    /* the number of the part, from 1; 0: the recording is not in parts */

    std::vector<recording_entry> entries; /* in the order of the lines */
    size_t last_line = 0;

    bool cut = false;       /* the file ends in the middle of a line, and this line is left out */
    std::string end_reason; /* why the recording ended while the program went on; empty: there is no `end` line */
    uint64_t end_us = 0;
    uint64_t before_lines = 0; /* number of earlier lines of the recording that are not in this part */
    uint64_t lost_lines = 0;
    uint64_t unrecorded = 0; /* number of clients, notifiers and callbacks that are not in the recording */
};

/* Returns a key that is equal for two calls when the answer to one call also answers the other. The key consists of the
 * kind of the call, its `numbers`, its input bytes, and the length of its output buffer. For a request, decoding,
 * callback registration or release, the number of the client or notifier is also part of the key. */
std::string recording_key(zeb_call_kind call, uint32_t handle, const std::array<uint32_t, 3> &numbers,
                          const recording_bytes &in, bool out_null, uint32_t out_length);

/* Reads a recording from `text`, which may hold anything. `file` is the file's name for messages. When the text is not
 * a valid recording, returns false and sets `error` to "file:line: reason"; `out` must not be used then. When there is
 * not even memory for a message, `error` may stay as it was. Never throws. */
bool recording_parse(std::string_view text, const char *file, recording &out, std::string &error);

/* Reads a recording from a file, as recording_parse does from text. */
bool recording_read(const char *file, recording &out, std::string &error);

#endif
