/* The recording: a text of one line an event, written to the file that ZEB_RECORD names.
 *
 * A line is handed to the kernel by the thread that has it, before the call returns or the callback runs: so nothing is
 * lost when the program ends by a signal right after. The kernel takes it into its cache, in microseconds, and a thread
 * of the recorder's own sees to it that it is on the disk half a second later. But a disk that is slow keeps a call
 * once at most: as soon as handing over has taken more than 100 ms, the recorder's thread does it, until the disk is
 * prompt again, and nobody waits for it or for whoever is still at it. What is in memory then is lost if the program
 * ends, and when more comes than there is room for, the recording ends.
 *
 * Whatever fails ends the recording with one line on standard error, and is not seen by the program otherwise: errno is
 * kept, no signal comes of it (SIGXFSZ, SIGPIPE), and standard error is not waited for. Every function may be called
 * from any thread. A forked child records nothing until it has called exec; then it finds the file taken. */
#ifndef ZEB_RECORD_FILE_H
#define ZEB_RECORD_FILE_H

#include <cstdint>

enum {
    ZEB_RECORD_BYTES_MAX = 65536, /* no message is longer; what claims to be is not read */
};

/* A call or a callback that is on its way. */
struct zeb_record_call {
    bool on;        /* it is to be recorded */
    uint64_t began; /* microseconds since the recording's start */
    uint64_t took;
    int error; /* errno as the call has left it */
};

/* To be called right before and right after the platform's function. The first call starts the recording if ZEB_RECORD
 * asks for one. */
zeb_record_call zeb_record_before();
void zeb_record_after(zeb_record_call *call);

/* Begins a line: the time, then the text. Returns false when nothing is recorded; otherwise zeb_record_bytes may
 * follow, zeb_record_end must, and until then every other line has to wait. */
[[gnu::format(printf, 2, 3)]] bool zeb_record_begin(const zeb_record_call *call, const char *format, ...);

/* Adds KEY=LENGTH:HEX; "-" in the place of the bytes for a null pointer and for more than ZEB_RECORD_BYTES_MAX bytes.
 */
void zeb_record_bytes(const char *key, const void *bytes, uint32_t len);

/* Adds KEY=NUMBER; "-" in the place of the number for a null pointer. */
void zeb_record_count(const char *key, const uint32_t *count);

/* Ends a line, of a call with how long it took, and hands it over. */
enum zeb_record_line { ZEB_RECORD_CALL, ZEB_RECORD_CALLBACK };
void zeb_record_end(const zeb_record_call *call, zeb_record_line line);

/* Prints one line on standard error, with the text of an errno value unless that is 0. */
void zeb_record_say(const char *subject, const char *reason, int error);

#endif
