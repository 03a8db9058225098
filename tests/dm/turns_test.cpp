/* The order in which threads get the module's lock. Operations go in the order of their calls, events go before
 * operations, and neither waits for ever. Also: operations from the callback, and the command thread's signals. */
#include "cpe_dm_interface.h"
#include "cpe_dm_post.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <latch>
#include <thread>

namespace {

constexpr int NEVER = 1 << 30;

std::function<void(const cpe_dm_info &)> on_delivery;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    on_delivery(*info);
    free(info);
}

void wait_until(const std::function<bool()> &done) {
    while (!done()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/* Waits until `calls` calls of pthread_mutex_lock have begun since fault_arm("pthread_mutex_lock", ...). An operation
 * gets its place in the order before it makes this call, so its place is fixed when this function returns. */
void wait_for_calls(int calls) {
    wait_until([calls] { return fault_calls() >= calls; });
}

int32_t get_status(cpe_dm_hndl handle) {
    cpe_dm_info info = {CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_REG_STATUS, 0, {}, 0};
    return cpe_dm_get_info(handle, &info);
}

void indicate(int16_t rsrp) {
    zeb_nas_sig_info info = {};
    info.lte_sig_info_valid = 1;
    info.lte_sig.rsrp = rsrp;
    ASSERT_TRUE(fake_indicate(ZEB_NAS_SIG_INFO_IND, info));
}

struct Turns : testing::Test {
    cpe_dm_hndl handle = nullptr;

    void SetUp() override {
        fake_reset();
        fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
        on_delivery = [](const cpe_dm_info &) {};
        ASSERT_EQ(cpe_dm_init(&handle, nullptr, on_event), 0);
        const cpe_dm_info ind = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
        ASSERT_EQ(cpe_dm_set_ind_info(handle, &ind), 0);
        ASSERT_TRUE(fault_settle()) << "the command thread's own locks are not to be counted below";
        fake_log();
    }

    void TearDown() override {
        fault_clear();
        EXPECT_EQ(cpe_dm_deinit(handle), 0);
        EXPECT_EQ(fault_live_allocations(), 0U);
        fake_reset();
    }
};

/* The order also holds after an operation has failed to take the lock. In round 1, cpe_dm_lock_renew initialises the
 * lock anew after this failure. */
TEST_F(Turns, OperationsGoInTheOrderOfTheirCalls) {
    constexpr int operations = 8;
    static thread_local int number;
    for (int round = 0; round < 3; round++) {
        std::latch go(1);
        std::vector<int> order; // the operations' numbers, in the order of their requests; guarded by the module's lock
        fake_on_request([&](uint32_t) {
            order.push_back(number);
            go.wait();
        });
        if (round > 0) {
            fault_arm("pthread_mutex_lock", 1);
            EXPECT_EQ(get_status(handle), CPE_DM_ERR_FAILURE);
        }
        if (round == 1) {
            cpe_dm_lock_renew();
        }
        fault_arm("pthread_mutex_lock", NEVER);
        std::vector<std::thread> threads;
        for (int i = 0; i < operations; i++) {
            threads.emplace_back([this, i] {
                number = i;
                EXPECT_EQ(get_status(handle), 0);
            });
            wait_for_calls(i + 1);
        }
        go.count_down();
        for (std::thread &thread : threads) {
            thread.join();
        }
        EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7})) << round;
    }
    fake_on_request({});
    fault_arm("pthread_cond_broadcast", NEVER);
    EXPECT_EQ(get_status(handle), 0);
    EXPECT_EQ(fault_calls(), 0) << "nobody waits";
}

/* Even when several threads call operations without a pause, an event waits for about one operation. On a busy machine
 * the command thread may be late, so that a single event waits for more. So the test adds up, over all events, the
 * operations that the events waited for. */
