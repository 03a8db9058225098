/* What the modem does without a request: it plays the timeline of its scenario, and sends the indications that result
 * from changes. */
#include "modem.h"
#include "nas_answers.h"
#include "zeb_wire.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <tuple>

namespace {

/* If a change of the timeline is overdue by more than this time, the process is assumed to have been stopped, for
 * example by a debugger. */
constexpr uint64_t STOOD_STILL_MS = 5000;

struct metric {
    bool valid;
    int32_t value;
};

/* Returns the metrics that a client can watch, in the order of modem_client::thresholds. */
std::array<metric, MODEM_METRICS> metrics_of(const zeb_nas_sig_info &info) {
    const bool lte = info.lte_sig_info_valid != 0;
    const bool nr5g = info.nr5g_sig_info_valid != 0;
    return {{{lte, info.lte_sig.rsrp},
             {lte, info.lte_sig.rsrq},
             {lte, info.lte_sig.snr},
             {nr5g, info.nr5g_sig.rsrp},
             {info.nr5g_rsrq_valid != 0, info.nr5g_rsrq},
             {nr5g, info.nr5g_sig.snr}}};
}

/* Whether `info` has to be sent to the client. It has to be sent when a watched metric is valid now, and either was not
 * valid when the client was told last, or has changed since then by its threshold or more. */
bool worth_telling(const modem_client &client, const zeb_nas_sig_info &info) {
    const auto now = metrics_of(info);
    const auto told = metrics_of(client.told_sig_info);
    for (size_t i = 0; i < MODEM_METRICS; i++) {
        if (client.thresholds[i] == 0 || !now[i].valid) {
            continue;
        }
        const auto moved = static_cast<uint32_t>(std::abs(now[i].value - told[i].value));
        if (!told[i].valid || moved >= client.thresholds[i]) {
            return true;
        }
    }
    return false;
}

bool watches_signal(const modem_client &client) {
    const auto &t = client.thresholds;
    return client.wants_sig_info && std::any_of(t.begin(), t.end(), [](uint32_t threshold) { return threshold != 0; });
}

void damage(std::vector<uint8_t> &encoded, scenario_damage how) {
    zeb_wire_header header;
    memcpy(&header, encoded.data(), sizeof(header));
    switch (how) {
    case scenario_damage::NONE:
        return;
    case scenario_damage::TRUNCATED:
        encoded.resize(encoded.size() / 2);
        break;
    case scenario_damage::LENGTH:
        header.length++;
        encoded.push_back(0);
        break;
    case scenario_damage::ID:
        header.id++;
        break;
    case scenario_damage::TYPE:
        header.type = ZEB_MESSAGE_RESPONSE;
        break;
    }
    memcpy(encoded.data(), &header, std::min(sizeof(header), encoded.size()));
}

void send_indication(modem &m, const modem_client &client, uint32_t msg_id, const void *structure, uint32_t size) {
    const scenario_fault fault = modem_next_fault(m, fault_moment::INDICATION, msg_id);
    try {
        std::vector<uint8_t> encoded = zeb_encode(ZEB_MESSAGE_INDICATION, msg_id, structure, size);
        damage(encoded, fault.damage);
        client.sink.indication(client.sink.owner, msg_id, std::move(encoded));
    } catch (const std::bad_alloc &) {
        return; // no memory: the indication is lost
    }
}

auto content(const zeb_nas_sys_info &info) {
    return std::tie(info.nr5g_srv_status_valid, info.nr5g_srv_status, info.nr5g_srv_domain, info.nr5g_srv_capability,
                    info.lte_srv_status_valid, info.lte_srv_status, info.lte_srv_domain, info.lte_srv_capability,
                    info.nr5g_pci_valid, info.nr5g_pci);
}

void tell_sys_info(modem &m, modem_client &client) {
    zeb_nas_sys_info info = {};
    nas_fill_sys_info(modem_state(m), info);
    if (!client.wants_sys_info || content(info) == content(client.told_sys_info)) {
        return;
    }
    client.told_sys_info = info;
    send_indication(m, client, ZEB_NAS_SYS_INFO_IND, &info, sizeof(info));
}

/* Marks each metric that is missing in `info` as never told, so that the client is told when the metric comes back. */
void forget_missing(zeb_nas_sig_info &told, const zeb_nas_sig_info &info) {
    told.lte_sig_info_valid = told.lte_sig_info_valid && info.lte_sig_info_valid;
    told.nr5g_sig_info_valid = told.nr5g_sig_info_valid && info.nr5g_sig_info_valid;
    told.nr5g_rsrq_valid = told.nr5g_rsrq_valid && info.nr5g_rsrq_valid;
}

void tell_sig_info(modem &m, modem_client &client) {
    zeb_nas_sig_info info = {};
    nas_fill_sig_info(modem_state(m), modem_moment(m), info);
    forget_missing(client.told_sig_info, info);
    if (!client.wants_sig_info || !worth_telling(client, info)) {
        return;
    }
    client.told_sig_info = info;
    send_indication(m, client, ZEB_NAS_SIG_INFO_IND, &info, sizeof(info));
}

void end_scan(modem &m) {
    if (!m.scan.running || m.scan.lost || m.scan.end_ms > m.now_ms) {
        return;
    }
    m.scan.running = false;
    zeb_nas_scan_result_ind ind = {};
    ind.scan_status = m.scan.status;
    if (m.scan.status == 0) {
        nas_fill_scan_result(modem_state(m), m.scan.network_type, ind);
    }
    // at() finds the client, because modem_detach cancels the scan of a client that is released.
    send_indication(m, m.clients.at(m.scan.client), ZEB_NAS_SCAN_RESULT_IND, &ind, sizeof(ind));
}

void set_presence(modem &m, bool present) {
    if (present == m.present) {
        return;
    }
    m.present = present;
    m.scan.running = m.scan.running && present;
    for (auto &[peer, client] : m.clients) {
        client.sink.event(client.sink.owner, present ? ZEB_EVENT_SERVICE_UP : ZEB_EVENT_SERVICE_DOWN);
    }
    m.changed.notify_all();
}

void play_moment(modem &m) {
    set_presence(m, m.now_ms >= m.plan.appear_ms && modem_state(m).present);
    if (!m.present) {
        return;
    }
    for (auto &[peer, client] : m.clients) {
        tell_sys_info(m, client);
        tell_sig_info(m, client);
    }
    end_scan(m);
}

/* Returns the time at which the timeline started last; it starts again every `repeat_ms`, unless this is 0. */
uint64_t round_start(const scenario &plan, uint64_t now_ms) {
    return plan.repeat_ms == 0 ? 0 : now_ms / plan.repeat_ms * plan.repeat_ms;
}

uint64_t last_tick(const modem &m) {
    return m.now_ms / m.plan.tick_ms * m.plan.tick_ms;
}

uint64_t next_change(const scenario &plan, uint64_t now_ms) {
    const uint64_t round = round_start(plan, now_ms);
    for (const scenario_state &state : plan.states) {
        if (round + state.at_ms > now_ms) {
            return round + state.at_ms;
        }
    }
    return plan.repeat_ms == 0 ? UINT64_MAX : round + plan.repeat_ms;
}

} // namespace

