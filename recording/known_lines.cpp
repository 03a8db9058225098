#include "known_lines.h"

#include "cpe_dm.h"
#include "times.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::string_view PROMPT = "Option > ";
constexpr std::string_view ECHO = "CPE DEMO APP : ";
constexpr std::string_view DIGITS = "0123456789";
constexpr std::string_view HEX_DIGITS = "0123456789abcdef";
constexpr std::string_view LOWER_CASE = "abcdefghijklmnopqrstuvwxyz";

/* The part of a line that was printed by one conversion of the line's printf format. */
struct filled {
    size_t begin = 0;
    size_t length = 0;
    char conversion = 0; /* the letter of the conversion: d, u, x, p or s */
};

constexpr size_t FILLED_MAX = 8;

struct match {
    std::array<filled, FILLED_MAX> places;
    size_t count = 0;
};

size_t run_of(std::string_view text, std::string_view characters) {
    return std::min(text.find_first_not_of(characters), text.size());
}

bool is_name(std::string_view text) {
    for (uint32_t id = 0; id < CPE_DM_METRIC_CNT; id++) {
        if (text == cpe_dm_metric_name(id) || text == cpe_dm_ind_name(id) || text == cpe_dm_async_rsp_name(id)) {
            return true;
        }
    }
    // A text of lower-case letters and underscores is accepted too, because it may be the name of an operation.
    return !text.empty() && text.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") == std::string_view::npos;
}

/* `text` is the rest of a line that printf printed, from the place of a conversion such as %d. Returns how many
 * characters this conversion has printed, or 0 when it cannot have printed the text. `next` is the text that follows
 * the conversion in the format. */
size_t filled_length(char conversion, std::string_view text, std::string_view next) {
    switch (conversion) {
    case 'd':
    case 'u': {
        const size_t sign = conversion == 'd' && text.starts_with('-') ? 1 : 0;
        const size_t digits = run_of(text.substr(sign), DIGITS);
        return digits == 0 ? 0 : sign + digits;
    }
    case 'x':
        return run_of(text, HEX_DIGITS);
    case 'p':
        return text.starts_with("(nil)") ? 5 : text.starts_with("0x") ? 2 + run_of(text.substr(2), HEX_DIGITS) : 0;
    default: {
        const size_t end = next.empty() ? text.size() : std::min(text.find(next), text.size());
        return is_name(text.substr(0, end)) ? end : 0;
    }
    }
}

/* Removes a conversion, such as "%hu", from the beginning of the format. Returns the letter of the conversion;
 * for %i the letter is d. */
char take_conversion(std::string_view &form) {
    form.remove_prefix(std::min(form.find_first_of("diuxps"), form.size()));
    const char letter = form.empty() ? '\0' : form.front();
    form.remove_prefix(form.empty() ? 0 : 1);
    return letter == 'i' ? 'd' : letter;
}

bool matches(std::string_view form, std::string_view line, match &out) {
    size_t at = 0;
    out.count = 0;
    while (!form.empty()) {
        const std::string_view text = form.substr(0, form.find('%'));
        if (line.substr(at, text.size()) != text) {
            return false;
        }
        at += text.size();
        form.remove_prefix(text.size());
        if (!form.empty()) {
            const char conversion = take_conversion(form);
            const size_t length = filled_length(conversion, line.substr(at), form.substr(0, form.find('%')));
            if (length == 0 || out.count == FILLED_MAX) {
                return false;
            }
            out.places[out.count++] = {at, length, conversion};
            at += length;
        }
    }
    return at == line.size();
}

/* Reads a number from a line. A negative number becomes the unsigned number with the same 64 bits. Returns false when
 * the number does not fit into 64 bits. */
bool read_number(std::string_view line, const filled &place, uint64_t &value) {
    const char *begin = line.data() + place.begin;
    const char *end = begin + place.length;
    if (*begin == '-') {
        int64_t negative = 0;
        const auto [stop, error] = std::from_chars(begin, end, negative);
        value = static_cast<uint64_t>(negative);
        return error == std::errc() && stop == end;
    }
    const auto [stop, error] = std::from_chars(begin, end, value, place.conversion == 'x' ? 16 : 10);
    return error == std::errc() && stop == end;
}

std::string write_number(uint64_t value, char conversion) {
    char text[32];
    const int base = conversion == 'x' ? 16 : 10;
    const auto [end, error] = conversion == 'd' ? std::to_chars(text, text + sizeof(text), static_cast<int64_t>(value))
                                                : std::to_chars(text, text + sizeof(text), value, base);
    return {text, end};
}

uint64_t replacement(identities &all, char kind, uint64_t value) {
    switch (kind) {
    case 'c':
        return identity_replace(all, field_identity::CHANNEL, value);
    case 'l':
        return identity_replace_channel_16(all, value);
    case 'p':
        return identity_replace(all, field_identity::PCI, value);
    case 'g':
        return identity_replace(all, field_identity::CGI, value);
    case 't':
        return identity_replace(all, field_identity::TAC, value);
    case 'm':
        return identity_replace_mcc(all, value);
    case 'n':
        return identity_replace_mnc(all, value);
    default:
        return value;
    }
}

