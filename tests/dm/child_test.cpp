/* Tests the module in a child of fork. The operations refuse the parent's handle there, and do not wait for the
 * parent's lock. The child can initialise the module for itself. */
#include "cpe_dm.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<int> delivered;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    delivered++;
    free(info);
}

/* The checks that failed in this process, each with its source line; empty when none failed. */
std::string faults;

#define CHECK_EQ(value, expected)                                                                                      \
    do {                                                                                                               \
        const int64_t is = (value);                                                                                    \
        faults += is == (expected) ? "" : std::to_string(__LINE__) + ": is " + std::to_string(is) + "\n";              \
    } while (0)

/* Forks, runs `body` in the child, and returns the child's `faults`. SIGALRM ends a child that hangs. */
std::string in_child(const std::function<void()> &body) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_TRUE(fault_settle()); // otherwise the child might find the spin lock of fault.cpp locked for ever
    const pid_t child = fork();
    if (child == 0) {
        alarm(120);
        body();
        _exit(write(ends[1], faults.data(), faults.size()) == static_cast<ssize_t>(faults.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    char block[512];
    for (ssize_t n = 0; (n = read(ends[0], block, sizeof(block))) > 0;) {
        text.append(block, static_cast<size_t>(n));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "ended with " << status;
    return text;
}

void check_refusals(cpe_dm_hndl handle) {
    cpe_dm_info request = {CPE_DM_INFO_TYPE_REQUEST, 1, 0, {}, 0};
    cpe_dm_info ind = {CPE_DM_INFO_TYPE_IND, 1, 0, {}, 0};
    uint32_t number = 0;
    const int32_t id = 1;
    fake_log();
    CHECK_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(fake_log() == "E Diagnostic monitor module is not initialized!!\n", 1);
    CHECK_EQ(cpe_dm_get_info(handle, &request), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_get_info_list(handle, &request, 1), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_set_ind_info(handle, &ind), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_get_ind_cnt(handle, &number), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_get_ind_list(handle, &number, 1), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_clr_ind_list(handle, &id, 1), CPE_DM_ERR_NOT_INITIALIZED);
    CHECK_EQ(cpe_dm_set_ctrl_info(handle, &ind), CPE_DM_ERR_NOT_INITIALIZED);
    fake_log();
    CHECK_EQ(cpe_dm_deinit(nullptr), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(fake_log() == "E Invalid params - hndl[(nil)]\n", 1);
    CHECK_EQ(cpe_dm_get_info(handle, nullptr), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_get_info_list(handle, &request, 0), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_set_ind_info(handle, nullptr), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_get_ind_cnt(handle, nullptr), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_get_ind_list(nullptr, &number, 1), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(fake_log().find("E Invalid params - hndl[(nil)], dm_ind_cnt[") != std::string::npos, 1);
    CHECK_EQ(cpe_dm_get_ind_list(handle, nullptr, 1), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_get_ind_list(handle, &number, 0), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(fake_log().find(", dm_ind_list[(nil)], dm_ind_list_cnt[1]\n") != std::string::npos, 1);
    CHECK_EQ(cpe_dm_clr_ind_list(handle, &id, 0), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_set_ctrl_info(handle, nullptr), CPE_DM_ERR_INVALID_PARAM);
    CHECK_EQ(cpe_dm_init(nullptr, nullptr, on_event), CPE_DM_ERR_INVALID_PARAM);
}

/* Initialises the module in this process, calls operations, receives an event, and de-initialises the module. */
void check_own_module() {
    cpe_dm_hndl handle = nullptr;
    const cpe_dm_info ind = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
    zeb_nas_sig_info info = {};
    info.lte_sig_info_valid = 1;
    info.lte_sig.rsrp = -90;
    const int before = delivered;
    CHECK_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    uint32_t count = 7;
    CHECK_EQ(cpe_dm_get_ind_cnt(handle, &count), 0);
    CHECK_EQ(count, 0);
    CHECK_EQ(cpe_dm_set_ind_info(handle, &ind), 0);
    CHECK_EQ(fake_indicate(ZEB_NAS_SIG_INFO_IND, info), 1);
    while (delivered == before) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    CHECK_EQ(cpe_dm_deinit(handle), 0);
    CHECK_EQ(cpe_dm_deinit(handle), CPE_DM_ERR_INVALID_PARAM);
}

struct Child : testing::Test {
    cpe_dm_hndl handle = nullptr;

    void SetUp() override {
#ifdef __SANITIZE_THREAD__
        GTEST_SKIP() << "ThreadSanitizer does not follow a fork of several threads";
#endif
        fake_reset();
        fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    }
};

/* The first operation of a process calls pthread_atfork. When pthread_atfork fails, the operation fails. */
TEST_F(Child, IsNotGoneUnnoticed) {
    fault_arm("pthread_atfork", 1);
    EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), CPE_DM_ERR_FAILURE);
    fault_clear();
    EXPECT_EQ(fake_log(), "E pthread_atfork failed:\n");
    check_own_module();
    EXPECT_EQ(faults, "");
}

TEST_F(Child, OfARegisteredParent) {
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    const int clients = fake_clients();
    EXPECT_EQ(in_child([&] {
                  check_refusals(handle);
                  check_own_module();
                  // The child has not released the parent's client and notifier.
                  CHECK_EQ(fake_clients(), clients);
                  faults += in_child([&] {
                      check_refusals(handle);
                      check_own_module();
                  });
              }),
              "");
    uint32_t count = 0;
    EXPECT_EQ(cpe_dm_get_ind_cnt(handle, &count), 0);
    EXPECT_EQ(cpe_dm_deinit(handle), 0);
    check_own_module();
    EXPECT_EQ(faults, "");
}

/* Forks while another thread is inside `operation` and holds the module's lock. */
void child_meets(const std::function<void()> &operation) {
    std::latch inside(1);
    std::latch go(1);
    std::atomic<bool> first{true};
    fake_on_request([&](uint32_t) {
        if (first.exchange(false)) {
            inside.count_down();
            go.wait();
        }
    });
    std::thread holder(operation);
    inside.wait();
    cpe_dm_hndl senseless = &first;
    EXPECT_EQ(in_child([&] {
                  check_refusals(senseless);
                  check_own_module();
              }),
              "");
    go.count_down();
    holder.join();
}

TEST_F(Child, OfAParentInsideAnOperation) {
    ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
    child_meets([this] {
        cpe_dm_info request = {CPE_DM_INFO_TYPE_REQUEST, 1, 0, {}, 0};
        EXPECT_EQ(cpe_dm_get_info(handle, &request), 0);
    });
    EXPECT_EQ(cpe_dm_deinit(handle), 0);
}

TEST_F(Child, OfAParentInsideInit) {
    child_meets([this] { EXPECT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0); });
    EXPECT_EQ(cpe_dm_deinit(handle), 0);
}

/* Makes the release of a notifier fail, so that the next initialisation uses the spare OS-parameter block. */
void connect_on_the_spare_block() {
    cpe_dm_hndl handle = nullptr;
    fake_answer(ZEB_NAS_INDICATION_REGISTER, zeb_nas_resp_header{1, 3});
    for (int32_t status : {CPE_DM_ERR_FAILURE, CPE_DM_SUCCESS}) {
        fault_arm("zeb_client_release", 1);
        CHECK_EQ(cpe_dm_init(&handle, nullptr, on_event), status);
        fault_clear();
    }
}

/* This test stands last, because it leaves the parent without a spare block. */
TEST_F(Child, HasASpareBlock) {
    connect_on_the_spare_block();
    EXPECT_EQ(in_child(connect_on_the_spare_block), "");
    EXPECT_EQ(faults, "");
}

} // namespace
