#pragma once

#include <atomic>

#define RECORD_TEST_EXPORT __attribute__((visibility("default")))

struct record_fault_plan {
    std::atomic<int> calls;
    int nth; // which call fails
    bool onwards;
    std::atomic<int> slow_us;    // how long each write takes
    std::atomic<int> slow_calls; // writes of the main thread
};

extern RECORD_TEST_EXPORT record_fault_plan record_fault;
