/* The live view of watch: the newest values and the last minute of each signal, on a terminal, redrawn in place. */
#ifndef CPE_DM_TOOL_LIVE_H
#define CPE_DM_TOOL_LIVE_H

#include "cpe_dm_tool_sink.h"
#include "cpe_dm_tool_values.h"

/* Whether standard output is a terminal that can show it. */
bool cpe_dm_tool_can_live();

/* What is shown, where, and the time from one row to the next. */
void cpe_dm_tool_start_live(cpe_dm_tool_sink *sink, const cpe_dm_tool_keys *keys, int64_t interval_ms);

/* Gives the terminal back as it was; the next drawing takes it again. */
void cpe_dm_tool_leave_terminal();

/* The terminal may have changed: the next drawing takes it again. */
void cpe_dm_tool_forget_terminal();

/* The descriptor on which keys come in, or -1. */
int cpe_dm_tool_keyboard();

/* Reads what was typed: whether the view is to end. */
bool cpe_dm_tool_quit_pressed();

/* A line for the list of what happened. */
void cpe_dm_tool_note(const char *line);

/* A row of values; its number counts intervals from the start, and may skip some. */
void cpe_dm_tool_add_live_row(const cpe_dm_tool_values *values, int64_t number);

/* Draws the screen anew, unless the program is in the background. Returns 0 or an errno value. */
int cpe_dm_tool_draw();

#endif
