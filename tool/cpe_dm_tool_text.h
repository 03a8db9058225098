/* Texts that grow piece by piece, and numbers read from texts. Nothing here allocates. */
#ifndef CPE_DM_TOOL_TEXT_H
#define CPE_DM_TOOL_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>

/* A text in a buffer of its owner. The text always ends with a null character, and is cut when the buffer is full. */
struct cpe_dm_tool_text {
    char *data;
    size_t size;
    size_t used;
};

/* Adds text as printf and vprintf format it. */
void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) __attribute__((format(printf, 2, 3)));
void cpe_dm_tool_add_args(cpe_dm_tool_text *text, const char *format, va_list args)
    __attribute__((format(printf, 2, 0)));

/* Adds a string in JSON's form, with quotation marks. */
void cpe_dm_tool_add_json_string(cpe_dm_tool_text *text, const char *string);

/* Adds a point in time, UTC, with milliseconds: "2026-11-23T06:00:00.123Z". */
void cpe_dm_tool_add_time(cpe_dm_tool_text *text, timespec when);

/* Both add a time in seconds: cpe_dm_tool_add_seconds with three decimals, cpe_dm_tool_add_short_seconds with no more
 * decimals than needed. */
void cpe_dm_tool_add_seconds(cpe_dm_tool_text *text, int64_t ms);
void cpe_dm_tool_add_short_seconds(cpe_dm_tool_text *text, int64_t ms);

enum cpe_dm_tool_parsed {
    CPE_DM_TOOL_PARSED,
    CPE_DM_TOOL_NOT_A_NUMBER, /* or beyond 64 bits */
    CPE_DM_TOOL_TOO_FINE,     /* a number with more decimals than a count can express */
};

/* Reads a decimal number, such as "-12.8", as a whole number of counts. counts_per_unit is a power of ten. `bits` is 63
 * as a rule. It is 64 for an identity of 64 bits: there a number without a minus may fill all bits of *number. */
cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, int bits, int64_t *number);

/* The first returns the time of the given clock in ms, the second that of the monotonic clock. */
int64_t cpe_dm_tool_clock_ms(clockid_t clock);
int64_t cpe_dm_tool_now_ms();

#endif
