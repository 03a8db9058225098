#include "cpe_dm_tool_options.h"

#include "cpe_dm.h"
#include "cpe_dm_tool_out.h"

#include <cstring>

/* Describes the number that an option takes: the field that stores it, and the range from `least` to `most`. The field
 * and the range are in counts: a number on the command line is multiplied by counts_per_unit. */
struct number_range {
    int64_t cpe_dm_tool_options::*number; /* null: the option takes no number */
    uint32_t counts_per_unit;
    int32_t least;
    int32_t most;
};

static constexpr number_range no_number = {nullptr, 1, 0, 0};

/* The number_range of an option whose value is given in seconds on the command line. The field that stores the value,
 * and `least_ms`, are in milliseconds. The greatest value is a day. */
static constexpr number_range seconds(int64_t cpe_dm_tool_options::*number, int32_t least_ms) {
    return {number, 1000, least_ms, 86400000};
}

struct option_row {
    uint32_t bit;
    char letter; /* the short form: 'n' for -n; '\0': the option has no short form */
    char name[9];
    char argument[11]; /* the name of the option's value in the help; "": the option takes no value */
    number_range range;
    const char *help;
};

static const option_row option_rows[] = {
    {CPE_DM_TOOL_RAW, '\0', "raw", "", no_number, "print the values alone, without key and unit"},
    {CPE_DM_TOOL_INTERVAL, 'i', "interval", "SECONDS", seconds(&cpe_dm_tool_options::interval_ms, 100),
     "from one row to the next: 0.1 to 86400 (default 1)"},
    {CPE_DM_TOOL_ROWS,
     'n',
     "rows",
     "ROWS",
     {&cpe_dm_tool_options::rows, 1, 1, 1000000000},
     "end after so many rows (default: with SIGINT or SIGTERM)"},
    {CPE_DM_TOOL_OUTPUT, 'o', "output", "FILE", no_number, "write the rows into FILE, which must not exist"},
    {CPE_DM_TOOL_APPEND, '\0', "append", "", no_number, "with -o: FILE may exist, the rows are added to it"},
    {CPE_DM_TOOL_TEXTFILE, '\0', "textfile", "FILE", no_number, "keep the newest values in FILE, for Prometheus"},
    {CPE_DM_TOOL_LABEL, '\0', "label", "NAME=VALUE", no_number, "with --textfile: a label for each sample; repeatable"},
    {CPE_DM_TOOL_WITHIN, '\0', "within", "SECONDS", seconds(&cpe_dm_tool_options::within_ms, 0),
     "wait so long for the expressions to hold"},
    {CPE_DM_TOOL_FOR, '\0', "for", "SECONDS", seconds(&cpe_dm_tool_options::for_ms, 0),
     "the expressions have to hold for so long"},
    {CPE_DM_TOOL_JSON, '\0', "json", "", no_number, "print JSON, numbers in the units of `cpe_dm metrics`"},
    {CPE_DM_TOOL_TIMEOUT, '\0', "timeout", "SECONDS", seconds(&cpe_dm_tool_options::timeout_ms, 100),
     "for the modem to appear and to answer (default 60)"},
    {CPE_DM_TOOL_HELP, 'h', "help", "", no_number, "print this help"},
    {CPE_DM_TOOL_VERSION, '\0', "version", "", no_number, "print the version"},
};

static const uint32_t options_of_all = CPE_DM_TOOL_JSON | CPE_DM_TOOL_TIMEOUT | CPE_DM_TOOL_HELP | CPE_DM_TOOL_VERSION;

static void add_option_help(cpe_dm_tool_text *help, uint32_t options) {
    cpe_dm_tool_add(help, "\nOptions:\n");
    for (const option_row &row : option_rows) {
        if ((row.bit & options) != 0) {
            char form[40];
            cpe_dm_tool_text text = {form, sizeof(form), 0};
            if (row.letter != '\0') {
                cpe_dm_tool_add(&text, "-%c, --%s %s", row.letter, row.name, row.argument);
            } else {
                cpe_dm_tool_add(&text, "    --%s %s", row.name, row.argument);
            }
            cpe_dm_tool_add(help, "  %-24s  %s\n", form, row.help);
        }
    }
}

