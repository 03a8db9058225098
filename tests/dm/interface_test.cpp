#include "cpe_dm_interface.h"
#include "cpe_dm_interface_events.h"
#include "cpe_dm_interface_metrics.h"
#include "cpe_dm_post.h"
#include "cpe_dm_text.h"
#include "cpe_dm_zeb_nas.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <semaphore>
#include <set>
#include <thread>
#include <type_traits>

namespace {

std::deque<int> draws;

/* Where on_event puts the IDs of the events; null while no event is expected. */
std::set<uint32_t> *events;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    if (events == nullptr) {
        ADD_FAILURE() << "no event is expected";
    } else {
        events->insert(info->id);
    }
    free(info);
}

cpe_dm_info record(uint32_t info_type, uint32_t id) {
    return {info_type, id, CPE_DM_VALUE_NONE, {}, 0};
}

bool logged(const std::string &text) {
    return fake_log().find(text) != std::string::npos;
}

struct Interface : testing::Test {
    cpe_dm_hndl handle = nullptr;
    int forgotten = 0; /* notifiers that are never released */

    void SetUp() override {
        fake_reset();
        fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
        ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
        fake_reset();
    }

    void TearDown() override {
        fault_clear();
        fake_reset();
        EXPECT_EQ(cpe_dm_deinit(handle), 0);
        EXPECT_EQ(fault_live_allocations(), 0U);
        EXPECT_EQ(fake_clients(), forgotten);
    }
};

TEST_F(Interface, EntryChecks) {
    int other = 0;
    cpe_dm_info request = record(CPE_DM_INFO_TYPE_REQUEST, 1);
    cpe_dm_info ind = record(CPE_DM_INFO_TYPE_IND, 1);
    uint32_t number = 0;
    const int32_t clear = 1;
    const struct {
        std::function<int32_t(cpe_dm_hndl, bool args_valid)> call;
        const char *line;
    } cases[] = {
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_info(h, ok ? &request : nullptr); }, "dm_info["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_info(h, ok ? &request : &ind); }, "dm_info["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_info_list(h, ok ? &request : nullptr, 1); }, "dm_info_list["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_info_list(h, &request, ok); }, "dm_info_list_cnt[0]"},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_info_list(h, &request, ok ? 1 : -3); },
         "dm_info_list_cnt[-3]"},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_set_ind_info(h, ok ? &ind : nullptr); }, "dm_ind_info["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_set_ind_info(h, ok ? &ind : &request); }, "dm_ind_info["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_ind_cnt(h, ok ? &number : nullptr); }, "dm_ind_cnt["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_ind_list(h, ok ? &number : nullptr, 1); }, "dm_ind_list["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_get_ind_list(h, &number, ok); }, "dm_ind_list_cnt[0]"},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_clr_ind_list(h, ok ? &clear : nullptr, 1); }, "dm_clr_ind_list["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_clr_ind_list(h, &clear, ok); }, "dm_clr_ind_list_cnt[0]"},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_set_ctrl_info(h, ok ? &ind : nullptr); }, "dm_ctrl_info["},
        {[&](cpe_dm_hndl h, bool ok) { return cpe_dm_deinit(ok ? h : nullptr); }, "hndl[(nil)]"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.call(handle, false), CPE_DM_ERR_INVALID_PARAM) << c.line;
        const std::string log = fake_log();
        EXPECT_EQ(log.find("E Invalid params - hndl["), 0U) << log;
        EXPECT_NE(log.find((c.line[0] == 'd' ? "], " : " ") + std::string(c.line)), std::string::npos) << log;
        for (cpe_dm_hndl wrong : {static_cast<void *>(nullptr), static_cast<void *>(&other)}) {
            EXPECT_EQ(c.call(wrong, true), CPE_DM_ERR_INVALID_PARAM) << c.line;
            EXPECT_EQ(fake_log().find("E Invalid params - hndl["), 0U);
        }
        fault_arm("pthread_mutex_lock", 1);
        EXPECT_EQ(c.call(handle, true), CPE_DM_ERR_FAILURE);
        fault_clear();
        EXPECT_EQ(fake_log(), "E pthread_mutex_lock failed:\n");
    }
    EXPECT_TRUE(fake_requests().empty());
    EXPECT_EQ(cpe_dm_set_ctrl_info(handle, &ind), CPE_DM_ERR_NOT_SUPPORTED);
    EXPECT_TRUE(logged("E Setting diagnostic control information for metric[1] - not supported!!"));

    // After a de-initialisation that failed half-way, all operations return CPE_DM_ERR_NOT_INITIALIZED for the handle.
    cpe_dm_state.ind_info.reg_status = cpe_dm_state.ind_info.nr5g_sinr.valid = 1;
    cpe_dm_state.lte_scan_request = cpe_dm_state.nr5g_scan_ongoing = cpe_dm_state.nr5g_nbr_rsrp = 1;
    fault_arm("zeb_client_release", 1);
    EXPECT_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_FAILURE);
    fault_clear();
    fake_log();
    for (const auto &c : cases) {
        EXPECT_EQ(c.call(handle, true), CPE_DM_ERR_NOT_INITIALIZED) << c.line;
        EXPECT_EQ(fake_log(), "E Diagnostic monitor module is not initialized!!\n");
    }
    EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    const cpe_dm_state_record &state = cpe_dm_state;
    EXPECT_EQ(state.ind_info.reg_status + state.ind_info.nr5g_sinr.valid, 0);
    EXPECT_EQ(state.lte_scan_request + state.nr5g_scan_ongoing + state.nr5g_nbr_rsrp, 0);
}

