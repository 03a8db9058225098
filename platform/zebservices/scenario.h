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

/* Service status of a technology that is missing altogether; all other values are ZEB_NAS_SRV_STATUS_... */
inline constexpr int32_t SCENARIO_ABSENT = -1;

/* A measured value on its way (a ramp). Until the time from_ms the value is `from`. Then it moves in a straight line to
 * `to` within the time over_ms, and stays there. With over_ms 0 the value is `to` at any time. */
struct scenario_value {
    int32_t from;
    int32_t to = from;
    uint64_t from_ms = 0;
    uint32_t over_ms = 0;
};

/* A moment of the scenario. */
struct scenario_moment {
    uint64_t total_ms; /* since the modem was switched on; swings depend on this time */
    uint64_t round_ms; /* since the timeline started last; ramps depend on this time */
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
    bool attached = false; /* to the LTE cell */
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

/* The state of the scenario from at_ms until the next state. */
struct scenario_state {
    uint64_t at_ms = 0;
    bool present = true;
    scenario_lte lte;
    scenario_nr5g nr5g;
};

enum class scenario_damage { NONE, TRUNCATED, LENGTH, ID, TYPE };

/* When a fault can strike. */
enum class fault_moment { REQUEST, SCAN, INDICATION };

/* A fault. It strikes `count` occurrences of its message in a row, beginning with occurrence number `nth`, counted from
 * 1. With `count` 0 it strikes all occurrences from number `nth` on. */
struct scenario_fault {
    uint32_t message = 0;
    fault_moment moment = fault_moment::REQUEST;
    uint32_t nth = 1;
    uint32_t count = 1;
    int32_t status = 0;    /* REQUEST: transport status */
    uint32_t result = 0;   /* REQUEST: response header */
    uint32_t error = 0;    /* REQUEST: response header */
    uint32_t delay_ms = 0; /* REQUEST: before the answer */
    uint32_t scan_status = 0;
    bool scan_lost = false;
    scenario_damage damage = scenario_damage::NONE; /* INDICATION */
};

struct scenario {
    uint32_t tick_ms = 250;
    uint32_t appear_ms = 0;
    uint32_t scan_delay_ms = 800;
    uint32_t repeat_ms = 0;
    std::vector<scenario_state> states; /* in ascending order of at_ms; the first has 0 */
    std::vector<scenario_fault> faults;
};

/* The value at this time of the timeline, without its swing. */
int32_t scenario_value_at(const scenario_value &value, uint64_t round_ms);

/* Reads a scenario from TOML text of any content. `file` names the scenario in messages. When the scenario is not
 * right, returns false, with "file:line: reason" in `error`, and `out` must not be used. Throws std::bad_alloc and
 * nothing else. */
bool scenario_parse(std::string_view text, const char *file, scenario &out, std::string &error);

/* Reads a scenario from a file, as scenario_parse does from a text. A file that cannot be read is refused as well. */
bool scenario_read(const char *file, scenario &out, std::string &error);

/* The built-in scenario. */
extern const char scenario_default_text[];

#endif
