/* The lines in memory, and their way to the kernel.
 *
 * A line is handed to the kernel by the thread that has it, before the call returns or the callback runs: so nothing is
 * lost when the program ends by a signal right after. The kernel takes it into its cache, in microseconds, and a thread
 * of the recorder's own sees to it that it is on the disk half a second later. Lines of several threads are handed over
 * together by one of them, while the others wait.
 *
 * A disk that is slow keeps a call once at most: when handing over takes more than 100 ms and the disk is to blame, the
 * recorder's thread does it from then on, until the disk is prompt again, and nobody waits for it or for whoever is
 * still at it. What is in memory then is lost if the program ends, and what comes when that is full is lost and
 * counted.
 *
 * A thread that has the processor taken away while it hands over is not a slow disk. Those that wait for it ask the
 * kernel: while it is ready to run, it will get on, and they give it a second. */
#ifndef ZEB_RECORD_QUEUE_H
#define ZEB_RECORD_QUEUE_H

#include <cstdint>

/* Before any other; by one thread. On failure the recording is off, which has been said. */
bool zeb_record_queue_start();

/* Where a line of at most len bytes may be written, which zeb_record_queue_add must follow; all other threads have to
 * wait until then. Null when nothing is recorded, or when there is no room, in which case the line counts as lost. */
char *zeb_record_queue_line(uint32_t len);

/* The line is written, and takes up so many bytes; or it could not be, and counts as lost. */
void zeb_record_queue_add(uint32_t len);
void zeb_record_queue_lose();

/* In a forked child. */
void zeb_record_queue_close();

#endif
