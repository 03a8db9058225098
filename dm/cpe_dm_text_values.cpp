#include "cpe_dm_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

char *cpe_dm_count_text(char *text, size_t size, int64_t count, uint32_t counts_per_unit) {
    // The magnitude is unsigned, because the magnitude of INT64_MIN does not fit into an int64_t.
    const uint64_t magnitude = count < 0 ? 0 - static_cast<uint64_t>(count) : static_cast<uint64_t>(count);
    const char *sign = count < 0 ? "-" : "";
    const int decimals = counts_per_unit >= 1000 ? 3 : counts_per_unit >= 100 ? 2 : counts_per_unit >= 10 ? 1 : 0;
    if (decimals == 0) {
        snprintf(text, size, "%s%" PRIu64, sign, magnitude);
    } else {
        snprintf(text, size, "%s%" PRIu64 ".%0*" PRIu64, sign, magnitude / counts_per_unit, decimals,
                 magnitude % counts_per_unit);
    }
    return text;
}

char *cpe_dm_mhz_text(char *text, size_t size, uint32_t khz) {
    // `count` has 64 bits, like the magnitude in cpe_dm_count_text. On a processor without a division instruction, a
    // 32-bit `count` would add a second division routine to the program.
    uint64_t count = khz;
    uint32_t counts_per_unit = 1000;
    while (counts_per_unit > 1 && count % 10 == 0) {
        count /= 10;
        counts_per_unit /= 10;
    }
    return cpe_dm_count_text(text, size, static_cast<int64_t>(count), counts_per_unit);
}

char *cpe_dm_plmn_text(char *text, size_t size, const cpe_dm_plmn *plmn) {
    snprintf(text, size, plmn->plmn_mnc_includes_pcs_digit ? "%03u-%03u" : "%03u-%02u", unsigned{plmn->plmn_mcc},
             unsigned{plmn->plmn_mnc});
    return text;
}

/* Returns one of the two hexadecimal digits of the byte in bytes[i]: the low digit when `half` is 0, the high digit
 * when `half` is 1. */
static unsigned half_byte(const int64_t *bytes, int i, unsigned half) {
    return static_cast<unsigned>(bytes[i] >> (4 * half)) & 0xF;
}

char *cpe_dm_plmn_bytes_text(char *text, size_t size, const int64_t *bytes) {
    const unsigned third_mnc_digit = half_byte(bytes, 1, 1);
    const int len = snprintf(text, size, "%x%x%x-%x%x", half_byte(bytes, 0, 0), half_byte(bytes, 0, 1),
                             half_byte(bytes, 1, 0), half_byte(bytes, 2, 0), half_byte(bytes, 2, 1));
    const auto used = static_cast<size_t>(len);
    if (third_mnc_digit != 0xF && used < size) { // 0xF means that the MNC has only two digits
        snprintf(text + used, size - used, "%x", third_mnc_digit);
    }
    return text;
}

uint32_t cpe_dm_nr5g_tac(const int64_t *bytes) {
    return static_cast<uint32_t>((bytes[0] & 0xFF) << 16 | (bytes[1] & 0xFF) << 8 | (bytes[2] & 0xFF));
}

uint32_t cpe_dm_lte_cgi_enb(uint32_t cgi) {
    return cgi >> 8;
}

uint32_t cpe_dm_lte_cgi_cell(uint32_t cgi) {
    return cgi & 0xFF;
}

void cpe_dm_prepare_request(cpe_dm_info *info, uint32_t id, cpe_dm_metric_record *record) {
    *info = {};
    info->info_type = CPE_DM_INFO_TYPE_REQUEST;
    info->id = id;
    switch (id) {
    case CPE_DM_METRIC_LTE_CQI:
    case CPE_DM_METRIC_NR5G_CQI:
        info->value.cqi_info = record;
        break;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        info->value.lte_cell_lock_list = &record->lte_locks;
        break;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        info->value.nr5g_cell_lock_list = &record->nr5g_locks;
        break;
    default:
        return;
    }
    memset(record, 0, sizeof(*record));
}

static bool all_zero(const int64_t *bytes) {
    return bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0;
}

int cpe_dm_is_reported(const cpe_dm_info *info, uint32_t reg_status, int64_t nr5g_cgi) {
    switch (info->id) {
    case CPE_DM_METRIC_NR5G_EARFCN:
    case CPE_DM_METRIC_NR5G_CGI:
        return info->value.i64_val != 0;
    case CPE_DM_METRIC_NR5G_PLMN:
    case CPE_DM_METRIC_NR5G_TAC:
        return !all_zero(info->value.i64_list);
    case CPE_DM_METRIC_NR5G_PCI:
        return info->value.i64_val != 0 || nr5g_cgi != 0 || reg_status == CPE_DM_REG_LTE_NR5G;
    default:
        return 1;
    }
}

/* A buffer for a list of entries. The function append adds text. start_entry adds the space between two entries. */
struct entries {
    char *text;
    size_t size;
    size_t used;
};

