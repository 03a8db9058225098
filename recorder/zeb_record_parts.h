/* The recording on the disk: one file up to its limit, or two files in turn (parts). The newer part has the recording's
 * name. The older part has this name with ".1" behind it. Each part plays by itself.
 *
 * A process that ends at any moment leaves whole parts. A new part is made under a name of its own, with ".next" behind
 * it. When the beginning of the new part is complete, two renames follow: the recording's name becomes ".1", then
 * ".next" becomes the recording's name. Between the two renames no file has the recording's name. */
#ifndef ZEB_RECORD_PARTS_H
#define ZEB_RECORD_PARTS_H

#include <cstdint>

/* Opens the file that the settings ask for, and writes the first line. On failure returns false: the recording is off,
 * and standard error says why. */
bool zeb_record_parts_start();

/* Hands whole lines to the kernel. One thread at a time may call this function. A recording in one file ends at its
 * limit, when the disk is full, and at any other failure; its last line says why. A recording in parts goes on when the
 * disk is full: it gives up the older part first, and then the older lines of the newer part. If there is still no
 * room, new lines are lost; they are counted, and a `lost` line tells their number. */
void zeb_record_parts_write(const char *lines, uint32_t len);

/* zeb_record_parts_sync puts on the disk what the kernel has; only the recorder's thread calls it.
 * zeb_record_parts_sync_now returns true when this is urgent: a new part has begun, and the old part takes up room
 * until the recorder's thread has closed it. */
void zeb_record_parts_sync();
bool zeb_record_parts_sync_now();

/* To be called in a child of fork: the child's copies of the descriptors would keep the files in use. */
void zeb_record_parts_close();

#endif
