#include "overview.h"

#include "cpe_dm_text.h"
#include "lines.h"
#include "times.h"

#include <algorithm>
#include <map>

namespace {

std::string counted(uint64_t count, const char *one, const char *many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string clock_text(const session &s, uint64_t us) {
    const int64_t wall_us = s.start_us + static_cast<int64_t>(us);
    return s.dated ? time_of_day(wall_us) : "+" + time_of_day(wall_us);
}

std::string span_text(const session &s, const facts_span &span) {
    return clock_text(s, span.from_us) + " for " + time_length(span.to_us - span.from_us);
}

overview_row time_row(const session &s, const facts &f) {
    const auto from_us = s.start_us + static_cast<int64_t>(f.from_us);
    const auto to_us = s.start_us + static_cast<int64_t>(f.to_us);
    if (!s.dated) {
        return {"time", {"no date; " + time_length(f.to_us - f.from_us)}};
    }
    const bool same_day = time_date(from_us) == time_date(to_us);
    return {"time",
            {time_date(from_us) + " " + time_of_day(from_us) + " to " + (same_day ? "" : time_date(to_us) + " ") +
             time_of_day(to_us) + " UTC, " + time_length(f.to_us - f.from_us)}};
}

overview_row source_row(const session &s) {
    const recording &head = s.files.front()->content;
    std::string text = head.program.empty() ? "a program" : head.program;
    text += head.machine.empty() ? "" : " on " + head.machine;
    text += head.recorder.empty() ? "" : ", recorder " + head.recorder;
    return {"recorded", {text + ", version " + std::to_string(head.version) + " of the format"}};
}

/* The row about all requests or all indications. Its first line counts the messages: "162, 3 failed". Then comes a line
 * for each message ID. */
overview_row message_row(const session &s, const facts &f, zeb_message_type type, const char *label) {
    overview_row row = {label, {""}};
    size_t count = 0;
    size_t failed = 0;
    for (const facts_message &m : f.messages) {
        if (m.type != type) {
            continue;
        }
        count += m.count;
        failed += m.failed;
        std::string text = line_message_name(m.type, m.id) + ": " + std::to_string(m.count);
        if (m.failed > 0) {
            text += ", " + std::to_string(m.failed) + (m.failed == 1 ? " failed (" : " failed (first ") +
                    overview_place(s, s.lines[m.first_failed]) + ")";
        }
        text += m.undecoded > 0 ? ", " + std::to_string(m.undecoded) + " not decoded" : "";
        if (m.slowest_us > 0) {
            text += type == ZEB_MESSAGE_REQUEST ? ", slowest " : ", slowest callback ";
            text += time_length(m.slowest_us) + " (" + overview_place(s, s.lines[m.slowest]) + ")";
        }
        row.texts.push_back(text);
    }
    row.texts[0] = std::to_string(count) + (failed > 0 ? ", " + std::to_string(failed) + " failed" : "");
    return row;
}

/* The row that says how long each registration status lasted in all, the longest first. */
overview_row registration_row(const facts &f) {
    std::map<std::string, uint64_t> held;
    for (const facts_span &span : f.registration) {
        held[span.text] += span.to_us - span.from_us;
    }
    std::vector<std::pair<uint64_t, std::string>> longest;
    longest.reserve(held.size());
    for (const auto &[name, us] : held) {
        longest.emplace_back(us, name);
    }
    std::sort(longest.rbegin(), longest.rend());
    std::string text;
    for (const auto &[us, name] : longest) {
        text += (text.empty() ? "" : ", ") + name + " " + time_length(us);
    }
    return {"registration", {text.empty() ? "nothing known" : text}};
}

/* A row about time spans, such as the outages. The first line has the number of spans and, when there are several,
 * their total length. A line for each of the first few spans follows. */
overview_row spans_row(const session &s, const char *label, const std::vector<facts_span> &spans) {
    constexpr size_t SHOWN = 5;
    uint64_t together = 0;
    for (const facts_span &span : spans) {
        together += span.to_us - span.from_us;
    }
    overview_row row = {label, {spans.empty() ? "none" : std::to_string(spans.size())}};
    row.texts[0] += spans.size() > 1 ? ", together " + time_length(together) : "";
    for (size_t i = 0; i < std::min(spans.size(), SHOWN); i++) {
        row.texts.push_back(span_text(s, spans[i]) + (spans[i].text.empty() ? "" : ", " + spans[i].text) + " (" +
                            overview_place(s, s.lines[spans[i].line]) + ")");
    }
    if (spans.size() > SHOWN) {
        row.texts.push_back("and " + std::to_string(spans.size() - SHOWN) + " more");
    }
    return row;
}

/* The row about the signal, with the lowest, the highest and the median value of each signal metric. */
overview_row signal_row(const facts &f) {
    overview_row row = {"signal", {counted(f.samples.size(), "report", "reports")}};
    for (size_t i = 0; i < FACTS_SIGNALS; i++) {
        std::vector<int32_t> values;
        for (const facts_sample &sample : f.samples) {
            if (sample.values[i] != FACTS_NO_VALUE) {
                values.push_back(sample.values[i]);
            }
        }
        if (values.empty()) {
            continue;
        }
        std::sort(values.begin(), values.end());
        const cpe_dm_metric_desc &metric = *cpe_dm_metric_by_id(facts_signals[i].metric);
        const auto text = [&metric](int32_t count) {
            char buffer[CPE_DM_COUNT_TEXT_SIZE];
            return std::string(cpe_dm_count_text(buffer, sizeof(buffer), count, metric.counts_per_unit));
        };
        row.texts.push_back(std::string(metric.key) + " " + text(values.front()) + " to " + text(values.back()) + " " +
                            metric.unit + ", median " + text(values[values.size() / 2]));
    }
    return row;
}

/* The row about the cells that served the box, each with its total time of service. */
overview_row cells_row(const facts &f) {
    constexpr size_t SHOWN = 8;
    overview_row row = {"cells", {""}};
    for (const auto *spans : {&f.lte_cells, &f.nr5g_cells}) {
        const std::string technology = spans == &f.lte_cells ? "LTE" : "NR 5G";
        std::map<std::string, uint64_t> held;
        for (const facts_span &span : *spans) {
            held[span.text + (span.more.empty() ? "" : ", " + span.more)] += span.to_us - span.from_us;
        }
        row.texts[0] += (row.texts[0].empty() ? "" : ", ") + std::to_string(held.size()) + " of " + technology;
        size_t shown = 0;
        for (const auto &[cell, us] : held) {
            if (shown++ < SHOWN) {
                row.texts.push_back(technology);
                row.texts.back().append(" ").append(cell).append(": ").append(time_length(us));
            }
        }
        if (held.size() > SHOWN) {
            row.texts.push_back("and " + std::to_string(held.size() - SHOWN) + " more");
        }
    }
    return row;
}

} // namespace

std::string overview_place(const session &s, const session_line &line) {
    const std::string place = "line " + std::to_string(line.entry->line);
    return s.files.size() > 1 ? place + " of " + line.file->name : place;
}

std::vector<std::string> overview_notices(const session &s, const facts &f) {
    std::vector<std::string> notices;
    for (const auto &file : s.files) {
        const recording &head = file->content;
        const std::string of = s.files.size() > 1 ? " of " + file->name : "";
        if (head.before_lines > 0 && file == s.files.front()) {
            notices.push_back("part " + std::to_string(head.part) + of + ": " +
                              counted(head.before_lines, "line", "lines") + " before it are not here");
        }
        if (head.lost_lines > 0) {
            notices.push_back(counted(head.lost_lines, "line", "lines") + of +
                              " could not be kept while it was recorded");
        }
        if (head.unrecorded > 0) {
            notices.push_back(
                counted(head.unrecorded, "client, notifier or callback is", "clients, notifiers and callbacks are") +
                " not in the recording" + of + ", for want of room");
        }
        if (head.cut) {
            notices.push_back("the last line" + of + " is cut short: the recording stopped in its middle");
        }
        if (head.end_reason == "limit") {
            notices.push_back("the recording" + of + " stopped at its limit, not with the program");
        } else if (!head.end_reason.empty()) {
            notices.push_back("the recording" + of + " stopped before the program did: " + head.end_reason);
        }
    }
    if (s.lines.empty()) {
        notices.emplace_back("nothing was recorded");
        return notices;
    }
    for (const size_t line : f.unreturned) {
        notices.push_back("a callback never returned: " + overview_place(s, s.lines[line]));
    }
    return notices;
}

std::vector<overview_row> overview_rows(const session &s, const facts &f) {
    std::vector<overview_row> rows = {source_row(s), time_row(s, f)};
    if (const auto notices = overview_notices(s, f); !notices.empty()) {
        rows.push_back({"note", notices});
    }
    rows.push_back(message_row(s, f, ZEB_MESSAGE_REQUEST, "requests"));
    rows.push_back(message_row(s, f, ZEB_MESSAGE_INDICATION, "indications"));
    rows.push_back(registration_row(f));
    rows.push_back(spans_row(s, "outages", f.outages));
    rows.push_back(
        {"restarts",
         {(f.restarts == 0 ? "none" : counted(f.restarts, "time", "times") + " the modem's service went and came") +
          ("; clients created: " + std::to_string(f.registrations))}});
    if (!f.gaps.empty()) {
        rows.push_back(spans_row(s, "gaps", f.gaps));
    }
    rows.push_back(signal_row(f));
    rows.push_back(cells_row(f));
    return rows;
}
