// The player of a recording: what it knows, and the thread that plays. What was recorded is a sequence of lines; one
// thread, the conductor, answers the program's calls and delivers indications and events, one thing at a time, so that
// their order is that of the lines.
#pragma once

#include "recording.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <unordered_map>

// An indication or event, and what it waits for.
struct delivery {
    const recording_entry *entry;
    size_t after;  // the line of the last call before it
    double gap_us; // the time since the line before it
};

// A client or notifier of the recording, and the peer that plays it.
struct role {
    std::vector<delivery> deliveries;
    size_t next = 0;
    uint64_t peer = 0;    // 0: not yet, or released
    double offset_us = 0; // on the clock, what begins at 0 in the recording
};

// The calls that were recorded with the same key.
struct answers {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

// A call that waits for its answer.
struct pending_call {
    const recording_entry *entry;
    uint64_t peer;
    double ready_us; // on the clock
    bool in_callback;
    bool done = false;
    bool ended = false; // its peer was released
};

struct counts {
    size_t as_recorded = 0, out_of_order = 0, repeated = 0, lost = 0; // requests
    size_t delivered = 0;
    size_t decoded = 0, not_decoded = 0;
};

struct player {
    std::string file;
    double speed = 1;
    std::vector<recording_entry> entries;
    size_t delivery_count = 0;
    std::vector<const recording_entry *> requests; // in the order in which they were made

    std::mutex lock; // guards what follows
    std::condition_variable conductor;
    std::condition_variable answered;
    std::unordered_map<std::string, answers> by_key;
    std::unordered_map<const recording_entry *, double> gaps_us;
    std::unordered_map<const recording_entry *, size_t> request_index;
    std::map<uint32_t, role> roles;
    std::map<uint64_t, zeb_sink> peers;
    uint64_t last_peer = 0;
    std::vector<pending_call *> pending;

    std::chrono::steady_clock::time_point looked = std::chrono::steady_clock::now();
    double awake_us = 0;    // real time that the process was not stopped
    double clock_us = 0;    // time of the recording; stands still while it waits for a call
    double shift_us = 0;    // the offset of the last client or notifier
    double stalled_us = 0;  // how long the clock has been standing
    bool impatient = false; // it has stood long enough; until the next call
    double activity_us = 0; // awake_us when the last thing was done
    bool was_delivery = false;
    uint64_t delivering = 0; // the peer whose callback runs
    size_t position = 0;     // the highest line of a call that was answered
    size_t next_request = 0;
    bool differed = false;
    counts count;
};

// Sets the clocks. The caller holds the lock.
void player_look(player &p);

// Plays, for ever.
void player_conduct(player *p);
