/* The virtual modem: plays its scenario to the clients of the network access service. A process has one modem, which
 * never ends. A child of fork has a modem of its own, without its parent's clients. */
#ifndef MODEM_H
#define MODEM_H

#include "scenario.h"
#include "zeb_service.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

inline constexpr size_t MODEM_METRICS = 6; /* metrics of the signal information indication */

/* An attached client: the indications that it asked for, and the content that it was told last. */
struct modem_client {
    zeb_sink sink = {};
    bool wants_sys_info = false;
    bool wants_sig_info = false;
    std::array<uint32_t, MODEM_METRICS> thresholds = {}; /* 0: not watched */
    zeb_nas_sys_info told_sys_info = {};
    zeb_nas_sig_info told_sig_info = {};
};

struct modem_scan {
    bool running = false;
    bool lost = false; /* the result of the scan never comes */
    uint64_t end_ms = 0;
    uint64_t client = 0;
    uint8_t network_type = 0;
    uint32_t status = 0;
};

struct modem {
    std::chrono::steady_clock::time_point switched_on = std::chrono::steady_clock::now();
    scenario plan;

    std::mutex lock; /* guards the fields below */
    std::condition_variable changed;
    uint64_t now_ms = 0; /* the scenario has been played up to this time */
    bool present = false;
    std::map<uint64_t, modem_client> clients;
    uint64_t last_client = 0;
    modem_scan scan;
    std::vector<uint32_t> occurrences; /* for each fault of the plan: how often its message has occurred */
};

/* The caller of each of the following functions, up to modem_next_fault, holds the modem's lock. */

/* Plays, in order, everything that is due by now. Never throws: an indication for which there is no memory is lost. */
void modem_play(modem &m);

/* The time at which something is due next, or UINT64_MAX. */
uint64_t modem_next_due(const modem &m);

const scenario_state &modem_state(const modem &m);

/* The moment at which values are measured: the last tick. */
scenario_moment modem_moment(const modem &m);

/* Marks the present content of both indications as told, so that the client is told of later changes only. */
void modem_mark_told(const modem &m, modem_client &client);

/* Counts one occurrence of the message, for every fault of this moment and message. Returns the first fault that
 * strikes this occurrence, or a fault without effect when none does. */
scenario_fault modem_next_fault(modem &m, fault_moment moment, uint32_t message);

/* Switches the modem on, unless it is on already. When the scenario is refused, says so on standard error the first
 * time, and returns false. Throws when out of memory or of threads; the caller may then call again. */
bool modem_switch_on();

/* The operations of the service object (zeb_service). */
bool modem_wait_present(uint32_t timeout_ms);
uint64_t modem_attach(const zeb_sink &sink);
void modem_detach(uint64_t peer);
int32_t modem_request(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms);

#endif
