/* The newest values as a text file for Prometheus. */
#ifndef CPE_DM_TOOL_PROMETHEUS_H
#define CPE_DM_TOOL_PROMETHEUS_H

#include "cpe_dm_tool_asker.h"

/* Changes since the start. The report counts the other events. */
struct cpe_dm_tool_change_counts {
    uint32_t registration;
    uint32_t lte_cell;
    uint32_t nr5g_cell;
};

/* Adds the keys of the values in the file. */
void cpe_dm_tool_add_prometheus_keys(cpe_dm_tool_keys *keys);

/* Whether each label reads NAME=VALUE, with a value in UTF-8 and a name that Prometheus takes, that no other label has
 * and that the file does not use itself. If not, a message has been written. */
bool cpe_dm_tool_check_labels(const char *const *labels, int cnt);

/* Replaces the file in one step: a reader sees the whole old file or the whole new file. Returns 0 or an errno value.
 */
int cpe_dm_tool_write_prometheus(const char *path, const char *const *labels, int label_cnt,
                                 const cpe_dm_tool_report *report, const cpe_dm_tool_change_counts *changes);

#endif