/* Prints the help of the command. When `command` is null, prints the help of the program. Returns an exit status. */
static int print_help(cpe_dm_tool_commands commands, const cpe_dm_tool_command *command) {
    char data[4096];
    cpe_dm_tool_text help = {data, sizeof(data), 0};
    if (command != nullptr) {
        cpe_dm_tool_add(&help, "Usage: cpe_dm %s [OPTION...] %s\n%s.\n%s", command->name, command->args,
                        command->summary, command->details);
        add_option_help(&help, command->options | options_of_all);
        return cpe_dm_tool_print(&help);
    }
    cpe_dm_tool_add(&help, "Usage: cpe_dm COMMAND [OPTION...] [ARGUMENT...]\n"
                           "Tells how the LTE/5G modem of this box is served, and how well.\n\nCommands:\n");
    for (size_t i = 0; i < commands.cnt; i++) {
        cpe_dm_tool_add(&help, "  %-24s  %s\n", commands.row[i].name, commands.row[i].summary);
    }
    add_option_help(&help, options_of_all);
    cpe_dm_tool_add(&help,
                    "\n`cpe_dm COMMAND --help` tells more of a command.\n\n"
                    "Exit status: 0 done, every expression holds; 1 an expression does not hold, a value is\n"
                    "impossible; 2 wrong usage; 3 a value that was asked for is not to be had; 4 the modem, the\n"
                    "module or the output failed, or the time ran out.\n");
    return cpe_dm_tool_print(&help);
}

static bool take_number(const option_row &row, const char *value, cpe_dm_tool_options *options) {
    const number_range &range = row.range;
    int64_t number = 0;
    if (cpe_dm_tool_parse_number(value, range.counts_per_unit, 63, &number) == CPE_DM_TOOL_PARSED &&
        number >= range.least && number <= range.most) {
        options->*range.number = number;
        return true;
    }
    char data[64];
    cpe_dm_tool_text limits = {data, sizeof(data), 0};
    if (range.counts_per_unit == 1) {
        cpe_dm_tool_add(&limits, "a whole number from %d to %d", static_cast<int>(range.least),
                        static_cast<int>(range.most));
    } else {
        cpe_dm_tool_add_short_seconds(&limits, range.least);
        cpe_dm_tool_add(&limits, " to ");
        cpe_dm_tool_add_short_seconds(&limits, range.most);
    }
    cpe_dm_tool_tell("--%s takes %s %s, not \"%s\"", row.name, data, row.argument, value);
    return false;
}

static bool take_value(const option_row &row, const char *value, cpe_dm_tool_options *options) {
    switch (row.bit) {
    case CPE_DM_TOOL_OUTPUT:
        options->output = value;
        return true;
    case CPE_DM_TOOL_TEXTFILE:
        options->textfile = value;
        return true;
    case CPE_DM_TOOL_LABEL:
        if (options->label_cnt == CPE_DM_TOOL_LABEL_MAX) {
            cpe_dm_tool_tell("there are more than %d labels", int{CPE_DM_TOOL_LABEL_MAX});
            return false;
        }
        options->labels[options->label_cnt++] = value;
        return true;
    default:
        return take_number(row, value, options);
    }
}

/* Returns the option that a word of the command line names, or null. If the word also holds the option's value, as
 * "--rows=5" and "-n5" do, *value points to the value. Otherwise *value is null. */
static const option_row *find_option(const char *word, const char **value) {
    *value = nullptr;
    for (const option_row &row : option_rows) {
        const size_t len = strlen(row.name);
        if (word[1] != '-') {
            if (row.letter == word[1]) {
                *value = word[2] != '\0' ? word + 2 : nullptr;
                return &row;
            }
        } else if (strncmp(word + 2, row.name, len) == 0 && (word[2 + len] == '\0' || word[2 + len] == '=')) {
            *value = word[2 + len] == '=' ? word + 3 + len : nullptr;
            return &row;
        }
    }
    return nullptr;
}

