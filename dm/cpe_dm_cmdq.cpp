#include "cpe_dm_cmdq.h"

#include "cpe_dm_log.h"
#include "cpe_dm_thread.h"

#include <atomic>

static bool is_running(cpe_dm_cmdq *cmdq) {
    return std::atomic_ref(cmdq->running).load() != 0;
}

static void add_count(cpe_dm_cmdq *cmdq, int32_t change) {
    std::atomic_ref(cmdq->count).fetch_add(change);
}

static void release_cmd(cpe_dm_cmd *cmd) {
    if (cmd->free_f != nullptr) {
        cmd->free_f(cmd, cmd->data);
    }
}

/* Releases the mutex. A failure is reported, and tried once more: a mutex that stays taken stops every producer. */
static int32_t leave(cpe_dm_cmdq *cmdq) {
    const int32_t status = cpe_dm_mutex_unlock(&cmdq->mutex);
    if (status != 0) {
        cpe_dm_mutex_unlock(&cmdq->mutex);
    }
    return status;
}

int32_t cpe_dm_cmdq_init(cpe_dm_cmdq *cmdq, int32_t max) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_init: Bad Param cmdq NULL\n");
        return -1;
    }
    *cmdq = {};
    cmdq->head = cpe_dm_dll_init(nullptr);
    if (cmdq->head == nullptr) {
        CPE_DM_LOG_ERROR("Failed to allocate memory for cmdq\n");
        return -1;
    }
    cmdq->tail = cmdq->head;
    cmdq->max = max;
    if (cpe_dm_thread_check(pthread_mutex_init(&cmdq->mutex, nullptr), "pthread_mutex_init") == 0) {
        if (cpe_dm_thread_check(pthread_cond_init(&cmdq->cond, nullptr), "pthread_cond_init") == 0) {
            cpe_dm_cmdthrd_init(cmdq);
            if (cmdq->thread != pthread_t{}) {
                return 0;
            }
            cpe_dm_thread_check(pthread_cond_destroy(&cmdq->cond), "pthread_cond_destroy");
        }
        cpe_dm_thread_check(pthread_mutex_destroy(&cmdq->mutex), "pthread_mutex_destroy");
    }
    cpe_dm_dll_destroy(cmdq->head);
    *cmdq = {};
    return -1;
}

void cpe_dm_cmdthrd_init(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdthrd_init: Bad Param cmdq NULL");
        return;
    }
    // Before the thread exists, so that it cannot undo a stop request made before it first runs.
    std::atomic_ref(cmdq->running).store(1);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, cpe_dm_cmdthrd_main, cmdq) != 0) {
        CPE_DM_LOG_ERROR("Cannot start cmdthrd:");
        std::atomic_ref(cmdq->running).store(0);
        return;
    }
    cmdq->thread = thread;
}

static int32_t signal_thread(cpe_dm_cmdq *cmdq) {
    return cpe_dm_thread_check(pthread_cond_signal(&cmdq->cond), "pthread_cond_signal");
}

/* Takes back the command that was appended last, under the mutex. */
static void drop_last(cpe_dm_cmdq *cmdq) {
    cpe_dm_dll_node *last = cmdq->tail;
    cpe_dm_dll_delete_node(cmdq->head, &cmdq->tail, last);
    cpe_dm_dll_free_node(last);
    add_count(cmdq, -1);
}

/* Appends under the mutex, and wakes the thread when the queue was empty. */
static int32_t append_and_signal(cpe_dm_cmdq *cmdq, cpe_dm_cmd *cmd) {
    cpe_dm_dll_node *node = cpe_dm_dll_enqueue(cmdq->tail, nullptr, cmd);
    if (node == nullptr) {
        CPE_DM_LOG_ERROR("Failed to insert into cmdq\n");
        return -1;
    }
    cmdq->tail = node;
    add_count(cmdq, 1);
    if (cmdq->count == 1 && signal_thread(cmdq) != 0) {
        drop_last(cmdq);
        return -1;
    }
    return 0;
}

int32_t cpe_dm_cmdq_enq(cpe_dm_cmdq *cmdq, cpe_dm_cmd *cmd) {
    if (cmd->execute_f == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_enq: Bad Param cmd->execute_f NULL");
        return -1;
    }
    if (!is_running(cmdq)) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_enq: command queue is not running");
        return -1;
    }
    const int32_t count = std::atomic_ref(cmdq->count).load();
    if (count > cmdq->max) {
        CPE_DM_LOG_INFO("Command queue exceeds configured maximum! %d > %d\n", count, cmdq->max);
    }
    if (cpe_dm_mutex_lock(&cmdq->mutex) != 0) {
        return -1;
    }
    const int32_t status = append_and_signal(cmdq, cmd);
    if (cpe_dm_mutex_unlock(&cmdq->mutex) != 0) {
        // The mutex is still held, so the command can be taken back before the failure is reported.
        if (status == 0) {
            drop_last(cmdq);
        }
        cpe_dm_mutex_unlock(&cmdq->mutex);
        return -1;
    }
    return status;
}

cpe_dm_cmd *cpe_dm_cmdq_deq(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_deq: Bad Param cmdq NULL");
        return nullptr;
    }
    void *cmd = nullptr;
    cpe_dm_dll_node *node = cpe_dm_dll_dequeue(cmdq->head, &cmdq->tail, &cmd);
    if (node != nullptr) {
        add_count(cmdq, -1);
        cpe_dm_dll_free_node(node);
    }
    return static_cast<cpe_dm_cmd *>(cmd);
}

