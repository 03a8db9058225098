#include "zeb_record_queue.h"

#include "zeb_record_parts.h"
#include "zeb_record_state.h"

#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

enum {
    ROOM = 1024 * 1024, /* bytes of each text buffer; a line with two messages of full length fits */
    MARK_MAX = 64,      /* bytes at the end of a text buffer that are reserved for a `lost` line */
    PROMPT_US = 100000, /* if the disk delays a thread longer than this, the disk counts as slow */
    WAITS_MAX = 10,     /* a thread waits at most this many times for the writer, each time for PROMPT_US */
    SYNC_US = 500000,   /* the time between two syncs of the file to the disk */
};

/* This mutex guards the variables below that are not atomic. A thread holds it only for work in memory, never while the
 * thread waits for the disk. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

/* Timed waits for these two conditions use the monotonic clock. */
static pthread_cond_t work_came;    /* the recorder's thread has work */
static pthread_cond_t text_written; /* lines were handed to the kernel, or the writer is stuck */

static char texts[2][ROOM]; /* one buffer is filled while the other is written */
static char *text = texts[0];
static uint32_t used;    /* bytes of lines in the buffer `text` */
static uint64_t added;   /* bytes of all lines since the start */
static uint64_t handed;  /* how many of the `added` bytes have been handed to the kernel */
static uint64_t left;    /* the recorder's thread has to hand lines to the kernel until `handed` has this value */
static uint64_t writes;  /* how many times lines have been handed to the kernel */
static pid_t writer;     /* the thread that is handing lines to the kernel; 0: none */
static pid_t own_thread; /* the recorder's thread; 0: it does not run yet */
static bool own_idle;    /* the recorder's thread waits for work without a time limit */
static bool slow;        /* the disk is slow: only the recorder's thread hands lines to the kernel */
static bool stuck;       /* a waiting thread has found that the disk delays the writer */
static bool preempted;   /* a waiting thread has found that the disk does not delay the writer */
static bool unsynced;

/* The number of lines lost since the last `lost` line. While the buffer is full, a thread that loses a line counts it
 * without taking the mutex. Otherwise such threads could keep the mutex from the thread that makes room. */
static std::atomic<uint64_t> lost;
static std::atomic<bool> full; /* the buffer is full, and stays full until its lines are handed to the kernel */

static bool queue_lock() {
    return zeb_record_check("pthread_mutex_lock", pthread_mutex_lock(&lock));
}

static void queue_unlock() {
    pthread_mutex_unlock(&lock);
}

static pid_t this_thread() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

/* Whether a thread of this process runs or is ready to run; false if the thread's state cannot be read. */
static bool thread_runs(pid_t thread) {
    char name[48];
    char status[256];
    snprintf(name, sizeof(name), "/proc/self/task/%d/stat", static_cast<int>(thread));
    const int fd = open(name, O_RDONLY | O_CLOEXEC);
    const ssize_t len = fd >= 0 ? read(fd, status, sizeof(status)) : -1;
    if (fd >= 0) {
        close(fd);
    }
    const auto *name_end =
        len > 0 ? static_cast<const char *>(memrchr(status, ')', static_cast<size_t>(len))) : nullptr;
    return name_end != nullptr && name_end + 2 < status + len && name_end[2] == 'R';
}

/* Waits until another thread has handed lines to the kernel, for PROMPT_US at most. The caller holds the mutex, which
 * is released during the wait. Returns true when lines were handed over, and when none were, but the disk does not
 * delay the writer; in the second case, adds 1 to *waits. Returns false when the disk delays the writer, or when *waits
 * has reached WAITS_MAX. After true the caller may wait again. */
static bool queue_wait(uint32_t *waits) {
    const uint64_t before = writes;
    const timespec until = zeb_record_timespec(zeb_record_clock(CLOCK_MONOTONIC) + PROMPT_US);
    int error = 0;
    while (error == 0 && writes == before && !stuck) {
        error = pthread_cond_timedwait(&text_written, &lock, &until);
    }
    if (writes != before) {
        return true;
    }
    if (error == ETIMEDOUT && !stuck && thread_runs(writer != 0 ? writer : own_thread) && ++*waits < WAITS_MAX) {
        preempted = true;
        return true;
    }
    if (!stuck) {
        slow = stuck = true;
        pthread_cond_broadcast(&text_written);
    }
    return false;
}

/* Adds a `lost` line if lines were lost. There must be room for this line. */
static void queue_mark_lost() {
    full = false;
    const uint64_t lines = lost.exchange(0);
    if (lines > 0) {
        const int len =
            snprintf(text + used, MARK_MAX, "%" PRIu64 " lost lines=%" PRIu64 "\n", zeb_record_time(), lines);
        used += static_cast<uint32_t>(len);
        added += static_cast<uint32_t>(len);
        left = added;
    }
}

static void queue_wake() {
    zeb_record_check("pthread_cond_signal", pthread_cond_signal(&work_came));
}

