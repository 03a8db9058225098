/* For files that wrap functions (--wrap), so that calls of these functions can be made to fail. */
#ifndef FAULT_CALL_H
#define FAULT_CALL_H

#include "fault.h"

#include <cerrno>

template <typename T> T fault_with_errno(int error, T result) {
    errno = error;
    return result;
}

/* Defines the wrapper of a function; to be used inside extern "C". When `counts` is true and the call is to fail, the
 * wrapper returns `failure`. Otherwise it calls the real function. The real function is declared weak, because it is
 * missing in a program that is linked without --wrap for this function. */
#define FAULT_CALL(type, name, counts, failure, params, args)                                                          \
    __attribute__((weak)) type __real_##name params;                                                                   \
    type __wrap_##name params {                                                                                        \
        return (counts) && fault_hit(#name) ? (failure) : __real_##name args;                                          \
    }

#endif
