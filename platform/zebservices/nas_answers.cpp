#include "nas_answers.h"

#include <algorithm>
#include <cstring>

namespace {

/* Whether a technology with this service status has a cell that can be measured. */
bool on_a_cell(int32_t srv_status) {
    return srv_status == ZEB_NAS_SRV_STATUS_LIMITED || srv_status == ZEB_NAS_SRV_STATUS_SRV ||
           srv_status == ZEB_NAS_SRV_STATUS_LIMITED_REGIONAL;
}

bool lte_cell(const scenario_state &state) {
    return on_a_cell(state.lte.srv_status);
}

bool nr5g_attached(const scenario_state &state) {
    return state.nr5g.attached && state.lte.srv_status == ZEB_NAS_SRV_STATUS_SRV;
}

bool nr5g_cell(const scenario_state &state) {
    return on_a_cell(state.nr5g.srv_status) || nr5g_attached(state);
}

/* Returns the deviation of a swinging value from its given value. In each period the deviation goes in straight lines
 * from 0 up to `range`, down to -`range` and back to 0. */
int32_t swing(int32_t range, uint32_t period_ms, uint64_t time_ms) {
    const auto phase = static_cast<int32_t>(4 * static_cast<uint64_t>(range) * (time_ms % period_ms) / period_ms);
    if (phase <= range) {
        return phase;
    }
    return phase <= 3 * range ? 2 * range - phase : phase - 4 * range;
}

int16_t measured(const scenario_value &value, int32_t range, const scenario_swing &s, const scenario_moment &moment) {
    return static_cast<int16_t>(scenario_value_at(value, moment.round_ms) + swing(range, s.period_ms, moment.total_ms));
}

template <typename T, size_t N> uint32_t copy_list(const std::vector<T> &from, T (&to)[N]) {
    const size_t count = std::min(from.size(), N);
    std::copy_n(from.begin(), count, to);
    return static_cast<uint32_t>(count);
}

} // namespace

void nas_fill_sys_info(const scenario_state &state, zeb_nas_sys_info &info) {
    const scenario_lte &lte = state.lte;
    const scenario_nr5g &nr5g = state.nr5g;
    if (nr5g.srv_status != SCENARIO_ABSENT) {
        info.nr5g_srv_status_valid = 1;
        info.nr5g_srv_status = static_cast<uint32_t>(nr5g.srv_status);
        info.nr5g_srv_domain = nr5g.srv_domain;
        info.nr5g_srv_capability = nr5g.srv_capability;
    }
    if (lte.srv_status != SCENARIO_ABSENT) {
        info.lte_srv_status_valid = 1;
        info.lte_srv_status = static_cast<uint32_t>(lte.srv_status);
        info.lte_srv_domain = lte.srv_domain;
        info.lte_srv_capability = lte.srv_capability;
    }
    if (nr5g_attached(state)) {
        info.nr5g_pci_valid = 1;
        info.nr5g_pci = nr5g.pci;
    }
}

void nas_fill_sig_info(const scenario_state &state, const scenario_moment &moment, zeb_nas_sig_info &info) {
    const scenario_lte &lte = state.lte;
    const scenario_nr5g &nr5g = state.nr5g;
    if (lte_cell(state)) {
        info.lte_sig_info_valid = 1;
        info.lte_sig.rssi = lte.rssi;
        info.lte_sig.rsrq = static_cast<int8_t>(measured(lte.rsrq, lte.swing.rsrq, lte.swing, moment));
        info.lte_sig.rsrp = measured(lte.rsrp, lte.swing.rsrp, lte.swing, moment);
        info.lte_sig.snr = measured(lte.snr, lte.swing.snr, lte.swing, moment);
    }
    if (nr5g_cell(state)) {
        info.nr5g_sig_info_valid = 1;
        info.nr5g_sig.rsrp = measured(nr5g.rsrp, nr5g.swing.rsrp, nr5g.swing, moment);
        info.nr5g_sig.snr = measured(nr5g.snr, nr5g.swing.snr, nr5g.swing, moment);
    }
    if (nr5g_cell(state) && nr5g.rsrq_reported) {
        info.nr5g_rsrq_valid = 1;
        info.nr5g_rsrq = measured(nr5g.rsrq, nr5g.swing.rsrq, nr5g.swing, moment);
    }
}

/* In `lte_intra.cells`, the list of cells on the serving cell's frequency, the serving cell itself is the last
 * entry. */
