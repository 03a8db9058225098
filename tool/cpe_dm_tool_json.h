/* Writes values as JSON. */
#ifndef CPE_DM_TOOL_JSON_H
#define CPE_DM_TOOL_JSON_H

#include "cpe_dm_tool_values.h"

/* The moment at which values were taken. The uptime is the time since the system was started, including the time in
 * suspension. It is useful on a box without a battery-backed clock, where the wall-clock time is wrong and may jump. */
struct cpe_dm_tool_moment {
    timespec time;
    int64_t uptime_ms;
};

cpe_dm_tool_moment cpe_dm_tool_now();

/* Adds the value of a key: a number in its unit, a string, a list, or null when the key has no value. The CQI is a list
 * that has a list for each carrier; cell locks are a list that has an object for each lock. */
void cpe_dm_tool_add_json_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* Adds the beginning of a JSON object: "{", the members that give the date, time and uptime of `moment`, and a comma.
 */
void cpe_dm_tool_add_json_moment(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment);

/* Adds one JSON object with the moment and the values of these keys, without a line end. The values of each technology
 * are in an inner object. The callback `add_more` is called once for each inner object: it may add members to the inner
 * object, each with a comma before it. `add_more` may be null. */
void cpe_dm_tool_add_json_object(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment,
                                 const cpe_dm_tool_values *values, const cpe_dm_tool_keys *keys,
                                 void (*add_more)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values,
                                                  uint32_t tech));

#endif
