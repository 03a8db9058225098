#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_session.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <iterator>

/* The ranges of a value, in counts. Possible values lie from `least` to `most`, usual values from `mostly_least` to
 * `mostly_most`. A value that is possible but not usual gets a warning. */
struct range_row {
    uint8_t key; /* a cpe_dm_tool_key */
    int16_t least;
    int16_t most;
    int16_t mostly_least;
    int16_t mostly_most;
};

static constexpr range_row ranges[] = {
    {CPE_DM_TOOL_REG, CPE_DM_REG_NONE, CPE_DM_REG_NR5G, CPE_DM_REG_NONE, CPE_DM_REG_NR5G},
    {CPE_DM_TOOL_LTE_PCI, 0, 503, 0, 503},
    {CPE_DM_TOOL_LTE_RSRP, -156, -44, -156, -44},
    {CPE_DM_TOOL_LTE_RSRQ, -34, 2, -34, 2}, // the real range ends at 2.5 dB, but the modem reports whole dB
    {CPE_DM_TOOL_LTE_SINR, -500, 500, -230, 400},
    {CPE_DM_TOOL_LTE_TX_POWER, -600, 330, -600, 330},
    {CPE_DM_TOOL_NR5G_PCI, 0, 1007, 0, 1007},
    {CPE_DM_TOOL_NR5G_RSRP, -156, -31, -156, -31},
    {CPE_DM_TOOL_NR5G_RSRQ, -43, 20, -43, 20},
    {CPE_DM_TOOL_NR5G_SINR, -500, 500, -230, 400},
    {CPE_DM_TOOL_NR5G_TX_POWER, -600, 330, -600, 330},
};

/* The keys that have no range. judge_value checks some of these keys in another way. TACs are not checked, because a
 * TAC can be any number. Derived keys (cpe_dm_tool_is_derived) are not tested. */
static constexpr uint8_t without_range[] = {
    CPE_DM_TOOL_LTE_PLMN,     CPE_DM_TOOL_LTE_TAC,     CPE_DM_TOOL_LTE_CGI,   CPE_DM_TOOL_LTE_ENB,
    CPE_DM_TOOL_LTE_CELL,     CPE_DM_TOOL_LTE_EARFCN,  CPE_DM_TOOL_LTE_BAND,  CPE_DM_TOOL_LTE_MHZ,
    CPE_DM_TOOL_LTE_BAND_ALT, CPE_DM_TOOL_LTE_MHZ_ALT, CPE_DM_TOOL_LTE_CQI,   CPE_DM_TOOL_LTE_LOCK,
    CPE_DM_TOOL_NR5G_PLMN,    CPE_DM_TOOL_NR5G_TAC,    CPE_DM_TOOL_NR5G_CGI,  CPE_DM_TOOL_NR5G_ARFCN,
    CPE_DM_TOOL_NR5G_MHZ,     CPE_DM_TOOL_NR5G_CQI,    CPE_DM_TOOL_NR5G_LOCK,
};

static constexpr bool every_key_is_judged() {
    for (int key = 0; key < CPE_DM_TOOL_KEY_CNT; key++) {
        int found = 0;
        for (const range_row &range : ranges) {
            found += range.key == key ? 1 : 0;
        }
        for (const uint8_t other : without_range) {
            found += other == key ? 1 : 0;
        }
        if (found != 1) {
            return false;
        }
    }
    return true;
}
static_assert(every_key_is_judged(), "a new key has a range above, or is one of those without a range");

enum verdict {
    OK,
    WARNING,
    IMPOSSIBLE,
    NOT_REPORTED,
    FAILED,
    VERDICT_CNT,
};

static const char verdict_names[][13] = {"ok", "warning", "impossible", "not reported", "failed"};
static_assert(std::size(verdict_names) == VERDICT_CNT);

/* The verdict on one value, and a remark that is printed with the verdict ("": no remark). */
struct finding {
    verdict judged;
    const char *remark;
};

