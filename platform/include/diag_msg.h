/* Diagnostic logging library (libdiag): the part that its users need. */
#ifndef DIAG_MSG_H
#define DIAG_MSG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Levels, one bit each in a descriptor's level mask. */
enum {
    DIAG_MSG_LEVEL_LOW = 1,
    DIAG_MSG_LEVEL_MED = 2,
    DIAG_MSG_LEVEL_INFO = 4,
    DIAG_MSG_LEVEL_ERROR = 8,
};

/* The constant part of one log statement. The caller keeps this record for the life of the process. */
typedef struct {
    uint16_t line;       /* source line of the statement */
    uint16_t ss_id;      /* subsystem that logs */
    uint32_t level_mask; /* one of the levels above */
    const char *fmt;     /* printf format of the arguments that follow the descriptor */
    const char *fname;   /* source file name */
} diag_msg_desc;

/* Logs one line: the arguments, formatted by desc->fmt. The arguments are copied before the call returns. May be called
 * from any thread. Reports no failure to its caller. */
void msg_sprintf(const diag_msg_desc *desc, ...);

#ifdef __cplusplus
}
#endif

#endif
