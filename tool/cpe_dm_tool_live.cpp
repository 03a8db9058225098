#include "cpe_dm_tool_live.h"

#include "cpe_dm_tool_print.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

enum {
    CHART_MAX = 8,     /* the greatest number of signals with a chart */
    HISTORY_MAX = 600, /* rows; at the shortest interval (0.1 s) they cover a minute */
    CHART_WIDTH_MAX = 60,
    NOTE_MAX = 6,
    NOTE_SIZE = 120,
    NO_VALUE = INT16_MIN,
};

static const int64_t minute_ms = 60000;

/* How long the program waits, at most, for a terminal that takes no output. The text that begins or ends the live view
 * costs two waits: one until older output has been sent, and one until this text has been sent. */
static const int64_t farewell_ms = 500;

/* `value_width` is the number of columns for the value, the unit and the verdict (such as "good"), which stand before
 * the chart. `range_width` is the number of columns for the range of the values, which stands after the chart. */
static const int value_width = 16;
static const int range_width = 18;

static const char blocks[][4] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};

static struct {
    cpe_dm_tool_sink *sink;
    cpe_dm_tool_keys keys;
    int64_t interval_ms;
    bool colours;
    bool entered;    /* the terminal shows the live view */
    bool known_mode; /* standard input is a terminal, and `mode` holds its mode from before the live view */
    termios mode;
    bool keys_ended; /* standard input has ended, and is not read any more */
    cpe_dm_tool_key charts[CHART_MAX];
    int chart_cnt;
    int name_width;      /* length of the longest name of a signal that has a chart */
    int64_t number;      /* the number of the newest row; -1: there is no row yet */
    int64_t history_cnt; /* the number of rows that a chart shows */
    int note_cnt;
    cpe_dm_tool_values values;
    char notes[NOTE_MAX][NOTE_SIZE];         /* the lines for events, oldest first */
    int16_t history[CHART_MAX][HISTORY_MAX]; /* in counts; in each chart, [n % history_cnt] is the value of row n */
} live;

/* The text for the screen that is being drawn. Lines that do not fit on the screen are left out, and lines that are too
 * long are cut. */
static char screen_data[16384];
static cpe_dm_tool_text screen = {screen_data, sizeof(screen_data), 0};
static int columns;
static int lines_left;

bool cpe_dm_tool_can_live() {
    const char *term = secure_getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && term != nullptr && strcmp(term, "dumb") != 0;
}

void cpe_dm_tool_start_live(cpe_dm_tool_sink *sink, const cpe_dm_tool_keys *keys, int64_t interval_ms) {
    live.sink = sink;
    live.keys = *keys;
    live.interval_ms = interval_ms;
    live.colours = secure_getenv("NO_COLOR") == nullptr;
    live.history_cnt = std::clamp<int64_t>(minute_ms / interval_ms, 1, HISTORY_MAX);
    live.number = -1;
    for (int i = 0; i < keys->cnt && live.chart_cnt < CHART_MAX; i++) {
        if (strncmp(cpe_dm_tool_unit(keys->key[i]), "dB", 2) == 0) {
            live.charts[live.chart_cnt++] = keys->key[i];
            live.name_width = std::max(live.name_width, static_cast<int>(strlen(cpe_dm_tool_short_name(keys->key[i]))));
        }
    }
    for (auto &history : live.history) {
        std::fill(std::begin(history), std::end(history), int16_t{NO_VALUE});
    }
}

/* Sends a short text to the terminal. Gives up after 2 * farewell_ms when the terminal takes no output. */
static void send_now(const char *text) {
    cpe_dm_tool_finish(live.sink, farewell_ms);
    cpe_dm_tool_send(live.sink, text, strlen(text));
    cpe_dm_tool_finish(live.sink, farewell_ms);
}

