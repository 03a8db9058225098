#include "zeb_record_file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

enum {
    ROOM = 512 * 1024, /* bytes that may wait for the disk; a line of two messages of full length fits */
    END_ROOM = 48,     /* for the line that ends a full recording */
    FIRST_LINE_MAX = 160,
    LIMIT_DEFAULT = 16 * 1024 * 1024,
    PROMPT_US = 100000, /* a disk that keeps a thread longer is slow */
    SYNC_US = 500000,   /* from one fdatasync to the next */
    FD_MIN = 64,        /* so that the program's own descriptors keep their numbers */
};

enum record_state { NOT_STARTED, RECORDING, OFF };

static std::atomic<int> state{NOT_STARTED};
static pthread_once_t once = PTHREAD_ONCE_INIT;
static char path[4096];
static uint64_t limit = LIMIT_DEFAULT;
static uint64_t start_us;
static int file = -1;
static struct stat file_status;

/* Guards what follows; held for memory operations only, never for one of the file. */
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t work_came;    /* for the recorder's thread; both by the monotonic clock */
static pthread_cond_t text_written; /* for who waits until another has handed over */
static char texts[2][ROOM];         /* one is filled while the other is written */
static char *text = texts[0];
static uint32_t used;      /* bytes of text, of whole lines */
static uint32_t used_line; /* and with the line at work; more than ROOM: it does not fit */
static uint64_t recorded;  /* bytes of all lines so far */
static bool writing;       /* some thread is handing over */
static bool slow;          /* the disk is: only the recorder's thread does it */
static bool unsynced;

static uint64_t now_us(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

static uint64_t record_time() {
    return std::max(now_us(CLOCK_MONOTONIC), start_us) - start_us;
}

/* Neither blocks on a standard error that nobody empties, nor meets a signal from one that nobody reads. */
void zeb_record_say(const char *subject, const char *reason, int error) {
    char line[512];
    const char *text_of_error = error != 0 ? strerror(error) : ""; // NOLINT(concurrency-mt-unsafe): constant texts
    const int len = snprintf(line, sizeof(line), "zeb_record: %s: %s%s%s\n", subject, reason, error != 0 ? ": " : "",
                             text_of_error);
    pollfd standard_error = {STDERR_FILENO, POLLOUT, 0};
    if (len > 0 && poll(&standard_error, 1, 0) == 1 && standard_error.revents == POLLOUT) {
        const ssize_t ignored = write(STDERR_FILENO, line, std::min(static_cast<size_t>(len), sizeof(line) - 1));
        (void)ignored;
    }
}

/* The end of the recording by a failure, of which the first is said. */
static void record_fail(const char *reason, int error) {
    if (state.exchange(OFF) != OFF) {
        zeb_record_say(path, reason, error);
    }
}

static bool record_check(const char *primitive, int error) {
    if (error != 0) {
        record_fail(primitive, error);
    }
    return error == 0;
}

static bool record_lock() {
    return record_check("pthread_mutex_lock", pthread_mutex_lock(&lock));
}

static void record_unlock() {
    pthread_mutex_unlock(&lock);
}

/* Opens the file, which must be new or empty, and the recorder's alone. Returns false when that is not so. */
static bool record_open() {
    const int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW, 0600);
    if (fd < 0 || fstat(fd, &file_status) != 0) {
        record_fail("cannot be opened, nothing is recorded", errno);
    } else if (!S_ISREG(file_status.st_mode) || file_status.st_size != 0) {
        record_fail("is there already, nothing is recorded", 0);
    } else if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        record_fail("is in use, nothing is recorded", errno);
    } else if (fchmod(fd, 0600) != 0) {
        record_fail("cannot be made its owner's alone, nothing is recorded", errno);
    } else if ((file = fcntl(fd, F_DUPFD_CLOEXEC, FD_MIN)) < 0) {
        record_fail("cannot be kept open, nothing is recorded", errno);
    }
    if (fd >= 0) {
        close(fd);
    }
    return file >= 0;
}

/* Hands bytes to the kernel. A program that closes descriptors which are not its own may have given this one's number
 * to a file of its own since, so it is looked at before each use; and a write beyond the limit of the process would
 * raise a signal. */
static bool record_write(const char *bytes, size_t len) {
    struct stat status = {};
    rlimit size = {RLIM_INFINITY, RLIM_INFINITY};
    if (fstat(file, &status) != 0 || status.st_ino != file_status.st_ino || status.st_dev != file_status.st_dev) {
        record_fail("was closed by the program, recording ends", 0);
        return false;
    }
    getrlimit(RLIMIT_FSIZE, &size);
    if (static_cast<rlim_t>(status.st_size) + len > size.rlim_cur) {
        record_fail("cannot be written, recording ends", EFBIG);
        return false;
    }
    while (len > 0) {
        const ssize_t n = write(file, bytes, len);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            record_fail("cannot be written, recording ends", errno);
            return false;
        }
        bytes += n;
        len -= static_cast<size_t>(n);
    }
    return true;
}

