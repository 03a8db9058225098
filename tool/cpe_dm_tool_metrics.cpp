#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_values.h"

static char out_data[8192];

static void write_limit(char *data, size_t size, const cpe_dm_tool_key_row *row, int32_t limit) {
    data[0] = '\0';
    if (row->limits != nullptr) {
        cpe_dm_count_text(data, size, limit, row->counts_per_unit);
    }
}

int cpe_dm_tool_metrics(const cpe_dm_tool_options *options) {
    const bool json = (options->given & CPE_DM_TOOL_JSON) != 0;
    cpe_dm_tool_text text = {out_data, sizeof(out_data), 0};
    if (json) {
        cpe_dm_tool_add(&text, "{\"metrics\":[");
    } else {
        cpe_dm_tool_add(&text, "%-13s  %-4s  %-5s  %-5s  %s\n", "key", "unit", "good", "fair", "meaning");
    }
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        const cpe_dm_tool_key_row row = cpe_dm_tool_describe(static_cast<cpe_dm_tool_key>(i));
        char good[CPE_DM_COUNT_TEXT_SIZE];
        char fair[CPE_DM_COUNT_TEXT_SIZE];
        write_limit(good, sizeof(good), &row, row.limits != nullptr ? row.limits->good_from : 0);
        write_limit(fair, sizeof(fair), &row, row.limits != nullptr ? row.limits->fair_from : 0);
        if (json) {
            cpe_dm_tool_add(&text,
                            "%s{\"key\":\"%s\",\"unit\":\"%s\",\"good_from\":%s,\"fair_from\":%s,\"meaning\":\"%s\"}",
                            i > 0 ? "," : "", row.name, row.unit, good[0] != '\0' ? good : "null",
                            fair[0] != '\0' ? fair : "null", row.meaning);
        } else {
            cpe_dm_tool_add(&text, "%-13s  %-4s  %-5s  %-5s  %s\n", row.name, row.unit, good, fair, row.meaning);
        }
    }
    cpe_dm_tool_add(&text, "%s", json ? "]}\n" : "");
    return cpe_dm_tool_print(&text);
}
