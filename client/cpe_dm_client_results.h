/* Metric requests and the printing of their results. */
#ifndef CPE_DM_CLIENT_RESULTS_H
#define CPE_DM_CLIENT_RESULTS_H

#include "cpe_dm.h"

#include <cstdint>

/* Memory for the results that do not fit into a cpe_dm_info. Must be zeroed before a request. */
struct cpe_dm_client_results {
    cpe_dm_lte_cqi_info lte_cqi;
    cpe_dm_nr5g_cqi_info nr5g_cqi;
    cpe_dm_lte_cell_lock_list lte_locks;
    cpe_dm_nr5g_cell_lock_list nr5g_locks;
};

/* Fills *info as a request for the metric `id`. *info must be zeroed before the call. If the metric needs a result
 * record, *info points into *results afterwards. */
void cpe_dm_client_fill_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results);

/* Prints the result of a successful request. Prints nothing for a metric that has no result in *info. `listed` says
 * whether the metric is one of a list request. A list request has its own text for an empty list of LTE cell locks. */
void cpe_dm_client_print_result(const cpe_dm_info *info, const cpe_dm_client_results *results, bool listed);

#endif
