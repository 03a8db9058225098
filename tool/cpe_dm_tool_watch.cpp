#include "cpe_dm_tool_asker.h"
#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_live.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_prometheus.h"
#include "cpe_dm_tool_session.h"
#include "cpe_dm_tool_thread.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <iterator>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

/* When watch ends, it waits at most this long for the reader to take the last row. After that, watch waits at most this
 * long for the end of the thread that asks the modem. */
static const int64_t farewell_ms = 2000;

/* The keys that are watched when the command line names none: registration, cells and signals. */
static const cpe_dm_tool_key default_keys[] = {
    CPE_DM_TOOL_REG,       CPE_DM_TOOL_LTE_CGI,   CPE_DM_TOOL_LTE_PCI,   CPE_DM_TOOL_LTE_EARFCN, CPE_DM_TOOL_LTE_RSRP,
    CPE_DM_TOOL_LTE_RSRQ,  CPE_DM_TOOL_LTE_SINR,  CPE_DM_TOOL_NR5G_CGI,  CPE_DM_TOOL_NR5G_PCI,   CPE_DM_TOOL_NR5G_ARFCN,
    CPE_DM_TOOL_NR5G_RSRP, CPE_DM_TOOL_NR5G_RSRQ, CPE_DM_TOOL_NR5G_SINR,
};

/* The last known serving cell of a technology. Values that the modem is not asked for stay unknown. */
struct cell {
    cpe_dm_tool_key key[3];                       /* the keys that identify a cell */
    uint32_t cpe_dm_tool_change_counts::*changes; /* the counter for changes of this cell */
    int64_t number[3];                            /* -1: not known */
};

static struct {
    const cpe_dm_tool_options *options;
    cpe_dm_tool_keys keys; /* the keys whose values a row shows */
    uint64_t metrics;      /* the metrics that the modem is asked for, one bit each */
    bool rows;             /* rows are output: shown live if `live`, otherwise written */
    bool live;
    int bell;
    int signals;
    bool asking;      /* the modem is being asked */
    int64_t start_ms; /* when the first row was opened */
    int64_t number;   /* the number of intervals from the first row to the newest row */
    int64_t row_ms;   /* when the newest row was opened */
    bool row_open;    /* the newest row has not been written yet */
    cpe_dm_tool_moment moment;
    int64_t rows_written;
    uint32_t reg_status; /* the last known status; 0: none yet */
    int64_t reg_ms;      /* when reg_status was indicated, or asked for */
    cpe_dm_tool_change_counts changes;
    bool reader_gone;
    bool ended;
    int status; /* the exit status */
    cpe_dm_tool_sink sink;
} watch;

static cell lte_cell = {{CPE_DM_TOOL_LTE_CGI, CPE_DM_TOOL_LTE_PCI, CPE_DM_TOOL_LTE_EARFCN},
                        &cpe_dm_tool_change_counts::lte_cell,
                        {-1, -1, -1}};
static cell nr5g_cell = {{CPE_DM_TOOL_NR5G_CGI, CPE_DM_TOOL_NR5G_PCI, CPE_DM_TOOL_NR5G_ARFCN},
                         &cpe_dm_tool_change_counts::nr5g_cell,
                         {-1, -1, -1}};

/* These variables are static and not on the stack, because they are large. */
static cpe_dm_tool_report report;
static char row_data[8192];
static cpe_dm_tool_text row = {row_data, sizeof(row_data), 0};

/* Reports an event with the current time: on standard error, and in the live view if it is on. During the live view,
 * nothing is written to a standard error that is a terminal, because the line would spoil the view. */
__attribute__((format(printf, 1, 2))) static void tell(const char *format, ...) {
    char data[300];
    cpe_dm_tool_text line = {data, sizeof(data), 0};
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    cpe_dm_tool_add_time(&line, now);
    cpe_dm_tool_add(&line, " ");
    va_list args;
    va_start(args, format);
    cpe_dm_tool_add_args(&line, format, args);
    va_end(args);
    if (watch.live) {
        cpe_dm_tool_note(data);
    }
    if (!watch.live || isatty(STDERR_FILENO) == 0) {
        cpe_dm_tool_tell("%s", data);
    }
}

