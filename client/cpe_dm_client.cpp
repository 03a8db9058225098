#include "cpe_dm_client.h"

#include "cpe_dm_client_options.h"
#include "cpe_dm_client_util.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

static const char *const menu[] = {
    "01. CPE DM Register",
    "02. CPE DM Deregiser",
    "03. CPE DM Set Indication",
    "04. CPE DM Get Indication Count",
    "05. CPE DM Get Indication List",
    "06. CPE DM Clear Indication List",
    "07. CPE DM Get LTE/5G Metric Info",
    "08. CPE DM Get LTE/5G Metric List",
    "09. CPE DM Set LTE/5G Metric Info (Not Supported)",
    "10. CPE DM Options Usage",
};

/* The handler of SIGTERM. It calls only _exit, which is async-signal-safe. _exit loses no text, because standard output
 * is unbuffered. */
static void end_program(int /*signal*/) {
    _exit(0);
}

static void install_sigterm_handler() {
    struct sigaction action = {};
    action.sa_handler = end_program;
    sigaction(SIGTERM, &action, nullptr);
}

/* Opens the null device for each standard descriptor that the program was started without. Otherwise a file opened
 * later could get the number of standard output, and the client would print into that file. */
static void open_missing_descriptors() {
    int fd = -1;
    do {
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) {
        close(fd);
    }
}

static void print_menu() {
    cpe_dm_client_print("\n\nPlease select an option to test from the items listed below.\n\n");
    for (const char *text : menu) {
        cpe_dm_client_print("%-53s\n", text);
    }
    cpe_dm_client_print("Option > ");
}

/* Console input that was read but not used yet: block[next] to block[end - 1]. */
struct console_input {
    char block[4096];
    size_t next;
    size_t end;
};

/* Waits for input and reads the next block. Returns false at the end of the input and on a read error. After a signal
 * the wait goes on. The descriptor may be non-blocking, since another process that shares it may have set O_NONBLOCK;
 * the function then waits with poll. */
static bool read_block(console_input &input) {
    ssize_t len = 0;
    while ((len = read(STDIN_FILENO, input.block, sizeof(input.block))) < 0) {
        if (errno == EAGAIN) {
            pollfd readable = {STDIN_FILENO, POLLIN, 0};
            poll(&readable, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    input.next = 0;
    input.end = static_cast<size_t>(len);
    return len > 0;
}

/* The next character, or EOF. */
static int read_char(console_input &input) {
    if (input.next == input.end && !read_block(input)) {
        return EOF;
    }
    return static_cast<unsigned char>(input.block[input.next++]);
}

/* Reads one line, and drops its newline. If the buffer is full before the newline, the next call reads the remainder of
 * the line. Returns false when no input is left. Sets *ended to true if the end of the input was reached, and to
 * false otherwise. If the last line has no newline, the function returns true and sets *ended to true. Once *ended is
 * true, the caller must not call again: a terminal can give more input after an end of input. */
static bool read_console_line(console_input &input, char *line, size_t size, bool *ended) {
    size_t len = 0;
    int c = 0;
    while (len < size - 1 && (c = read_char(input)) != EOF && c != '\n') {
        line[len++] = static_cast<char>(c);
    }
    line[len] = '\0';
    *ended = c == EOF;
    return len > 0 || !*ended;
}

/* Parses one line and performs its option. If the parsing or the option fails, prints a message and returns false. A
 * line without numbers fails too, unless `empty_ok` is true. */
static bool run_line(char *line, bool empty_ok) {
    cpe_dm_client_values values = {};
    const bool parsed = cpe_dm_client_parse(line, &values) == 0;
    if (parsed && values.count == 0 && empty_ok) {
        return true;
    }
    if (!parsed || values.count == 0) {
        cpe_dm_client_print("CPE DEMO APP : Parsing the entered options failed - invalid options passed!!");
        return false;
    }
    if (cpe_dm_client_dispatch(&values) != 0) {
        cpe_dm_client_print("CPE DEMO APP : Processing diagnostic metric information failed!!");
        return false;
    }
    return true;
}

static void run_console() {
    console_input input = {};
    char line[300];
    bool ended = false;
    print_menu();
    while (!ended && read_console_line(input, line, sizeof(line), &ended)) {
        run_line(line, false);
        print_menu();
    }
}

/* Runs the lines of the file up to the first line that fails. Returns false when a line failed. */
static bool run_file(FILE *file) {
    for (;;) {
        char *text = nullptr;
        size_t size = 0;
        const ssize_t len = getline(&text, &size, file);
        const cpe_dm_client_owned<char[]> line(text);
        if (len <= 0) {
            return true;
        }
        cpe_dm_client_print("CPE DEMO APP : %s", text);
        if (text[len - 1] == '\n') {
            text[len - 1] = '\0';
        }
        if (!run_line(text, true)) {
            return false;
        }
    }
}

static void run_auto_test(const char *path) {
    FILE *file = fopen(path, "r");
    if (file == nullptr) {
        cpe_dm_client_print("CPE DEMO APP : Opening auto test configuration file failed.\n");
        return;
    }
    cpe_dm_client_print("CPE DEMO APP : Auto test configuration file enabled.\n");
    const bool complete = run_file(file);
    fclose(file);
    if (complete) {
        cpe_dm_client_print("CPE DEMO APP : Auto test configuration file successfully processed.\n");
    }
}

int cpe_dm_client_run(const char *auto_test_file) {
    install_sigterm_handler();
    open_missing_descriptors();
    setvbuf(stdout, nullptr, _IONBF, 0);
    cpe_dm_client_print("\n\n################### Diagnostic Monitor Client Application #########################\n\n");
    struct stat status = {};
    if (stat(auto_test_file, &status) == 0) {
        run_auto_test(auto_test_file);
    } else {
        run_console();
    }
    return 0;
}
