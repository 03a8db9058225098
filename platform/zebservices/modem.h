/* The virtual modem: plays its scenario to the clients of the network access service. A process has one modem, which is
 * never destroyed. A child of fork has a modem of its own, without its parent's clients. */
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

inline constexpr size_t MODEM_METRICS = 6; /* the number of metrics for which a client can set a threshold */

/* An attached client or notifier: the indications that it asked for, and the values that it was told last. */
struct modem_client {
    zeb_sink sink = {};
    bool wants_sys_info = false;
    bool wants_sig_info = false;
    std::array<uint32_t, MODEM_METRICS> thresholds = {}; /* smallest change to report; 0: the metric is not watched */
    zeb_nas_sys_info told_sys_info = {};
    zeb_nas_sig_info told_sig_info = {};
};

struct modem_scan {
    bool running = false;
    bool lost = false; /* the result of the scan is never sent */
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
    std::vector<uint32_t> occurrences; /* for each fault in `plan`: how often its message has occurred */
};

/* The caller of the functions from here to modem_next_fault must hold the modem's lock. */

/* Plays the changes of the scenario that are due by now, in the order of their times, and sends the indications that
 * result. Never throws: an indication for which there is no memory is lost. */
void modem_play(modem &m);

/* Returns the time at which modem_play has something to do next, in milliseconds since the modem was switched on, or
 * UINT64_MAX when nothing is left to do. */
uint64_t modem_next_due(const modem &m);

const scenario_state &modem_state(const modem &m);

/* Returns the moment at which the signal was measured last: values change only at ticks, which are `plan.tick_ms`
 * apart. */
scenario_moment modem_moment(const modem &m);

/* Stores the current system and signal information in `client` as the values that the client was told last. The client
 * then gets indications only for later changes. */
void modem_mark_told(const modem &m, modem_client &client);

/* Each fault of the scenario has a counter of the messages to which the fault could apply. Adds 1 to the counters of
 * all faults for `message` and `moment`, and returns the first of these faults whose counter is in the fault's range.
 * If there is no such fault, returns a fault without effect. */
scenario_fault modem_next_fault(modem &m, fault_moment moment, uint32_t message);

/* Switches the modem on, unless it is on already. Returns false when the scenario is refused; the first call prints the
 * reason on standard error. Throws when there is no memory or no thread can be started; the caller may then call
 * again. */
bool modem_switch_on();

/* The operations of the service object; zeb_service describes them. */
bool modem_wait_present(uint32_t timeout_ms);
uint64_t modem_attach(const zeb_sink &sink);
void modem_detach(uint64_t peer);
int32_t modem_request(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms);

#endif
