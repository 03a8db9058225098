#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <initializer_list>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

cpe_dm_cmdq *const queue = &cpe_dm_state.cmdq;

std::vector<std::string> events;
std::binary_semaphore entered{0};
std::binary_semaphore go{0};

/* The data of a command points to the number of the command. The functions below append this number to `events`. */
std::string number(const void *data) {
    return std::to_string(static_cast<const int *>(data)[0]);
}

void execute(cpe_dm_cmd *cmd, void *data) {
    EXPECT_EQ(cmd->data, data);
    events.push_back("x" + number(data));
}

/* Keeps the command thread busy until the test releases `go`. */
void execute_blocked(cpe_dm_cmd *cmd, void *data) {
    entered.release();
    go.acquire();
    execute(cmd, data);
}

void release(cpe_dm_cmd *, void *data) {
    events.push_back("f" + number(data));
    // The queue must not hold its mutex while it calls free_f.
    EXPECT_EQ(pthread_mutex_trylock(&queue->mutex), 0);
    pthread_mutex_unlock(&queue->mutex);
}

int numbers[200];
cpe_dm_cmd cmds[200];

cpe_dm_cmd *command(int i, cpe_dm_cmd_f execute_f = execute, cpe_dm_cmd_f free_f = release) {
    numbers[i] = i;
    cmds[i] = {execute_f, free_f, &numbers[i]};
    return &cmds[i];
}

std::string joined() {
    std::string result;
    for (const std::string &event : std::exchange(events, {})) {
        result += event + " ";
    }
    return result;
}

bool all_zero() {
    const cpe_dm_cmdq zero = {};
    return memcmp(queue, &zero, sizeof(zero)) == 0;
}

struct Cmdq : testing::Test {
    void SetUp() override {
        fake_reset();
        ASSERT_EQ(cpe_dm_cmdq_init(queue, 100), 0);
    }

    void TearDown() override {
        EXPECT_EQ(cpe_dm_cmdq_deinit(queue), 0);
        EXPECT_TRUE(all_zero());
        EXPECT_EQ(fault_live_allocations(), 0U);
        events.clear();
    }

    /* Queues command 0, which keeps the command thread busy until the test releases `go`. */
    static void block() {
        ASSERT_EQ(cpe_dm_cmdq_enq(queue, command(0, execute_blocked)), 0);
        entered.acquire();
    }
};

TEST_F(Cmdq, RunsInOrderAndWarnsOfALongQueue) {
    block();
    for (int i = 1; i <= 102; i++) {
        ASSERT_EQ(cpe_dm_cmdq_enq(queue, command(i)), 0);
        EXPECT_EQ(fake_log(), i == 102 ? "I Command queue exceeds configured maximum! 101 > 100\n\n" : "");
    }
    go.release();
    ASSERT_TRUE(fault_settle());
    ASSERT_EQ(events.size(), 206U);
    for (size_t i = 0; i < 103; i++) {
        EXPECT_EQ(events[2 * i], "x" + std::to_string(i));
        EXPECT_EQ(events[2 * i + 1], "f" + std::to_string(i));
    }
}

