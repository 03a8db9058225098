/* Plays a session on one subject, the program's argument, with the module on the scripted platform, and prints what can
 * be seen of it. The line of an operation has its status, the values it gave, the messages it sent, and how many info
 * (I) and error (E) lines it logged; operations in a row of which all that is the same share one. Below it stand the
 * events delivered, and the requests and log lines that were not printed before. */
#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>
#include <utility>

static cpe_dm_hndl handle;
static std::string events;

/* Nothing is printed, or nothing of the log; it counts as printed all the same. */
static bool quiet, quiet_log;

/* The operations that wait for a line of their own, and what is to stand behind them. */
static std::string titles, outcome;

static void print_pending() {
    printf("%s", titles.empty() || quiet ? "" : (titles + ": " + outcome).c_str());
    titles.clear();
}

static void heading(const char *text) {
    print_pending();
    printf("%s", quiet ? "" : (std::string("#### ") + text + "\n").c_str());
}

static std::string text_of(const fake_request &request) {
    char head[80];
    snprintf(head, sizeof(head), "-> 0x%04X %zu/%u %u ms", request.msg_id, request.bytes.size(), request.resp_len,
             request.timeout_ms);
    std::string text = head;
    for (size_t i = 0; i < request.bytes.size(); i++) {
        text += request.bytes[i] != 0 ? " " + std::to_string(i) + ":" + std::to_string(request.bytes[i]) : "";
    }
    return text;
}

