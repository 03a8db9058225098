#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_session.h"
#include "cpe_dm_tool_thread.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstring>
#include <iterator>
#include <unistd.h>

static bool as_json;
static bool scan_lte;
static bool scan_nr5g;
static char out_data[16384];
static cpe_dm_tool_text out = {out_data, sizeof(out_data), 0};

static int answered;                        /* a bell (cpe_dm_tool_new_bell) that rings when the response has come */
static std::atomic<cpe_dm_info *> response; /* the response, or null; released by the thread that takes it out */

static void on_response(cpe_dm_hndl /*hndl*/, cpe_dm_info *info, void * /*user_data*/) {
    if (info->info_type == CPE_DM_INFO_TYPE_ASYNC_RSP) {
        info = response.exchange(info);
        cpe_dm_tool_ring(answered);
    }
    cpe_dm_release_info(info);
}

/* A neighbour cell of LTE or NR 5G. */
struct neighbour {
    uint32_t tech;
    uint32_t channel;
    uint32_t pci;
    const int16_t *rsrp; /* null: not reported */
    const int16_t *rsrq;
    const cpe_dm_plmn *plmn;
    uint32_t plmn_cnt;
    uint64_t cgi[CPE_DM_NR5G_NBR_CGI_MAX];
    uint32_t cgi_cnt;
};

static const char table_form[] = "%-10s  %-8s  %-4s  %-9s  %-4s  %-8s  %-7s  %-20s  %s\n";

static void add_heading() {
    if (!as_json) {
        cpe_dm_tool_add(&out, table_form, "technology", "channel", "band", "MHz", "PCI", "RSRP dBm", "RSRQ dB", "CGI",
                        "PLMN");
    }
}

/* Writes a number as text. When `there` is false, writes "null" for JSON and "-" for the table. */
static void write_number(char *data, size_t size, bool there, int64_t number) {
    cpe_dm_tool_text text = {data, size, 0};
    cpe_dm_tool_add(&text, "%s", as_json ? "null" : "-");
    if (there) {
        cpe_dm_count_text(data, size, number, 1);
    }
}

/* Adds the CGIs of a neighbour, with commas between them. In the table, "-" stands for an empty list. */
static void add_cgis(cpe_dm_tool_text *text, const neighbour &nbr) {
    for (uint32_t i = 0; i < nbr.cgi_cnt; i++) {
        cpe_dm_tool_add(text, "%s%" PRIu64, i > 0 ? "," : "", nbr.cgi[i]);
    }
    cpe_dm_tool_add(text, "%s", nbr.cgi_cnt == 0 && !as_json ? "-" : "");
}

static void add_plmns(cpe_dm_tool_text *text, const neighbour &nbr) {
    const char *mark = as_json ? "\"" : "";
    for (uint32_t i = 0; i < nbr.plmn_cnt; i++) {
        char plmn[CPE_DM_PLMN_TEXT_SIZE];
        cpe_dm_tool_add(text, "%s%s%s%s", i > 0 ? "," : "", mark, cpe_dm_plmn_text(plmn, sizeof(plmn), &nbr.plmn[i]),
                        mark);
    }
    cpe_dm_tool_add(text, "%s", nbr.plmn_cnt == 0 && !as_json ? "-" : "");
}