TEST_F(Cmdq, DeinitReleasesWhatIsQueuedWithoutRunningIt) {
    block();
    cpe_dm_cmdq_enq(queue, command(1));
    cpe_dm_cmdq_enq(queue, command(2, execute, nullptr));
    cpe_dm_cmdq_enq(queue, command(3));
    std::thread deinit([] { EXPECT_EQ(cpe_dm_cmdq_deinit(queue), 0); });
    while (std::atomic_ref(queue->running).load() != 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(cpe_dm_cmdq_enq(queue, command(4)), -1);
    go.release();
    deinit.join();
    EXPECT_EQ(joined(), "x0 f0 f1 f3 ");
    EXPECT_TRUE(all_zero());
    EXPECT_EQ(cpe_dm_cmdq_enq(queue, command(4)), -1);
    EXPECT_EQ(fake_log(), "E cpe_dm_cmdq_enq: command queue is not running\n"
                          "E cpe_dm_cmdq_enq: command queue is not running\n");
}

TEST_F(Cmdq, FlushReleasesWhatIsQueuedAndGoesOn) {
    block();
    cpe_dm_cmdq_enq(queue, command(1));
    cpe_dm_cmdq_enq(queue, command(2, execute, nullptr));
    EXPECT_EQ(cpe_dm_cmdq_enq(queue, command(4, nullptr)), -1);
    EXPECT_EQ(fake_log(), "E cpe_dm_cmdq_enq: Bad Param cmd->execute_f NULL\n");
    EXPECT_EQ(cpe_dm_cmdq_flush(queue), 0);
    EXPECT_EQ(joined(), "f1 ");
    EXPECT_EQ(queue->count, 0);
    cpe_dm_cmdq_enq(queue, command(3));
    go.release();
    ASSERT_TRUE(fault_settle());
    EXPECT_EQ(joined(), "x0 f0 x3 f3 ");
}

TEST_F(Cmdq, ASpuriousWakeUpLeadsBackToWaiting) {
    ASSERT_TRUE(fault_settle());
    pthread_cond_signal(&queue->cond);
    cpe_dm_cmdq_enq(queue, command(1));
    ASSERT_TRUE(fault_settle());
    EXPECT_EQ(joined(), "x1 f1 ");
}

/* When a call inside one of the queue's functions fails, the function returns -1 and leaves the queue as it was, except
 * that the command thread sets `ended`. */
TEST_F(Cmdq, WhatFailsReturnsMinusOne) {
    const auto check = [](int64_t (*function)(), std::initializer_list<const char *> points) {
        for (const char *point : points) {
            ASSERT_TRUE(fault_settle());
            fault_arm(point, 1);
            EXPECT_EQ(function(), -1) << point;
            fault_clear();
        }
    };
    check([] { return reinterpret_cast<int64_t>(cpe_dm_cmdthrd_main(queue)); },
          {"pthread_cond_wait", "pthread_mutex_lock"});
    queue->ended = 0; // the calls above have set this flag, but the command thread still runs
    check([] { return int64_t{cpe_dm_cmdq_enq(queue, command(1))}; },
          {"calloc", "pthread_mutex_lock", "pthread_cond_signal", "pthread_mutex_unlock"});
    check([] { return int64_t{cpe_dm_cmdq_flush(queue)}; }, {"pthread_mutex_lock", "pthread_mutex_unlock"});
    check([] { return int64_t{cpe_dm_cmdq_join_thread(queue)}; }, {"pthread_join"});
    EXPECT_EQ(joined(), "");
    EXPECT_EQ(cpe_dm_cmdq_deinit(queue), 0);
    check([] { return int64_t{cpe_dm_cmdq_init(queue, 1)}; },
          {"calloc", "pthread_mutex_init", "pthread_cond_init", "pthread_create"});
}

/* The command thread ends when it meets a command without a function. This command is released all the same, and so is
 * a command that is queued later. */
TEST_F(Cmdq, TheThreadEndsOnAnError) {
    block();
    cpe_dm_cmdq_enq(queue, command(1));
    cmds[1].execute_f = nullptr;
    go.release();
    ASSERT_TRUE(fault_settle());
    EXPECT_EQ(fake_log(), "E cpe_dm_cmdthrd_main: NULL for cmd->execute_f\n");
    EXPECT_EQ(cpe_dm_cmdq_enq(queue, command(2)), 0);
    EXPECT_EQ(cpe_dm_cmdq_deinit(queue), 0);
    EXPECT_EQ(joined(), "x0 f0 f1 f2 ");
}

/* When the command thread may not have seen a stop request, cpe_dm_cmdq_deinit takes it back, and the queue goes on. */
TEST_F(Cmdq, AStopThatFailsIsTakenBack) {
    for (const char *point : {"pthread_mutex_lock", "pthread_cond_signal", "pthread_mutex_unlock"}) {
        ASSERT_TRUE(fault_settle());
        fault_arm(point, 1, true);
        EXPECT_EQ(cpe_dm_cmdq_deinit(queue), -1) << point;
        EXPECT_EQ(fault_fired().size(), 2U);
        fault_clear();
        EXPECT_EQ(cpe_dm_cmdq_enq(queue, command(1)), 0);
        ASSERT_TRUE(fault_settle());
        EXPECT_EQ(joined(), "x1 f1 ");
    }
}

TEST_F(Cmdq, NullQueue) {
    EXPECT_EQ(cpe_dm_cmdq_init(nullptr, 1), -1);
    EXPECT_EQ(cpe_dm_cmdq_deinit(nullptr), -1);
    EXPECT_EQ(cpe_dm_cmdq_deq(nullptr), nullptr);
    EXPECT_EQ(cpe_dm_cmdq_flush(nullptr), -1);
    EXPECT_EQ(cpe_dm_cmdq_join_thread(nullptr), -1);
    cpe_dm_cmdthrd_init(nullptr);
    cpe_dm_cmdthrd_deinit(nullptr);
    EXPECT_EQ(reinterpret_cast<intptr_t>(cpe_dm_cmdthrd_main(nullptr)), -1);
    cpe_dm_cmdq never = {};
    EXPECT_EQ(cpe_dm_cmdq_join_thread(&never), -1);
    EXPECT_EQ(fake_log(),
              "E cpe_dm_cmdq_init: Bad Param cmdq NULL\n\nE cpe_dm_cmdq_deinit: Bad Param cmdq NULL\n\n"
              "E cpe_dm_cmdq_deq: Bad Param cmdq NULL\nE cpe_dm_cmdq_flush Bad Param cmdq NULL\n\n"
              "E cpe_dm_cmdq_join_thread: Bad Param cmdq NULL\n\nE cpe_dm_cmdthrd_init: Bad Param cmdq NULL\n"
              "E cpe_dm_cmdthrd_deinit: Bad Param cmdq NULL\nE cpe_dm_cmdthrd_main: Bad Param cmdq NULL\n"
              "E Command thread not initialized\n\n");
}

/* Producers queue commands faster than the command thread runs them, and the queue is initialised and de-initialised
 * again and again. Each command is released once and run at most once, and no memory leaks. */
TEST(CmdqStorm, ManyProducers) {
    static std::atomic<int> executed;
    static std::atomic<int> released;
    static cpe_dm_cmd cmd = {[](cpe_dm_cmd *, void *) { executed++; }, [](cpe_dm_cmd *, void *) { released++; },
                             nullptr};
    for (int round = 1; round <= 50; round++) {
        ASSERT_EQ(cpe_dm_cmdq_init(queue, 100), 0);
        const auto produce = [] {
            for (int i = 0; i < 300; i++) {
                EXPECT_EQ(cpe_dm_cmdq_enq(queue, &cmd), 0);
            }
        };
        std::thread producers[] = {std::thread(produce), std::thread(produce), std::thread(produce)};
        for (std::thread &producer : producers) {
            producer.join();
        }
        ASSERT_EQ(cpe_dm_cmdq_deinit(queue), 0);
        EXPECT_EQ(released, round * 900);
        EXPECT_LE(executed, released);
        EXPECT_EQ(fault_live_allocations(), 0U);
        fake_log();
    }
}

} // namespace
