/* Whether the recorder records, the time in the recording, and the messages about failures. */
#ifndef ZEB_RECORD_STATE_H
#define ZEB_RECORD_STATE_H

#include <atomic>
#include <cstdint>
#include <ctime>

enum zeb_record_phase {
    ZEB_RECORD_NOT_STARTED, /* the program has not called the platform yet */
    ZEB_RECORD_ON,
    ZEB_RECORD_OFF,        /* no recording was asked for, or the recording has ended or failed */
    ZEB_RECORD_IN_CHILD,   /* a forked child of a recording process, before the child's first call of the platform */
    ZEB_RECORD_CHILD_TOLD, /* a forked child after its first call: standard error says that the child is not recorded */
};

extern std::atomic<int> zeb_record_phase;

/* zeb_record_clock returns the time of `clock` in microseconds. zeb_record_timespec converts a time in microseconds to
 * a timespec, which pthread functions take. */
uint64_t zeb_record_clock(clockid_t clock);
timespec zeb_record_timespec(uint64_t us);

/* zeb_record_time_start sets the start of the recording to now. zeb_record_time returns the microseconds since this
 * start. */
void zeb_record_time_start();
uint64_t zeb_record_time();

/* Prints one line on standard error. If the errno value `error` is not 0, the line has the text for this value. When
 * standard error cannot take the line at once, the line is dropped. A failed write does not raise SIGPIPE or SIGXFSZ in
 * the program. */
void zeb_record_say(const char *subject, const char *reason, int error);

/* Ends the recording because of a failure. Only the first failure is printed, with the path of the recording. */
void zeb_record_fail(const char *reason, int error);

/* `error` is the result of a pthread function. If `error` is not 0, ends the recording as zeb_record_fail does. Returns
 * whether `error` is 0. */
bool zeb_record_check(const char *primitive, int error);

#endif
