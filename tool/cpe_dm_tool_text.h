/* Texts that grow piece by piece, and numbers read from texts. Nothing here allocates. */
#ifndef CPE_DM_TOOL_TEXT_H
#define CPE_DM_TOOL_TEXT_H

#include <cstddef>
#include <cstdint>
#include <ctime>

/* A text in a buffer of its owner: always ended by a null character, cut where the buffer ends. */
struct cpe_dm_tool_text {
    char *data;
    size_t size;
    size_t used;
};

void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) __attribute__((format(printf, 2, 3)));

/* As a string of JSON, with its quotation marks. */
void cpe_dm_tool_add_json_string(cpe_dm_tool_text *text, const char *string);

/* A point in time, UTC, with milliseconds: "2026-11-23T06:00:00.123Z". */
void cpe_dm_tool_add_time(cpe_dm_tool_text *text, timespec when);

/* Milliseconds in seconds, with three decimals or with as many as it takes. */
void cpe_dm_tool_add_seconds(cpe_dm_tool_text *text, int64_t ms);
void cpe_dm_tool_add_short_seconds(cpe_dm_tool_text *text, int64_t ms);

/* An exact number: a count, whatever its unit. Wide enough for the identities of 64 bits. */
struct cpe_dm_tool_number {
    bool negative; /* never with magnitude 0 */
    uint64_t magnitude;
};

cpe_dm_tool_number cpe_dm_tool_number_of(int64_t count);

/* Below 0, 0 or above 0, as a is less than, equal to or greater than b. */
int cpe_dm_tool_compare(cpe_dm_tool_number a, cpe_dm_tool_number b);

enum cpe_dm_tool_parsed {
    CPE_DM_TOOL_PARSED,
    CPE_DM_TOOL_NOT_A_NUMBER,
    CPE_DM_TOOL_TOO_FINE, /* a number with more decimals than counted */
};

/* Reads a decimal number, such as "-12.8", whole in counts of which counts_per_unit (a power of ten) make one. */
cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, cpe_dm_tool_number *number);

/* The monotonic clock, ms. */
int64_t cpe_dm_tool_now_ms();

#endif