/* Shows what happened since the last call. */
static void show(const std::string &title, int32_t status, const std::string &values = "") {
    static std::set<std::string> seen;
    std::string line = std::to_string(status) + values, below = std::exchange(events, {});
    const auto add = [&below](const std::string &text) { below += seen.insert(text).second ? "  " + text + "\n" : ""; };
    for (const fake_request &request : fake_requests()) {
        const std::string text = text_of(request);
        line += " " + text.substr(0, 9);
        add(text);
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

/* A list of which len entries hold: their number, all of them or, of a long one, the first and the last. */
template <typename T, size_t N, typename Text> static std::string list_of(const T (&list)[N], uint32_t len, Text text) {
    std::string result = " " + std::to_string(len) + " {";
    const size_t end = std::min<size_t>(len, N);
    for (size_t i = 0; i < end; i++) {
        const bool left_out = end > 3 && i > 0 && i < end - 1;
        result += left_out ? (i == 1 ? "; ..." : "") : (i == 0 ? "" : "; ") + text(list[i]);
    }
    return result + "}";
}

static std::string text_of_number(int64_t number) {
    return std::to_string(number);
}

template <typename Cqi> static std::string text_of_cqi(const Cqi &cqi) {
    return words("cqi", cqi.cc_cqi_valid) + list_of(cqi.cc_cqi, cqi.cc_cqi_len, [](const cpe_dm_cw_cqi &cc) {
               return words("", cc.cw_cqi_len, cc.cw_cqi[0], cc.cw_cqi[1], cc.cw_cqi[2], cc.cw_cqi[3]);
           });
}

static std::string text_of(const cpe_dm_nr5g_cell_lock_list &locks) {
    return words("lock", locks.cell_identity_valid, locks.pci, locks.arfcn, locks.arfcn_identity_valid) +
           list_of(locks.arfcn_list, locks.arfcn_list_len, text_of_number) + words(" last", locks.arfcn_list[31]);
}

static std::string text_of(const cpe_dm_lte_cell_lock_list &locks) {
    return words("lock", locks.lte_cell_list_valid) +
           list_of(locks.lte_cell_list, locks.lte_cell_list_len,
                   [](const cpe_dm_lte_cell_lock &lock) { return words("", lock.pci, lock.freq); }) +
           words(" last", locks.lte_cell_list[59].pci, locks.lte_cell_list[59].freq);
}

/* With a mark when the byte behind the last field is not 0. */
template <typename Nbr> static std::string text_of_plmns(const Nbr &nbr) {
    return list_of(nbr.plmn, nbr.plmn_len, [](const cpe_dm_plmn &plmn) {
        const bool clean = reinterpret_cast<const uint8_t *>(&plmn)[sizeof(plmn) - 1] == 0;
        return words(clean ? "" : "UNCLEAN", plmn.plmn_mcc, plmn.plmn_mnc, plmn.plmn_mnc_includes_pcs_digit);
    });
}

static std::string text_of(const cpe_dm_lte_nbr_info &info) {
    return words("best", info.highest_sig_valid, info.highest_sig_earfcn, info.highest_sig_pci,
                 info.highest_sig_rsrp_valid, info.highest_sig_rsrp, info.highest_sig_rsrq_valid,
                 info.highest_sig_rsrq) +
           words(" nbr", info.nbr_valid) + list_of(info.nbr, info.nbr_len, [](const cpe_dm_lte_nbr &nbr) {
               return words("", nbr.earfcn, nbr.pci) + words(" cgi", nbr.cgi_valid, nbr.cgi) +
                      words(" plmn", nbr.plmn_valid) + text_of_plmns(nbr);
           });
}

static std::string text_of(const cpe_dm_nr5g_nbr_info &info) {
    return words("nbr", info.nbr_valid) + list_of(info.nbr, info.nbr_len, [](const cpe_dm_nr5g_nbr &nbr) {
               return words("", nbr.earfcn, nbr.pci) + words(" rsrp", nbr.rsrp_valid, nbr.rsrp) +
                      words(" cgi", nbr.cgi_valid) +
                      list_of(nbr.cgi, nbr.cgi_len, [](uint64_t cgi) { return std::to_string(cgi); }) +
                      words(" plmn", nbr.plmn_valid) + text_of_plmns(nbr);
           });
}

/* The value of a record, behind the number of its type. */
static std::string value_of(const cpe_dm_info &info) {
    const std::string type = " (" + std::to_string(info.value_type) + ") ";
    switch (info.value_type) {
    case CPE_DM_VALUE_INT64:
        return type + words("", info.value.i64_val);
    case CPE_DM_VALUE_UINT32:
        return type + words("", info.value.u32_val);
    case CPE_DM_VALUE_INT64_LIST:
        return type + list_of(info.value.i64_list, info.value_cnt, text_of_number);
    case CPE_DM_VALUE_CQI_INFO:
        return type + (info.id == CPE_DM_METRIC_LTE_CQI
                           ? text_of_cqi(*static_cast<const cpe_dm_lte_cqi_info *>(info.value.cqi_info))
                           : text_of_cqi(*static_cast<const cpe_dm_nr5g_cqi_info *>(info.value.cqi_info)));
    case CPE_DM_VALUE_CELL_LOCK_LIST:
        return type + (info.id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST ? text_of(*info.value.lte_cell_lock_list)
                                                                   : text_of(*info.value.nr5g_cell_lock_list));
    case CPE_DM_VALUE_LTE_NBR_INFO:
        return type + text_of(*info.value.lte_nbr_info);
    case CPE_DM_VALUE_NR5G_NBR_INFO:
        return type + text_of(*info.value.nr5g_nbr_info);
    default:
        return type;
    }
}

static void on_event(cpe_dm_hndl, cpe_dm_info *info, void *user_data) {
    events += words("  event", info->info_type, info->id) + value_of(*info) + (user_data == &handle ? "\n" : " ?\n");
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO || info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        free(info->value.lte_nbr_info);
    }
    free(info);
}

/* Gets metrics: one by itself, several as a list. */
template <typename... Ids> static void get(Ids... ids) {
    static struct {
        cpe_dm_lte_cqi_info lte_cqi;
        cpe_dm_nr5g_cqi_info nr5g_cqi;
        cpe_dm_lte_cell_lock_list lte_locks;
        cpe_dm_nr5g_cell_lock_list nr5g_locks;
    } records;
    memset(&records, 7, sizeof(records));
    cpe_dm_info infos[] = {{CPE_DM_INFO_TYPE_REQUEST, static_cast<uint32_t>(ids), CPE_DM_VALUE_NONE, {}, 0}...};
    for (cpe_dm_info &info : infos) {
        info.value.cqi_info = info.id == CPE_DM_METRIC_LTE_CQI              ? static_cast<void *>(&records.lte_cqi)
                              : info.id == CPE_DM_METRIC_NR5G_CQI           ? static_cast<void *>(&records.nr5g_cqi)
                              : info.id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST ? static_cast<void *>(&records.lte_locks)
                                                                            : &records.nr5g_locks;
    }
    const int32_t status =
        sizeof...(ids) == 1 ? cpe_dm_get_info(handle, infos) : cpe_dm_get_info_list(handle, infos, sizeof...(ids));
    std::string values;
    for (const cpe_dm_info &info : infos) {
        values += info.value_type != CPE_DM_VALUE_NONE ? value_of(info) : "";
    }
    show(words("get", ids...), status, values);
}

/* Each metric but those of the neighbours. */
static void get_all(const char *title) {
    heading(title);
    for (int id = CPE_DM_METRIC_REG_STATUS; id < CPE_DM_METRIC_CNT; id++) {
        if (id < CPE_DM_METRIC_LTE_NBR_EARFCN || id > CPE_DM_METRIC_LTE_NBR_RSRQ) {
            get(id);
        }
    }
}

/* Sets an indication, without a threshold when that is 0. */
static void set(uint32_t id, int64_t threshold = 0) {
    const uint32_t value_type = threshold != 0 ? CPE_DM_VALUE_INT64 : CPE_DM_VALUE_NONE;
    const cpe_dm_info info = {CPE_DM_INFO_TYPE_IND, id, value_type, {.i64_val = threshold}, 0};
    show(words("set", id, threshold), cpe_dm_set_ind_info(handle, &info));
}

template <typename... Ids> static void clear(Ids... ids) {
    const int32_t list[] = {ids...};
    show(words("clear", ids...), cpe_dm_clr_ind_list(handle, list, sizeof...(ids)));
}

static void count() {
    uint32_t number = 77;
    const int32_t status = cpe_dm_get_ind_cnt(handle, &number);
    show("count", status, words(" =", number));
}

static void list(uint32_t room) {
    uint32_t ids[7];
    std::fill_n(ids, 7, 77);
    const int32_t status = cpe_dm_get_ind_list(handle, ids, room);
    show(words("list", room), status, " =" + list_of(ids, room, text_of_number));
}

static zeb_nas_cell_location_info_resp cell_location() {
    zeb_nas_cell_location_info_resp resp = {};
    resp.lte_intra_valid = 1;
    const zeb_nas_intra_cell other = {300, -11, -101, {}}, serving = {301, -12, -102, {}}, twin = {301, -13, -103, {}};
    resp.lte_intra = {{0x21, 0xF3, 0x54}, 0xFFFE, 0xFFFFFFFF, 65535, 301, 3, {other, serving, twin}};
    resp.nr5g_serving_cell_info_valid = 1;
    resp.nr5g_serving = {{0x12, 0x03, 0xFF}, {0x00, 0x80, 0xFF}, 0xFEDCBA987, 501, -14, -104, -5};
    resp.nr5g_arfcn_valid = 1;
    resp.nr5g_arfcn = 4294967295;
    return resp;
}

static zeb_nas_sig_info sig_info(int16_t level) {
    return {1, {-60, -10, level, 32767}, 1, {static_cast<int16_t>(level - 1), -1}, 1, -15, {}};
}

/* Both technologies' CQI. */
static zeb_nas_cqi_info_resp cqi(uint32_t carriers, uint32_t codewords) {
    zeb_nas_cqi_info_resp resp = {};
    resp.lte_cc_cqi_valid = resp.nr5g_cc_cqi_valid = 1;
    resp.lte_cc_cqi_len = resp.nr5g_cc_cqi_len = carriers;
    for (uint8_t i = 0; i < ZEB_NAS_NR5G_CC_MAX; i++) {
        resp.nr5g_cc_cqi[i] = {codewords, {i, 15, 255, 7}};
        resp.lte_cc_cqi[i % ZEB_NAS_LTE_CC_MAX] = {i == 1 ? 0 : codewords, {1, i, 3, 4}};
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

static zeb_nas_tx_rx_info_resp tx(int32_t power) {
    return {{}, 1, power, {}};
}

/* Every list as long as len says, whatever its room. */
static zeb_nas_scan_result_ind scan_result(uint32_t len, uint8_t lte_valid) {
    zeb_nas_scan_result_ind scan = {};
    scan.lte_valid = lte_valid;
    scan.nr5g_valid = 1;
    scan.lte.nbr_len = scan.nr5g.nbr_len = len;
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

template <typename T> static void indicate(const char *title, uint32_t msg_id, const T &message) {
    const bool delivered = fake_indicate(msg_id, message);
    if (!fault_settle(2000)) {
        printf("!! the command thread does not come to rest\n");
    }
    show(title, delivered);
}

static void set_answers(bool full) {
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, full ? cell_location() : zeb_nas_cell_location_info_resp{});
    fake_default(ZEB_NAS_GET_SIG_INFO, full ? zeb_nas_sig_info_resp{{}, sig_info(-95)} : zeb_nas_sig_info_resp{});
    fake_default(ZEB_NAS_GET_TX_RX_INFO, full ? tx(-2147483647 - 1) : zeb_nas_tx_rx_info_resp{});
    fake_default(ZEB_NAS_GET_CQI_INFO, full ? cqi(2, 2) : zeb_nas_cqi_info_resp{});
    fake_default(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, full ? lte_lock(2) : zeb_nas_lte_cell_lock_list_resp{});
    fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, full ? nr5g_lock(false, 2) : zeb_nas_nr5g_cell_lock_list_resp{});
}

static void play_start() {
    for (int32_t event : {0, 1}) {
        show("service event", fake_notify(event));
    }
}

static void play_queries() {
    get_all("EN-DC, everything reported");
    fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(true, 2));
    get(34);
    set_answers(false);
    get_all("EN-DC, nothing reported");
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info(ZEB_NAS_SRV_STATUS_LIMITED));
    get_all("no service");
}

