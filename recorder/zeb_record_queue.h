/* The lines in memory, and their way to the kernel.
 *
 * The thread whose call or callback a line describes hands the line to the kernel, before the call returns or the
 * callback begins. So nothing is lost when a signal ends the program right after. The kernel takes a line into its
 * cache within microseconds. A thread of the recorder's own puts the line on the disk within half a second. When
 * several threads have lines, one of them hands over all lines, and the others wait.
 *
 * A slow disk delays one call at most. When handing over takes more than 100 ms because of the disk, only the
 * recorder's thread hands over lines from then on, until the disk is fast again. Meanwhile no other thread waits for
 * the recorder's thread, nor for a thread that the disk still delays. If the program ends during this time, the lines
 * that are still in memory are lost. A line that finds the memory full is lost and counted.
 *
 * Handing over also takes long when the thread that does it loses its processor. This says nothing of the disk. So a
 * waiting thread asks the kernel for the state of that thread. While that thread is ready to run, the waiting thread
 * goes on waiting, for about a second at most. */
#ifndef ZEB_RECORD_QUEUE_H
#define ZEB_RECORD_QUEUE_H

#include <cstdint>

/* To be called before any other function, by one thread. On failure returns false: the recording is off, and standard
 * error says why. */
bool zeb_record_queue_start();

/* Returns the place for a line of at most `len` bytes. zeb_record_queue_add or zeb_record_queue_lose must follow; until
 * then all other threads have to wait. Returns null when nothing is recorded, and when there is no room; in the second
 * case the line counts as lost. */
char *zeb_record_queue_line(uint32_t len);

/* End the writing of a line. The first: the line is written, and has `len` bytes. The second: the line could not be
 * written, and counts as lost. */
void zeb_record_queue_add(uint32_t len);
void zeb_record_queue_lose();

/* To be called in a child of fork: closes the recording's files. */
void zeb_record_queue_close();

#endif
