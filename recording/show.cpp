#include "show.h"

#include "cpe_dm_text.h"
#include "json.h"
#include "lines.h"
#include "overview.h"
#include "times.h"

#include <algorithm>

namespace {

constexpr std::string_view KINDS[] = {"object", "notifier", "list",    "wait", "watch",      "client", "send", "ind",
                                      "decode", "event",    "release", "lost", "unrecorded", "failed", "slow"};

bool is_shown(const session_line &line, const line_words &words, const show_options &options) {
    const auto begin_us = static_cast<int64_t>(line.entry->begin_us);
    if ((options.from_us && begin_us < *options.from_us) || (options.to_us && begin_us > *options.to_us)) {
        return false;
    }
    return options.only.empty() || std::any_of(options.only.begin(), options.only.end(), [&](std::string_view kind) {
               return kind == words.kind || (kind == "failed" && words.failed) || (kind == "slow" && words.slow) ||
                      (kind == "decode" && line.decoding != nullptr);
           });
}

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

void put_rows(std::string &text, const std::vector<overview_row> &rows) {
    constexpr size_t LABEL = 14;
    for (const overview_row &row : rows) {
        for (size_t i = 0; i < row.texts.size(); i++) {
            text += padded(i == 0 ? row.label : "", i == 0 || row.label == "note" ? LABEL : LABEL + 2) + row.texts[i] +
                    "\n";
        }
    }
}

std::string timeline_time(const session &s, uint64_t us) {
    return time_of_day(s.start_us + static_cast<int64_t>(us));
}

/* Writes a line of the timeline: time, mark, line number in the file, and text. The mark is "!" for a failure, "~" for
 * a slow call or callback, and "^" for a call that is repeated from an earlier part of the recording. */
void put_line(std::string &text, const session &s, const session_line &line, const line_words &words) {
    const recording_entry &entry = *line.entry;
    constexpr size_t NUMBER = 6;
    constexpr size_t KIND = 11;
    const std::string number = std::to_string(entry.line);
    text += timeline_time(s, entry.begin_us) + (words.failed ? " ! " : words.slow ? " ~ " : entry.kept ? " ^ " : "   ");
    text += std::string(number.size() < NUMBER ? NUMBER - number.size() : 0, ' ') + number + "  ";
    text += padded(words.kind, KIND) + words.what;
    text += words.result.empty() ? "" : " -> " + words.result;
    text += words.timing.empty() ? "" : ", " + words.timing;
    text += "\n";
}

std::string as_text(const session &s, const facts &f, const show_options &options) {
    std::string text;
    put_rows(text, overview_rows(s, f));
    text += "\n";
    std::string date;
    size_t gap = 0;
    for (size_t i = 0; i < s.lines.size(); i++) {
        const session_line &line = s.lines[i];
        const line_words words = line_describe(line);
        const bool after_gap = gap < f.gaps.size() && f.gaps[gap].line == i;
        gap += after_gap ? 1 : 0;
        if (!is_shown(line, words, options)) {
            continue;
        }
        const std::string today = time_date(s.start_us + static_cast<int64_t>(line.entry->begin_us));
        if (s.dated && today != date) {
            text += "-- " + today + ", UTC\n";
            date = today;
        }
        if (after_gap) {
            const facts_span &span = f.gaps[gap - 1];
            text += "-- no line for " + time_length(span.to_us - span.from_us) + "\n";
        }
        put_line(text, s, line, words);
    }
    return text;
}

void put_json_message(json_writer &to, const session_message &m, const recording_bytes &bytes, const char *key) {
    if (m.what != nullptr) {
        json_open(to, '{', key);
        json_message(to, *m.what, m.bytes.data());
        json_close(to, '}');
    } else if (!bytes.null) {
        json_number(to, bytes.length, std::string(key) + "_bytes");
    }
}

/* Writes the JSON members for a request and its response. */
void put_json_send(json_writer &to, const recording_entry &entry) {
    put_json_message(to, session_request(entry), entry.in, "request");
    const session_message answer = session_answer(entry);
    if (answer.what != nullptr) {
        for (const field &f : message_response_header) {
            json_raw(to, field_text(f, field_at(f, answer.bytes.data(), 0)), field_key(f));
        }
    }
    put_json_message(to, answer, entry.out, "response");
}

void put_json_call(json_writer &to, const recording_entry &entry) {
    switch (entry.call) {
    case zeb_call_kind::OBJECT:
        json_raw(to, entry.status != 0 ? "true" : "false", "found");
        break;
    case zeb_call_kind::WAIT:
        break;
    case zeb_call_kind::SEND:
        json_number(to, entry.status, "status");
        put_json_send(to, entry);
        break;
    case zeb_call_kind::DECODE:
        json_number(to, entry.status, "status");
        put_json_message(to, session_answer(entry), entry.out, "indication");
        break;
    default:
        json_number(to, entry.status, "status");
        break;
    }
}

/* The type of the message in an entry; std::nullopt when there is no message. */
std::optional<uint32_t> message_type(const recording_entry &entry) {
    if (entry.kind == recording_kind::INDICATION) {
        return ZEB_MESSAGE_INDICATION;
    }
    if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::SEND) {
        return ZEB_MESSAGE_REQUEST;
    }
    if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::DECODE) {
        return entry.numbers[1];
    }
    return std::nullopt;
}