/* What is asked of which technology, by the network status that the system information indication has left. */
static void play_statuses() {
    zeb_nas_sys_info_resp standalone = {};
    standalone.info.nr5g_srv_status_valid = 1;
    standalone.info.nr5g_srv_status = ZEB_NAS_SRV_STATUS_SRV;
    for (const zeb_nas_sys_info_resp &sys_info : {fake_sys_info(2, 0), standalone, fake_sys_info()}) {
        fake_default(ZEB_NAS_GET_SYS_INFO, sys_info);
        indicate("system info", ZEB_NAS_SYS_INFO_IND, sys_info.info);
        for (int id : {1, 5, 16, 20, 33}) {
            get(id);
        }
    }
    heading("an NR 5G cell without its ARFCN, and an ARFCN without its cell");
    fake_default(ZEB_NAS_GET_SYS_INFO, standalone);
    for (const bool arfcn_valid : {false, true}) {
        zeb_nas_cell_location_info_resp cells = cell_location();
        cells.nr5g_arfcn_valid = arfcn_valid;
        cells.nr5g_serving_cell_info_valid = !arfcn_valid;
        fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cells);
        for (int id : {3, 5, 7, 9, 19}) {
            get(id);
        }
    }
    heading("changes on the way");
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    // An attached cell that is gone at the second look, and NR 5G signal values without RSRQ.
    fake_answer(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    fake_answer(ZEB_NAS_GET_SYS_INFO, fake_sys_info(2, 0));
    get(5);
    zeb_nas_sig_info_resp sig = {{}, sig_info(-95)};
    sig.info.nr5g_rsrq_valid = 0;
    fake_answer(ZEB_NAS_GET_SIG_INFO, sig);
    get(13);
    // The status changes between the two requests of a query, and is gone before the first.
    for (uint16_t nr5g_pci : {uint16_t{0}, uint16_t{500}}) {
        fake_on_request([nr5g_pci](uint32_t msg_id) {
            if (msg_id == ZEB_NAS_GET_CQI_INFO) {
                fake_indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info(2, nr5g_pci).info);
            }
        });
        get(16);
        fake_on_request(nullptr);
        fault_settle(2000);
    }
    indicate("system info, empty", ZEB_NAS_SYS_INFO_IND, zeb_nas_sys_info{});
    get(16);
    get(20);
    get(33);
}

