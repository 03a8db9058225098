#include "cpe_dm_tool_text.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>

void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) {
    const size_t room = text->size - text->used;
    va_list args;
    va_start(args, format);
    const int len = vsnprintf(text->data + text->used, room, format, args);
    va_end(args);
    const size_t added = len > 0 ? static_cast<size_t>(len) : 0;
    text->used += added < room ? added : room - 1;
}

void cpe_dm_tool_add_json_string(cpe_dm_tool_text *text, const char *string) {
    cpe_dm_tool_add(text, "\"");
    for (const char *c = string; *c != '\0'; c++) {
        if (static_cast<unsigned char>(*c) < ' ') {
            cpe_dm_tool_add(text, "\\u%04x", static_cast<unsigned>(*c));
        } else {
            cpe_dm_tool_add(text, *c == '"' || *c == '\\' ? "\\%c" : "%c", *c);
        }
    }
    cpe_dm_tool_add(text, "\"");
}

void cpe_dm_tool_add_time(cpe_dm_tool_text *text, timespec when) {
    char seconds[40] = "";
    tm utc = {};
    gmtime_r(&when.tv_sec, &utc);
    strftime(seconds, sizeof(seconds), "%Y-%m-%dT%H:%M:%S", &utc);
    cpe_dm_tool_add(text, "%s.%03dZ", seconds, static_cast<int>(when.tv_nsec / 1000000));
}

void cpe_dm_tool_add_seconds(cpe_dm_tool_text *text, int64_t ms) {
    cpe_dm_tool_add(text, "%" PRId64 ".%03d", ms / 1000, static_cast<int>(ms % 1000));
}

void cpe_dm_tool_add_short_seconds(cpe_dm_tool_text *text, int64_t ms) {
    cpe_dm_tool_add_seconds(text, ms);
    while (text->data[text->used - 1] == '0') {
        text->used--;
    }
    if (text->data[text->used - 1] == '.') {
        text->used--;
    }
    text->data[text->used] = '\0';
}

cpe_dm_tool_number cpe_dm_tool_number_of(int64_t count) {
    const auto bits = static_cast<uint64_t>(count);
    return {count < 0, count < 0 ? 0 - bits : bits};
}

int cpe_dm_tool_compare(cpe_dm_tool_number a, cpe_dm_tool_number b) {
    if (a.negative != b.negative) {
        return a.negative ? -1 : 1;
    }
    if (a.magnitude == b.magnitude) {
        return 0;
    }
    return (a.magnitude < b.magnitude) != a.negative ? -1 : 1;
}

static bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/* Adds one decimal digit; false beyond 64 bits. */
static bool push_digit(uint64_t *magnitude, unsigned digit) {
    if (*magnitude > (UINT64_MAX - digit) / 10) {
        return false;
    }
    *magnitude = *magnitude * 10 + digit;
    return true;
}

cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, cpe_dm_tool_number *number) {
    const bool minus = *text == '-';
    const char *c = text + (*text == '-' || *text == '+' ? 1 : 0);
    uint64_t magnitude = 0;
    if (!is_digit(*c)) {
        return CPE_DM_TOOL_NOT_A_NUMBER;
    }
    for (; is_digit(*c); c++) {
        if (!push_digit(&magnitude, static_cast<unsigned>(*c - '0'))) {
            return CPE_DM_TOOL_NOT_A_NUMBER;
        }
    }
    const bool has_decimals = *c == '.' && is_digit(c[1]);
    bool too_fine = false;
    c += has_decimals ? 1 : 0;
    for (uint32_t rest = counts_per_unit; rest > 1; rest /= 10) {
        const bool there = has_decimals && is_digit(*c);
        if (!push_digit(&magnitude, there ? static_cast<unsigned>(*c - '0') : 0)) {
            return CPE_DM_TOOL_NOT_A_NUMBER;
        }
        c += there ? 1 : 0;
    }
    for (; has_decimals && is_digit(*c); c++) {
        too_fine = too_fine || *c != '0';
    }
    if (*c != '\0') {
        return CPE_DM_TOOL_NOT_A_NUMBER;
    }
    *number = {minus && magnitude != 0, magnitude};
    return too_fine ? CPE_DM_TOOL_TOO_FINE : CPE_DM_TOOL_PARSED;
}

int64_t cpe_dm_tool_now_ms() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}
