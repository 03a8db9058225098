#include "zeb_record_parts.h"

#include "zeb_record_file.h"
#include "zeb_record_kept.h"
#include "zeb_record_settings.h"
#include "zeb_record_state.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

enum {
    WORD_MAX = 49, /* bytes of a word in the first line, with the terminating zero */
    MARK_MAX = 64, /* bytes of a `lost` line, a `before` line, or the part's number in the first line */
    NAME_MAX_ALL = ZEB_RECORD_PATH_MAX + 8,
};

/* `file` is the part that is being written. `before` is the part before it, whose descriptor is closed. */
static zeb_record_file file = {-1, 0, 0};
static zeb_record_file before = {-1, 0, 0};
static const char *path;
static char path_before[NAME_MAX_ALL];
static char path_next[NAME_MAX_ALL];
static uint64_t keep;

static char first_words[ZEB_RECORD_FIRST_LINE_MAX];
static char beginning[size_t{ZEB_RECORD_FIRST_LINE_MAX} + MARK_MAX + ZEB_RECORD_KEPT_MAX];
static uint32_t part;
static uint64_t part_max;     /* the size in bytes that the part may have */
static uint64_t last_line;    /* offset of the file's last line */
static bool has_beginning;    /* whether the part's first lines could be written */
static bool has_lines;        /* the part has more lines than those that part_begin writes */
static uint64_t lines_before; /* number of lines of the recording so far, including lost lines */
static uint64_t lost;         /* number of lines lost since a line was last written */
static bool lost_said;

/* The recorder's thread syncs a file through a descriptor that no other thread uses. So no other thread closes the
 * descriptor meanwhile. */
static std::atomic<int> to_sync{-1}; /* a descriptor of the newest part, for the recorder's thread to take; -1: none */
static zeb_record_file synced = {-1, 0, 0};

