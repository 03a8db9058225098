/* Reads a recording of what passed between a program and the platform: docs/recording.md describes the file. */
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
inline constexpr uint32_t RECORDING_BYTES_MAX = uint32_t{1} << 20; /* of one buffer */
inline constexpr int64_t RECORDING_TOOK_MAX_US = int64_t{31} * 24 * 3600 * 1000000;

/* A buffer as it was given: the bytes of `head`, followed by zeros up to the buffer's length. */
struct recording_bytes {
    bool null = true;
    uint32_t length = 0;
    std::string head; /* does not end in a zero */
};

recording_bytes recording_pack(const void *bytes, uint32_t length);

/* LOST: lines at this place could not be kept. UNRECORDED: from here on, a client, notifier or callback is missing from
 * the recording. */
enum class recording_kind { CALL, INDICATION, EVENT, LOST, UNRECORDED };

/* A line of the recording. The first line and the lines `before` and `end` have no entry. A `returned` line is stored
 * in the entry of its callback. */
struct recording_entry {
    size_t line = 0;
    recording_kind kind = recording_kind::CALL;
    zeb_call_kind call = zeb_call_kind::OBJECT; /* of a CALL */
    bool kept = false;        /* a CALL of an earlier part, repeated in this part because later calls need its answer */
    uint64_t begin_us = 0;    /* since the recording's start; of a kept call: when this part began */
    uint64_t took_us = 0;     /* of a CALL, and of a callback that has returned */
    bool returned = false;    /* of an INDICATION or EVENT: the callback has returned; never set in version 1 */
    size_t returned_line = 0; /* the number of the callback's `returned` line */
    int32_t status = 0;       /* what a call returned; the number of an EVENT */
    uint32_t handle = 0;      /* the recording's number of the client or notifier; 0: none or unknown */
    std::array<uint32_t, 3> numbers = {}; /* as in zeb_call; of an INDICATION, the ID comes first */
    uint32_t instance = 0;                /* CLIENT */
    uint32_t timeout_ms = 0;              /* CLIENT, SEND */
    recording_bytes in;                   /* as in zeb_call; of an INDICATION, its bytes */
    recording_bytes out;                  /* as in zeb_call, with the content after the call */
    uint32_t entries = 0;                 /* LIST */
    uint32_t services = 0;                /* LIST */
    uint64_t count = 0; /* LOST: lines lost at this place; UNRECORDED: clients, notifiers and callbacks that are missing
                           from the recording up to this place */
};

struct recording {
    uint32_t version = 0;
    std::string start; /* when the recording began, as the first line says; may be empty, like the next three texts */
    int64_t start_ms = 0; /* the time in `start`, in milliseconds since 1970; -1: unknown */
    std::string machine;
    std::string program;
    std::string recorder; /* the recorder's version */
    uint32_t part = 0;    /* the number of the part, from 1; 0: the recording is not in parts */

    std::vector<recording_entry> entries; /* in the order of the lines */
    size_t last_line = 0;

    bool cut = false;       /* the file ends in the middle of a line, which is left out */
    std::string end_reason; /* why the recording ended before the program; empty: there is no `end` line */
    uint64_t end_us = 0;
    uint64_t before_lines = 0; /* lines of the recording in the parts before this part */
    uint64_t lost_lines = 0;
    uint64_t unrecorded = 0; /* clients, notifiers and callbacks that are not in the recording */
};

/* The key of a call. Two calls with equal keys count as the same call. The key holds everything that goes into the
 * call. For a request, decoding, callback registration or release it also holds the number of the client or
 * notifier. */
std::string recording_key(zeb_call_kind call, uint32_t handle, const std::array<uint32_t, 3> &numbers,
                          const recording_bytes &in, bool out_null, uint32_t out_length);

/* Reads a recording from text of any content. `file` names the recording in messages. When the recording is not right,
 * returns false, with "file:line: reason" in `error`, and `out` must not be used. When there is not even memory for a
 * message, `error` is empty. Never throws. */
bool recording_parse(std::string_view text, const char *file, recording &out, std::string &error);

/* Reads a recording from a file, as recording_parse does from text. */
bool recording_read(const char *file, recording &out, std::string &error);

#endif
