/* Plays a session with the module on the scripted platform. The argument is the subject of the session. Standard input
 * has the lines of the session; the table `commands` near the end of this file has all kinds of lines.
 *
 * Prints a line for each operation: its status, behind "=" its values, behind "->" the messages that it sent, and how
 * many info (I) and error (E) lines it logged. Successive operations with the same outcome share one line. Below it
 * stand the events delivered, and the requests and log lines that were not printed before. A request is printed with
 * the sizes of message and response, its timeout, and the fields that are not 0. */
#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"
#include "names.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

static cpe_dm_hndl handle;
static std::string events;

/* `quiet` holds back all text, `quiet_log` only log lines. Text that is held back counts as printed, so it is not
 * printed later either. */
static bool quiet, quiet_log;

/* `titles` has the operations that share the line printed next. `outcome` has the text that follows them. */
static std::string titles, outcome;

static void print_pending() {
    printf("%s", titles.empty() || quiet ? "" : (titles + ": " + outcome).c_str());
    titles.clear();
}

static void heading(const char *text) {
    print_pending();
    printf("%s", quiet ? "" : (std::string(text) + "\n").c_str());
}

/* The name and the place of a field in a request. */
struct field {
    const char *name;
    size_t offset, size;
};

#define FIELD(request, field)                                                                                          \
    { #field, offsetof(request, field), sizeof(request().field) }
#define THRESHOLD(field) FIELD(thresholds, field.valid), FIELD(thresholds, field.delta)

using registering = zeb_nas_indication_register_req;
using thresholds = zeb_nas_config_sig_info_req;
using scan_req = zeb_nas_incremental_scan_req;

static const std::map<uint32_t, std::vector<field>> fields = {
    {ZEB_NAS_INDICATION_REGISTER,
     {FIELD(registering, sys_info_valid), FIELD(registering, sys_info), FIELD(registering, sig_info_valid),
      FIELD(registering, sig_info)}},
    {ZEB_NAS_CONFIG_SIG_INFO,
     {THRESHOLD(lte_rsrp), THRESHOLD(lte_rsrq), THRESHOLD(lte_snr), THRESHOLD(nr5g_rsrp), THRESHOLD(nr5g_rsrq),
      THRESHOLD(nr5g_snr)}},
    {ZEB_NAS_GET_TX_RX_INFO, {FIELD(zeb_nas_tx_rx_info_req, radio_if)}},
    {ZEB_NAS_GET_CQI_INFO, {FIELD(zeb_nas_cqi_info_req, technology_valid), FIELD(zeb_nas_cqi_info_req, technology)}},
    {ZEB_NAS_PERFORM_INCREMENTAL_SCAN,
     {FIELD(scan_req, network_type_valid), FIELD(scan_req, network_type), FIELD(scan_req, scan_type_valid),
      FIELD(scan_req, scan_type)}},
};

/* The text of a request. Each byte that is not 0 shows: as part of a field, or by its index if it belongs to no
 * field. */
static std::string text_of(fake_request request) {
    std::string text = "-> " + message_word(request.msg_id) + " " + std::to_string(request.bytes.size()) + "/" +
                       std::to_string(request.resp_len) + " bytes, " + std::to_string(request.timeout_ms) + " ms";
    const auto found = fields.find(request.msg_id);
    for (const field &field : found != fields.end() ? found->second : std::vector<struct field>()) {
        uint64_t value = 0;
        memcpy(&value, &request.bytes.at(field.offset), field.size);
        std::fill_n(&request.bytes[field.offset], field.size, 0);
        text += value != 0 ? std::string(" ") + field.name + " " + std::to_string(value) : "";
    }
    for (size_t i = 0; i < request.bytes.size(); i++) {
        text += request.bytes[i] != 0 ? " BYTE " + std::to_string(i) + ":" + std::to_string(request.bytes[i]) : "";
    }
    return text;
}

/* Shows what an operation led to: its `result`, and the requests, events and log lines since the last call. */
static void show(const std::string &title, const std::string &result) {
    static std::set<std::string> seen;
    std::string line = result, below = std::exchange(events, {});
    const auto add = [&below](const std::string &text) { below += seen.insert(text).second ? "  " + text + "\n" : ""; };
    for (const fake_request &request : fake_requests()) {
        line += " -> " + message_word(request.msg_id);
        add(text_of(request));
    }
    int count[2] = {};
    std::istringstream log(fake_log());
    for (std::string text; std::getline(log, text);) {
        count[text[0] == 'E']++;
        quiet_log ? (void)seen.insert(text) : add(text);
    }
    line +=
        (count[0] != 0 ? " I" + std::to_string(count[0]) : "") + (count[1] != 0 ? " E" + std::to_string(count[1]) : "");
    line += "\n" + below;
    if (!titles.empty() && line == outcome) {
        titles += ", " + title;
        return;
    }
    print_pending();
    titles = title;
    outcome = line;
}

template <typename... Numbers> static std::string words(const char *first, Numbers... numbers) {
    std::string text = first;
    ((text += (text.empty() ? "" : " ") + std::to_string(numbers)), ...);
    return text;
}

/* The text of a number in a record that the module had to fill in, or "kept" when the module has not written the
 * number. Before the module gets a record, all bytes of the record are set to 7. */
template <typename T> static std::string kept_or(T number) {
    T sevens;
    memset(&sevens, 7, sizeof(sevens));
    return number == sevens ? "kept" : std::to_string(number);
}

/* The text of a list: `len`, and the first `len` entries. Of more than `longest` entries only the first and the last
 * are shown. */
template <typename T, size_t N, typename Text>
static std::string list_of(const T (&list)[N], uint32_t len, Text text, size_t longest = 3) {
    std::string result = kept_or(len) + " {";
    const size_t end = std::min<size_t>(len, N);
    for (size_t i = 0; i < end; i++) {
        const bool left_out = end > longest && i > 0 && i < end - 1;
        result += left_out ? (i == 1 ? "; ..." : "") : (i == 0 ? "" : "; ") + text(list[i]);
    }
    return result + "}";
}

/* The text of a value with a valid flag. A value that is not valid should be 0, and is shown only when it is not 0. */
static std::string flagged(const char *name, uint8_t valid, const std::string &text) {
    if (valid == 0 && (text == "0" || text == "0 {}")) {
        return "";
    }
    return std::string(" ") + name + (valid == 1 ? " " : " VALID " + std::to_string(valid) + " ") + text;
}

static std::string flagged(const char *name, uint8_t valid, int64_t number) {
    return flagged(name, valid, std::to_string(number));
}

template <typename Cqi> static std::string text_of_cqi(const Cqi &cqi) {
    return "cqi_info" + flagged("cc_cqi", cqi.cc_cqi_valid, list_of(cqi.cc_cqi, cqi.cc_cqi_len, [](const auto &cc) {
                                    return words("", cc.cw_cqi_len) +
                                           words(" of", cc.cw_cqi[0], cc.cw_cqi[1], cc.cw_cqi[2], cc.cw_cqi[3]);
                                }));
}

static std::string text_of(const cpe_dm_nr5g_cell_lock_list &locks) {
    return "cell_identity_valid " + kept_or(locks.cell_identity_valid) + " pci " + kept_or(locks.pci) + " arfcn " +
           kept_or(locks.arfcn) + " arfcn_identity_valid " + kept_or(locks.arfcn_identity_valid) + " arfcn_list " +
           list_of(locks.arfcn_list, locks.arfcn_list_len, kept_or<uint32_t>) + " last " +
           kept_or(locks.arfcn_list[31]);
}

static std::string text_of(const cpe_dm_lte_cell_lock &lock) {
    return "pci " + kept_or(lock.pci) + " freq " + kept_or(lock.freq);
}

static std::string text_of(const cpe_dm_lte_cell_lock_list &locks) {
    return "lte_cell_list_valid " + kept_or(locks.lte_cell_list_valid) + " lte_cell_list " +
           list_of(locks.lte_cell_list, locks.lte_cell_list_len, [](const auto &lock) { return text_of(lock); }) +
           " last " + text_of(locks.lte_cell_list[59]);
}

/* The PLMNs of a neighbour. "UNCLEAN" marks a PLMN whose padding, the byte behind the last field, is not 0. */
template <typename Nbr> static std::string text_of_plmns(const Nbr &nbr) {
    return flagged("plmn", nbr.plmn_valid, list_of(nbr.plmn, nbr.plmn_len, [](const cpe_dm_plmn &plmn) {
                       const bool clean = reinterpret_cast<const uint8_t *>(&plmn)[sizeof(plmn) - 1] == 0;
                       return words(clean ? "mcc" : "UNCLEAN mcc", plmn.plmn_mcc) + words(" mnc", plmn.plmn_mnc) +
                              words(" pcs", plmn.plmn_mnc_includes_pcs_digit);
                   }));
}

static std::string text_of(const cpe_dm_lte_nbr_info &info) {
    const auto text = [](const cpe_dm_lte_nbr &nbr) {
        return words("earfcn", nbr.earfcn) + words(" pci", nbr.pci) + flagged("cgi", nbr.cgi_valid, nbr.cgi) +
               text_of_plmns(nbr);
    };
    return flagged("highest earfcn", info.highest_sig_valid, info.highest_sig_earfcn) +
           flagged("pci", info.highest_sig_valid, info.highest_sig_pci) +
           flagged("rsrp", info.highest_sig_rsrp_valid, info.highest_sig_rsrp) +
           flagged("rsrq", info.highest_sig_rsrq_valid, info.highest_sig_rsrq) +
           flagged("nbr", info.nbr_valid, list_of(info.nbr, info.nbr_len, text));
}

static std::string text_of(const cpe_dm_nr5g_nbr_info &info) {
    const auto text = [](const cpe_dm_nr5g_nbr &nbr) {
        const auto text_of_cgi = [](uint64_t cgi) { return std::to_string(cgi); };
        return words("earfcn", nbr.earfcn) + words(" pci", nbr.pci) + flagged("rsrp", nbr.rsrp_valid, nbr.rsrp) +
               flagged("cgi", nbr.cgi_valid, list_of(nbr.cgi, nbr.cgi_len, text_of_cgi)) + text_of_plmns(nbr);
    };
    return flagged("nbr", info.nbr_valid, list_of(info.nbr, info.nbr_len, text));
}

/* The value of a record as text. The form of the text depends on the value type. */
static std::string value_of(const cpe_dm_info &info) {
    switch (info.value_type) {
    case CPE_DM_VALUE_NONE:
        return "no value";
    case CPE_DM_VALUE_INT64:
        return std::to_string(info.value.i64_val);
    case CPE_DM_VALUE_UINT32:
        return reg_status_word(info.value.u32_val);
    case CPE_DM_VALUE_INT64_LIST:
        return list_of(info.value.i64_list, info.value_cnt, [](int64_t number) { return std::to_string(number); });
    case CPE_DM_VALUE_CQI_INFO:
        return info.id == CPE_DM_METRIC_LTE_CQI
                   ? text_of_cqi(*static_cast<const cpe_dm_lte_cqi_info *>(info.value.cqi_info))
                   : text_of_cqi(*static_cast<const cpe_dm_nr5g_cqi_info *>(info.value.cqi_info));
    case CPE_DM_VALUE_CELL_LOCK_LIST:
        return info.id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST ? text_of(*info.value.lte_cell_lock_list)
                                                           : text_of(*info.value.nr5g_cell_lock_list);
    case CPE_DM_VALUE_LTE_NBR_INFO:
        return "lte_nbr_info" + text_of(*info.value.lte_nbr_info);
    case CPE_DM_VALUE_NR5G_NBR_INFO:
        return "nr5g_nbr_info" + text_of(*info.value.nr5g_nbr_info);
    default:
        return words("value type", info.value_type);
    }
}

static void on_event(cpe_dm_hndl, cpe_dm_info *info, void *user_data) {
    // Fills the stack with a pattern. If the module copies uninitialised bytes of its stack into a record, the next
    // event shows the pattern.
    volatile char stack[8192];
    std::fill(std::begin(stack), std::end(stack), 'x');
    events += "  " + event_name(*info) + " " + value_of(*info) + (user_data == &handle ? "\n" : " ?\n");
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO || info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        free(info->value.lte_nbr_info);
    }
    free(info);
}