static bool disk_is_full(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

/* Copies `text` to `word`, a word of the first line. Blanks and characters that are not printable become underscores.
 * An empty text becomes "-". */
static void first_word(char *word, const char *text) {
    snprintf(word, WORD_MAX, "%s", *text != '\0' ? text : "-");
    for (char *c = word; *c != '\0'; c++) {
        *c = *c > ' ' && *c <= '~' ? *c : '_';
    }
}

static void first_words_print() {
    utsname machine = {};
    tm utc = {};
    char start[sizeof("2026-11-23T01:02:03.123Z")] = "-";
    char words[2][WORD_MAX];
    const uint64_t now = zeb_record_clock(CLOCK_REALTIME);
    const auto seconds = static_cast<time_t>(now / 1000000);
    if (gmtime_r(&seconds, &utc) != nullptr) {
        const size_t len = strftime(start, sizeof(start), "%Y-%m-%dT%H:%M:%S", &utc);
        snprintf(start + len, sizeof(start) - len, ".%03uZ", static_cast<unsigned>(now / 1000 % 1000));
    }
    uname(&machine);
    first_word(words[0], machine.machine);
    first_word(words[1], program_invocation_short_name);
    snprintf(first_words, sizeof(first_words), "zeb-recording 2 start=%s machine=%s program=%s recorder=%s", start,
             words[0], words[1], ZEB_RECORD_VERSION);
}

/* Returns the total length of the whole lines at the start of the text that fit into `max` bytes. */
static uint32_t lines_within(const char *text, uint32_t len, uint64_t max) {
    if (len <= max) {
        return len;
    }
    const auto *end = static_cast<const char *>(memrchr(text, '\n', static_cast<size_t>(max)));
    return end != nullptr ? static_cast<uint32_t>(end + 1 - text) : 0;
}

static uint32_t line_length(const char *text, uint32_t len) {
    const auto *end = static_cast<const char *>(memchr(text, '\n', len));
    return end != nullptr ? static_cast<uint32_t>(end + 1 - text) : len;
}

/* Returns the time at which the call or callback in this line ended. A line without `took` has only the time at which
 * it began. */
static uint64_t line_time(const char *line, uint32_t len) {
    static const char key[] = " took=";
    const uint64_t began = strtoull(line, nullptr, 10);
    const auto *word = static_cast<const char *>(memrchr(line, ' ', len));
    const bool took = word != nullptr && line + len - word > 6 && memcmp(word, key, sizeof(key) - 1) == 0;
    return began + (took ? strtoull(word + sizeof(key) - 1, nullptr, 10) : 0);
}

/* Counts the lines of the text. A `lost` line counts as the number of lost lines that it states, and any other line
 * counts as one line. */
static uint64_t count_lines(const char *text, uint32_t len) {
    static const char mark[] = " lost lines=";
    uint64_t lines = 0;
    for (uint32_t line; len > 0; text += line, len -= line) {
        line = line_length(text, len);
        const auto *word = static_cast<const char *>(memchr(text, ' ', line));
        const bool is_mark = word != nullptr && static_cast<size_t>(text + line - word) > sizeof(mark) &&
                             memcmp(word, mark, sizeof(mark) - 1) == 0;
        lines += is_mark ? strtoull(word + sizeof(mark) - 1, nullptr, 10) : 1;
    }
    return lines;
}

/* Adds whole lines to the file, whose size is `size`. If a write error leaves an incomplete line at the end of the
 * file, removes this line. Returns 0 or an errno value. Stores in *added how many bytes of the text are in the file. */
static int file_add(uint64_t size, const char *text, uint32_t len, uint32_t *added) {
    int error = zeb_record_file_add(&file, text, len, added);
    if (error != 0) {
        const uint32_t whole = lines_within(text, len, *added);
        if (whole < *added && ftruncate(file.fd, static_cast<off_t>(size + whole)) != 0) {
            error = EIO;
        }
        *added = whole;
    }
    if (*added > 0) {
        const auto *end = static_cast<const char *>(memrchr(text, '\n', *added - 1));
        last_line = size + (end != nullptr ? static_cast<uint64_t>(end + 1 - text) : 0);
    }
    return error;
}

/* Writes the `end` line of a recording that ends before the program does. If there is no room for the `end` line,
 * removes the file's last line to make room. */
static void file_end(const char *reason) {
    char line[ZEB_RECORD_END_MAX];
    struct stat status = {};
    uint32_t added = 0;
    const int len = snprintf(line, sizeof(line), "%" PRIu64 " end reason=%s\n", zeb_record_time(), reason);
    for (int tries = 0; tries < 2 && len > 0 && zeb_record_file_look(&file, &status); tries++) {
        const auto size = static_cast<uint64_t>(status.st_size);
        if (size + static_cast<uint64_t>(len) <= zeb_record_file_most() &&
            file_add(size, line, static_cast<uint32_t>(len), &added) == 0) {
            return;
        }
        if (last_line == 0 || last_line > size || ftruncate(file.fd, static_cast<off_t>(last_line)) != 0) {
            return;
        }
    }
}

static void record_end(const char *reason, int error) {
    if (zeb_record_phase == ZEB_RECORD_ON) {
        file_end(disk_is_full(error) ? "full" : "failed");
    }
    zeb_record_fail(reason, error);
}

/* Sets part_max, the size in bytes that a new part may have. The size is half of `keep`, or less when the disk is
 * nearly full or the process has a lower limit for the size of a file. `other` is the size in bytes of the previous
 * part; 0: there is no previous part. */
static void part_measure(uint64_t other) {
    struct statvfs disk = {};
    struct stat old = {};
    part_max = std::min(keep / 2, zeb_record_file_most());
    if (fstatvfs(file.fd, &disk) == 0 && disk.f_blocks > 0) {
        uint64_t room = uint64_t{disk.f_bavail} * disk.f_frsize + other;
        if (lstat(path_before, &old) == 0) {
            room += static_cast<uint64_t>(old.st_blocks) * 512;
        }
        part_max = std::min(part_max, std::max<uint64_t>(room / 2, ZEB_RECORD_KEEP_MIN / 2));
    }
    zeb_record_kept_limit(part_max / 2);
}

/* Writes the first lines of a part to the empty file: the recording's first line, the `before` line and the kept lines.
 * `time` becomes the time of the `before` line and the kept lines. `other` is the size in bytes of the previous part;
 * 0: there is no previous part. Returns 0 or an errno value. */
static int part_begin(uint64_t time, uint64_t other) {
    uint32_t added = 0;
    auto len = static_cast<uint32_t>(snprintf(beginning, sizeof(beginning), "%s", first_words));
    if (keep != 0) {
        part_measure(other);
        len += static_cast<uint32_t>(snprintf(beginning + len, MARK_MAX, " part=%u", part + 1));
    }
    beginning[len++] = '\n';
    if (part > 0) {
        len += static_cast<uint32_t>(
            snprintf(beginning + len, MARK_MAX, "%" PRIu64 " before lines=%" PRIu64 "\n", time, lines_before));
        len += zeb_record_kept_print(beginning + len, time);
    }
    const int error = len <= zeb_record_file_most() ? file_add(0, beginning, len, &added) : EFBIG;
    has_beginning = error == 0;
    if (has_beginning) {
        part++;
        lost = 0; // the `before` line counts the lost lines too
        has_lines = false;
        last_line = 0;
    } else if (added > 0 && ftruncate(file.fd, 0) != 0) {
        return EIO;
    }
    return error;
}

static bool exists(const char *name) {
    struct stat status = {};
    return lstat(name, &status) == 0 || errno != ENOENT;
}

/* Renames the part `old`, which has ended, to the recording's name followed by ".1", and gives the new part the
 * recording's name. If the user has removed or renamed `old`, only the new part is renamed. Returns 0 or an errno
 * value. If one of the two new names belongs to a file that is not a part of this recording, returns EEXIST and leaves
 * that file as it is. If only the new part cannot be renamed, `old` gets its name back. */
static int part_rename(const zeb_record_file *old) {
    const bool old_is_there = zeb_record_file_is_at(old, path);
    if (old_is_there) {
        // Removes the oldest part first, so that the rename of `path` replaces no file. A rename that replaces a file
        // may wait for the disk after the file has moved, and then no file would have the recording's name for a while.
        if (zeb_record_file_is_at(&before, path_before)) {
            unlink(path_before);
        }
        if (exists(path_before)) {
            return EEXIST;
        }
        if (rename(path, path_before) != 0) {
            return errno;
        }
        before = {-1, old->device, old->number};
    } else if (exists(path)) {
        return EEXIST;
    }
    if (rename(path_next, path) == 0) {
        return 0;
    }
    const int error = errno;
    if (old_is_there && rename(path_before, path) == 0) {
        before = {-1, 0, 0};
    }
    return error;
}

static void hand_to_sync() {
    const int last = to_sync.exchange(zeb_record_file_again(&file));
    if (last >= 0) {
        zeb_record_file ended = zeb_record_file_of(last);
        zeb_record_file_close(&ended);
    }
}

/* Ends the current part, whose size is `size`, and begins the next part. Returns 0 on success. On failure returns an
 * errno value, and the current part goes on. */
static int part_turn(uint64_t time, uint64_t size) {
    zeb_record_file old = file;
    const uint32_t old_part = part;
    const uint64_t old_last_line = last_line;
    const uint64_t old_lost = lost;
    int error = 0;
    if (zeb_record_file_open(&file, path_next, true, &error) != nullptr) {
        file = old;
        return error != 0 ? error : EBUSY;
    }
    error = part_begin(time, size);
    if (error == 0) {
        error = part_rename(&old);
    }
    if (error != 0) {
        zeb_record_file_close(&file);
        unlink(path_next);
        file = old;
        part = old_part;
        last_line = old_last_line;
        lost = old_lost;
        has_beginning = true;
        has_lines = true;
        return error;
    }
    zeb_record_file_close(&old);
    hand_to_sync();
    return 0;
}

/* Removes the older part. Truncates its file first, which frees the disk space even if another process has the file
 * open. Returns whether the file was removed. */
static bool part_drop_before() {
    const bool dropped = before.number != 0 && zeb_record_file_is_at(&before, path_before) &&
                         truncate(path_before, 0) == 0 && unlink(path_before) == 0;
    before = {-1, 0, 0};
    return dropped;
}

/* Makes room on a full disk after a write has failed with `error`: removes the older part or, if there is none, the
 * lines of this part. Ends the recording instead if it is kept in a single file, or if `error` does not mean a full
 * disk. `time` is the time of the next line. Returns whether the write may succeed now. */
static bool make_room(int error, uint64_t time) {
    if (keep == 0 || !disk_is_full(error)) {
        record_end("cannot be written, recording ends", error);
        return false;
    }
    if (part_drop_before()) {
        return true;
    }
    if (!has_lines) {
        return false;
    }
    if (ftruncate(file.fd, 0) != 0) {
        record_end("cannot be written, recording ends", errno);
        return false;
    }
    has_lines = false;
    return part_begin(time, 0) == 0;
}

/* Counts the lines of the text as lost. Prints `error` on standard error, unless it is 0 or an error was printed
 * before. Returns `len`. */
static uint32_t give_up(const char *text, uint32_t len, int error) {
    const uint64_t lines = count_lines(text, len);
    lines_before += lines;
    lost += lines;
    if (error != 0 && !lost_said && zeb_record_phase == ZEB_RECORD_ON) {
        lost_said = true;
        zeb_record_say(path, "cannot be written for now, lines are lost", error);
    }
    return len;
}

/* Called when the first line of the text does not fit into the part. `by_limit` says which limit the part would exceed:
 * true means part_max, and false means the process's limit for the size of a file. Returns how many bytes of the text
 * have been written or given up; 0: the caller has to try again. */
static uint32_t part_is_full(const char *text, uint32_t len, uint64_t size, bool by_limit) {
    const uint32_t line = line_length(text, len);
    const uint64_t time = line_time(text, line);
    if (keep == 0) {
        if (by_limit) {
            file_end("limit");
            zeb_record_phase = ZEB_RECORD_OFF;
        } else {
            record_end("cannot be written, recording ends", EFBIG);
        }
        return len;
    }
    if (!has_lines) {
        return give_up(text, line, 0); // the line is too long for any part
    }
    const int error = part_turn(time, size);
    if (error == 0 || (disk_is_full(error) && make_room(error, time))) {
        return 0;
    }
    if (error == EMFILE || error == ENFILE || error == ENOMEM) {
        part_max += keep / 16; // let the current part grow; a descriptor or memory may be free later
        return 0;
    }
    if (!disk_is_full(error)) {
        record_end("the next part cannot be begun, recording ends", error);
    }
    return give_up(text, len, error);
}

static void note_lines(const char *text, uint32_t len) {
    lines_before += count_lines(text, len);
    for (uint32_t at = 0; at < len;) {
        const uint32_t line = line_length(text + at, len - at);
        zeb_record_kept_note(text + at, line);
        at += line;
    }
}

/* Adds lines to the part. Returns how many bytes of the text have been written or given up; 0: the caller has to try
 * again. */
static uint32_t part_add(const char *text, uint32_t len) {
    struct stat status = {};
    char mark[MARK_MAX];
    uint32_t added = 0;
    const uint32_t line = line_length(text, len);
    const uint64_t time = line_time(text, line);
    if (!zeb_record_file_look(&file, &status)) {
        zeb_record_fail("was closed by the program, recording ends", 0);
        return len;
    }
    if (!has_beginning) {
        const int error = part_begin(time, 0);
        return error == 0 ? 0 : give_up(text, len, error);
    }
    const auto size = static_cast<uint64_t>(status.st_size);
    const uint64_t process_max = zeb_record_file_most();
    const uint64_t taken = size + (keep == 0 ? ZEB_RECORD_END_MAX : 0) + (lost > 0 ? MARK_MAX : 0);
    const uint64_t max = std::min(part_max, process_max);
    const uint32_t fitting = max > taken ? lines_within(text, len, max - taken) : 0;
    if (fitting == 0) {
        return part_is_full(text, len, size, part_max <= process_max);
    }
    int error = 0;
    if (lost > 0) {
        const int mark_len = snprintf(mark, sizeof(mark), "%" PRIu64 " lost lines=%" PRIu64 "\n", time, lost);
        error = file_add(size, mark, static_cast<uint32_t>(mark_len), &added);
        lost = error == 0 ? 0 : lost;
        added = 0;
    } else {
        error = file_add(size, text, fitting, &added);
        if (keep != 0) {
            note_lines(text, added);
        }
    }
    has_lines = has_lines || added > 0 || error == 0;
    if (error == 0 || make_room(error, time)) {
        return added;
    }
    return added + give_up(text + added, len - added, error);
}

void zeb_record_parts_write(const char *lines, uint32_t len) {
    while (len > 0 && zeb_record_phase == ZEB_RECORD_ON) {
        const uint32_t done = part_add(lines, len);
        lines += done;
        len -= done;
    }
}

/* Returns true when the names that end in ".1" and ".next" are free, and a file can be created in the recording's
 * directory. Otherwise prints the reason on standard error, switches the recording off, and returns false. */
static bool parts_possible() {
    zeb_record_file trial = {-1, 0, 0};
    int error = 0;
    for (const char *name : {path_before, path_next}) {
        if (exists(name)) {
            zeb_record_phase = ZEB_RECORD_OFF;
            zeb_record_say(name, "is there already, nothing is recorded", 0);
            return false;
        }
    }
    const char *reason = zeb_record_file_open(&trial, path_next, true, &error);
    if (reason != nullptr) {
        zeb_record_phase = ZEB_RECORD_OFF;
        zeb_record_say(path_next, reason, error);
        return false;
    }
    zeb_record_file_close(&trial);
    unlink(path_next);
    return true;
}

bool zeb_record_parts_start() {
    const zeb_record_settings *settings = zeb_record_settings_get();
    int error = 0;
    path = settings->path;
    keep = settings->keep;
    part_max = settings->limit;
    if (settings->refused != nullptr) {
        zeb_record_fail(settings->refused, 0);
        return false;
    }
    if (keep != 0) {
        snprintf(path_before, sizeof(path_before), "%s.1", path);
        snprintf(path_next, sizeof(path_next), "%s.next", path);
        if (!parts_possible()) {
            return false;
        }
    }
    const char *reason = zeb_record_file_open(&file, path, false, &error);
    if (reason != nullptr) {
        zeb_record_fail(reason, error);
        return false;
    }
    first_words_print();
    error = part_begin(0, 0);
    if (error != 0) {
        zeb_record_fail("cannot be written, nothing is recorded", error);
        return false;
    }
    hand_to_sync();
    return zeb_record_check("fcntl", to_sync < 0 ? EMFILE : 0);
}

bool zeb_record_parts_sync_now() {
    return to_sync >= 0;
}

static void sync_file() {
    struct stat status = {};
    if (zeb_record_file_look(&synced, &status) && fdatasync(synced.fd) != 0 && !(keep != 0 && disk_is_full(errno))) {
        zeb_record_fail("cannot be put on the disk, recording ends", errno);
    }
}

void zeb_record_parts_sync() {
    sync_file();
    const int newest = to_sync.exchange(-1);
    if (newest >= 0) {
        zeb_record_file_close(&synced);
        synced = zeb_record_file_of(newest);
        sync_file();
    }
}

void zeb_record_parts_close() {
    zeb_record_file unseen = zeb_record_file_of(to_sync.exchange(-1));
    zeb_record_file_close(&unseen);
    zeb_record_file_close(&synced);
    zeb_record_file_close(&file);
}
