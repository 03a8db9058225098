#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_values.h"

static char out_data[8192];

int cpe_dm_tool_metrics(const cpe_dm_tool_options *options) {
    const bool json = (options->given & CPE_DM_TOOL_JSON) != 0;
    cpe_dm_tool_text text = {out_data, sizeof(out_data), 0};
    if (json) {
        cpe_dm_tool_add(&text, "{\"metrics\":[");
    } else {
        cpe_dm_tool_add(&text, "%-13s  %-4s  %-5s  %-5s  %s\n", "key", "unit", "good", "fair", "meaning");
    }
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        const auto key = static_cast<cpe_dm_tool_key>(i);
        const cpe_dm_tool_limits *limits = cpe_dm_tool_limits_of(key);
        char good[CPE_DM_COUNT_TEXT_SIZE] = "";
        char fair[CPE_DM_COUNT_TEXT_SIZE] = "";
        if (limits != nullptr) {
            cpe_dm_count_text(good, sizeof(good), limits->good_from, cpe_dm_tool_counts_per_unit(key));
            cpe_dm_count_text(fair, sizeof(fair), limits->fair_from, cpe_dm_tool_counts_per_unit(key));
        }
        if (json) {
            cpe_dm_tool_add(&text,
                            "%s{\"key\":\"%s\",\"unit\":\"%s\",\"good_from\":%s,\"fair_from\":%s,\"meaning\":\"%s\"}",
                            i > 0 ? "," : "", cpe_dm_tool_name(key), cpe_dm_tool_unit(key),
                            good[0] != '\0' ? good : "null", fair[0] != '\0' ? fair : "null", cpe_dm_tool_meaning(key));
        } else {
            cpe_dm_tool_add(&text, "%-13s  %-4s  %-5s  %-5s  %s\n", cpe_dm_tool_name(key), cpe_dm_tool_unit(key), good,
                            fair, cpe_dm_tool_meaning(key));
        }
    }
    cpe_dm_tool_add(&text, "%s", json ? "]}\n" : "");
    return cpe_dm_tool_print(&text);
}
