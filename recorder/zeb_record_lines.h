/* The recording's lines: when each call or callback began, how long it took, and the data that was passed.
 *
 * When the recorder fails, the program notices nothing but a line on standard error: errno stays as it was, no signal
 * is raised (SIGXFSZ, SIGPIPE), and the recorder does not wait if standard error cannot take the line. Every function
 * may be called from any thread, also from a thread that can be cancelled at any moment. A child of fork records
 * nothing, and says so on standard error when it first calls the platform. If the child starts another program with
 * exec, the recorder in that program finds that the recording's file is already in use or not empty, and records
 * nothing either. */
#ifndef ZEB_RECORD_LINES_H
#define ZEB_RECORD_LINES_H

#include <cstdint>

enum {
    ZEB_RECORD_BYTES_MAX = 65536, /* the size of the longest buffer that is recorded; no message is longer */
};

/* A call or a callback in progress, and the line about it. */
struct zeb_record_call {
    bool on;        /* the call or callback is to be recorded */
    uint64_t began; /* microseconds since the recording's start */
    uint64_t took;
    int error; /* errno as the call or callback has left it */
    int cancel_state;
    int cancel_type;
    char *line; /* the line that is being written; null when the line has become longer than `room` */
    uint32_t len;
    uint32_t room;
};

/* To be called right before and right after the platform's function or the program's callback. The first call of
 * zeb_record_before starts the recording if one is asked for. */
zeb_record_call zeb_record_before();
void zeb_record_after(zeb_record_call *call);

/* Begins a line with the time and the formatted text. The line has room for `bytes` bytes in hexadecimal. Returns false
 * when nothing is recorded, or when the line is lost. If it returns true, the caller may call zeb_record_bytes and
 * zeb_record_count, and must call zeb_record_end or zeb_record_end_took. No other thread can write a line until
 * then. */
[[gnu::format(printf, 3, 4)]] bool zeb_record_begin(zeb_record_call *call, uint64_t bytes, const char *format, ...);

/* Adds KEY=LENGTH:HEX. LENGTH is `len`; HEX is the first `shown` bytes, without the zero bytes at their end. Adds KEY=-
 * if `bytes` is null or `len` is above ZEB_RECORD_BYTES_MAX. */
void zeb_record_bytes(zeb_record_call *call, const char *key, const void *bytes, uint32_t len, uint32_t shown);

/* Adds KEY=NUMBER, or KEY=- if `count` is null. */
void zeb_record_count(zeb_record_call *call, const char *key, const uint32_t *count);

/* These two functions end a line. zeb_record_end_took first adds how long the call or callback took. The result is
 * false when the line is lost. */
bool zeb_record_end(zeb_record_call *call);
bool zeb_record_end_took(zeb_record_call *call);

#endif
