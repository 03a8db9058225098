/* The command queue: moves work from the threads that produce it to one command thread, which runs it in order.
 *
 * Calling order: cpe_dm_cmdq_init once; cpe_dm_cmdq_enq and cpe_dm_cmdq_flush from any thread; cpe_dm_cmdq_deinit once,
 * when no thread is inside another function of the queue. Statuses are 0 for success and -1 for failure. */
#ifndef CPE_DM_CMDQ_H
#define CPE_DM_CMDQ_H

#include "cpe_dm_list.h"

#include <cstdint>
#include <pthread.h>

struct cpe_dm_cmd;

/* Called with a command and the data of that command. The caller holds no lock of the queue. */
using cpe_dm_cmd_f = void (*)(cpe_dm_cmd *cmd, void *data);

/* A unit of work, allocated and filled by its producer. Once queued, the command belongs to the queue, which calls
 * execute_f on the command thread and then free_f. For a command that is never executed, the queue calls only
 * free_f. This call runs on the thread that takes the queue down or flushes it, or on a command thread that ends
 * with an error. */
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
    int32_t max;           /* more queued commands than this are logged, but still accepted */
    pthread_t thread;      /* zero until created */
    pthread_cond_t cond;   /* signalled when the queue becomes non-empty, and for a stop request */
    pthread_mutex_t mutex; /* guards head, tail, count and the nodes */
    uint8_t running;       /* atomic; 1 from before the thread starts until the thread is asked to stop */
    uint8_t ended;         /* atomic; set by the thread as its last access to this record */
};

/* Sets the queue up and starts its thread. On failure the record is all zero again. */
int32_t cpe_dm_cmdq_init(cpe_dm_cmdq *cmdq, int32_t max);

/* Lets the command in progress finish, ends the thread, releases the commands still queued without running them, and
 * zeroes the record. Fails only when the thread could not be told to stop. The record is then still in use, and the
 * caller may try again. */
int32_t cpe_dm_cmdq_deinit(cpe_dm_cmdq *cmdq);

/* Appends a command; cmdq and cmd are not null. Returns -1 when the command has no execute_f, when the queue is down or
 * stopping, or when memory or a thread primitive failed. The command is then not queued and stays the producer's. */
int32_t cpe_dm_cmdq_enq(cpe_dm_cmdq *cmdq, cpe_dm_cmd *cmd);

/* Takes out the oldest command; null when none is queued. The caller holds the mutex, or is the only user left. */
cpe_dm_cmd *cpe_dm_cmdq_deq(cpe_dm_cmdq *cmdq);

/* Releases every queued command without running it. The queue stays usable. A queue that is down has nothing to
 * release. */
int32_t cpe_dm_cmdq_flush(cpe_dm_cmdq *cmdq);

/* Waits for the thread to end. The thread must have been asked to stop. */
int32_t cpe_dm_cmdq_join_thread(cpe_dm_cmdq *cmdq);

/* Starts the thread. On failure the field `thread` stays zero. */
void cpe_dm_cmdthrd_init(cpe_dm_cmdq *cmdq);

/* Asks the thread to stop. Afterwards the field `running` is 0, or 1 when the thread could not be told. */
void cpe_dm_cmdthrd_deinit(cpe_dm_cmdq *cmdq);

/* The command thread; cmdq is the queue's record. Returns 0 after a stop request, -1 after an error. */
void *cpe_dm_cmdthrd_main(void *cmdq);

#endif
