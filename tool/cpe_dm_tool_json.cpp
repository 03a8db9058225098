#include "cpe_dm_tool_json.h"

#include <algorithm>
#include <cinttypes>

cpe_dm_tool_moment cpe_dm_tool_now() {
    cpe_dm_tool_moment now = {};
    clock_gettime(CLOCK_REALTIME, &now.time);
    now.uptime_ms = cpe_dm_tool_clock_ms(CLOCK_BOOTTIME);
    return now;
}

static void add_separator(cpe_dm_tool_text *text, uint32_t i) {
    cpe_dm_tool_add(text, "%s", i > 0 ? "," : "");
}

static void add_cqi(cpe_dm_tool_text *text, const cpe_dm_cw_cqi *carriers, uint32_t cnt) {
    for (uint32_t i = 0; i < cnt; i++) {
        add_separator(text, i);
        cpe_dm_tool_add(text, "[");
        for (uint32_t k = 0; k < std::min<uint32_t>(carriers[i].cw_cqi_len, CPE_DM_CW_MAX); k++) {
            add_separator(text, k);
            cpe_dm_tool_add(text, "%u", unsigned{carriers[i].cw_cqi[k]});
        }
        cpe_dm_tool_add(text, "]");
    }
}

static void add_lte_locks(cpe_dm_tool_text *text, const cpe_dm_lte_cell_lock_list *locks) {
    for (uint32_t i = 0; i < std::min<uint32_t>(locks->lte_cell_list_len, CPE_DM_LTE_CELL_LOCK_MAX); i++) {
        add_separator(text, i);
        cpe_dm_tool_add(text, "{\"earfcn\":%u,\"pci\":%u}", unsigned{locks->lte_cell_list[i].freq},
                        unsigned{locks->lte_cell_list[i].pci});
    }
}

static void add_nr5g_locks(cpe_dm_tool_text *text, const cpe_dm_nr5g_cell_lock_list *locks) {
    if (locks->cell_identity_valid) {
        cpe_dm_tool_add(text, "{\"arfcn\":%" PRIu32 ",\"pci\":%u}", locks->arfcn, unsigned{locks->pci});
        return;
    }
    const uint32_t cnt =
        locks->arfcn_identity_valid ? std::min<uint32_t>(locks->arfcn_list_len, CPE_DM_NR5G_ARFCN_LOCK_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        add_separator(text, i);
        cpe_dm_tool_add(text, "{\"arfcn\":%" PRIu32 "}", locks->arfcn_list[i]);
    }
}

static void add_list(cpe_dm_tool_text *text, const cpe_dm_metric_record *record, cpe_dm_tool_key key) {
    cpe_dm_tool_add(text, "[");
    switch (key) {
    case CPE_DM_TOOL_LTE_CQI:
        add_cqi(text, record->lte_cqi.cc_cqi, std::min<uint32_t>(record->lte_cqi.cc_cqi_len, CPE_DM_LTE_CC_MAX));
        break;
    case CPE_DM_TOOL_NR5G_CQI:
        add_cqi(text, record->nr5g_cqi.cc_cqi, std::min<uint32_t>(record->nr5g_cqi.cc_cqi_len, CPE_DM_NR5G_CC_MAX));
        break;
    case CPE_DM_TOOL_LTE_LOCK:
        add_lte_locks(text, &record->lte_locks);
        break;
    default:
        add_nr5g_locks(text, &record->nr5g_locks);
        break;
    }
    cpe_dm_tool_add(text, "]");
}

void cpe_dm_tool_add_json_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_tool_kind kind = cpe_dm_tool_kind_of(key);
    if (cpe_dm_tool_value_status(values, key) != CPE_DM_SUCCESS) {
        cpe_dm_tool_add(text, "null");
    } else if (kind == CPE_DM_TOOL_LIST) {
        add_list(text, cpe_dm_tool_record_of(values, cpe_dm_tool_metric_of(key)), key);
    } else {
        const char *mark = kind == CPE_DM_TOOL_NUMBER ? "" : "\"";
        cpe_dm_tool_add(text, "%s", mark);
        cpe_dm_tool_add_value(text, values, key);
        cpe_dm_tool_add(text, "%s", mark);
    }
}

void cpe_dm_tool_add_json_moment(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment) {
    cpe_dm_tool_add(text, "{\"time\":\"");
    cpe_dm_tool_add_time(text, moment->time);
    cpe_dm_tool_add(text, "\",\"uptime\":");
    cpe_dm_tool_add_seconds(text, moment->uptime_ms);
    cpe_dm_tool_add(text, ",");
}

/* Adds a JSON member for each of these keys that belongs to the technology. Returns the number of members. */
static uint32_t add_members(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, const cpe_dm_tool_keys *keys,
                            uint32_t tech) {
    uint32_t cnt = 0;
    for (int i = 0; i < keys->cnt; i++) {
        if (cpe_dm_tool_tech_of(keys->key[i]) == tech) {
            add_separator(text, cnt++);
            cpe_dm_tool_add(text, "\"%s\":", cpe_dm_tool_short_name(keys->key[i]));
            cpe_dm_tool_add_json_value(text, values, keys->key[i]);
        }
    }
    return cnt;
}

void cpe_dm_tool_add_json_object(cpe_dm_tool_text *text, const cpe_dm_tool_moment *moment,
                                 const cpe_dm_tool_values *values, const cpe_dm_tool_keys *keys,
                                 void (*add_more)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values,
                                                  uint32_t tech)) {
    cpe_dm_tool_add_json_moment(text, moment);
    uint32_t cnt = add_members(text, values, keys, CPE_DM_TECH_NONE);
    for (const uint32_t tech : {uint32_t{CPE_DM_TECH_LTE}, uint32_t{CPE_DM_TECH_NR5G}}) {
        if (cpe_dm_tool_has_key_of(keys, tech)) {
            add_separator(text, cnt++);
            cpe_dm_tool_add(text, tech == CPE_DM_TECH_LTE ? "\"lte\":{" : "\"nr5g\":{");
            add_members(text, values, keys, tech);
            if (add_more != nullptr) {
                add_more(text, values, tech);
            }
            cpe_dm_tool_add(text, "}");
        }
    }
    cpe_dm_tool_add(text, "}");
}
