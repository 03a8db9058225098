/* The command line: commands, their options, and the help that is made of the same tables. */
#ifndef CPE_DM_TOOL_OPTIONS_H
#define CPE_DM_TOOL_OPTIONS_H

#include <cstddef>
#include <cstdint>

/* The options, as bits. Every command takes the first four. */
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

/* What a command line asks for. All texts point into the command line. */
struct cpe_dm_tool_options {
    uint32_t given; /* the options that were given */
    int64_t timeout_ms;
    int64_t interval_ms;
    int64_t rows; /* 0: without end */
    int64_t within_ms;
    int64_t for_ms;
    const char *output;
    const char *textfile;
    const char *labels[CPE_DM_TOOL_LABEL_MAX]; /* NAME=VALUE */
    int label_cnt;
    char **args; /* the words behind the command that are no options */
    int arg_cnt;
};

struct cpe_dm_tool_command {
    char name[9];
    const char *args;    /* the form of the arguments, for the help */
    int arg_min;         /* the least number of arguments */
    int arg_max;         /* the greatest number of arguments; -1: any number */
    uint32_t options;    /* the options of this command, besides those of every command */
    const char *summary; /* one line */
    const char *details; /* more lines, or "" */
    int (*run)(const cpe_dm_tool_options *options);
};

/* The table of commands, which is in the main program. */
struct cpe_dm_tool_commands {
    const cpe_dm_tool_command *row;
    size_t cnt;
};

/* Reads the command line. Moves the command's arguments to the front of argv, directly after the program's name, where
 * they overwrite other words. Returns the command to run. Null: nothing is left to do; help, the version or a message
 * has been written, and *status is the program's exit status. */
const cpe_dm_tool_command *cpe_dm_tool_parse_options(cpe_dm_tool_commands commands, int argc, char **argv,
                                                     cpe_dm_tool_options *options, int *status);

#endif
