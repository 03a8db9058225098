/* Metric requests and the printing of their results. */
#ifndef CPE_DM_CLIENT_RESULTS_H
#define CPE_DM_CLIENT_RESULTS_H

#include "cpe_dm.h"

#include <cstdint>

/* The records that the module fills for the metrics that need one; zeroed before a request. */
struct cpe_dm_client_results {
    cpe_dm_lte_cqi_info lte_cqi;
    cpe_dm_nr5g_cqi_info nr5g_cqi;
    cpe_dm_lte_cell_lock_list lte_locks;
    cpe_dm_nr5g_cell_lock_list nr5g_locks;
};

/* Fills in the zeroed record info as a request for metric id; info may point into results afterwards. */
void cpe_dm_client_fill_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results);

/* Prints the result of a successful request; nothing for a metric without one. listed says that the request was
 * one of a list, which words the lack of LTE cell locks in its own way. */
void cpe_dm_client_print_result(const cpe_dm_info *info, const cpe_dm_client_results *results, bool listed);

#endif