/* Writes those JSON members of a line that depend on the kind of the line. */
void put_json_details(json_writer &to, const session_line &line) {
    const recording_entry &entry = *line.entry;
    if (entry.handle != 0) {
        json_number(to, entry.handle, "handle");
    }
    if (const auto type = message_type(entry)) {
        json_number(to, entry.numbers[0], "id");
        json_string(to, message_name(*type, entry.numbers[0]), "message");
    }
    if (entry.count > 0) {
        json_number(to, static_cast<int64_t>(entry.count), "count");
    }
    if (entry.kind == recording_kind::EVENT) {
        json_number(to, entry.status, "event");
    } else if (entry.kind == recording_kind::CALL) {
        put_json_call(to, entry);
    }
    if (line.decoding != nullptr) {
        json_number(to, line.decoding->status, "decode_status");
        put_json_message(to, session_answer(*line.decoding), line.decoding->out, "indication");
    }
}

std::string json_line(const session &s, const session_line &line, const line_words &words) {
    json_writer to;
    json_open(to, '{');
    json_string(to, time_iso(s.start_us + static_cast<int64_t>(line.entry->begin_us)), "time");
    json_number(to, static_cast<int64_t>(line.entry->begin_us), "us");
    json_number(to, static_cast<int64_t>(line.entry->line), "line");
    if (s.files.size() > 1) {
        json_string(to, line.file->name, "file");
    }
    json_string(to, words.kind, "kind");
    put_json_details(to, line);
    json_number(to, static_cast<int64_t>(line.entry->took_us), "took_us");
    if (line.entry->kept) {
        json_raw(to, "true", "kept");
    }
    if (words.failed) {
        json_raw(to, "true", "failed");
    }
    json_close(to, '}');
    return to.text;
}

std::string as_json(const session &s, const facts &f, const show_options &options) {
    json_writer glance;
    json_open(glance, '{');
    json_string(glance, "recording", "kind");
    for (const overview_row &row : overview_rows(s, f)) {
        json_open(glance, '[', row.label);
        for (const std::string &text : row.texts) {
            json_string(glance, text);
        }
        json_close(glance, ']');
    }
    json_close(glance, '}');
    std::string text = glance.text + "\n";
    for (const session_line &line : s.lines) {
        const line_words words = line_describe(line);
        if (is_shown(line, words, options)) {
            text += json_line(s, line, words) + "\n";
        }
    }
    return text;
}

std::string as_csv(const session &s, const facts &f, const show_options &options) {
    // The columns are named as in the CSV of `cpe_dm watch`. Here `uptime` is the time since the recording's start.
    std::string text = "time,uptime";
    for (const facts_signal &signal : facts_signals) {
        text += std::string(",") + cpe_dm_metric_by_id(signal.metric)->key;
    }
    text += "\n";
    char value[CPE_DM_COUNT_TEXT_SIZE];
    for (const facts_sample &sample : f.samples) {
        if (!is_shown(s.lines[sample.line], line_describe(s.lines[sample.line]), options)) {
            continue;
        }
        text += time_iso(s.start_us + static_cast<int64_t>(sample.us)) + ",";
        text += cpe_dm_count_text(value, sizeof(value), static_cast<int64_t>(sample.us / 1000), 1000);
        for (size_t i = 0; i < FACTS_SIGNALS; i++) {
            const uint32_t counts = cpe_dm_metric_by_id(facts_signals[i].metric)->counts_per_unit;
            const bool there = sample.values[i] != FACTS_NO_VALUE;
            text += std::string(",") + (there ? cpe_dm_count_text(value, sizeof(value), sample.values[i], counts) : "");
        }
        text += "\n";
    }
    return text;
}

} // namespace

bool show_is_kind(std::string_view kind) {
    return std::find(std::begin(KINDS), std::end(KINDS), kind) != std::end(KINDS);
}

std::string show_kinds() {
    std::string text;
    for (const std::string_view kind : KINDS) {
        text += (text.empty() ? "" : ", ") + std::string(kind);
    }
    return text;
}

std::string show_text(const session &s, const facts &f, const show_options &options) {
    switch (options.form) {
    case show_form::JSON:
        return as_json(s, f, options);
    case show_form::CSV:
        return as_csv(s, f, options);
    case show_form::TEXT:
        break;
    }
    return as_text(s, f, options);
}