static long voluntary_switches() {
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

/* Hands all lines to the kernel. The caller holds the mutex, and no other thread is the writer. The mutex is released
 * during the write. Returns false when the mutex could not be taken again. */
static bool queue_flush() {
    const char *lines = text;
    const uint32_t len = used;
    text = text == texts[0] ? texts[1] : texts[0];
    used = 0;
    const uint64_t upto = added;
    queue_mark_lost();
    writer = this_thread();
    queue_unlock();
    const long switches = voluntary_switches();
    const uint64_t began = zeb_record_clock(CLOCK_MONOTONIC);
    zeb_record_parts_write(lines, len);
    // A long write was delayed by the disk only if this thread slept during the write. Each sleep counts as a voluntary
    // context switch. A thread that did not sleep only lacked a processor.
    const bool prompt = zeb_record_clock(CLOCK_MONOTONIC) - began <= PROMPT_US || voluntary_switches() == switches;
    if (!queue_lock()) {
        return false;
    }
    writer = 0;
    writes++;
    handed = upto;
    slow = !prompt && !preempted;
    stuck = false;
    preempted = false;
    unsynced = true;
    pthread_cond_broadcast(&text_written);
    return true;
}

/* Whether the recorder's thread has to be woken because it has work. */
static bool queue_own_work() {
    return left > handed || zeb_record_parts_sync_now() || (own_idle && unsynced);
}

/* Hands lines to the kernel until `handed` has reached `upto`. If the disk is slow, leaves these lines to the
 * recorder's thread. The caller holds the mutex; this function releases it. */
static void queue_hand_over(uint64_t upto) {
    uint32_t waits = 0;
    while (handed < upto && !slow) {
        if (writer == 0) {
            if (!queue_flush()) {
                return;
            }
        } else if (!queue_wait(&waits)) {
            break;
        }
    }
    if (handed < upto) {
        left = std::max(left, upto);
    }
    const bool work = queue_own_work();
    queue_unlock();
    if (work) {
        queue_wake();
    }
}

char *zeb_record_queue_line(uint32_t len) {
    uint32_t waits = 0;
    if (full) {
        lost++;
        return nullptr;
    }
    if (zeb_record_phase != ZEB_RECORD_ON || !queue_lock()) {
        return nullptr;
    }
    while (zeb_record_phase == ZEB_RECORD_ON && len > ROOM - MARK_MAX - used) {
        if (writer == 0 && !slow) {
            if (!queue_flush()) {
                return nullptr;
            }
        } else if (!queue_wait(&waits)) {
            full = true;
            lost++;
            queue_unlock();
            return nullptr;
        }
    }
    if (zeb_record_phase != ZEB_RECORD_ON) {
        queue_unlock();
        return nullptr;
    }
    queue_mark_lost();
    return text + used;
}

void zeb_record_queue_add(uint32_t len) {
    used += len;
    added += len;
    queue_hand_over(added);
}

void zeb_record_queue_lose() {
    lost++;
    queue_unlock();
}

/* The recorder's thread: syncs the file to the disk, and hands to the kernel the lines that other threads have left to
 * the recorder's thread. */
static void *queue_thread(void * /*unused*/) {
    uint64_t next_sync = 0;
    int error = 0;
    if (!queue_lock()) {
        return nullptr;
    }
    own_thread = this_thread();
    while (error == 0 || error == ETIMEDOUT) {
        error = 0;
        if (left > handed && writer == 0) {
            if (!queue_flush()) {
                return nullptr;
            }
        } else if (!unsynced) {
            own_idle = true;
            error = pthread_cond_wait(&work_came, &lock);
            own_idle = false;
        } else if (zeb_record_clock(CLOCK_MONOTONIC) < next_sync && !zeb_record_parts_sync_now()) {
            const timespec until = zeb_record_timespec(next_sync);
            error = pthread_cond_timedwait(&work_came, &lock, &until);
        } else {
            unsynced = false;
            queue_unlock();
            zeb_record_parts_sync();
            next_sync = zeb_record_clock(CLOCK_MONOTONIC) + SYNC_US;
            if (!queue_lock()) {
                return nullptr;
            }
        }
    }
    queue_unlock();
    zeb_record_check("waiting", error);
    return nullptr;
}

/* Starts the recorder's thread. The new thread must not take a signal that the program has blocked or waits for, so
 * most signals are blocked in the new thread. Only the signals that report a fault of the thread itself stay unblocked,
 * so that they end the process. */
static bool queue_start_thread() {
    sigset_t blocked;
    sigset_t previous;
    pthread_t thread;
    sigfillset(&blocked);
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
        sigdelset(&blocked, signal);
    }
    if (!zeb_record_check("pthread_sigmask", pthread_sigmask(SIG_SETMASK, &blocked, &previous))) {
        return false;
    }
    const int error = pthread_create(&thread, nullptr, queue_thread, nullptr);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (error == 0) {
        pthread_detach(thread);
    }
    return zeb_record_check("no thread, nothing is recorded", error);
}

bool zeb_record_queue_start() {
    pthread_condattr_t monotonic;
    return zeb_record_check("pthread_condattr_init", pthread_condattr_init(&monotonic)) &&
           zeb_record_check("pthread_condattr_setclock", pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC)) &&
           zeb_record_check("pthread_cond_init", pthread_cond_init(&work_came, &monotonic)) &&
           zeb_record_check("pthread_cond_init", pthread_cond_init(&text_written, &monotonic)) &&
           zeb_record_parts_start() && queue_start_thread();
}

void zeb_record_queue_close() {
    zeb_record_parts_close();
}
