/* The client's menu options. An input line is a list of numbers: the first number selects the option, and the further
 * numbers are its arguments. */
#ifndef CPE_DM_CLIENT_OPTIONS_H
#define CPE_DM_CLIENT_OPTIONS_H

#include <cstdint>

enum { CPE_DM_CLIENT_VALUE_MAX = 100 };

/* The numbers of an input line: the option, and then its arguments. */
struct cpe_dm_client_values {
    uint32_t count; /* number of valid entries in `value` */
    uint32_t value[CPE_DM_CLIENT_VALUE_MAX];
};

/* Parses a line, given without its newline, into signed decimal numbers that are separated by spaces. A number outside
 * the range of int32_t becomes the nearest limit of that range. A line whose first character is '#' is a comment and
 * has no numbers. Returns 0 on success. When a token is not a number, or when there are more than
 * CPE_DM_CLIENT_VALUE_MAX numbers, prints a message and returns 1. The call modifies `line`. */
int32_t cpe_dm_client_parse(char *line, cpe_dm_client_values *values);

/* Performs the option that the first value selects, and prints messages about the action and its result. Returns the
 * status of the module's operation when the operation fails, and 1 when `values` is empty. Otherwise returns 0. An
 * unknown option, wrong arguments and a failed allocation are reported by a message only, and also return 0. */
int32_t cpe_dm_client_dispatch(const cpe_dm_client_values *values);

#endif
