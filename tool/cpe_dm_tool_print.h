/* Values as people read them. */
#ifndef CPE_DM_TOOL_PRINT_H
#define CPE_DM_TOOL_PRINT_H

#include "cpe_dm_tool_values.h"

/* A registration status in words: "LTE with NR 5G attached". */
const char *cpe_dm_tool_reg_words(uint32_t reg_status);

/* Whether a technology serves in this registration status. */
bool cpe_dm_tool_serves(uint32_t reg_status, uint32_t tech);

/* "LTE", "NR 5G". */
const char *cpe_dm_tool_tech_name(uint32_t tech);

/* The cell in words, as far as the modem reports it: "base station 107216, cell 1, PCI 301". */
void cpe_dm_tool_add_cell_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* The channel in words: "1300: band 3, 1815 MHz; or 66836: band 66, 2150 MHz". */
void cpe_dm_tool_add_channel_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* The network in words: "123-45, tracking area 4660". */
void cpe_dm_tool_add_network_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech);

/* Writes a message about a missing value: why the value is missing, and what to do. */
void cpe_dm_tool_tell_missing(const char *name, int32_t status);

/* Writes one message for each failed request among these metrics. Returns the exit status for the failures. */
int cpe_dm_tool_tell_failures(const cpe_dm_tool_values *values, uint64_t metrics);

#endif
