#include "cpe_dm_log.h"

#include <cstdarg>
#include <cstdio>

void cpe_dm_log_write(const diag_msg_desc *desc, const char *fmt, ...) {
    char text[CPE_DM_LOG_TEXT_SIZE];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    msg_sprintf(desc, text);
}
