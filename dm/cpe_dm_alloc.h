/* Allocation of zero-filled records on the heap, and the pointer type that owns such a record. */
#ifndef CPE_DM_ALLOC_H
#define CPE_DM_ALLOC_H

#include <cstdlib>
#include <memory>

struct cpe_dm_deleter {
    void operator()(void *memory) const {
        free(memory);
    }
};

template <typename T> using cpe_dm_owned = std::unique_ptr<T, cpe_dm_deleter>;

/* Returns a zero-filled T, or null when there is no memory. */
template <typename T> cpe_dm_owned<T> cpe_dm_alloc() {
    return cpe_dm_owned<T>(static_cast<T *>(calloc(1, sizeof(T))));
}

#endif
