#include "diff.h"

#include "lines.h"

#include <algorithm>
#include <unordered_map>

namespace {

/* A line of a recording. Only `text` is compared: the line without its times, followed by a mark if the callback
 * for the line has returned. */
struct diff_line {
    const recording_entry *entry;
    std::string text;
};

/* Returns the line without its time at the beginning and without the duration of the call at the end. */
std::string timeless(std::string_view line) {
    line.remove_prefix(std::min(line.find(' ') + 1, line.size()));
    if (const size_t took = line.rfind(" took="); took != std::string_view::npos) {
        line = line.substr(0, took);
    }
    return std::string(line);
}

std::vector<diff_line> lines_of(const session_file &file, bool with_returns) {
    std::vector<diff_line> lines;
    std::string_view rest = file.text;
    size_t number = 0;
    for (const recording_entry &entry : file.content.entries) {
        std::string_view text;
        while (number < entry.line) {
            const size_t end = rest.find('\n');
            text = rest.substr(0, end);
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
            number++;
        }
        lines.push_back({&entry, timeless(text) + (with_returns && entry.returned ? " returned" : "")});
    }
    return lines;
}

std::string in_words(const recording_entry &entry) {
    const line_words words = line_describe({&entry, nullptr, nullptr});
    std::string text = std::string(words.kind) + " " + words.what;
    return text + (words.result.empty() || entry.kind == recording_kind::INDICATION ? "" : " -> " + words.result);
}

void put(std::string &out, char mark, const diff_line &line) {
    out += mark;
    out += " " + std::to_string(line.entry->line) + ": " + in_words(*line.entry) + "\n";
}

/* Returns the fields in which two messages differ, each with both values. Returns "" when no field differs, when
 * the messages differ in type or ID, or when one of the messages has no description. */
std::string fields_that_differ(const session_message &a, const session_message &b) {
    std::string text;
    if (a.what == nullptr || a.what != b.what) {
        return text;
    }
    const auto value = [](const field &f, const session_message &m) {
        const uint8_t *base = m.bytes.data() + m.what->body;
        std::string all = field_present(f, base) ? "" : "absent";
        for (uint32_t i = 0; all != "absent" && i < field_count(f, base); i++) {
            all += (i == 0 ? "" : " ") + field_text(f, field_at(f, base, i));
        }
        return all;
    };
    for (const field &f : a.what->fields) {
        if (const std::string x = value(f, a), y = value(f, b); x != y) {
            text.append(text.empty() ? "" : ", ").append(field_key(f)).append(" ").append(x).append(" and ").append(y);
        }
    }
    return text;
}

/* Appends to `out` the line `a` of one recording, the line `b` in the same place of the other recording, and the
 * differences between the two lines. */
void put_pair(std::string &out, const diff_line &a, const diff_line &b) {
    put(out, '-', a);
    put(out, '+', b);
    for (const auto &message_of : {session_request, session_answer}) {
        if (const std::string text = fields_that_differ(message_of(*a.entry), message_of(*b.entry)); !text.empty()) {
            out += "  differs: " + text + "\n";
        }
    }
    if (in_words(*a.entry) == in_words(*b.entry)) {
        const size_t at = static_cast<size_t>(
            std::mismatch(a.text.begin(), a.text.end(), b.text.begin(), b.text.end()).first - a.text.begin());
        const size_t blank = a.text.rfind(' ', at == 0 ? 0 : at - 1);
        const size_t from = blank == std::string::npos ? 0 : blank + 1;
        const size_t length = std::min(a.text.find(' ', from), a.text.size()) - from;
        out += "  differs: from \"" + a.text.substr(from, std::min<size_t>(length, 40)) + "\" on\n";
    }
}

/* After a difference, next_equal searches this many lines of each recording for a pair of equal lines. */
constexpr size_t AHEAD = 2000;

/* Finds the nearest pair of equal lines. The search begins at line i of `a` and at line j of `b`. Returns how many
 * lines of `a` (from i on) and of `b` (from j on) come before the pair. */
std::pair<size_t, size_t> next_equal(const std::vector<diff_line> &a, size_t i, const std::vector<diff_line> &b,
                                     size_t j) {
    const size_t of_a = std::min(a.size() - i, AHEAD);
    const size_t of_b = std::min(b.size() - j, AHEAD);
    std::unordered_map<std::string_view, size_t> first; // for each text of b: its first index, counted from j
    for (size_t y = 0; y < of_b; y++) {
        first.try_emplace(b[j + y].text, y);
    }
    std::pair best = {of_a, of_b};
    for (size_t x = 0; x < of_a && x < best.first + best.second; x++) {
        const auto found = first.find(a[i + x].text);
        if (found != first.end() && x + found->second < best.first + best.second) {
            best = {x, found->second};
        }
    }
    return best;
}

} // namespace

std::string diff_text(const session_file &file_a, const session_file &file_b) {
    const bool with_returns = file_a.content.version > 1 && file_b.content.version > 1;
    const std::vector<diff_line> a = lines_of(file_a, with_returns);
    const std::vector<diff_line> b = lines_of(file_b, with_returns);
    std::string out;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() || j < b.size()) {
        if (i < a.size() && j < b.size() && a[i].text == b[j].text) {
            i++;
            j++;
            continue;
        }
        const auto [of_a, of_b] = next_equal(a, i, b, j);
        for (size_t k = 0; k < std::max(of_a, of_b); k++) {
            const bool in_a = k < of_a;
            const bool in_b = k < of_b;
            if (in_a && in_b && a[i + k].entry->kind == b[j + k].entry->kind &&
                a[i + k].entry->call == b[j + k].entry->call) {
                put_pair(out, a[i + k], b[j + k]);
                continue;
            }
            if (in_a) {
                put(out, '-', a[i + k]);
            }
            if (in_b) {
                put(out, '+', b[j + k]);
            }
        }
        i += of_a;
        j += of_b;
    }
    return out;
}
