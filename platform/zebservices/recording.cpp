#include "recording.h"
#include "zeb_file.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <exception>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

constexpr std::string_view FIRST_WORD = "zeb-recording ";
constexpr int64_t U32_MAX = UINT32_MAX;
constexpr int64_t US_MAX = int64_t{1} << 52; /* the highest time, in microseconds; a double holds it exactly */

/* Where the value of a `key=value` word goes: into a member of recording_entry, or, for REASON, into
 * recording::end_reason. */
enum class slot {
    NUMBER_0, /* NUMBER_0, NUMBER_1 and NUMBER_2: a 32-bit number, signed or unsigned */
    NUMBER_1,
    NUMBER_2,
    ID_0,
    STATUS,
    HANDLE,
    INSTANCE,
    TIMEOUT,
    ENTRIES, /* ENTRIES and SERVICES: a 32-bit count, or "-" for a null pointer */
    SERVICES,
    IN,
    OUT,
    TOOK,
    COUNT,
    REASON, /* the reason of an `end` line: lower-case letters and hyphens */
};

struct field {
    std::string_view key;
    slot place;
};

/* The kind of a line, for all lines but the first line and comments. */
enum class line_kind { CALL, INDICATION, EVENT, RETURNED, LOST, UNRECORDED, BEFORE, END };

struct kind {
    std::string_view name;
    line_kind line;
    zeb_call_kind call;          /* the call, if `line` is CALL */
    uint32_t since;              /* the first version of the format that has such lines */
    std::array<field, 7> fields; /* in their order in the line; a field without a key ends the list */
};

constexpr zeb_call_kind NO_CALL = zeb_call_kind::OBJECT;

// clang-format off: a kind a row
constexpr kind KINDS[] = {
    {"object",
     line_kind::CALL,
     zeb_call_kind::OBJECT,
     1,
     {{{"major", slot::NUMBER_0},
       {"minor", slot::NUMBER_1},
       {"library", slot::NUMBER_2},
       {"found", slot::STATUS},
       {"took", slot::TOOK}}}},
    {"notifier",
     line_kind::CALL,
     zeb_call_kind::NOTIFIER,
     1,
     {{{"status", slot::STATUS}, {"notifier", slot::HANDLE}, {"took", slot::TOOK}}}},
    {"list",
     line_kind::CALL,
     zeb_call_kind::LIST,
     1,
     {{{"status", slot::STATUS},
       {"entries", slot::ENTRIES},
       {"services", slot::SERVICES},
       {"info", slot::OUT},
       {"took", slot::TOOK}}}},
    {"wait", line_kind::CALL, zeb_call_kind::WAIT, 1, {{{"timeout", slot::NUMBER_0}, {"took", slot::TOOK}}}},
    {"watch",
     line_kind::CALL,
     zeb_call_kind::WATCH,
     1,
     {{{"notifier", slot::HANDLE}, {"status", slot::STATUS}, {"took", slot::TOOK}}}},
    {"client",
     line_kind::CALL,
     zeb_call_kind::CLIENT,
     1,
     {{{"status", slot::STATUS},
       {"instance", slot::INSTANCE},
       {"timeout", slot::TIMEOUT},
       {"client", slot::HANDLE},
       {"took", slot::TOOK}}}},
    {"send",
     line_kind::CALL,
     zeb_call_kind::SEND,
     1,
     {{{"client", slot::HANDLE},
       {"id", slot::ID_0},
       {"status", slot::STATUS},
       {"timeout", slot::TIMEOUT},
       {"req", slot::IN},
       {"resp", slot::OUT},
       {"took", slot::TOOK}}}},
    {"decode",
     line_kind::CALL,
     zeb_call_kind::DECODE,
     1,
     {{{"client", slot::HANDLE},
       {"type", slot::NUMBER_1},
       {"id", slot::ID_0},
       {"status", slot::STATUS},
       {"buf", slot::IN},
       {"dst", slot::OUT},
       {"took", slot::TOOK}}}},
    {"release",
     line_kind::CALL,
     zeb_call_kind::RELEASE,
     1,
     {{{"handle", slot::HANDLE}, {"status", slot::STATUS}, {"took", slot::TOOK}}}},
    {"ind", line_kind::INDICATION, NO_CALL, 1, {{{"client", slot::HANDLE}, {"id", slot::ID_0}, {"buf", slot::IN}}}},
    {"event", line_kind::EVENT, NO_CALL, 1, {{{"notifier", slot::HANDLE}, {"event", slot::STATUS}}}},
    {"returned", line_kind::RETURNED, NO_CALL, 2, {{{"handle", slot::HANDLE}, {"took", slot::TOOK}}}},
    {"lost", line_kind::LOST, NO_CALL, 2, {{{"lines", slot::COUNT}}}},
    {"unrecorded", line_kind::UNRECORDED, NO_CALL, 2, {{{"handles", slot::COUNT}}}},
    {"before", line_kind::BEFORE, NO_CALL, 2, {{{"lines", slot::COUNT}}}},
    {"end", line_kind::END, NO_CALL, 1, {{{"reason", slot::REASON}}}},
};
// clang-format on

