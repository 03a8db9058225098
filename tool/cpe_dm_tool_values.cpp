#include "cpe_dm_tool_values.h"

#include "cpe_dm_tool_out.h"

#include <algorithm>
#include <cstring>
#include <iterator>

/* Where a key's value comes from. */
struct key_source {
    uint8_t metric;
    cpe_dm_tool_kind kind;
};

struct source_table {
    key_source of[CPE_DM_TOOL_KEY_CNT];
};

/* Builds the table of sources, which is indexed by key. Each row below names its key, so the order of the rows does not
 * matter. The rows exist only at compile time. */
static constexpr source_table order_sources() {
    constexpr struct {
        cpe_dm_tool_key key;
        key_source source;
    } rows[] = {
        {CPE_DM_TOOL_REG, {CPE_DM_METRIC_REG_STATUS, CPE_DM_TOOL_NAME}},
        {CPE_DM_TOOL_LTE_PLMN, {CPE_DM_METRIC_LTE_PLMN, CPE_DM_TOOL_PLMN}},
        {CPE_DM_TOOL_LTE_TAC, {CPE_DM_METRIC_LTE_TAC, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_CGI, {CPE_DM_METRIC_LTE_CGI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_ENB, {CPE_DM_METRIC_LTE_CGI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_CELL, {CPE_DM_METRIC_LTE_CGI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_PCI, {CPE_DM_METRIC_LTE_PCI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_EARFCN, {CPE_DM_METRIC_LTE_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_BAND, {CPE_DM_METRIC_LTE_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_MHZ, {CPE_DM_METRIC_LTE_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_BAND_ALT, {CPE_DM_METRIC_LTE_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_MHZ_ALT, {CPE_DM_METRIC_LTE_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_RSRP, {CPE_DM_METRIC_LTE_RSRP, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_RSRQ, {CPE_DM_METRIC_LTE_RSRQ, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_SINR, {CPE_DM_METRIC_LTE_SINR, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_CQI, {CPE_DM_METRIC_LTE_CQI, CPE_DM_TOOL_LIST}},
        {CPE_DM_TOOL_LTE_TX_POWER, {CPE_DM_METRIC_LTE_TX_POWER, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_LTE_LOCK, {CPE_DM_METRIC_LTE_CELL_LOCK_LIST, CPE_DM_TOOL_LIST}},
        {CPE_DM_TOOL_NR5G_PLMN, {CPE_DM_METRIC_NR5G_PLMN, CPE_DM_TOOL_PLMN}},
        {CPE_DM_TOOL_NR5G_TAC, {CPE_DM_METRIC_NR5G_TAC, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_CGI, {CPE_DM_METRIC_NR5G_CGI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_PCI, {CPE_DM_METRIC_NR5G_PCI, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_ARFCN, {CPE_DM_METRIC_NR5G_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_MHZ, {CPE_DM_METRIC_NR5G_EARFCN, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_RSRP, {CPE_DM_METRIC_NR5G_RSRP, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_RSRQ, {CPE_DM_METRIC_NR5G_RSRQ, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_SINR, {CPE_DM_METRIC_NR5G_SINR, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_CQI, {CPE_DM_METRIC_NR5G_CQI, CPE_DM_TOOL_LIST}},
        {CPE_DM_TOOL_NR5G_TX_POWER, {CPE_DM_METRIC_NR5G_TX_POWER, CPE_DM_TOOL_NUMBER}},
        {CPE_DM_TOOL_NR5G_LOCK, {CPE_DM_METRIC_NR5G_CELL_LOCK_LIST, CPE_DM_TOOL_LIST}},
    };
    source_table sources = {};
    for (const auto &row : rows) {
        sources.of[row.key] = row.source;
    }
    return sources;
}

static constexpr source_table sources = order_sources();

/* The names and meanings of the derived keys, whose values are computed from a metric: the band from the channel, for
 * example. For all other keys, cpe_dm_metric_by_id returns a description with the name and the meaning. */
static constexpr struct derived_row {
    cpe_dm_tool_key key;
    char name[13];
    const char *meaning;
} derived_rows[] = {
    {CPE_DM_TOOL_LTE_ENB, "lte.enb", "base station, a part of the CGI"},
    {CPE_DM_TOOL_LTE_CELL, "lte.cell", "cell of the base station, a part of the CGI"},
    {CPE_DM_TOOL_LTE_BAND, "lte.band", "band of the channel"},
    {CPE_DM_TOOL_LTE_MHZ, "lte.mhz", "downlink frequency of the channel"},
    {CPE_DM_TOOL_LTE_BAND_ALT, "lte.band_alt", "band, if the EARFCN was cut to 16 bits"},
    {CPE_DM_TOOL_LTE_MHZ_ALT, "lte.mhz_alt", "downlink frequency, if the EARFCN was cut to 16 bits"},
    {CPE_DM_TOOL_NR5G_MHZ, "nr5g.mhz", "downlink frequency of the channel"},
};

static_assert(std::ranges::all_of(sources.of,
                                  [](const key_source &source) { return source.metric != CPE_DM_METRIC_INVALID; }),
              "a new key has a row in order_sources");

static constexpr bool every_metric_has_a_key() {
    for (uint32_t metric = CPE_DM_METRIC_REG_STATUS; metric < CPE_DM_METRIC_CNT; metric++) {
        bool found = metric >= CPE_DM_METRIC_LTE_NBR_EARFCN && metric <= CPE_DM_METRIC_LTE_NBR_RSRQ;
        for (const key_source &source : sources.of) {
            found = found || source.metric == metric;
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(every_metric_has_a_key(), "every metric but those of the neighbours has a key");

static const cpe_dm_tool_limits rsrp_limits = {-95, -110};
static const cpe_dm_tool_limits rsrq_limits = {-11, -15};
static const cpe_dm_tool_limits sinr_limits = {130, 0};

static const derived_row *derived(cpe_dm_tool_key key) {
    for (const derived_row &row : derived_rows) {
        if (row.key == key) {
            return &row;
        }
    }
    return nullptr;
}

static bool in_mhz(cpe_dm_tool_key key) {
    return key == CPE_DM_TOOL_LTE_MHZ || key == CPE_DM_TOOL_LTE_MHZ_ALT || key == CPE_DM_TOOL_NR5G_MHZ;
}

static const cpe_dm_metric_desc *describe(cpe_dm_tool_key key) {
    return cpe_dm_metric_by_id(sources.of[key].metric);
}

uint32_t cpe_dm_tool_metric_of(cpe_dm_tool_key key) {
    return sources.of[key].metric;
}

uint32_t cpe_dm_tool_tech_of(cpe_dm_tool_key key) {
    return describe(key)->tech;
}

bool cpe_dm_tool_is_derived(cpe_dm_tool_key key) {
    return derived(key) != nullptr;
}

cpe_dm_tool_kind cpe_dm_tool_kind_of(cpe_dm_tool_key key) {
    return sources.of[key].kind;
}

const char *cpe_dm_tool_name(cpe_dm_tool_key key) {
    const derived_row *row = derived(key);
    return row != nullptr ? row->name : describe(key)->key;
}

const char *cpe_dm_tool_short_name(cpe_dm_tool_key key) {
    const char *point = strchr(cpe_dm_tool_name(key), '.');
    return point != nullptr ? point + 1 : cpe_dm_tool_name(key);
}

const char *cpe_dm_tool_unit(cpe_dm_tool_key key) {
    return in_mhz(key) ? "MHz" : cpe_dm_tool_is_derived(key) ? "" : describe(key)->unit;
}

const char *cpe_dm_tool_meaning(cpe_dm_tool_key key) {
    const derived_row *row = derived(key);
    return row != nullptr ? row->meaning : describe(key)->meaning;
}

uint32_t cpe_dm_tool_counts_per_unit(cpe_dm_tool_key key) {
    return in_mhz(key) ? 1000 : cpe_dm_tool_is_derived(key) ? 1 : describe(key)->counts_per_unit;
}

const cpe_dm_tool_limits *cpe_dm_tool_limits_of(cpe_dm_tool_key key) {
    switch (key) {
    case CPE_DM_TOOL_LTE_RSRP:
    case CPE_DM_TOOL_NR5G_RSRP:
        return &rsrp_limits;
    case CPE_DM_TOOL_LTE_RSRQ:
    case CPE_DM_TOOL_NR5G_RSRQ:
        return &rsrq_limits;
    case CPE_DM_TOOL_LTE_SINR:
    case CPE_DM_TOOL_NR5G_SINR:
        return &sinr_limits;
    default:
        return nullptr;
    }
}

void cpe_dm_tool_clear_values(cpe_dm_tool_values *values) {
    *values = {};
    for (cpe_dm_tool_slot &slot : values->slot) {
        slot.status = CPE_DM_TOOL_NOT_ANSWERED;
    }
}

/* The index in cpe_dm_tool_values::record for this metric; CPE_DM_TOOL_RECORD_CNT when the metric fills no record. */
static constexpr int record_place(uint32_t metric) {
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

static_assert(std::ranges::all_of(sources.of,
                                  [](const key_source &source) {
                                      return (source.kind == CPE_DM_TOOL_LIST) ==
                                             (record_place(source.metric) < CPE_DM_TOOL_RECORD_CNT);
                                  }),
              "a metric whose value is a list has its record in record_place");

const cpe_dm_metric_record *cpe_dm_tool_record_of(const cpe_dm_tool_values *values, uint32_t metric) {
    const int place = record_place(metric);
    return place < CPE_DM_TOOL_RECORD_CNT ? &values->record[place] : nullptr;
}

cpe_dm_metric_record *cpe_dm_tool_record_of(cpe_dm_tool_values *values, uint32_t metric) {
    const int place = record_place(metric);
    return place < CPE_DM_TOOL_RECORD_CNT ? &values->record[place] : nullptr;
}

void cpe_dm_tool_add_key(cpe_dm_tool_keys *keys, cpe_dm_tool_key key) {
    for (int i = 0; i < keys->cnt; i++) {
        if (keys->key[i] == key) {
            return;
        }
    }
    keys->key[keys->cnt++] = key;
}

bool cpe_dm_tool_has_key_of(const cpe_dm_tool_keys *keys, uint32_t tech) {
    for (int i = 0; i < keys->cnt; i++) {
        if (cpe_dm_tool_tech_of(keys->key[i]) == tech) {
            return true;
        }
    }
    return false;
}

bool cpe_dm_tool_find_key(const char *name, cpe_dm_tool_key *key) {
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        *key = static_cast<cpe_dm_tool_key>(i);
        if (strcmp(cpe_dm_tool_name(*key), name) == 0) {
            return true;
        }
    }
    return false;
}

bool cpe_dm_tool_find_group(const char *word, cpe_dm_tool_keys *keys) {
    const bool all = strcmp(word, "all") == 0;
    const bool lte = all || strcmp(word, "lte") == 0;
    const bool nr5g = all || strcmp(word, "nr5g") == 0;
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        const auto key = static_cast<cpe_dm_tool_key>(i);
        const uint32_t tech = cpe_dm_tool_tech_of(key);
        if (tech == CPE_DM_TECH_LTE ? lte : tech == CPE_DM_TECH_NR5G ? nr5g : all) {
            cpe_dm_tool_add_key(keys, key);
        }
    }
    return lte || nr5g;
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
        metrics |= uint64_t{1} << sources.of[keys->key[i]].metric;
    }
    return metrics;
}

/* Computes the value of a derived key from `number`, which is a CGI or a channel number. For the two parts of the CGI
 * (base station and cell), the result 0 is a valid value. For all other keys, 0 means that the key has no value. */
static uint32_t derive(cpe_dm_tool_key key, uint32_t number) {
    switch (key) {
    case CPE_DM_TOOL_LTE_ENB:
        return cpe_dm_lte_cgi_enb(number);
    case CPE_DM_TOOL_LTE_CELL:
        return cpe_dm_lte_cgi_cell(number);
    case CPE_DM_TOOL_LTE_BAND_ALT:
        number += CPE_DM_LTE_EARFCN_CUT;
        [[fallthrough]];
    case CPE_DM_TOOL_LTE_BAND:
        return cpe_dm_lte_band(number);
    case CPE_DM_TOOL_LTE_MHZ_ALT:
        number += CPE_DM_LTE_EARFCN_CUT;
        [[fallthrough]];
    case CPE_DM_TOOL_LTE_MHZ:
        return cpe_dm_lte_khz(number);
    default:
        return cpe_dm_nr5g_khz(number);
    }
}

static const cpe_dm_tool_slot &slot_of(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    return values->slot[sources.of[key].metric];
}

int32_t cpe_dm_tool_value_status(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_tool_slot &slot = slot_of(values, key);
    const bool always_follows = key == CPE_DM_TOOL_LTE_ENB || key == CPE_DM_TOOL_LTE_CELL;
    const bool nothing_follows = slot.status == CPE_DM_SUCCESS && cpe_dm_tool_is_derived(key) && !always_follows &&
                                 derive(key, static_cast<uint32_t>(slot.number[0])) == 0;
    return nothing_follows ? int32_t{CPE_DM_TOOL_NO_CHANNEL} : slot.status;
}

int64_t cpe_dm_tool_value_number(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_tool_slot &slot = slot_of(values, key);
    return cpe_dm_tool_is_derived(key)   ? derive(key, static_cast<uint32_t>(slot.number[0]))
           : key == CPE_DM_TOOL_NR5G_TAC ? cpe_dm_nr5g_tac(slot.number)
                                         : slot.number[0];
}

/* Writes the text of a metric's value. cpe_dm_value_text needs the answer as cpe_dm_get_info fills it in, so the
 * function builds such an answer from the stored value. */
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
    const int64_t number = cpe_dm_tool_value_number(values, key);
    if (in_mhz(key)) {
        cpe_dm_mhz_text(data, sizeof(data), static_cast<uint32_t>(number));
    } else if (cpe_dm_tool_is_derived(key)) {
        cpe_dm_count_text(data, sizeof(data), number, 1);
    } else {
        write_answer(data, sizeof(data), values, sources.of[key].metric);
    }
    cpe_dm_tool_add(text, "%s", data);
}

void cpe_dm_tool_add_value_unit(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const char *unit = cpe_dm_tool_unit(key);
    cpe_dm_tool_add_value(text, values, key);
    cpe_dm_tool_add(text, "%s%s", unit[0] != '\0' ? " " : "", unit);
}

const char *cpe_dm_tool_verdict(cpe_dm_tool_key key, int64_t count) {
    const cpe_dm_tool_limits *limits = cpe_dm_tool_limits_of(key);
    return limits == nullptr ? "" : count >= limits->good_from ? "good" : count >= limits->fair_from ? "fair" : "poor";
}
