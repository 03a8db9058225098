/* Compares the command queue with queues that could replace it. Measures a burst of commands, and the hand-over of one
 * command to a sleeping thread. */
#include "bench.h"
#include "cpe_dm_cmdq.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

enum {
    BURST = 400000,
    HAND_OVERS = 400,
};

/* The functions of one of the compared queues. `start` also starts the thread that runs the queue's commands, and
 * `stop` ends this thread. */
struct queue_ops {
    void (*start)();
    void (*send)(cpe_dm_cmd *cmd);
    void (*stop)();
};

void run(cpe_dm_cmd *cmd) {
    cmd->execute_f(cmd, cmd->data);
    cmd->free_f(cmd, cmd->data);
}

/* The module's queue. */
cpe_dm_cmdq cmdq;

void module_start() {
    cpe_dm_cmdq_init(&cmdq, INT32_MAX);
}

void module_send(cpe_dm_cmd *cmd) {
    cpe_dm_cmdq_enq(&cmdq, cmd);
}

void module_stop() {
    cpe_dm_cmdq_deinit(&cmdq);
}

/* A queue made of a std::deque, a mutex and a condition variable. A null command ends the queue's thread. */
struct {
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<cpe_dm_cmd *> cmds;
    std::thread thread;
} plain;

void plain_send(cpe_dm_cmd *cmd) {
    {
        const std::lock_guard guard(plain.mutex);
        plain.cmds.push_back(cmd);
    }
    plain.ready.notify_one();
}

cpe_dm_cmd *plain_take() {
    std::unique_lock guard(plain.mutex);
    plain.ready.wait(guard, [] { return !plain.cmds.empty(); });
    cpe_dm_cmd *cmd = plain.cmds.front();
    plain.cmds.pop_front();
    return cmd;
}

void plain_start() {
    plain.thread = std::thread([] {
        while (cpe_dm_cmd *cmd = plain_take()) {
            run(cmd);
        }
    });
}

void plain_stop() {
    plain_send(nullptr);
    plain.thread.join();
}

/* GLib's queue. It does not accept null pointers, so the command `end` is sent to end the thread. */
struct {
    GAsyncQueue *queue;
    std::thread thread;
    cpe_dm_cmd end;
} glib;

void glib_send(cpe_dm_cmd *cmd) {
    g_async_queue_push(glib.queue, cmd);
}

void glib_start() {
    glib.queue = g_async_queue_new();
    glib.thread = std::thread([] {
        for (auto *cmd = g_async_queue_pop(glib.queue); cmd != &glib.end; cmd = g_async_queue_pop(glib.queue)) {
            run(static_cast<cpe_dm_cmd *>(cmd));
        }
    });
}

void glib_stop() {
    glib_send(&glib.end);
    glib.thread.join();
    g_async_queue_unref(glib.queue);
}

/* A slot for a single command instead of a queue. The mutex guards the slot, and the thread waits on the condition
 * variable. A null command ends the thread. */
struct {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t ready = PTHREAD_COND_INITIALIZER;
    cpe_dm_cmd *cmd;
    bool full;
    std::thread thread;
} slot;

void slot_send(cpe_dm_cmd *cmd) {
    pthread_mutex_lock(&slot.mutex);
    slot.cmd = cmd;
    slot.full = true;
    pthread_cond_signal(&slot.ready);
    pthread_mutex_unlock(&slot.mutex);
}

cpe_dm_cmd *slot_take() {
    pthread_mutex_lock(&slot.mutex);
    while (!slot.full) {
        pthread_cond_wait(&slot.ready, &slot.mutex);
    }
    slot.full = false;
    cpe_dm_cmd *cmd = slot.cmd;
    pthread_mutex_unlock(&slot.mutex);
    return cmd;
}

void slot_start() {
    slot.thread = std::thread([] {
        while (cpe_dm_cmd *cmd = slot_take()) {
            run(cmd);
        }
    });
}

