/* The recording on the disk: either one file with a limit, or two files (parts) with the last lines of the recording.
 * The newer part has the recording's name. The older part has this name with ".1" behind it. When the newer part is
 * full, the older part is removed, the newer part takes its place, and a new part begins. Each part can be played
 * without the other.
 *
 * The process may be killed at any time: the parts on the disk can still be played. There is one exception. When the
 * disk is full, the recorder truncates a part, and then removes this part or writes its first lines anew. If the
 * process is killed in between, this part cannot be played. A new part is created under the recording's name with
 * ".next" behind it. When the first lines of the new part are complete, two files are renamed. First the current part
 * gets the name with ".1". Then the new part gets the recording's name. Between the two renames no file has the
 * recording's name. */
#ifndef ZEB_RECORD_PARTS_H
#define ZEB_RECORD_PARTS_H

#include <cstdint>

/* Opens the file that the settings ask for, and writes the first line. On failure returns false: the recording is off,
 * and standard error says why. */
bool zeb_record_parts_start();

/* Hands whole lines to the kernel. Only one thread at a time may call this function. A recording in one file ends at
 * its limit, when the disk is full, and at any other failure; its last line says why. A recording in parts goes on when
 * the disk is full: first the older part is removed. If this is not enough, the lines of the newer part are removed
 * too. If there is still no room, new lines are lost; they are counted, and a `lost` line states their number. */
void zeb_record_parts_write(const char *lines, uint32_t len);

/* zeb_record_parts_sync writes to the disk the lines that were handed to the kernel. Only the recorder's thread calls
 * this function. zeb_record_parts_sync_now returns whether a new part has begun since the last sync. In this case
 * the next call of zeb_record_parts_sync is urgent, because it closes the previous part too. If the previous part were
 * still open when it is removed later, its room on the disk would not become free. */
void zeb_record_parts_sync();
bool zeb_record_parts_sync_now();

/* Closes the files of the recording. To be called in a child of fork, because the child's copies of the descriptors
 * would keep the files in use. */
void zeb_record_parts_close();

#endif