/* Replaces those numbers of a line that are identities. Returns false when a number that stands for a
 * byte of a PLMN or TAC is above 255. */
bool replace_numbers(std::array<uint64_t, FILLED_MAX> &values, size_t count, std::string_view kinds, identities &all) {
    for (size_t i = 0; i < count; i++) {
        const char kind = i < kinds.size() ? kinds[i] : '.';
        if (kind == 'P' || kind == 'T') {
            uint8_t bytes[3];
            for (size_t k = 0; k < 3; k++) {
                if (values[i + k] > UINT8_MAX) {
                    return false;
                }
                bytes[k] = static_cast<uint8_t>(values[i + k]);
            }
            (kind == 'P' ? identity_replace_plmn_bytes : identity_replace_tac_bytes)(all, bytes);
            std::copy_n(bytes, 3, values.begin() + static_cast<ptrdiff_t>(i));
            i += 2;
        } else {
            values[i] = replacement(all, kind, values[i]);
        }
    }
    return true;
}

std::optional<std::string> redact_text(std::string_view text, identities &all) {
    match found;
    for (const known_line &known : known_lines) {
        if (!matches(known.form, text, found)) {
            continue;
        }
        const std::string_view kinds = known.kinds;
        std::array<uint64_t, FILLED_MAX> values = {};
        for (size_t i = 0; i < std::min(kinds.size(), found.count); i++) {
            if (kinds[i] != '.' && !read_number(text, found.places[i], values[i])) {
                return std::nullopt;
            }
        }
        if (!replace_numbers(values, kinds.size(), kinds, all)) {
            return std::nullopt;
        }
        std::string redacted(text);
        for (size_t i = kinds.size(); i-- > 0;) {
            const filled &place = found.places[i];
            if (kinds[i] != '.') {
                redacted.replace(place.begin, place.length, write_number(values[i], place.conversion));
            }
        }
        return redacted;
    }
    return std::nullopt;
}

/* Whether the text can be a line of the client's input: an empty text, or numbers of at most DIGITS_MAX digits. The
 * first number must be the number of an option in the client's menu. */
bool is_option_line(std::string_view text) {
    constexpr size_t DIGITS_MAX = 5; // enough for a threshold, the longest number
    constexpr unsigned OPTIONS = 10;
    bool first = true;
    while (!text.empty()) {
        const size_t digits = run_of(text, DIGITS);
        unsigned number = 0;
        std::from_chars(text.data(), text.data() + std::min(digits, DIGITS_MAX), number);
        if (digits == 0 || digits > DIGITS_MAX || (first && (number == 0 || number > OPTIONS))) {
            return false;
        }
        text.remove_prefix(digits);
        text.remove_prefix(run_of(text, " "));
        first = false;
    }
    return true;
}

/* Returns the length of the head with which a log line begins, and stores the time of the head in `wall_us`. A head is
 * for example "2026-11-23T02:16:57.123Z info 4711 file.cpp:12 ". Returns 0 when the line does not begin with a head. */
size_t head_length(std::string_view line, int64_t &wall_us) {
    const size_t blank = line.find(' ');
    const auto time = time_parse(line.substr(0, blank));
    if (!time) {
        return 0;
    }
    wall_us = *time;
    std::string_view rest = line.substr(std::min(blank + 1, line.size()));
    const auto word = [&rest](std::string_view characters, char end) {
        const size_t length = run_of(rest, characters);
        const bool there = length > 0 && length < rest.size() && rest[length] == end;
        rest.remove_prefix(there ? length + 1 : rest.size());
        return there;
    };
    if (!word(LOWER_CASE, ' ') || !word(DIGITS, ' ') ||
        !word("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_.+-", ':') || !word(DIGITS, ' ')) {
        return 0;
    }
    return line.size() - rest.size();
}

} // namespace

std::optional<int64_t> known_line_time(std::string_view line) {
    int64_t wall_us = 0;
    return head_length(line, wall_us) > 0 ? std::optional(wall_us) : std::nullopt;
}

std::optional<std::string> known_line_redact(std::string_view line, identities &all, int64_t shift_us) {
    int64_t wall_us = 0;
    std::string redacted;
    const size_t content = line.find_last_not_of(" \r") + 1;
    const std::string_view end = line.substr(content);
    line = line.substr(0, content);
    if (const size_t head = head_length(line, wall_us); head > 0) {
        redacted = time_iso(wall_us + shift_us) + std::string(line.substr(line.find(' '), head - line.find(' ')));
        line.remove_prefix(head);
    } else {
        while (line.starts_with(PROMPT)) {
            redacted += PROMPT;
            line.remove_prefix(PROMPT.size());
        }
        if (line == PROMPT.substr(0, PROMPT.size() - 1)) {
            return redacted + std::string(line) + std::string(end);
        }
        if (line.starts_with(ECHO) && is_option_line(line.substr(ECHO.size()))) {
            return redacted + std::string(line) + std::string(end);
        }
        if (is_option_line(line)) {
            return redacted + std::string(line) + std::string(end);
        }
    }
    const auto text = redact_text(line, all);
    return text ? std::optional(redacted + *text + std::string(end)) : std::nullopt;
}