const scenario_state &modem_state(const modem &m) {
    const uint64_t time = m.now_ms - round_start(m.plan, m.now_ms);
    const auto later = std::upper_bound(m.plan.states.begin(), m.plan.states.end(), time,
                                        [](uint64_t t, const scenario_state &state) { return t < state.at_ms; });
    return *(later - 1);
}

scenario_moment modem_moment(const modem &m) {
    const uint64_t tick = last_tick(m);
    const uint64_t round = round_start(m.plan, m.now_ms);
    return {tick, tick > round ? tick - round : 0};
}

void modem_mark_told(const modem &m, modem_client &client) {
    client.told_sys_info = {};
    client.told_sig_info = {};
    nas_fill_sys_info(modem_state(m), client.told_sys_info);
    nas_fill_sig_info(modem_state(m), modem_moment(m), client.told_sig_info);
}

uint64_t modem_next_due(const modem &m) {
    uint64_t due = next_change(m.plan, m.now_ms);
    if (m.plan.appear_ms > m.now_ms) {
        due = std::min<uint64_t>(due, m.plan.appear_ms);
    }
    if (m.scan.running && !m.scan.lost) {
        due = std::min(due, m.scan.end_ms);
    }
    const auto watches = [](const auto &entry) { return watches_signal(entry.second); };
    if (std::any_of(m.clients.begin(), m.clients.end(), watches)) {
        due = std::min(due, last_tick(m) + m.plan.tick_ms);
    }
    return due;
}

void modem_play(modem &m) {
    const auto elapsed = std::chrono::steady_clock::now() - m.switched_on;
    const auto now = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
    // Changes that were due while the process was stopped are not played one by one. The process goes on with the state
    // of this moment.
    if (const uint64_t due = modem_next_due(m); due < now && now - due > STOOD_STILL_MS) {
        m.now_ms = now;
        play_moment(m);
    }
    for (uint64_t due = modem_next_due(m); due <= now; due = modem_next_due(m)) {
        m.now_ms = due;
        play_moment(m);
    }
    m.now_ms = std::max(m.now_ms, now);
}
