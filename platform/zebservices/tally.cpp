#include "tally.h"
#include "zeb_cci.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

bool has_message(zeb_call_kind kind) {
    return kind == zeb_call_kind::SEND || kind == zeb_call_kind::DECODE;
}

/* A call's name, for people to read: "request 0x004d", "service object 1.342.6", "release". */
std::string name_of(zeb_call_kind kind, const std::array<uint32_t, 3> &numbers) {
    static constexpr const char *NAMES[] = {
        "service object", "notifier", "service list", "wait",   "callback registration",
        "client",         "request",  "decoding",     "release"};
    char number[48] = "";
    if (has_message(kind)) {
        snprintf(number, sizeof(number), " 0x%04" PRIx32, numbers[0]);
    } else if (kind == zeb_call_kind::OBJECT) {
        snprintf(number, sizeof(number), " %" PRIu32 ".%" PRIu32 ".%" PRIu32, numbers[0], numbers[1], numbers[2]);
    }
    return std::string(NAMES[static_cast<size_t>(kind)]) + number;
}

std::string name_of(const recording_entry &call) {
    return name_of(call.call, call.numbers);
}

size_t index_of(const tally &t, const recording_entry &entry) {
    return static_cast<size_t>(&entry - t.played->entries.data());
}

tally_calls &calls_of(tally &t, zeb_call_kind kind) {
    return kind == zeb_call_kind::SEND ? t.requests : kind == zeb_call_kind::DECODE ? t.decodings : t.others;
}

bool is_delivery(const recording_entry &e) {
    return e.kind == recording_kind::INDICATION || e.kind == recording_kind::EVENT;
}

/* Returns a text that says how a request differs from the recorded request `expected`: in its client, in the length of
 * a buffer, or in a byte (the first that differs). Returns an empty text when none of these differs, or when the two
 * calls are not requests with the same message. */
std::string difference(const zeb_call &call, uint32_t handle, const recording_entry &expected) {
    if (call.kind != zeb_call_kind::SEND || call.numbers != expected.numbers) {
        return "";
    }
    char text[120] = "";
    const recording_bytes in = recording_pack(call.in, call.in_len);
    const auto value = [](const recording_bytes &bytes, size_t i) {
        return i < bytes.head.size() ? static_cast<unsigned>(static_cast<uint8_t>(bytes.head[i])) : 0U;
    };
    size_t byte = 0;
    while (byte < std::max(in.head.size(), expected.in.head.size()) && value(in, byte) == value(expected.in, byte)) {
        byte++;
    }
    if (handle != expected.handle) {
        snprintf(text, sizeof(text), " of client %u, where it was of client %u", handle, expected.handle);
    } else if (call.in_len != expected.in.length) {
        snprintf(text, sizeof(text), " of %u bytes, where it had %u", call.in_len, expected.in.length);
    } else if (call.out_len != expected.out.length) {
        snprintf(text, sizeof(text), " with room for %u bytes, where it was for %u", call.out_len, expected.out.length);
    } else if (in.head != expected.in.head) {
        snprintf(text, sizeof(text), " with 0x%02x in byte %zu of %u, where it was 0x%02x", value(in, byte), byte,
                 call.in_len, value(expected.in, byte));
    }
    return text;
}

/* Prints the first difference between the play and the recording: the call that came (`name`), and either how it
 * differs from the expected call (`how`) or which call was expected. Later differences are not printed. */
void tell_difference(tally &t, const std::string &name, const std::string &how, const recording_entry *expected) {
    if (std::exchange(t.differed, true)) {
        return;
    }
    if (expected == nullptr) {
        fprintf(stderr, "%s:%zu: the first call that differs: %s, after the last one that was recorded\n", t.file,
                t.played->last_line, name.c_str());
    } else if (!how.empty()) {
        fprintf(stderr, "%s:%zu: the first call that differs: %s%s\n", t.file, expected->line, name.c_str(),
                how.c_str());
    } else {
        fprintf(stderr, "%s:%zu: the first call that differs: %s, where %s was recorded\n", t.file, expected->line,
                name.c_str(), name_of(*expected).c_str());
    }
}