using numbers = std::vector<int64_t>;

template <typename Number> static uint32_t u32(Number number) {
    return static_cast<uint32_t>(number);
}

/* Gets metrics: a single metric with cpe_dm_get_info, several with cpe_dm_get_info_list. */
static void get(const std::string &line, const numbers &ids) {
    static struct {
        cpe_dm_lte_cqi_info lte_cqi;
        cpe_dm_nr5g_cqi_info nr5g_cqi;
        cpe_dm_lte_cell_lock_list lte_locks;
        cpe_dm_nr5g_cell_lock_list nr5g_locks;
    } records;
    memset(&records, 7, sizeof(records));
    std::vector<cpe_dm_info> infos;
    for (int64_t id : ids) {
        infos.push_back({CPE_DM_INFO_TYPE_REQUEST, u32(id), CPE_DM_VALUE_NONE, {}, 0});
        infos.back().value.cqi_info = id == CPE_DM_METRIC_LTE_CQI              ? static_cast<void *>(&records.lte_cqi)
                                      : id == CPE_DM_METRIC_NR5G_CQI           ? static_cast<void *>(&records.nr5g_cqi)
                                      : id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST ? static_cast<void *>(&records.lte_locks)
                                                                               : &records.nr5g_locks;
    }
    const int32_t status = infos.size() == 1
                               ? cpe_dm_get_info(handle, infos.data())
                               : cpe_dm_get_info_list(handle, infos.data(), static_cast<int32_t>(infos.size()));
    std::string result = status_word(status);
    for (const cpe_dm_info &info : infos) {
        result += info.value_type != CPE_DM_VALUE_NONE ? " = " + value_of(info) : "";
    }
    show(line, result);
}

