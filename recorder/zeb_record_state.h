/* Whether the recorder records, the time in the recording, and the messages about failures. */
#ifndef ZEB_RECORD_STATE_H
#define ZEB_RECORD_STATE_H

#include <atomic>
#include <cstdint>
#include <ctime>

enum zeb_record_phase {
    ZEB_RECORD_NOT_STARTED, /* no call of the platform yet */
    ZEB_RECORD_ON,
    ZEB_RECORD_OFF,        /* not asked for, ended, or failed */
    ZEB_RECORD_IN_CHILD,   /* a child of fork of a process that records, before the child's first call */
    ZEB_RECORD_CHILD_TOLD, /* the same child after its first call */
};

extern std::atomic<int> zeb_record_phase;

/* The first returns the time of a clock in microseconds. The second returns such a time in the form that pthread
 * functions take. */
uint64_t zeb_record_clock(clockid_t clock);
timespec zeb_record_timespec(uint64_t us);

/* The first starts the recording's clock; the second returns the time since that start, in microseconds. */
void zeb_record_time_start();
uint64_t zeb_record_time();

/* Prints one line on standard error, with the text of the errno value `error` unless it is 0. Does not wait when
 * standard error takes nothing, and raises no signal. */
void zeb_record_say(const char *subject, const char *reason, int error);

/* Ends the recording because of a failure. Only the first failure is printed, with the path of the recording. */
void zeb_record_fail(const char *reason, int error);

/* Ends the recording unless `error`, the result of a pthread function, is 0. Returns whether it is 0. */
bool zeb_record_check(const char *primitive, int error);

#endif