static bool as_json;
static char out_data[16384];
static cpe_dm_tool_text out = {out_data, sizeof(out_data), 0};
static int counts[VERDICT_CNT];
static const char *separator = ""; /* printed before the next JSON object: "" or "," */
static char range_remark[80];      /* the remark that judge_range made last */

static finding of(verdict judged, const char *remark) {
    return {judged, remark};
}

/* Counts the verdict, and adds the finding to the output as a line or as a JSON object. */
static void add_finding(const char *name, const char *value, const finding &found) {
    counts[found.judged]++;
    if (as_json) {
        cpe_dm_tool_add(&out, "%s{\"name\":\"%s\",\"verdict\":\"%s\",\"value\":%s,\"remark\":\"%s\"}", separator, name,
                        verdict_names[found.judged], value, found.remark);
        separator = ",";
    } else {
        const bool more = value[0] != '\0' || found.remark[0] != '\0';
        cpe_dm_tool_add(&out, more ? "%-13s  %-12s  " : "%-13s  %s", name, verdict_names[found.judged]);
        cpe_dm_tool_add(&out, "%s%s%s\n", value, value[0] != '\0' && found.remark[0] != '\0' ? ": " : "", found.remark);
    }
}

static finding judge_range(const range_row &range, int64_t number) {
    const auto key = static_cast<cpe_dm_tool_key>(range.key);
    if (number >= range.mostly_least && number <= range.mostly_most) {
        return of(OK, "");
    }
    const bool possible = number >= range.least && number <= range.most;
    char least[CPE_DM_COUNT_TEXT_SIZE];
    char most[CPE_DM_COUNT_TEXT_SIZE];
    cpe_dm_count_text(least, sizeof(least), possible ? range.mostly_least : range.least,
                      cpe_dm_tool_counts_per_unit(key));
    cpe_dm_count_text(most, sizeof(most), possible ? range.mostly_most : range.most, cpe_dm_tool_counts_per_unit(key));
    cpe_dm_tool_text text = {range_remark, sizeof(range_remark), 0};
    cpe_dm_tool_add(&text, "%s %s to %s %s", possible ? "is mostly" : "can be", least, most, cpe_dm_tool_unit(key));
    return of(possible ? WARNING : IMPOSSIBLE, range_remark);
}

static finding judge_cgi(int64_t number, int bits) {
    return static_cast<uint64_t>(number) >> bits == 0 ? of(OK, "") : of(IMPOSSIBLE, "has more bits than an identity");
}

static bool is_lte_channel(uint32_t earfcn) {
    return cpe_dm_lte_band(earfcn) != 0 || cpe_dm_lte_band(earfcn + CPE_DM_LTE_EARFCN_CUT) != 0;
}

static finding judge_channel(bool there_is_one) {
    return there_is_one ? of(OK, "") : of(IMPOSSIBLE, "there is no such channel");
}

static bool cqi_possible(const cpe_dm_cw_cqi *carriers, uint32_t cnt, uint32_t room) {
    for (uint32_t i = 0; i < std::min(cnt, room); i++) {
        for (uint32_t k = 0; k < std::min<uint32_t>(carriers[i].cw_cqi_len, CPE_DM_CW_MAX); k++) {
            if (carriers[i].cw_cqi[k] > 15) {
                return false;
            }
        }
    }
    return cnt <= room;
}

static finding judge_cqi(bool possible) {
    return possible ? of(OK, "") : of(IMPOSSIBLE, "a CQI can be 0 to 15");
}

static finding judge_lte_locks(const cpe_dm_lte_cell_lock_list &locks) {
    for (uint32_t i = 0; i < std::min<uint32_t>(locks.lte_cell_list_len, CPE_DM_LTE_CELL_LOCK_MAX); i++) {
        if (locks.lte_cell_list[i].pci > 503 || !is_lte_channel(locks.lte_cell_list[i].freq)) {
            return of(IMPOSSIBLE, "there is no such cell");
        }
    }
    return of(OK, "");
}

