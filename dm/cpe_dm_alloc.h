/* Heap records: zero-filled, owned by a scope until they are handed over. */
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

/* A zero-filled T, or null. */
template <typename T> cpe_dm_owned<T> cpe_dm_alloc() {
    return cpe_dm_owned<T>(static_cast<T *>(calloc(1, sizeof(T))));
}

#endif
