#include "cpe_dm_cmdq.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_log.h"
#include "cpe_dm_thread.h"

#include <atomic>
#include <csignal>

static bool is_running(cpe_dm_cmdq *cmdq) {
    return std::atomic_ref(cmdq->running).load() != 0;
}

/* Called with the mutex held, so no other thread changes the count. The store is atomic because cpe_dm_cmdq_enq reads
 * the count without the mutex. */
static void set_count(cpe_dm_cmdq *cmdq, int32_t count) {
    std::atomic_ref(cmdq->count).store(count, std::memory_order_relaxed);
}

static void release_cmd(cpe_dm_cmd *cmd) {
    if (cmd->free_f != nullptr) {
        cmd->free_f(cmd, cmd->data);
    }
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
    if (CPE_DM_SUCCEEDS(pthread_mutex_init(&cmdq->mutex, nullptr), "pthread_mutex_init failed:")) {
        if (CPE_DM_SUCCEEDS(pthread_cond_init(&cmdq->cond, nullptr), "pthread_cond_init failed:")) {
            cpe_dm_cmdthrd_init(cmdq);
            if (cmdq->thread != pthread_t{}) {
                return 0;
            }
            (void)CPE_DM_SUCCEEDS(pthread_cond_destroy(&cmdq->cond), "pthread_cond_destroy failed:");
        }
        (void)CPE_DM_SUCCEEDS(pthread_mutex_destroy(&cmdq->mutex), "pthread_mutex_destroy failed:");
    }
    cpe_dm_dll_destroy(cmdq->head);
    *cmdq = {};
    return -1;
}

/* Blocks signals in the calling thread, and stores the previous signal mask in *previous. A thread that is created now
 * inherits the mask, so signals go to the program's own threads. Signals that report a fault of the thread itself,
 * such as SIGSEGV, stay unblocked. Returns false (logged) on failure. */
static bool block_signals(sigset_t *previous) {
    sigset_t blocked;
    sigfillset(&blocked);
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
        sigdelset(&blocked, signal);
    }
    return CPE_DM_SUCCEEDS(pthread_sigmask(SIG_SETMASK, &blocked, previous), "pthread_sigmask failed:");
}

void cpe_dm_cmdthrd_init(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdthrd_init: Bad Param cmdq NULL");
        return;
    }
    // `running` is set before the thread is created. If the new thread set `running`, the thread could do so after a
    // stop request, and would undo the request.
    std::atomic_ref(cmdq->running).store(1);
    pthread_t thread;
    sigset_t previous;
    const bool masked = block_signals(&previous);
    const int error = pthread_create(&thread, nullptr, cpe_dm_cmdthrd_main, cmdq);
    if (masked) {
        (void)CPE_DM_SUCCEEDS(pthread_sigmask(SIG_SETMASK, &previous, nullptr), "pthread_sigmask failed:");
    }
    if (error != 0) {
        CPE_DM_LOG_ERROR("Cannot start cmdthrd:");
        std::atomic_ref(cmdq->running).store(0);
        return;
    }
    cmdq->thread = thread;
}

/* Appends a command. Called with the mutex held. */
static void append(cpe_dm_cmdq *cmdq, cpe_dm_dll_node *node, cpe_dm_cmd *cmd) {
    cmdq->tail = cpe_dm_dll_enqueue(cmdq->tail, node, cmd);
    set_count(cmdq, cmdq->count + 1);
}

/* Removes the command that was appended last. Called with the mutex held. The command and its node belong to the caller
 * again. */
static void drop_last(cpe_dm_cmdq *cmdq) {
    cpe_dm_dll_delete_node(cmdq->head, &cmdq->tail, cmdq->tail);
    set_count(cmdq, cmdq->count - 1);
}

/* Removes the oldest command from the queue and stores it in *cmd. Called with the mutex held. Returns the command's
 * node, which then belongs to the caller, or null when the queue is empty. */
static cpe_dm_dll_node *unlink_first(cpe_dm_cmdq *cmdq, cpe_dm_cmd **cmd) {
    void *data = nullptr;
    cpe_dm_dll_node *node = cpe_dm_dll_dequeue(cmdq->head, &cmdq->tail, &data);
    if (node != nullptr) {
        set_count(cmdq, cmdq->count - 1);
    }
    *cmd = static_cast<cpe_dm_cmd *>(data);
    return node;
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
    // Nodes are allocated here without the mutex, and the command thread releases them without the mutex. So no thread
    // waits for the mutex while another thread is inside calloc or free.
    cpe_dm_owned<cpe_dm_dll_node> node(cpe_dm_dll_init(nullptr));
    if (!node) {
        CPE_DM_LOG_ERROR("Failed to insert into cmdq\n");
        return -1;
    }
    if (!CPE_DM_SUCCEEDS(pthread_mutex_lock(&cmdq->mutex), "pthread_mutex_lock failed:")) {
        return -1;
    }
    append(cmdq, node.get(), cmd);
    bool queued = cmdq->count != 1 || CPE_DM_SUCCEEDS(pthread_cond_signal(&cmdq->cond), "pthread_cond_signal failed:");
    if (!queued) {
        drop_last(cmdq);
    }
    if (!CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:")) {
        // The mutex is still held, so the command can be taken back before the failure is reported.
        if (queued) {
            drop_last(cmdq);
        }
        queued = false;
        (void)CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:");
    }
    if (!queued) {
        return -1;
    }
    (void)node.release();
    return 0;
}

