/* Functions that copy a metric from the modem's answer to the user's record, and that note in the module's state which
 * neighbour metrics were asked for. */
#ifndef CPE_DM_INTERFACE_METRICS_H
#define CPE_DM_INTERFACE_METRICS_H

#include "cpe_dm.h"

#include <cstdint>

/* Copies the metric whose ID is dm_info->id from `record` to *dm_info. `record` is the cpe_dm_nas_... record that the
 * query for this metric has filled. For CQI and cell lock lists, the value of dm_info already points to the caller's
 * result record, and the function fills that record. Returns CPE_DM_ERR_INFO_UNAVAILABLE (logged), with value_type
 * CPE_DM_VALUE_NONE, when `record` does not hold the metric. Returns CPE_DM_ERR_NOT_SUPPORTED when the ID is not that
 * of a serving cell metric or a cell lock list. */
int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record);

/* Sets the flags in the module's state that ask for a neighbour metric and for a scan of its technology. Called with
 * cpe_dm_lock held. Returns 0, or CPE_DM_ERR_NOT_SUPPORTED when the ID is not that of a neighbour metric. */
int32_t cpe_dm_mark_nbr_metric(uint32_t id);

#endif