static void play_indications() {
    indicate("signal, none set", ZEB_NAS_SIG_INFO_IND, sig_info(-90));
    for (uint32_t id = 2; id < CPE_DM_IND_CNT; id++) {
        set(id, id);
    }
    indicate("signal, all set", ZEB_NAS_SIG_INFO_IND, sig_info(-90));
    indicate("signal, two changed", ZEB_NAS_SIG_INFO_IND, sig_info(-91));
    zeb_nas_sig_info invalid = sig_info(-50);
    invalid.lte_sig_info_valid = 2;
    invalid.nr5g_sig_info_valid = 0;
    invalid.nr5g_rsrq = 5;
    indicate("signal, valid in part", ZEB_NAS_SIG_INFO_IND, invalid);
    indicate("signal, empty", ZEB_NAS_SIG_INFO_IND, zeb_nas_sig_info{});
    set(2, 9);
    indicate("signal, threshold set again", ZEB_NAS_SIG_INFO_IND, sig_info(-91));
    clear(7, 6, 5, 4, 3, 2);
    indicate("signal, all cleared", ZEB_NAS_SIG_INFO_IND, sig_info(-92));
    heading("system information");
    set(1);
    for (uint32_t srv_status : {1u, 1u, 4u, 3u, 0u, 2u}) {
        indicate("system info, LTE", ZEB_NAS_SYS_INFO_IND, fake_sys_info(srv_status, 0).info);
    }
    zeb_nas_sys_info info = fake_sys_info(ZEB_NAS_SRV_STATUS_SRV, 500).info;
    info.nr5g_srv_status_valid = 1;
    for (uint32_t srv_status : {2u, 1u, 3u, 4u, 9u}) {
        info.nr5g_srv_status = srv_status;
        info.lte_srv_status = srv_status == 1 ? 2 : 0;
        indicate("system info, NR 5G", ZEB_NAS_SYS_INFO_IND, info);
    }
    indicate("system info, empty", ZEB_NAS_SYS_INFO_IND, zeb_nas_sys_info{});
    clear(1);
    indicate("system info, cleared", ZEB_NAS_SYS_INFO_IND, fake_sys_info().info);
    heading("what cannot be used");
    indicate("unknown", 0x77, zeb_nas_sys_info{});
    for (uint32_t msg_id : {ZEB_NAS_SIG_INFO_IND, ZEB_NAS_SYS_INFO_IND, ZEB_NAS_SCAN_RESULT_IND}) {
        indicate("damaged", msg_id, uint32_t{1});
    }
}