static void add_neighbour(const neighbour &nbr) {
    const bool lte = nbr.tech == CPE_DM_TECH_LTE;
    const uint32_t khz = lte ? cpe_dm_lte_khz(nbr.channel) : cpe_dm_nr5g_khz(nbr.channel);
    const uint32_t band = lte ? cpe_dm_lte_band(nbr.channel) : 0;
    char channel[CPE_DM_COUNT_TEXT_SIZE];
    char band_text[CPE_DM_COUNT_TEXT_SIZE];
    char mhz[CPE_DM_COUNT_TEXT_SIZE];
    char pci[CPE_DM_COUNT_TEXT_SIZE];
    char rsrp[CPE_DM_COUNT_TEXT_SIZE];
    char rsrq[CPE_DM_COUNT_TEXT_SIZE];
    char cgi_data[CPE_DM_NR5G_NBR_CGI_MAX * 21 + 2] = "";
    char plmn_data[CPE_DM_NR5G_NBR_PLMN_MAX * (CPE_DM_PLMN_TEXT_SIZE + 2) + 2] = "";
    cpe_dm_tool_text cgis = {cgi_data, sizeof(cgi_data), 0};
    cpe_dm_tool_text plmns = {plmn_data, sizeof(plmn_data), 0};
    write_number(channel, sizeof(channel), true, nbr.channel);
    write_number(band_text, sizeof(band_text), band != 0, band);
    write_number(mhz, sizeof(mhz), false, 0);
    if (khz != 0) {
        cpe_dm_mhz_text(mhz, sizeof(mhz), khz);
    }
    write_number(pci, sizeof(pci), true, nbr.pci);
    write_number(rsrp, sizeof(rsrp), nbr.rsrp != nullptr, nbr.rsrp != nullptr ? *nbr.rsrp : 0);
    write_number(rsrq, sizeof(rsrq), nbr.rsrq != nullptr, nbr.rsrq != nullptr ? *nbr.rsrq : 0);
    add_cgis(&cgis, nbr);
    add_plmns(&plmns, nbr);
    if (!as_json) {
        cpe_dm_tool_add(&out, table_form, cpe_dm_tool_tech_name(nbr.tech), channel, band_text, mhz, pci, rsrp, rsrq,
                        cgi_data, plmn_data);
        return;
    }
    const cpe_dm_tool_moment now = cpe_dm_tool_now();
    cpe_dm_tool_add_json_moment(&out, &now);
    cpe_dm_tool_add(&out, "\"technology\":\"%s\",\"%s\":%s,\"band\":%s,\"mhz\":%s,\"pci\":%s,\"rsrp\":%s,\"rsrq\":%s,",
                    lte ? "lte" : "nr5g", lte ? "earfcn" : "arfcn", channel, band_text, mhz, pci, rsrp, rsrq);
    cpe_dm_tool_add(&out, "\"cgi\":[%s],\"plmn\":[%s]}\n", cgi_data, plmn_data);
}

/* Adds LTE neighbours. The modem reports RSRP and RSRQ for the first neighbour only, which is the strongest. */
static void add_lte(const cpe_dm_lte_nbr_info &info) {
    const uint32_t cnt = info.nbr_valid ? std::min<uint32_t>(info.nbr_len, CPE_DM_LTE_NBR_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        const cpe_dm_lte_nbr &from = info.nbr[i];
        const bool highest = i == 0 && info.highest_sig_valid;
        neighbour nbr = {};
        nbr.tech = CPE_DM_TECH_LTE;
        nbr.channel = from.earfcn;
        nbr.pci = from.pci;
        nbr.rsrp = highest && info.highest_sig_rsrp_valid ? &info.highest_sig_rsrp : nullptr;
        nbr.rsrq = highest && info.highest_sig_rsrq_valid ? &info.highest_sig_rsrq : nullptr;
        nbr.plmn = from.plmn;
        nbr.plmn_cnt = from.plmn_valid ? std::min<uint32_t>(from.plmn_len, CPE_DM_LTE_NBR_PLMN_MAX) : 0;
        nbr.cgi[0] = from.cgi;
        nbr.cgi_cnt = from.cgi_valid ? 1 : 0;
        add_neighbour(nbr);
    }
}

static void add_nr5g(const cpe_dm_nr5g_nbr_info &info) {
    const uint32_t cnt = info.nbr_valid ? std::min<uint32_t>(info.nbr_len, CPE_DM_NR5G_NBR_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        const cpe_dm_nr5g_nbr &from = info.nbr[i];
        neighbour nbr = {};
        nbr.tech = CPE_DM_TECH_NR5G;
        nbr.channel = from.earfcn;
        nbr.pci = from.pci;
        nbr.rsrp = from.rsrp_valid ? &from.rsrp : nullptr;
        nbr.plmn = from.plmn;
        nbr.plmn_cnt = from.plmn_valid ? std::min<uint32_t>(from.plmn_len, CPE_DM_NR5G_NBR_PLMN_MAX) : 0;
        nbr.cgi_cnt = from.cgi_valid ? std::min<uint32_t>(from.cgi_len, CPE_DM_NR5G_NBR_CGI_MAX) : 0;
        std::copy_n(from.cgi, nbr.cgi_cnt, nbr.cgi);
        add_neighbour(nbr);
    }
}

