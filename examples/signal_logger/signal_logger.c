/* signal_logger: writes the signal of the serving cells as CSV, and tells what happens meanwhile.
 *
 * Usage: signal_logger [-i SECONDS] [-n ROWS] [FILE]
 *   -i SECONDS  from one row to the next, 0.1 to 86400; 1 when not given
 *   -n ROWS     ends after so many rows; when not given, with SIGINT or SIGTERM
 *   FILE        where the rows go; to standard output when not given
 *
 * A row has the time (UTC) and the RSRP, RSRQ and SINR of LTE and NR 5G; what the modem does not report is left empty.
 * Registration, indications and troubles go to standard error, a line each, so that the rows are nothing but CSV.
 *
 * Ends with status 0, also by a signal; 1: it could not register, write its rows or end properly; 2: wrong arguments.
 */
#define _POSIX_C_SOURCE 200809L

#include "cpe_dm.h"

#include <errno.h>
#include <inttypes.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

/* The values of a row, with the change after which the modem is to report each of them by itself. */
static const struct signal_value {
    uint32_t metric;
    uint32_t ind;
    int64_t threshold; /* in what the modem counts in */
    const char *column;
    const char *unit;
    int in_tenths; /* the modem counts in tenths of the unit */
} values[] = {
    {CPE_DM_METRIC_LTE_RSRP, CPE_DM_IND_LTE_RSRP, 5, "lte_rsrp_dbm", "dBm", 0},
    {CPE_DM_METRIC_LTE_RSRQ, CPE_DM_IND_LTE_RSRQ, 3, "lte_rsrq_db", "dB", 0},
    {CPE_DM_METRIC_LTE_SINR, CPE_DM_IND_LTE_SINR, 50, "lte_sinr_db", "dB", 1},
    {CPE_DM_METRIC_NR5G_RSRP, CPE_DM_IND_NR5G_RSRP, 5, "nr5g_rsrp_dbm", "dBm", 0},
    {CPE_DM_METRIC_NR5G_RSRQ, CPE_DM_IND_NR5G_RSRQ, 3, "nr5g_rsrq_db", "dB", 0},
    {CPE_DM_METRIC_NR5G_SINR, CPE_DM_IND_NR5G_SINR, 50, "nr5g_sinr_db", "dB", 1},
};
enum { VALUE_CNT = sizeof(values) / sizeof(values[0]) };

/* So many rows in a row without an answer make a modem that has gone; a single request may fail for other reasons. */
enum { MODEM_GONE_ROWS = 2 };

static cpe_dm_hndl hndl; /* null while there is no registration */

static int end_pipe[2];       /* a byte comes out when the program is to end */
static atomic_int connecting; /* inside cpe_dm_init, which may wait for the modem without limit */

/* Runs on whichever thread the signal meets. While the modem is waited for there is nothing to take down. */
static void on_end_signal(int number) {
    (void)number;
    const int saved_errno = errno;
    if (write(end_pipe[1], "", 1) < 0 || connecting) {
        _exit(0);
    }
    errno = saved_errno;
}

/* Whether the program is to end; waits so long for that. */
static int is_to_end(int64_t timeout_ms) {
    struct pollfd end = {.fd = end_pipe[0], .events = POLLIN};
    return poll(&end, 1, (int)timeout_ms) > 0;
}

static int catch_end_signals(void) {
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    action.sa_handler = on_end_signal;
    action.sa_flags = SA_RESTART;
    return pipe(end_pipe) == 0 && sigaction(SIGINT, &action, NULL) == 0 && sigaction(SIGTERM, &action, NULL) == 0;
}

static const char *time_text(char *text, size_t size) {
    struct timespec now;
    struct tm utc;
    clock_gettime(CLOCK_REALTIME, &now);
    gmtime_r(&now.tv_sec, &utc);
    const size_t used = strftime(text, size, "%Y-%m-%dT%H:%M:%S", &utc);
    snprintf(text + used, size - used, ".%03ldZ", now.tv_nsec / 1000000);
    return text;
}

static const char *value_text(char *text, size_t size, const struct signal_value *value, int64_t count) {
    if (value->in_tenths) {
        snprintf(text, size, "%.1f", (double)count / 10);
    } else {
        snprintf(text, size, "%" PRId64, count);
    }
    return text;
}