static void get_each(const std::string &, const numbers &ids) {
    for (int64_t id : ids) {
        get("get " + metric_word(u32(id)), {id});
    }
}

/* Gets every metric except the neighbour metrics. */
static void get_all(const std::string &, const numbers &) {
    for (int64_t id = CPE_DM_METRIC_REG_STATUS; id < CPE_DM_METRIC_CNT; id++) {
        if (id < CPE_DM_METRIC_LTE_NBR_EARFCN || id > CPE_DM_METRIC_LTE_NBR_RSRQ) {
            get("get " + metric_word(u32(id)), {id});
        }
    }
}

/* Sets an indication, with a threshold or without. */
static void set(const std::string &line, const numbers &args) {
    cpe_dm_info info = {CPE_DM_INFO_TYPE_IND, u32(args[0]), CPE_DM_VALUE_NONE, {}, 0};
    if (args.size() > 1) {
        info.value_type = CPE_DM_VALUE_INT64;
        info.value.i64_val = args[1];
    }
    show(line, status_word(cpe_dm_set_ind_info(handle, &info)));
}

static void clear(const std::string &line, const numbers &args) {
    const std::vector<int32_t> ids(args.begin(), args.end());
    show(line, status_word(cpe_dm_clr_ind_list(handle, ids.data(), u32(args.size()))));
}