template <typename T> bool read_number(std::string_view text, int64_t min, int64_t max, T &out, int base = 10) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size() || value < min || value > max) {
        return false;
    }
    out = static_cast<T>(value);
    return true;
}

bool read_id(std::string_view text, uint32_t &out) {
    return text.starts_with("0x") && read_number(text.substr(2), 0, U32_MAX, out, 16);
}

bool read_count(std::string_view text, uint32_t &out) {
    return text == "-" || read_number(text, 0, U32_MAX, out);
}

int digit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool read_bytes(std::string_view text, recording_bytes &out) {
    if (text == "-") {
        return true;
    }
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || !read_number(text.substr(0, colon), 0, RECORDING_BYTES_MAX, out.length)) {
        return false;
    }
    const std::string_view digits = text.substr(colon + 1);
    if (digits.size() % 2 != 0 || digits.size() / 2 > out.length) {
        return false;
    }
    std::string head;
    head.reserve(digits.size() / 2);
    for (size_t i = 0; i < digits.size(); i += 2) {
        const int high = digit(digits[i]);
        const int low = digit(digits[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        head.push_back(static_cast<char>(high * 16 + low));
    }
    out.head = std::move(head);
    out.head.resize(out.head.find_last_not_of('\0') + 1);
    out.null = false;
    return true;
}

bool is_reason(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

bool read_value(std::string_view text, slot place, recording_entry &out, std::string &reason) {
    switch (place) {
    case slot::NUMBER_0:
        return read_number(text, INT32_MIN, U32_MAX, out.numbers[0]);
    case slot::NUMBER_1:
        return read_number(text, INT32_MIN, U32_MAX, out.numbers[1]);
    case slot::NUMBER_2:
        return read_number(text, INT32_MIN, U32_MAX, out.numbers[2]);
    case slot::ID_0:
        return read_id(text, out.numbers[0]);
    case slot::STATUS:
        return read_number(text, INT32_MIN, INT32_MAX, out.status);
    case slot::HANDLE:
        return read_number(text, 0, U32_MAX, out.handle);
    case slot::ENTRIES:
        return read_count(text, out.entries);
    case slot::SERVICES:
        return read_count(text, out.services);
    case slot::IN:
        return read_bytes(text, out.in);
    case slot::OUT:
        return read_bytes(text, out.out);
    case slot::INSTANCE:
        return read_number(text, 0, U32_MAX, out.instance);
    case slot::TIMEOUT:
        return read_number(text, 0, U32_MAX, out.timeout_ms);
    case slot::TOOK:
        return read_number(text, 0, RECORDING_TOOK_MAX_US, out.took_us);
    case slot::COUNT:
        return read_number(text, 0, US_MAX, out.count);
    case slot::REASON:
        reason = text;
        return is_reason(text);
    }
    return false;
}

/* Removes the first word of the text, with the blank after the word, and returns the word. */
std::string_view next_word(std::string_view &text) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

/* Reads one line into `out`; the reason of an `end` line goes into `reason`. Throws std::runtime_error when the line is
 * not valid; the exception's text says why. */
const kind &read_line(std::string_view text, uint32_t version, recording_entry &out, std::string &reason) {
    const bool blank_at_end = text.ends_with(' ');
    if (!read_number(next_word(text), 0, US_MAX, out.begin_us)) {
        throw std::runtime_error("does not begin with a time");
    }
    out.kept = version >= 2 && text.starts_with("kept ");
    if (out.kept) {
        next_word(text);
    }
    const std::string_view name = next_word(text);
    const auto *found = std::find_if(std::begin(KINDS), std::end(KINDS), [=, &out](const kind &k) {
        return k.name == name && k.since <= version && (!out.kept || k.line == line_kind::CALL);
    });
    if (found == std::end(KINDS)) {
        throw std::runtime_error("no such kind of event: " + std::string(name.substr(0, 40)));
    }
    out.call = found->call;
    for (const field &f : found->fields) {
        if (f.key.empty()) {
            break;
        }
        const std::string_view word = next_word(text);
        if (!word.starts_with(f.key) || word.substr(f.key.size(), 1) != "=") {
            throw std::runtime_error(std::string(f.key) + "= is missing");
        }
        if (!read_value(word.substr(f.key.size() + 1), f.place, out, reason)) {
            throw std::runtime_error(std::string(f.key) + "= is not what it can be");
        }
    }
    if (!text.empty() || blank_at_end) {
        throw std::runtime_error("goes on after its last key");
    }
    return *found;
}

/* The callbacks whose `returned` line has not been read yet. The key is the number of the client or notifier, and the
 * time when the callback began. The value is the index of the callback's indication or event in recording::entries. */
using open_callbacks = std::map<std::pair<uint32_t, uint64_t>, size_t>;

/* Stores how long a callback took, as its `returned` line says. Throws when the recording has no indication or event
 * for this callback. When lines of the recording are missing, ignores the `returned` line instead, because the line of
 * the indication or event may be one of the missing lines. */
void read_returned(const recording_entry &line, open_callbacks &open, recording &out) {
    const auto found = open.find({line.handle, line.begin_us});
    if (found != open.end()) {
        recording_entry &callback = out.entries[found->second];
        callback.returned = true;
        callback.took_us = line.took_us;
        callback.returned_line = line.line;
        open.erase(found);
    } else if (out.lost_lines == 0 && out.before_lines == 0) {
        throw std::runtime_error("no such callback had begun");
    }
}

void add_line(line_kind kind, recording_entry &&line, std::string &&reason, open_callbacks &open, recording &out) {
    switch (kind) {
    case line_kind::CALL:
        line.kind = recording_kind::CALL;
        break;
    case line_kind::INDICATION:
    case line_kind::EVENT:
        line.kind = kind == line_kind::EVENT ? recording_kind::EVENT : recording_kind::INDICATION;
        open[{line.handle, line.begin_us}] = out.entries.size();
        break;
    case line_kind::LOST:
        line.kind = recording_kind::LOST;
        out.lost_lines += line.count;
        break;
    case line_kind::UNRECORDED:
        line.kind = recording_kind::UNRECORDED;
        out.unrecorded = std::max(out.unrecorded, line.count);
        break;
    case line_kind::RETURNED:
        read_returned(line, open, out);
        return;
    case line_kind::BEFORE:
        out.before_lines += line.count;
        return;
    case line_kind::END:
        out.end_reason = std::move(reason);
        out.end_us = line.begin_us;
        return;
    }
    out.entries.push_back(std::move(line));
}

/* Reads a time such as "2026-11-23T02:16:57.123Z", with or without the milliseconds. Returns milliseconds since 1970,
 * or -1 when the text is not such a time. */
int64_t read_start(std::string_view text) {
    constexpr std::string_view FORM = "dddd-dd-ddTdd:dd:dd.dddZ";
    const size_t digits[] = {0, 5, 8, 11, 14, 17, 20};
    int64_t values[7] = {};
    const bool whole_seconds = text.size() == FORM.size() - 4 && text.ends_with('Z');
    if (!whole_seconds && text.size() != FORM.size()) {
        return -1;
    }
    for (size_t i = 0; i + 1 < text.size(); i++) {
        if (FORM[i] == 'd' ? text[i] < '0' || text[i] > '9' : text[i] != FORM[i]) {
            return -1;
        }
    }
    for (size_t i = 0; i < (whole_seconds ? 6 : 7); i++) {
        read_number(text.substr(digits[i], i == 0 ? 4 : i == 6 ? 3 : 2), 0, 9999, values[i]);
    }
    const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(values[0])),
                                          std::chrono::month(static_cast<unsigned>(values[1])),
                                          std::chrono::day(static_cast<unsigned>(values[2]))};
    if (!text.ends_with('Z') || !day.ok() || values[3] > 23 || values[4] > 59 || values[5] > 60) {
        return -1;
    }
    const int64_t days = std::chrono::sys_days(day).time_since_epoch().count();
    return (((days * 24 + values[3]) * 60 + values[4]) * 60 + values[5]) * 1000 + values[6];
}

