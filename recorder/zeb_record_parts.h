/* The recording on the disk: one file up to its limit, or two files in turn, of which the newer one has the recording's
 * name and the older one has ".1" behind it. Each of the two plays by itself.
 *
 * A process that ends at any moment leaves whole parts. The next part is made under a name of its own, ".next", and
 * gets the recording's name when its beginning is complete; between the two renames of a turn, the newest part is ".1"
 * and no file has the recording's name. */
#ifndef ZEB_RECORD_PARTS_H
#define ZEB_RECORD_PARTS_H

#include <cstdint>

/* Opens what the settings ask for, and writes the first line. On failure returns false: the recording is off, and
 * standard error says why. */
bool zeb_record_parts_start();

/* Hands whole lines to the kernel; one thread at a time may do so. A recording in one file ends at its limit, when the
 * disk is full, and when anything else fails; its last line says so. A recording in parts goes on when the disk is
 * full: the older part goes first, then the older lines, and then the lines that come while the disk is full, which are
 * counted and marked. */
void zeb_record_parts_write(const char *lines, uint32_t len);

/* zeb_record_parts_sync puts on the disk what the kernel has; it is for the recorder's thread alone.
 * zeb_record_parts_sync_now says whether that is urgent: a new part has begun, and the ended one takes up room until
 * the thread has closed it. */
void zeb_record_parts_sync();
bool zeb_record_parts_sync_now();

/* For a forked child, whose copies of the descriptors would keep the files in use. */
void zeb_record_parts_close();

#endif
