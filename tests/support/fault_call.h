/* For files that take functions over, to make their calls fail on demand. */
#ifndef FAULT_CALL_H
#define FAULT_CALL_H

#include "fault.h"

#include <cerrno>

template <typename T> T fault_with_errno(int error, T result) {
    errno = error;
    return result;
}

/* Wraps a function, inside extern "C": a call that counts gives the result `failure` when the plan lets it fail. The
 * real function is a weak reference, because a program that is not linked with --wrap for the function has no real
 * function under this name. */
#define FAULT_CALL(type, name, counts, failure, params, args)                                                          \
    __attribute__((weak)) type __real_##name params;                                                                   \
    type __wrap_##name params {                                                                                        \
        return (counts) && fault_hit(#name) ? (failure) : __real_##name args;                                          \
    }

#endif
