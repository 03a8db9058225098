/* The client's options: an option line is a list of numbers, and its first number selects the option. */
#ifndef CPE_DM_CLIENT_OPTIONS_H
#define CPE_DM_CLIENT_OPTIONS_H

#include <cstdint>

enum { CPE_DM_CLIENT_VALUE_MAX = 100 };

/* The numbers of an option line: the option and its arguments. */
struct cpe_dm_client_values {
    uint32_t count; /* valid entries of value */
    uint32_t value[CPE_DM_CLIENT_VALUE_MAX];
};

/* Parses a line without its line end into signed decimal numbers, which are separated by blanks and limited to 32 bits.
 * A line whose first character is '#' is a comment and has no numbers. Returns 0. When a token is not a number, or when
 * there are more than CPE_DM_CLIENT_VALUE_MAX numbers, prints a message and returns 1. The line is changed by the
 * call. */
int32_t cpe_dm_client_parse(char *line, cpe_dm_client_values *values);

/* Performs the option, and prints what is done and with which result. When an operation of the module fails, returns
 * the status of this operation. When there are no values, returns 1. Otherwise returns 0, also for an unknown option,
 * wrong arguments and a lack of memory, each of which prints a message. */
int32_t cpe_dm_client_dispatch(const cpe_dm_client_values *values);

#endif
