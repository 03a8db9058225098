/* Plays a session that uses every operation and every kind of event, again and again, with calls that fail.
 *
 * Without an argument, one call fails in each session, and there is one session for each call that can fail. Prints how
 * these sessions differ from the session without a fault: in statuses, error lines and events. Each difference is
 * printed once, with all steps whose failed call led to it; "..." stands for the name of the step. The output does not
 * say how many calls there are. So it stays the same when a step makes one more call, if a failure of this call makes
 * the same difference as the failure of another call of the step.
 *
 * With the argument "onwards", the nth call and all later calls fail, for each n. After each session it must be
 * possible to initialise and de-initialise the module, and nothing may be left behind. */
#include "cpe_dm_interface.h"
#include "fake_platform.h"
#include "fault.h"
#include "names.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

cpe_dm_hndl handle;
std::string events;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    events += " " + event_name(*info) + (info->value_type == CPE_DM_VALUE_NONE ? " without value" : "");
    if (info->value_type == CPE_DM_VALUE_LTE_NBR_INFO || info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO) {
        free(info->value.lte_nbr_info);
    }
    free(info);
}

template <uint32_t... ids> int32_t get() {
    static cpe_dm_lte_cqi_info cqi;
    static cpe_dm_nr5g_cell_lock_list locks;
    cpe_dm_info infos[] = {cpe_dm_info{CPE_DM_INFO_TYPE_REQUEST, ids, 0, {}, 0}...};
    for (cpe_dm_info &info : infos) {
        info.value.cqi_info = info.id == CPE_DM_METRIC_LTE_CQI ? static_cast<void *>(&cqi) : &locks;
    }
    return sizeof...(ids) == 1 ? cpe_dm_get_info(handle, infos) : cpe_dm_get_info_list(handle, infos, sizeof...(ids));
}

template <uint32_t id> int32_t set() {
    const cpe_dm_info info = {CPE_DM_INFO_TYPE_IND, id, CPE_DM_VALUE_INT64, {.i64_val = 5}, 0};
    return cpe_dm_set_ind_info(handle, &info);
}

int32_t ind_cnt() {
    uint32_t cnt = 0;
    const int32_t status = cpe_dm_get_ind_cnt(handle, &cnt);
    return status == 0 ? static_cast<int32_t>(cnt) : status;
}

int32_t ind_list() {
    uint32_t ids[7];
    return cpe_dm_get_ind_list(handle, ids, 7);
}

int32_t clear() {
    const int32_t ids[] = {1, 2};
    return cpe_dm_clr_ind_list(handle, ids, 2);
}

int32_t sig_info() {
    static int16_t rsrp;
    zeb_nas_sig_info info = {};
    info.lte_sig_info_valid = info.nr5g_sig_info_valid = 1;
    info.lte_sig.rsrp = ++rsrp;
    info.nr5g_sig.snr = rsrp;
    return fake_indicate(ZEB_NAS_SIG_INFO_IND, info);
}

template <uint16_t nr5g_pci> int32_t sys_info() {
    return fake_indicate(ZEB_NAS_SYS_INFO_IND, fake_sys_info(ZEB_NAS_SRV_STATUS_SRV, nr5g_pci).info);
}

int32_t scan_result() {
    return fake_indicate(ZEB_NAS_SCAN_RESULT_IND, zeb_nas_scan_result_ind{});
}

int32_t flush() {
    return cpe_dm_cmdq_flush(&cpe_dm_state.cmdq);
}

int32_t init() {
    handle = nullptr;
    return cpe_dm_init(&handle, nullptr, on_event);
}

int32_t deinit() {
    return cpe_dm_deinit(handle);
}

const struct {
    const char *name;
    int32_t (*play)();
} steps[] = {{"init", init},
             {"get EARFCN", get<CPE_DM_METRIC_LTE_EARFCN>},
             {"get PCI", get<CPE_DM_METRIC_NR5G_PCI>},
             {"get RSRP", get<CPE_DM_METRIC_LTE_RSRP>},
             {"get CQI", get<CPE_DM_METRIC_LTE_CQI>},
             {"get TX power", get<CPE_DM_METRIC_LTE_TX_POWER>},
             {"get cell locks", get<CPE_DM_METRIC_NR5G_CELL_LOCK_LIST>},
             {"set LTE RSRP", set<CPE_DM_IND_LTE_RSRP>},
             {"set NR 5G SINR", set<CPE_DM_IND_NR5G_SINR>},
             {"set registration status", set<CPE_DM_IND_REG_STATUS>},
             {"count", ind_cnt},
             {"list", ind_list},
             {"signal indication", sig_info},
             {"LTE indication", sys_info<0>},
             {"EN-DC indication", sys_info<500>},
             {"get list", get<CPE_DM_METRIC_REG_STATUS, CPE_DM_METRIC_LTE_NBR_RSRP, CPE_DM_METRIC_NR5G_NBR_PCI>},
             {"LTE scan result", scan_result},
             {"NR 5G scan result", scan_result},
             {"get neighbour", get<CPE_DM_METRIC_NR5G_NBR_CGI>},
             {"clear", clear},
             {"flush", flush},
             {"deinit", deinit}};