static void count(const std::string &line, const numbers &) {
    uint32_t number = 77;
    const int32_t status = cpe_dm_get_ind_cnt(handle, &number);
    show(line, status_word(status) + words(" =", number));
}

static void list(const std::string &line, const numbers &args) {
    uint32_t ids[7];
    std::fill_n(ids, 7, 77);
    const int32_t status = cpe_dm_get_ind_list(handle, ids, u32(args[0]));
    show(line, status_word(status) + " = " + list_of(ids, u32(args[0]), ind_word, std::size(ids)));
}

static zeb_nas_cell_location_info_resp cell_location(bool serving_valid, bool arfcn_valid) {
    zeb_nas_cell_location_info_resp resp = {};
    resp.lte_intra_valid = 1;
    const zeb_nas_intra_cell other = {300, -11, -101, {}}, serving = {301, -12, -102, {}}, twin = {301, -13, -103, {}};
    resp.lte_intra = {{0x21, 0xF3, 0x54}, 0xFFFE, 0xFFFFFFFF, 65535, 301, 3, {other, serving, twin}};
    resp.nr5g_serving_cell_info_valid = serving_valid;
    resp.nr5g_serving = {{0x12, 0x03, 0xFF}, {0x00, 0x80, 0xFF}, 0xFEDCBA987, 501, -14, -104, -5};
    resp.nr5g_arfcn_valid = arfcn_valid;
    resp.nr5g_arfcn = 4294967295;
    return resp;
}

static zeb_nas_sig_info sig_info(int16_t level) {
    return {1, {-60, -10, level, 32767}, 1, {static_cast<int16_t>(level - 1), -1}, 1, -15, {}};
}