/* Adds the neighbours of a response. If a successful scan found none, the table gets a line that says so. */
static void add_response(const cpe_dm_info *info, uint32_t tech) {
    const size_t start = out.used;
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO) {
        add_lte(*info->value.lte_nbr_info);
    } else if (info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        add_nr5g(*info->value.nr5g_nbr_info);
    }
    if (out.used == start && info->value_type != CPE_DM_VALUE_NONE && !as_json) {
        cpe_dm_tool_add(&out, "%-10s  no neighbours found\n", cpe_dm_tool_tech_name(tech));
    }
}

static void tell_refused(uint32_t tech, int32_t status) {
    if (status == CPE_DM_ERR_SCAN_ONGOING) {
        cpe_dm_tool_tell("another scan is outstanding; try again when it has ended");
    } else {
        cpe_dm_tool_tell("the modem did not start the scan for %s neighbours (%s); another scan may be running: try "
                         "again later",
                         cpe_dm_tool_tech_name(tech), cpe_dm_status_name(status));
    }
}

/* Whether a scan for neighbours of this technology has to ask for the metric. Only the metrics of neighbours have the
 * value type CPE_DM_VALUE_NONE in their description. */
static bool is_wanted(uint32_t metric, uint32_t tech) {
    const cpe_dm_metric_desc *desc = cpe_dm_metric_by_id(metric);
    return desc->value_type == CPE_DM_VALUE_NONE && desc->tech == tech;
}

/* Runs one scan and prints the neighbours. Sets *goes_on to false when no scan may follow, because the response did not
 * come in time or the output failed. Returns an exit status. */
static int scan_for(uint32_t tech, bool *goes_on) {
    cpe_dm_info list[CPE_DM_METRIC_CNT];
    int32_t cnt = 0;
    for (uint32_t metric = CPE_DM_METRIC_INVALID + 1; metric < CPE_DM_METRIC_CNT; metric++) {
        if (is_wanted(metric, tech)) {
            cpe_dm_prepare_request(&list[cnt++], metric, nullptr);
        }
    }
    const int32_t status = cpe_dm_tool_start_scan(list, cnt);
    if (status != CPE_DM_SUCCESS) {
        tell_refused(tech, status);
        return CPE_DM_TOOL_FAILED;
    }
    if (!cpe_dm_tool_wait(answered, cpe_dm_tool_deadline())) {
        cpe_dm_tool_tell("no response to the scan for %s neighbours came in time; the registration is given up, which "
                         "ends the scan",
                         cpe_dm_tool_tech_name(tech));
        *goes_on = false;
        return CPE_DM_TOOL_FAILED;
    }
    cpe_dm_info *info = response.exchange(nullptr);
    add_response(info, tech);
    const bool succeeded = info->value_type != CPE_DM_VALUE_NONE;
    cpe_dm_release_info(info);
    if (!succeeded) {
        cpe_dm_tool_tell("the modem's scan for %s neighbours failed; try again", cpe_dm_tool_tech_name(tech));
        return CPE_DM_TOOL_FAILED;
    }
    const int printed = cpe_dm_tool_print(&out);
    *goes_on = printed == CPE_DM_TOOL_DONE;
    return printed;
}

static int scan_all() {
    bool goes_on = true;
    int status = CPE_DM_TOOL_DONE;
    add_heading();
    if (scan_lte) {
        status = scan_for(CPE_DM_TECH_LTE, &goes_on);
    }
    if (scan_nr5g && goes_on) {
        status = cpe_dm_tool_worse(status, scan_for(CPE_DM_TECH_NR5G, &goes_on));
    }
    return status;
}

int cpe_dm_tool_scan(const cpe_dm_tool_options *options) {
    const char *what = options->arg_cnt > 0 ? options->args[0] : "all";
    const bool all = strcmp(what, "all") == 0;
    as_json = (options->given & CPE_DM_TOOL_JSON) != 0;
    scan_lte = all || strcmp(what, "lte") == 0;
    scan_nr5g = all || strcmp(what, "nr5g") == 0;
    if (!scan_lte && !scan_nr5g) {
        cpe_dm_tool_tell("scan lte, nr5g or all, not \"%s\"", what);
        return CPE_DM_TOOL_USAGE;
    }
    answered = cpe_dm_tool_new_bell();
    if (answered < 0) {
        return CPE_DM_TOOL_FAILED;
    }
    const int status = cpe_dm_tool_run_session(options->timeout_ms, on_response, scan_all);
    close(answered);
    cpe_dm_release_info(response.exchange(nullptr)); // a response that came too late
    return status;
}