/* Stores the option at argv[*at] in `options`. When the option's value is the next word, increments *at. False: the
 * option is wrong; a message has been written. */
static bool take_option(char **argv, int *at, cpe_dm_tool_options *options) {
    const char *word = argv[*at];
    const char *value = nullptr;
    const option_row *row = find_option(word, &value);
    if (row == nullptr) {
        cpe_dm_tool_tell("there is no option %s; `cpe_dm --help` tells which there are", word);
        return false;
    }
    options->given |= row->bit;
    if (row->argument[0] == '\0') {
        if (value != nullptr) {
            cpe_dm_tool_tell("--%s takes no value: %s", row->name, word);
        }
        return value == nullptr;
    }
    if (value == nullptr) {
        value = argv[*at + 1];
        if (value == nullptr) {
            cpe_dm_tool_tell("%s takes a value: %s", word, row->argument);
            return false;
        }
        ++*at;
    }
    return take_value(*row, value, options);
}

static const cpe_dm_tool_command *find_command(cpe_dm_tool_commands commands, const char *name) {
    for (size_t i = 0; i < commands.cnt; i++) {
        if (strcmp(commands.row[i].name, name) == 0) {
            return commands.row + i;
        }
    }
    return nullptr;
}

/* Whether the command takes the given options and the given number of arguments. If not, a message has been written. */
static bool fits(const cpe_dm_tool_command *command, const cpe_dm_tool_options *options) {
    for (const option_row &row : option_rows) {
        if ((row.bit & options->given & ~(command->options | options_of_all)) != 0) {
            cpe_dm_tool_tell("%s takes no option --%s; `cpe_dm %s --help` tells which it takes", command->name,
                             row.name, command->name);
            return false;
        }
    }
    if (options->arg_cnt < command->arg_min) {
        cpe_dm_tool_tell("%s takes %s; `cpe_dm %s --help` tells more", command->name, command->args, command->name);
        return false;
    }
    if (command->arg_max >= 0 && options->arg_cnt > command->arg_max) {
        cpe_dm_tool_tell("%s does not take \"%s\"; `cpe_dm %s --help` tells what it takes", command->name,
                         options->args[command->arg_max], command->name);
        return false;
    }
    return true;
}

const cpe_dm_tool_command *cpe_dm_tool_parse_options(cpe_dm_tool_commands commands, int argc, char **argv,
                                                     cpe_dm_tool_options *options, int *status) {
    const char *name = nullptr;
    bool options_ended = false;
    *options = {};
    options->timeout_ms = 60000;
    options->interval_ms = 1000;
    options->args = argv + 1;
    *status = CPE_DM_TOOL_USAGE;
    for (int i = 1; i < argc; i++) {
        if (!options_ended && strcmp(argv[i], "--") == 0) {
            options_ended = true;
        } else if (!options_ended && argv[i][0] == '-' && argv[i][1] != '\0') {
            if (!take_option(argv, &i, options)) {
                return nullptr;
            }
        } else if (name == nullptr) {
            name = argv[i];
        } else {
            options->args[options->arg_cnt++] = argv[i];
        }
    }
    const cpe_dm_tool_command *command = name != nullptr ? find_command(commands, name) : nullptr;
    if (name != nullptr && command == nullptr) {
        cpe_dm_tool_tell("there is no command \"%s\"; `cpe_dm --help` lists them", name);
        return nullptr;
    }
    if ((options->given & CPE_DM_TOOL_HELP) != 0) {
        *status = print_help(commands, command);
        return nullptr;
    }
    if ((options->given & CPE_DM_TOOL_VERSION) != 0) {
        char data[] = "cpe_dm " CPE_DM_VERSION_STRING "\n";
        cpe_dm_tool_text version = {data, sizeof(data), sizeof(data) - 1};
        *status = cpe_dm_tool_print(&version);
        return nullptr;
    }
    if (command == nullptr) {
        cpe_dm_tool_tell("which command? `cpe_dm --help` lists them");
        return nullptr;
    }
    return fits(command, options) ? command : nullptr;
}