/* A CQI answer with the same number of codewords for every carrier. */
static zeb_nas_cqi_info_resp cqi(uint32_t lte_carriers, uint32_t nr5g_carriers, uint32_t codewords) {
    zeb_nas_cqi_info_resp resp = {};
    resp.lte_cc_cqi_valid = resp.nr5g_cc_cqi_valid = 1;
    resp.lte_cc_cqi_len = lte_carriers;
    resp.nr5g_cc_cqi_len = nr5g_carriers;
    for (uint8_t i = 0; i < ZEB_NAS_NR5G_CC_MAX; i++) {
        resp.nr5g_cc_cqi[i] = {codewords, {i, 15, 255, 7}};
        resp.lte_cc_cqi[i % ZEB_NAS_LTE_CC_MAX] = {codewords, {1, i, 3, 4}};
    }
    return resp;
}

static zeb_nas_lte_cell_lock_list_resp lte_lock(uint32_t len) {
    zeb_nas_lte_cell_lock_list_resp resp = {};
    resp.lte_cell_list_valid = 1;
    resp.lte_cell_list_len = len;
    for (uint16_t i = 0; i < ZEB_NAS_LTE_LOCK_MAX; i++) {
        resp.lte_cell_list[i] = {i, static_cast<uint16_t>(65535 - i)};
    }
    return resp;
}

static zeb_nas_nr5g_cell_lock_list_resp nr5g_lock(bool cell, uint32_t len) {
    zeb_nas_nr5g_cell_lock_list_resp resp = {{}, 1, 2, cell, 502, 640000, 1, len, {}, {}};
    for (uint32_t i = 0; i < ZEB_NAS_NR5G_LOCK_MAX; i++) {
        resp.arfcn_list[i].arfcn = 4294967295 - i;
    }
    return resp;
}

/* A scan result whose lists give `len` as their length, even when their arrays are shorter. One list is an exception:
 * when there is a list of LTE neighbours, the list of NR 5G neighbours gives only half of `len`. */
static zeb_nas_scan_result_ind scan_result(uint32_t len, bool lte_valid, uint32_t status) {
    zeb_nas_scan_result_ind scan = {};
    scan.scan_status = status;
    scan.lte_valid = lte_valid;
    scan.nr5g_valid = 1;
    scan.lte.nbr_len = len;
    scan.nr5g.nbr_len = lte_valid ? len / 2 : len;
    scan.lte.highest_sig_rsrp = -88;
    scan.lte.highest_sig_rsrq = -9;
    for (uint16_t i = 0; i < ZEB_NAS_LTE_NBR_MAX; i++) {
        scan.lte.nbr[i] = {1300u + i, i, 4294967295u - i, len, {{262, 1, 0}, {310, 410, 1}, {}, {}, {}, {999, 99, 0}}};
    }
    for (uint16_t i = 0; i < ZEB_NAS_NR5G_NBR_MAX; i++) {
        zeb_nas_nr5g_nbr &nbr = scan.nr5g.nbr[i];
        nbr = {640000u + i, i, static_cast<int16_t>(-90 - i), len, {{262, 2, 0}, {311, 480, 1}}, len, {}};
        nbr.cgi[0] = 0xFFFFFFFFFFFFFFFF - i;
        nbr.cgi[ZEB_NAS_NR5G_NBR_CGI_MAX - 1] = 0xFFFFFFFFF;
    }
    return scan;
}

/* System information. args[0] is the LTE service status, args[1] the PCI of the NR 5G cell, and args[2], which may be
 * missing, the NR 5G service status. Without numbers nothing is reported. */
static zeb_nas_sys_info_resp sys_info(const numbers &args) {
    zeb_nas_sys_info_resp resp = {};
    if (!args.empty()) {
        resp = fake_sys_info(u32(args[0]), static_cast<uint16_t>(args[1]));
        resp.info.nr5g_srv_status_valid = args.size() > 2;
        resp.info.nr5g_srv_status = args.size() > 2 ? u32(args[2]) : 0;
    }
    return resp;
}

template <typename T> static void indicate(const std::string &line, uint32_t msg_id, const T &message) {
    const bool delivered = fake_indicate(msg_id, message);
    if (!fault_settle()) {
        printf("!! the command thread does not come to rest\n");
    }
    show(line, delivered ? "delivered" : "nobody there");
}

