/* Keys, which are names of values such as "lte.rsrp", and their values. The modem reports some of the values; the
 * others are derived from reported values. */
#ifndef CPE_DM_TOOL_VALUES_H
#define CPE_DM_TOOL_VALUES_H

#include "cpe_dm_text.h"
#include "cpe_dm_tool_text.h"

/* The answer for one metric. */
struct cpe_dm_tool_slot {
    int32_t status;      /* a cpe_dm_status, or CPE_DM_TOOL_NOT_ANSWERED */
    int64_t answered_ms; /* when the answer came, on the monotonic clock */
    int64_t number[3];   /* one byte in each element for a PLMN or an NR 5G TAC; otherwise the value in number[0] */
};

enum {
    CPE_DM_TOOL_NOT_ANSWERED = 1, /* not asked, or not answered yet */
    CPE_DM_TOOL_NO_CHANNEL = 2,   /* no value can be derived, because the modem reports no valid channel number */
    CPE_DM_TOOL_RECORD_CNT = 4,
};

/* The answers for all metrics. The struct has no pointers and may be copied. */
struct cpe_dm_tool_values {
    cpe_dm_tool_slot slot[CPE_DM_METRIC_CNT];
    cpe_dm_metric_record record[CPE_DM_TOOL_RECORD_CNT]; /* the values of the metrics that fill a record */
};

/* Marks every metric as not answered. */
void cpe_dm_tool_clear_values(cpe_dm_tool_values *values);

/* The record in *values for this metric, or null when the metric fills no record. */
const cpe_dm_metric_record *cpe_dm_tool_record_of(const cpe_dm_tool_values *values, uint32_t metric);
cpe_dm_metric_record *cpe_dm_tool_record_of(cpe_dm_tool_values *values, uint32_t metric);

/* The keys: the metrics of the serving cells, and the values that are derived from these metrics. */
enum cpe_dm_tool_key {
    CPE_DM_TOOL_REG,
    CPE_DM_TOOL_LTE_PLMN,
    CPE_DM_TOOL_LTE_TAC,
    CPE_DM_TOOL_LTE_CGI,
    CPE_DM_TOOL_LTE_ENB,
    CPE_DM_TOOL_LTE_CELL,
    CPE_DM_TOOL_LTE_PCI,
    CPE_DM_TOOL_LTE_EARFCN,
    CPE_DM_TOOL_LTE_BAND,
    CPE_DM_TOOL_LTE_MHZ,
    CPE_DM_TOOL_LTE_BAND_ALT,
    CPE_DM_TOOL_LTE_MHZ_ALT,
    CPE_DM_TOOL_LTE_RSRP,
    CPE_DM_TOOL_LTE_RSRQ,
    CPE_DM_TOOL_LTE_SINR,
    CPE_DM_TOOL_LTE_CQI,
    CPE_DM_TOOL_LTE_TX_POWER,
    CPE_DM_TOOL_LTE_LOCK,
    CPE_DM_TOOL_NR5G_PLMN,
    CPE_DM_TOOL_NR5G_TAC,
    CPE_DM_TOOL_NR5G_CGI,
    CPE_DM_TOOL_NR5G_PCI,
    CPE_DM_TOOL_NR5G_ARFCN,
    CPE_DM_TOOL_NR5G_MHZ,
    CPE_DM_TOOL_NR5G_RSRP,
    CPE_DM_TOOL_NR5G_RSRQ,
    CPE_DM_TOOL_NR5G_SINR,
    CPE_DM_TOOL_NR5G_CQI,
    CPE_DM_TOOL_NR5G_TX_POWER,
    CPE_DM_TOOL_NR5G_LOCK,
    CPE_DM_TOOL_KEY_CNT,
};

/* The form of a value, which decides how the value is compared and written. */
enum cpe_dm_tool_kind : uint8_t {
    CPE_DM_TOOL_NUMBER,
    CPE_DM_TOOL_NAME, /* a word; the registration status is the only value of this form */
    CPE_DM_TOOL_PLMN,
    CPE_DM_TOOL_LIST, /* CQI, cell locks */
};

/* The limits of a signal value, in counts. A value is good if it is at least `good_from`. A lower value is fair if it
 * is at least `fair_from`, and poor otherwise. */
struct cpe_dm_tool_limits {
    int16_t good_from;
    int16_t fair_from;
};

/* The properties of a key. The metric of a derived key is the metric from which the value is derived. */
uint32_t cpe_dm_tool_metric_of(cpe_dm_tool_key key);
uint32_t cpe_dm_tool_tech_of(cpe_dm_tool_key key); /* a cpe_dm_tech */
bool cpe_dm_tool_is_derived(cpe_dm_tool_key key);
cpe_dm_tool_kind cpe_dm_tool_kind_of(cpe_dm_tool_key key);
const char *cpe_dm_tool_name(cpe_dm_tool_key key);       /* "lte.band" */
const char *cpe_dm_tool_short_name(cpe_dm_tool_key key); /* without the technology: "band" */
const char *cpe_dm_tool_unit(cpe_dm_tool_key key);
const char *cpe_dm_tool_meaning(cpe_dm_tool_key key);
uint32_t cpe_dm_tool_counts_per_unit(cpe_dm_tool_key key);
const cpe_dm_tool_limits *cpe_dm_tool_limits_of(cpe_dm_tool_key key); /* null: the key has no limits */

/* A list of keys in the order in which they were added. No key is in the list twice. */
struct cpe_dm_tool_keys {
    cpe_dm_tool_key key[CPE_DM_TOOL_KEY_CNT];
    int cnt;
};

void cpe_dm_tool_add_key(cpe_dm_tool_keys *keys, cpe_dm_tool_key key);
bool cpe_dm_tool_has_key_of(const cpe_dm_tool_keys *keys, uint32_t tech);
bool cpe_dm_tool_find_key(const char *name, cpe_dm_tool_key *key);

/* Adds the keys of the group that the word names ("lte", "nr5g" or "all"). Returns false when the word names no
 * group. */
bool cpe_dm_tool_find_group(const char *word, cpe_dm_tool_keys *keys);

/* Adds the keys that the words name. Each word is the name of a key or of a group. When a word names neither, prints a
 * message and returns false. */
bool cpe_dm_tool_add_words(cpe_dm_tool_keys *keys, char *const *words, int cnt);

/* The metrics from which the values of these keys are obtained, one bit for each metric. */
uint64_t cpe_dm_tool_metrics_of(const cpe_dm_tool_keys *keys);

/* CPE_DM_SUCCESS when the key has a value. Otherwise the reason why it has none: the status of the answer, or
 * CPE_DM_TOOL_NO_CHANNEL. */
int32_t cpe_dm_tool_value_status(const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* The value of a key in counts. The key must have a value, and the value must be a number. An NR 5G CGI is an unsigned
 * 64-bit number; its bits are returned unchanged. */
int64_t cpe_dm_tool_value_number(const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* Both functions add the value of a key to `text`. The key must have a value. cpe_dm_tool_add_value_unit also adds the
 * unit. */
void cpe_dm_tool_add_value(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key);
void cpe_dm_tool_add_value_unit(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, cpe_dm_tool_key key);

/* "good", "fair" or "poor" for a value of the key, given in counts; "" when the key has no limits. */
const char *cpe_dm_tool_verdict(cpe_dm_tool_key key, int64_t count);

#endif
