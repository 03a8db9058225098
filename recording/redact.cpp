/* How a recording is redacted so that it plays as before.
 *
 * The player finds a recorded call by the call's input. The input of a request holds no identities and is not changed.
 * The input of a decoding is an encoded indication in the box's own layout, which this program cannot read. The program
 * therefore replaces each encoded indication as a whole, by a number with as many bytes. Equal indications get equal
 * numbers, so the player still finds the decoding of an indication that was delivered.
 *
 * The output of a call is read field by field. Each identity is replaced by a random one, and equal identities get
 * equal replacements. All other fields stay. Every byte that belongs to no field becomes 0. */
#include "redact.h"

#include "identities.h"
#include "known_lines.h"
#include "lines.h"
#include "session.h"
#include "times.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

/* The start time of every redacted recording. */
constexpr std::string_view NEW_START = "2000-01-01T00:00:00.000Z";

/* A file that is being redacted, its redacted text in `result`, and counts for the report to the user. */
struct redacted_file {
    session_file recording; /* for a log or console output, only `name` and `text` are set */
    bool is_recording = false;
    std::string result;
    size_t lines = 0;
    size_t left_out = 0; /* lines of a log or of console output that were left out because their form is not known */
    size_t comments = 0;
    size_t bytes_dropped = 0;  /* bytes set to 0 because they belong to no field of a message */
    size_t memory_dropped = 0; /* output buffers of failed calls, emptied because they held no message */
    size_t blanked = 0;        /* messages that were emptied because their layout is not known */
};

struct redaction {
    std::vector<redacted_file> files;
    identities all;
    /* The number that replaces an encoded indication. The key is the indication's length and bytes. */
    std::map<std::pair<uint32_t, std::string>, uint64_t> encodings;
    /* The numbers that replace encoded indications are 1, 2, 3 and so on, counted for each length of indications. For
     * each length, this map holds the last number that was used. */
    std::map<uint32_t, uint64_t> last;
    int64_t shift_us = 0;
    bool dated = false;
    bool blank = false;
};

std::string bytes_text(std::span<const uint8_t> bytes) {
    constexpr const char *DIGITS = "0123456789abcdef";
    std::string text = std::to_string(bytes.size()) + ":";
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    for (const uint8_t byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0xF];
    }
    return text;
}

/* Replaces the value in the first " key=value" of a line of a recording. Does nothing when the line lacks the key. */
void replace_value(std::string &line, std::string_view key, const std::string &value) {
    const size_t at = line.find(" " + std::string(key) + "=");
    if (at != std::string::npos) {
        const size_t begin = at + key.size() + 2;
        line.replace(begin, std::min(line.find(' ', begin), line.size()) - begin, value);
    }
}

/* Copies a field, the flag that says whether the field is present, and the count of a list's valid elements. Copies the
 * field also when the flag is not set. Replaces identities in the copy. */
void copy_field(identities &all, const field &f, const uint8_t *from, uint8_t *to) {
    if (f.valid != FIELD_NO_OFFSET) {
        to[f.valid] = from[f.valid];
    }
    if (f.length != FIELD_NO_OFFSET) {
        memcpy(to + f.length, from + f.length, sizeof(uint32_t));
    }
    for (uint32_t i = 0; i < std::max(f.place.max, 1U); i++) {
        const uint8_t *source = field_at(f, from, i);
        uint8_t *target = to + (source - from);
        if (f.place.type == field_type::GROUP) {
            for (const field &part : f.group) {
                copy_field(all, part, source, target);
            }
        } else {
            memcpy(target, source, f.place.size);
            identity_replace_field(all, f, target);
        }
    }
}

/* Returns a copy of a message. In the copy, identities are replaced, and bytes that belong to no field are 0. If
 * `header` is true, the response header is copied too. `dropped` grows by the number of bytes that were not 0 and
 * became 0. */
std::vector<uint8_t> copy_message(identities &all, const message &m, bool header, const std::vector<uint8_t> &from,
                                  size_t &dropped) {
    std::vector<uint8_t> to(from.size());
    // `none` replaces no identity, because its field `collecting` is true. So `plain` keeps the identities of `from`.
    identities none;
    std::vector<uint8_t> plain(from.size());
    if (header) {
        for (const field &f : message_response_header) {
            copy_field(all, f, from.data(), to.data());
            copy_field(none, f, from.data(), plain.data());
        }
    }
    for (const field &f : m.fields) {
        copy_field(all, f, from.data() + m.body, to.data() + m.body);
        copy_field(none, f, from.data() + m.body, plain.data() + m.body);
    }
    for (size_t i = 0; i < from.size(); i++) {
        dropped += plain[i] != from[i] ? 1U : 0U;
    }
    return to;
}