cpe_dm_cmd *cpe_dm_cmdq_deq(cpe_dm_cmdq *cmdq) {
    if (cmdq == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_cmdq_deq: Bad Param cmdq NULL");
        return nullptr;
    }
    cpe_dm_cmd *cmd = nullptr;
    cpe_dm_dll_free_node(unlink_first(cmdq, &cmd));
    return cmd;
}

/* Waits for a command or a stop request. Called with the mutex held. A stop request is made with the mutex held too. So
 * a request before the wait is seen by is_running, and a later request ends the wait. Returns false (logged) when the
 * wait fails. */
static bool wait_for_work(cpe_dm_cmdq *cmdq) {
    return !is_running(cmdq) ||
           CPE_DM_SUCCEEDS(pthread_cond_wait(&cmdq->cond, &cmdq->mutex), "pthread_cond_wait failed:");
}

/* Runs a command that was taken out of the queue, and releases it. `status` is -1 when unlocking the mutex has failed:
 * the command is then released without being run. Returns `status`, or -1 when the command cannot be run. */
static int32_t run_cmd(cpe_dm_cmd *cmd, int32_t status) {
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

/* One pass of the command thread's loop: runs the oldest command, or waits when the queue is empty. Returns -1 after an
 * error, which ends the thread. */
static int32_t run_next(cpe_dm_cmdq *cmdq) {
    if (!CPE_DM_SUCCEEDS(pthread_mutex_lock(&cmdq->mutex), "pthread_mutex_lock failed:")) {
        return -1;
    }
    cpe_dm_cmd *cmd = nullptr;
    cpe_dm_dll_node *node = unlink_first(cmdq, &cmd);
    int32_t status = node != nullptr || wait_for_work(cmdq) ? 0 : -1;
    if (!CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:")) {
        // The unlock is tried once more, because a mutex that stays locked stops every producer.
        (void)CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:");
        status = -1;
    }
    if (node == nullptr) {
        return status;
    }
    cpe_dm_dll_free_node(node);
    return run_cmd(cmd, status);
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
    // If `running` is 0 when this function returns, the caller waits until the thread has ended. A thread that has
    // missed the stop request might never end. So when this is possible, this function sets `running` back to 1, and
    // the caller does not wait. Each step that fails is tried once more.
    bool taken = false;
    for (int tries = 0; tries < 2 && !taken; tries++) {
        taken = CPE_DM_SUCCEEDS(pthread_mutex_lock(&cmdq->mutex), "pthread_mutex_lock failed:");
    }
    if (!taken) {
        return;
    }
    std::atomic_ref(cmdq->running).store(0);
    bool signalled = false;
    for (int tries = 0; tries < 2 && !signalled; tries++) {
        signalled = CPE_DM_SUCCEEDS(pthread_cond_signal(&cmdq->cond), "pthread_cond_signal failed:");
    }
    bool released = false;
    for (int tries = 0; tries < 2 && !released; tries++) {
        released = CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:");
    }
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
    return CPE_DM_SUCCEEDS(pthread_join(cmdq->thread, nullptr), "pthread_join failed:") ? 0 : -1;
}

/* Waits until the command thread, which was asked to stop, no longer uses *cmdq. If the thread cannot be joined, waits
 * until the thread has set cmdq->ended. */
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
    (void)CPE_DM_SUCCEEDS(pthread_cond_destroy(&cmdq->cond), "pthread_cond_destroy failed:");
    (void)CPE_DM_SUCCEEDS(pthread_mutex_destroy(&cmdq->mutex), "pthread_mutex_destroy failed:");
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
    if (!CPE_DM_SUCCEEDS(pthread_mutex_lock(&cmdq->mutex), "pthread_mutex_lock failed:")) {
        return -1;
    }
    // The nodes are unlinked with the mutex held, and released after the mutex is unlocked.
    cpe_dm_dll_node *node = cmdq->head->next;
    cmdq->head->next = nullptr;
    cmdq->tail = cmdq->head;
    set_count(cmdq, 0);
    int32_t status = 0;
    if (!CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:")) {
        (void)CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cmdq->mutex), "pthread_mutex_unlock failed:");
        status = -1;
    }
    while (node != nullptr) {
        cpe_dm_dll_node *next = node->next;
        release_cmd(static_cast<cpe_dm_cmd *>(node->data));
        cpe_dm_dll_free_node(node);
        node = next;
    }
    return status;
}
