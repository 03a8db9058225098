#include "cpe_dm_client_options.h"

#include "cpe_dm_client_results.h"
#include "cpe_dm_client_util.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

/* 0 until the first registration, and as it was after a deregistration: the module answers for a stale handle. */
static cpe_dm_hndl client_hndl;

/* False when the token is not a number to its end. Numbers beyond 32 bits become the nearest limit, however wide long
 * is. */
static bool parse_number(const char *token, uint32_t *number) {
    char *end = nullptr;
    const long parsed = strtol(token, &end, 10);
    *number = static_cast<uint32_t>(std::clamp<long>(parsed, INT32_MIN, INT32_MAX));
    return *end == '\0';
}

int32_t cpe_dm_client_parse(char *line, cpe_dm_client_values *values) {
    values->count = 0;
    if (line[0] == '#') {
        return 0;
    }
    char *rest = nullptr;
    for (char *token = strtok_r(line, " ", &rest); token; token = strtok_r(nullptr, " ", &rest)) {
        uint32_t number = 0;
        if (values->count == CPE_DM_CLIENT_VALUE_MAX || !parse_number(token, &number)) {
            cpe_dm_client_print("CPE DEMO APP : Invalid option is passed.\n");
            return 1;
        }
        values->value[values->count++] = number;
    }
    return 0;
}

static void print_start(const char *title) {
    cpe_dm_client_print("CPE DEMO APP : %s.\n", title);
}

static int32_t print_failure(const char *title, int32_t status) {
    cpe_dm_client_print("CPE DEMO APP : %s failed with status[%d].\n", title, status);
    return status;
}

static int32_t print_end(const char *title, int32_t status, const char *success) {
    if (status != 0) {
        return print_failure(title, status);
    }
    cpe_dm_client_print("CPE DEMO APP : %s successfully.\n", success);
    return 0;
}

static int32_t print_no_memory() {
    cpe_dm_client_print("CPE DEMO APP : Memory allocation failure for CPE DM indication list\n");
    return 0;
}

static int32_t do_register(const char *title, const cpe_dm_client_values * /*values*/) {
    print_start(title);
    const int32_t status = cpe_dm_init(&client_hndl, nullptr, cpe_dm_client_callback);
    return print_end(title, status, "Application registered");
}

static int32_t do_deregister(const char *title, const cpe_dm_client_values * /*values*/) {
    print_start(title);
    return print_end(title, cpe_dm_deinit(client_hndl), "Application deregistered");
}

static int32_t do_set_ind(const char * /*title*/, const cpe_dm_client_values *values) {
    cpe_dm_info info = {};
    info.info_type = CPE_DM_INFO_TYPE_IND;
    info.id = values->value[1];
    const char *name = cpe_dm_ind_name(info.id);
    cpe_dm_client_print("CPE DEMO APP : Set LTE/5G [%s] indication information.\n", name);
    if (values->count == 3) {
        info.value_type = CPE_DM_VALUE_INT64;
        info.value.i64_val = values->value[2]; // not sign-extended
        cpe_dm_client_print("CPE DEMO APP : Set LTE/5G [%s] indication with value[%d].\n", name,
                            static_cast<int32_t>(values->value[2]));
    }
    const int32_t status = cpe_dm_set_ind_info(client_hndl, &info);
    if (status == 0) {
        cpe_dm_client_print("CPE DEMO APP : LTE/5G [%s] indication information set successfully.\n", name);
    } else {
        cpe_dm_client_print("CPE DEMO APP : Set LTE/5G [%s] indication information failed with status[%d].\n", name,
                            status);
    }
    return status;
}

static int32_t do_get_ind_cnt(const char *title, const cpe_dm_client_values * /*values*/) {
    uint32_t cnt = 0;
    print_start(title);
    const int32_t status = cpe_dm_get_ind_cnt(client_hndl, &cnt);
    if (status != 0) {
        return print_failure(title, status);
    }
    cpe_dm_client_print("CPE DEMO APP : LTE/5G indication count - [%u].\n", cnt);
    return 0;
}

static int32_t do_get_ind_list(const char *title, const cpe_dm_client_values *values) {
    print_start(title);
    const uint32_t cnt = values->value[1];
    const auto list = cpe_dm_client_alloc_list<uint32_t>(cnt);
    if (list == nullptr) {
        return print_no_memory();
    }
    const int32_t status = cpe_dm_get_ind_list(client_hndl, list.get(), cnt);
    if (print_end(title, status, "LTE/5G indication list retrieved") != 0) {
        return status;
    }
    for (uint32_t i = 0; i < cnt; i++) {
        cpe_dm_client_print("CPE DEMO APP : Indication #%u - [%s]\n", i, cpe_dm_ind_name(list[i]));
    }
    return 0;
}

static int32_t do_clr_ind_list(const char *title, const cpe_dm_client_values *values) {
    print_start(title);
    const uint32_t cnt = values->count - 1;
    const auto list = cpe_dm_client_alloc_list<int32_t>(cnt);
    if (list == nullptr) {
        return print_no_memory();
    }
    for (uint32_t i = 0; i < cnt; i++) {
        const uint32_t id = values->value[i + 1];
        list[i] = static_cast<int32_t>(id);
        cpe_dm_client_print("CPE DEMO APP : Clear indication #%u - [%s]\n", i, cpe_dm_ind_name(id));
    }
    return print_end(title, cpe_dm_clr_ind_list(client_hndl, list.get(), cnt), "LTE/5G indication list cleared");
}

