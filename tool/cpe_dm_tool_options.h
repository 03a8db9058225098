/* Reads the command line, which names a command and its options, and prints the help. */
#ifndef CPE_DM_TOOL_OPTIONS_H
#define CPE_DM_TOOL_OPTIONS_H

#include <cstddef>
#include <cstdint>

/* The options of all commands, one bit each. Every command takes the first four. */
enum : uint32_t {
    CPE_DM_TOOL_JSON = 1U << 0,
    CPE_DM_TOOL_TIMEOUT = 1U << 1,
    CPE_DM_TOOL_HELP = 1U << 2,
    CPE_DM_TOOL_VERSION = 1U << 3,
    CPE_DM_TOOL_RAW = 1U << 4,
    CPE_DM_TOOL_INTERVAL = 1U << 5,
    CPE_DM_TOOL_ROWS = 1U << 6,
    CPE_DM_TOOL_OUTPUT = 1U << 7,
    CPE_DM_TOOL_APPEND = 1U << 8,
    CPE_DM_TOOL_TEXTFILE = 1U << 9,
    CPE_DM_TOOL_LABEL = 1U << 10,
    CPE_DM_TOOL_WITHIN = 1U << 11,
    CPE_DM_TOOL_FOR = 1U << 12,
};

enum {
    CPE_DM_TOOL_LABEL_MAX = 16,
};

/* The options and arguments from the command line. All strings point into argv. */
struct cpe_dm_tool_options {
    uint32_t given; /* one bit for each option that was given: CPE_DM_TOOL_JSON ... */
    int64_t timeout_ms;
    int64_t interval_ms;
    int64_t rows; /* end after this number of rows; 0: no limit */
    int64_t within_ms;
    int64_t for_ms;
    const char *output;
    const char *textfile;
    const char *labels[CPE_DM_TOOL_LABEL_MAX]; /* each is NAME=VALUE */
    int label_cnt;
    char **args; /* the arguments of the command, without options and their values */
    int arg_cnt;
};

struct cpe_dm_tool_command {
    char name[9];
    const char *args;    /* the arguments as the help names them: "[KEY...]" */
    int arg_min;         /* the least number of arguments */
    int arg_max;         /* the greatest number of arguments; -1: any number */
    uint32_t options;    /* the bits of the options that this command takes, without those that every command takes */
    const char *summary; /* one line of the help: what the command does */
    const char *details; /* more lines of the help, each with its line end; or "" */
    int (*run)(const cpe_dm_tool_options *options);
};

/* Refers to the table of commands, which is in cpe_dm_tool_main.cpp. */
struct cpe_dm_tool_commands {
    const cpe_dm_tool_command *row;
    size_t cnt;
};

/* Reads the command line, and returns the command to run. Moves the command's arguments, without the options, to the
 * beginning of `argv`, from argv[1] on. Returns null when there is no command to run, because help, the version or an
 * error message has been written; *status is then the exit status of the program. */
const cpe_dm_tool_command *cpe_dm_tool_parse_options(cpe_dm_tool_commands commands, int argc, char **argv,
                                                     cpe_dm_tool_options *options, int *status);

#endif