void slot_stop() {
    slot_send(nullptr);
    slot.thread.join();
}

const queue_ops module_queue = {module_start, module_send, module_stop};
const queue_ops plain_queue = {plain_start, plain_send, plain_stop};
const queue_ops glib_queue = {glib_start, glib_send, glib_stop};
const queue_ops slot_queue = {slot_start, slot_send, slot_stop};

/* The number of commands of the current burst that have run. The queue's thread adds 1 for each command, and releases
 * the semaphore after the last command. */
int executed;
std::binary_semaphore all_executed{0};

void count(cpe_dm_cmd *, void *) {
    if (++executed == BURST) {
        all_executed.release();
    }
}

void release(cpe_dm_cmd *cmd, void *) {
    free(cmd);
}

cpe_dm_cmd *new_cmd() {
    auto *cmd = static_cast<cpe_dm_cmd *>(calloc(1, sizeof(cpe_dm_cmd)));
    *cmd = {count, release, nullptr};
    return cmd;
}

/* Sends a burst from `producers` threads. Returns the nanoseconds per command, from the start of the sending until the
 * last command has run. */
double burst(const queue_ops &queue, int producers) {
    executed = 0;
    queue.start();
    std::barrier go(producers + 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < producers; i++) {
        threads.emplace_back([&] {
            go.arrive_and_wait();
            for (int n = 0; n < BURST / producers; n++) {
                queue.send(new_cmd());
            }
        });
    }
    go.arrive_and_wait();
    const auto start = bench_clock::now();
    all_executed.acquire();
    const double ns = bench_ns_since(start) / static_cast<double>(BURST);
    for (std::thread &thread : threads) {
        thread.join();
    }
    queue.stop();
    return ns;
}

bench_clock::time_point arrived;
std::binary_semaphore handed_over{0};

void arrive(cpe_dm_cmd *, void *) {
    arrived = bench_clock::now();
}

void acknowledge(cpe_dm_cmd *, void *) {
    handed_over.release();
}

/* Sends HAND_OVERS commands, one after the other, and measures for each command the delay from its sending to the start
 * of its execution. Returns the given percentile of these delays, in nanoseconds. A pause before each command lets the
 * queue's thread go to sleep. */
double hand_over(const queue_ops &queue, int percent) {
    std::vector<double> ns;
    cpe_dm_cmd cmd = {arrive, acknowledge, nullptr};
    queue.start();
    for (int i = 0; i < HAND_OVERS; i++) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        const auto sent = bench_clock::now();
        queue.send(&cmd);
        handed_over.acquire();
        ns.push_back(std::chrono::duration<double, std::nano>(arrived - sent).count());
    }
    queue.stop();
    std::sort(ns.begin(), ns.end());
    return ns[static_cast<size_t>(HAND_OVERS * percent / 100)];
}

} // namespace

int main(int argc, char **argv) {
    const struct {
        const char *name;
        const queue_ops &queue;
        const char *reach;
    } others[] = {{"`std::deque`, mutex, condition variable", plain_queue, "at least 0.95"},
                  {"GLib's `GAsyncQueue`", glib_queue, "at least 0.9"}};
    for (const auto &other : others) {
        for (const int producers : {1, 4}) {
            bench_compare(
                "queue, burst of " + std::to_string(BURST) + ", producers: " + std::to_string(producers), other.name,
                BENCH_RATE, other.reach, [=] { return burst(module_queue, producers); },
                [=, &other = other.queue] { return burst(other, producers); });
        }
    }
    for (const int percent : {50, 99}) {
        bench_compare(
            "queue, hand-over to a sleeping thread, percentile " + std::to_string(percent),
            "mutex and condition variable alone", BENCH_TIME, "at most 1.05",
            [=] { return hand_over(module_queue, percent); }, [=] { return hand_over(slot_queue, percent); }, 21);
    }
    return bench_run(argc, argv);
}