/* Reads the first line of a recording. Ignores words that are not known. Throws std::runtime_error when the line is not
 * valid. */
void read_first_line(std::string_view text, recording &out) {
    const bool right = text.starts_with(FIRST_WORD);
    text.remove_prefix(right ? FIRST_WORD.size() : 0);
    if (!right || !read_number(next_word(text), 1, 2, out.version)) {
        throw std::runtime_error("is not the first line of a recording of version 1 or 2");
    }
    while (!text.empty()) {
        const std::string_view word = next_word(text);
        const size_t equals = std::min(word.find('='), word.size());
        const std::string_view key = word.substr(0, equals);
        const std::string_view value = word.substr(std::min(equals + 1, word.size()));
        if (key == "start") {
            out.start = value;
        } else if (key == "machine") {
            out.machine = value;
        } else if (key == "program") {
            out.program = value;
        } else if (key == "recorder") {
            out.recorder = value;
        } else if (key == "part" && !read_number(value, 1, U32_MAX, out.part)) {
            throw std::runtime_error("part= is not what it can be");
        }
    }
    out.start_ms = read_start(out.start);
}

/* Reads all lines. `line` always holds the number of the line that is being read. Throws std::runtime_error when this
 * line is not valid; the exception's text says why. */
void read_lines(std::string_view text, size_t &line, recording &out) {
    if (text.size() > RECORDING_FILE_MAX) {
        throw std::runtime_error("longer than " + std::to_string(RECORDING_FILE_MAX) + " bytes");
    }
    open_callbacks open;
    out.cut = !text.empty() && !text.ends_with('\n');
    for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        const std::string_view content = text.substr(0, end);
        text.remove_prefix(end + 1);
        line++;
        if (content.size() > RECORDING_LINE_MAX) {
            throw std::runtime_error("longer than " + std::to_string(RECORDING_LINE_MAX) + " bytes");
        }
        if (line == 1) {
            read_first_line(content, out);
        } else if (!content.starts_with('#')) {
            if (!out.end_reason.empty()) {
                throw std::runtime_error("comes after the end");
            }
            recording_entry entry;
            std::string reason;
            entry.line = line;
            const kind &k = read_line(content, out.version, entry, reason);
            add_line(k.line, std::move(entry), std::move(reason), open, out);
        }
    }
    if (line == 0) {
        line = 1;
        throw std::runtime_error("is not a whole line of a recording");
    }
    out.last_line = line;
}

} // namespace

