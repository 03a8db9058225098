/* Values as JSON. */
#ifndef CPE_DM_TOOL_JSON_H
#define CPE_DM_TOOL_JSON_H

#include "cpe_dm_tool_values.h"

/* The moment at which values were taken. The uptime is the time since the system was started, suspension included. On a
 * box without a clock, where the time of day starts in 1970, the uptime tells moments apart. */
struct cpe_dm_tool_moment {
    timespec time;
    int64_t uptime_ms;
};

cpe_dm_tool_moment cpe_dm_tool_now();

/* Adds a value: a number in its unit, a string, a list, or null when there is no value. The CQI is a list with a list
 * for each carrier; cell locks are a list with an object for each lock. */
void cpe_dm_tool_add_json_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* Adds the beginning of an object: "{", the moment and a comma. */
void cpe_dm_tool_add_json_moment(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment);

/* Adds one object with the moment and the values of these keys, without a line end. The values of each technology
 * stand in an inner object. add_more (may be null) is called once for each inner object, and adds more members to it,
 * each after a comma. */
void cpe_dm_tool_add_json_object(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment,
                                 const cpe_dm_tool_values *values, const cpe_dm_tool_keys *keys,
                                 void (*add_more)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values,
                                                  uint32_t tech));

#endif