static void end_with(int status) {
    watch.ended = true;
    watch.status = cpe_dm_tool_worse(watch.status, status);
}

/* Ends watch if writing to the output called `name` failed. `error` is the errno value, or 0 for success. EPIPE means
 * that the reader of the output has gone: the program then ends by SIGPIPE after the clean-up. */
static void end_unwritten(const char *name, int error) {
    if (error == EPIPE) {
        watch.reader_gone = true;
        end_with(CPE_DM_TOOL_FAILED);
    } else if (error != 0) {
        cpe_dm_tool_tell_unwritten(name, error);
        end_with(CPE_DM_TOOL_FAILED);
    }
}

/* Takes a registration status from an indication, or from the answer to a request. `at_ms` is the time of the
 * indication or of the request. Answers and indications may overtake each other, so a status older than the last known
 * status is ignored. If an indication and a request have the same time, only the indication counts, because the answer
 * may be from before the change. */
static void note_registration(uint32_t reg_status, int64_t at_ms, bool indicated) {
    if (at_ms < watch.reg_ms || (at_ms == watch.reg_ms && !indicated)) {
        return;
    }
    watch.reg_ms = at_ms;
    if (watch.reg_status != 0 && watch.reg_status != reg_status) {
        watch.changes.registration++;
        tell("registration: %s, was %s", cpe_dm_reg_status_name(reg_status), cpe_dm_reg_status_name(watch.reg_status));
    }
    watch.reg_status = reg_status;
}

static bool is_asked_for(cpe_dm_tool_key key) {
    return (watch.metrics >> cpe_dm_tool_metric_of(key) & 1) != 0;
}

/* Compares the serving cell of the newest row with the last known cell, and reports a change. If the modem was asked
 * for one of the keys of the cell and did not answer, the row is ignored. */
static void note_cell(cell *last, uint32_t tech) {
    int64_t number[3] = {-1, -1, -1}; // -1: not reported
    bool changed = false;
    for (size_t i = 0; i < std::size(number); i++) {
        const cpe_dm_tool_slot &slot = report.values.slot[cpe_dm_tool_metric_of(last->key[i])];
        if (is_asked_for(last->key[i])) {
            if (slot.status == CPE_DM_SUCCESS) {
                number[i] = slot.number[0];
            } else if (slot.status != CPE_DM_ERR_INFO_UNAVAILABLE) {
                return;
            }
        }
        changed = changed || (number[i] != -1 && last->number[i] != -1 && number[i] != last->number[i]);
    }
    for (size_t i = 0; i < std::size(number); i++) {
        last->number[i] = number[i] != -1 || changed ? number[i] : last->number[i];
    }
    if (changed) {
        char data[160];
        cpe_dm_tool_text words = {data, sizeof(data), 0};
        cpe_dm_tool_add_cell_words(&words, &report.values, tech);
        if (number[2] != -1) {
            cpe_dm_tool_add(&words, "; channel ");
            cpe_dm_tool_add_channel_words(&words, &report.values, tech);
        }
        tell("%s cell: %s", cpe_dm_tool_tech_name(tech), data);
        watch.changes.*last->changes += 1;
    }
}

/* Takes the newest report of the thread that asks the modem, and tells the user what has changed. */
static void take_report() {
    const bool was_up = report.up;
    const uint32_t registrations = report.registrations_anew;
    cpe_dm_tool_take_report(&report);
    if (was_up && !report.up) {
        tell("the modem does not answer");
    }
    if (report.registrations_anew != registrations) {
        tell("the modem is back: registered anew");
    }
    for (int i = 0; i < report.event_cnt; i++) {
        note_registration(report.events[i].reg_status, report.events[i].at_ms, true);
    }
    watch.asking = watch.asking && !report.idle;
}

static void add_csv_row() {
    cpe_dm_tool_add_time(&row, watch.moment.time);
    cpe_dm_tool_add(&row, ",");
    cpe_dm_tool_add_seconds(&row, watch.moment.uptime_ms);
    for (int i = 0; i < watch.keys.cnt; i++) {
        cpe_dm_tool_add(&row, ",");
        if (cpe_dm_tool_value_status(&report.values, watch.keys.key[i]) == CPE_DM_SUCCESS) {
            cpe_dm_tool_add_value(&row, &report.values, watch.keys.key[i]);
        }
    }
}

