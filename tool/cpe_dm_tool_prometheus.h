/* The newest values as a text file for Prometheus. */
#ifndef CPE_DM_TOOL_PROMETHEUS_H
#define CPE_DM_TOOL_PROMETHEUS_H

#include "cpe_dm_tool_asker.h"

/* How often the registration status and the serving cells have changed since `watch` started. Failed requests and new
 * registrations are counted in cpe_dm_tool_report. */
struct cpe_dm_tool_change_counts {
    uint32_t registration;
    uint32_t lte_cell;
    uint32_t nr5g_cell;
};

/* Adds the keys whose values are written to the file. */
void cpe_dm_tool_add_prometheus_keys(cpe_dm_tool_keys *keys);

/* Checks labels that the user gives. Each must have the form NAME=VALUE with a value in UTF-8. Prometheus must allow
 * the name. The name must differ from the names of the other labels, and from the names of the labels that the program
 * itself writes to the file. Returns false, after a message, when a label is wrong. */
bool cpe_dm_tool_check_labels(const char *const *labels, int cnt);

/* Writes the file with the newest values. Every sample gets these labels, which cpe_dm_tool_check_labels must have
 * accepted. The file is replaced in one step: a reader sees the whole old file or the whole new file. Returns 0 or an
 * errno value. */
int cpe_dm_tool_write_prometheus(const char *path, const char *const *labels, int label_cnt,
                                 const cpe_dm_tool_report *report, const cpe_dm_tool_change_counts *changes);

#endif
