/* The command queue: moves work from the threads that produce it to one command thread, which runs it in order.
 *
 * Calling order: cpe_dm_cmdq_init once; cpe_dm_cmdq_enq and cpe_dm_cmdq_flush from any thread; cpe_dm_cmdq_deinit once,
 * when no thread is inside any of the others. Statuses are 0 for success and -1 for failure. */
#ifndef CPE_DM_CMDQ_H
#define CPE_DM_CMDQ_H

#include "cpe_dm_list.h"

#include <cstdint>
#include <pthread.h>

struct cpe_dm_cmd;

/* Always called as (the command, its data), without any lock of the queue. */
using cpe_dm_cmd_f = void (*)(cpe_dm_cmd *cmd, void *data);

/* A unit of work, allocated and filled by its producer. Once queued it belongs to the queue, which calls execute_f on
 * the command thread and then free_f; a command that is never executed has only its free_f called, on the thread that
 * takes the queue down or flushes it. */
struct cpe_dm_cmd {
    cpe_dm_cmd_f execute_f; /* required */
    cpe_dm_cmd_f free_f;    /* releases the command and what it owns; may be null */
    void *data;
};

/* All zero while the queue is down. */
struct cpe_dm_cmdq {
    cpe_dm_dll_node *head; /* data of the elements: cpe_dm_cmd */
    cpe_dm_dll_node *tail; /* last node, the head while the queue is empty */
    int32_t count;         /* commands queued */
    int32_t max;           /* a longer queue is warned of, not refused */
    pthread_t thread;      /* zero until created */
    pthread_cond_t cond;   /* signalled when the queue becomes non-empty, and for a stop request */
    pthread_mutex_t mutex; /* guards head, tail, count and the nodes */
    uint8_t running;       /* atomic; 1 from before the thread starts until it is asked to stop */
    uint8_t ended;         /* atomic; set by the thread as its last access to this record */
};

/* Sets the queue up and starts its thread. On failure the record is all zero again. */
int32_t cpe_dm_cmdq_init(cpe_dm_cmdq *cmdq, int32_t max);

/* Lets the command in progress finish, ends the thread, releases the commands still queued without running them, and
 * zeroes the record. Fails, with the record still in use, only when the thread could not be told to stop; the call can
 * then be made again. */
int32_t cpe_dm_cmdq_deinit(cpe_dm_cmdq *cmdq);

/* Appends a command; cmdq and cmd are not null. When it returns -1 the command is not in the queue and stays the
 * producer's: it has no execute_f, the queue is down or stopping, or memory or a thread primitive failed. */
int32_t cpe_dm_cmdq_enq(cpe_dm_cmdq *cmdq, cpe_dm_cmd *cmd);

/* Takes out the oldest command; null when there is none. The caller holds the mutex, or is the only user left. */
cpe_dm_cmd *cpe_dm_cmdq_deq(cpe_dm_cmdq *cmdq);

/* Releases every command queued, without running it. The queue stays usable. One that is down has nothing to release.
 */
int32_t cpe_dm_cmdq_flush(cpe_dm_cmdq *cmdq);

/* Waits for the thread to end; it must have been asked to stop. */
int32_t cpe_dm_cmdq_join_thread(cpe_dm_cmdq *cmdq);

/* Starts the thread; thread stays zero when that fails. */
void cpe_dm_cmdthrd_init(cpe_dm_cmdq *cmdq);

/* Asks the thread to stop: running is 0 afterwards. When the thread could not be told, running stays 1. */
void cpe_dm_cmdthrd_deinit(cpe_dm_cmdq *cmdq);

/* The command thread; cmdq is the queue's record. Returns 0 after a stop request, -1 after an error. */
void *cpe_dm_cmdthrd_main(void *cmdq);

#endif
