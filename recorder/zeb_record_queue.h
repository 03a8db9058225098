/* The lines in memory, and how they get to the kernel.
 *
 * A line describes a call or a callback. The thread of this call or callback hands the line to the kernel before the
 * call returns or the callback begins. So the line is not lost when a signal then ends the program. The kernel takes a
 * line into its cache within microseconds. The recorder has one thread of its own, which puts the line on the disk
 * within half a second. When several threads have lines, one of them hands all lines to the kernel, and the others wait
 * for this thread.
 *
 * When handing over lines takes more than 100 ms because of the disk, only the recorder's own thread hands over lines
 * from then on, until the disk is fast again. So a slow disk holds up only one call for longer than 100 ms. While the
 * disk is slow, other threads add their lines to the memory and go on. Only a thread that finds the memory full waits,
 * for 100 ms at most; if there is still no room, its line is lost and counted. If the program ends while the disk is
 * slow, the lines that are still in memory are lost.
 *
 * Handing over lines also takes long when the thread that does it has to wait for a processor, however fast the disk
 * is. So a thread that has waited 100 ms for another thread asks the kernel whether that other thread is only waiting
 * for a processor. If so, the disk does not count as slow, and the asking thread waits longer, for about a second at
 * most. */
#ifndef ZEB_RECORD_QUEUE_H
#define ZEB_RECORD_QUEUE_H

#include <cstdint>

/* To be called by one thread, before any other function of this header. On failure returns false: the recording is off,
 * and standard error says why. */
bool zeb_record_queue_start();

/* Returns a buffer for a line of at most `len` bytes, with the queue's lock held. The caller writes the line into the
 * buffer and then calls zeb_record_queue_add or zeb_record_queue_lose, which releases the lock. Returns null, without
 * the lock, when the recording is off, or when there is no room for the line. A line for which there is no room counts
 * as lost. */
char *zeb_record_queue_line(uint32_t len);

/* zeb_record_queue_add says that the caller has written its line into the buffer, and that the line has `len` bytes.
 * zeb_record_queue_lose says that the caller could not write its line, which then counts as lost. */
void zeb_record_queue_add(uint32_t len);
void zeb_record_queue_lose();

/* To be called in a child of fork: closes the recording's files. */
void zeb_record_queue_close();

#endif
