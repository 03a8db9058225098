/* Fills the messages of the network access service from a state of the scenario. The caller passes a zero-filled
 * message. When there is no cell, groups of fields that describe a cell stay zero, and so are marked as not valid. Lock
 * lists and scan results do not depend on the service status. `moment` is the time at which the signal is measured: a
 * scenario can let the signal values change over time. */
#ifndef NAS_ANSWERS_H
#define NAS_ANSWERS_H

#include "scenario.h"

void nas_fill_sys_info(const scenario_state &state, zeb_nas_sys_info &info);
void nas_fill_sig_info(const scenario_state &state, const scenario_moment &moment, zeb_nas_sig_info &info);
void nas_fill_cell_location(const scenario_state &state, const scenario_moment &moment,
                            zeb_nas_cell_location_info_resp &resp);
void nas_fill_tx_rx_info(const scenario_state &state, uint32_t radio_if, zeb_nas_tx_rx_info_resp &resp);
void nas_fill_cqi_info(const scenario_state &state, uint32_t technology, zeb_nas_cqi_info_resp &resp);
void nas_fill_lte_locks(const scenario_state &state, zeb_nas_lte_cell_lock_list_resp &resp);
void nas_fill_nr5g_locks(const scenario_state &state, zeb_nas_nr5g_cell_lock_list_resp &resp);
void nas_fill_scan_result(const scenario_state &state, uint8_t network_type, zeb_nas_scan_result_ind &ind);

#endif
