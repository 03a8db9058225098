#include "facts.h"

#include "cpe_dm_text.h"
#include "cpe_dm_zeb_nas_derive.h"
#include "times.h"
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cstring>

const std::array<facts_signal, FACTS_SIGNALS> facts_signals = {{
    {CPE_DM_METRIC_LTE_RSRP, "LTE RSRP"},
    {CPE_DM_METRIC_LTE_RSRQ, "LTE RSRQ"},
    {CPE_DM_METRIC_LTE_SINR, "LTE SINR"},
    {CPE_DM_METRIC_NR5G_RSRP, "NR 5G RSRP"},
    {CPE_DM_METRIC_NR5G_RSRQ, "NR 5G RSRQ"},
    {CPE_DM_METRIC_NR5G_SINR, "NR 5G SINR"},
}};

namespace {

/* The spans of one kind in the order of time. While `open` is true, the state of the last span still lasts. */
struct track {
    std::vector<facts_span> &spans;
    bool open = false;
};

/* Notes that this state holds at `us`: extends the open span up to `us`, and begins a new span unless the open span has
 * the same state. */
void track_state(track &t, uint64_t us, size_t line, std::string text, std::string more) {
    if (t.open) {
        t.spans.back().to_us = us;
        if (t.spans.back().text == text && t.spans.back().more == more) {
            return;
        }
    }
    t.spans.push_back({us, us, line, std::move(text), std::move(more)});
    t.open = true;
}

void track_end(track &t, uint64_t us) {
    if (t.open) {
        t.spans.back().to_us = us;
    }
    t.open = false;
}

struct gathering {
    const session &s;
    facts &out;
    track registration;
    track lte;
    track nr5g;
    track absence;
};

std::string number_text(const message &m, const uint8_t *bytes, const char *key) {
    const field *f = message_field(m, key);
    const uint8_t *base = bytes + m.body;
    return f != nullptr && field_present(*f, base) ? field_text(*f, field_at(*f, base, 0)) : "";
}

void add(std::string &text, const char *what, const std::string &value) {
    if (!value.empty()) {
        text += (text.empty() ? "" : ", ") + std::string(what) + " " + value;
    }
}

std::string mhz(uint32_t khz) {
    char text[CPE_DM_MHZ_TEXT_SIZE];
    return cpe_dm_mhz_text(text, sizeof(text), khz) + std::string(" MHz");
}

/* Notes the LTE serving cell that an answer reports. An answer without an LTE serving cell ends the time
 * span of the cell that was noted last. */
void see_lte_cell(gathering &g, const message &m, const uint8_t *bytes, uint64_t us, size_t line) {
    const auto pci = message_number(m, bytes, "lte.pci");
    if (!pci) {
        track_end(g.lte, us);
        return;
    }
    const auto earfcn = static_cast<uint32_t>(message_number(m, bytes, "lte.earfcn").value_or(0));
    const auto cgi = static_cast<uint32_t>(message_number(m, bytes, "lte.cgi").value_or(0));
    std::string more;
    add(more, "channel", std::to_string(earfcn));
    if (const uint32_t band = cpe_dm_lte_band(earfcn); band != 0) {
        more += " (band " + std::to_string(band) + ", " + mhz(cpe_dm_lte_khz(earfcn)) + ")";
    }
    if (cgi != 0) {
        add(more, "base station", std::to_string(cpe_dm_lte_cgi_enb(cgi)));
        add(more, "cell", std::to_string(cpe_dm_lte_cgi_cell(cgi)));
    }
    add(more, "network", number_text(m, bytes, "lte.plmn"));
    add(more, "TAC", number_text(m, bytes, "lte.tac"));
    track_state(g.lte, us, line, "PCI " + std::to_string(*pci), more);
}

void see_nr5g_cell(gathering &g, const message &m, const uint8_t *bytes, uint64_t us, size_t line) {
    const auto pci = message_number(m, bytes, "nr5g.pci");
    const auto arfcn = message_number(m, bytes, "nr5g.arfcn");
    if (!pci && !arfcn) {
        return; // the span stays open: in EN-DC, only the system information reports the NR 5G cell
    }
    std::string more;
    if (arfcn) {
        add(more, "channel", std::to_string(*arfcn));
        const uint32_t khz = cpe_dm_nr5g_khz(static_cast<uint32_t>(*arfcn));
        more += khz != 0 ? " (" + mhz(khz) + ")" : "";
    }
    add(more, "CGI", number_text(m, bytes, "nr5g.cgi"));
    add(more, "network", number_text(m, bytes, "nr5g.plmn"));
    add(more, "TAC", number_text(m, bytes, "nr5g.tac"));
    std::string text = pci ? "PCI " + std::to_string(*pci) : "";
    if (!pci && g.nr5g.open) {
        text = g.nr5g.spans.back().text; // the answer has no PCI: it is about the cell of the open span
    }
    text = text.empty() ? "attached" : text;
    if (g.nr5g.open && g.nr5g.spans.back().text == text && g.nr5g.spans.back().more.empty()) {
        g.nr5g.spans.back().more = more;
    }
    track_state(g.nr5g, us, line, text, more);
}

void see_sys_info(gathering &g, const message &m, const uint8_t *bytes, uint64_t us, size_t line) {
    zeb_nas_sys_info info;
    std::memcpy(&info, bytes + m.body, sizeof(info));
    const uint32_t status = cpe_dm_zeb_nas_derive(info);
    track_state(g.registration, us, line, cpe_dm_reg_status_name(status), "");
    if (status != CPE_DM_REG_LTE && status != CPE_DM_REG_LTE_NR5G) {
        track_end(g.lte, us);
    }
    if (status != CPE_DM_REG_LTE_NR5G && status != CPE_DM_REG_NR5G) {
        track_end(g.nr5g, us);
    }
    const auto pci = message_number(m, bytes, "nr5g.pci");
    const std::string text = pci ? "PCI " + std::to_string(*pci) : "";
    if (pci && (!g.nr5g.open || g.nr5g.spans.back().text != text)) {
        track_state(g.nr5g, us, line, text, "");
    }
}

void see_signal(gathering &g, const message &m, const uint8_t *bytes, uint64_t us, size_t line) {
    facts_sample sample = {us, line, {}};
    for (size_t i = 0; i < FACTS_SIGNALS; i++) {
        const char *key = cpe_dm_metric_by_id(facts_signals[i].metric)->key;
        sample.values[i] = static_cast<int32_t>(message_number(m, bytes, key).value_or(FACTS_NO_VALUE));
    }
    g.out.samples.push_back(sample);
}

void see_message(gathering &g, const recording_entry &entry, uint64_t us, size_t line) {
    const session_message answer = session_answer(entry);
    if (answer.what == nullptr) {
        return;
    }
    const uint8_t *bytes = answer.bytes.data();
    switch (answer.what->id) {
    case ZEB_NAS_GET_SYS_INFO:
    case ZEB_NAS_SYS_INFO_IND:
        see_sys_info(g, *answer.what, bytes, us, line);
        break;
    case ZEB_NAS_GET_SIG_INFO:
    case ZEB_NAS_SIG_INFO_IND:
        see_signal(g, *answer.what, bytes, us, line);
        break;
    case ZEB_NAS_GET_CELL_LOCATION_INFO:
        see_lte_cell(g, *answer.what, bytes, us, line);
        see_nr5g_cell(g, *answer.what, bytes, us, line);
        break;
    default:
        break;
    }
}

/* Notes an event, which says that the modem's service has come or gone. */
void see_event(gathering &g, const recording_entry &entry, size_t line) {
    g.out.events.push_back(line);
    if (entry.status == ZEB_EVENT_SERVICE_DOWN) {
        for (track *t : {&g.registration, &g.lte, &g.nr5g}) {
            track_end(*t, entry.begin_us);
        }
        track_state(g.absence, entry.begin_us, line, "the modem's service is gone", "");
    } else {
        g.out.restarts += g.absence.open ? 1U : 0U;
        track_end(g.absence, entry.begin_us);
    }
}

void count_message(gathering &g, zeb_message_type type, const session_line &line, size_t index) {
    const uint32_t id = line.entry->numbers[0];
    auto &messages = g.out.messages;
    auto found = std::find_if(messages.begin(), messages.end(),
                              [=](const facts_message &m) { return m.type == type && m.id == id; });
    if (found == messages.end()) {
        found = messages.insert(messages.end(), facts_message{.type = type, .id = id});
        found->slowest = index;
    }
    found->count++;
    if (facts_failed(line) && found->failed++ == 0) {
        found->first_failed = index;
    }
    found->undecoded += type == ZEB_MESSAGE_INDICATION && line.decoding == nullptr ? 1U : 0U;
    if (line.entry->took_us > found->slowest_us) {
        found->slowest_us = line.entry->took_us;
        found->slowest = index;
    }
}

void see_line(gathering &g, size_t index) {
    const session_line &line = g.s.lines[index];
    const recording_entry &entry = *line.entry;
    if (entry.kept) {
        return; // a line repeated from an earlier part does not tell when its call was made
    }
    if (facts_failed(line)) {
        g.out.failures.push_back(index);
    }
    if (facts_slow(line)) {
        g.out.slow.push_back(index);
    }
    if (entry.kind == recording_kind::EVENT) {
        see_event(g, entry, index);
    } else if (entry.kind == recording_kind::INDICATION) {
        count_message(g, ZEB_MESSAGE_INDICATION, line, index);
        if (line.decoding != nullptr) {
            see_message(g, *line.decoding, entry.begin_us, index);
        }
    } else if (entry.kind != recording_kind::CALL) {
        return;
    } else if (entry.call == zeb_call_kind::SEND) {
        count_message(g, ZEB_MESSAGE_REQUEST, line, index);
        if (!facts_failed(line)) {
            see_message(g, entry, entry.begin_us + entry.took_us, index);
        }
    } else if (entry.call == zeb_call_kind::CLIENT && entry.status == ZEB_NO_ERR) {
        g.out.registrations++;
    }
}

bool is_served(const std::string &status) {
    const std::array served = {CPE_DM_REG_LTE, CPE_DM_REG_LTE_NR5G, CPE_DM_REG_NR5G};
    return std::any_of(served.begin(), served.end(),
                       [&status](uint32_t number) { return status == cpe_dm_reg_status_name(number); });
}

/* Collects in out.outages the spans in which neither LTE nor NR 5G was in service and the spans in which the modem's
 * network access service was gone. Spans that overlap or touch become one span. */
void join_outages(facts &out) {
    std::vector<facts_span> all = out.absences;
    for (const facts_span &span : out.registration) {
        if (!is_served(span.text)) {
            all.push_back(span);
            all.back().text = "registration " + span.text;
        }
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const facts_span &a, const facts_span &b) { return a.from_us < b.from_us; });
    for (facts_span &span : all) {
        if (!out.outages.empty() && span.from_us <= out.outages.back().to_us) {
            facts_span &last = out.outages.back();
            last.to_us = std::max(last.to_us, span.to_us);
            last.text += last.text.ends_with(span.text) ? "" : ", " + span.text;
        } else {
            out.outages.push_back(std::move(span));
        }
    }
}

} // namespace

