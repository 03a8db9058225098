#include "cpe_dm_tool_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>

void cpe_dm_tool_add(cpe_dm_tool_text *text, const char *format, ...) {
    va_list args;
    va_start(args, format);
    cpe_dm_tool_add_args(text, format, args);
    va_end(args);
}

void cpe_dm_tool_add_args(cpe_dm_tool_text *text, const char *format, va_list args) {
    const size_t room = text->size - text->used;
    const int len = vsnprintf(text->data + text->used, room, format, args);
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

static bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

cpe_dm_tool_parsed cpe_dm_tool_parse_number(const char *text, uint32_t counts_per_unit, int bits, int64_t *number) {
    const bool minus = *text == '-';
    const char *c = text + (minus || *text == '+' ? 1 : 0);
    const uint64_t most = minus || bits == 63 ? uint64_t{INT64_MAX} : UINT64_MAX;
    uint64_t magnitude = 0;
    uint32_t behind_point = 0; // 10 to the power n after n decimals have been read; 0: no decimal point yet
    bool too_fine = false;
    if (!is_digit(*c)) {
        return CPE_DM_TOOL_NOT_A_NUMBER;
    }
    for (; is_digit(*c) || (*c == '.' && behind_point == 0 && is_digit(c[1])); c++) {
        if (*c == '.') {
            behind_point = 1;
        } else if (behind_point == counts_per_unit) {
            too_fine = too_fine || *c != '0';
        } else {
            const auto digit = static_cast<unsigned>(*c - '0');
            behind_point *= 10;
            if (magnitude > (most - digit) / 10) {
                return CPE_DM_TOOL_NOT_A_NUMBER;
            }
            magnitude = magnitude * 10 + digit;
        }
    }
    for (uint32_t rest = std::max(behind_point, 1U); rest < counts_per_unit; rest *= 10) {
        if (magnitude > most / 10) {
            return CPE_DM_TOOL_NOT_A_NUMBER;
        }
        magnitude *= 10;
    }
    *number = static_cast<int64_t>(minus ? 0 - magnitude : magnitude);
    return *c != '\0' ? CPE_DM_TOOL_NOT_A_NUMBER : too_fine ? CPE_DM_TOOL_TOO_FINE : CPE_DM_TOOL_PARSED;
}

int64_t cpe_dm_tool_clock_ms(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

int64_t cpe_dm_tool_now_ms() {
    return cpe_dm_tool_clock_ms(CLOCK_MONOTONIC);
}