constexpr size_t step_cnt = sizeof(steps) / sizeof(steps[0]);

/* The error lines of a log, each after " | ". */
std::string errors(const std::string &log) {
    std::string result;
    for (size_t start = 0, end = 0; (end = log.find('\n', start)) != std::string::npos; start = end + 1) {
        if (log[start] == 'E') {
            result += " | " + log.substr(start + 2, end - start - 2);
        }
    }
    return result;
}

/* The visible outcome of each step, and the first step in which a call failed; step_cnt when no call failed. */
struct played {
    std::vector<std::string> outcomes;
    size_t fault_step;
};

played session(int settle_ms) {
    played result = {{}, step_cnt};
    for (size_t i = 0; i < step_cnt; i++) {
        const int32_t status = steps[i].play();
        fault_settle(settle_ms);
        result.outcomes.push_back(std::string(steps[i].name) + " " + status_word(status) + std::exchange(events, {}) +
                                  errors(fake_log()));
        fake_requests();
        if (result.fault_step == step_cnt && !fault_fired().empty()) {
            result.fault_step = i;
        }
    }
    return result;
}

/* Ends the faults. Returns whether the module can then be initialised and de-initialised without a memory leak. */
bool recovers() {
    fault_clear();
    cpe_dm_deinit(handle);
    const bool up_and_down = init() == 0 && deinit() == 0;
    fake_reset();
    events.clear();
    return up_and_down && fault_live_allocations() == 0;
}

int failures;

/* The differences from the session without a fault. Each difference has the names of the steps in which a failed call
 * led to it. */
using differences = std::vector<std::pair<std::string, std::vector<std::string>>>;

void note(differences &found, const played &result, const std::vector<std::string> &expected) {
    const std::string step = steps[result.fault_step].name;
    std::string what;
    // If the module could not be initialised, every later step is refused, so only the first step is compared.
    const bool up = result.outcomes[0].starts_with("init 0");
    for (size_t i = 0; i < (up ? step_cnt : 1); i++) {
        const std::string &outcome = result.outcomes[i];
        if (outcome != expected[i]) {
            what += i == result.fault_step ? " [..." + outcome.substr(step.size()) + "]" : " [" + outcome + "]";
        }
    }
    auto same = std::find_if(found.begin(), found.end(), [&](const auto &other) { return other.first == what; });
    if (same == found.end()) {
        same = found.insert(same, {what, {}});
    }
    if (same->second.empty() || same->second.back() != step) {
        same->second.push_back(step);
    }
}

void one_at_a_time(const char *point, const std::vector<std::string> &expected) {
    differences found;
    for (int n = 1;; n++) {
        fault_arm(point, n);
        const played result = session(20000);
        if (result.fault_step == step_cnt) {
            break;
        }
        note(found, result, expected);
        if (!recovers() || fake_clients() != 0) {
            printf("!! does not recover from %s #%d\n", point, n);
            failures++;
        }
    }
    for (const auto &[what, at] : found) {
        printf("%s in %s", point, at[0].c_str());
        for (size_t i = 1; i < at.size(); i++) {
            printf(", %s", at[i].c_str());
        }
        printf(":%s\n", what.empty() ? " nothing differs" : what.c_str());
    }
}

/* Plays a session in which all calls fail, then one in which all fail from the second on, and so forth until no call is
 * left to fail. */
void from_the_nth_on() {
    int n = 0;
    do {
        fault_arm(nullptr, ++n, true);
        session(10);
    } while (!fault_fired().empty() && recovers());
    if (!fault_fired().empty() || !recovers() || n < 100) {
        printf("!! does not recover when all fail from call %d on\n", n);
        failures++;
    }
}

} // namespace

int main(int argc, char **argv) {
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    if (argc == 2 && strcmp(argv[1], "onwards") == 0) {
        from_the_nth_on();
        printf("recovers, whichever call is the first of all that fail\n");
        return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    fault_arm(nullptr, 0);
    const std::vector<std::string> expected = session(20000).outcomes;
    const std::vector<std::string> points = fault_points();
    fault_clear();
    for (const std::string &outcome : expected) {
        printf("[%s]\n", outcome.c_str());
    }
    for (const std::string &point : points) {
        one_at_a_time(point.c_str(), expected);
    }
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
