/* The command queue. Any thread can add a command; one command thread runs the commands in the order in which they were
 * added.
 *
 * Calling order: cpe_dm_cmdq_init once; cpe_dm_cmdq_enq and cpe_dm_cmdq_flush from any thread; cpe_dm_cmdq_deinit once,
 * when no thread is inside another function of the queue. Statuses are 0 for success and -1 for failure. */
#ifndef CPE_DM_CMDQ_H
#define CPE_DM_CMDQ_H

#include "cpe_dm_list.h"

#include <cstdint>
#include <pthread.h>

struct cpe_dm_cmd;

/* The type of execute_f and free_f. `data` is the field `data` of the command. The queue's mutex is not held during the
 * call. */
using cpe_dm_cmd_f = void (*)(cpe_dm_cmd *cmd, void *data);

/* A unit of work, allocated and filled by its producer. Once queued, the command belongs to the queue, which calls
 * execute_f on the command thread and then free_f. For a command that is never executed, the queue calls only free_f,
 * either on the thread that calls cpe_dm_cmdq_deinit or cpe_dm_cmdq_flush, or on the command thread after an error. */
struct cpe_dm_cmd {
    cpe_dm_cmd_f execute_f; /* required */
    cpe_dm_cmd_f free_f;    /* releases the command and what it owns; may be null */
    void *data;
};

/* The record of a queue. All fields are zero before cpe_dm_cmdq_init and after cpe_dm_cmdq_deinit. */
struct cpe_dm_cmdq {
    cpe_dm_dll_node *head; /* an empty first node; `data` of every other node points to a cpe_dm_cmd */
    cpe_dm_dll_node *tail; /* last node; equal to `head` while the queue is empty */
    int32_t count;         /* number of queued commands */
    int32_t max;           /* when `count` exceeds this number, each new command is logged, but still accepted */
    pthread_t thread;      /* zero until the thread is created */
    pthread_cond_t cond;   /* signalled when the queue becomes non-empty, and for a stop request */
    pthread_mutex_t mutex; /* guards head, tail, count and the nodes */
    uint8_t running;       /* atomic; 1 from before the thread starts until the thread is asked to stop */
    uint8_t ended;         /* atomic; set by the thread as its last access to this record */
};

/* Initialises the record and starts the command thread. A queue longer than `max` is logged. On failure all fields of
 * the record are zero. */
int32_t cpe_dm_cmdq_init(cpe_dm_cmdq *cmdq, int32_t max);

/* Lets the command in progress finish, ends the thread, releases the commands still queued without running them, and
 * zeroes the record. Fails only when the thread could not be told to stop. The record is then still in use, and the
 * caller may try again. */
int32_t cpe_dm_cmdq_deinit(cpe_dm_cmdq *cmdq);

/* Appends a command. `cmdq` and `cmd` must not be null. Returns -1 when the command has no execute_f, when the queue is
 * down or stopping, or when memory or a thread primitive failed. The command is then not queued and still belongs to
 * the producer. */
int32_t cpe_dm_cmdq_enq(cpe_dm_cmdq *cmdq, cpe_dm_cmd *cmd);

/* Removes and returns the oldest command, or returns null when the queue is empty. The caller holds the mutex, or no
 * other thread uses the queue. */
cpe_dm_cmd *cpe_dm_cmdq_deq(cpe_dm_cmdq *cmdq);

/* Releases every queued command without running it. The queue stays usable. Does nothing and returns 0 when the queue
 * is not initialised. */
int32_t cpe_dm_cmdq_flush(cpe_dm_cmdq *cmdq);

/* Waits for the command thread to end. The thread must have been asked to stop before. */
int32_t cpe_dm_cmdq_join_thread(cpe_dm_cmdq *cmdq);

/* Starts the command thread. On failure the field `thread` stays zero. */
void cpe_dm_cmdthrd_init(cpe_dm_cmdq *cmdq);

/* Asks the command thread to stop. After the call, the field `running` is 0 if the request is certain to reach the
 * thread. Otherwise the field is 1, and the caller may try again. */
void cpe_dm_cmdthrd_deinit(cpe_dm_cmdq *cmdq);

/* The main function of the command thread; `cmdq` points to the record of the queue. Returns 0 after a stop request,
 * and -1 after an error. */
void *cpe_dm_cmdthrd_main(void *cmdq);

#endif