recording_bytes recording_pack(const void *bytes, uint32_t length) {
    recording_bytes packed;
    if (bytes != nullptr) {
        packed.null = false;
        packed.length = length;
        const std::string_view all(static_cast<const char *>(bytes), length);
        packed.head = all.substr(0, all.find_last_not_of('\0') + 1);
    }
    return packed;
}

std::string recording_key(zeb_call_kind call, uint32_t handle, const std::array<uint32_t, 3> &numbers,
                          const recording_bytes &in, bool out_null, uint32_t out_length) {
    const bool of_handle = call == zeb_call_kind::SEND || call == zeb_call_kind::DECODE ||
                           call == zeb_call_kind::WATCH || call == zeb_call_kind::RELEASE;
    std::string key;
    for (const uint32_t number : {static_cast<uint32_t>(call), of_handle ? handle : 0, numbers[0], numbers[1],
                                  numbers[2], in.null ? UINT32_MAX : in.length, out_null ? UINT32_MAX : out_length}) {
        key += std::to_string(number) + " ";
    }
    return key + in.head;
}

bool recording_parse(std::string_view text, const char *file, recording &out, std::string &error) {
    size_t line = 0;
    try {
        out = {};
        // The out-of-memory message is built in advance, because there may be no memory for the message later.
        error = std::string(file) + ":0: out of memory";
        try {
            read_lines(text, line, out);
            error.clear();
            return true;
        } catch (const std::runtime_error &e) {
            error = std::string(file) + ":" + std::to_string(line) + ": " + e.what();
        }
    } catch (const std::exception &) {
        return false;
    }
    return false;
}

bool recording_read(const char *file, recording &out, std::string &error) {
    try {
        std::string text;
        error = std::string(file) + ":0: out of memory";
        if (const int failure = zeb_read_file(file, RECORDING_FILE_MAX, text); failure != 0) {
            error = std::string(file) + ":0: cannot be read: " + std::generic_category().message(failure);
            return false;
        }
        return recording_parse(text, file, out, error);
    } catch (const std::exception &) {
        return false;
    }
}
