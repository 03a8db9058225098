/* The client's options: a line is parsed into numbers, the first of which selects what is done with the others. */
#ifndef CPE_DM_CLIENT_OPTIONS_H
#define CPE_DM_CLIENT_OPTIONS_H

#include <cstdint>

enum { CPE_DM_CLIENT_VALUE_MAX = 100 };

/* The numbers of an option line: the option and its arguments. */
struct cpe_dm_client_values {
    uint32_t count; /* valid entries of value */
    uint32_t value[CPE_DM_CLIENT_VALUE_MAX];
};

/* Parses a line without its line end: signed decimal numbers separated by spaces, limited to 32 bits. A line whose
 * first character is '#' is a comment and has no numbers. Returns 0, or prints a message and returns 1 when a token is
 * not a number or there are more than CPE_DM_CLIENT_VALUE_MAX. The line is changed. */
int32_t cpe_dm_client_parse(char *line, cpe_dm_client_values *values);

/* Performs the option and prints what it does and its result. Returns the status of the module operation that failed, 1
 * when there are no values, otherwise 0: also for an unknown option, wrong arguments and a lack of memory, which print
 * their own messages. */
int32_t cpe_dm_client_dispatch(const cpe_dm_client_values *values);

#endif
