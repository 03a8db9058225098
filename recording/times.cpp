#include "times.h"

#include <chrono>
#include <cstdio>

namespace {

constexpr int64_t SECOND_US = 1000000;
constexpr int64_t MINUTE_US = 60 * SECOND_US;
constexpr int64_t HOUR_US = 60 * MINUTE_US;
constexpr int64_t DAY_US = 24 * HOUR_US;

/* Reads `digits` decimal digits, and removes them from the front of the text. Returns false when the text begins
 * with fewer digits. */
bool take_number(std::string_view &text, size_t digits, int64_t &number) {
    if (text.size() < digits) {
        return false;
    }
    number = 0;
    for (const char c : text.substr(0, digits)) {
        if (c < '0' || c > '9') {
            return false;
        }
        number = number * 10 + (c - '0');
    }
    text.remove_prefix(digits);
    return true;
}

bool take(std::string_view &text, char c) {
    if (!text.starts_with(c)) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/* If the text begins with a point, reads the point and up to six digits, and removes them. Without a point, sets `us`
 * to 0. Returns false when no digit follows the point. */
bool take_fraction(std::string_view &text, int64_t &us) {
    us = 0;
    if (!take(text, '.')) {
        return true;
    }
    int64_t unit = SECOND_US;
    int64_t digit = 0;
    while (unit > 1 && take_number(text, 1, digit)) {
        unit /= 10;
        us += digit * unit;
    }
    return unit < SECOND_US;
}

/* Reads a time of day such as "02:16:57.123" or "02:16:57", and removes it from the front of the text. */
bool take_time_of_day(std::string_view &text, int64_t &us) {
    int64_t hour = 0;
    int64_t minute = 0;
    int64_t second = 0;
    int64_t fraction = 0;
    if (!take_number(text, 2, hour) || !take(text, ':') || !take_number(text, 2, minute) || !take(text, ':') ||
        !take_number(text, 2, second) || !take_fraction(text, fraction) || hour > 23 || minute > 59 || second > 60) {
        return false;
    }
    us = hour * HOUR_US + minute * MINUTE_US + second * SECOND_US + fraction;
    return true;
}

std::string format(const char *pattern, double number, const char *unit) {
    char text[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // all callers are below, and pass literals
    snprintf(text, sizeof(text), pattern, number, unit);
#pragma GCC diagnostic pop
    return text;
}

/* Formats a number from 1 to below 1000 with three significant digits. */
std::string three_digits(double number, const char *unit) {
    return format(number < 9.995 ? "%.2f %s" : number < 99.95 ? "%.1f %s" : "%.0f %s", number, unit);
}

} // namespace

std::optional<int64_t> time_parse(std::string_view text) {
    int64_t year = 0;
    int64_t month = 0;
    int64_t day = 0;
    int64_t us = 0;
    if (!take_number(text, 4, year) || !take(text, '-') || !take_number(text, 2, month) || !take(text, '-') ||
        !take_number(text, 2, day) || !take(text, 'T') || !take_time_of_day(text, us)) {
        return std::nullopt;
    }
    take(text, 'Z');
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(year)),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!text.empty() || !date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date).time_since_epoch().count() * DAY_US + us;
}

std::string time_date(int64_t wall_us) {
    const auto days = std::chrono::floor<std::chrono::days>(
        std::chrono::sys_time<std::chrono::microseconds>(std::chrono::microseconds(wall_us)));
    const std::chrono::year_month_day date(days);
    char text[32];
    snprintf(text, sizeof(text), "%04d-%02u-%02u", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
             static_cast<unsigned>(date.day()));
    return text;
}

std::string time_of_day(int64_t wall_us) {
    const int64_t ms = (wall_us % DAY_US + DAY_US) % DAY_US / 1000;
    char text[32];
    snprintf(text, sizeof(text), "%02d:%02d:%02d.%03d", static_cast<int>(ms / 3600000),
             static_cast<int>(ms / 60000 % 60), static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
    return text;
}

std::string time_iso(int64_t wall_us) {
    return time_date(wall_us) + "T" + time_of_day(wall_us) + "Z";
}

std::string time_length(uint64_t us) {
    const auto seconds = static_cast<double>(us) / SECOND_US;
    if (us < 1000) {
        return std::to_string(us) + " us";
    }
    if (seconds < 0.9995) {
        return three_digits(seconds * 1000, "ms");
    }
    if (seconds < 59.95) {
        return three_digits(seconds, "s");
    }
    const uint64_t whole = (us + SECOND_US / 2) / SECOND_US;
    if (whole < 3600) {
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    }
    return std::to_string(whole / 3600) + " h " + std::to_string(whole / 60 % 60) + " min";
}

std::optional<int64_t> time_moment(std::string_view text, int64_t start_us) {
    if (const auto wall_us = time_parse(text)) {
        return *wall_us - start_us;
    }
    std::string_view rest = text;
    int64_t us = 0;
    if (take_time_of_day(rest, us)) {
        take(rest, 'Z');
        const int64_t since = (us - start_us) % DAY_US;
        return rest.empty() ? std::optional(since < 0 ? since + DAY_US : since) : std::nullopt;
    }
    rest = text;
    take(rest, '+');
    int64_t seconds = 0;
    int64_t digit = 0;
    const size_t digits = rest.size();
    while (digits - rest.size() < 9 && take_number(rest, 1, digit)) {
        seconds = seconds * 10 + digit;
    }
    if (rest.size() == digits || !take_fraction(rest, us) || !rest.empty()) {
        return std::nullopt;
    }
    return seconds * SECOND_US + us;
}
