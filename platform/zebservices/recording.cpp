#include "recording.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <stdexcept>

namespace {

constexpr std::string_view FIRST_LINES[] = {"zeb-recording 1", "zeb-recording 2"};
/* Lines about the recording, and how long callbacks took, which nothing depends on. */
constexpr std::string_view OTHER_LINES[] = {"returned", "lost", "before", "unrecorded"};
constexpr int64_t U32_MAX = UINT32_MAX;
constexpr int64_t US_MAX = int64_t{1} << 52; /* a time that a double holds exactly */

/* Where the value of a key goes. */
enum class slot {
    NUMBER_0, /* any number of 32 bits, signed or not; so are the other two */
    NUMBER_1,
    NUMBER_2,
    ID_0,
    STATUS,
    HANDLE,
    ENTRIES, /* a count, or - for a null pointer; so are services */
    SERVICES,
    IN,
    OUT,
    TOOK,
    PASSED_OVER, /* a number that nothing depends on */
};

struct field {
    std::string_view key;
    slot place;
};

struct kind {
    std::string_view name;
    recording_kind kind;
    zeb_call_kind call;
    std::array<field, 7> fields; /* in this order; the first without a key ends them */
};

constexpr kind KINDS[] = {
    {"object",
     recording_kind::CALL,
     zeb_call_kind::OBJECT,
     {{{"major", slot::NUMBER_0},
       {"minor", slot::NUMBER_1},
       {"library", slot::NUMBER_2},
       {"found", slot::STATUS},
       {"took", slot::TOOK}}}},
    {"notifier",
     recording_kind::CALL,
     zeb_call_kind::NOTIFIER,
     {{{"status", slot::STATUS}, {"notifier", slot::HANDLE}, {"took", slot::TOOK}}}},
    {"list",
     recording_kind::CALL,
     zeb_call_kind::LIST,
     {{{"status", slot::STATUS},
       {"entries", slot::ENTRIES},
       {"services", slot::SERVICES},
       {"info", slot::OUT},
       {"took", slot::TOOK}}}},
    {"wait", recording_kind::CALL, zeb_call_kind::WAIT, {{{"timeout", slot::NUMBER_0}, {"took", slot::TOOK}}}},
    {"watch",
     recording_kind::CALL,
     zeb_call_kind::WATCH,
     {{{"notifier", slot::HANDLE}, {"status", slot::STATUS}, {"took", slot::TOOK}}}},
    {"client",
     recording_kind::CALL,
     zeb_call_kind::CLIENT,
     {{{"status", slot::STATUS},
       {"instance", slot::PASSED_OVER},
       {"timeout", slot::PASSED_OVER},
       {"client", slot::HANDLE},
       {"took", slot::TOOK}}}},
    {"send",
     recording_kind::CALL,
     zeb_call_kind::SEND,
     {{{"client", slot::HANDLE},
       {"id", slot::ID_0},
       {"status", slot::STATUS},
       {"timeout", slot::PASSED_OVER},
       {"req", slot::IN},
       {"resp", slot::OUT},
       {"took", slot::TOOK}}}},
    {"decode",
     recording_kind::CALL,
     zeb_call_kind::DECODE,
     {{{"client", slot::HANDLE},
       {"type", slot::NUMBER_1},
       {"id", slot::ID_0},
       {"status", slot::STATUS},
       {"buf", slot::IN},
       {"dst", slot::OUT},
       {"took", slot::TOOK}}}},
    {"release",
     recording_kind::CALL,
     zeb_call_kind::RELEASE,
     {{{"handle", slot::HANDLE}, {"status", slot::STATUS}, {"took", slot::TOOK}}}},
    {"ind",
     recording_kind::INDICATION,
     zeb_call_kind::OBJECT,
     {{{"client", slot::HANDLE}, {"id", slot::ID_0}, {"buf", slot::IN}}}},
    {"event", recording_kind::EVENT, zeb_call_kind::OBJECT, {{{"notifier", slot::HANDLE}, {"event", slot::STATUS}}}},
};

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

bool read_value(std::string_view text, slot place, recording_entry &out) {
    uint32_t passed_over;
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
    case slot::TOOK:
        return read_number(text, 0, US_MAX, out.took_us);
    case slot::PASSED_OVER:
        return read_number(text, 0, U32_MAX, passed_over);
    }
    return false;
}

