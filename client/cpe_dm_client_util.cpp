#include "cpe_dm_client_util.h"

#include <cstdarg>
#include <cstdio>

void cpe_dm_client_print(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