/* A line on standard error, from any thread. */
__attribute__((format(printf, 1, 2))) static void tell(const char *format, ...) {
    char time[32];
    char text[200];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    fprintf(stderr, "%s %s\n", time_text(time, sizeof(time)), text);
}

static void tell_registration(uint32_t status) {
    static const char *const texts[] = {
        [CPE_DM_REG_NONE] = "none",
        [CPE_DM_REG_POWER_SAVE] = "power save",
        [CPE_DM_REG_LIMITED] = "limited service",
        [CPE_DM_REG_LIMITED_REG] = "limited regional service",
        [CPE_DM_REG_LTE] = "LTE",
        [CPE_DM_REG_LTE_NR5G] = "LTE with NR 5G",
        [CPE_DM_REG_NR5G] = "NR 5G",
    };
    const int known = status >= CPE_DM_REG_NONE && status <= CPE_DM_REG_NR5G;
    tell("registration: %s", known ? texts[status] : "unknown");
}

static void tell_signal(uint32_t ind, int64_t count) {
    for (size_t i = 0; i < VALUE_CNT; i++) {
        if (values[i].ind == ind) {
            char text[32];
            tell("indication: %s %s %s", cpe_dm_ind_name(ind), value_text(text, sizeof(text), &values[i], count),
                 values[i].unit);
        }
    }
}

/* On the module's command thread: no operation of the module may be called here. The record is ours to release; no scan
 * is ever asked for, so it has no payload. */
static void on_event(cpe_dm_hndl from, cpe_dm_info *info, void *user_data) {
    (void)from;
    (void)user_data;
    if (info->info_type == CPE_DM_INFO_TYPE_IND && info->id == CPE_DM_IND_REG_STATUS) {
        tell_registration(info->value.u32_val);
    } else if (info->info_type == CPE_DM_INFO_TYPE_IND) {
        tell_signal(info->id, info->value.i64_val);
    }
    free(info);
}

static void set_indication(uint32_t ind, int64_t threshold) {
    cpe_dm_info info = {0};
    info.info_type = CPE_DM_INFO_TYPE_IND;
    info.id = ind;
    info.value_type = CPE_DM_VALUE_INT64;
    info.value.i64_val = threshold;
    const int32_t status = cpe_dm_set_ind_info(hndl, &info);
    if (status != CPE_DM_SUCCESS) {
        tell("the indication of %s cannot be set: %s", cpe_dm_ind_name(ind), cpe_dm_strerror(status));
    }
}

static int32_t get(uint32_t metric, cpe_dm_info *info) {
    memset(info, 0, sizeof(*info));
    info->info_type = CPE_DM_INFO_TYPE_REQUEST;
    info->id = metric;
    return cpe_dm_get_info(hndl, info);
}

/* Sets all indications, and tells where the modem is registered now: of that only later changes come. */
static void set_indications(void) {
    set_indication(CPE_DM_IND_REG_STATUS, 0);
    cpe_dm_info info;
    if (get(CPE_DM_METRIC_REG_STATUS, &info) == CPE_DM_SUCCESS) {
        tell_registration(info.value.u32_val);
    }
    for (size_t i = 0; i < VALUE_CNT; i++) {
        set_indication(values[i].ind, values[i].threshold);
    }
}

/* Registers, waiting for the modem when it is away, tells where it is registered now, and sets all indications. */
static int32_t connect_modem(void) {
    connecting = 1;
    if (is_to_end(0)) { // by a signal that came just before
        exit(0);
    }
    const int32_t status = cpe_dm_init(&hndl, NULL, on_event);
    connecting = 0;
    if (status != CPE_DM_SUCCESS) {
        hndl = NULL;
        tell("cannot register: %s", cpe_dm_strerror(status));
        return status;
    }
    set_indications();
    return CPE_DM_SUCCESS;
}

/* What a restart of the modem calls for: nothing of the old registration can be relied on. Should the old one not go
 * down properly, the new one cleans up after it; should the new one fail, the next rows come back here. */
static void reconnect_modem(void) {
    tell("the modem has gone, registering anew");
    cpe_dm_deinit(hndl);
    connect_modem();
}

static void write_header(FILE *csv) {
    fputs("time", csv);
    for (size_t i = 0; i < VALUE_CNT; i++) {
        fprintf(csv, ",%s", values[i].column);
    }
    fputc('\n', csv);
    fflush(csv);
}