bool facts_failed(const session_line &line) {
    const recording_entry &entry = *line.entry;
    if (entry.kind == recording_kind::INDICATION) {
        return line.decoding != nullptr && line.decoding->status != ZEB_NO_ERR;
    }
    if (entry.kind != recording_kind::CALL) {
        return false;
    }
    switch (entry.call) {
    case zeb_call_kind::OBJECT:
        return entry.status == 0; // the status is 1 when the service object was found, otherwise 0
    case zeb_call_kind::LIST:
        return entry.status != ZEB_NO_ERR && entry.status != ZEB_SERVICE_ERR;
    case zeb_call_kind::SEND: {
        const std::vector<uint8_t> head = session_bytes(entry.out);
        const field &result = message_response_header[0];
        return entry.status != ZEB_NO_ERR || (head.size() >= sizeof(zeb_nas_resp_header) &&
                                              field_number(result, field_at(result, head.data(), 0)) != 0);
    }
    default:
        return entry.status != ZEB_NO_ERR;
    }
}

bool facts_slow(const session_line &line) {
    const recording_entry &entry = *line.entry;
    const bool wait = entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::WAIT;
    return !wait && !entry.kept && entry.took_us >= FACTS_SLOW_US;
}

bool facts_unreturned(const session_line &line) {
    constexpr uint64_t AT_THE_END_US = 1000000;
    const session_file &file = *line.file;
    const recording_entry &entry = *line.entry;
    const bool callback = entry.kind == recording_kind::INDICATION || entry.kind == recording_kind::EVENT;
    // If lines are missing, the `returned` line of the callback may be one of them. When the recording goes on after
    // the end of this file, the `returned` line of a callback near the end may come later.
    const bool goes_on = file.content.cut || file.continued || !file.content.end_reason.empty();
    const bool missing = file.content.lost_lines > 0 || (goes_on && entry.begin_us + AT_THE_END_US > file.end_us);
    return callback && file.content.version > 1 && !entry.returned && !missing;
}