static void enter_terminal() {
    live.entered = true;
    live.known_mode = live.known_mode || tcgetattr(STDIN_FILENO, &live.mode) == 0;
    if (live.known_mode) {
        termios mode = live.mode;
        mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &mode);
    }
    send_now("\033[?1049h\033[?25l\033[2J"); // switch to the alternate screen, hide the cursor, clear the screen
}

void cpe_dm_tool_leave_terminal() {
    if (live.entered) {
        live.entered = false;
        send_now("\033[0m\033[?25h\033[?1049l");
        if (live.known_mode) {
            tcsetattr(STDIN_FILENO, TCSANOW, &live.mode);
        }
    }
}

void cpe_dm_tool_forget_terminal() {
    live.entered = false;
}

int cpe_dm_tool_keyboard() {
    return live.entered && live.known_mode && !live.keys_ended ? STDIN_FILENO : -1;
}

bool cpe_dm_tool_quit_pressed() {
    char typed[64];
    const ssize_t cnt = read(STDIN_FILENO, typed, sizeof(typed));
    live.keys_ended = cnt <= 0; // when the input has ended, poll() always reports it as readable
    bool quit = false;
    for (ssize_t i = 0; i < cnt; i++) {
        quit = quit || typed[i] == 'q' || typed[i] == 'Q';
    }
    return quit;
}

void cpe_dm_tool_note(const char *line) {
    if (live.note_cnt == NOTE_MAX) {
        memmove(live.notes[0], live.notes[1], sizeof(live.notes) - sizeof(live.notes[0]));
        live.note_cnt--;
    }
    cpe_dm_tool_text note = {live.notes[live.note_cnt++], NOTE_SIZE, 0};
    cpe_dm_tool_add(&note, "%s", line);
}

/* The element in the history of a chart where the value of the row `number` is stored. */
static int16_t *history_at(int chart, int64_t number) {
    return &live.history[chart][number % live.history_cnt];
}

void cpe_dm_tool_add_live_row(const cpe_dm_tool_values *values, int64_t number) {
    live.values = *values;
    for (int i = 0; i < live.chart_cnt; i++) {
        // Row numbers that were skipped leave a gap in the chart.
        for (int64_t skipped = std::max(live.number + 1, number - live.history_cnt); skipped < number; skipped++) {
            *history_at(i, skipped) = NO_VALUE;
        }
        int16_t *place = history_at(i, number);
        *place = NO_VALUE;
        if (cpe_dm_tool_value_status(values, live.charts[i]) == CPE_DM_SUCCESS) {
            const int64_t count = cpe_dm_tool_value_number(values, live.charts[i]);
            *place = static_cast<int16_t>(std::clamp<int64_t>(count, INT16_MIN + 1, INT16_MAX));
        }
    }
    live.number = number;
}

/* Adds a line to the screen, cut to the width of the screen. The line must be ASCII, so that a byte is a column. */
static void add_line(const char *line) {
    if (lines_left-- > 0) {
        cpe_dm_tool_add(&screen, "%.*s\033[K\r\n", columns, line);
    }
}

/* Returns the value that one column of a chart shows: the mean of `row_cnt` rows, beginning with row `first_row`.
 * Returns NO_VALUE when none of these rows has a value. */
static int column_value(int chart, int64_t first_row, int64_t row_cnt) {
    int64_t sum = 0;
    int cnt = 0;
    for (int64_t row = std::max<int64_t>(first_row, live.number - live.history_cnt + 1); row < first_row + row_cnt;
         row++) {
        if (row >= 0 && row <= live.number && *history_at(chart, row) != NO_VALUE) {
            sum += *history_at(chart, row);
            cnt++;
        }
    }
    return cnt > 0 ? static_cast<int>(sum / cnt) : int{NO_VALUE};
}

static const char *colour_of(const char *verdict) {
    return !live.colours     ? ""
           : *verdict == 'g' ? "\033[32m"
           : *verdict == 'f' ? "\033[33m"
           : *verdict == 'p' ? "\033[31m"
                             : "";
}

