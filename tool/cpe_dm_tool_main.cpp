/* cpe_dm: shows what the modem of this box reports, for people and for scripts. */
#include "cpe_dm_tool_commands.h"

#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>

static const cpe_dm_tool_command commands[] = {
    {"status", "", 0, 0, 0, "who serves, and how well, on one screen",
     "What the modem does not report is left out. The limits of good, fair and poor are those of `cpe_dm metrics`.\n",
     cpe_dm_tool_status},
    {"get", "KEY...", 1, -1, CPE_DM_TOOL_RAW, "the values of these keys, one a line",
     "`lte`, `nr5g` and `all` stand for groups of keys, which leave out what is not reported.\n", cpe_dm_tool_get},
    {"scan", "[lte|nr5g|all]", 0, 1, 0, "scan for neighbouring cells, and list them",
     "The signal of LTE neighbours is reported of the strongest alone.\n", cpe_dm_tool_scan},
    {"watch", "[KEY...]", 0, -1,
     CPE_DM_TOOL_INTERVAL | CPE_DM_TOOL_ROWS | CPE_DM_TOOL_OUTPUT | CPE_DM_TOOL_APPEND | CPE_DM_TOOL_TEXTFILE |
         CPE_DM_TOOL_LABEL,
     "values over time: a live view on a terminal, CSV elsewhere",
     "Without keys: registration, cells and signals. In the live view, q ends it. With --textfile, rows are written\n"
     "only where -o or --json asks for them. The first registration has to succeed within --timeout; later the modem\n"
     "is waited for without limit.\n",
     cpe_dm_tool_watch},
    {"check", "EXPRESSION...", 1, -1, CPE_DM_TOOL_WITHIN | CPE_DM_TOOL_FOR, "whether all these expressions hold",
     "An expression is a key, one of = != < <= > >= and a value: 'lte.rsrp>=-110' 'reg=lte_nr5g' 'lte.plmn=123-45'.\n"
     "The form lte.rsrp:ge:-110 (eq, ne, lt, le, gt, ge) needs no quotes. With --within and --for the expressions "
     "have\n"
     "to begin to hold within the one, and then to hold for the other.\n",
     cpe_dm_tool_check},
    {"selftest", "", 0, 0, 0, "whether the values that the modem reports can be true",
     "For whoever has brought the module to another platform: a structure that lies differently shows here.\n",
     cpe_dm_tool_selftest},
    {"metrics", "", 0, 0, 0, "the keys, their units, and what they mean",
     "A signal value is good from the one limit on, fair from the other on, and poor below both.\n",
     cpe_dm_tool_metrics},
};

/* Opens /dev/null for each standard descriptor that is closed, so that no file opened later gets the number of a
 * standard descriptor. Opens /dev/null for reading only: if standard output was closed, writing the results then fails,
 * and the program reports the error. */
static void open_missing_descriptors() {
    int fd = -1;
    do {
        fd = open("/dev/null", O_RDONLY);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) {
        close(fd);
    }
}

int main(int argc, char **argv) {
    cpe_dm_tool_options options;
    int status = 0;
    open_missing_descriptors();
    signal(SIGPIPE, SIG_DFL); // SIGPIPE ends the program quietly, even when the parent ignored it
    const cpe_dm_tool_command *command =
        cpe_dm_tool_parse_options({commands, std::size(commands)}, argc, argv, &options, &status);
    return command != nullptr ? command->run(&options) : status;
}
