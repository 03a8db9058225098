/* Converts times from text to numbers and back: dates, times of day, times since the recording's start, and durations.
 * All numbers are in microseconds. A wall-clock time (`wall_us`) counts from the beginning of 1970, UTC. */
#ifndef TIMES_H
#define TIMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/* Reads a wall-clock time such as "2026-11-23T02:16:57.123Z". The fraction has one to six digits; the fraction and the
 * Z may be missing. Returns std::nullopt for any other text, and for a date that does not exist. */
std::optional<int64_t> time_parse(std::string_view text);

/* Writes a wall-clock time, cut to milliseconds: "2026-11-23T02:16:57.123Z". */
std::string time_iso(int64_t wall_us);

/* Write the date of a wall-clock time ("2026-11-23") and its time of day ("02:16:57.123"), both in UTC. */
std::string time_date(int64_t wall_us);
std::string time_of_day(int64_t wall_us);

/* Writes a duration for people, rounded as in "584 us", "12.3 ms", "1.24 s", "3 min 20 s", "2 h 5 min". */
std::string time_length(uint64_t us);

/* Reads a moment from the text of an option, and returns it as microseconds since the recording's start. The text is a
 * number of seconds since the start ("+12.5" or "12.5"), a date with a time, or a time of day ("02:17:00"). A time of
 * day means its first occurrence at or after the start. Returns std::nullopt for any other text. */
std::optional<int64_t> time_moment(std::string_view text, int64_t start_us);

#endif