/* The text up to the next blank, which goes with it. */
std::string_view next_word(std::string_view &text) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

bool is_first_line(std::string_view text) {
    const std::string_view version = text.substr(0, FIRST_LINES[0].size());
    return std::ranges::find(FIRST_LINES, version) != std::end(FIRST_LINES) &&
           (text.size() == version.size() || text[version.size()] == ' ');
}

enum class read_result { ENTRY, OTHER, END };

/* Throws what is wrong with the line. */
read_result read_line(std::string_view text, recording_entry &out) {
    const bool blank_at_end = text.ends_with(' ');
    if (!read_number(next_word(text), 0, US_MAX, out.begin_us)) {
        throw std::runtime_error("does not begin with a time");
    }
    std::string_view name = next_word(text);
    if (name == "end") {
        return read_result::END;
    }
    if (std::ranges::find(OTHER_LINES, name) != std::end(OTHER_LINES)) {
        return read_result::OTHER;
    }
    if (name == "kept") { // what a part of a recording repeats of those before it
        name = next_word(text);
    }
    const auto *found = std::find_if(std::begin(KINDS), std::end(KINDS), [=](const kind &k) { return k.name == name; });
    if (found == std::end(KINDS)) {
        throw std::runtime_error("no such kind of event: " + std::string(name.substr(0, 40)));
    }
    out.kind = found->kind;
    out.call = found->call;
    for (const field &f : found->fields) {
        if (f.key.empty()) {
            break;
        }
        const std::string_view word = next_word(text);
        if (!word.starts_with(f.key) || word.substr(f.key.size(), 1) != "=") {
            throw std::runtime_error(std::string(f.key) + "= is missing");
        }
        if (!read_value(word.substr(f.key.size() + 1), f.place, out)) {
            throw std::runtime_error(std::string(f.key) + "= is not what it can be");
        }
    }
    if (!text.empty() || blank_at_end) {
        throw std::runtime_error("goes on after its last key");
    }
    return read_result::ENTRY;
}

/* Reads line after line into out, with the number of the current one in line. Throws what is wrong with it. */
void read_lines(std::string_view text, size_t &line, std::vector<recording_entry> &out) {
    bool ended = false;
    if (text.size() > RECORDING_FILE_MAX) {
        throw std::runtime_error("longer than " + std::to_string(RECORDING_FILE_MAX) + " bytes");
    }
    for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        const std::string_view content = text.substr(0, end);
        text.remove_prefix(end + 1);
        line++;
        if (content.size() > RECORDING_LINE_MAX) {
            throw std::runtime_error("longer than " + std::to_string(RECORDING_LINE_MAX) + " bytes");
        }
        if (line == 1) {
            if (!is_first_line(content)) {
                throw std::runtime_error("is not the first line of a recording of version 1 or 2");
            }
        } else if (!content.starts_with('#')) {
            if (ended) {
                throw std::runtime_error("comes after the end");
            }
            recording_entry entry;
            entry.line = line;
            const read_result result = read_line(content, entry);
            ended = result == read_result::END;
            if (result == read_result::ENTRY) {
                out.push_back(std::move(entry));
            }
        }
    }
    if (line == 0) {
        line = 1;
        throw std::runtime_error("is not a whole line of a recording");
    }
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

std::string recording_key(zeb_call_kind call, const std::array<uint32_t, 3> &numbers, const recording_bytes &in,
                          bool out_null, uint32_t out_length) {
    std::string key;
    for (const uint32_t number : {static_cast<uint32_t>(call), numbers[0], numbers[1], numbers[2],
                                  in.null ? UINT32_MAX : in.length, out_null ? UINT32_MAX : out_length}) {
        key += std::to_string(number) + " ";
    }
    return key + in.head;
}

bool recording_parse(std::string_view text, const char *file, std::vector<recording_entry> &out, std::string &error) {
    size_t line = 0;
    try {
        out.clear();
        // Written while there is memory for it, in case that later there is none.
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