/* When the modem reports all fields, every metric has the value type of its description. When the modem reports only
 * the system information, all metrics but the registration status and those of neighbours are unavailable, and an error
 * is logged. */
TEST_F(Interface, EveryMetricIsServed) {
    for (uint32_t id = CPE_DM_METRIC_REG_STATUS; id < CPE_DM_METRIC_CNT; id++) {
        const cpe_dm_metric_desc *metric = cpe_dm_metric_by_id(id);
        const uint32_t type = metric->value_type;
        const bool fills_record = type == CPE_DM_VALUE_CQI_INFO || type == CPE_DM_VALUE_CELL_LOCK_LIST;
        cpe_dm_metric_record result = {};
        cpe_dm_info info = record(CPE_DM_INFO_TYPE_REQUEST, id);
        SCOPED_TRACE(metric->key);
        fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
        fake_report_all(true);
        if (fills_record) {
            EXPECT_EQ(cpe_dm_get_info(handle, &info), CPE_DM_ERR_INVALID_PARAM);
        }
        cpe_dm_prepare_request(&info, id, &result);
        EXPECT_EQ(info.value.cqi_info != nullptr, fills_record);
        fake_log();
        EXPECT_EQ(cpe_dm_get_info(handle, &info), 0);
        EXPECT_EQ(info.value_type, type);
        if (type == CPE_DM_VALUE_INT64) {
            EXPECT_NE(info.value.i64_val, 0);
            EXPECT_TRUE(logged("[" + std::to_string(info.value.i64_val) + "]"));
        }
        if (type == CPE_DM_VALUE_NONE) { // a neighbour metric, which starts a scan
            EXPECT_EQ(cpe_dm_state.lte_scan_request, metric->tech == CPE_DM_TECH_LTE);
            cpe_dm_state.lte_scan_request = cpe_dm_state.nr5g_scan_request = 0;
        } else if (id != CPE_DM_METRIC_REG_STATUS) {
            fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info(ZEB_NAS_SRV_STATUS_SRV, 0));
            fake_report_all(false);
            EXPECT_EQ(cpe_dm_get_info(handle, &info), CPE_DM_ERR_INFO_UNAVAILABLE);
            EXPECT_TRUE(logged("\nE ")); // the error line follows the lines of the query
        }
    }
}

