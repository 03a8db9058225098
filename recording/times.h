/* Times as text: times of the day, times since the recording's start, and durations. All are whole microseconds. A
 * wall-clock time counts from 1970, UTC. */
#ifndef TIMES_H
#define TIMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/* Reads "2026-11-23T02:16:57.123Z"; the fraction may have up to six digits, and the fraction and the Z may be missing.
 * Returns std::nullopt for anything else, and for a date that does not exist. */
std::optional<int64_t> time_parse(std::string_view text);

/* "2026-11-23T02:16:57.123Z": to the millisecond. */
std::string time_iso(int64_t wall_us);

/* "2026-11-23" and "02:16:57.123" */
std::string time_date(int64_t wall_us);
std::string time_of_day(int64_t wall_us);

/* A duration for people, with three digits: "584 us", "12.3 ms", "1.24 s", "3 min 20 s", "2 h 5 min". */
std::string time_length(uint64_t us);

/* Reads a moment from an option: seconds since the start ("+12.5" or "12.5"), a time of the day ("02:17:00", the first
 * one at or after the start), or a date with a time. Returns microseconds since the start; std::nullopt when the text
 * is none of these. */
std::optional<int64_t> time_moment(std::string_view text, int64_t start_us);

#endif