/* Sets the modem's answers. With `full` they report everything, otherwise only the system information. */
static void set_answers(bool full) {
    const zeb_nas_tx_rx_info_resp tx = {{}, 1, INT32_MIN, {}};
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, full ? cell_location(true, true) : zeb_nas_cell_location_info_resp{});
    fake_default(ZEB_NAS_GET_SIG_INFO, full ? zeb_nas_sig_info_resp{{}, sig_info(-95)} : zeb_nas_sig_info_resp{});
    fake_default(ZEB_NAS_GET_TX_RX_INFO, full ? tx : zeb_nas_tx_rx_info_resp{});
    fake_default(ZEB_NAS_GET_CQI_INFO, full ? cqi(2, 3, 2) : zeb_nas_cqi_info_resp{});
    fake_default(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, full ? lte_lock(2) : zeb_nas_lte_cell_lock_list_resp{});
    fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, full ? nr5g_lock(false, 2) : zeb_nas_nr5g_cell_lock_list_resp{});
}

/* Sets the length of all lists in the modem's answers to args[0]. From here on log lines are no longer printed. */
static void set_counts(const std::string &, const numbers &args) {
    const uint32_t len = u32(args[0]);
    quiet_log = true;
    fake_default(ZEB_NAS_GET_CQI_INFO, cqi(len, len, len));
    fake_default(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, lte_lock(len));
    fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(false, len));
    zeb_nas_cell_location_info_resp cells = cell_location(true, true);
    cells.lte_intra.cells_len = len;
    cells.lte_intra.serving_cell_id = 0;
    cells.lte_intra.cells[0].pci = cells.lte_intra.cells[1].pci = cells.lte_intra.cells[2].pci = 1;
    fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cells);
}

static void signal_in_part(const std::string &line, const numbers &args) {
    zeb_nas_sig_info info = sig_info(-50);
    info.lte_sig_info_valid = static_cast<uint8_t>(args[0]);
    info.nr5g_sig_info_valid = 0;
    info.lte_sig.rsrq = 5;
    info.lte_sig.snr = info.nr5g_rsrq = info.nr5g_sig.snr = 5;
    indicate(line, ZEB_NAS_SIG_INFO_IND, info);
}

/* Sets the answer to the next query of signal values. The numbers are the valid flags of LTE, NR 5G and NR 5G RSRQ. */
static void answer_signal(const std::string &, const numbers &valid) {
    zeb_nas_sig_info_resp resp = {{}, sig_info(-95)};
    resp.info.lte_sig_info_valid = static_cast<uint8_t>(valid[0]);
    resp.info.nr5g_sig_info_valid = static_cast<uint8_t>(valid[1]);
    resp.info.nr5g_rsrq_valid = static_cast<uint8_t>(valid[2]);
    fake_answer(ZEB_NAS_GET_SIG_INFO, resp);
}

/* Changes the system information while a CQI request is answered, that is, between the two requests of a CQI query. */
static void change_on_cqi(const std::string &, const numbers &args) {
    fake_on_request([args](uint32_t msg_id) {
        if (msg_id == ZEB_NAS_GET_CQI_INFO) {
            fake_indicate(ZEB_NAS_SYS_INFO_IND, sys_info(args).info);
        }
    });
}

/* Marks an NR 5G scan as requested while a list of metrics is read, as if another thread had requested the scan. */
static void scan_on_signal(const std::string &, const numbers &) {
    fake_on_request([](uint32_t msg_id) { cpe_dm_state.nr5g_scan_request |= msg_id == ZEB_NAS_GET_SIG_INFO; });
}

static void end_of_hook(const std::string &, const numbers &) {
    fake_on_request(nullptr);
    cpe_dm_state.nr5g_scan_request = 0;
}

static std::string scan_word(uint32_t lte_valid) {
    return lte_valid == 1 ? "both" : "nr5g";
}

/* One kind of line. `play` plays the line. `word`, if not null, returns the word that may stand for a number. */
struct command {
    std::function<void(const std::string &line, const numbers &args)> play;
    std::string (*word)(uint32_t number) = nullptr;
};