/* Returns the text of the buffer that replaces an encoded indication, in the form in which a recording writes a buffer:
 * "LENGTH:HEX". The buffer is as long as the indication, and holds the number that replaces it. */
std::string encoding_text(redaction &r, const recording_bytes &bytes) {
    const auto [found, added] = r.encodings.try_emplace({bytes.length, bytes.head}, 0);
    if (added) {
        found->second = ++r.last[bytes.length];
    }
    std::vector<uint8_t> token(bytes.length);
    for (size_t i = 0; i < std::min(token.size(), sizeof(uint64_t)); i++) {
        token[i] = static_cast<uint8_t>(found->second >> (8 * i));
    }
    return bytes_text(token);
}

void refuse_unknown(const redaction &r, redacted_file &file, uint32_t type, uint32_t id) {
    if (!r.blank) {
        throw std::runtime_error(
            line_message_name(type, id) +
            " has bytes of a layout that is not known here, and may hold identities: leave the line "
            "out, or have --blank leave out the bytes");
    }
    file.blanked++;
}

void redact_request(redaction &r, redacted_file &file, const recording_entry &entry, std::string &line) {
    const session_message request = session_request(entry);
    if (entry.in.null) {
        return;
    }
    size_t dropped = 0;
    std::vector<uint8_t> bytes(entry.in.length);
    if (request.what != nullptr) {
        bytes = copy_message(r.all, *request.what, false, request.bytes, dropped);
    }
    if (dropped > 0 || (request.what == nullptr && !entry.in.head.empty())) {
        refuse_unknown(r, file, ZEB_MESSAGE_REQUEST, entry.numbers[0]);
    }
    replace_value(line, "req", bytes_text(bytes));
}

/* Redacts the output of a request or a decoding. The output is the value of `key` in the line. */
void redact_answer(redaction &r, redacted_file &file, const recording_entry &entry, const char *key,
                   std::string &line) {
    if (entry.out.null) {
        return;
    }
    std::vector<uint8_t> bytes(entry.out.length);
    const session_message answer = session_answer(entry);
    if (answer.what != nullptr) {
        bytes = copy_message(r.all, *answer.what, entry.call == zeb_call_kind::SEND, answer.bytes, file.bytes_dropped);
    } else if (entry.status != ZEB_NO_ERR) {
        file.memory_dropped += entry.out.head.empty() ? 0U : 1U;
    } else if (!entry.out.head.empty()) {
        const bool send = entry.call == zeb_call_kind::SEND;
        refuse_unknown(r, file, send ? uint32_t{ZEB_MESSAGE_REQUEST} : entry.numbers[1], entry.numbers[0]);
    }
    replace_value(line, key, bytes_text(bytes));
}

void redact_services(redaction &r, redacted_file &file, const recording_entry &entry, std::string &line) {
    const std::vector<uint8_t> from = session_bytes(entry.out);
    const size_t size = message_service_entry.size;
    std::vector<uint8_t> to;
    for (size_t i = 0; !entry.out.null && i < entry.entries && (i + 1) * size <= from.size(); i++) {
        const std::vector<uint8_t> one(from.begin() + static_cast<ptrdiff_t>(i * size),
                                       from.begin() + static_cast<ptrdiff_t>((i + 1) * size));
        const std::vector<uint8_t> copy = copy_message(r.all, message_service_entry, false, one, file.bytes_dropped);
        to.insert(to.end(), copy.begin(), copy.end());
    }
    to.resize(from.size());
    if (!entry.out.null) {
        replace_value(line, "info", bytes_text(to));
    }
}

std::string redact_entry(redaction &r, redacted_file &file, const recording_entry &entry, std::string line) {
    if (entry.kind == recording_kind::INDICATION) {
        replace_value(line, "buf", encoding_text(r, entry.in));
    } else if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::SEND) {
        redact_request(r, file, entry, line);
        redact_answer(r, file, entry, "resp", line);
    } else if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::DECODE) {
        if (!entry.in.null) {
            replace_value(line, "buf", encoding_text(r, entry.in));
        }
        redact_answer(r, file, entry, "dst", line);
    } else if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::LIST) {
        redact_services(r, file, entry, line);
    }
    return line;
}

