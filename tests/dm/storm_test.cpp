/* Indications of all kinds come on the framework's thread. At the same time two threads call operations, and a third
 * thread initialises and de-initialises the module. */
#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

constexpr int indications = 30000;

/* The current handle. The thread that initialises the module stores the handle here for the other threads. */
std::atomic<cpe_dm_hndl> handle;
std::atomic<bool> over;

/* The command thread writes these. come_and_go also writes last_value, but only while there is no command thread. */
int32_t last_value;
int callbacks;
int out_of_order;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *user_data) {
    callbacks++;
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO || info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        free(info->value.lte_nbr_info);
    } else if (info->id == CPE_DM_IND_LTE_RSRP && info->info_type == CPE_DM_INFO_TYPE_IND) {
        out_of_order += info->value.i64_val <= last_value;
        last_value = static_cast<int32_t>(info->value.i64_val);
    }
    // Now and then the callback is slow.
    if (callbacks % 1000 == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_EQ(user_data, &handle);
    free(info);
}

/* Sends the indication again and again until the module has a client that receives it. When the client receives the
 * indication, the module may be initialised or not. */
template <typename T> void indicate(uint32_t msg_id, const T &message) {
    while (!fake_indicate(msg_id, message)) {
        std::this_thread::yield();
    }
}

void indicate_all() {
    for (int i = 1; i <= indications; i++) {
        zeb_nas_sig_info info = {};
        info.lte_sig_info_valid = info.nr5g_sig_info_valid = info.nr5g_rsrq_valid = 1;
        info.lte_sig.rsrp = static_cast<int16_t>(i);
        info.nr5g_rsrq = static_cast<int16_t>(-i);
        indicate(ZEB_NAS_SIG_INFO_IND, info);
        indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info(i % 4 == 0 ? 1 : 2, i % 2 == 0 ? 500 : 0).info);
        zeb_nas_scan_result_ind scan = {};
        scan.scan_status = i % 3 == 0;
        indicate(ZEB_NAS_SCAN_RESULT_IND, scan);
        // The pause lets the other threads work, so that the indications meet the module in all its states.
        if (i % 100 == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
}

void operate() {
    uint32_t cnt = 0;
    while (!over) {
        for (uint32_t id = CPE_DM_IND_REG_STATUS; id < CPE_DM_IND_CNT; id++) {
            const cpe_dm_info ind = {CPE_DM_INFO_TYPE_IND, id, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
            cpe_dm_set_ind_info(handle, &ind);
            cpe_dm_info infos[] = {{CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_LTE_NBR_RSRP, 0, {}, 0},
                                   {CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_REG_STATUS, 0, {}, 0},
                                   {CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_NR5G_NBR_PCI, 0, {}, 0}};
            cpe_dm_get_info_list(handle, infos, 3);
            const int32_t status = cpe_dm_get_ind_cnt(handle, &cnt);
            EXPECT_TRUE(status == 0 || status == CPE_DM_ERR_INVALID_PARAM) << status;
        }
        fake_requests();
        fake_log();
    }
}

void come_and_go() {
    while (!over) {
        cpe_dm_hndl next = nullptr;
        ASSERT_EQ(cpe_dm_init(&next, &handle, on_event), 0);
        handle = next;
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        ASSERT_EQ(cpe_dm_deinit(next), 0);
        last_value = 0;
    }
}

TEST(Storm, EverythingAtOnce) {
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    std::thread threads[] = {std::thread(operate), std::thread(operate), std::thread(come_and_go)};
    std::thread framework(indicate_all);
    framework.join();
    over = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_GT(callbacks, 100); // on a quiet machine there are some ten thousand
    EXPECT_EQ(out_of_order, 0);
    EXPECT_EQ(fault_live_allocations(), 0U);
    EXPECT_EQ(fake_clients(), 0);
}

} // namespace
