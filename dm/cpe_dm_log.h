/* The module's log. Each call logs one line: CPE_DM_LOG_ERROR for failures and invalid arguments, CPE_DM_LOG_INFO for
 * progress and decoded values. A line holds at most 511 characters; the rest is cut off. Callable from any thread. */
#ifndef CPE_DM_LOG_H
#define CPE_DM_LOG_H

#include "diag_msg.h"

enum {
    CPE_DM_LOG_SS_ID = 65,
    CPE_DM_LOG_TEXT_SIZE = 512,
};

void cpe_dm_log_write(const diag_msg_desc *desc, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/* The name of the current source file without its directories, computed at compile time. */
#ifdef __FILE_NAME__
#define CPE_DM_LOG_FILE __FILE_NAME__
#else
constexpr const char *cpe_dm_log_file(const char *path) {
    const char *name = path;
    for (const char *c = path; *c != '\0'; c++) {
        name = *c == '/' ? c + 1 : name;
    }
    return name;
}
#define CPE_DM_LOG_FILE cpe_dm_log_file(__FILE__)
#endif

#define CPE_DM_LOG(level, ...)                                                                                         \
    do {                                                                                                               \
        static constexpr diag_msg_desc cpe_dm_log_desc = {__LINE__, CPE_DM_LOG_SS_ID, level, "%s", CPE_DM_LOG_FILE};   \
        cpe_dm_log_write(&cpe_dm_log_desc, __VA_ARGS__);                                                               \
    } while (0)

#define CPE_DM_LOG_ERROR(...) CPE_DM_LOG(DIAG_MSG_LEVEL_ERROR, __VA_ARGS__)
#define CPE_DM_LOG_INFO(...)  CPE_DM_LOG(DIAG_MSG_LEVEL_INFO, __VA_ARGS__)

#endif
