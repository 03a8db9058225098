/* Diagnostic logging library (libdiag): the declarations that its callers need. */
#ifndef DIAG_MSG_H
#define DIAG_MSG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The levels of log lines, as bits of level_mask in a diag_msg_desc. */
enum {
    DIAG_MSG_LEVEL_LOW = 1,
    DIAG_MSG_LEVEL_MED = 2,
    DIAG_MSG_LEVEL_INFO = 4,
    DIAG_MSG_LEVEL_ERROR = 8,
};

/* The constant part of one log statement. The caller keeps the record valid until the process ends. */
typedef struct {
    uint16_t line;       /* source line of the statement */
    uint16_t ss_id;      /* subsystem that logs */
    uint32_t level_mask; /* one of the levels above */
    const char *fmt;     /* printf format of the arguments that follow `desc` in msg_sprintf */
    const char *fname;   /* source file name */
} diag_msg_desc;

/* Logs one line: the arguments, formatted by desc->fmt. The arguments are copied before the call returns. May be called
 * from any thread. Reports no failure to its caller. */
void msg_sprintf(const diag_msg_desc *desc, ...);

#ifdef __cplusplus
}
#endif

#endif
