/* What the parts of the client share: printing and memory. */
#ifndef CPE_DM_CLIENT_UTIL_H
#define CPE_DM_CLIENT_UTIL_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

/* Prints on standard output, without a buffer: the text has been written when the call returns. Text that cannot be
 * written (full disk, no memory for a long line) is lost, which the first time one line on standard error tells. From any
 * thread; what one call prints stays together, so a line is printed by one call, line end included. */
void cpe_dm_client_print(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* How many of the cnt entries that a list is said to have are printed: those it has room for. */
inline int cpe_dm_client_bounded(uint32_t cnt, uint32_t room) {
    return static_cast<int>(std::min(cnt, room));
}

struct cpe_dm_client_deleter {
    void operator()(void *memory) const {
        free(memory);
    }
};

/* Owner of what calloc or the C library allocated. */
template <typename T> using cpe_dm_client_owned = std::unique_ptr<T, cpe_dm_client_deleter>;

/* A zeroed list, also for a cnt of 0; null when there is no memory, or when the list would take more than 2^31-1 bytes,
 * which no machine shall attempt. */
template <typename T> cpe_dm_client_owned<T[]> cpe_dm_client_alloc_list(uint32_t cnt) {
    if (cnt > INT32_MAX / sizeof(T)) {
        return nullptr;
    }
    return cpe_dm_client_owned<T[]>(static_cast<T *>(calloc(cnt > 0 ? cnt : 1, sizeof(T))));
}

#endif
