#include "cpe_dm_tool_values.h"

#include "cpe_dm_tool_out.h"

#include <algorithm>
#include <cstring>
#include <iterator>

static const cpe_dm_tool_limits rsrp_limits = {-95, -110};
static const cpe_dm_tool_limits rsrq_limits = {-11, -15};
static const cpe_dm_tool_limits sinr_limits = {130, 0};

/* The keys. Name, unit and meaning of a metric are those of its description; only what is derived has its own here. */
struct key_source {
    cpe_dm_tool_key key;
    uint32_t metric;
    const char *name; /* null: that of the metric */
    const char *meaning;
    cpe_dm_tool_kind kind;
    const cpe_dm_tool_limits *limits;
};

static constexpr key_source sources[] = {
    {CPE_DM_TOOL_REG, CPE_DM_METRIC_REG_STATUS, nullptr, nullptr, CPE_DM_TOOL_NAME, nullptr},
    {CPE_DM_TOOL_LTE_PLMN, CPE_DM_METRIC_LTE_PLMN, nullptr, nullptr, CPE_DM_TOOL_PLMN, nullptr},
    {CPE_DM_TOOL_LTE_TAC, CPE_DM_METRIC_LTE_TAC, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_CGI, CPE_DM_METRIC_LTE_CGI, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_ENB, CPE_DM_METRIC_LTE_CGI, "lte.enb", "base station, a part of the CGI", CPE_DM_TOOL_NUMBER,
     nullptr},
    {CPE_DM_TOOL_LTE_CELL, CPE_DM_METRIC_LTE_CGI, "lte.cell", "cell of the base station, a part of the CGI",
     CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_PCI, CPE_DM_METRIC_LTE_PCI, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_EARFCN, CPE_DM_METRIC_LTE_EARFCN, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_BAND, CPE_DM_METRIC_LTE_EARFCN, "lte.band", "band of the channel", CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_MHZ, CPE_DM_METRIC_LTE_EARFCN, "lte.mhz", "downlink frequency of the channel", CPE_DM_TOOL_NUMBER,
     nullptr},
    {CPE_DM_TOOL_LTE_BAND_ALT, CPE_DM_METRIC_LTE_EARFCN, "lte.band_alt", "band, if the EARFCN was cut to 16 bits",
     CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_MHZ_ALT, CPE_DM_METRIC_LTE_EARFCN, "lte.mhz_alt", "frequency, if the EARFCN was cut to 16 bits",
     CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_RSRP, CPE_DM_METRIC_LTE_RSRP, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &rsrp_limits},
    {CPE_DM_TOOL_LTE_RSRQ, CPE_DM_METRIC_LTE_RSRQ, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &rsrq_limits},
    {CPE_DM_TOOL_LTE_SINR, CPE_DM_METRIC_LTE_SINR, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &sinr_limits},
    {CPE_DM_TOOL_LTE_CQI, CPE_DM_METRIC_LTE_CQI, nullptr, nullptr, CPE_DM_TOOL_LIST, nullptr},
    {CPE_DM_TOOL_LTE_TX_POWER, CPE_DM_METRIC_LTE_TX_POWER, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_LTE_LOCK, CPE_DM_METRIC_LTE_CELL_LOCK_LIST, nullptr, nullptr, CPE_DM_TOOL_LIST, nullptr},
    {CPE_DM_TOOL_NR5G_PLMN, CPE_DM_METRIC_NR5G_PLMN, nullptr, nullptr, CPE_DM_TOOL_PLMN, nullptr},
    {CPE_DM_TOOL_NR5G_TAC, CPE_DM_METRIC_NR5G_TAC, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_NR5G_CGI, CPE_DM_METRIC_NR5G_CGI, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_NR5G_PCI, CPE_DM_METRIC_NR5G_PCI, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_NR5G_ARFCN, CPE_DM_METRIC_NR5G_EARFCN, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_NR5G_MHZ, CPE_DM_METRIC_NR5G_EARFCN, "nr5g.mhz", "frequency of the channel", CPE_DM_TOOL_NUMBER,
     nullptr},
    {CPE_DM_TOOL_NR5G_RSRP, CPE_DM_METRIC_NR5G_RSRP, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &rsrp_limits},
    {CPE_DM_TOOL_NR5G_RSRQ, CPE_DM_METRIC_NR5G_RSRQ, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &rsrq_limits},
    {CPE_DM_TOOL_NR5G_SINR, CPE_DM_METRIC_NR5G_SINR, nullptr, nullptr, CPE_DM_TOOL_NUMBER, &sinr_limits},
    {CPE_DM_TOOL_NR5G_CQI, CPE_DM_METRIC_NR5G_CQI, nullptr, nullptr, CPE_DM_TOOL_LIST, nullptr},
    {CPE_DM_TOOL_NR5G_TX_POWER, CPE_DM_METRIC_NR5G_TX_POWER, nullptr, nullptr, CPE_DM_TOOL_NUMBER, nullptr},
    {CPE_DM_TOOL_NR5G_LOCK, CPE_DM_METRIC_NR5G_CELL_LOCK_LIST, nullptr, nullptr, CPE_DM_TOOL_LIST, nullptr},
};
static_assert(std::size(sources) == CPE_DM_TOOL_KEY_CNT, "every key has its row");