/* Writes a row with what the modem reports; returns why it has no more than that. A value that is not reported is left
 * out alone (one of the technologies is not there); without service, or without an answer, so is all that follows. */
static int32_t write_row(FILE *csv) {
    char text[32];
    int32_t row_status = CPE_DM_SUCCESS;
    fputs(time_text(text, sizeof(text)), csv);
    for (size_t i = 0; i < VALUE_CNT; i++) {
        cpe_dm_info info;
        fputc(',', csv);
        if (row_status != CPE_DM_SUCCESS) {
            continue;
        }
        const int32_t status = get(values[i].metric, &info);
        if (status == CPE_DM_SUCCESS) {
            fputs(value_text(text, sizeof(text), &values[i], info.value.i64_val), csv);
        } else if (status != CPE_DM_ERR_INFO_UNAVAILABLE) {
            row_status = status;
        }
    }
    fputc('\n', csv);
    fflush(csv);
    return row_status;
}

static int64_t now_ms(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (int64_t)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

/* Waits until then; false when the program is to end. */
static int wait_until(int64_t then_ms) {
    int64_t left_ms;
    while ((left_ms = then_ms - now_ms()) > 0) {
        if (is_to_end(left_ms)) {
            return 0;
        }
    }
    return !is_to_end(0);
}

/* Writes rows until there are enough of them or the program is to end. False when they cannot be written. */
static int log_rows(FILE *csv, int64_t interval_ms, long rows) {
    int32_t last_status = CPE_DM_SUCCESS;
    int failures = 0;
    int64_t next_ms = now_ms();
    for (long row = 1;; row++) {
        const int32_t status = write_row(csv);
        if (ferror(csv)) {
            tell("the rows cannot be written");
            return 0;
        }
        if (status != last_status) {
            tell("values: %s", status == CPE_DM_SUCCESS ? "there again" : cpe_dm_strerror(status));
        }
        last_status = status;
        const int answered = status == CPE_DM_SUCCESS || status == CPE_DM_ERR_SERVICE_UNAVAILABLE;
        // A modem that has restarted meanwhile may not know of them any more.
        if (answered && failures > 0) {
            set_indications();
        }
        failures = answered ? 0 : failures + 1;
        if (rows > 0 && row >= rows) {
            return 1;
        }
        if (failures == MODEM_GONE_ROWS) {
            reconnect_modem();
            failures = 0;
        }
        // A row that took too long is not made up for.
        do {
            next_ms += interval_ms;
        } while (next_ms < now_ms());
        if (!wait_until(next_ms)) {
            return 1;
        }
    }
}

/* False when the text is not a number in this range. */
static int parse_number(const char *text, double lowest, double highest, double *number) {
    char *rest = NULL;
    *number = strtod(text, &rest);
    return rest != text && *rest == '\0' && *number >= lowest && *number <= highest;
}

static int usage(void) {
    fputs("usage: signal_logger [-i SECONDS] [-n ROWS] [FILE]\n", stderr);
    return 2;
}

int main(int argc, char **argv) {
    double interval_s = 1;
    double rows = 0;
    int option;
    while ((option = getopt(argc, argv, "i:n:")) != -1) {
        if ((option != 'i' || !parse_number(optarg, 0.1, 86400, &interval_s)) &&
            (option != 'n' || !parse_number(optarg, 1, 1e9, &rows))) {
            return usage();
        }
    }
    if (argc - optind > 1) {
        return usage();
    }
    FILE *csv = optind < argc ? fopen(argv[optind], "w") : stdout;
    if (csv == NULL || !catch_end_signals()) {
        perror(csv == NULL ? argv[optind] : "signal_logger");
        return 1;
    }
    write_header(csv);
    if (connect_modem() != CPE_DM_SUCCESS) {
        return 1;
    }
    int good = log_rows(csv, (int64_t)(interval_s * 1000), (long)rows);
    const int32_t status = hndl == NULL ? CPE_DM_SUCCESS : cpe_dm_deinit(hndl);
    if (status != CPE_DM_SUCCESS) {
        tell("cannot deregister: %s", cpe_dm_strerror(status));
        good = 0;
    }
    return fclose(csv) == 0 && good ? 0 : 1;
}