static void send_row() {
    const uint32_t dropped = watch.sink.dropped;
    row.used = 0;
    if ((watch.options->given & CPE_DM_TOOL_JSON) != 0) {
        cpe_dm_tool_add_json_object(&row, &watch.moment, &report.values, &watch.keys, nullptr);
    } else {
        add_csv_row();
    }
    cpe_dm_tool_add(&row, "\n");
    end_unwritten(watch.sink.name, cpe_dm_tool_send(&watch.sink, row.data, row.used));
    if (watch.sink.dropped > dropped) {
        watch.rows_written--;
        if (dropped == 0) {
            tell("nobody reads the rows: they are dropped until somebody does");
        }
    }
}

/* Completes the open row: discards answers from before the row was opened, and writes or shows the row. */
static void finish_row() {
    for (cpe_dm_tool_slot &slot : report.values.slot) {
        slot.status = slot.answered_ms < watch.row_ms ? int32_t{CPE_DM_TOOL_NOT_ANSWERED} : slot.status;
    }
    const cpe_dm_tool_slot &reg = report.values.slot[CPE_DM_METRIC_REG_STATUS];
    if (reg.status == CPE_DM_SUCCESS) {
        note_registration(static_cast<uint32_t>(reg.number[0]), report.reg_asked_ms, false);
    }
    note_cell(&lte_cell, CPE_DM_TECH_LTE);
    note_cell(&nr5g_cell, CPE_DM_TECH_NR5G);
    watch.row_open = false;
    watch.rows_written++;
    if (watch.options->textfile != nullptr) {
        end_unwritten(watch.options->textfile,
                      cpe_dm_tool_write_prometheus(watch.options->textfile, watch.options->labels,
                                                   watch.options->label_cnt, &report, &watch.changes));
    }
    if (watch.live) {
        cpe_dm_tool_add_live_row(&report.values, watch.number);
        end_unwritten(watch.sink.name, cpe_dm_tool_draw());
    } else if (watch.rows) {
        send_row();
    }
    if (watch.options->rows != 0 && watch.rows_written >= watch.options->rows) {
        end_with(CPE_DM_TOOL_DONE);
    }
}

/* When the next row is due (monotonic clock, ms). If several rows are overdue, open_row opens only the last of them. */
static int64_t next_row_ms() {
    return watch.start_ms + (watch.number + 1) * watch.options->interval_ms;
}

static void open_row() {
    watch.row_ms = cpe_dm_tool_now_ms();
    watch.number = (watch.row_ms - watch.start_ms) / watch.options->interval_ms;
    watch.moment = cpe_dm_tool_now();
    watch.row_open = true;
    if (!watch.asking) {
        watch.asking = true;
        cpe_dm_tool_ask_row();
    }
}

/* Handles Ctrl-Z: restores the terminal, and then lets SIGTSTP stop the program. */
static void suspend() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTSTP);
    cpe_dm_tool_leave_terminal();
    raise(SIGTSTP);
    pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);
}

static void take_signal() {
    signalfd_siginfo info = {};
    if (read(watch.signals, &info, sizeof(info)) != sizeof(info)) {
        return;
    }
    switch (info.ssi_signo) {
    case SIGTSTP:
        suspend();
        break;
    case SIGCONT:
        cpe_dm_tool_forget_terminal();
        [[fallthrough]];
    case SIGWINCH:
        end_unwritten(watch.sink.name, cpe_dm_tool_draw());
        break;
    default:
        end_with(CPE_DM_TOOL_DONE);
        break;
    }
}

/* Creates the bell, and a descriptor from which signals are read. Signals that were ignored when the program started
 * stay ignored. Returns false when a descriptor cannot be created. */
