#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_session.h"

#include <cstring>

static bool as_json;
static char out_data[16384];

/* Adds a line with the label and the words. Adds nothing when `words` is empty. */
static void add_line(cpe_dm_tool_text *text, const char *label, const char *words) {
    if (words[0] != '\0') {
        cpe_dm_tool_add(text, "%-13s  %s\n", label, words);
    }
}

static void add_worded_line(cpe_dm_tool_text *text, const char *label, const cpe_dm_tool_values *values, uint32_t tech,
                            void (*add_words)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values,
                                              uint32_t tech)) {
    char data[160] = "";
    cpe_dm_tool_text words = {data, sizeof(data), 0};
    add_words(&words, values, tech);
    add_line(text, label, data);
}

/* Adds a line with the label, the value and, for a signal value, the verdict. Adds nothing when there is no value. */
static void add_value_line(cpe_dm_tool_text *text, const char *label, const cpe_dm_tool_values *values,
                           cpe_dm_tool_key key) {
    if (cpe_dm_tool_value_status(values, key) != CPE_DM_SUCCESS) {
        return;
    }
    char data[CPE_DM_VALUE_TEXT_SIZE] = "";
    cpe_dm_tool_text words = {data, sizeof(data), 0};
    cpe_dm_tool_add_value_unit(&words, values, key);
    if (cpe_dm_tool_limits_of(key) != nullptr) {
        cpe_dm_tool_add(text, "%-13s  %-9s  %s\n", label, data,
                        cpe_dm_tool_verdict(key, cpe_dm_tool_value_number(values, key)));
        return;
    }
    if (key == CPE_DM_TOOL_LTE_LOCK || key == CPE_DM_TOOL_NR5G_LOCK) {
        cpe_dm_tool_add(&words, "%s", strchr(data, '/') != nullptr ? "  (channel/PCI)" : "");
    }
    add_line(text, label, data);
}

/* The lines that show a single value each. */
static constexpr struct {
    char label[12];
    cpe_dm_tool_key lte;
    cpe_dm_tool_key nr5g;
} lines[] = {
    {"  RSRP", CPE_DM_TOOL_LTE_RSRP, CPE_DM_TOOL_NR5G_RSRP},
    {"  RSRQ", CPE_DM_TOOL_LTE_RSRQ, CPE_DM_TOOL_NR5G_RSRQ},
    {"  SINR", CPE_DM_TOOL_LTE_SINR, CPE_DM_TOOL_NR5G_SINR},
    {"  CQI", CPE_DM_TOOL_LTE_CQI, CPE_DM_TOOL_NR5G_CQI},
    {"  TX power", CPE_DM_TOOL_LTE_TX_POWER, CPE_DM_TOOL_NR5G_TX_POWER},
    {"  locked to", CPE_DM_TOOL_LTE_LOCK, CPE_DM_TOOL_NR5G_LOCK},
};

/* Whether every key from CPE_DM_TOOL_LTE_RSRP on has a line in the output. The NR 5G keys with lower numbers than
 * CPE_DM_TOOL_NR5G_RSRP are shown by add_worded_line. Every other key needs a row in `lines`. */
static constexpr bool every_value_has_its_line() {
    for (int key = CPE_DM_TOOL_LTE_RSRP; key < CPE_DM_TOOL_KEY_CNT; key++) {
        bool found = key >= CPE_DM_TOOL_NR5G_PLMN && key < CPE_DM_TOOL_NR5G_RSRP;
        for (const auto &line : lines) {
            found = found || line.lte == key || line.nr5g == key;
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(every_value_has_its_line(), "a new key has a line");

static void add_tech(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech) {
    const bool lte = tech == CPE_DM_TECH_LTE;
    cpe_dm_tool_add(text, "\n%s\n", cpe_dm_tool_tech_name(tech));
    add_worded_line(text, "  network", values, tech, cpe_dm_tool_add_network_words);
    add_worded_line(text, "  cell", values, tech, cpe_dm_tool_add_cell_words);
    add_worded_line(text, "  channel", values, tech, cpe_dm_tool_add_channel_words);
    for (const auto &line : lines) {
        add_value_line(text, line.label, values, lte ? line.lte : line.nr5g);
    }
}

/* Adds a JSON member "verdict" with the verdict on each signal value of the technology. */
static void add_verdicts(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech) {
    const char *separator = "";
    cpe_dm_tool_add(text, ",\"verdict\":{");
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        const auto key = static_cast<cpe_dm_tool_key>(i);
        if (cpe_dm_tool_limits_of(key) != nullptr && cpe_dm_tool_tech_of(key) == tech &&
            cpe_dm_tool_value_status(values, key) == CPE_DM_SUCCESS) {
            cpe_dm_tool_add(text, "%s\"%s\":\"%s\"", separator, cpe_dm_tool_short_name(key),
                            cpe_dm_tool_verdict(key, cpe_dm_tool_value_number(values, key)));
            separator = ",";
        }
    }
    cpe_dm_tool_add(text, "}");
}

static int show_status() {
    cpe_dm_tool_values values;
    cpe_dm_tool_keys keys = {};
    cpe_dm_tool_text text = {out_data, sizeof(out_data), 0};
    cpe_dm_tool_clear_values(&values);
    cpe_dm_tool_add_key(&keys, CPE_DM_TOOL_REG);
    cpe_dm_tool_ask(&values, CPE_DM_METRIC_REG_STATUS);
    const cpe_dm_tool_slot &reg = values.slot[CPE_DM_METRIC_REG_STATUS];
    if (reg.status != CPE_DM_SUCCESS) {
        cpe_dm_tool_tell_missing("reg", reg.status);
        return CPE_DM_TOOL_FAILED;
    }
    const auto reg_status = static_cast<uint32_t>(reg.number[0]);
    const bool lte = cpe_dm_tool_serves(reg_status, CPE_DM_TECH_LTE);
    const bool nr5g = cpe_dm_tool_serves(reg_status, CPE_DM_TECH_NR5G);
    if (lte) {
        cpe_dm_tool_find_group("lte", &keys);
    }
    if (nr5g) {
        cpe_dm_tool_find_group("nr5g", &keys);
    }
    const uint64_t metrics = cpe_dm_tool_metrics_of(&keys) & ~(uint64_t{1} << CPE_DM_METRIC_REG_STATUS);
    cpe_dm_tool_ask_all(&values, metrics);
    if (as_json) {
        const cpe_dm_tool_moment now = cpe_dm_tool_now();
        cpe_dm_tool_add_json_object(&text, &now, &values, &keys, add_verdicts);
        cpe_dm_tool_add(&text, "\n");
    } else {
        cpe_dm_tool_add(&text, "registration   %s\n", cpe_dm_tool_reg_words(reg_status));
        if (lte) {
            add_tech(&text, &values, CPE_DM_TECH_LTE);
        }
        if (nr5g) {
            add_tech(&text, &values, CPE_DM_TECH_NR5G);
        }
    }
    const int printed = cpe_dm_tool_print(&text);
    return cpe_dm_tool_worse(printed, cpe_dm_tool_tell_failures(&values, metrics));
}

int cpe_dm_tool_status(const cpe_dm_tool_options *options) {
    as_json = (options->given & CPE_DM_TOOL_JSON) != 0;
    return cpe_dm_tool_run_session(options->timeout_ms, cpe_dm_tool_drop_event, show_status);
}
