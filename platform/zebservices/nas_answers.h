/* Fills the messages of the network access service from a state of the scenario. The caller hands over a zero-filled
 * message. Groups of fields that describe a cell stay absent when there is no cell. Lock lists and scan results do not
 * depend on the service status. `moment` says when the signal is measured, as swings and ramps move the values. */
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