static constexpr bool keys_in_order() {
    for (size_t i = 0; i < std::size(sources); i++) {
        if (sources[i].key != i) {
            return false;
        }
    }
    return true;
}
static_assert(keys_in_order(), "a row stands in the place of its key");

static constexpr bool every_metric_has_a_key() {
    for (uint32_t metric = CPE_DM_METRIC_REG_STATUS; metric < CPE_DM_METRIC_CNT; metric++) {
        const bool neighbour = metric >= CPE_DM_METRIC_LTE_NBR_EARFCN && metric <= CPE_DM_METRIC_LTE_NBR_RSRQ;
        bool found = neighbour;
        for (const key_source &source : sources) {
            found = found || source.metric == metric;
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(every_metric_has_a_key(), "every metric but those of the neighbours has a key");

void cpe_dm_tool_clear_values(cpe_dm_tool_values *values) {
    *values = {};
    for (cpe_dm_tool_slot &slot : values->slot) {
        slot.status = CPE_DM_TOOL_NOT_ANSWERED;
    }
}

/* Where the record of a metric lies; CPE_DM_TOOL_RECORD_CNT for a metric that has none. */
static int record_place(uint32_t metric) {
    switch (metric) {
    case CPE_DM_METRIC_LTE_CQI:
        return 0;
    case CPE_DM_METRIC_NR5G_CQI:
        return 1;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        return 2;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        return 3;
    default:
        return CPE_DM_TOOL_RECORD_CNT;
    }
}

const cpe_dm_metric_record *cpe_dm_tool_record_of(const cpe_dm_tool_values *values, uint32_t metric) {
    const int place = record_place(metric);
    return place < CPE_DM_TOOL_RECORD_CNT ? &values->record[place] : nullptr;
}

cpe_dm_metric_record *cpe_dm_tool_record_of(cpe_dm_tool_values *values, uint32_t metric) {
    const int place = record_place(metric);
    return place < CPE_DM_TOOL_RECORD_CNT ? &values->record[place] : nullptr;
}

static bool in_mhz(cpe_dm_tool_key key) {
    return key == CPE_DM_TOOL_LTE_MHZ || key == CPE_DM_TOOL_LTE_MHZ_ALT || key == CPE_DM_TOOL_NR5G_MHZ;
}

cpe_dm_tool_key_row cpe_dm_tool_describe(cpe_dm_tool_key key) {
    const key_source &source = sources[key];
    const cpe_dm_metric_desc *metric = cpe_dm_metric_by_id(source.metric);
    cpe_dm_tool_key_row row = {key,          source.metric,   source.name != nullptr,  metric->key,
                               metric->unit, metric->meaning, metric->counts_per_unit, source.kind,
                               source.limits};
    if (row.derived) {
        row.name = source.name;
        row.meaning = source.meaning;
        row.unit = in_mhz(key) ? "MHz" : "";
        row.counts_per_unit = in_mhz(key) ? 1000 : 1;
    }
    return row;
}

uint32_t cpe_dm_tool_tech_of(cpe_dm_tool_key key) {
    return cpe_dm_metric_by_id(sources[key].metric)->tech;
}

const char *cpe_dm_tool_short_name(const cpe_dm_tool_key_row *row) {
    const char *point = strchr(row->name, '.');
    return point != nullptr ? point + 1 : row->name;
}

void cpe_dm_tool_add_key(cpe_dm_tool_keys *keys, cpe_dm_tool_key key) {
    for (int i = 0; i < keys->cnt; i++) {
        if (keys->key[i] == key) {
            return;
        }
    }
    keys->key[keys->cnt++] = key;
}

bool cpe_dm_tool_find_key(const char *name, cpe_dm_tool_key *key) {
    for (const key_source &source : sources) {
        if (strcmp(cpe_dm_tool_describe(source.key).name, name) == 0) {
            *key = source.key;
            return true;
        }
    }
    return false;
}

bool cpe_dm_tool_find_group(const char *word, cpe_dm_tool_keys *keys) {
    const bool all = strcmp(word, "all") == 0;
    const uint32_t tech = strcmp(word, "lte") == 0    ? uint32_t{CPE_DM_TECH_LTE}
                          : strcmp(word, "nr5g") == 0 ? uint32_t{CPE_DM_TECH_NR5G}
                                                      : uint32_t{CPE_DM_TECH_NONE};
    if (!all && tech == CPE_DM_TECH_NONE) {
        return false;
    }
    for (const key_source &source : sources) {
        if (all || cpe_dm_tool_tech_of(source.key) == tech) {
            cpe_dm_tool_add_key(keys, source.key);
        }
    }
    return true;
}

bool cpe_dm_tool_add_words(cpe_dm_tool_keys *keys, char *const *words, int cnt) {
    for (int i = 0; i < cnt; i++) {
        cpe_dm_tool_key key = CPE_DM_TOOL_REG;
        if (cpe_dm_tool_find_key(words[i], &key)) {
            cpe_dm_tool_add_key(keys, key);
        } else if (!cpe_dm_tool_find_group(words[i], keys)) {
            cpe_dm_tool_tell("there is no key %s; `cpe_dm metrics` lists them", words[i]);
            return false;
        }
    }
    return true;
}

uint64_t cpe_dm_tool_metrics_of(const cpe_dm_tool_keys *keys) {
    uint64_t metrics = 0;
    for (int i = 0; i < keys->cnt; i++) {
        metrics |= uint64_t{1} << sources[keys->key[i]].metric;
    }
    return metrics;
}

/* What follows from the number of a metric; 0 where nothing follows, but for parts of the CGI, which always do. */
static uint32_t derive(cpe_dm_tool_key key, uint32_t number) {
    switch (key) {
    case CPE_DM_TOOL_LTE_ENB:
        return cpe_dm_lte_cgi_enb(number);
    case CPE_DM_TOOL_LTE_CELL:
        return cpe_dm_lte_cgi_cell(number);
    case CPE_DM_TOOL_LTE_BAND:
        return cpe_dm_lte_band(number);
    case CPE_DM_TOOL_LTE_MHZ:
        return cpe_dm_lte_khz(number);
    case CPE_DM_TOOL_LTE_BAND_ALT:
        return cpe_dm_lte_band(number + CPE_DM_LTE_EARFCN_CUT);
    case CPE_DM_TOOL_LTE_MHZ_ALT:
        return cpe_dm_lte_khz(number + CPE_DM_LTE_EARFCN_CUT);
    default:
        return cpe_dm_nr5g_khz(number);
    }
}

static bool is_part_of_cgi(cpe_dm_tool_key key) {
    return key == CPE_DM_TOOL_LTE_ENB || key == CPE_DM_TOOL_LTE_CELL;
}

int32_t cpe_dm_tool_value_status(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_tool_slot &slot = values->slot[sources[key].metric];
    const bool nothing_follows = slot.status == CPE_DM_SUCCESS && sources[key].name != nullptr &&
                                 !is_part_of_cgi(key) && derive(key, static_cast<uint32_t>(slot.number[0])) == 0;
    return nothing_follows ? int32_t{CPE_DM_ERR_INFO_UNAVAILABLE} : slot.status;
}

cpe_dm_tool_number cpe_dm_tool_value_number(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_tool_slot &slot = values->slot[sources[key].metric];
    if (sources[key].name != nullptr) {
        return {false, derive(key, static_cast<uint32_t>(slot.number[0]))};
    }
    switch (key) {
    case CPE_DM_TOOL_NR5G_CGI: // the 64 bits as they are
        return {false, static_cast<uint64_t>(slot.number[0])};
    case CPE_DM_TOOL_NR5G_TAC:
        return {false, cpe_dm_nr5g_tac(slot.number)};
    default:
        return cpe_dm_tool_number_of(slot.number[0]);
    }
}

/* The text of a metric's value, by way of the answer as the module gave it. */
static void write_answer(char *text, size_t size, const cpe_dm_tool_values *values, uint32_t metric) {
    const cpe_dm_tool_slot &slot = values->slot[metric];
    cpe_dm_metric_record record = {};
    cpe_dm_info info;
    cpe_dm_prepare_request(&info, metric, &record);
    info.value_type = cpe_dm_metric_by_id(metric)->value_type;
    if (info.value_type == CPE_DM_VALUE_UINT32) {
        info.value.u32_val = static_cast<uint32_t>(slot.number[0]);
    } else if (record_place(metric) < CPE_DM_TOOL_RECORD_CNT) {
        record = *cpe_dm_tool_record_of(values, metric);
    } else {
        std::copy_n(slot.number, std::size(slot.number), info.value.i64_list);
    }
    cpe_dm_value_text(text, size, &info);
}

void cpe_dm_tool_add_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    char data[CPE_DM_VALUE_TEXT_SIZE];
    const cpe_dm_tool_key_row row = cpe_dm_tool_describe(key);
    if (in_mhz(key)) {
        cpe_dm_mhz_text(data, sizeof(data), static_cast<uint32_t>(cpe_dm_tool_value_number(values, key).magnitude));
    } else if (row.derived) {
        cpe_dm_count_text(data, sizeof(data), static_cast<int64_t>(cpe_dm_tool_value_number(values, key).magnitude), 1);
    } else {
        write_answer(data, sizeof(data), values, row.metric);
    }
    cpe_dm_tool_add(text, "%s", data);
}

const char *cpe_dm_tool_verdict(const cpe_dm_tool_limits *limits, int64_t count) {
    if (limits == nullptr) {
        return "";
    }
    return count >= limits->good_from ? "good" : count >= limits->fair_from ? "fair" : "poor";
}
