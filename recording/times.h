/* Times as they are written: of the day, since the recording's start, and how long something took. All are whole
 * microseconds; a wall-clock time counts from 1970, UTC. */
#ifndef TIMES_H
#define TIMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/* "2026-11-23T02:16:57.123Z", with or without a fraction of up to six digits and the Z; std::nullopt for anything else,
 * such as a date that does not exist. */
std::optional<int64_t> time_parse(std::string_view text);

/* "2026-11-23T02:16:57.123Z": to the millisecond. */
std::string time_iso(int64_t wall_us);

/* "2026-11-23" and "02:16:57.123" */
std::string time_date(int64_t wall_us);
std::string time_of_day(int64_t wall_us);

/* A length of time for people, three digits of it: "584 us", "12.3 ms", "1.24 s", "3 min 20 s", "2 h 5 min". */
std::string time_length(uint64_t us);

/* A moment as an option names it: seconds since the start ("+12.5" or "12.5"), a time of the day ("02:17:00", the first
 * one at or after the start) or a whole date and time. The result is in microseconds since the start; std::nullopt when
 * the text is none of these. */
std::optional<int64_t> time_moment(std::string_view text, int64_t start_us);

#endif
