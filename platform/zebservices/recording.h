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

/* A buffer as it was given: the bytes of head, and zeros up to its length. */
struct recording_bytes {
    bool null = true;
    uint32_t length = 0;
    std::string head; /* does not end in a zero */
};

recording_bytes recording_pack(const void *bytes, uint32_t length);

/* LOST: lines that belong here could not be kept. UNRECORDED: from here on, a client, notifier or callback is not in
 * the recording. */
enum class recording_kind { CALL, INDICATION, EVENT, LOST, UNRECORDED };

/* A line of the recording. The first line, `before` and `end` have no entry; `returned` is a part of its callback's
 * entry. */
struct recording_entry {
    size_t line = 0;
    recording_kind kind = recording_kind::CALL;
    zeb_call_kind call = zeb_call_kind::OBJECT; /* of a CALL */
    bool kept = false;                          /* a CALL of an earlier part, repeated here for its answer */
    uint64_t begin_us = 0;                      /* since the recording's start; of a kept call, when the part began */
    uint64_t took_us = 0;                       /* of a CALL, and of a callback that has returned */
    bool returned = false;    /* of an INDICATION or EVENT: the callback has returned, which version 1 never tells */
    size_t returned_line = 0; /* the callback's `returned` line */
    int32_t status = 0;       /* what a call returned; the number of an EVENT */
    uint32_t handle = 0;      /* the recording's number of the client or notifier; 0: none or unknown */
    std::array<uint32_t, 3> numbers = {}; /* as in zeb_call; the ID of an INDICATION comes first */
    uint32_t instance = 0;                /* CLIENT */
    uint32_t timeout_ms = 0;              /* CLIENT, SEND */
    recording_bytes in;                   /* as in zeb_call; the bytes of an INDICATION */
    recording_bytes out;                  /* as in zeb_call, after the call */
    uint32_t entries = 0;                 /* LIST */
    uint32_t services = 0;                /* LIST */
    uint64_t count = 0;                   /* LOST: lines; UNRECORDED: clients, notifiers and callbacks so far */
};

struct recording {
    uint32_t version = 0;
    std::string start;    /* when it began, as the first line says; this text and the next three may be empty */
    int64_t start_ms = 0; /* the same in milliseconds since 1970; -1: unknown */
    std::string machine;
    std::string program;
    std::string recorder; /* the recorder's version */
    uint32_t part = 0;    /* from 1; 0: a recording that is not in parts */

    std::vector<recording_entry> entries; /* in the order of the lines */
    size_t last_line = 0;

    bool cut = false;       /* the file ends in the middle of a line, which is left out */
    std::string end_reason; /* why the recording ended before the program did; empty: no such line */
    uint64_t end_us = 0;
    uint64_t before_lines = 0; /* lines of the recording that are before this part */
    uint64_t lost_lines = 0;
    uint64_t unrecorded = 0; /* clients, notifiers and callbacks that are not in the recording */
};

/* The key of a call: calls with equal keys count as the same. It holds everything that goes into the call; for a
 * request, decoding, callback registration or release also the number of the client or notifier. */
std::string recording_key(zeb_call_kind call, uint32_t handle, const std::array<uint32_t, 3> &numbers,
                          const recording_bytes &in, bool out_null, uint32_t out_length);

/* Reads a recording from text of any content; `file` names it in messages. On a recording that is not right, returns
 * false with "file:line: reason" in error (no text when there is not even the memory for one), and out is not to be
 * used. Never throws. */
bool recording_parse(std::string_view text, const char *file, recording &out, std::string &error);

/* The same for the content of a file. */
bool recording_read(const char *file, recording &out, std::string &error);

#endif