/* Hands all lines to the kernel, while no other thread does. Called with the lock, which is given up meanwhile; returns
 * false when it was not to be had again. */
static bool record_flush() {
    const char *bytes = text;
    const uint32_t len = used;
    text = text == texts[0] ? texts[1] : texts[0];
    used = 0;
    writing = true;
    record_unlock();
    const uint64_t began = now_us(CLOCK_MONOTONIC);
    const bool written = record_write(bytes, len);
    const bool prompt = now_us(CLOCK_MONOTONIC) - began <= PROMPT_US;
    if (!record_lock()) {
        return false;
    }
    writing = false;
    slow = !prompt;
    unsynced = unsynced || written;
    pthread_cond_broadcast(&text_written);
    return true;
}

static timespec record_timespec(uint64_t us) {
    return {static_cast<time_t>(us / 1000000), static_cast<long>(us % 1000000 * 1000)};
}

/* The recorder's thread: puts on the disk what the kernel has, and hands over while the disk is slow. */
static void *record_thread(void * /*unused*/) {
    uint64_t next_sync = 0;
    int error = 0;
    if (!record_lock()) {
        return nullptr;
    }
    while (error == 0 || error == ETIMEDOUT) {
        error = 0;
        if (slow && used > 0 && !writing) {
            if (!record_flush()) {
                return nullptr;
            }
        } else if (!unsynced) {
            error = pthread_cond_wait(&work_came, &lock);
        } else if (now_us(CLOCK_MONOTONIC) < next_sync) {
            const timespec until = record_timespec(next_sync);
            error = pthread_cond_timedwait(&work_came, &lock, &until);
        } else {
            unsynced = false;
            record_unlock();
            if (fdatasync(file) != 0) {
                record_fail("cannot be put on the disk, recording ends", errno);
                return nullptr;
            }
            next_sync = now_us(CLOCK_MONOTONIC) + SYNC_US;
            if (!record_lock()) {
                return nullptr;
            }
        }
    }
    record_unlock();
    record_check("waiting", error);
    return nullptr;
}

/* Appends to the line at work. */
[[gnu::format(printf, 1, 0)]] static void line_add(const char *format, va_list values) {
    if (used_line > ROOM) {
        return;
    }
    const int len = vsnprintf(text + used_line, ROOM - used_line, format, values);
    const bool fits = len >= 0 && static_cast<uint32_t>(len) < ROOM - used_line;
    used_line = fits ? used_line + static_cast<uint32_t>(len) : ROOM + 1;
}

[[gnu::format(printf, 1, 2)]] static void line_print(const char *format, ...) {
    va_list values;
    va_start(values, format);
    line_add(format, values);
    va_end(values);
}

/* Takes ZEB_RECORD and ZEB_RECORD_LIMIT; returns false when there is nothing to record or that is not to be. */
static bool record_asked() {
    const char *name = getenv("ZEB_RECORD"); // NOLINT(concurrency-mt-unsafe): nobody sets it while the process runs
    const char *bytes = getenv("ZEB_RECORD_LIMIT"); // NOLINT(concurrency-mt-unsafe): as above
    if (name == nullptr || *name == '\0') {
        return false;
    }
    snprintf(path, sizeof(path), "%s", name);
    if (strlen(name) >= sizeof(path)) {
        record_fail("cannot be opened, nothing is recorded", ENAMETOOLONG);
        return false;
    }
    if (bytes != nullptr && *bytes != '\0') {
        char *end = nullptr;
        limit = strtoull(bytes, &end, 10);
        if (*bytes < '0' || *bytes > '9' || *end != '\0' || limit < FIRST_LINE_MAX + END_ROOM) {
            record_fail("ZEB_RECORD_LIMIT is not a number of bytes, or too small, nothing is recorded", 0);
            return false;
        }
    }
    return true;
}

static bool record_first_line() {
    utsname machine = {};
    tm utc = {};
    char start[sizeof("2026-11-23T01:02:03Z")] = "";
    const time_t now = time(nullptr);
    uname(&machine);
    if (gmtime_r(&now, &utc) != nullptr) {
        strftime(start, sizeof(start), "%Y-%m-%dT%H:%M:%SZ", &utc);
    }
    start_us = now_us(CLOCK_MONOTONIC);
    line_print("zeb-recording 1 start=%s machine=%s\n", start, machine.machine);
    recorded = used = used_line <= ROOM ? used_line : 0;
    return record_check("no first line, nothing is recorded", used == 0 ? EIO : 0);
}

static void record_off_in_child() {
    state = OFF;
}

