/* The virtual modem: how it is switched on, its clients, and the answers to their requests. */
#include "modem.h"
#include "nas_answers.h"
#include "zeb_thread.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <pthread.h>

namespace {

/* Error codes that the handlers of requests return. A code other than NAS_ACCEPTED goes into the `error` field of the
 * response header, and the header's `result` is 1. */
enum : uint32_t {
    NAS_ACCEPTED = 0,
    NAS_FIELD_MISSING = 1,
    NAS_FIELD_INVALID = 2,
    NAS_BUSY = 3,
};

using handler = uint32_t (*)(modem &m, uint64_t peer, const void *req, void *resp);

/* Reads the scenario file that ZEB_SCENARIO names, or the built-in scenario when the variable is unset or empty. When
 * the scenario is not valid, prints the reason on standard error and returns false. Throws std::bad_alloc; the caller
 * may then call again. */
bool read_scenario(scenario &plan) {
    const char *name = getenv("ZEB_SCENARIO"); // NOLINT(concurrency-mt-unsafe): no thread calls setenv meanwhile
    std::string error;
    const bool usable = name == nullptr || *name == '\0'
                            ? scenario_parse(scenario_default_text, "(built-in scenario)", plan, error)
                            : scenario_read(name, plan, error);
    if (!usable) {
        fprintf(stderr, "%s\nthe scenario is refused: there is no network access service\n", error.c_str());
    }
    return usable;
}

/* The body of the modem's thread: plays the changes of the scenario when they are due. modem_request also plays the
 * changes that are due, so the thread is needed only for changes that become due while no client makes a request. */
void run_timer(modem *m) {
    std::unique_lock guard(m->lock);
    for (;;) {
        modem_play(*m);
        const uint64_t due = modem_next_due(*m);
        if (due == UINT64_MAX) {
            m->changed.wait(guard);
        } else {
            m->changed.wait_until(guard, m->switched_on + std::chrono::milliseconds(due));
        }
    }
}

/* The modem is never destroyed, because its thread and the clients may still use it while the process exits. */
std::atomic<modem *> the_modem = nullptr;
std::mutex switch_lock; /* held by the thread that creates the modem; guards the next two variables */
bool refused = false;
/* Null except in a child of fork, which reads only the members `plan` and `switched_on`. */
const modem *parents_modem = nullptr;

/* Creates the modem. In a child of fork the modem goes on with the scenario of the parent's modem. Returns null when
 * the scenario is refused. */
std::unique_ptr<modem> make_modem() {
    auto m = std::make_unique<modem>();
    if (parents_modem != nullptr) {
        m->plan = parents_modem->plan;
        m->switched_on = parents_modem->switched_on;
    } else if (!read_scenario(m->plan)) {
        return nullptr;
    } else {
        m->switched_on = std::chrono::steady_clock::now();
    }
    m->occurrences.resize(m->plan.faults.size());
    m->present = m->plan.appear_ms == 0;
    return m;
}

/* Runs in a child of fork. The thread of the parent's modem does not exist in the child, and the lock of that modem may
 * stay locked for ever. So the child forgets that modem, and later creates its own. */
void forget_parent() {
    new (&switch_lock) std::mutex;
    parents_modem = the_modem != nullptr ? the_modem.load() : parents_modem;
    the_modem = nullptr;
}

[[maybe_unused]] const int child_handler = pthread_atfork(nullptr, nullptr, forget_parent);

/* Returns the modem; in a child of fork, the first call creates it. The scenario cannot be refused here, because the
 * callers have the service object, which is returned only after a scenario was accepted. */
modem &modem_in_use() {
    modem_switch_on();
    return *the_modem;
}

bool is_flag(uint8_t value) {
    return value <= 1;
}

uint32_t register_indications(modem &m, uint64_t peer, const void *req, void *) {
    const auto &r = *static_cast<const zeb_nas_indication_register_req *>(req);
    modem_client &client = m.clients.at(peer);
    if (r.sys_info_valid == 0 && r.sig_info_valid == 0) {
        return NAS_FIELD_MISSING;
    }
    if (!is_flag(r.sys_info_valid) || !is_flag(r.sys_info) || !is_flag(r.sig_info_valid) || !is_flag(r.sig_info)) {
        return NAS_FIELD_INVALID;
    }
    if (r.sys_info_valid) {
        client.wants_sys_info = r.sys_info;
    }
    if (r.sig_info_valid) {
        client.wants_sig_info = r.sig_info;
    }
    modem_mark_told(m, client);
    return NAS_ACCEPTED;
}

uint32_t configure_signal(modem &m, uint64_t peer, const void *req, void *) {
    const auto &r = *static_cast<const zeb_nas_config_sig_info_req *>(req);
    const zeb_nas_threshold asked[MODEM_METRICS] = {r.lte_rsrp,  r.lte_rsrq,  r.lte_snr,
                                                    r.nr5g_rsrp, r.nr5g_rsrq, r.nr5g_snr};
    modem_client &client = m.clients.at(peer);
    for (const zeb_nas_threshold &threshold : asked) {
        if (!is_flag(threshold.valid)) {
            return NAS_FIELD_INVALID;
        }
    }
    // A `delta` of 0 counts as 1: the client is told of every change. In `thresholds`, 0 means that the metric is not
    // watched.
    for (size_t i = 0; i < MODEM_METRICS; i++) {
        client.thresholds[i] = asked[i].valid ? std::max<uint32_t>(asked[i].delta, 1) : 0;
    }
    modem_mark_told(m, client);
    return NAS_ACCEPTED;
}

uint32_t get_cell_location(modem &m, uint64_t, const void *, void *resp) {
    nas_fill_cell_location(modem_state(m), modem_moment(m), *static_cast<zeb_nas_cell_location_info_resp *>(resp));
    return NAS_ACCEPTED;
}

uint32_t get_sys_info(modem &m, uint64_t, const void *, void *resp) {
    nas_fill_sys_info(modem_state(m), static_cast<zeb_nas_sys_info_resp *>(resp)->info);
    return NAS_ACCEPTED;
}

uint32_t get_sig_info(modem &m, uint64_t, const void *, void *resp) {
    nas_fill_sig_info(modem_state(m), modem_moment(m), static_cast<zeb_nas_sig_info_resp *>(resp)->info);
    return NAS_ACCEPTED;
}

uint32_t get_tx_rx_info(modem &m, uint64_t, const void *req, void *resp) {
    const uint32_t radio_if = static_cast<const zeb_nas_tx_rx_info_req *>(req)->radio_if;
    if (radio_if != ZEB_NAS_RADIO_IF_LTE && radio_if != ZEB_NAS_RADIO_IF_NR5G) {
        return NAS_FIELD_INVALID;
    }
    nas_fill_tx_rx_info(modem_state(m), radio_if, *static_cast<zeb_nas_tx_rx_info_resp *>(resp));
    return NAS_ACCEPTED;
}

uint32_t get_cqi_info(modem &m, uint64_t, const void *req, void *resp) {
    const auto &r = *static_cast<const zeb_nas_cqi_info_req *>(req);
    if (r.technology_valid == 0) {
        return NAS_FIELD_MISSING;
    }
    if (!is_flag(r.technology_valid) || (r.technology != ZEB_NAS_CQI_LTE && r.technology != ZEB_NAS_CQI_NR5G)) {
        return NAS_FIELD_INVALID;
    }
    nas_fill_cqi_info(modem_state(m), r.technology, *static_cast<zeb_nas_cqi_info_resp *>(resp));
    return NAS_ACCEPTED;
}

uint32_t get_lte_locks(modem &m, uint64_t, const void *, void *resp) {
    nas_fill_lte_locks(modem_state(m), *static_cast<zeb_nas_lte_cell_lock_list_resp *>(resp));
    return NAS_ACCEPTED;
}

uint32_t get_nr5g_locks(modem &m, uint64_t, const void *, void *resp) {
    nas_fill_nr5g_locks(modem_state(m), *static_cast<zeb_nas_nr5g_cell_lock_list_resp *>(resp));
    return NAS_ACCEPTED;
}

uint32_t start_scan(modem &m, uint64_t peer, const void *req, void *) {
    const auto &r = *static_cast<const zeb_nas_incremental_scan_req *>(req);
    if (r.network_type_valid == 0 || r.scan_type_valid == 0) {
        return NAS_FIELD_MISSING;
    }
    if (!is_flag(r.network_type_valid) || !is_flag(r.scan_type_valid) ||
        (r.network_type != ZEB_NAS_NETWORK_TYPE_LTE && r.network_type != ZEB_NAS_NETWORK_TYPE_NR5G) ||
        r.scan_type != ZEB_NAS_SCAN_TYPE_INCREMENTAL) {
        return NAS_FIELD_INVALID;
    }
    if (m.scan.running) {
        return NAS_BUSY;
    }
    const scenario_fault fault = modem_next_fault(m, fault_moment::SCAN, ZEB_NAS_PERFORM_INCREMENTAL_SCAN);
    m.scan = {true, fault.scan_lost, m.now_ms + m.plan.scan_delay_ms, peer, r.network_type, fault.scan_status};
    return NAS_ACCEPTED;
}

handler handler_of(uint32_t msg_id) {
    static constexpr struct {
        uint32_t msg_id;
        handler run;
    } HANDLERS[] = {
        {ZEB_NAS_INDICATION_REGISTER, register_indications},
        {ZEB_NAS_GET_CELL_LOCATION_INFO, get_cell_location},
        {ZEB_NAS_GET_SYS_INFO, get_sys_info},
        {ZEB_NAS_GET_SIG_INFO, get_sig_info},
        {ZEB_NAS_GET_TX_RX_INFO, get_tx_rx_info},
        {ZEB_NAS_CONFIG_SIG_INFO, configure_signal},
        {ZEB_NAS_PERFORM_INCREMENTAL_SCAN, start_scan},
        {ZEB_NAS_GET_LTE_CELL_LOCK_LIST, get_lte_locks},
        {ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, get_nr5g_locks},
        {ZEB_NAS_GET_CQI_INFO, get_cqi_info},
    };
    for (const auto &entry : HANDLERS) {
        if (entry.msg_id == msg_id) {
            return entry.run;
        }
    }
    return nullptr;
}

/* Returns the error status for a request of this peer that cannot be answered at the moment, or ZEB_NO_ERR when it can
 * be answered. */
int32_t unreachable(const modem &m, uint64_t peer) {
    if (!m.clients.contains(peer)) {
        return ZEB_TRANSPORT_ERR;
    }
    return m.present ? ZEB_NO_ERR : ZEB_SERVICE_ERR;
}

} // namespace