/* Every indication can be set, is requested from the modem, is listed, and is delivered. */
TEST_F(Interface, EveryIndicationIsServed) {
    zeb_nas_sig_info signal;
    memset(&signal, 1, sizeof(signal));
    for (uint32_t id = CPE_DM_IND_REG_STATUS; id < CPE_DM_IND_CNT; id++) {
        const bool threshold = id != CPE_DM_IND_REG_STATUS;
        std::set<uint32_t> delivered;
        uint32_t listed = 0;
        bool asked = false;
        bool configured = false;
        cpe_dm_info ind = record(CPE_DM_INFO_TYPE_IND, id);
        ind.value_type = CPE_DM_VALUE_INT64;
        ind.value.i64_val = 9;
        SCOPED_TRACE(cpe_dm_ind_name(id));
        fake_requests();
        EXPECT_EQ(cpe_dm_set_ind_info(handle, &ind), 0);
        for (const fake_request &request : fake_requests()) {
            zeb_nas_indication_register_req registration = {};
            memcpy(&registration, request.bytes.data(), std::min(sizeof(registration), request.bytes.size()));
            asked = asked || (request.msg_id == ZEB_NAS_INDICATION_REGISTER && registration.sig_info != 0);
            configured = configured || (request.msg_id == ZEB_NAS_CONFIG_SIG_INFO &&
                                        std::count(request.bytes.begin(), request.bytes.end(), 9) == 1);
        }
        EXPECT_EQ(asked, threshold);
        EXPECT_EQ(configured, threshold);
        EXPECT_EQ(cpe_dm_get_ind_list(handle, &listed, 1), 0);
        EXPECT_EQ(listed, id);
        events = &delivered;
        fake_indicate(ZEB_NAS_SIG_INFO_IND, signal);
        fake_indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info(ZEB_NAS_SRV_STATUS_LIMITED).info);
        fake_indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info().info);
        EXPECT_TRUE(fault_settle());
        events = nullptr;
        EXPECT_EQ(delivered, std::set<uint32_t>{id});
        const auto cleared = static_cast<int32_t>(id);
        EXPECT_EQ(cpe_dm_clr_ind_list(handle, &cleared, 1), 0);
    }
}

TEST_F(Interface, InitChecksItsArgumentsAndItsState) {
    cpe_dm_hndl second = nullptr;
    cpe_dm_state.ind_info.reg_status = 1;
    EXPECT_EQ(cpe_dm_init(nullptr, nullptr, on_event), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_EQ(cpe_dm_init(&second, nullptr, nullptr), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_TRUE(logged("user_cb_fn[(nil)]"));
    EXPECT_EQ(cpe_dm_init(&second, nullptr, on_event), CPE_DM_ERR_ALREADY_INITIALIZED);
    EXPECT_EQ(fake_log(), "E Diagnostic monitor module already initialized!!\n");
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(cpe_dm_state.ind_info.reg_status, 1);
    EXPECT_EQ(cpe_dm_deinit(handle), 0);
    EXPECT_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_INVALID_PARAM);
    draws = {0, 0, 4711};
    EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(handle), 4711U);
    EXPECT_EQ(cpe_dm_state.ind_info.reg_status, 0);
}

/* After a release of the notifier or the client has failed, the next initialisation and de-initialisation clean up. */
TEST_F(Interface, DeinitFailsHalfWay) {
    for (const char *failing : {"notifier", "client", "client twice"}) {
        const bool notifier = strcmp(failing, "notifier") == 0;
        fault_arm("zeb_client_release", notifier ? 1 : 2, strcmp(failing, "client twice") == 0);
        EXPECT_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_FAILURE);
        EXPECT_TRUE(logged(notifier ? "E Releasing the ZEB NAS notifier handle failed with status[-1]"
                                    : "E Releasing the ZEB NAS client handle failed with status[-1]"));
        // An indication that comes after the failed de-initialisation is refused.
        fake_indicate(ZEB_NAS_SIG_INFO_IND, zeb_nas_sig_info{});
        EXPECT_TRUE(logged("E Diagnostic monitor module is not initialized!!"));
        ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
        EXPECT_TRUE(logged("E ZEB NAS client module already initialized"));
        const bool again = strcmp(failing, "client twice") == 0;
        EXPECT_EQ(cpe_dm_deinit(handle), again ? CPE_DM_ERR_FAILURE : 0);
        fault_clear();
        ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
        EXPECT_EQ(fake_clients(), again ? 1 : 2);
        ASSERT_EQ(cpe_dm_deinit(handle), 0);
        EXPECT_EQ(fake_clients(), 0);
        ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    }
    // A de-initialisation also fails when the queue cannot be stopped, or when the lock cannot be taken again
    // afterwards.
    for (const auto &[point, nth] : {std::pair("pthread_cond_signal", 1), std::pair("pthread_mutex_lock", 3)}) {
        ASSERT_TRUE(fault_settle());
        fault_arm(point, nth, true);
        EXPECT_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_FAILURE) << point;
        EXPECT_TRUE(logged("E De-initializing internal command queue for processing async commands failed"));
        EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), CPE_DM_ERR_FAILURE);
        fault_clear();
        EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    }
    fake_log();
    EXPECT_EQ(cpe_dm_zeb_nas_client_init(), 0);
    EXPECT_EQ(fake_log(), "E ZEB NAS client module already initialized\n");
    EXPECT_EQ(cpe_dm_zeb_nas_init(), 0);
}

