#include "cpe_dm_tool_prometheus.h"

#include "cpe_dm_tool_out.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/* The Prometheus gauges that have one sample for each technology. */
static constexpr struct {
    char name[13];
    const char *help;
    cpe_dm_tool_key key[2]; /* the key of LTE and the key of NR 5G */
} gauges[] = {
    {"rsrp_dbm", "Reference signal received power.", {CPE_DM_TOOL_LTE_RSRP, CPE_DM_TOOL_NR5G_RSRP}},
    {"rsrq_db", "Reference signal received quality.", {CPE_DM_TOOL_LTE_RSRQ, CPE_DM_TOOL_NR5G_RSRQ}},
    {"sinr_db", "Signal to interference and noise ratio.", {CPE_DM_TOOL_LTE_SINR, CPE_DM_TOOL_NR5G_SINR}},
    {"tx_power_dbm", "Transmit power.", {CPE_DM_TOOL_LTE_TX_POWER, CPE_DM_TOOL_NR5G_TX_POWER}},
};

static const char tech_labels[][5] = {"lte", "nr5g"};

/* The labels of the Prometheus metric cpe_dm_cell_info. In the sample for LTE, a label shows the value of the LTE key;
 * in the sample for NR 5G, it shows the value of the NR 5G key. start_sample adds one more label, "technology". */
static constexpr struct {
    char name[8];
    cpe_dm_tool_key key[2];
} cell_labels[] = {
    {"plmn", {CPE_DM_TOOL_LTE_PLMN, CPE_DM_TOOL_NR5G_PLMN}},       {"tac", {CPE_DM_TOOL_LTE_TAC, CPE_DM_TOOL_NR5G_TAC}},
    {"cgi", {CPE_DM_TOOL_LTE_CGI, CPE_DM_TOOL_NR5G_CGI}},          {"pci", {CPE_DM_TOOL_LTE_PCI, CPE_DM_TOOL_NR5G_PCI}},
    {"channel", {CPE_DM_TOOL_LTE_EARFCN, CPE_DM_TOOL_NR5G_ARFCN}},
};

static constexpr cpe_dm_tool_key cqi_keys[] = {CPE_DM_TOOL_LTE_CQI, CPE_DM_TOOL_NR5G_CQI};

/* The keys that are not written to the Prometheus file: the derived keys, whose values follow from the labels "cgi" and
 * "channel", and the cell locks, which are lists and not single numbers. */
static constexpr cpe_dm_tool_key left_out[] = {
    CPE_DM_TOOL_LTE_ENB,  CPE_DM_TOOL_LTE_CELL,     CPE_DM_TOOL_LTE_BAND,
    CPE_DM_TOOL_LTE_MHZ,  CPE_DM_TOOL_LTE_BAND_ALT, CPE_DM_TOOL_LTE_MHZ_ALT,
    CPE_DM_TOOL_LTE_LOCK, CPE_DM_TOOL_NR5G_MHZ,     CPE_DM_TOOL_NR5G_LOCK,
};

static constexpr bool is_in_file(cpe_dm_tool_key key) {
    bool found = key == CPE_DM_TOOL_REG || key == cqi_keys[0] || key == cqi_keys[1];
    for (const auto &gauge : gauges) {
        found = found || key == gauge.key[0] || key == gauge.key[1];
    }
    for (const auto &label : cell_labels) {
        found = found || key == label.key[0] || key == label.key[1];
    }
    return found;
}

