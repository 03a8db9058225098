/* Texts that grow piece by piece, and numbers read from texts. Nothing here allocates. */
#ifndef CPE_DM_TOOL_TEXT_H
#define CPE_DM_TOOL_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>

/* A text in a buffer of its owner: always ended by a null character, cut where the buffer ends. */
struct cpe_dm_tool_text {
    char *data;
    size_t size;
    size_t used;
};

/* Adds what printf, or vprintf, prints. */
void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) __attribute__((format(printf, 2, 3)));
void cpe_dm_tool_add_args(cpe_dm_tool_text *text, const char *format, va_list args)
    __attribute__((format(printf, 2, 0)));

/* As a string of JSON, with its quotation marks. */
void cpe_dm_tool_add_json_string(cpe_dm_tool_text *text, const char *string);

/* A point in time, UTC, with milliseconds: "2026-11-23T06:00:00.123Z". */
void cpe_dm_tool_add_time(cpe_dm_tool_text *text, timespec when);

/* Milliseconds in seconds, with three decimals or with as many as it takes. */
void cpe_dm_tool_add_seconds(cpe_dm_tool_text *text, int64_t ms);
void cpe_dm_tool_add_short_seconds(cpe_dm_tool_text *text, int64_t ms);

enum cpe_dm_tool_parsed {
    CPE_DM_TOOL_PARSED,
    CPE_DM_TOOL_NOT_A_NUMBER, /* or beyond 64 bits */
    CPE_DM_TOOL_TOO_FINE,     /* a number with more decimals than counted */
};

/* Reads a decimal number, such as "-12.8", whole in counts of which counts_per_unit (a power of ten) make one. bits:
 * 63, or 64 for an identity that has as many: such a number without a sign is read as its bits. */
cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, int bits, int64_t *number);

/* The time of a clock, and of the monotonic clock, ms. */
int64_t cpe_dm_tool_clock_ms(clockid_t clock);
int64_t cpe_dm_tool_now_ms();

#endif