/* Waits under the mutex for a command or a stop request. A stop request is made under the mutex too, so one that comes
 * before the wait is seen here and one that comes later wakes the wait. */
static int32_t wait_for_work(cpe_dm_cmdq *cmdq) {
    if (!is_running(cmdq)) {
        return 0;
    }
    return cpe_dm_thread_check(pthread_cond_wait(&cmdq->cond, &cmdq->mutex), "pthread_cond_wait");
}

/* One turn of the command thread: runs the oldest command, or waits when there is none. */
static int32_t run_next(cpe_dm_cmdq *cmdq) {
    if (cpe_dm_mutex_lock(&cmdq->mutex) != 0) {
        return -1;
    }
    cpe_dm_cmd *cmd = cpe_dm_cmdq_deq(cmdq);
    const int32_t waited = cmd != nullptr ? 0 : wait_for_work(cmdq);
    const int32_t unlocked = leave(cmdq);
    if (cmd == nullptr) {
        return waited != 0 ? waited : unlocked;
    }
    int32_t status = unlocked;
    if (status == 0 && cmd->execute_f == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdthrd_main: NULL for cmd->execute_f");
        status = -1;
    }
    if (status == 0) {
        cmd->execute_f(cmd, cmd->data);
    }
    release_cmd(cmd);
    return status;
}

void *cpe_dm_cmdthrd_main(void *cmdq) {
    intptr_t result = -1;
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdthrd_main: Bad Param cmdq NULL");
    } else {
        auto *queue = static_cast<cpe_dm_cmdq *>(cmdq);
        do {
            result = run_next(queue);
        } while (result == 0 && is_running(queue));
        std::atomic_ref(queue->ended).store(1);
    }
    return reinterpret_cast<void *>(result); // NOLINT(performance-no-int-to-ptr): a thread's exit value is a pointer
}

void cpe_dm_cmdthrd_deinit(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdthrd_deinit: Bad Param cmdq NULL");
        return;
    }
    // Whoever asks will wait for the thread, so each step that fails is tried once more, and a request that the thread
    // may not see is taken back.
    if (cpe_dm_mutex_lock(&cmdq->mutex) != 0 && cpe_dm_mutex_lock(&cmdq->mutex) != 0) {
        return;
    }
    std::atomic_ref(cmdq->running).store(0);
    const bool signalled = signal_thread(cmdq) == 0 || signal_thread(cmdq) == 0;
    const bool released = cpe_dm_mutex_unlock(&cmdq->mutex) == 0 || cpe_dm_mutex_unlock(&cmdq->mutex) == 0;
    if (!signalled || !released) {
        std::atomic_ref(cmdq->running).store(1);
    }
}

int32_t cpe_dm_cmdq_join_thread(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_join_thread: Bad Param cmdq NULL\n");
        return -1;
    }
    if (cmdq->thread == pthread_t{}) {
        CPE_DM_LOG_ERROR("Command thread not initialized\n");
        return -1;
    }
    return cpe_dm_thread_check(pthread_join(cmdq->thread, nullptr), "pthread_join");
}

/* Waits for the end of a thread that was asked to stop. One that cannot be joined ends all the same, and must have left
 * the record before that is cleared. */
static void wait_for_end(cpe_dm_cmdq *cmdq) {
    if (cpe_dm_cmdq_join_thread(cmdq) == 0) {
        return;
    }
    while (std::atomic_ref(cmdq->ended).load() == 0) {
        cpe_dm_pause();
    }
    pthread_detach(cmdq->thread);
}

int32_t cpe_dm_cmdq_deinit(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_deinit: Bad Param cmdq NULL\n");
        return -1;
    }
    if (cmdq->head == nullptr) {
        return 0;
    }
    cpe_dm_cmdthrd_deinit(cmdq);
    if (is_running(cmdq)) {
        return -1;
    }
    wait_for_end(cmdq);
    while (cpe_dm_cmd *cmd = cpe_dm_cmdq_deq(cmdq)) {
        release_cmd(cmd);
    }
    cpe_dm_thread_check(pthread_cond_destroy(&cmdq->cond), "pthread_cond_destroy");
    cpe_dm_thread_check(pthread_mutex_destroy(&cmdq->mutex), "pthread_mutex_destroy");
    cpe_dm_dll_destroy(cmdq->head);
    *cmdq = {};
    return 0;
}

int32_t cpe_dm_cmdq_flush(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_flush Bad Param cmdq NULL\n");
        return -1;
    }
    if (cmdq->head == nullptr) {
        return 0;
    }
    if (cpe_dm_mutex_lock(&cmdq->mutex) != 0) {
        return -1;
    }
    // Cut off under the mutex, released without it.
    cpe_dm_dll_node *node = cmdq->head->next;
    cmdq->head->next = nullptr;
    cmdq->tail = cmdq->head;
    std::atomic_ref(cmdq->count).store(0);
    const int32_t status = leave(cmdq);
    while (node != nullptr) {
        cpe_dm_dll_node *next = node->next;
        release_cmd(static_cast<cpe_dm_cmd *>(node->data));
        cpe_dm_dll_free_node(node);
        node = next;
    }
    return status;
}
