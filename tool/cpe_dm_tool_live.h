/* The live view of the command `watch`: shows the newest values, and a chart of each signal's last minute, on a
 * terminal that is redrawn for each row. */
#ifndef CPE_DM_TOOL_LIVE_H
#define CPE_DM_TOOL_LIVE_H

#include "cpe_dm_tool_sink.h"
#include "cpe_dm_tool_values.h"

/* Whether standard output is a terminal that can show the live view. */
bool cpe_dm_tool_can_live();

/* Prepares the live view of these keys. `sink` writes to the terminal. interval_ms is the time from one row to the
 * next. */
void cpe_dm_tool_start_live(cpe_dm_tool_sink *sink, const cpe_dm_tool_keys *keys, int64_t interval_ms);

/* Ends the live view, and restores the mode of the terminal. The next cpe_dm_tool_draw begins the live view again. */
void cpe_dm_tool_leave_terminal();

/* To be called when another program may have changed the terminal: makes the next cpe_dm_tool_draw begin the live view
 * again. */
void cpe_dm_tool_forget_terminal();

/* The descriptor from which typed characters can be read; -1: there is none, or the live view is not shown. */
int cpe_dm_tool_keyboard();

/* Reads the typed characters. Returns whether one of them is the q that ends the program. */
bool cpe_dm_tool_quit_pressed();

/* Adds a line to the list of events on the screen. */
void cpe_dm_tool_note(const char *line);

/* Adds a row of values. `number` is the number of intervals since the first row; numbers may be skipped. */
void cpe_dm_tool_add_live_row(const cpe_dm_tool_values *values, int64_t number);

/* Draws the screen anew, unless the program is in the background. Returns 0 or an errno value. */
int cpe_dm_tool_draw();

#endif
