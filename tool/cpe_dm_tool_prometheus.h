/* The newest values as a text file for Prometheus. */
#ifndef CPE_DM_TOOL_PROMETHEUS_H
#define CPE_DM_TOOL_PROMETHEUS_H

#include "cpe_dm_tool_asker.h"

/* Numbers of changes since the start. Other events are counted in the report. */
struct cpe_dm_tool_change_counts {
    uint32_t registration;
    uint32_t lte_cell;
    uint32_t nr5g_cell;
};

/* Adds the keys of the values in the file. */
void cpe_dm_tool_add_prometheus_keys(cpe_dm_tool_keys *keys);

/* Whether each label has the form NAME=VALUE. The value must be UTF-8. The name must be one that Prometheus allows, and
 * neither the file itself nor another label may use it. If a label is wrong, a message has been written. */
bool cpe_dm_tool_check_labels(const char *const *labels, int cnt);

/* Replaces the file in one step: a reader sees the whole old file or the whole new file. Returns 0 or an errno value.
 */
int cpe_dm_tool_write_prometheus(const char *path, const char *const *labels, int label_cnt,
                                 const cpe_dm_tool_report *report, const cpe_dm_tool_change_counts *changes);

#endif
