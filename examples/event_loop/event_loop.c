/* event_loop: prints the registration status and the RSRP of the serving cells when they change, until SIGTERM or
 * SIGINT ends the program. The program is a pattern for programs that have an event loop.
 *
 * An event loop must not block, but the operations of CPE DM block. cpe_dm_init blocks until there is a modem. The
 * other operations block until the modem has answered, up to 50 s for each request. So a second thread, the modem's
 * thread, calls the operations. For each indication the program keeps only the newest value, and an eventfd wakes the
 * loop when a new value has come. So there is no queue that could run full.
 *
 * Built by CMakeLists.txt, or: cc event_loop.c $(pkg-config --cflags --libs cpe_dm) -o event_loop */
#define _POSIX_C_SOURCE 200809L

#include "cpe_dm.h"
#include "cpe_dm_text.h"

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

enum {
    CHECK_MS = 1000,   /* pause between two checks of the modem; shorter than a restart, to notice every restart */
    FAREWELL_MS = 300, /* main waits at most this long for the modem's thread to end, which usually takes a few ms */
};

/* The indications that the program sets: every change of the registration status, and every change of the LTE RSRP or
 * the NR 5G RSRP by 3 dB or more. */
static const cpe_dm_info indications[] = {
    {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_REG_STATUS, CPE_DM_VALUE_NONE, {0}, 0},
    {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 3}, 0},
    {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_NR5G_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 3}, 0},
};
enum { INDICATION_CNT = sizeof(indications) / sizeof(indications[0]) };

static atomic_int newest[CPE_DM_IND_CNT]; /* the newest value of each indication; 0: no value has come yet */
static int newest_fd;                     /* eventfd: readable when a new value is in `newest` */
static int end_fd;                        /* eventfd: readable when the modem's thread is to end */
static int ended_fd;                      /* eventfd: readable when the modem's thread has ended */

static void tell(const char *what, int32_t status) {
    fprintf(stderr, "event_loop: %s: %s\n", what, cpe_dm_strerror(status));
}

static int checked(int result, const char *call) {
    if (result < 0) {
        perror(call);
        _exit(1);
    }
    return result;
}

static int is_readable(int fd, int timeout_ms) {
    struct pollfd entry = {.fd = fd, .events = POLLIN};
    return poll(&entry, 1, timeout_ms) > 0;
}

static void hand_over(uint32_t ind, int value) {
    newest[ind] = value;
    eventfd_write(newest_fd, 1);
}

/* The callback. Runs on a thread of CPE DM, must not call any operation, and should return quickly. The callback has to
 * release the record. Every record is an indication, since the program starts no scan. */
static void on_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data) {
    (void)hndl;
    (void)user_data;
    hand_over(info->id, (int)(info->id == CPE_DM_IND_REG_STATUS ? info->value.u32_val : info->value.i64_val));
    cpe_dm_release_info(info);
}

/* Sets the indications, and then asks for the registration status again and again. Returns the status of the first
 * operation that fails, or CPE_DM_SUCCESS when the program is to end. */
static int32_t watch(cpe_dm_hndl hndl) {
    int32_t status = CPE_DM_SUCCESS;
    for (size_t i = 0; i < INDICATION_CNT && status == CPE_DM_SUCCESS; i++) {
        status = cpe_dm_set_ind_info(hndl, &indications[i]);
    }
    // The registration status is also an indication, but events alone are not enough. No event reports the status at
    // the start, and no event reports that the modem has gone. A request does both: it returns the status, and fails
    // when the modem has gone. An answer may overwrite the value of a newer event; the next answer corrects the value.
    while (status == CPE_DM_SUCCESS) {
        cpe_dm_info info;
        cpe_dm_prepare_request(&info, CPE_DM_METRIC_REG_STATUS, NULL);
        status = cpe_dm_get_info(hndl, &info);
        if (status == CPE_DM_SUCCESS) {
            hand_over(CPE_DM_IND_REG_STATUS, (int)info.value.u32_val);
            if (is_readable(end_fd, CHECK_MS)) {
                break;
            }
        }
    }
    return status;
}

/* The body of the modem's thread. When an operation fails, the modem may have restarted and forgotten the indications.
 * So each failure ends the registration. The next registration waits for the modem and sets the indications again. */
static void *serve_modem(void *unused) {
    (void)unused;
    do {
        cpe_dm_hndl hndl = NULL;
        fputs("event_loop: waiting for the modem\n", stderr);
        const int32_t status = cpe_dm_init(&hndl, NULL, on_event);
        tell("registration", status);
        if (status == CPE_DM_SUCCESS) {
            tell("watch", watch(hndl));
            tell("deregistration", cpe_dm_deinit(hndl));       // if this fails, the next cpe_dm_init cleans up
            hand_over(CPE_DM_IND_REG_STATUS, CPE_DM_REG_NONE); // no more events will update the value
        }
    } while (!is_readable(end_fd, CHECK_MS));
    eventfd_write(ended_fd, 1);
    return NULL;
}

/* Prints the values that have changed since the last call. Runs on the loop's thread. */
static void show_changes(void) {
    static int shown[CPE_DM_IND_CNT];
    for (uint32_t ind = 1; ind < CPE_DM_IND_CNT; ind++) {
        const cpe_dm_metric_desc *metric = cpe_dm_metric_by_ind(ind);
        char count[CPE_DM_COUNT_TEXT_SIZE];
        const int value = newest[ind];
        if (value != shown[ind]) {
            const char *text = ind == CPE_DM_IND_REG_STATUS
                                   ? cpe_dm_reg_status_name((uint32_t)value)
                                   : cpe_dm_count_text(count, sizeof(count), value, metric->counts_per_unit);
            printf("%s %s%s%s\n", metric->key, text, metric->unit[0] != '\0' ? " " : "", metric->unit);
            shown[ind] = value;
        }
    }
    checked(fflush(stdout), "standard output");
}

static void add_to_loop(int loop_fd, int fd) {
    struct epoll_event event = {.events = EPOLLIN, .data.fd = fd};
    checked(epoll_ctl(loop_fd, EPOLL_CTL_ADD, fd, &event), "epoll_ctl");
}

int main(void) {
    // SIGTERM and SIGINT are blocked before another thread is created. All threads inherit the mask, so these signals
    // reach only signal_fd.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, NULL);
    const int signal_fd = checked(signalfd(-1, &signals, SFD_CLOEXEC), "signalfd");
    newest_fd = checked(eventfd(0, EFD_CLOEXEC), "eventfd");
    end_fd = checked(eventfd(0, EFD_CLOEXEC), "eventfd");
    ended_fd = checked(eventfd(0, EFD_CLOEXEC), "eventfd");
    const int loop_fd = checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1");
    add_to_loop(loop_fd, signal_fd);
    add_to_loop(loop_fd, newest_fd);
    pthread_t modem_thread;
    errno = pthread_create(&modem_thread, NULL, serve_modem, NULL);
    checked(-errno, "pthread_create");

    struct epoll_event ready = {.data.fd = -1};
    while (ready.data.fd != signal_fd) {
        if (epoll_wait(loop_fd, &ready, 1, -1) == 1 && ready.data.fd == newest_fd) {
            eventfd_t cnt;
            checked(eventfd_read(newest_fd, &cnt), "eventfd_read");
            show_changes();
        }
    }

    eventfd_write(end_fd, 1);
    if (!is_readable(ended_fd, FAREWELL_MS)) {
        _exit(0); // the modem's thread still waits for the modem, which may never answer
    }
    pthread_join(modem_thread, NULL);
    return 0;
}