bool modem_switch_on() {
    if (the_modem != nullptr) {
        return true;
    }
    std::lock_guard guard(switch_lock);
    if (the_modem == nullptr && !refused) {
        std::unique_ptr<modem> m = make_modem();
        refused = m == nullptr;
        if (m != nullptr) {
            zeb_start_thread([timed = m.get()] { run_timer(timed); }).detach();
            the_modem = m.release();
        }
    }
    return the_modem != nullptr;
}

scenario_fault modem_next_fault(modem &m, fault_moment moment, uint32_t message) {
    const scenario_fault *striking = nullptr;
    for (size_t i = 0; i < m.plan.faults.size(); i++) {
        const scenario_fault &fault = m.plan.faults[i];
        if (fault.moment != moment || fault.message != message) {
            continue;
        }
        const uint32_t occurrence = ++m.occurrences[i];
        const bool strikes = occurrence >= fault.nth && (fault.count == 0 || occurrence - fault.nth < fault.count);
        if (strikes && striking == nullptr) {
            striking = &fault;
        }
    }
    return striking == nullptr ? scenario_fault{} : *striking;
}

bool modem_wait_present(uint32_t timeout_ms) {
    modem &m = modem_in_use();
    std::unique_lock guard(m.lock);
    modem_play(m);
    return m.changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), [&m] { return m.present; });
}

