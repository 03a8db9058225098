/* Values as JSON. */
#ifndef CPE_DM_TOOL_JSON_H
#define CPE_DM_TOOL_JSON_H

#include "cpe_dm_tool_values.h"

/* When values were taken: the time of day, and the time since the system was started (it counts on while the system is
 * suspended), which tells where a box without a clock starts in 1970. */
struct cpe_dm_tool_moment {
    timespec time;
    int64_t uptime_ms;
};

cpe_dm_tool_moment cpe_dm_tool_now();

/* A value: a number in its unit, a string, the lists of CQI (a list for each carrier) and cell locks (an object for
 * each), or null where it is not there. */
void cpe_dm_tool_add_json_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* The beginning of an object: "{", the moment and a comma. */
void cpe_dm_tool_add_json_moment(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment);

/* One object with the moment and the values of these keys, those of a technology in an object of its own; without a
 * line end. add_more (may be null) adds more members to the object of a technology, each behind a comma. */
void cpe_dm_tool_add_json_object(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment,
                                 const cpe_dm_tool_values *values, const cpe_dm_tool_keys *keys,
                                 void (*add_more)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values,
                                                  uint32_t tech));

#endif