__attribute__((format(printf, 2, 3))) static void append(entries *to, const char *format, ...) {
    if (to->used >= to->size) {
        return;
    }
    va_list args;
    va_start(args, format);
    to->used += static_cast<size_t>(vsnprintf(to->text + to->used, to->size - to->used, format, args));
    va_end(args);
}

static void start_entry(entries *to) {
    append(to, "%s", to->used > 0 ? " " : "");
}

static void cqi_text(entries *to, const cpe_dm_cw_cqi *carriers, uint32_t cnt) {
    for (uint32_t i = 0; i < cnt; i++) {
        const uint32_t len = std::min<uint32_t>(carriers[i].cw_cqi_len, CPE_DM_CW_MAX);
        start_entry(to);
        for (uint32_t k = 0; k < len; k++) {
            append(to, "%s%u", k > 0 ? "/" : "", unsigned{carriers[i].cw_cqi[k]});
        }
        if (len == 0) {
            append(to, "-");
        }
    }
}

static void lock_cell_text(entries *to, uint32_t channel, unsigned pci) {
    start_entry(to);
    append(to, "%" PRIu32 "/%u", channel, pci);
}

static void lte_locks_text(entries *to, const cpe_dm_lte_cell_lock_list *locks) {
    const uint32_t cnt = std::min<uint32_t>(locks->lte_cell_list_len, CPE_DM_LTE_CELL_LOCK_MAX);
    for (uint32_t i = 0; i < cnt; i++) {
        lock_cell_text(to, locks->lte_cell_list[i].freq, locks->lte_cell_list[i].pci);
    }
}

static void nr5g_locks_text(entries *to, const cpe_dm_nr5g_cell_lock_list *locks) {
    if (locks->cell_identity_valid) {
        lock_cell_text(to, locks->arfcn, locks->pci);
        return;
    }
    const uint32_t cnt =
        locks->arfcn_identity_valid ? std::min<uint32_t>(locks->arfcn_list_len, CPE_DM_NR5G_ARFCN_LOCK_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        start_entry(to);
        append(to, "%" PRIu32, locks->arfcn_list[i]);
    }
}

static void list_text(entries *to, const cpe_dm_info *info) {
    switch (info->id) {
    case CPE_DM_METRIC_LTE_CQI: {
        const auto *cqi = static_cast<const cpe_dm_lte_cqi_info *>(info->value.cqi_info);
        cqi_text(to, cqi->cc_cqi, std::min<uint32_t>(cqi->cc_cqi_len, CPE_DM_LTE_CC_MAX));
        break;
    }
    case CPE_DM_METRIC_NR5G_CQI: {
        const auto *cqi = static_cast<const cpe_dm_nr5g_cqi_info *>(info->value.cqi_info);
        cqi_text(to, cqi->cc_cqi, std::min<uint32_t>(cqi->cc_cqi_len, CPE_DM_NR5G_CC_MAX));
        break;
    }
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        lte_locks_text(to, info->value.lte_cell_lock_list);
        break;
    default:
        nr5g_locks_text(to, info->value.nr5g_cell_lock_list);
        break;
    }
    if (to->used == 0) {
        append(to, "none");
    }
}

char *cpe_dm_value_text(char *text, size_t size, const cpe_dm_info *info) {
    const cpe_dm_metric_desc *metric = cpe_dm_metric_by_id(info->id);
    entries to = {text, size, 0};
    append(&to, "%s", "");
    if (metric == nullptr || info->info_type != CPE_DM_INFO_TYPE_REQUEST) {
        return text;
    }
    switch (info->value_type) {
    case CPE_DM_VALUE_UINT32:
        append(&to, "%s", cpe_dm_reg_status_name(info->value.u32_val));
        break;
    case CPE_DM_VALUE_INT64:
        if (info->id == CPE_DM_METRIC_NR5G_CGI) { // an unsigned 64-bit identity
            append(&to, "%" PRIu64, static_cast<uint64_t>(info->value.i64_val));
        } else {
            cpe_dm_count_text(text, size, info->value.i64_val, metric->counts_per_unit);
        }
        break;
    case CPE_DM_VALUE_INT64_LIST:
        if (info->id == CPE_DM_METRIC_NR5G_TAC) {
            append(&to, "%" PRIu32, cpe_dm_nr5g_tac(info->value.i64_list));
        } else {
            cpe_dm_plmn_bytes_text(text, size, info->value.i64_list);
        }
        break;
    case CPE_DM_VALUE_CQI_INFO:
    case CPE_DM_VALUE_CELL_LOCK_LIST:
        list_text(&to, info);
        break;
    default:
        break;
    }
    return text;
}

void cpe_dm_release_info(cpe_dm_info *info) {
    if (info == nullptr) {
        return;
    }
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO) {
        free(info->value.lte_nbr_info);
    } else if (info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        free(info->value.nr5g_nbr_info);
    }
    free(info);
}