/* Counts the call as too early in two cases. First case: an indication or event that was recorded well before the call
 * has not been delivered yet. Second case: the program is still busy with the indication or event `unsettled`, although
 * on the box its callback ended well before the call. `unsettled` may be null. */
void look_for_early(tally &t, const recording_entry &call, const recording_entry *unsettled) {
    const recording_entry *later = nullptr;
    const char *how = "before";
    if (unsettled != nullptr && unsettled->line < call.line && (unsettled->returned || t.played->version == 1) &&
        unsettled->begin_us + unsettled->took_us + TALLY_MOMENT_US <= call.begin_us) {
        later = unsettled;
        how = "before the program had dealt with";
    }
    const size_t end = index_of(t, call);
    for (size_t i = t.turn; i < end && later == nullptr; i++) {
        const recording_entry &e = t.played->entries[i];
        if (t.states[i] == tally_state::OPEN && is_delivery(e) && e.begin_us + TALLY_MOMENT_US <= call.begin_us) {
            later = &e;
        }
    }
    if (later != nullptr && t.early++ == 0) {
        t.first_early_line = call.line;
        fprintf(stderr, "%s:%zu: the first call that comes too early: %s, %s the %s of line %zu\n", t.file, call.line,
                name_of(call).c_str(), how, later->kind == recording_kind::EVENT ? "event" : "indication", later->line);
    }
}

/* Marks the entry as PLAYED, and all OPEN entries before it as PASSED. Returns whether the entry was the first OPEN
 * entry. */
bool take_turn(tally &t, const recording_entry &entry) {
    const size_t index = index_of(t, entry);
    bool in_turn = t.states[index] == tally_state::OPEN;
    for (; t.turn < index; t.turn++) {
        if (t.states[t.turn] == tally_state::OPEN) {
            t.states[t.turn] = tally_state::PASSED;
            in_turn = false;
        }
    }
    t.states[index] = tally_state::PLAYED;
    return in_turn;
}

/* Stores in t.moments, for each call, the line of an indication or event that happened at the same time as the call. A
 * call lasts from its beginning to its end. An indication or event lasts as long as its callback. Of a call that waits
 * for a signal, only the end is used, because the waiting thread does nothing before the wait ends. */
void find_moments(tally &t) {
    struct span {
        uint64_t begin, end;
        size_t line;
    };
    std::vector<span> deliveries;
    for (const recording_entry &e : t.played->entries) {
        if (is_delivery(e)) {
            deliveries.push_back({e.begin_us, e.begin_us + e.took_us, e.line});
        }
    }
    const auto earlier = [](const span &a, const span &b) { return a.begin < b.begin; };
    std::sort(deliveries.begin(), deliveries.end(), earlier);
    // The deliveries are sorted by `begin`, but a delivery may end earlier than the delivery before it. In this case it
    // gets the `end` and `line` of the delivery before it. After the loop, the deliveries are sorted by `end` too.
    for (size_t i = 1; i < deliveries.size(); i++) {
        if (deliveries[i - 1].end > deliveries[i].end) {
            deliveries[i].end = deliveries[i - 1].end;
            deliveries[i].line = deliveries[i - 1].line;
        }
    }
    for (size_t i = 0; i < t.states.size(); i++) {
        const recording_entry &e = t.played->entries[i];
        const uint64_t end = e.begin_us + e.took_us;
        const uint64_t begin = e.call == zeb_call_kind::WAIT ? end : e.begin_us;
        if (t.states[i] != tally_state::OPEN || e.kind != recording_kind::CALL) {
            continue;
        }
        const auto later =
            std::upper_bound(deliveries.begin(), deliveries.end(), span{end + TALLY_MOMENT_US, 0, 0}, earlier);
        if (later != deliveries.begin() && (later - 1)->end + TALLY_MOMENT_US >= begin) {
            t.moments[i] = (later - 1)->line;
        }
    }
}

