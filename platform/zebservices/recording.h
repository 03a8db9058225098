/* A recording of what passed between a program and the platform, as docs/recording.md describes the file. */
#ifndef RECORDING_H
#define RECORDING_H

#include "zeb_call.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

inline constexpr size_t RECORDING_FILE_MAX = size_t{64} << 20;
inline constexpr size_t RECORDING_LINE_MAX = size_t{1} << 20;
inline constexpr uint32_t RECORDING_BYTES_MAX = uint32_t{1} << 20; /* of one buffer */

/* A buffer as it was given: its bytes are those of head, and zeros up to its length. */
struct recording_bytes {
    bool null = true;
    uint32_t length = 0;
    std::string head; /* does not end in a zero */
};

recording_bytes recording_pack(const void *bytes, uint32_t length);

enum class recording_kind { CALL, INDICATION, EVENT };

/* One line. */
struct recording_entry {
    size_t line = 0;
    recording_kind kind = recording_kind::CALL;
    zeb_call_kind call = zeb_call_kind::OBJECT; /* of a CALL */
    uint64_t begin_us = 0;                      /* since the recording's start */
    uint64_t took_us = 0;
    int32_t status = 0;                   /* what a call returned; the number of an EVENT */
    uint32_t handle = 0;                  /* the recording's number of the client or notifier; 0: none or unknown */
    std::array<uint32_t, 3> numbers = {}; /* as in zeb_call; the ID of an INDICATION comes first */
    recording_bytes in;
    recording_bytes out;
    uint32_t entries = 0;
    uint32_t services = 0;
};

/* What makes a call the same as a recorded one: everything that goes into it. */
std::string recording_key(zeb_call_kind call, const std::array<uint32_t, 3> &numbers, const recording_bytes &in,
                          bool out_null, uint32_t out_length);

/* Reads a recording from text of any content; file is the name for messages. The last line of a text that does not end
 * with a newline is left out. On a recording that is not right, returns false with "file:line: reason" in error
 * (nothing when there is not even the memory for that), and out is not to be used. Never throws. */
bool recording_parse(std::string_view text, const char *file, std::vector<recording_entry> &out, std::string &error);

#endif
