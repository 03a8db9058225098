/* Metrics: taking a metric from the modem's answer, and noting that a neighbour metric was asked for. */
#ifndef CPE_DM_INTERFACE_METRICS_H
#define CPE_DM_INTERFACE_METRICS_H

#include "cpe_dm.h"

#include <cstdint>

/* Copies one metric, dm_info->id, from `record` to dm_info. `record` is the cpe_dm_nas_... record that the query for
 * this metric has filled. For CQI and cell lock lists the value of dm_info points to the caller's result record.
 * Returns CPE_DM_ERR_INFO_UNAVAILABLE (logged), with value_type CPE_DM_VALUE_NONE, when `record` does not hold the
 * metric. Returns CPE_DM_ERR_NOT_SUPPORTED for an ID that no query serves. */
int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record);

/* Notes in the state that a neighbour metric was asked for. Called under the lock. Returns 0, or
 * CPE_DM_ERR_NOT_SUPPORTED when the ID is not that of a neighbour metric. */
int32_t cpe_dm_mark_nbr_metric(uint32_t id);

#endif
