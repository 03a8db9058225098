// The virtual modem: plays its scenario to the clients of the network access service. One for the process; it is
// switched on by the first use and never ends.
#pragma once

#include "scenario.h"
#include "zeb_service.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

inline constexpr size_t MODEM_METRICS = 6; // those of the signal information indication

// One attached client: what it asked to be told, and what it was told last.
struct modem_client {
    zeb_sink sink = {};
    bool wants_sys_info = false;
    bool wants_sig_info = false;
    std::array<uint32_t, MODEM_METRICS> thresholds = {}; // 0: not watched
    zeb_nas_sys_info told_sys_info = {};
    zeb_nas_sig_info told_sig_info = {};
};

struct modem_scan {
    bool running = false;
    bool lost = false; // its result never comes
    uint64_t end_ms = 0;
    uint64_t client = 0;
    uint8_t network_type = 0;
    uint32_t status = 0;
};

struct modem {
    std::chrono::steady_clock::time_point switched_on = std::chrono::steady_clock::now();
    scenario plan;
    bool usable = false; // the scenario was read

    std::mutex lock; // guards what follows
    std::condition_variable changed;
    uint64_t now_ms = 0; // how far the scenario has been played
    bool present = false;
    std::map<uint64_t, modem_client> clients;
    uint64_t last_client = 0;
    modem_scan scan;
    std::vector<uint32_t> occurrences; // of each fault's message so far
};

modem &the_modem();

// What the functions below have in common: the caller holds the modem's lock.

// Plays everything that is due by now, in order. Never throws: an indication that there is no memory for is lost.
void modem_play(modem &m);

// When something is due next, or UINT64_MAX.
uint64_t modem_next_due(const modem &m);

const scenario_state &modem_state(const modem &m);

// The moment that measured values are taken at: it moves in ticks.
scenario_moment modem_moment(const modem &m);

// The client counts as told how things are now, so that it hears of later changes only.
void modem_mark_told(const modem &m, modem_client &client);

// The first fault of that moment and message that strikes this occurrence, or one without effect. Every fault of that
// moment and message counts the occurrence.
scenario_fault modem_next_fault(modem &m, fault_moment moment, uint32_t message);

// The service's operations on the modem.
bool modem_wait_present(uint32_t timeout_ms);
uint64_t modem_attach(const zeb_sink &sink);
void modem_detach(uint64_t peer);
int32_t modem_request(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms);
