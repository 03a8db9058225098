/* Metrics: what the modem's answers hold of them, and which of them wait for a scan. */
#ifndef CPE_DM_INTERFACE_METRICS_H
#define CPE_DM_INTERFACE_METRICS_H

#include "cpe_dm.h"

#include <cstdint>

/* Copies into the caller's record the metric of its id from the record that the modem's answer filled, which is of the
 * type that holds this metric. For CQI and cell lock lists the value points to the caller's record. Returns
 * CPE_DM_ERR_INFO_UNAVAILABLE (logged) when the answer lacks it, with value_type CPE_DM_VALUE_NONE;
 * CPE_DM_ERR_NOT_SUPPORTED for an ID that no answer serves. */
int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record);

/* Notes in the state, under the lock, that a neighbour metric was asked for. Returns 0, or CPE_DM_ERR_NOT_SUPPORTED
 * when the ID is not that of a neighbour metric. */
int32_t cpe_dm_mark_nbr_metric(uint32_t id);

#endif