/* All kinds of lines: operations of the module, indications of the modem, and settings of the modem's later answers. */
static const std::map<std::string, command> commands = {
    {"get", {get, metric_word}},
    {"each", {get_each, metric_word}},
    {"all", {get_all}},
    {"set", {set, ind_word}},
    {"clear", {clear, ind_word}},
    {"count", {count}},
    {"list", {list}},
    {"notify", {[](auto &line, auto &args) {
         show(line, fake_notify(static_cast<int32_t>(args[0])) ? "delivered" : "nobody there");
     }}},
    {"system",
     {[](auto &line, auto &args) { indicate(line, ZEB_NAS_SYS_INFO_IND, sys_info(args).info); }, srv_status_word}},
    {"signal", {[](auto &line, auto &args) {
         indicate(line, ZEB_NAS_SIG_INFO_IND,
                  args.empty() ? zeb_nas_sig_info{} : sig_info(static_cast<int16_t>(args[0])));
     }}},
    {"signal_in_part", {signal_in_part}},
    {"scan",
     {[](auto &line, auto &args) {
          indicate(line, ZEB_NAS_SCAN_RESULT_IND,
                   scan_result(u32(args[0]), args[1] != 0, args.size() > 2 ? u32(args[2]) : 0));
      },
      scan_word}},
    {"damaged", {[](auto &line, auto &args) { indicate(line, u32(args[0]), uint32_t{1}); }, message_word}},
    {"answer_everything", {[](auto &, auto &) { set_answers(true); }}},
    {"answer_nothing", {[](auto &, auto &) { set_answers(false); }}},
    {"counts", {set_counts}},
    {"answer_system",
     {[](auto &, auto &args) { fake_default(ZEB_NAS_GET_SYS_INFO, sys_info(args)); }, srv_status_word}},
    {"answer_system_once",
     {[](auto &, auto &args) { fake_answer(ZEB_NAS_GET_SYS_INFO, sys_info(args)); }, srv_status_word}},
    {"answer_cell_without_arfcn",
     {[](auto &, auto &) { fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cell_location(true, false)); }}},
    {"answer_arfcn_without_cell",
     {[](auto &, auto &) { fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cell_location(false, true)); }}},
    {"answer_one_lock", {[](auto &, auto &) { fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(true, 2)); }}},
    {"answer_no_power", {[](auto &, auto &) { fake_default(ZEB_NAS_GET_TX_RX_INFO, zeb_nas_tx_rx_info_resp{}); }}},
    {"answer_signal", {answer_signal}},
    {"refuse",
     {[](auto &, auto &args) {
          fake_answer(u32(args[0]), zeb_nas_resp_header{1, 3});
      },
      message_word}},
    {"lose", {[](auto &, auto &args) { fake_answer(u32(args[0]), zeb_nas_empty_resp{}, -8); }, message_word}},
    {"change_on_cqi", {change_on_cqi, srv_status_word}},
    {"scan_on_signal", {scan_on_signal}},
    {"end_of_hook", {end_of_hook}},
};

[[noreturn]] static void refuse_word(int line_number, const std::string &word) {
    fprintf(stderr, "dm_session: line %d: unknown word: %s\n", line_number, word.c_str());
    exit(EXIT_FAILURE);
}

/* The number that `text` is, or the number for which `text` is the word. */
static int64_t number_of(int line_number, const std::string &text, const command &command) {
    char *end = nullptr;
    const int64_t number = strtoll(text.c_str(), &end, 0);
    if (*end == '\0') {
        return number;
    }
    for (uint32_t id = 0; command.word != nullptr && id < 1000; id++) {
        if (command.word(id) == text) {
            return id;
        }
    }
    refuse_word(line_number, text);
}

static void play(int line_number, const std::string &line) {
    std::istringstream words(line);
    std::string name;
    numbers args;
    words >> name;
    const auto found = commands.find(name);
    if (found == commands.end()) {
        refuse_word(line_number, name);
    }
    for (std::string word; words >> word;) {
        args.push_back(number_of(line_number, word, found->second));
    }
    found->second.play(line, args);
}

int main(int argc, char **argv) {
    const std::string subject = argc == 2 ? argv[1] : "";
    fake_services(12, 2);
    set_answers(true);
    quiet = subject != "start";
    show("init", status_word(cpe_dm_init(&handle, &handle, on_event)));
    if (subject != "start" && subject != "queries") {
        get_all("", {});
    }
    print_pending();
    quiet = false;
    char line[200];
    for (int number = 1; fgets(line, sizeof(line), stdin) != nullptr; number++) {
        line[strcspn(line, "\n")] = '\0';
        line[0] == '#' ? heading(line) : play(number, line);
    }
    print_pending();
    quiet = subject != "start";
    show("deinit", status_word(cpe_dm_deinit(handle)));
    print_pending();
    const bool clean = cpe_dm_deinit(handle) == CPE_DM_ERR_INVALID_PARAM && fault_live_allocations() == 0;
    return clean && fake_clients() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