static constexpr bool every_key_is_in_file() {
    for (int i = 0; i < CPE_DM_TOOL_KEY_CNT; i++) {
        bool found = is_in_file(static_cast<cpe_dm_tool_key>(i));
        for (const cpe_dm_tool_key key : left_out) {
            found = found || key == i;
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(every_key_is_in_file(), "a new key has a row above, or is left out for a reason");

void cpe_dm_tool_add_prometheus_keys(cpe_dm_tool_keys *keys) {
    cpe_dm_tool_add_key(keys, CPE_DM_TOOL_REG);
    for (int tech = 0; tech < 2; tech++) {
        for (const auto &gauge : gauges) {
            cpe_dm_tool_add_key(keys, gauge.key[tech]);
        }
        for (const auto &label : cell_labels) {
            cpe_dm_tool_add_key(keys, label.key[tech]);
        }
        cpe_dm_tool_add_key(keys, cqi_keys[tech]);
    }
}

/* The length of the name in a label NAME=VALUE; 0 when the text has another form, or Prometheus does not allow the
 * name. */
static size_t name_len(const char *label) {
    const char *letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
    const size_t len = strspn(label, letters);
    return label[len] == '=' && strncmp(label, "__", 2) != 0 && (label[0] < '0' || label[0] > '9') ? len : 0;
}

static bool is_name(const char *label, size_t len, const char *name) {
    return strlen(name) == len && strncmp(label, name, len) == 0;
}

static bool is_own_name(const char *label, size_t len) {
    for (const auto &own : cell_labels) {
        if (is_name(label, len, own.name)) {
            return true;
        }
    }
    return is_name(label, len, "technology") || is_name(label, len, "carrier") || is_name(label, len, "codeword");
}

/* The number of bytes that follow the first byte of a UTF-8 character; -1: no character begins with this byte. */
static int bytes_behind(unsigned char first) {
    return first < 0x80                    ? 0
           : first >= 0xC2 && first < 0xE0 ? 1
           : first >= 0xE0 && first < 0xF0 ? 2
           : first >= 0xF0 && first < 0xF5 ? 3
                                           : -1;
}

static bool is_utf8(const char *text) {
    while (*text != '\0') {
        int behind = bytes_behind(static_cast<unsigned char>(*text++));
        for (; behind > 0 && (static_cast<unsigned char>(*text) & 0xC0) == 0x80; behind--) {
            text++;
        }
        if (behind != 0) {
            return false;
        }
    }
    return true;
}

bool cpe_dm_tool_check_labels(const char *const *labels, int cnt) {
    for (int i = 0; i < cnt; i++) {
        const size_t len = name_len(labels[i]);
        bool twice = false;
        for (int before = 0; before < i; before++) {
            twice = twice || (len > 0 && strncmp(labels[before], labels[i], len + 1) == 0);
        }
        if (len == 0 || is_own_name(labels[i], len) || twice || !is_utf8(labels[i])) {
            cpe_dm_tool_tell(
                "--label %s: a label is NAME=VALUE, with a new name of letters, digits and _, and a value in "
                "UTF-8",
                labels[i]);
            return false;
        }
    }
    return true;
}

static char file_data[24576];
static cpe_dm_tool_text file = {file_data, sizeof(file_data), 0};
static const char *const *own_labels;
static int own_label_cnt;

static void add_head(const char *name, const char *type, const char *help) {
    cpe_dm_tool_add(&file, "# HELP cpe_dm_%s %s\n# TYPE cpe_dm_%s %s\n", name, help, name, type);
}

/* Adds one label, with its value escaped. */
static void add_label(const char *name, size_t name_size, const char *value) {
    cpe_dm_tool_add(&file, "%s%.*s=\"", file_data[file.used - 1] == '{' ? "" : ",", static_cast<int>(name_size), name);
    for (; *value != '\0'; value++) {
        if (*value == '\n') {
            cpe_dm_tool_add(&file, "\\n");
        } else {
            cpe_dm_tool_add(&file, *value == '"' || *value == '\\' ? "\\%c" : "%c", *value);
        }
    }
    cpe_dm_tool_add(&file, "\"");
}

/* Adds the beginning of a sample (a line with one value): the name, the opening brace and the labels. The closing brace
 * is left to end_sample, so that the caller can add more labels. */
static void start_sample(const char *name, const char *technology) {
    cpe_dm_tool_add(&file, "cpe_dm_%s{", name);
    if (technology != nullptr) {
        add_label("technology", strlen("technology"), technology);
    }
    for (int i = 0; i < own_label_cnt; i++) {
        const size_t len = name_len(own_labels[i]);
        add_label(own_labels[i], len, own_labels[i] + len + 1);
    }
}

static void end_sample(const char *value) {
    if (file_data[file.used - 1] == '{') {
        file.used--;
        cpe_dm_tool_add(&file, " %s\n", value);
    } else {
        cpe_dm_tool_add(&file, "} %s\n", value);
    }
}

static void add_number(const char *name, const char *technology, int64_t number) {
    char data[CPE_DM_COUNT_TEXT_SIZE];
    start_sample(name, technology);
    end_sample(cpe_dm_count_text(data, sizeof(data), number, 1));
}

static void add_values(const cpe_dm_tool_values *values) {
    for (const auto &gauge : gauges) {
        add_head(gauge.name, "gauge", gauge.help);
        for (int tech = 0; tech < 2; tech++) {
            if (cpe_dm_tool_value_status(values, gauge.key[tech]) == CPE_DM_SUCCESS) {
                char data[CPE_DM_COUNT_TEXT_SIZE];
                cpe_dm_tool_text value = {data, sizeof(data), 0};
                cpe_dm_tool_add_value(&value, values, gauge.key[tech]);
                start_sample(gauge.name, tech_labels[tech]);
                end_sample(data);
            }
        }
    }
}

static void add_carriers(const cpe_dm_cw_cqi *carriers, uint32_t cnt, const char *technology) {
    for (uint32_t i = 0; i < cnt; i++) {
        for (uint32_t k = 0; k < std::min<uint32_t>(carriers[i].cw_cqi_len, CPE_DM_CW_MAX); k++) {
            char value[CPE_DM_COUNT_TEXT_SIZE];
            start_sample("cqi", technology);
            cpe_dm_tool_add(&file, ",carrier=\"%" PRIu32 "\",codeword=\"%" PRIu32 "\"", i, k);
            end_sample(cpe_dm_count_text(value, sizeof(value), carriers[i].cw_cqi[k], 1));
        }
    }
}

static void add_cqi(const cpe_dm_tool_values *values) {
    add_head("cqi", "gauge", "Channel quality indicator of a codeword.");
    if (cpe_dm_tool_value_status(values, CPE_DM_TOOL_LTE_CQI) == CPE_DM_SUCCESS) {
        const cpe_dm_lte_cqi_info &cqi = cpe_dm_tool_record_of(values, CPE_DM_METRIC_LTE_CQI)->lte_cqi;
        add_carriers(cqi.cc_cqi, std::min<uint32_t>(cqi.cc_cqi_len, CPE_DM_LTE_CC_MAX), tech_labels[0]);
    }
    if (cpe_dm_tool_value_status(values, CPE_DM_TOOL_NR5G_CQI) == CPE_DM_SUCCESS) {
        const cpe_dm_nr5g_cqi_info &cqi = cpe_dm_tool_record_of(values, CPE_DM_METRIC_NR5G_CQI)->nr5g_cqi;
        add_carriers(cqi.cc_cqi, std::min<uint32_t>(cqi.cc_cqi_len, CPE_DM_NR5G_CC_MAX), tech_labels[1]);
    }
}

/* Adds a sample for each technology whose serving cell has a value for at least one label. */
static void add_cells(const cpe_dm_tool_values *values) {
    add_head("cell_info", "gauge", "The serving cell, in the labels; always 1.");
    for (int tech = 0; tech < 2; tech++) {
        bool there = false;
        for (const auto &label : cell_labels) {
            there = there || cpe_dm_tool_value_status(values, label.key[tech]) == CPE_DM_SUCCESS;
        }
        if (!there) {
            continue;
        }
        start_sample("cell_info", tech_labels[tech]);
        for (const auto &label : cell_labels) {
            if (cpe_dm_tool_value_status(values, label.key[tech]) == CPE_DM_SUCCESS) {
                char data[CPE_DM_COUNT_TEXT_SIZE];
                cpe_dm_tool_text value = {data, sizeof(data), 0};
                cpe_dm_tool_add_value(&value, values, label.key[tech]);
                add_label(label.name, strlen(label.name), data);
            }
        }
        end_sample("1");
    }
}

/* Writes the text in file_data to a temporary file, which then replaces the file at this path. Returns 0 or an errno
 * value. */
static int replace_file(const char *path) {
    char temporary[PATH_MAX];
    if (snprintf(temporary, sizeof(temporary), "%s.tmp", path) >= int{sizeof(temporary)}) {
        return ENAMETOOLONG;
    }
    const int fd = open(temporary, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        return errno;
    }
    // Everybody may read the file, whatever the umask is.
    int error = fchmod(fd, 0644) == 0 ? cpe_dm_tool_write(fd, file_data, file.used) : errno;
    error = close(fd) == 0 || error != 0 ? error : errno;
    error = error == 0 && rename(temporary, path) != 0 ? errno : error;
    if (error != 0) {
        unlink(temporary);
    }
    return error;
}

int cpe_dm_tool_write_prometheus(const char *path, const char *const *labels, int label_cnt,
                                 const cpe_dm_tool_report *report, const cpe_dm_tool_change_counts *changes) {
    const cpe_dm_tool_values *values = &report->values;
    const cpe_dm_tool_slot &reg = values->slot[CPE_DM_METRIC_REG_STATUS];
    own_labels = labels;
    own_label_cnt = label_cnt;
    file.used = 0;
    add_head("up", "gauge", "Whether the modem answers.");
    add_number("up", nullptr, report->up && reg.status == CPE_DM_SUCCESS ? 1 : 0);
    add_head("registration_status", "gauge",
             "1 none, 2 power save, 3 limited, 4 limited regional, 5 LTE, 6 LTE with NR 5G, 7 NR 5G.");
    if (reg.status == CPE_DM_SUCCESS) {
        add_number("registration_status", nullptr, reg.number[0]);
    }
    add_values(values);
    add_cqi(values);
    add_cells(values);
    add_head("registration_changes_total", "counter", "Changes of the registration status that were seen.");
    add_number("registration_changes_total", nullptr, changes->registration);
    add_head("cell_changes_total", "counter", "Changes of the serving cell from one row to the next.");
    add_number("cell_changes_total", tech_labels[0], changes->lte_cell);
    add_number("cell_changes_total", tech_labels[1], changes->nr5g_cell);
    add_head("failed_requests_total", "counter", "Requests that the modem did not answer or refused.");
    add_number("failed_requests_total", nullptr, report->failed_requests);
    add_head("registrations_anew_total", "counter", "Registrations with a modem that had gone.");
    add_number("registrations_anew_total", nullptr, report->registrations_anew);
    add_head("last_answer_timestamp_seconds", "gauge", "When the modem answered last.");
    if (report->answer_time.tv_sec != 0) {
        add_number("last_answer_timestamp_seconds", nullptr, report->answer_time.tv_sec);
    }
    return replace_file(path);
}
