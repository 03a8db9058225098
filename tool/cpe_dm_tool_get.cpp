#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_session.h"

static struct {
    const cpe_dm_tool_options *options;
    cpe_dm_tool_keys keys;  /* all keys to print: those named on the command line, and those of named groups */
    cpe_dm_tool_keys alone; /* only the keys that were named on the command line, without those of groups */
    cpe_dm_tool_values values;
} get;

static char out_data[16384];

static void add_line(cpe_dm_tool_text *text, cpe_dm_tool_key key) {
    if ((get.options->given & CPE_DM_TOOL_RAW) != 0) {
        cpe_dm_tool_add_value(text, &get.values, key);
    } else {
        cpe_dm_tool_add(text, "%s ", cpe_dm_tool_name(key));
        cpe_dm_tool_add_value_unit(text, &get.values, key);
    }
    cpe_dm_tool_add(text, "\n");
}

/* Writes a message for each key that was named on the command line (not by a group) and has no value. Returns an exit
 * status. */
static int tell_missing_keys() {
    int status = CPE_DM_TOOL_DONE;
    for (int i = 0; i < get.alone.cnt; i++) {
        const int32_t answer = cpe_dm_tool_value_status(&get.values, get.alone.key[i]);
        if (answer != CPE_DM_SUCCESS) {
            cpe_dm_tool_tell_missing(cpe_dm_tool_name(get.alone.key[i]), answer);
            status = cpe_dm_tool_worse(status, cpe_dm_tool_exit_status(answer));
        }
    }
    return status;
}

/* Looks at each group that was named on the command line. Writes a message for each failed request of the group. If no
 * request of the group failed and no key of the group has a value, writes one message for the group. Returns an exit
 * status. */
static int tell_missing_groups() {
    int status = CPE_DM_TOOL_DONE;
    for (int i = 0; i < get.options->arg_cnt; i++) {
        cpe_dm_tool_keys group = {};
        bool something = false;
        int32_t why = CPE_DM_SUCCESS;
        if (!cpe_dm_tool_find_group(get.options->args[i], &group)) {
            continue;
        }
        for (int k = 0; k < group.cnt; k++) {
            const int32_t answer = cpe_dm_tool_value_status(&get.values, group.key[k]);
            something = something || answer == CPE_DM_SUCCESS;
            why = why == CPE_DM_SUCCESS || !cpe_dm_tool_is_answer(answer) ? answer : why;
        }
        const int failed = cpe_dm_tool_tell_failures(&get.values, cpe_dm_tool_metrics_of(&group));
        if (!something && failed == CPE_DM_TOOL_DONE) {
            cpe_dm_tool_tell_missing(get.options->args[i], why);
            status = cpe_dm_tool_worse(status, CPE_DM_TOOL_NO_VALUE);
        }
        status = cpe_dm_tool_worse(status, failed);
    }
    return status;
}

static int get_values() {
    cpe_dm_tool_text text = {out_data, sizeof(out_data), 0};
    cpe_dm_tool_clear_values(&get.values);
    cpe_dm_tool_ask_all(&get.values, cpe_dm_tool_metrics_of(&get.keys));
    if ((get.options->given & CPE_DM_TOOL_JSON) != 0) {
        const cpe_dm_tool_moment now = cpe_dm_tool_now();
        cpe_dm_tool_add_json_object(&text, &now, &get.values, &get.keys, nullptr);
        cpe_dm_tool_add(&text, "\n");
    } else {
        for (int i = 0; i < get.keys.cnt; i++) {
            if (cpe_dm_tool_value_status(&get.values, get.keys.key[i]) == CPE_DM_SUCCESS) {
                add_line(&text, get.keys.key[i]);
            }
        }
    }
    int status = cpe_dm_tool_print(&text);
    status = cpe_dm_tool_worse(status, tell_missing_keys());
    return cpe_dm_tool_worse(status, tell_missing_groups());
}

int cpe_dm_tool_get(const cpe_dm_tool_options *options) {
    const uint32_t both = CPE_DM_TOOL_JSON | CPE_DM_TOOL_RAW;
    if ((options->given & both) == both) {
        cpe_dm_tool_tell("--json and --raw exclude each other");
        return CPE_DM_TOOL_USAGE;
    }
    get.options = options;
    if (!cpe_dm_tool_add_words(&get.keys, options->args, options->arg_cnt)) {
        return CPE_DM_TOOL_USAGE;
    }
    for (int i = 0; i < options->arg_cnt; i++) {
        cpe_dm_tool_key key = CPE_DM_TOOL_REG;
        if (cpe_dm_tool_find_key(options->args[i], &key)) {
            cpe_dm_tool_add_key(&get.alone, key);
        }
    }
    return cpe_dm_tool_run_session(options->timeout_ms, cpe_dm_tool_drop_event, get_values);
}
