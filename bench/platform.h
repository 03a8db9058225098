/* A platform that costs as little as it can: every request is answered with the same bytes, nothing is logged. */
#ifndef BENCH_PLATFORM_H
#define BENCH_PLATFORM_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The answer to a message. The bytes stay valid for ever. The answers are those of an EN-DC registration. */
struct bench_answer {
    const void *bytes;
    uint32_t size;
};

bench_answer bench_answer_to(uint32_t msg_id);

/* Runs the indication callback of the connected client, as the framework does. */
void bench_indicate(uint32_t msg_id, const void *message, uint32_t size);

/* When set, called with every request that is sent, before it is answered. */
extern void (*bench_on_request)(uint32_t msg_id, uint32_t resp_len);

#endif
