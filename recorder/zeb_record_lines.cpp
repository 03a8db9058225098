#include "zeb_record_lines.h"

#include "zeb_record_queue.h"
#include "zeb_record_settings.h"
#include "zeb_record_state.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <pthread.h>
#include <unistd.h>

enum {
    WORDS_MAX = 256, /* the greatest length of a line, without the hexadecimal digits of its buffers */
};

static pthread_once_t once = PTHREAD_ONCE_INIT;

/* The handler for a child of fork: runs in a child of the process that records, and in the children of that child. */
static void record_stop_in_child() {
    const int phase = zeb_record_phase;
    if (phase == ZEB_RECORD_ON || phase == ZEB_RECORD_CHILD_TOLD) {
        zeb_record_phase = ZEB_RECORD_IN_CHILD;
    }
    zeb_record_queue_close();
}

/* Starts the recording, unless none is asked for. Runs once, at the first call of the platform. Other threads that call
 * the platform wait until this function has returned. */
static void record_start() {
    const zeb_record_settings *settings = zeb_record_settings_get();
    if (*settings->path == '\0') {
        zeb_record_phase = ZEB_RECORD_OFF;
        return;
    }
    zeb_record_time_start();
    if (zeb_record_check("pthread_atfork", pthread_atfork(nullptr, nullptr, record_stop_in_child)) &&
        zeb_record_queue_start()) {
        int not_failed_yet = ZEB_RECORD_NOT_STARTED;
        zeb_record_phase.compare_exchange_strong(not_failed_yet, ZEB_RECORD_ON);
    }
}

static void record_tell_child() {
    char reason[64];
    int untold = ZEB_RECORD_IN_CHILD;
    if (zeb_record_phase.compare_exchange_strong(untold, ZEB_RECORD_CHILD_TOLD)) {
        snprintf(reason, sizeof(reason), "process %d is a forked child and not recorded", static_cast<int>(getpid()));
        zeb_record_say(zeb_record_settings_get()->path, reason, 0);
    }
}

/* If a thread were cancelled while it holds a lock, all other threads would wait for the lock for ever. So cancellation
 * is disabled while a thread may hold a lock. The cancellation type is set to deferred as well. Otherwise, an
 * asynchronous cancellation that was requested just before the disabling could still take effect. */
static void cancel_hold(zeb_record_call *call) {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &call->cancel_state);
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &call->cancel_type);
}

static void cancel_restore(zeb_record_call *call) {
    pthread_setcancelstate(call->cancel_state, &call->cancel_state);
    pthread_setcanceltype(call->cancel_type, &call->cancel_type);
}

static bool record_on(zeb_record_call *call) {
    const int phase = zeb_record_phase;
    if (phase == ZEB_RECORD_NOT_STARTED || phase == ZEB_RECORD_IN_CHILD) {
        cancel_hold(call);
        if (phase == ZEB_RECORD_NOT_STARTED) {
            zeb_record_check("pthread_once", pthread_once(&once, record_start));
        } else {
            record_tell_child();
        }
        cancel_restore(call);
    }
    return zeb_record_phase == ZEB_RECORD_ON;
}

zeb_record_call zeb_record_before() {
    zeb_record_call call = {};
    call.error = errno;
    call.on = record_on(&call);
    call.began = call.on ? zeb_record_time() : 0;
    errno = call.error;
    return call;
}

void zeb_record_after(zeb_record_call *call) {
    call->error = errno;
    call->took = call->on ? zeb_record_time() - call->began : 0;
}

[[gnu::format(printf, 2, 0)]] static void line_add(zeb_record_call *call, const char *format, va_list values) {
    if (call->line == nullptr) {
        return;
    }
    const uint32_t room = call->room - call->len;
    const int len = vsnprintf(call->line + call->len, room, format, values);
    if (len >= 0 && static_cast<uint32_t>(len) < room) {
        call->len += static_cast<uint32_t>(len);
    } else {
        call->line = nullptr;
    }
}

[[gnu::format(printf, 2, 3)]] static void line_print(zeb_record_call *call, const char *format, ...) {
    va_list values;
    va_start(values, format);
    line_add(call, format, values);
    va_end(values);
}

bool zeb_record_begin(zeb_record_call *call, uint64_t bytes, const char *format, ...) {
    if (!call->on) {
        errno = call->error;
        return false;
    }
    cancel_hold(call);
    call->len = 0;
    call->room = WORDS_MAX + 2 * static_cast<uint32_t>(bytes);
    call->line = zeb_record_queue_line(call->room);
    if (call->line == nullptr) {
        cancel_restore(call);
        errno = call->error;
        return false;
    }
    line_print(call, "%" PRIu64 " ", call->began);
    va_list values;
    va_start(values, format);
    line_add(call, format, values);
    va_end(values);
    return true;
}

void zeb_record_bytes(zeb_record_call *call, const char *key, const void *bytes, uint32_t len, uint32_t shown) {
    static const char digits[] = "0123456789abcdef";
    if (bytes == nullptr || len > ZEB_RECORD_BYTES_MAX) {
        line_print(call, " %s=-", key);
        return;
    }
    const auto *byte = static_cast<const uint8_t *>(bytes);
    line_print(call, " %s=%" PRIu32 ":", key, len);
    len = std::min(len, shown);
    while (len > 0 && byte[len - 1] == 0) {
        len--;
    }
    if (call->line == nullptr || 2 * len > call->room - call->len) {
        call->line = nullptr;
        return;
    }
    for (uint32_t i = 0; i < len; i++) {
        call->line[call->len++] = digits[byte[i] >> 4];
        call->line[call->len++] = digits[byte[i] & 15];
    }
}

void zeb_record_count(zeb_record_call *call, const char *key, const uint32_t *count) {
    if (count == nullptr) {
        line_print(call, " %s=-", key);
    } else {
        line_print(call, " %s=%" PRIu32, key, *count);
    }
}

bool zeb_record_end(zeb_record_call *call) {
    line_print(call, "\n");
    const bool whole = call->line != nullptr;
    if (whole) {
        zeb_record_queue_add(call->len);
    } else {
        zeb_record_queue_lose();
    }
    cancel_restore(call);
    errno = call->error;
    return whole;
}

bool zeb_record_end_took(zeb_record_call *call) {
    line_print(call, " took=%" PRIu64, call->took);
    return zeb_record_end(call);
}
