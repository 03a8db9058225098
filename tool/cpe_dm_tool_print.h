/* Texts for people: values in words, and messages about missing values. */
#ifndef CPE_DM_TOOL_PRINT_H
#define CPE_DM_TOOL_PRINT_H

#include "cpe_dm_tool_values.h"

/* A registration status in words: "LTE with NR 5G attached". */
const char *cpe_dm_tool_reg_words(uint32_t reg_status);

/* Whether the modem is served by a cell of this technology (a cpe_dm_tech) in this registration status. */
bool cpe_dm_tool_serves(uint32_t reg_status, uint32_t tech);

/* The name of a technology (a cpe_dm_tech): "LTE" or "NR 5G". */
const char *cpe_dm_tool_tech_name(uint32_t tech);

/* Adds the serving cell in words: "base station 107216, cell 1, PCI 301". Leaves out what the modem does not report. */
void cpe_dm_tool_add_cell_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* Adds the channel in words: "1300: band 3, 1815 MHz; or 66836: band 66, 2150 MHz". The part after "or" is a second
 * channel that is possible because the modem reports only 16 bits of an EARFCN. */
void cpe_dm_tool_add_channel_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* Adds the network in words: "123-45, tracking area 4660". */
void cpe_dm_tool_add_network_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* Writes a message about a missing value: why the value is missing, and what to do. */
void cpe_dm_tool_tell_missing(const char *name, int32_t status);

/* Writes a message for each metric in `metrics` whose request failed. Each bit of `metrics` stands for the metric whose
 * cpe_dm_metric_id is the number of the bit. An answer without a value is not a failure. Returns CPE_DM_TOOL_FAILED
 * after a message, otherwise CPE_DM_TOOL_DONE. */
int cpe_dm_tool_tell_failures(const cpe_dm_tool_values *values, uint64_t metrics);

#endif