std::string first_line(const recording &head) {
    std::string line = "zeb-recording " + std::to_string(head.version);
    const std::string start = head.version == 1 ? std::string(NEW_START.substr(0, 19)) + "Z" : std::string(NEW_START);
    line += head.start.empty() ? "" : " start=" + start;
    line += head.machine.empty() ? "" : " machine=" + head.machine;
    line += head.program.empty() ? "" : " program=" + head.program;
    line += head.recorder.empty() ? "" : " recorder=" + head.recorder;
    line += head.part == 0 ? "" : " part=" + std::to_string(head.part);
    return line;
}

void redact_recording(redaction &r, redacted_file &file) {
    std::string_view rest = file.recording.text;
    auto entry = file.recording.content.entries.begin();
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        file.lines++;
        if (end == std::string_view::npos) {
            // The last line has no line end, so it was cut short. Only the digits at its beginning are copied.
            file.result += line.substr(0, std::min(line.find_first_not_of("0123456789"), line.size()));
            return;
        }
        rest.remove_prefix(end + 1);
        if (file.lines == 1) {
            file.result += first_line(file.recording.content);
        } else if (line.starts_with('#')) {
            file.comments++;
            file.result += "#"; // the comment is emptied and not removed, so that no line number changes
        } else if (entry != file.recording.content.entries.end() && entry->line == file.lines) {
            try {
                file.result += redact_entry(r, file, *entry, std::string(line));
            } catch (const std::runtime_error &e) {
                throw std::runtime_error(file.recording.name + ":" + std::to_string(file.lines) + ": " + e.what());
            }
            ++entry;
        } else {
            file.result += line;
        }
        file.result += '\n';
    }
}

void redact_text(redaction &r, redacted_file &file) {
    std::string_view rest = file.recording.text;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        file.lines++;
        // If the recording has no start time, the first time in a log serves as the start time.
        if (!r.dated) {
            const auto time = known_line_time(line);
            r.dated = time.has_value();
            r.shift_us = time ? *time_parse(NEW_START) - *time : 0;
        }
        if (const auto redacted = known_line_redact(line, r.all, r.shift_us)) {
            file.result += *redacted + (end < rest.size() ? "\n" : "");
        } else {
            file.left_out++;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void redact_all(redaction &r) {
    for (redacted_file &file : r.files) {
        redacted_file fresh;
        fresh.recording = std::move(file.recording);
        fresh.is_recording = file.is_recording;
        file = std::move(fresh);
        (file.is_recording ? redact_recording : redact_text)(r, file);
    }
}

std::string report_of(const redacted_file &file) {
    std::string report = std::to_string(file.lines) + " lines\n";
    const auto counted = [&report](size_t count, const char *what) {
        if (count > 0) {
            report += std::to_string(count) + " " + what + "\n";
        }
    };
    counted(file.comments, "comments emptied");
    counted(file.bytes_dropped, "bytes set to 0 that are no known field of their message");
    counted(file.memory_dropped, "buffers of failed calls emptied, which held the program's memory");
    counted(file.blanked, "messages of unknown layout emptied; a program that uses one of these plays otherwise");
    counted(file.left_out, "lines left out, whose form is not known");
    return report;
}

} // namespace

bool redact_texts(std::vector<redact_file> &files, bool blank, std::string &report, std::string &error) {
    redaction r;
    r.blank = blank;
    for (redact_file &file : files) {
        redacted_file &added = r.files.emplace_back();
        added.is_recording = r.files.size() == 1 || file.text.starts_with("zeb-recording ");
        if (!added.is_recording) {
            added.recording.name = file.name;
            added.recording.text = std::move(file.text);
        } else if (!session_parse(file.name, std::move(file.text), added.recording, error)) {
            return false;
        }
    }
    const int64_t start_ms = r.files.front().recording.content.start_ms;
    r.dated = start_ms >= 0;
    r.shift_us = r.dated ? *time_parse(NEW_START) - start_ms * 1000 : 0;
    try {
        redact_all(r);
        r.all.collecting = false;
        redact_all(r);
    } catch (const std::runtime_error &e) {
        error = e.what();
        return false;
    }
    for (size_t i = 0; i < files.size(); i++) {
        files[i].result = std::move(r.files[i].result);
        files[i].report = report_of(r.files[i]);
    }
    report = "replaced: " + identity_summary(r.all) + (r.dated ? "; dates" : "") + "\n";
    if (!r.encodings.empty()) {
        report += std::to_string(r.encodings.size()) + " different encoded indications, each replaced by a number\n";
    }
    return true;
}