void add_count(std::string &text, size_t count, const char *what) {
    if (count > 0) {
        text += (text.ends_with(": ") ? "" : ", ") + std::to_string(count) + " " + what;
    }
}

void add_calls(std::string &text, const char *name, const tally_calls &c, const char *made, const char *not_made) {
    const size_t played = c.as_recorded + c.out_of_order;
    if (c.recorded + c.repeated + c.never_recorded > 0) {
        text += std::string(text.ends_with(": ") ? "" : "; ") + name + ": ";
        add_count(text, c.as_recorded, made);
        add_count(text, c.out_of_order, "out of order");
        add_count(text, c.repeated, "repeated");
        add_count(text, c.never_recorded, "never recorded");
        add_count(text, c.recorded - played, not_made);
    }
}

bool as_recorded(const tally_calls &c) {
    return c.as_recorded == c.recorded && c.repeated + c.never_recorded == 0;
}

[[gnu::format(printf, 2, 3)]] void add_reason(std::string &text, const char *format, ...) {
    char reason[256];
    va_list values;
    va_start(values, format);
    vsnprintf(reason, sizeof(reason), format, values);
    va_end(values);
    text += std::string("; ") + reason;
}

} // namespace

bool tally_takes_part(const recording_entry &call) {
    const bool of_handle =
        has_message(call.call) || call.call == zeb_call_kind::WATCH || call.call == zeb_call_kind::RELEASE;
    return call.kind == recording_kind::CALL && (!of_handle || call.handle != 0 || call.status != ZEB_INVALID_ARG_ERR);
}

void tally_begin(tally &t, const char *file, const recording &played) {
    t.file = file;
    t.played = &played;
    t.states.assign(played.entries.size(), tally_state::APART);
    t.moments.assign(played.entries.size(), 0);
    for (size_t i = 0; i < played.entries.size(); i++) {
        const recording_entry &e = played.entries[i];
        const bool creation = e.call == zeb_call_kind::CLIENT || e.call == zeb_call_kind::NOTIFIER;
        if (is_delivery(e)) {
            t.states[i] = tally_state::OPEN;
            t.deliveries.recorded++;
        } else if (tally_takes_part(e) && !e.kept) {
            t.states[i] = e.call == zeb_call_kind::DECODE ? tally_state::APART : tally_state::OPEN;
            calls_of(t, e.call).recorded++;
            t.unrecorded += creation && e.status == ZEB_NO_ERR && e.handle == 0;
        }
    }
    find_moments(t);
}

const recording_entry *tally_expected_call(const tally &t) {
    for (size_t i = t.turn; i < t.states.size(); i++) {
        if (t.states[i] == tally_state::OPEN && t.played->entries[i].kind == recording_kind::CALL) {
            return &t.played->entries[i];
        }
    }
    return nullptr;
}

void tally_came(tally &t, const zeb_call &call, uint32_t handle, const tally_arrival &arrival) {
    const auto &[entry, again, position, unsettled] = arrival;
    const std::string name = name_of(call.kind, call.numbers);
    if (entry != nullptr && entry->kept) {
        return;
    }
    if (entry == nullptr) {
        // A wait is recorded when it ends. So when the program waits now and the recording has no such wait, the
        // recorded program may have been waiting as well when the recording ended. This is no difference.
        if (call.kind == zeb_call_kind::WAIT) {
            return;
        }
        calls_of(t, call.kind).never_recorded++;
        fprintf(stderr, "%s:%zu: after this line: %s was never recorded%s\n", t.file, position, name.c_str(),
                call.kind == zeb_call_kind::RELEASE ? "" : " and is lost");
    } else if (again) {
        calls_of(t, call.kind).repeated++;
    } else if (call.kind == zeb_call_kind::DECODE) {
        t.decodings.as_recorded++;
    } else if (!call.in_callback) {
        look_for_early(t, *entry, unsettled);
    }
    if ((entry == nullptr || again) && call.kind != zeb_call_kind::DECODE) {
        const recording_entry *expected = tally_expected_call(t);
        tell_difference(t, name, expected == nullptr ? "" : difference(call, handle, *expected), expected);
    }
}