static void add_block(int value, int lowest, int span, cpe_dm_tool_key key, const char **colour) {
    if (value == NO_VALUE) {
        cpe_dm_tool_add(&screen, " ");
        return;
    }
    const char *wanted = colour_of(cpe_dm_tool_verdict(key, value));
    const int64_t level = (value - lowest) * std::ssize(blocks) / (int64_t{span} + 1);
    cpe_dm_tool_add(&screen, "%s%s", wanted != *colour ? wanted : "", blocks[level]);
    *colour = wanted;
}

/* Adds a chart of a signal's last minute. Adds the range of the values after the chart if `room`, the number of columns
 * that are left in the line, is large enough. */
static void add_chart(int chart, int room) {
    int values[CHART_WIDTH_MAX];
    const int counts_per_unit = static_cast<int>(cpe_dm_tool_counts_per_unit(live.charts[chart]));
    const int width = std::min(room, int{CHART_WIDTH_MAX});
    // The numbers below are 64-bit, like the row numbers, so that all divisions use one width of integer. On a
    // processor without a division instruction, each further width would link another library routine into the program.
    const int64_t rows_a_column = (live.history_cnt + width - 1) / width;
    const int64_t columns_a_row = std::max<int64_t>(width / live.history_cnt, 1);
    const int64_t column_cnt = (live.history_cnt + rows_a_column - 1) / rows_a_column;
    const int64_t newest = live.number / rows_a_column;
    int lowest = INT16_MAX;
    int highest = INT16_MIN;
    for (int64_t i = 0; i < column_cnt; i++) {
        values[i] = column_value(chart, (newest - column_cnt + 1 + i) * rows_a_column, rows_a_column);
        lowest = values[i] != NO_VALUE ? std::min(lowest, values[i]) : lowest;
        highest = std::max(highest, values[i]);
    }
    // The scale spans at least 8 units, so that small changes of a steady signal do not fill the height of the chart.
    const int span = std::max(highest - lowest, 8 * counts_per_unit);
    const int bottom = lowest - (span - (highest - lowest)) / 2;
    const char *colour = "";
    for (int64_t i = 0; i < column_cnt * columns_a_row; i++) {
        add_block(values[i / columns_a_row], bottom, span, live.charts[chart], &colour);
    }
    cpe_dm_tool_add(&screen, "%s", colour[0] != '\0' ? "\033[0m" : "");
    if (highest != INT16_MIN && room >= CHART_WIDTH_MAX + range_width) {
        char from[CPE_DM_COUNT_TEXT_SIZE];
        char to[CPE_DM_COUNT_TEXT_SIZE];
        cpe_dm_count_text(from, sizeof(from), lowest, cpe_dm_tool_counts_per_unit(live.charts[chart]));
        cpe_dm_count_text(to, sizeof(to), highest, cpe_dm_tool_counts_per_unit(live.charts[chart]));
        cpe_dm_tool_add(&screen, "  %s to %s", from, to);
    }
}

/* Adds the line of a signal: name, value, verdict and chart. What does not fit on the screen is cut or left out. */
static void add_chart_line(int chart) {
    const cpe_dm_tool_key key = live.charts[chart];
    const bool there = cpe_dm_tool_value_status(&live.values, key) == CPE_DM_SUCCESS;
    const char *verdict = there ? cpe_dm_tool_verdict(key, cpe_dm_tool_value_number(&live.values, key)) : "";
    const int room = columns - live.name_width - value_width;
    char data[CPE_DM_COUNT_TEXT_SIZE] = "-";
    char line[80];
    cpe_dm_tool_text value = {data, sizeof(data), 0};
    cpe_dm_tool_text text = {line, sizeof(line), 0};
    if (there) {
        cpe_dm_tool_add_value(&value, &live.values, key);
    }
    cpe_dm_tool_add(&text, "%-*s %5s %-3s ", live.name_width, cpe_dm_tool_short_name(key), data, cpe_dm_tool_unit(key));
    if (lines_left-- > 0) {
        cpe_dm_tool_add(&screen, "%.*s%s%.*s%s ", columns, line, colour_of(verdict), std::max(room + 5, 0), verdict,
                        live.colours ? "\033[0m" : "");
        if (room > 0) {
            add_chart(chart, room);
        }
        cpe_dm_tool_add(&screen, "\033[K\r\n");
    }
}