facts facts_gather(const session &s) {
    facts out;
    gathering g = {s, out, {out.registration}, {out.lte_cells}, {out.nr5g_cells}, {out.absences}};
    bool first = true;
    for (size_t i = 0; i < s.lines.size(); i++) {
        const recording_entry &entry = *s.lines[i].entry;
        if (first) {
            out.from_us = out.to_us = entry.begin_us;
            first = false;
        }
        if (entry.begin_us >= out.to_us + FACTS_GAP_US) {
            out.gaps.push_back({out.to_us, entry.begin_us, i, "", ""});
        }
        see_line(g, i);
        out.to_us = std::max(out.to_us, entry.begin_us + entry.took_us);
    }
    for (track *t : {&g.registration, &g.lte, &g.nr5g, &g.absence}) {
        track_end(*t, out.to_us);
    }
    std::stable_sort(out.messages.begin(), out.messages.end(), [](const facts_message &a, const facts_message &b) {
        return std::pair(a.type, a.id) < std::pair(b.type, b.id);
    });
    std::stable_sort(out.samples.begin(), out.samples.end(),
                     [](const facts_sample &a, const facts_sample &b) { return a.us < b.us; });
    for (size_t i = 0; i < s.lines.size(); i++) {
        if (facts_unreturned(s.lines[i])) {
            out.unreturned.push_back(i);
        }
    }
    join_outages(out);
    return out;
}