static void play_table() {
    set(7, 1);
    set(3, 70000);
    set(1);
    for (int64_t refused : {0, -1}) {
        set(2, refused);
    }
    set(8, 1);
    set(0, 1);
    count();
    for (uint32_t room : {5u, 3u, 2u}) {
        list(room);
    }
    clear(3, 9);
    fake_answer(ZEB_NAS_INDICATION_REGISTER, zeb_nas_resp_header{1, 3});
    fake_answer(ZEB_NAS_INDICATION_REGISTER, zeb_nas_empty_resp{}, -8);
    clear(3, 3, 5);
    set(6, 9);
    list(7);
    fake_answer(ZEB_NAS_CONFIG_SIG_INFO, zeb_nas_resp_header{1, 3});
    fake_answer(ZEB_NAS_CONFIG_SIG_INFO, zeb_nas_empty_resp{}, -8);
    clear(3, 3, 5);
    clear(7);
    list(7);
    clear(1, 7);
    count();
}

static void play_scans() {
    for (int id = CPE_DM_METRIC_LTE_NBR_EARFCN; id <= CPE_DM_METRIC_LTE_NBR_RSRQ; id++) {
        get(id);
        indicate("result", ZEB_NAS_SCAN_RESULT_IND,
                 scan_result(id == CPE_DM_METRIC_LTE_NBR_EARFCN ? 2 : 1, id % 2 == 0));
    }
    heading("all metrics; none found, and failed");
    get(22, 24, 26, 28, 30, 32, 23, 25, 27, 29, 31);
    indicate("LTE result, full", ZEB_NAS_SCAN_RESULT_IND, scan_result(2, 1));
    indicate("NR 5G result, full", ZEB_NAS_SCAN_RESULT_IND, scan_result(2, 0));
    zeb_nas_scan_result_ind failed = scan_result(1, 1);
    failed.scan_status = 7;
    for (const zeb_nas_scan_result_ind &result : {scan_result(0, 1), failed}) {
        get(24, 30, 25);
        indicate("LTE result", ZEB_NAS_SCAN_RESULT_IND, result);
        indicate("NR 5G result", ZEB_NAS_SCAN_RESULT_IND, result);
    }
}