/* Before the first line, while nobody else has a hand in. */
static void record_start() {
    if (!record_asked()) {
        state = OFF;
        return;
    }
    pthread_condattr_t monotonic;
    sigset_t all;
    sigset_t previous;
    pthread_t thread;
    sigfillset(&all);
    if (!record_open() || !record_first_line() ||
        !record_check("pthread_condattr_init", pthread_condattr_init(&monotonic)) ||
        !record_check("pthread_condattr_setclock", pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC)) ||
        !record_check("pthread_cond_init", pthread_cond_init(&work_came, &monotonic)) ||
        !record_check("pthread_cond_init", pthread_cond_init(&text_written, &monotonic)) ||
        !record_check("pthread_atfork", pthread_atfork(nullptr, nullptr, record_off_in_child)) ||
        !record_check("pthread_sigmask", pthread_sigmask(SIG_SETMASK, &all, &previous))) {
        return;
    }
    const int error = pthread_create(&thread, nullptr, record_thread, nullptr);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (record_check("no thread, nothing is recorded", error)) {
        pthread_detach(thread);
        int not_failed_yet = NOT_STARTED;
        state.compare_exchange_strong(not_failed_yet, RECORDING);
    }
}

/* Starts the recording at the first call. */
static bool record_on() {
    if (state == NOT_STARTED) {
        int cancel_state = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
        record_check("pthread_once", pthread_once(&once, record_start));
        pthread_setcancelstate(cancel_state, &cancel_state);
    }
    return state == RECORDING;
}

zeb_record_call zeb_record_before() {
    const int error = errno;
    const bool on = record_on();
    const uint64_t began = on ? record_time() : 0;
    errno = error;
    return {on, began, 0, error};
}

void zeb_record_after(zeb_record_call *call) {
    call->error = errno;
    call->took = call->on ? record_time() - call->began : 0;
}

bool zeb_record_begin(const zeb_record_call *call, const char *format, ...) {
    bool begun = call->on && record_lock();
    if (begun && state != RECORDING) {
        record_unlock();
        begun = false;
    }
    if (!begun) {
        errno = call->error;
        return false;
    }
    used_line = used;
    line_print("%" PRIu64 " ", call->began);
    va_list values;
    va_start(values, format);
    line_add(format, values);
    va_end(values);
    return true;
}

void zeb_record_bytes(const char *key, const void *bytes, uint32_t len) {
    static const char digits[] = "0123456789abcdef";
    if (bytes == nullptr || len > ZEB_RECORD_BYTES_MAX) {
        line_print(" %s=-", key);
        return;
    }
    const auto *byte = static_cast<const uint8_t *>(bytes);
    line_print(" %s=%" PRIu32 ":", key, len);
    while (len > 0 && byte[len - 1] == 0) {
        len--;
    }
    if (used_line > ROOM || 2 * len > ROOM - used_line) {
        used_line = ROOM + 1;
        return;
    }
    for (uint32_t i = 0; i < len; i++) {
        text[used_line++] = digits[byte[i] >> 4];
        text[used_line++] = digits[byte[i] & 15];
    }
}

void zeb_record_count(const char *key, const uint32_t *count) {
    if (count == nullptr) {
        line_print(" %s=-", key);
    } else {
        line_print(" %s=%" PRIu32, key, *count);
    }
}

/* Sees to it that the lines so far are with the kernel, or will be. Called with the lock, which is given up. */
static void record_hand_over() {
    const timespec until = record_timespec(now_us(CLOCK_MONOTONIC) + PROMPT_US);
    const bool synced = !unsynced;
    int error = 0;
    while (writing && !slow && error == 0) {
        error = pthread_cond_timedwait(&text_written, &lock, &until);
    }
    slow = slow || writing;
    if (slow || used == 0 || record_flush()) {
        error = slow || synced ? pthread_cond_signal(&work_came) : 0;
        record_unlock();
        record_check("pthread_cond_signal", error);
    }
}

void zeb_record_end(const zeb_record_call *call, zeb_record_line line) {
    if (line == ZEB_RECORD_CALL) {
        line_print(" took=%" PRIu64, call->took);
    }
    line_print("\n");
    const bool fits = used_line <= ROOM;
    const bool last = fits && recorded + used_line - used > limit - END_ROOM;
    if (last) {
        used_line = used;
        line_print("%" PRIu64 " end reason=limit\n", record_time());
    }
    if (used_line <= ROOM) {
        recorded += used_line - used;
        used = used_line;
    }
    if (last) {
        state = OFF;
    }
    int cancel_state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    record_hand_over();
    if (!fits) {
        record_fail("no room for a line, recording ends", 0);
    }
    pthread_setcancelstate(cancel_state, &cancel_state);
    errno = call->error;
}