template <typename Record> int32_t query(int32_t (*operation)(Record *), bool valid) {
    static std::remove_const_t<Record> record;
    return operation(valid ? &record : nullptr);
}

TEST_F(Interface, NothingOfTheConnectionWithoutOne) {
    ASSERT_EQ(cpe_dm_deinit(handle), 0);
    fake_reset();
    uint8_t flag = 7;
    fault_arm("calloc", 1, true);
    for (bool valid : {false, true}) {
        const int32_t statuses[] = {
            query(cpe_dm_zeb_nas_get_cell_info, valid),      query(cpe_dm_zeb_nas_get_sig_info, valid),
            query(cpe_dm_zeb_nas_get_tx_pwr_info, valid),    query(cpe_dm_zeb_nas_get_cqi_info, valid),
            query(cpe_dm_zeb_nas_get_cell_lock_list, valid), query(cpe_dm_zeb_nas_register_ind, valid)};
        EXPECT_EQ(cpe_dm_zeb_nas_get_sys_info(nullptr, 0), CPE_DM_ERR_INVALID_PARAM);
        for (int32_t status : statuses) {
            EXPECT_EQ(status, valid ? CPE_DM_ERR_NOT_INITIALIZED : CPE_DM_ERR_INVALID_PARAM);
        }
    }
    EXPECT_EQ(cpe_dm_zeb_nas_release(), CPE_DM_ERR_FAILURE);
    EXPECT_EQ(cpe_dm_zeb_nas_perform_incremental_scan(0, &flag, 0, &flag), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_EQ(cpe_dm_zeb_nas_perform_incremental_scan(1, nullptr, 1, nullptr), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_EQ(cpe_dm_zeb_nas_perform_incremental_scan(1, &flag, 0, nullptr), CPE_DM_ERR_NO_MEMORY);
    EXPECT_EQ(flag, 7);
    fault_clear();
    uint8_t nr5g_flag = 7;
    EXPECT_EQ(cpe_dm_zeb_nas_perform_incremental_scan(1, &flag, 1, &nr5g_flag), CPE_DM_ERR_FAILURE);
    EXPECT_EQ(flag + nr5g_flag, 0);
    const std::string log = fake_log();
    for (const char *line :
         {"E Invalid params - cell_info[(nil)]\n", "E Invalid params - sig_info[(nil)]\n",
          "E Invalid params - tx_pwr_info[(nil)]\n", "E Invalid params - cqi_info[(nil)]\n",
          "E Invalid params - cell_lock_list[(nil)]\n", "E Invalid params - ind_info[(nil)]\n",
          "E Invalid params - sys_info[(nil)]\n", "E ZEB NAS module not initialized - zeb_nas_clnt_handle[(nil)]\n",
          "E ZEB NAS client module not yet initialized - cannot be released!\n",
          "E Invalid params - lte_scan_request[0], nr5g_scan_request[0], lte_scan_ongoing["}) {
        EXPECT_NE(log.find(line), std::string::npos) << line;
    }
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
}

/* Requests that no option line of the client can produce: without a record for the value, or with an ID that has no
 * value. */
TEST_F(Interface, RecordsOfAnyKind) {
    for (uint32_t id : {16U, 17U, 33U, 34U}) {
        cpe_dm_info info = record(CPE_DM_INFO_TYPE_REQUEST, id);
        EXPECT_EQ(cpe_dm_get_info(handle, &info), CPE_DM_ERR_INVALID_PARAM);
        EXPECT_FALSE(logged("\nE "));
        EXPECT_EQ(fake_requests().size(), 1U) << "only the system information";
    }
    for (uint32_t id : {0U, 22U, 1000U}) {
        cpe_dm_info info = record(CPE_DM_INFO_TYPE_REQUEST, id);
        EXPECT_EQ(cpe_dm_fill_info(&info, nullptr), CPE_DM_ERR_NOT_SUPPORTED);
        EXPECT_EQ(cpe_dm_mark_nbr_metric(id), id == 22 ? 0 : CPE_DM_ERR_NOT_SUPPORTED);
    }
    cpe_dm_state.lte_scan_request = 0;
}

/* The records inside the module, which no transcript shows: a flag is 0 or 1, and no value of an answer is left over
 * for the next answer. */
TEST_F(Interface, RecordsInsideTheModule) {
    const cpe_dm_state_record &state = cpe_dm_state;
    ASSERT_EQ(cpe_dm_deinit(handle), 0);
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, [](cpe_dm_hndl, cpe_dm_info *info, void *) { free(info); }), 0);
    const cpe_dm_info ind = record(CPE_DM_INFO_TYPE_IND, CPE_DM_IND_REG_STATUS);
    EXPECT_EQ(cpe_dm_set_ind_info(handle, &ind), 0);
    EXPECT_EQ(state.ind_info.reg_status, 1);
    cpe_dm_info request = record(CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_NR5G_NBR_PCI);
    EXPECT_EQ(cpe_dm_get_info(handle, &request), 0);
    EXPECT_EQ(state.nr5g_scan_ongoing, 1);
    EXPECT_EQ(state.nr5g_nbr_pci, 1);
    zeb_nas_scan_result_ind failed = {};
    failed.scan_status = 1;
    ASSERT_TRUE(fake_indicate(ZEB_NAS_SCAN_RESULT_IND, failed));
    ASSERT_TRUE(fault_settle());
    EXPECT_EQ(state.nr5g_scan_ongoing, 0);
    for (bool cell : {true, false}) {
        zeb_nas_nr5g_cell_lock_list_resp locks = {};
        locks.cell_identity_valid = cell;
        locks.arfcn_identity_valid = !cell;
        fake_answer(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, locks);
        cpe_dm_nas_cell_lock_list list = {};
        EXPECT_EQ(cpe_dm_zeb_nas_get_cell_lock_list(&list), 0);
        EXPECT_EQ(list.nr5g_cell_lock_valid, 1);
    }
    zeb_nas_cell_location_info_resp location = {};
    location.nr5g_arfcn_valid = location.nr5g_serving_cell_info_valid = 1;
    location.nr5g_serving.rsrp = -104;
    location.nr5g_serving.rsrq = -14;
    location.nr5g_serving.snr = -5;
    fake_answer(ZEB_NAS_GET_CELL_LOCATION_INFO, location);
    cpe_dm_nas_cell_info cells = {};
    EXPECT_EQ(cpe_dm_zeb_nas_get_cell_info(&cells), 0);
    EXPECT_EQ(cells.nr5g_serving.nr5g_arfcn_valid, 1);
    EXPECT_EQ(cells.nr5g_serving.rsrp, -104);
    EXPECT_EQ(cells.nr5g_serving.rsrq, -14);
    EXPECT_EQ(cells.nr5g_serving.snr, -5);
    zeb_nas_cqi_info_resp carrier = {};
    carrier.nr5g_cc_cqi_valid = 1;
    fake_answer(ZEB_NAS_GET_CQI_INFO, carrier);
    fake_answer(ZEB_NAS_GET_CQI_INFO, zeb_nas_resp_header{});
    cpe_dm_nas_cqi_info cqi = {};
    EXPECT_EQ(cpe_dm_zeb_nas_get_cqi_info(&cqi), 0);
    EXPECT_EQ(cqi.nr5g_cc_cqi_valid, 0);
    fake_answer(ZEB_NAS_GET_TX_RX_INFO, zeb_nas_tx_rx_info_resp{{}, 1, 5, {}});
    fake_answer(ZEB_NAS_GET_TX_RX_INFO, zeb_nas_resp_header{});
    cpe_dm_nas_tx_pwr_info power = {};
    EXPECT_EQ(cpe_dm_zeb_nas_get_tx_pwr_info(&power), 0);
    EXPECT_EQ(power.nr5g_tx_valid, 0);
}

