#include "page.h"

#include "cpe_dm_text.h"
#include "json.h"
#include "lines.h"
#include "new_file.h"
#include "overview.h"
#include "page_parts.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>

namespace {

/* Longer texts are cut to this number of bytes in the page. The command `show` prints the whole text. */
constexpr size_t TEXT_MAX = 4000;

/* The texts of the page's lines. Equal texts are stored once, and a line refers to a text by its index in `texts`. */
struct text_table {
    std::unordered_map<std::string, size_t> places;
    std::vector<const std::string *> texts;
};

size_t place_of(text_table &table, std::string text) {
    if (text.size() > TEXT_MAX) {
        text.resize(TEXT_MAX);
        text += " ...";
    }
    const auto [found, added] = table.places.try_emplace(std::move(text), table.texts.size());
    if (added) {
        table.texts.push_back(&found->first);
    }
    return found->second;
}

/* A column of numbers in the page's data. Each number is written as its difference from the number before, because the
 * difference usually has fewer digits than the number. */
struct column {
    std::string text;
    int64_t last = 0;
};

void add(column &to, int64_t value) {
    to.text += (to.text.empty() ? "" : ",") + std::to_string(value - to.last);
    to.last = value;
}

void put_column(json_writer &to, const char *key, const column &c) {
    json_raw(to, "[" + c.text + "]", key);
}

void put_signals(json_writer &to) {
    json_open(to, '[', "signals");
    for (const facts_signal &signal : facts_signals) {
        const cpe_dm_metric_desc &metric = *cpe_dm_metric_by_id(signal.metric);
        json_open(to, '{');
        json_string(to, metric.key, "key");
        json_string(to, signal.label, "label");
        json_string(to, metric.unit, "unit");
        json_number(to, metric.counts_per_unit, "per");
        json_string(to, metric.tech == CPE_DM_TECH_LTE ? "lte" : "nr5g", "tech");
        json_close(to, '}');
    }
    json_close(to, ']');
}

void put_samples(json_writer &to, const facts &f) {
    column times;
    column lines;
    std::array<std::string, FACTS_SIGNALS> values;
    for (const facts_sample &sample : f.samples) {
        add(times, static_cast<int64_t>(sample.us));
        add(lines, static_cast<int64_t>(sample.line));
        for (size_t i = 0; i < FACTS_SIGNALS; i++) {
            const int32_t value = sample.values[i];
            values[i] += (values[i].empty() ? "" : ",") + (value == FACTS_NO_VALUE ? "null" : std::to_string(value));
        }
    }
    json_open(to, '{', "samples");
    put_column(to, "us", times);
    put_column(to, "line", lines);
    json_open(to, '[', "values");
    for (const std::string &column : values) {
        json_raw(to, "[" + column + "]");
    }
    json_close(to, ']');
    json_close(to, '}');
}

void put_lane(json_writer &to, const char *name, const char *kind, const std::vector<facts_span> &spans) {
    json_open(to, '{');
    json_string(to, name, "name");
    json_string(to, kind, "kind");
    json_open(to, '[', "spans");
    for (const facts_span &span : spans) {
        json_open(to, '[');
        json_number(to, static_cast<int64_t>(span.from_us));
        json_number(to, static_cast<int64_t>(span.to_us));
        json_number(to, static_cast<int64_t>(span.line));
        json_string(to, span.text);
        json_string(to, span.more);
        json_close(to, ']');
    }
    json_close(to, ']');
    json_close(to, '}');
}

/* Properties of a line in the page's data, one bit each. */
enum { FAILED = 1, SLOW = 2, UNRETURNED = 4, KEPT = 8 };

void put_lines(json_writer &to, const session &s, text_table &texts) {
    column begin;
    column number;
    column took;
    column kind;
    column marks;
    column what;
    column result;
    for (const session_line &line : s.lines) {
        const line_words words = line_describe(line);
        add(begin, static_cast<int64_t>(line.entry->begin_us));
        add(number, static_cast<int64_t>(line.entry->line));
        add(took, static_cast<int64_t>(line.entry->took_us));
        add(kind, static_cast<int64_t>(place_of(texts, words.kind)));
        add(marks, (words.failed ? FAILED : 0) | (words.slow ? SLOW : 0) | (facts_unreturned(line) ? UNRETURNED : 0) |
                       (line.entry->kept ? KEPT : 0));
        add(what, static_cast<int64_t>(place_of(texts, words.what)));
        add(result, static_cast<int64_t>(place_of(texts, words.result)));
    }
    json_open(to, '{', "lines");
    put_column(to, "us", begin);
    put_column(to, "number", number);
    put_column(to, "took", took);
    put_column(to, "kind", kind);
    put_column(to, "marks", marks);
    put_column(to, "what", what);
    put_column(to, "result", result);
    json_close(to, '}');
}

std::string data_text(const session &s, const facts &f) {
    json_writer to;
    text_table texts;
    json_open(to, '{');
    json_number(to, s.start_us, "start_us");
    json_raw(to, s.dated ? "true" : "false", "dated");
    json_number(to, static_cast<int64_t>(f.from_us), "from_us");
    json_number(to, static_cast<int64_t>(f.to_us), "to_us");
    put_signals(to);
    put_samples(to, f);
    json_open(to, '[', "lanes");
    put_lane(to, "Registration", "registration", f.registration);
    put_lane(to, "LTE cell", "lte", f.lte_cells);
    put_lane(to, "NR 5G cell", "nr5g", f.nr5g_cells);
    put_lane(to, "Outages", "outage", f.outages);
    put_lane(to, "Nothing recorded", "gap", f.gaps);
    json_close(to, ']');
    put_lines(to, s, texts);
    json_open(to, '[', "texts");
    for (const std::string *text : texts.texts) {
        json_string(to, *text);
    }
    json_close(to, ']');
    json_close(to, '}');
    return to.text;
}

std::string escaped(std::string_view text) {
    std::string html;
    for (const char c : text) {
        const char *entity = c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : nullptr;
        html += entity != nullptr ? std::string(entity) : std::string(1, c);
    }
    return html;
}

std::string name_of(const session &s) {
    std::string names;
    for (const auto &file : s.files) {
        names += (names.empty() ? "" : ", ") + std::filesystem::path(file->name).filename().string();
    }
    return names;
}

std::string glance_html(const session &s, const facts &f) {
    std::string html;
    for (const overview_row &row : overview_rows(s, f)) {
        html += "<div class=\"" + escaped(row.label) + "\"><dt>" + escaped(row.label) + "</dt>";
        for (const std::string &text : row.texts) {
            html += "<dd>" + escaped(text) + "</dd>";
        }
        html += "</div>\n";
    }
    return html;
}

} // namespace

std::string page_text(const session &s, const facts &f) {
    const std::pair<std::string_view, std::string> parts[] = {
        {"@TITLE", escaped(name_of(s))}, {"@STYLE", page_css},       {"@SCRIPT", page_js},
        {"@GLANCE", glance_html(s, f)},  {"@DATA", data_text(s, f)},
    };
    std::string page;
    std::string_view rest = page_html;
    for (size_t at = rest.find('@'); at != std::string_view::npos; at = rest.find('@')) {
        const auto *part = std::find_if(std::begin(parts), std::end(parts),
                                        [=](const auto &p) { return rest.substr(at).starts_with(p.first); });
        page += std::string(rest.substr(0, at)) + part->second;
        rest.remove_prefix(at + part->first.size());
    }
    return page + std::string(rest);
}

bool page_write(const char *name, const std::string &text, std::string &error) {
    const std::string_view html = page_html;
    return new_file_write(name, text, html.substr(0, html.find('@')), error);
}