TEST_F(Turns, EventsGoBetweenOperations) {
    constexpr int events = 40;
    std::atomic<int> begun{0};
    std::atomic<int> delivered{0};
    std::atomic<bool> over{false};
    on_delivery = [&](const cpe_dm_info &) { delivered++; };
    fake_on_request([&](uint32_t) {
        begun++;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; i++) {
        threads.emplace_back([&] {
            while (!over) {
                get_status(handle);
            }
        });
    }
    int waited_for = 0;
    for (int16_t i = 1; i <= events && waited_for < 100 * events; i++) {
        const int before = begun;
        indicate(i);
        wait_until([&] { return delivered == i || begun - before > 100 * events; });
        waited_for += begun - before;
    }
    over = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_LE(waited_for, 5 * events);
}

/* A delivery and an operation wait for the lock. The delivery goes first, whichever of the two has come first. After
 * sixteen deliveries in a row the operation goes first. */
TEST_F(Turns, AnOperationGoesAfterSixteenDeliveries) {
    std::string order; // written under the lock
    const std::function<void()> deliver = [&] {
        cpe_dm_guard guard;
        EXPECT_EQ(cpe_dm_lock_delivery(guard), 0);
        order += 'd';
    };
    const std::function<void()> operate = [&] {
        cpe_dm_guard guard;
        EXPECT_EQ(cpe_dm_lock_operation(guard), 0);
        order += 'o';
    };
    for (int in_a_row : {15, 16}) {
        for (bool delivery_comes_first : {true, false}) {
            operate();
            for (int i = 0; i < in_a_row; i++) {
                deliver();
            }
            order.clear();
            ASSERT_EQ(pthread_mutex_lock(&cpe_dm_lock), 0);
            fault_arm("pthread_mutex_lock", NEVER);
            std::thread first(delivery_comes_first ? deliver : operate);
            wait_for_calls(1);
            std::thread second(delivery_comes_first ? operate : deliver);
            wait_for_calls(2);
            pthread_mutex_unlock(&cpe_dm_lock);
            first.join();
            second.join();
            EXPECT_EQ(order, in_a_row < CPE_DM_DELIVERIES_IN_A_ROW ? "do" : "od") << delivery_comes_first;
        }
    }
}

/* When an operation cannot take the lock, later operations do not wait for that operation. */
TEST_F(Turns, AnOperationWithoutTheLockIsSteppedOver) {
    std::latch go(1);
    fake_on_request([&](uint32_t) { go.wait(); });
    fault_arm("pthread_mutex_lock", NEVER);
    std::thread first([this] { EXPECT_EQ(get_status(handle), 0); });
    wait_for_calls(1);
    fake_log();
    fault_arm("pthread_mutex_lock", 1);
    EXPECT_EQ(get_status(handle), CPE_DM_ERR_FAILURE);
    EXPECT_EQ(fake_log(), "E pthread_mutex_lock failed:\n");
    fault_arm("pthread_mutex_lock", NEVER);
    std::thread last([this] { EXPECT_EQ(get_status(handle), 0); });
    wait_for_calls(1);
    go.count_down();
    first.join();
    last.join();
    EXPECT_EQ(get_status(handle), 0);
}

/* When the waits of operations for their turn fail, the order of the operations is lost. All operations and events are
 * still served, and so is an operation after the faults. */
TEST_F(Turns, WaitsThatFailStopNobody) {
    constexpr int operations = 300;
    std::atomic<int> delivered{0};
    std::atomic<int> succeeded{0};
    on_delivery = [&](const cpe_dm_info &) { delivered++; };
    fault_arm("pthread_cond_timedwait", 1, true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++) {
        threads.emplace_back([&] {
            for (int n = 0; n < operations; n++) {
                succeeded += get_status(handle) == 0;
            }
        });
    }
    for (int16_t i = 1; i <= operations; i++) {
        indicate(i);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    wait_until([&] { return delivered == operations; });
    EXPECT_EQ(succeeded, 4 * operations);
    fault_clear();
    EXPECT_EQ(get_status(handle), 0);
}

/* An operation called from the callback is refused, because it would wait for the lock that its own thread holds. */
TEST_F(Turns, TheCallbackIsRefused) {
    cpe_dm_info info = {};
    uint32_t number = 7;
    const int32_t id = 1;
    cpe_dm_hndl other = nullptr;
    const std::pair<const char *, std::function<int32_t()>> operations[] = {
        {"cpe_dm_init", [&] { return cpe_dm_init(&other, nullptr, on_event); }},
        {"cpe_dm_deinit", [&] { return cpe_dm_deinit(handle); }},
        {"cpe_dm_get_info", [&] { return cpe_dm_get_info(handle, &info); }},
        {"cpe_dm_get_info_list", [&] { return cpe_dm_get_info_list(handle, &info, 1); }},
        {"cpe_dm_set_ind_info", [&] { return cpe_dm_set_ind_info(handle, &info); }},
        {"cpe_dm_get_ind_cnt", [&] { return cpe_dm_get_ind_cnt(handle, &number); }},
        {"cpe_dm_get_ind_list", [&] { return cpe_dm_get_ind_list(handle, &number, 1); }},
        {"cpe_dm_clr_ind_list", [&] { return cpe_dm_clr_ind_list(handle, &id, 1); }},
        {"cpe_dm_set_ctrl_info", [&] { return cpe_dm_set_ctrl_info(handle, &info); }},
    };
    std::atomic<int> delivered{0};
    on_delivery = [&](const cpe_dm_info &) {
        fake_log();
        for (const auto &[name, call] : operations) {
            EXPECT_EQ(call(), CPE_DM_ERR_FAILURE) << name;
            EXPECT_EQ(fake_log(),
                      std::string("E ") + name +
                          " called from the callback - refused, as the callback runs with the module's lock "
                          "held\n");
        }
        EXPECT_EQ(cpe_dm_init(nullptr, nullptr, on_event), CPE_DM_ERR_INVALID_PARAM);
        delivered++;
    };
    for (int16_t i = 1; i <= 2; i++) {
        indicate(i);
        wait_until([&] { return delivered == i; });
    }
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(cpe_dm_get_ind_cnt(handle, &number), 0);
    EXPECT_EQ(number, 1U) << "nothing that the callback asked for was done";
}

/* The command thread blocks all signals except SIGABRT and those of its own faults, so that the program's threads take
 * the blocked signals. */
TEST_F(Turns, TheCommandThreadTakesNoSignals) {
    std::atomic<bool> delivered{false};
    sigset_t mask = {};
    sigset_t own = {};
    sigset_t all = {};
    on_delivery = [&](const cpe_dm_info &) {
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        delivered = true;
    };
    indicate(1);
    wait_until([&] { return delivered.load(); });
    pthread_sigmask(SIG_BLOCK, nullptr, &own);
    sigset_t every = {};
    sigfillset(&every);
    pthread_sigmask(SIG_BLOCK, &every, nullptr);
    pthread_sigmask(SIG_SETMASK, &own, &all);
    for (int signal = 1; signal < SIGRTMAX; signal++) {
        const bool of_thread = signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL ||
                               signal == SIGTRAP || signal == SIGSYS || signal == SIGABRT;
        const bool blocked = sigismember(&all, signal) == 1; // some signals cannot be blocked
        EXPECT_EQ(sigismember(&mask, signal) == 1, blocked && !of_thread) << signal;
        EXPECT_EQ(sigismember(&own, signal), 0) << signal;
    }
}

} // namespace