/* Adds a line that consists of *name, the label, and the text from the callback `add`. When `add` gives no text, adds
 * no line. When a line was added, *name becomes "", so that only the first line of a technology shows the name. */
static void add_words(const char **name, uint32_t tech, const char *label,
                      void (*add)(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech)) {
    char line[160];
    cpe_dm_tool_text text = {line, sizeof(line), 0};
    cpe_dm_tool_add(&text, "%-6s %s", *name, label);
    const size_t start = text.used;
    add(&text, &live.values, tech);
    if (text.used > start) {
        add_line(line);
        *name = "";
    }
}

/* Adds the part of the screen for one technology. */
static void add_tech(uint32_t tech) {
    const char *name = cpe_dm_tool_tech_name(tech);
    add_line("");
    add_words(&name, tech, "", cpe_dm_tool_add_cell_words);
    add_words(&name, tech, "channel ", cpe_dm_tool_add_channel_words);
    add_words(&name, tech, "network ", cpe_dm_tool_add_network_words);
    if (*name != '\0') {
        add_line(name);
    }
    for (int i = 0; i < live.keys.cnt; i++) {
        const cpe_dm_tool_key key = live.keys.key[i];
        if (cpe_dm_tool_tech_of(key) == tech && cpe_dm_tool_kind_of(key) == CPE_DM_TOOL_LIST &&
            cpe_dm_tool_value_status(&live.values, key) == CPE_DM_SUCCESS) {
            char line[160];
            cpe_dm_tool_text text = {line, sizeof(line), 0};
            cpe_dm_tool_add(&text, "%-*s ", live.name_width, cpe_dm_tool_short_name(key));
            cpe_dm_tool_add_value(&text, &live.values, key);
            add_line(line);
        }
    }
    for (int i = 0; i < live.chart_cnt; i++) {
        if (cpe_dm_tool_tech_of(live.charts[i]) == tech) {
            add_chart_line(i);
        }
    }
}

static void add_head() {
    char line[160];
    cpe_dm_tool_text text = {line, sizeof(line), 0};
    const cpe_dm_tool_slot &reg = live.values.slot[CPE_DM_METRIC_REG_STATUS];
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    cpe_dm_tool_add_time(&text, now);
    cpe_dm_tool_add(&text, "  every ");
    cpe_dm_tool_add_short_seconds(&text, live.interval_ms);
    cpe_dm_tool_add(&text, " s, q ends");
    add_line(line);
    text.used = 0;
    cpe_dm_tool_add(&text, "registration: %s",
                    reg.status == CPE_DM_SUCCESS ? cpe_dm_tool_reg_words(static_cast<uint32_t>(reg.number[0]))
                                                 : "the modem does not answer");
    add_line(line);
}

int cpe_dm_tool_draw() {
    winsize size = {};
    if (tcgetpgrp(STDOUT_FILENO) != getpgrp()) {
        return 0;
    }
    if (!live.entered) {
        enter_terminal();
    }
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
    columns = known ? size.ws_col : 80;
    lines_left = known ? size.ws_row - 1 : 23;
    screen.used = 0;
    cpe_dm_tool_add(&screen, "\033[H");
    add_head();
    for (const uint32_t tech : {uint32_t{CPE_DM_TECH_LTE}, uint32_t{CPE_DM_TECH_NR5G}}) {
        if (cpe_dm_tool_has_key_of(&live.keys, tech)) {
            add_tech(tech);
        }
    }
    add_line("");
    for (int i = 0; i < live.note_cnt; i++) {
        add_line(live.notes[i]);
    }
    cpe_dm_tool_add(&screen, "\033[J");
    return cpe_dm_tool_send(live.sink, screen.data, screen.used);
}