static void start_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results) {
    cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G [%s] metric information.\n", cpe_dm_metric_name(id));
    cpe_dm_client_fill_request(info, id, results);
}

static int32_t do_get_info(const char * /*title*/, const cpe_dm_client_values *values) {
    cpe_dm_info info = {};
    cpe_dm_client_results results = {};
    const uint32_t id = values->value[1];
    start_request(&info, id, &results);
    const int32_t status = cpe_dm_get_info(client_hndl, &info);
    if (status != 0) {
        cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G [%s] metric information failed with status[%d].\n",
                            cpe_dm_metric_name(id), status);
        return status;
    }
    cpe_dm_client_print_result(&info, &results, "");
    return 0;
}

static int32_t do_get_info_list(const char * /*title*/, const cpe_dm_client_values *values) {
    cpe_dm_client_results results = {};
    const uint32_t cnt = values->count - 1;
    const auto list = cpe_dm_client_alloc_list<cpe_dm_info>(cnt);
    if (list == nullptr) {
        return print_no_memory();
    }
    for (uint32_t i = 0; i < cnt; i++) {
        start_request(&list[i], values->value[i + 1], &results);
    }
    const int32_t status = cpe_dm_get_info_list(client_hndl, list.get(), static_cast<int32_t>(cnt));
    if (status != 0) {
        return print_failure("Getting LTE/5G metric list information", status);
    }
    for (uint32_t i = 0; i < cnt; i++) {
        cpe_dm_client_print_result(&list[i], &results, "Metric ID ");
    }
    return 0;
}

static int32_t do_set_info(const char *title, const cpe_dm_client_values * /*values*/) {
    print_start(title);
    return 0;
}

static const char *const options_usage[] = {
    "Register application --- 1 ",
    "Deregister application --- 2",
    "Set metric indication --- 3 <threshold value> (optional)",
    "Get metric indication count --- 4 ",
    "Get metric indication list --- 5 <indication count>",
    "Clear metric indication list --- 6 <metric indication ID 1> <metric indication ID 2> ... <metric indication ID n>",
    "Get metric info --- 7 <metric request ID>",
    "Get metric info list --- 8 <metric request ID 1> <metric request ID 2> ... <metric request ID n>",
    "Set metric info --- NOT SUPPORTED",
};

static void print_usage_heading(const char *heading) {
    static const char rule[] = "###################################################################################";
    static_assert(sizeof(rule) - 1 == 83);
    cpe_dm_client_print("\n\n\n%s\n%s\n%s\n", rule, heading, rule);
}

static void print_usage_names(const char *(*name)(uint32_t id), uint32_t cnt) {
    for (uint32_t id = 0; id < cnt; id++) {
        cpe_dm_client_print("[%u] - %s\n", id, name(id));
    }
}

static int32_t do_usage(const char * /*title*/, const cpe_dm_client_values * /*values*/) {
    print_usage_heading("############################### CPE DM Options Usage ##############################");
    for (const char *line : options_usage) {
        cpe_dm_client_print("%s\n", line);
    }
    print_usage_heading("############################### CPE DM Indication Metrics #########################");
    print_usage_names(cpe_dm_ind_name, CPE_DM_IND_CNT);
    print_usage_heading("############################### CPE DM Request Metrics ############################");
    print_usage_names(cpe_dm_metric_name, CPE_DM_METRIC_CNT);
    cpe_dm_client_print("\n\n\n");
    return 0;
}

/* An option: its title in the messages, how many values it takes, itself included, and what it does. */
struct client_option {
    const char *title;
    uint32_t min_count;
    uint32_t max_count;
    int32_t (*run)(const char *title, const cpe_dm_client_values *values);
};

static const client_option client_options[] = {
    {"Register application", 1, CPE_DM_CLIENT_VALUE_MAX, do_register},
    {"Deregister application", 1, CPE_DM_CLIENT_VALUE_MAX, do_deregister},
    {"Set LTE/5G indication", 2, 3, do_set_ind},
    {"Get LTE/5G indication count", 1, CPE_DM_CLIENT_VALUE_MAX, do_get_ind_cnt},
    {"Get LTE/5G indication list", 2, CPE_DM_CLIENT_VALUE_MAX, do_get_ind_list},
    {"Clear LTE/5G indication list", 2, CPE_DM_CLIENT_VALUE_MAX, do_clr_ind_list},
    {"Getting LTE/5G information", 2, CPE_DM_CLIENT_VALUE_MAX, do_get_info},
    {"Getting LTE/5G information list", 2, CPE_DM_CLIENT_VALUE_MAX, do_get_info_list},
    {"Setting metric information NOT SUPPORTED", 1, CPE_DM_CLIENT_VALUE_MAX, do_set_info},
    {"Options usage", 1, CPE_DM_CLIENT_VALUE_MAX, do_usage},
};

int32_t cpe_dm_client_dispatch(const cpe_dm_client_values *values) {
    if (values->count == 0) {
        return 1;
    }
    const uint32_t id = values->value[0];
    if (id < 1 || id > std::size(client_options)) {
        cpe_dm_client_print("CPE DEMO APP : Option ID[%d] NOT SUPPORTED.\n", static_cast<int32_t>(id));
        return 0;
    }
    const client_option &option = client_options[id - 1];
    if (values->count < option.min_count || values->count > option.max_count) {
        cpe_dm_client_print("CPE DEMO APP : %s failed - invalid options passed.\n", option.title);
        return 0;
    }
    return option.run(option.title, values);
}
