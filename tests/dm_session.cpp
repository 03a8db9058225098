/* Plays a fixed session of the client and the module against the scripted platform and prints everything that can be
 * seen of it: the client's own output, what was requested, what was logged, and the statuses. */
#include "cpe_dm_client_options.h"
#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <utility>

/* Prints the log; of info lines that were printed before only their number. */
static void show_log(const std::string &log) {
    static std::set<std::string> seen;
    std::istringstream lines(log);
    int repeated = 0;
    const auto print_repeated = [&repeated] { repeated != 0 ? printf("I ... %d\n", std::exchange(repeated, 0)) : 0; };
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == 'I' && !seen.insert(line).second) {
            repeated++;
            continue;
        }
        print_repeated();
        printf("%s\n", line.c_str());
    }
    print_repeated();
}

/* Addresses stand alone between brackets, and are longer than any other number there. */
static std::string without_addresses(std::string log) {
    for (size_t at = log.find("[0x"); at != std::string::npos; at = log.find("[0x", at + 1)) {
        const size_t length = log.find_first_of(" ]", at) - at - 1;
        if (length > 7) {
            log.replace(at + 1, length, "ADDRESS");
        }
    }
    return log;
}

/* Prints what happened since the last call. */
static void show(const char *title, int32_t status) {
    printf("== %s: %d\n", title, status);
    for (const fake_request &request : fake_requests()) {
        printf("-> 0x%04X %zu/%u %u ms", request.msg_id, request.bytes.size(), request.resp_len, request.timeout_ms);
        for (size_t i = 0; i < request.bytes.size(); i++) {
            if (request.bytes[i] != 0) {
                printf(" %zu:%u", i, request.bytes[i]);
            }
        }
        printf("\n");
    }
    show_log(without_addresses(fake_log()));
}

/* Performs an option line of the client. */
static void line(std::string text) {
    cpe_dm_client_values values = {};
    const std::string title = text;
    cpe_dm_client_parse(text.data(), &values);
    show(title.c_str(), cpe_dm_client_dispatch(&values));
}

/* Each metric but those of the neighbours. */
static void get_all(const char *title) {
    printf("\n#### %s\n", title);
    for (int id = CPE_DM_METRIC_REG_STATUS; id < CPE_DM_METRIC_CNT; id++) {
        if (id < CPE_DM_METRIC_LTE_NBR_EARFCN || id > CPE_DM_METRIC_LTE_NBR_RSRQ) {
            line("7 " + std::to_string(id));
        }
    }
}

static void lines(std::initializer_list<const char *> texts) {
    for (const char *text : texts) {
        line(text);
    }
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

/* Both technologies' CQI, for lengths beyond what there is room for as well. */
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

static void play_queries() {
    set_answers(true);
    get_all("EN-DC, everything reported");
    set_answers(false);
    get_all("EN-DC, nothing reported");
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info(ZEB_NAS_SRV_STATUS_LIMITED));
    get_all("no service");

    printf("\n#### counts beyond every room\n");
    set_answers(true);
    for (uint32_t len : {0u, 5u, 256u + 61u, 4294967295u}) {
        fake_default(ZEB_NAS_GET_CQI_INFO, cqi(len, len));
        fake_default(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, lte_lock(len));
        fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(false, len));
        zeb_nas_cell_location_info_resp cells = cell_location();
        cells.lte_intra.cells_len = len;
        cells.lte_intra.serving_cell_id = 0;
        cells.lte_intra.cells[0].pci = cells.lte_intra.cells[1].pci = cells.lte_intra.cells[2].pci = 1;
        cells.nr5g_serving_cell_info_valid = 0;
        fake_default(ZEB_NAS_GET_CELL_LOCATION_INFO, cells);
        lines({"7 2", "7 3", "7 16", "7 17", "7 33", "7 34"});
    }
    fake_default(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, nr5g_lock(true, 2));
    line("7 34");
    set_answers(true);
}

static void play_indications() {
    printf("\n#### indications\n");
    indicate("signal, none set", ZEB_NAS_SIG_INFO_IND, sig_info(-90));
    lines({"3 7 70000", "3 1", "3 2 2", "3 3 3", "3 4 4", "3 5 5", "3 6 6", "3 7 7", "5 7"});
    indicate("signal, all set", ZEB_NAS_SIG_INFO_IND, sig_info(-90));
    indicate("signal, two changed", ZEB_NAS_SIG_INFO_IND, sig_info(-91));
    zeb_nas_sig_info invalid = sig_info(-50);
    invalid.lte_sig_info_valid = 2;
    invalid.nr5g_sig_info_valid = 0;
    invalid.nr5g_rsrq = 5;
    indicate("signal, valid in part", ZEB_NAS_SIG_INFO_IND, invalid);
    indicate("signal, empty", ZEB_NAS_SIG_INFO_IND, zeb_nas_sig_info{});
    line("3 2 9");
    indicate("signal, threshold set again", ZEB_NAS_SIG_INFO_IND, sig_info(-91));
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
    indicate("unknown", 0x77, zeb_nas_sys_info{});
    for (uint32_t msg_id : {ZEB_NAS_SIG_INFO_IND, ZEB_NAS_SYS_INFO_IND, ZEB_NAS_SCAN_RESULT_IND}) {
        indicate("damaged", msg_id, uint32_t{1});
    }
    for (int32_t event : {0, 1}) {
        show("service event", fake_notify(event));
    }
    line("6 7 6 5 4 3 2 1");
    indicate("signal, all cleared", ZEB_NAS_SIG_INFO_IND, sig_info(-92));
    indicate("system info, cleared", ZEB_NAS_SYS_INFO_IND, fake_sys_info().info);
}

