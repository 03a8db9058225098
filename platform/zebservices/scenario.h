/* What the virtual modem plays: cells and values, their changes over time, and faults. */
#ifndef SCENARIO_H
#define SCENARIO_H

#pragma GCC visibility push(default)
#include "zeb_nas_v01.h"
#pragma GCC visibility pop

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/* The `srv_status` of LTE or NR 5G when the scenario has no such technology. All other values of `srv_status` are
 * constants ZEB_NAS_SRV_STATUS_... */
inline constexpr int32_t SCENARIO_ABSENT = -1;

/* A measured value, which is constant or moves in a straight line (a ramp). A constant value is `to`, and
 * over_ms is 0. A ramp is `from` until the time from_ms, then moves to `to` within over_ms milliseconds, and stays
 * there. */
struct scenario_value {
    int32_t from;
    int32_t to = from;
    uint64_t from_ms = 0;
    uint32_t over_ms = 0;
};

/* One moment of the scenario, counted from two different starts. */
struct scenario_moment {
    uint64_t total_ms; /* since the modem was switched on; swings depend on this time */
    uint64_t round_ms; /* since the timeline started, or last started again (repeat_ms); ramps depend on this time */
};

/* How far each measured value swings to either side of its given value, and how long one period of the swing takes. */
struct scenario_swing {
    int32_t rsrp = 0;
    int32_t rsrq = 0;
    int32_t snr = 0;
    uint32_t period_ms = 8000;
};

struct scenario_lte_neighbour : zeb_nas_lte_nbr {
    int16_t rsrp = -110;
    int16_t rsrq = -14;
};

struct scenario_lte {
    int32_t srv_status = SCENARIO_ABSENT;
    uint32_t srv_domain = 0;
    uint32_t srv_capability = 0;
    uint8_t plmn[ZEB_NAS_PLMN_BYTES] = {};
    uint16_t tac = 0;
    uint32_t cgi = 0;
    uint16_t earfcn = 0;
    uint16_t pci = 0;
    int8_t rssi = -70;
    scenario_value rsrq = {-10};
    scenario_value rsrp = {-95};
    scenario_value snr = {100};
    scenario_swing swing;
    std::optional<int32_t> tx_power;
    std::optional<std::vector<zeb_nas_cc_cqi>> cqi;
    std::optional<std::vector<zeb_nas_lte_lock>> lock;
    std::vector<zeb_nas_intra_cell> intra; /* other cells on the serving cell's frequency */
    std::vector<scenario_lte_neighbour> neighbours;
};

struct scenario_nr5g_cell_lock {
    uint16_t pci = 0;
    uint32_t arfcn = 0;
};

struct scenario_nr5g {
    int32_t srv_status = SCENARIO_ABSENT;
    uint32_t srv_domain = 0;
    uint32_t srv_capability = 0;
    bool attached = false; /* the NR 5G cell is attached to the LTE cell */
    uint8_t plmn[ZEB_NAS_PLMN_BYTES] = {};
    uint8_t tac[ZEB_NAS_TAC_BYTES] = {};
    uint64_t cgi = 0;
    std::optional<uint32_t> arfcn;
    uint16_t pci = 0;
    scenario_value rsrp = {-95};
    scenario_value rsrq = {-10};
    bool rsrq_reported = true;
    scenario_value snr = {100};
    scenario_swing swing;
    std::optional<int32_t> tx_power;
    std::optional<std::vector<zeb_nas_cc_cqi>> cqi;
    std::optional<scenario_nr5g_cell_lock> lock_cell;
    std::optional<std::vector<uint32_t>> lock_arfcns;
    std::vector<zeb_nas_nr5g_nbr> neighbours;
};

/* The state of the scenario from the time at_ms until the next state begins. */
struct scenario_state {
    uint64_t at_ms = 0;
    bool present = true;
    scenario_lte lte;
    scenario_nr5g nr5g;
};

enum class scenario_damage { NONE, TRUNCATED, LENGTH, ID, TYPE };

/* What a fault strikes: a request, a scan that the modem has accepted, or an indication. */
enum class fault_moment { REQUEST, SCAN, INDICATION };

/* A fault of the modem. The occurrences of `message` are counted from 1. The fault strikes `count` of them in a row,
 * beginning with number `nth`. If `count` is 0, it strikes every occurrence from number `nth` on. */
struct scenario_fault {
    uint32_t message = 0;
    fault_moment moment = fault_moment::REQUEST;
    uint32_t nth = 1;
    uint32_t count = 1;
    int32_t status = 0;    /* of a REQUEST: the transport status with which the request fails; 0: no failure */
    uint32_t result = 0;   /* of a REQUEST: the result in the response header; 0: the request is not rejected */
    uint32_t error = 0;    /* of a REQUEST: the error in the response header */
    uint32_t delay_ms = 0; /* of a REQUEST: the time until the answer */
    uint32_t scan_status = 0;
    bool scan_lost = false;
    scenario_damage damage = scenario_damage::NONE; /* of an INDICATION: what is wrong with its bytes */
};

struct scenario {
    uint32_t tick_ms = 250;
    uint32_t appear_ms = 0;
    uint32_t scan_delay_ms = 800;
    uint32_t repeat_ms = 0;
    std::vector<scenario_state> states; /* in ascending order of at_ms; the first state has at_ms 0 */
    std::vector<scenario_fault> faults;
};

/* Returns the measured value at the time round_ms of the timeline, without the swing. */
int32_t scenario_value_at(const scenario_value &value, uint64_t round_ms);

/* Reads a scenario from TOML text; the text may hold any bytes. `file` is the scenario's name in messages. If the
 * scenario is not valid, returns false and stores "file:line: reason" in `error`; `out` must not be used. Throws
 * std::bad_alloc and nothing else. */
bool scenario_parse(std::string_view text, const char *file, scenario &out, std::string &error);

/* Reads a scenario from a file, in the way in which scenario_parse reads a text. A file that cannot be read counts as a
 * scenario that is not valid. */
bool scenario_read(const char *file, scenario &out, std::string &error);

/* The TOML text of the built-in scenario. */
extern const char scenario_default_text[];

#endif
