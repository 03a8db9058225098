/* The newest values as a text file for Prometheus. */
#ifndef CPE_DM_TOOL_PROMETHEUS_H
#define CPE_DM_TOOL_PROMETHEUS_H

#include "cpe_dm_tool_asker.h"

/* Counts since the start, besides those of the report. */
struct cpe_dm_tool_change_counts {
    uint32_t registration;
    uint32_t lte_cell;
    uint32_t nr5g_cell;
};

/* The values that the file tells of. */
void cpe_dm_tool_add_prometheus_keys(cpe_dm_tool_keys *keys);

/* Whether each label reads NAME=VALUE, with a name that Prometheus takes and that is not one of the file's own; what is
 * wrong has been told. */
bool cpe_dm_tool_check_labels(const char *const *labels, int cnt);

/* Writes the file anew, in the place of the old one and at one stroke: a reader sees the old one or the new one.
 * Returns 0 or an errno value. */
int cpe_dm_tool_write_prometheus(const char *path, const char *const *labels, int label_cnt,
                                 const cpe_dm_tool_report *report, const cpe_dm_tool_change_counts *changes);

#endif
