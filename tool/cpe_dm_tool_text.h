/* Functions that append to a text, read a number from a text, and read a clock. None of them allocates memory. */
#ifndef CPE_DM_TOOL_TEXT_H
#define CPE_DM_TOOL_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ctime>

/* A text in a buffer that the caller provides. `size` is the size of the buffer; `used` is the length of the text,
 * without the null character that every addition writes at the end. What does not fit is cut off. */
struct cpe_dm_tool_text {
    char *data;
    size_t size;
    size_t used;
};

/* Add text, formatted as by printf and vprintf. */
void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) __attribute__((format(printf, 2, 3)));
void cpe_dm_tool_add_args(cpe_dm_tool_text *text, const char *format, va_list args)
    __attribute__((format(printf, 2, 0)));

/* Adds a string as JSON, in quotation marks and with escapes. */
void cpe_dm_tool_add_json_string(cpe_dm_tool_text *text, const char *string);

/* Adds a point in time, UTC, with milliseconds: "2026-11-23T06:00:00.123Z". */
void cpe_dm_tool_add_time(cpe_dm_tool_text *text, timespec when);

/* Both functions take a time in milliseconds and add it as a number of seconds. cpe_dm_tool_add_seconds writes three
 * decimals ("1.500"). cpe_dm_tool_add_short_seconds writes as few decimals as possible ("1.5"). */
void cpe_dm_tool_add_seconds(cpe_dm_tool_text *text, int64_t ms);
void cpe_dm_tool_add_short_seconds(cpe_dm_tool_text *text, int64_t ms);

enum cpe_dm_tool_parsed {
    CPE_DM_TOOL_PARSED,
    CPE_DM_TOOL_NOT_A_NUMBER, /* the text is not a decimal number, or the number is too large */
    CPE_DM_TOOL_TOO_FINE,     /* the number has too many decimals to be a whole number of counts */
};

/* Reads a decimal number of units, such as "-12.8", and sets *number to the number of counts. `counts_per_unit` is
 * a power of ten. `bits` is 63 or 64. If `bits` is 63, *number is at most INT64_MAX. If `bits` is 64, a number without
 * a minus sign may be as large as UINT64_MAX, and *number holds the 64 bits of the unsigned number. */
cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, int bits, int64_t *number);

/* The time of the given clock, in ms. */
int64_t cpe_dm_tool_clock_ms(clockid_t clock);

/* The time of the monotonic clock, in ms. */
int64_t cpe_dm_tool_now_ms();

#endif
