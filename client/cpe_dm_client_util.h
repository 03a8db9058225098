/* Functions that several parts of the client use: printing and memory. */
#ifndef CPE_DM_CLIENT_UTIL_H
#define CPE_DM_CLIENT_UTIL_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

/* Prints on standard output, which is unbuffered: the text has been written when the call returns. Text that cannot be
 * written (full disk, no memory for a long line) is lost. The first loss is reported by one line on standard error.
 *
 * Callable from any thread. The text of one call is never mixed with other text, but other threads may print between
 * two calls. So a caller prints a whole line, with its newline, by one call. */
void cpe_dm_client_print(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* The number of list entries to print: the count `cnt` of a record, but at most `room`, the capacity of the list. */
inline int cpe_dm_client_bounded(uint32_t cnt, uint32_t room) {
    return static_cast<int>(std::min(cnt, room));
}

struct cpe_dm_client_deleter {
    void operator()(void *memory) const {
        free(memory);
    }
};

/* Owns memory that has to be released with free. */
template <typename T> using cpe_dm_client_owned = std::unique_ptr<T, cpe_dm_client_deleter>;

/* Allocates a zeroed list. `cnt`, the number of its entries, may be 0. Returns null when there is no memory. A list of
 * more than 2^31-1 bytes is refused without an attempt, because `cnt` may be a number that the user typed. */
template <typename T> cpe_dm_client_owned<T[]> cpe_dm_client_alloc_list(uint32_t cnt) {
    if (cnt > INT32_MAX / sizeof(T)) {
        return nullptr;
    }
    return cpe_dm_client_owned<T[]>(static_cast<T *>(calloc(cnt > 0 ? cnt : 1, sizeof(T))));
}

#endif
