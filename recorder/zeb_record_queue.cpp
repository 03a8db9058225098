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
    ROOM = 1024 * 1024, /* bytes that may wait for the disk; a line of two messages of full length fits */
    MARK_MAX = 64,      /* bytes of ROOM that are kept for the `lost` line */
    PROMPT_US = 100000, /* a disk that holds up a thread longer than this is slow */
    WAITS_MAX = 10,     /* how often a thread waits PROMPT_US for a writer that runs, or that waits for a processor */
    SYNC_US = 500000,   /* from one sync of the disk to the next */
};

/* Guards the variables below. Held for work in memory only, never during a wait for the disk. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t work_came;    /* for the recorder's thread; uses the monotonic clock */
static pthread_cond_t text_written; /* for threads that wait until another thread has handed lines to the kernel; uses
                                       the monotonic clock */
static char texts[2][ROOM];         /* one is filled while the other is being written */
static char *text = texts[0];
static uint32_t used;    /* bytes of text */
static uint64_t added;   /* bytes of all lines so far */
static uint64_t handed;  /* bytes of all lines handed to the kernel so far */
static uint64_t left;    /* all lines up to this number of bytes are left to the recorder's thread */
static uint64_t writes;  /* how often lines have been handed over */
static pid_t writer;     /* the thread that is handing over; 0: none */
static pid_t own_thread; /* the recorder's; 0: not there yet */
static bool own_idle;    /* the recorder's thread waits for work, without a limit */
static bool slow;        /* the disk is slow: only the recorder's thread hands over */
static bool stuck;       /* a thread has found that the disk holds up the writer */
static bool preempted;   /* a thread has found that the writer waits for a processor */
static bool unsynced;

/* Lines lost since the last line that found room. While there is no room, a thread counts its lost lines without taking
 * the lock. Otherwise threads that lose lines would keep the lock from the thread that hands over. */
static std::atomic<uint64_t> lost;
static std::atomic<bool> full; /* there is no room, and will be none until lines are handed over */

static bool queue_lock() {
    return zeb_record_check("pthread_mutex_lock", pthread_mutex_lock(&lock));
}

static void queue_unlock() {
    pthread_mutex_unlock(&lock);
}

static pid_t this_thread() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

/* Whether a thread of this process runs or is ready to run; false where its state cannot be read. */
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

/* Waits, with the lock, until another thread has handed over lines. Returns true when it has. After a wait in vain
 * looks at the writer: when the writer is ready to run, counts the wait in *waits and returns true, and the caller
 * waits again. Returns false when the disk holds up the writer, or after WAITS_MAX waits: more waiting is no use. */
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

/* Hands all lines to the kernel. Called with the lock, and only while no other thread hands over. The lock is released
 * during the writing. Returns false when the lock could not be taken again. */
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
    // A thread that has not slept has not waited for the disk, however long the write took. The reverse does not hold:
    // a thread that has slept may have waited for something else.
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

/* Whether the recorder's thread has work and has to be woken. */
static bool queue_own_work() {
    return left > handed || zeb_record_parts_sync_now() || (own_idle && unsynced);
}

/* Hands over the lines up to `upto`, or leaves them to the recorder's thread. Called with the lock, and releases it. */
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

/* The recorder's thread: puts on the disk what the kernel has, and hands over the lines that are left to this
 * thread. */
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

/* Starts the recorder's thread. This thread must not take a signal that the program has blocked or waits for. So it
 * blocks all signals but those that report a fault of the thread itself: these must end the process. */
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