TEST_F(Interface, Posting) {
    char *data = static_cast<char *>(calloc(1, 8));
    EXPECT_EQ(cpe_dm_post_nas_msg(0, data), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_TRUE(logged("E Invalid params - zeb_msg_id[0], zeb_msg_data["));
    EXPECT_EQ(cpe_dm_post_nas_msg(0x51, nullptr), CPE_DM_ERR_INVALID_PARAM);
    EXPECT_EQ(cpe_dm_post_nas_msg(0x99, data), 0);
    ASSERT_TRUE(fault_settle());
    EXPECT_TRUE(logged("E Processing of NAS message ID [153] - not supported!!"));
    for (int nth : {1, 2}) {
        void *lost = calloc(1, 8);
        fault_arm("calloc", nth);
        EXPECT_EQ(cpe_dm_post_nas_msg(0x99, lost), nth == 1 ? CPE_DM_ERR_NO_MEMORY : CPE_DM_ERR_FAILURE);
        fault_clear();
    }
    ASSERT_TRUE(fault_settle());
    fault_arm("pthread_cond_signal", 1);
    EXPECT_EQ(cpe_dm_post_nas_msg(0x99, calloc(1, 8)), CPE_DM_ERR_FAILURE);
    fault_clear();
    ASSERT_EQ(cpe_dm_deinit(handle), 0);
    EXPECT_EQ(cpe_dm_post_nas_msg(0x99, calloc(1, 8)), CPE_DM_ERR_FAILURE);
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    zeb_async_data empty = {0x51, nullptr};
    cpe_dm_cmd cmd = {};
    cpe_dm_process_nas_msg(nullptr, &empty);
    cpe_dm_process_nas_msg(&cmd, nullptr);
    cpe_dm_process_nas_msg(&cmd, &empty);
    EXPECT_TRUE(logged("E Invalid params - cmd[(nil)], zeb_async_data["));
    cpe_dm_free_nas_msg(nullptr, nullptr);
    // `initialized` is cleared while one message waits for the lock, and before another message asks for the lock.
    zeb_async_data unknown = {0x99, &empty};
    ASSERT_TRUE(fault_settle());
    ASSERT_EQ(pthread_mutex_lock(&cpe_dm_lock), 0);
    fault_arm("pthread_mutex_lock", 1000);
    std::thread waiting([&] { cpe_dm_process_nas_msg(&cmd, &unknown); });
    while (fault_calls() < 1) { // until the thread asks for the lock
        std::this_thread::yield();
    }
    std::atomic_ref(cpe_dm_state.initialized).store(0);
    pthread_mutex_unlock(&cpe_dm_lock);
    waiting.join();
    EXPECT_EQ(fake_log(), "E Diagnostic monitor module is not initialized!!\n");
    cpe_dm_process_nas_msg(&cmd, &unknown);
    EXPECT_EQ(fake_log(), "E Diagnostic monitor module is not initialized!!\n");
    cpe_dm_state.initialized = 1;
}

std::binary_semaphore entered{0};
std::binary_semaphore go{0};

/* An operation that is called while the queue is being taken down waits, and then finds that the module is no longer
 * initialised. An initialisation waits as well, and then succeeds. */
TEST_F(Interface, OperationsWaitForADeinit) {
    static cpe_dm_cmd blocker = {[](cpe_dm_cmd *, void *) {
                                     entered.release();
                                     go.acquire();
                                 },
                                 nullptr, nullptr};
    ASSERT_EQ(cpe_dm_cmdq_enq(&cpe_dm_state.cmdq, &blocker), 0);
    entered.acquire();
    cpe_dm_post_nas_msg(0x51, calloc(1, sizeof(zeb_nas_sig_info)));
    std::thread deinit([this] { EXPECT_EQ(cpe_dm_deinit(handle), 0); });
    while (std::atomic_ref(cpe_dm_state.cmdq.running).load() != 0) {
        std::this_thread::yield();
    }
    uint32_t none = 0;
    fault_arm("pthread_cond_timedwait", 1);
    EXPECT_EQ(cpe_dm_get_ind_cnt(handle, &none), CPE_DM_ERR_FAILURE);
    fault_clear();
    std::atomic<int> returned{0};
    cpe_dm_hndl next = nullptr;
    fault_arm("pthread_cond_timedwait", 1000);
    std::thread operation([&] {
        uint32_t cnt = 0;
        EXPECT_EQ(cpe_dm_get_ind_cnt(handle, &cnt), CPE_DM_ERR_INVALID_PARAM);
        returned++;
    });
    std::thread init([&] {
        EXPECT_EQ(cpe_dm_init(&next, nullptr, on_event), 0);
        returned++;
    });
    while (fault_calls() < 2) { // until both threads wait
        std::this_thread::yield();
    }
    EXPECT_EQ(returned, 0);
    // The waiting threads go on even if the broadcast that should wake them fails.
    fault_arm("pthread_cond_broadcast", 1);
    go.release();
    for (std::thread *thread : {&deinit, &operation, &init}) {
        thread->join();
    }
    EXPECT_EQ(fault_fired().size(), 1U);
    fault_clear();
    handle = next;
}

/* A de-initialisation does not take the queue down while another thread is posting a message. */
TEST_F(Interface, ADeinitWaitsForPosters) {
    ASSERT_TRUE(fault_settle());
    std::atomic<bool> down{false};
    ASSERT_EQ(pthread_mutex_lock(&cpe_dm_state.cmdq.mutex), 0);
    fault_arm("pthread_mutex_lock", 1000);
    std::thread poster([] { EXPECT_EQ(cpe_dm_post_nas_msg(0x51, calloc(1, sizeof(zeb_nas_sig_info))), 0); });
    while (fault_calls() < 1) { // until the thread asks for the queue's mutex
        std::this_thread::yield();
    }
    std::thread deinit([&] {
        EXPECT_EQ(cpe_dm_deinit(handle), 0);
        down = true;
    });
    while (cpe_dm_is_initialized()) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // a de-initialisation that does not wait ends sooner
    EXPECT_FALSE(down);
    pthread_mutex_unlock(&cpe_dm_state.cmdq.mutex);
    poster.join();
    deinit.join();
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
}

/* When the release of a notifier has failed, and fails again at the next connection, the notifier keeps its
 * OS-parameter block for ever. The next notifier gets the spare block, and there is no block for a third. This test
 * stands last, because it leaves behind a notifier that is never released. */
TEST_F(Interface, ANotifierKeepsItsBlock) {
    const zeb_nas_resp_header refused = {1, 3};
    const char *const releasing = "E Releasing the ZEB NAS notifier handle failed with status[-1]\n";
    const char *const none_left =
        "E Two ZEB NAS notifiers could not be released - no connection in this process any more\n";
    const struct {
        bool registration_fails, release_fails;
        int32_t status;
        int clients;
        const char *line;
    } steps[] = {
        {true, true, CPE_DM_ERR_FAILURE, 1, nullptr},    // the notifier is lost: it could not be released
        {true, false, CPE_DM_ERR_FAILURE, 0, nullptr},   // the lost notifier is released after all
        {true, true, CPE_DM_ERR_FAILURE, 1, nullptr},    // another notifier is lost
        {false, true, CPE_DM_SUCCESS, 3, releasing},     // the lost notifier is given up; the next gets the spare block
        {true, true, CPE_DM_ERR_FAILURE, 2, nullptr},    // the notifier on the spare block is lost
        {false, true, CPE_DM_ERR_FAILURE, 2, none_left}, // the lost notifier stays lost, and there is no third block
        {false, false, CPE_DM_SUCCESS, 3, nullptr},      // the lost notifier is released after all
    };
    for (const auto &step : steps) {
        const auto number = &step - steps;
        if (cpe_dm_state.hndl != nullptr) {
            ASSERT_EQ(cpe_dm_deinit(handle), 0) << number;
        }
        fake_reset();
        fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
        if (step.registration_fails) {
            fake_answer(ZEB_NAS_INDICATION_REGISTER, refused);
        }
        if (step.release_fails) {
            fault_arm("zeb_client_release", 1);
        }
        EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), step.status) << number;
        fault_clear();
        EXPECT_EQ(fake_clients(), step.clients) << number;
        EXPECT_TRUE(fake_blocks_kept()) << number;
        if (step.line != nullptr) {
            EXPECT_TRUE(logged(step.line)) << number;
        }
    }
    forgotten = 1;
}

} // namespace

extern "C" {
int __real_rand();
int __wrap_rand();

int __wrap_rand() {
    if (draws.empty()) {
        return __real_rand();
    }
    const int draw = draws.front();
    draws.pop_front();
    return draw;
}
}