static bool catch_signals() {
    static const int numbers[] = {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGTSTP, SIGCONT};
    sigset_t caught;
    sigset_t blocked;
    sigemptyset(&caught);
    for (const int number : numbers) {
        struct sigaction action = {};
        const bool of_terminal = number == SIGWINCH || number == SIGTSTP || number == SIGCONT;
        if ((watch.live || !of_terminal) && sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&caught, number);
        }
    }
    blocked = caught;
    if (watch.live) { // these signals would stop a background program that uses the terminal
        sigaddset(&blocked, SIGTTOU);
        sigaddset(&blocked, SIGTTIN);
    }
    signal(SIGPIPE, SIG_IGN);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    watch.bell = cpe_dm_tool_new_bell();
    watch.signals = signalfd(-1, &caught, SFD_CLOEXEC | SFD_NONBLOCK);
    return watch.bell >= 0 && watch.signals >= 0;
}

/* Waits until a descriptor is ready, but not beyond until_ms (monotonic clock, ms), and handles what has happened. */
static void take_events(int64_t until_ms) {
    pollfd fds[] = {
        {watch.signals, POLLIN, 0},
        {watch.bell, POLLIN, 0},
        {cpe_dm_tool_pending(&watch.sink) ? watch.sink.fd : -1, POLLOUT, 0},
        {watch.live ? cpe_dm_tool_keyboard() : -1, POLLIN, 0},
    };
    poll(fds, std::size(fds), cpe_dm_tool_ms_until(until_ms));
    if (fds[0].revents != 0) {
        take_signal();
    }
    if (fds[2].revents != 0) {
        end_unwritten(watch.sink.name, cpe_dm_tool_flush(&watch.sink));
    }
    if (fds[3].revents != 0 && cpe_dm_tool_quit_pressed()) {
        end_with(CPE_DM_TOOL_DONE);
    }
    if (cpe_dm_tool_wait(watch.bell, 0)) {
        take_report();
    }
}

/* Waits for the first registration. Returns false when the registration fails or takes too long, or when the program
 * has to end. */
static bool wait_for_registration() {
    const int64_t until_ms = cpe_dm_tool_now_ms() + watch.options->timeout_ms;
    bool told = false;
    while (!watch.ended && !report.registered) {
        const int64_t now_ms = cpe_dm_tool_now_ms();
        if (report.register_status != CPE_DM_SUCCESS) {
            cpe_dm_tool_tell_unregistered(report.register_status);
            end_with(CPE_DM_TOOL_FAILED);
        } else if (now_ms >= until_ms) {
            cpe_dm_tool_tell_absent();
            end_with(CPE_DM_TOOL_FAILED);
        } else {
            take_events(std::min(until_ms, now_ms + (told ? watch.options->timeout_ms : cpe_dm_tool_patience_ms)));
            if (!told && cpe_dm_tool_now_ms() >= now_ms + cpe_dm_tool_patience_ms) {
                told = true;
                cpe_dm_tool_tell_waiting(watch.options->timeout_ms);
            }
        }
    }
    return !watch.ended;
}

static void watch_rows() {
    watch.start_ms = cpe_dm_tool_now_ms();
    open_row();
    while (!watch.ended) {
        if (watch.row_open && (!watch.asking || cpe_dm_tool_now_ms() >= next_row_ms())) {
            take_report();
            finish_row();
        } else if (cpe_dm_tool_now_ms() >= next_row_ms()) {
            open_row();
        } else {
            take_events(next_row_ms());
        }
    }
}

/* Cleans up, and returns the exit status. */
static int end_watch() {
    if (watch.live) {
        cpe_dm_tool_leave_terminal();
    } else if (!watch.reader_gone) {
        end_unwritten(watch.sink.name, cpe_dm_tool_finish(&watch.sink, farewell_ms));
    }
    if (watch.sink.dropped > 0 && watch.rows && !watch.live) {
        cpe_dm_tool_tell("%u rows were dropped, as nobody read them", static_cast<unsigned>(watch.sink.dropped));
    }
    if (watch.options->textfile != nullptr) {
        unlink(watch.options->textfile); // the values in the file are out of date from now on
    }
    const bool stopped = cpe_dm_tool_stop_asker(watch.bell, farewell_ms);
    if (watch.reader_gone) {
        signal(SIGPIPE, SIG_DFL);
        raise(SIGPIPE);
    }
    // The thread that asks the modem may still be inside an operation of the module. An operation cannot be cancelled.
    if (!stopped) {
        _exit(watch.status);
    }
    return watch.status;
}