static finding judge_nr5g_locks(const cpe_dm_nr5g_cell_lock_list &locks) {
    bool possible = !locks.cell_identity_valid || (locks.pci <= 1007 && cpe_dm_nr5g_khz(locks.arfcn) != 0);
    const uint32_t cnt =
        locks.arfcn_identity_valid ? std::min<uint32_t>(locks.arfcn_list_len, CPE_DM_NR5G_ARFCN_LOCK_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        possible = possible && cpe_dm_nr5g_khz(locks.arfcn_list[i]) != 0;
    }
    return possible ? of(OK, "") : of(IMPOSSIBLE, "there is no such cell or channel");
}

static finding judge_plmn(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    char data[CPE_DM_PLMN_TEXT_SIZE];
    cpe_dm_tool_text text = {data, sizeof(data), 0};
    cpe_dm_tool_add_value(&text, values, key);
    return data[strspn(data, "0123456789-")] == '\0' ? of(OK, "") : of(IMPOSSIBLE, "a digit of it is not decimal");
}

/* Judges a value that the modem reports. */
static finding judge_value(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const cpe_dm_metric_record *record = cpe_dm_tool_record_of(values, cpe_dm_tool_metric_of(key));
    for (const range_row &range : ranges) {
        if (range.key == key) {
            return judge_range(range, cpe_dm_tool_value_number(values, key));
        }
    }
    switch (key) {
    case CPE_DM_TOOL_LTE_CGI:
        return judge_cgi(cpe_dm_tool_value_number(values, key), 28);
    case CPE_DM_TOOL_NR5G_CGI:
        return judge_cgi(cpe_dm_tool_value_number(values, key), 36);
    case CPE_DM_TOOL_LTE_PLMN:
    case CPE_DM_TOOL_NR5G_PLMN:
        return judge_plmn(values, key);
    case CPE_DM_TOOL_LTE_EARFCN:
        return judge_channel(is_lte_channel(static_cast<uint32_t>(values->slot[CPE_DM_METRIC_LTE_EARFCN].number[0])));
    case CPE_DM_TOOL_NR5G_ARFCN:
        return judge_channel(
            cpe_dm_nr5g_khz(static_cast<uint32_t>(values->slot[CPE_DM_METRIC_NR5G_EARFCN].number[0])) != 0);
    case CPE_DM_TOOL_LTE_CQI:
        return judge_cqi(cqi_possible(record->lte_cqi.cc_cqi, record->lte_cqi.cc_cqi_len, CPE_DM_LTE_CC_MAX));
    case CPE_DM_TOOL_NR5G_CQI:
        return judge_cqi(cqi_possible(record->nr5g_cqi.cc_cqi, record->nr5g_cqi.cc_cqi_len, CPE_DM_NR5G_CC_MAX));
    case CPE_DM_TOOL_LTE_LOCK:
        return judge_lte_locks(record->lte_locks);
    case CPE_DM_TOOL_NR5G_LOCK:
        return judge_nr5g_locks(record->nr5g_locks);
    default: // a TAC, which can be any number
        return of(OK, "");
    }
}

static void test_value(const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    const int32_t status = cpe_dm_tool_value_status(values, key);
    char data[CPE_DM_VALUE_TEXT_SIZE * 3] = "";
    cpe_dm_tool_text value = {data, sizeof(data), 0};
    if (as_json) {
        cpe_dm_tool_add_json_value(&value, values, key);
    } else if (status == CPE_DM_SUCCESS) {
        cpe_dm_tool_add_value_unit(&value, values, key);
    }
    add_finding(cpe_dm_tool_name(key), data,
                status == CPE_DM_SUCCESS                ? judge_value(values, key)
                : status == CPE_DM_ERR_INFO_UNAVAILABLE ? of(NOT_REPORTED, "")
                                                        : of(FAILED, cpe_dm_status_name(status)));
}

