/* The live view of watch: the newest values and the last minute of each signal, on a terminal, redrawn in place. */
#ifndef CPE_DM_TOOL_LIVE_H
#define CPE_DM_TOOL_LIVE_H

#include "cpe_dm_tool_sink.h"
#include "cpe_dm_tool_values.h"

/* Whether standard output is a terminal that can show the live view. */
bool cpe_dm_tool_can_live();

/* Prepares the view of these keys. The sink is the terminal; interval_ms is the time from one row to the next. */
void cpe_dm_tool_start_live(cpe_dm_tool_sink *sink, const cpe_dm_tool_keys *keys, int64_t interval_ms);

/* Restores the terminal. The next drawing takes the terminal again. */
void cpe_dm_tool_leave_terminal();

/* To be called when another program may have changed the terminal: the next drawing takes the terminal again. */
void cpe_dm_tool_forget_terminal();

/* The descriptor from which typed characters are read, or -1. */
int cpe_dm_tool_keyboard();

/* Reads the typed characters. Returns whether one of them ends the view. */
bool cpe_dm_tool_quit_pressed();

/* Adds a line to the list of events on the screen. */
void cpe_dm_tool_note(const char *line);

/* Adds a row of values. The row's number counts intervals from the start; numbers may be skipped. */
void cpe_dm_tool_add_live_row(const cpe_dm_tool_values *values, int64_t number);

/* Draws the screen anew, unless the program is in the background. Returns 0 or an errno value. */
int cpe_dm_tool_draw();

#endif
