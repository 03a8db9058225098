/* A replacement for the platform's libraries that takes as little time as possible. Requests with the same message ID
 * always get the same answer, and nothing is logged. */
#ifndef BENCH_PLATFORM_H
#define BENCH_PLATFORM_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The answer to a request: a response in static memory, and its size in bytes. The values in the answers are those of a
 * modem with an LTE cell and an attached NR 5G cell (EN-DC). */
struct bench_answer {
    const void *bytes;
    uint32_t size;
};

bench_answer bench_answer_to(uint32_t msg_id);

/* Calls the indication callback that the module has registered, as the framework does. */
void bench_indicate(uint32_t msg_id, const void *message, uint32_t size);

/* When not null, this function is called for each request, before the request is answered. `resp_len` is the size of
 * the response structure in bytes. */
extern void (*bench_on_request)(uint32_t msg_id, uint32_t resp_len);

#endif
