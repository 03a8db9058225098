/* Metric requests and the printing of their results. */
#ifndef CPE_DM_CLIENT_RESULTS_H
#define CPE_DM_CLIENT_RESULTS_H

#include "cpe_dm.h"

#include <cstdint>

/* The result records, for metrics that need one. To be zeroed before a request. */
struct cpe_dm_client_results {
    cpe_dm_lte_cqi_info lte_cqi;
    cpe_dm_nr5g_cqi_info nr5g_cqi;
    cpe_dm_lte_cell_lock_list lte_locks;
    cpe_dm_nr5g_cell_lock_list nr5g_locks;
};

/* Turns *info, a zeroed record, into a request for the metric with this ID. Afterwards *info may point into
 * *results. */
void cpe_dm_client_fill_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results);

/* Prints the result of a successful request; prints nothing for a metric without a result. When the request was part of
 * a list (`listed`), a lack of LTE cell locks is printed with another text. */
void cpe_dm_client_print_result(const cpe_dm_info *info, const cpe_dm_client_results *results, bool listed);

#endif
