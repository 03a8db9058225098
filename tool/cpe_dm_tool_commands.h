/* The commands of cpe_dm. Each function runs one command, and returns the exit status of the program. */
#ifndef CPE_DM_TOOL_COMMANDS_H
#define CPE_DM_TOOL_COMMANDS_H

#include "cpe_dm_tool_options.h"

int cpe_dm_tool_status(const cpe_dm_tool_options *options);
int cpe_dm_tool_get(const cpe_dm_tool_options *options);
int cpe_dm_tool_scan(const cpe_dm_tool_options *options);
int cpe_dm_tool_watch(const cpe_dm_tool_options *options);
int cpe_dm_tool_check(const cpe_dm_tool_options *options);
int cpe_dm_tool_selftest(const cpe_dm_tool_options *options);
int cpe_dm_tool_metrics(const cpe_dm_tool_options *options);

#endif
