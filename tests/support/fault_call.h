/* For files that take functions over, to make their calls fail on demand. */
#ifndef FAULT_CALL_H
#define FAULT_CALL_H

#include "fault.h"

#include <cerrno>

template <typename T> T fault_with_errno(int error, T result) {
    errno = error;
    return result;
}

/* Takes a function over, inside extern "C": a call that counts fails with the given result when it has to. The function
 * itself is weak, as a program that is not linked for it has none. */
#define FAULT_CALL(type, name, counts, failure, params, args)                                                          \
    __attribute__((weak)) type __real_##name params;                                                                   \
    type __wrap_##name params {                                                                                        \
        return (counts) && fault_hit(#name) ? (failure) : __real_##name args;                                          \
    }

#endif