uint64_t modem_attach(const zeb_sink &sink) {
    modem &m = modem_in_use();
    std::lock_guard guard(m.lock);
    modem_play(m);
    modem_client client;
    client.sink = sink;
    m.clients.emplace(m.last_client + 1, client);
    return ++m.last_client;
}

void modem_detach(uint64_t peer) {
    modem &m = modem_in_use();
    std::lock_guard guard(m.lock);
    m.clients.erase(peer);
    if (m.scan.client == peer) {
        m.scan = {};
    }
    m.changed.notify_all();
}

int32_t modem_request(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms) {
    modem &m = modem_in_use();
    std::unique_lock guard(m.lock);
    modem_play(m);
    if (const int32_t status = unreachable(m, peer); status != ZEB_NO_ERR) {
        return status;
    }
    const scenario_fault fault = modem_next_fault(m, fault_moment::REQUEST, msg_id);
    if (fault.status != ZEB_NO_ERR) {
        return fault.status;
    }
    if (fault.delay_ms > 0) {
        const auto wait = std::chrono::milliseconds(std::min(fault.delay_ms, timeout_ms));
        m.changed.wait_for(guard, wait, [&m, peer] { return unreachable(m, peer) != ZEB_NO_ERR; });
        modem_play(m);
        if (const int32_t status = unreachable(m, peer); status != ZEB_NO_ERR) {
            return status;
        }
        if (fault.delay_ms > timeout_ms) {
            return ZEB_TIMEOUT_ERR;
        }
    }
    auto &header = *static_cast<zeb_nas_resp_header *>(resp);
    if (fault.result != 0) {
        header = {fault.result, fault.error};
        return ZEB_NO_ERR;
    }
    const handler run = handler_of(msg_id);
    if (run == nullptr) {
        return ZEB_UNKNOWN_MSG_ERR;
    }
    const uint32_t rejected = run(m, peer, req, resp);
    if (rejected != NAS_ACCEPTED) {
        header = {1, rejected};
    }
    m.changed.notify_all(); // the request may have changed the time at which run_timer has to wake up
    return ZEB_NO_ERR;
}