void tally_answered(tally &t, const recording_entry &entry, bool unprompted) {
    const recording_entry *expected = tally_expected_call(t);
    if (entry.kept || t.states[index_of(t, entry)] == tally_state::PLAYED) {
        return;
    }
    if (take_turn(t, entry)) {
        calls_of(t, entry.call).as_recorded++;
    } else {
        calls_of(t, entry.call).out_of_order++;
        if (expected != &entry) {
            tell_difference(t, name_of(entry), "", expected);
        }
    }
    if (const size_t line = t.moments[index_of(t, entry)]; unprompted && line != 0 && t.at_a_moment++ == 0) {
        t.first_moment_line = line;
    }
}

void tally_delivered(tally &t, const recording_entry &entry, bool delivered) {
    const bool in_turn = take_turn(t, entry);
    if (delivered) {
        (in_turn ? t.deliveries.as_recorded : t.deliveries.out_of_order)++;
    }
}

void tally_overtook(tally &t, size_t line, size_t callback_line) {
    if (t.overtaking++ == 0) {
        t.first_overtaken_line = callback_line;
        fprintf(stderr, "%s:%zu: goes on although the callback for line %zu has not returned\n", t.file, line,
                callback_line);
    }
}

bool tally_sum_up(const tally &t, size_t unfinished_line) {
    const recording &r = *t.played;
    const uint64_t unrecorded = std::max<uint64_t>(r.unrecorded, t.unrecorded);
    std::string reasons;
    if (t.early > 0) {
        add_reason(reasons, "calls too early: %zu, the first that of line %zu", t.early, t.first_early_line);
    }
    if (t.at_a_moment > 0) {
        add_reason(reasons, "calls at the moment of an indication or event: %zu, the first at that of line %zu",
                   t.at_a_moment, t.first_moment_line);
    }
    if (t.overtaking > 0) {
        add_reason(reasons, "lines played before a callback had returned: %zu, the first before that of line %zu",
                   t.overtaking, t.first_overtaken_line);
    }
    if (unfinished_line != 0) {
        add_reason(reasons, "the program ended before it had dealt with line %zu", unfinished_line);
    }
    if (r.before_lines > 0) {
        add_reason(reasons, "lines missing before this part: %" PRIu64, r.before_lines);
    }
    if (r.lost_lines > 0) {
        add_reason(reasons, "lines lost while recording: %" PRIu64, r.lost_lines);
    }
    if (unrecorded > 0) {
        add_reason(reasons, "clients, notifiers and callbacks not recorded: %" PRIu64, unrecorded);
    }
    if (!r.end_reason.empty()) {
        add_reason(reasons, "the recording ended before the program: %.100s", r.end_reason.c_str());
    }
    if (r.cut) {
        add_reason(reasons, "the recording is cut short in line %zu", r.last_line + 1);
    }
    const bool exact = reasons.empty() && as_recorded(t.requests) && as_recorded(t.others) &&
                       as_recorded(t.deliveries) && as_recorded(t.decodings);
    std::string text = std::string(exact ? "exact: " : "not exact: ") + t.file + ": ";
    add_calls(text, "requests", t.requests, "as recorded", "not made");
    add_calls(text, "decodings", t.decodings, "as recorded", "not made");
    add_calls(text, "other calls", t.others, "as recorded", "not made");
    add_calls(text, "indications and events", t.deliveries, "delivered", "not delivered");
    fprintf(stderr, "%s%s\n", text.c_str(), reasons.c_str());
    return exact;
}
