/* The recording on the disk: one file up to its limit, or two files in turn, of which the newer one has the recording's
 * name and the older one has ".1" behind it. Each of the two plays by itself.
 *
 * A process that ends at any moment leaves whole parts. The next part is made under a name of its own, ".next", and
 * gets the recording's name when its beginning is complete; between the two renames of a turn the newest part is ".1".
 */
#ifndef ZEB_RECORD_PARTS_H
#define ZEB_RECORD_PARTS_H

#include <cstdint>

/* Opens what the settings ask for, and writes the first line. On failure the recording is off, which has been said. */
bool zeb_record_parts_start();

/* Hands whole lines to the kernel; one thread at a time may do so. A recording in one file ends with its limit, with a
 * full disk and with whatever else goes wrong, and its last line says so. Of one in parts a full disk costs the older
 * part, then the older lines, and then what comes while the disk is full, which is counted and marked. */
void zeb_record_parts_write(const char *lines, uint32_t len);

/* For the recorder's thread alone: puts on the disk what the kernel has; and whether that is urgent, as a part has
 * ended, which takes up room for as long as it is open. */
void zeb_record_parts_sync();
bool zeb_record_parts_sync_now();

/* In a forked child: its copies of the descriptors would keep the files in use. */
void zeb_record_parts_close();

#endif