void nas_fill_cell_location(const scenario_state &state, const scenario_moment &moment,
                            zeb_nas_cell_location_info_resp &resp) {
    const scenario_lte &lte = state.lte;
    const scenario_nr5g &nr5g = state.nr5g;
    if (lte_cell(state)) {
        resp.lte_intra_valid = 1;
        memcpy(resp.lte_intra.plmn_id, lte.plmn, sizeof(lte.plmn));
        resp.lte_intra.tac = lte.tac;
        resp.lte_intra.cgi = lte.cgi;
        resp.lte_intra.earfcn = lte.earfcn;
        resp.lte_intra.serving_cell_id = lte.pci;
        const uint32_t others = copy_list(lte.intra, resp.lte_intra.cells);
        resp.lte_intra.cells[others] = {lte.pci,
                                        measured(lte.rsrq, lte.swing.rsrq, lte.swing, moment),
                                        measured(lte.rsrp, lte.swing.rsrp, lte.swing, moment),
                                        {}};
        resp.lte_intra.cells_len = others + 1;
    }
    if (nr5g_cell(state)) {
        resp.nr5g_serving_cell_info_valid = 1;
        memcpy(resp.nr5g_serving.plmn_id, nr5g.plmn, sizeof(nr5g.plmn));
        memcpy(resp.nr5g_serving.tac, nr5g.tac, sizeof(nr5g.tac));
        resp.nr5g_serving.cgi = nr5g.cgi;
        resp.nr5g_serving.pci = nr5g.pci;
        resp.nr5g_serving.rsrq = measured(nr5g.rsrq, nr5g.swing.rsrq, nr5g.swing, moment);
        resp.nr5g_serving.rsrp = measured(nr5g.rsrp, nr5g.swing.rsrp, nr5g.swing, moment);
        resp.nr5g_serving.snr = static_cast<int16_t>(measured(nr5g.snr, nr5g.swing.snr, nr5g.swing, moment) / 10);
        resp.nr5g_arfcn_valid = nr5g.arfcn.has_value();
        resp.nr5g_arfcn = nr5g.arfcn.value_or(0);
    }
}

void nas_fill_tx_rx_info(const scenario_state &state, uint32_t radio_if, zeb_nas_tx_rx_info_resp &resp) {
    const bool lte = radio_if == ZEB_NAS_RADIO_IF_LTE;
    const bool cell = lte ? lte_cell(state) : nr5g_cell(state);
    const std::optional<int32_t> power = lte ? state.lte.tx_power : state.nr5g.tx_power;
    if (cell && power) {
        resp.tx_valid = 1;
        resp.tx_pwr = *power;
    }
}

void nas_fill_cqi_info(const scenario_state &state, uint32_t technology, zeb_nas_cqi_info_resp &resp) {
    if (technology == ZEB_NAS_CQI_LTE && lte_cell(state) && state.lte.cqi) {
        resp.lte_cc_cqi_valid = 1;
        resp.lte_cc_cqi_len = copy_list(*state.lte.cqi, resp.lte_cc_cqi);
    }
    if (technology == ZEB_NAS_CQI_NR5G && nr5g_cell(state) && state.nr5g.cqi) {
        resp.nr5g_cc_cqi_valid = 1;
        resp.nr5g_cc_cqi_len = copy_list(*state.nr5g.cqi, resp.nr5g_cc_cqi);
    }
}

void nas_fill_lte_locks(const scenario_state &state, zeb_nas_lte_cell_lock_list_resp &resp) {
    if (state.lte.lock) {
        resp.lte_cell_list_valid = 1;
        resp.lte_cell_list_len = copy_list(*state.lte.lock, resp.lte_cell_list);
    }
}

void nas_fill_nr5g_locks(const scenario_state &state, zeb_nas_nr5g_cell_lock_list_resp &resp) {
    const scenario_nr5g &nr5g = state.nr5g;
    if (nr5g.lock_cell || nr5g.lock_arfcns) {
        resp.type_valid = 1;
        resp.type = nr5g.lock_cell ? 0 : 1;
    }
    if (nr5g.lock_cell) {
        resp.cell_identity_valid = 1;
        resp.pci = nr5g.lock_cell->pci;
        resp.arfcn = nr5g.lock_cell->arfcn;
    }
    if (nr5g.lock_arfcns) {
        resp.arfcn_identity_valid = 1;
        for (const uint32_t arfcn : *nr5g.lock_arfcns) {
            resp.arfcn_list[resp.arfcn_list_len++].arfcn = arfcn;
        }
    }
}

/* The scenario lists the strongest neighbour first, and the message keeps this order. */
void nas_fill_scan_result(const scenario_state &state, uint8_t network_type, zeb_nas_scan_result_ind &ind) {
    if (network_type == ZEB_NAS_NETWORK_TYPE_LTE) {
        ind.lte_valid = 1;
        for (const scenario_lte_neighbour &neighbour : state.lte.neighbours) {
            ind.lte.nbr[ind.lte.nbr_len++] = neighbour;
        }
        if (!state.lte.neighbours.empty()) {
            ind.lte.highest_sig_rsrp = state.lte.neighbours.front().rsrp;
            ind.lte.highest_sig_rsrq = state.lte.neighbours.front().rsrq;
        }
    } else {
        ind.nr5g_valid = 1;
        ind.nr5g.nbr_len = copy_list(state.nr5g.neighbours, ind.nr5g.nbr);
    }
}