static const uint32_t cell_metrics[][3] = {
    {CPE_DM_METRIC_LTE_CGI, CPE_DM_METRIC_LTE_PCI, CPE_DM_METRIC_LTE_EARFCN},
    {CPE_DM_METRIC_NR5G_CGI, CPE_DM_METRIC_NR5G_PCI, CPE_DM_METRIC_NR5G_EARFCN},
};

static bool same_cell(const cpe_dm_tool_values *a, const cpe_dm_tool_values *b, const uint32_t (&metrics)[3]) {
    bool same = true;
    for (const uint32_t metric : metrics) {
        same = same && a->slot[metric].status == b->slot[metric].status &&
               a->slot[metric].number[0] == b->slot[metric].number[0];
    }
    return same;
}

/* Asks for the serving cell twice more, so that there are three answers; `values` has the first answer. The second
 * answer has to be equal to the first or to the third answer: the modem may change to another cell once, not twice. */
static void test_same_cell(const cpe_dm_tool_values *values, const char *name, const uint32_t (&metrics)[3]) {
    cpe_dm_tool_values again[2];
    if (values->slot[metrics[1]].status != CPE_DM_SUCCESS) {
        return;
    }
    for (cpe_dm_tool_values &one : again) {
        cpe_dm_tool_clear_values(&one);
        for (const uint32_t metric : metrics) {
            cpe_dm_tool_ask(&one, metric);
        }
    }
    const bool same = same_cell(values, &again[0], metrics) || same_cell(&again[0], &again[1], metrics);
    add_finding(name, as_json ? "null" : "",
                same ? of(OK, "the same cell in two answers")
                     : of(IMPOSSIBLE, "the cell changed twice in three answers"));
}

static int exit_status_of_counts(bool in_service) {
    return counts[FAILED] > 0       ? CPE_DM_TOOL_FAILED
           : !in_service            ? CPE_DM_TOOL_NO_VALUE
           : counts[IMPOSSIBLE] > 0 ? CPE_DM_TOOL_NO
                                    : CPE_DM_TOOL_DONE;
}

static int test_all() {
    cpe_dm_tool_values values;
    cpe_dm_tool_keys keys = {};
    cpe_dm_tool_find_group("all", &keys);
    cpe_dm_tool_clear_values(&values);
    cpe_dm_tool_ask_all(&values, cpe_dm_tool_metrics_of(&keys));
    const bool in_service = values.slot[CPE_DM_METRIC_LTE_RSRP].status != CPE_DM_ERR_SERVICE_UNAVAILABLE;
    if (as_json) {
        const cpe_dm_tool_moment now = cpe_dm_tool_now();
        cpe_dm_tool_add_json_moment(&out, &now);
        cpe_dm_tool_add(&out, "\"values\":[");
    }
    for (int i = 0; i < keys.cnt; i++) {
        const bool derived = cpe_dm_tool_is_derived(keys.key[i]);
        if (!derived && (in_service || keys.key[i] == CPE_DM_TOOL_REG)) {
            test_value(&values, keys.key[i]);
        }
    }
    test_same_cell(&values, "lte cell", cell_metrics[0]);
    test_same_cell(&values, "nr5g cell", cell_metrics[1]);
    const int status = exit_status_of_counts(in_service);
    if (as_json) {
        cpe_dm_tool_add(&out, "],\"ok\":%s}\n", status == CPE_DM_TOOL_DONE ? "true" : "false");
    } else {
        cpe_dm_tool_add(&out, "%d ok, %d with a warning, %d impossible, %d not reported, %d failed\n", counts[OK],
                        counts[WARNING], counts[IMPOSSIBLE], counts[NOT_REPORTED], counts[FAILED]);
    }
    if (!in_service) {
        cpe_dm_tool_tell("out of service: nothing but the registration status was tested; try again in service");
    }
    return cpe_dm_tool_worse(cpe_dm_tool_print(&out), status);
}

int cpe_dm_tool_selftest(const cpe_dm_tool_options *options) {
    as_json = (options->given & CPE_DM_TOOL_JSON) != 0;
    return cpe_dm_tool_run_session(options->timeout_ms, cpe_dm_tool_drop_event, test_all);
}