/* Opens the outputs, and writes what can be written without the modem: the heading of the rows, and the file of
 * --textfile, which has no values yet. Returns an exit status. */
static int open_output() {
    const cpe_dm_tool_options *options = watch.options;
    bool empty = true;
    row.used = 0;
    if (watch.rows && !watch.live && (options->given & CPE_DM_TOOL_JSON) == 0) {
        cpe_dm_tool_add(&row, "time,uptime");
        for (int i = 0; i < watch.keys.cnt; i++) {
            cpe_dm_tool_add(&row, ",%s", cpe_dm_tool_name(watch.keys.key[i]));
        }
        cpe_dm_tool_add(&row, "\n");
    }
    if (options->output != nullptr) {
        const int status = cpe_dm_tool_open_sink(&watch.sink, options->output,
                                                 (options->given & CPE_DM_TOOL_APPEND) != 0, row.data, &empty);
        if (status != CPE_DM_TOOL_DONE) {
            return status;
        }
    } else {
        cpe_dm_tool_use_stdout(&watch.sink);
    }
    if (empty) {
        end_unwritten(watch.sink.name, cpe_dm_tool_send(&watch.sink, row.data, row.used));
    }
    if (options->textfile != nullptr) {
        end_unwritten(options->textfile, cpe_dm_tool_write_prometheus(options->textfile, options->labels,
                                                                      options->label_cnt, &report, &watch.changes));
    }
    return watch.status;
}

/* Decides from the options which metrics the modem is asked for, and how the values are shown. When the options are
 * wrong, prints a message and returns false. */
static bool understand(const cpe_dm_tool_options *options) {
    const uint32_t given = options->given;
    cpe_dm_tool_keys exposed = {};
    watch.options = options;
    watch.rows = options->textfile == nullptr || (given & (CPE_DM_TOOL_OUTPUT | CPE_DM_TOOL_JSON)) != 0;
    watch.live = watch.rows && (given & (CPE_DM_TOOL_OUTPUT | CPE_DM_TOOL_JSON)) == 0 && cpe_dm_tool_can_live();
    if ((given & CPE_DM_TOOL_APPEND) != 0 && options->output == nullptr) {
        cpe_dm_tool_tell("--append goes with -o FILE");
        return false;
    }
    if (options->label_cnt > 0 && options->textfile == nullptr) {
        cpe_dm_tool_tell("--label goes with --textfile FILE");
        return false;
    }
    if (options->arg_cnt == 0 && options->interval_ms < 1000) {
        cpe_dm_tool_tell("below 1 s name the keys, since a row costs the modem two or three requests a key");
        return false;
    }
    if (!cpe_dm_tool_check_labels(options->labels, options->label_cnt) ||
        !cpe_dm_tool_add_words(&watch.keys, options->args, options->arg_cnt)) {
        return false;
    }
    if (options->arg_cnt == 0) {
        for (const cpe_dm_tool_key key : default_keys) {
            cpe_dm_tool_add_key(&watch.keys, key);
        }
        if (options->textfile != nullptr) {
            cpe_dm_tool_add_prometheus_keys(&exposed);
        }
    }
    watch.metrics = cpe_dm_tool_metrics_of(&watch.keys) | cpe_dm_tool_metrics_of(&exposed);
    return true;
}

int cpe_dm_tool_watch(const cpe_dm_tool_options *options) {
    cpe_dm_tool_clear_values(&report.values);
    if (!understand(options)) {
        return CPE_DM_TOOL_USAGE;
    }
    const int opened = open_output();
    if (opened != CPE_DM_TOOL_DONE) {
        return opened;
    }
    if (!catch_signals() || !cpe_dm_tool_start_asker(watch.metrics, watch.bell)) {
        return CPE_DM_TOOL_FAILED;
    }
    if (wait_for_registration()) {
        if (watch.live) {
            cpe_dm_tool_start_live(&watch.sink, &watch.keys, options->interval_ms);
        }
        watch_rows();
    } else if (options->output != nullptr && (options->given & CPE_DM_TOOL_APPEND) == 0) {
        unlink(options->output); // the file has no rows, and the next run without --append would refuse it
    }
    return end_watch();
}
