/* The lines in memory, and their way to the kernel.
 *
 * A line is handed to the kernel by the thread that has it, before the call returns or the callback runs: so nothing is
 * lost when the program ends by a signal right after. The kernel takes the line into its cache within microseconds, and
 * a thread of the recorder's own puts it on the disk within half a second. Lines of several threads are handed over
 * together by one of them, while the others wait.
 *
 * A slow disk keeps one call at most. When handing over takes more than 100 ms and the disk is to blame, the recorder's
 * thread alone hands over from then on, until the disk is prompt again. No other thread waits for it meanwhile, nor for
 * a thread that the disk still keeps. Lines that are in memory then are lost if the program ends; lines that come when
 * the memory is full are lost and counted.
 *
 * A thread that loses the processor while it hands over does not mean that the disk is slow. The threads that wait for
 * it ask the kernel for its state: while it is ready to run they go on waiting, for a second at most. */
#ifndef ZEB_RECORD_QUEUE_H
#define ZEB_RECORD_QUEUE_H

#include <cstdint>

/* Called before any other function, by one thread. On failure returns false: the recording is off, and standard error
 * says why. */
bool zeb_record_queue_start();

/* Returns where a line of at most `len` bytes may be written; zeb_record_queue_add or zeb_record_queue_lose must
 * follow, and until then all other threads have to wait. Null: nothing is recorded, or there is no room and the line
 * counts as lost. */
char *zeb_record_queue_line(uint32_t len);

/* The line is written and takes up `len` bytes; or it could not be written and counts as lost. */
void zeb_record_queue_add(uint32_t len);
void zeb_record_queue_lose();

/* For a forked child: closes the recording's files. */
void zeb_record_queue_close();

#endif