/* Asks for neighbour metrics, and delivers a scan result. */
static void scan(const std::string &text, const zeb_nas_scan_result_ind &result) {
    line(text);
    indicate("scan result", ZEB_NAS_SCAN_RESULT_IND, result);
}

static void play_scans() {
    printf("\n#### neighbour scans\n");
    for (int id = CPE_DM_METRIC_LTE_NBR_EARFCN; id <= CPE_DM_METRIC_LTE_NBR_RSRQ; id++) {
        scan("7 " + std::to_string(id), scan_result(2, id % 2 == 0));
    }
    for (uint32_t len : {0u, 4294967295u}) {
        scan("8 22 24 26 28 30 32", scan_result(len, 1));
        scan("8 23 25 27 29 31", scan_result(len, 0));
    }
    zeb_nas_scan_result_ind failed = scan_result(1, 1);
    failed.scan_status = 7;
    scan("7 24", failed);
    scan("7 25", failed);
}

/* What is asked of which technology, by the network status that the system information indication has left. */
static void play_network_statuses() {
    printf("\n#### network statuses\n");
    zeb_nas_sys_info_resp standalone = {};
    standalone.info.nr5g_srv_status_valid = 1;
    standalone.info.nr5g_srv_status = ZEB_NAS_SRV_STATUS_SRV;
    for (const zeb_nas_sys_info_resp &sys_info : {fake_sys_info(2, 0), standalone, fake_sys_info()}) {
        fake_default(ZEB_NAS_GET_SYS_INFO, sys_info);
        indicate("system info", ZEB_NAS_SYS_INFO_IND, sys_info.info);
        lines({"7 1", "7 5", "7 16", "7 20", "7 33"});
    }
    // An attached cell that is gone at the second look, and NR 5G signal values without RSRQ.
    fake_answer(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    fake_answer(ZEB_NAS_GET_SYS_INFO, fake_sys_info(2, 0));
    zeb_nas_sig_info_resp sig = {{}, sig_info(-95)};
    sig.info.nr5g_rsrq_valid = 0;
    fake_answer(ZEB_NAS_GET_SIG_INFO, sig);
    lines({"7 5", "7 13"});
    // The status changes between the two requests of a query, and is gone before the first.
    for (uint16_t nr5g_pci : {uint16_t{0}, uint16_t{500}}) {
        fake_on_request([nr5g_pci](uint32_t msg_id) {
            if (msg_id == ZEB_NAS_GET_CQI_INFO) {
                fake_indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info(2, nr5g_pci).info);
            }
        });
        line("7 16");
        fake_on_request(nullptr);
        fault_settle(2000);
    }
    indicate("system info, empty", ZEB_NAS_SYS_INFO_IND, zeb_nas_sys_info{});
    lines({"7 16", "7 20", "7 33"});
    indicate("system info", ZEB_NAS_SYS_INFO_IND, fake_sys_info().info);
}

static void play_lists() {
    printf("\n#### lists\n");
    const zeb_nas_resp_header rejected = {1, 3};
    fake_default(ZEB_NAS_GET_TX_RX_INFO, zeb_nas_tx_rx_info_resp{});
    lines({"7 0", "7 35", "8 10 99", "8 99 10", "8 1 10 10", "8 10 20 10", "8 24 20 31"});
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    lines({"8 24 31", "7 30", "8 24 31 99", "8 10 24", "7 25", "8 10"});
    // The LTE result starts the NR 5G scan; while that lasts there is no other.
    indicate("LTE scan result", ZEB_NAS_SCAN_RESULT_IND, scan_result(1, 1));
    line("7 22");
    indicate("NR 5G scan result", ZEB_NAS_SCAN_RESULT_IND, scan_result(1, 0));
    // Another thread starts a scan while a list is on its way.
    fake_on_request([](uint32_t msg_id) { cpe_dm_state.nr5g_scan_request |= msg_id == ZEB_NAS_GET_SIG_INFO; });
    line("8 24 10");
    fake_on_request(nullptr);
    cpe_dm_state.nr5g_scan_request = 0;
    // The NR 5G scan that follows is refused: its response never comes, and the request stays.
    line("8 24 25");
    fake_answer(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, rejected);
    indicate("LTE scan result", ZEB_NAS_SCAN_RESULT_IND, scan_result(0, 1));
    line("7 24");
}

static void play_indication_table() {
    printf("\n#### indication table\n");
    lines({"3 7 1", "3 3 2", "3 1", "3 2 0", "3 2", "3 8 1", "3 0 1", "4", "5 5", "5 2", "5 0", "6 3 9", "6 0"});
    fake_answer(ZEB_NAS_INDICATION_REGISTER, zeb_nas_resp_header{1, 3});
    fake_answer(ZEB_NAS_INDICATION_REGISTER, zeb_nas_empty_resp{}, -8);
    lines({"6 3 3 5", "3 6 9", "5 7"});
    fake_answer(ZEB_NAS_CONFIG_SIG_INFO, zeb_nas_resp_header{1, 3});
    fake_answer(ZEB_NAS_CONFIG_SIG_INFO, zeb_nas_empty_resp{}, -8);
    lines({"6 3 3 5", "6 7", "5 7", "6 1 7", "4"});
}

int main() {
    fake_services(12, 2);
    set_answers(true);
    line("1");
    play_queries();
    play_indications();
    play_scans();
    play_network_statuses();
    play_indication_table();
    play_lists();
    lines({"8 0 1", "", "2", "7 1"});
    return fault_live_allocations() == 0 && fake_clients() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