/* Counts up to and beyond every room; 256 and more where only the low 8 bits count. */
static void play_capacity() {
    quiet_log = true;
    for (uint32_t len : {0u, 5u, 256u + 2u, 4294967295u}) {
        heading(words("counts of", len).c_str());
        fake_default(ZEB_NAS_GET_CQI_INFO, cqi(len, len));
        fake_default(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, lte_lock(len));
        fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(false, len));
        zeb_nas_cell_location_info_resp cells = cell_location();
        cells.lte_intra.cells_len = len;
        cells.lte_intra.serving_cell_id = 0;
        cells.lte_intra.cells[0].pci = cells.lte_intra.cells[1].pci = cells.lte_intra.cells[2].pci = 1;
        fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cells);
        for (int id : {2, 16, 17, 33, 34}) {
            get(id);
        }
        get(22, 26, 28, 31, 27, 29);
        indicate("LTE result", ZEB_NAS_SCAN_RESULT_IND, scan_result(len, 1));
        indicate("NR 5G result", ZEB_NAS_SCAN_RESULT_IND, scan_result(len, 0));
    }
}

static void play_lists() {
    const zeb_nas_resp_header rejected = {1, 3};
    fake_default(ZEB_NAS_GET_TX_RX_INFO, zeb_nas_tx_rx_info_resp{});
    get(0);
    get(35);
    get(10, 99);
    get(99, 10);
    get(1, 10, 10);
    get(10, 20, 10);
    get(24, 20, 31);
    heading("scans that are refused, and outstanding");
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    get(24, 28, 31);
    get(30);
    indicate("LTE result of the metric asked for last", ZEB_NAS_SCAN_RESULT_IND, scan_result(1, 1));
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    get(27);
    get(24, 31, 99);
    get(10, 24);
    get(25);
    get(8, 10);
    // The LTE result starts the NR 5G scan; while that lasts there is no other.
    indicate("LTE result", ZEB_NAS_SCAN_RESULT_IND, scan_result(1, 1));
    get(22);
    indicate("NR 5G result", ZEB_NAS_SCAN_RESULT_IND, scan_result(1, 0));
    // Another thread starts a scan while a list is on its way.
    fake_on_request([](uint32_t msg_id) { cpe_dm_state.nr5g_scan_request |= msg_id == ZEB_NAS_GET_SIG_INFO; });
    get(24, 10);
    fake_on_request(nullptr);
    cpe_dm_state.nr5g_scan_request = 0;
    // The NR 5G scan that follows is refused: its response never comes, and the request stays.
    get(24, 25);
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    indicate("LTE result", ZEB_NAS_SCAN_RESULT_IND, scan_result(0, 1));
    get(24);
}

static const struct {
    std::string subject;
    void (*play)();
} plays[] = {
    {"start", play_start}, {"queries", play_queries}, {"statuses", play_statuses}, {"indications", play_indications},
    {"table", play_table}, {"scans", play_scans},     {"lists", play_lists},       {"capacity", play_capacity}};

int main(int argc, char **argv) {
    const std::string subject = argc == 2 ? argv[1] : "";
    fake_services(12, 2);
    set_answers(true);
    quiet = subject != "start";
    show("init", cpe_dm_init(&handle, &handle, on_event));
    if (subject != "start" && subject != "queries") {
        get_all("what another subject shows");
    }
    print_pending();
    quiet = false;
    for (const auto &p : plays) {
        if (p.subject == subject) {
            p.play();
        }
    }
    print_pending();
    quiet = subject != "start";
    show("deinit", cpe_dm_deinit(handle));
    print_pending();
    const bool clean = cpe_dm_deinit(handle) == CPE_DM_ERR_INVALID_PARAM && fault_live_allocations() == 0;
    return clean && fake_clients() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
