#include "cpe_dm_client_options.h"

#include "cpe_dm_client_callback.h"
#include "cpe_dm_client_results.h"
#include "cpe_dm_client_util.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

/* The handle of the last registration; null before the first registration. A deregistration does not clear the handle:
 * the module itself refuses a stale handle. */
static cpe_dm_hndl client_hndl;

/* Parses a decimal number. Returns false when the token is not entirely a number. A number outside the range of int32_t
 * becomes the nearest limit of that range, whether `long` has 32 or 64 bits. */
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

static int32_t print_no_memory() {
    cpe_dm_client_print("CPE DEMO APP : Memory allocation failure for CPE DM indication list\n");
    return 0;
}

static int32_t do_register(const cpe_dm_client_values * /*values*/) {
    cpe_dm_client_print("CPE DEMO APP : Register application.\n");
    const int32_t status = cpe_dm_init(&client_hndl, nullptr, cpe_dm_client_callback);
    if (status == 0) {
        cpe_dm_client_print("CPE DEMO APP : Application registered successfully.\n");
    } else {
        cpe_dm_client_print("CPE DEMO APP : Register application failed with status[%d].\n", status);
    }
    return status;
}

static int32_t do_deregister(const cpe_dm_client_values * /*values*/) {
    cpe_dm_client_print("CPE DEMO APP : Deregister application.\n");
    const int32_t status = cpe_dm_deinit(client_hndl);
    if (status == 0) {
        cpe_dm_client_print("CPE DEMO APP : Application deregistered successfully.\n");
    } else {
        cpe_dm_client_print("CPE DEMO APP : Deregister application failed with status[%d].\n", status);
    }
    return status;
}

static int32_t do_set_ind(const cpe_dm_client_values *values) {
    if (values->count != 2 && values->count != 3) {
        cpe_dm_client_print("CPE DEMO APP : Set LTE/5G indication failed - invalid options passed.\n");
        return 0;
    }
    cpe_dm_info info = {};
    info.info_type = CPE_DM_INFO_TYPE_IND;
    info.id = values->value[1];
    const char *name = cpe_dm_ind_name(info.id);
    cpe_dm_client_print("CPE DEMO APP : Set LTE/5G [%s] indication information.\n", name);
    if (values->count == 3) {
        info.value_type = CPE_DM_VALUE_INT64;
        info.value.i64_val = values->value[2]; // converted as an unsigned number: an entered -1 becomes 4294967295
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

static int32_t do_get_ind_cnt(const cpe_dm_client_values * /*values*/) {
    uint32_t cnt = 0;
    cpe_dm_client_print("CPE DEMO APP : Get LTE/5G indication count.\n");
    const int32_t status = cpe_dm_get_ind_cnt(client_hndl, &cnt);
    if (status == 0) {
        cpe_dm_client_print("CPE DEMO APP : LTE/5G indication count - [%u].\n", cnt);
    } else {
        cpe_dm_client_print("CPE DEMO APP : Get LTE/5G indication count failed with status[%d].\n", status);
    }
    return status;
}

static int32_t do_get_ind_list(const cpe_dm_client_values *values) {
    if (values->count < 2) {
        cpe_dm_client_print("CPE DEMO APP : Get LTE/5G indication list failed - invalid options passed.\n");
        return 0;
    }
    cpe_dm_client_print("CPE DEMO APP : Get LTE/5G indication list.\n");
    const uint32_t cnt = values->value[1];
    const auto list = cpe_dm_client_alloc_list<uint32_t>(cnt);
    if (list == nullptr) {
        return print_no_memory();
    }
    const int32_t status = cpe_dm_get_ind_list(client_hndl, list.get(), cnt);
    if (status != 0) {
        cpe_dm_client_print("CPE DEMO APP : Get LTE/5G indication list failed with status[%d].\n", status);
        return status;
    }
    cpe_dm_client_print("CPE DEMO APP : LTE/5G indication list retrieved successfully.\n");
    for (uint32_t i = 0; i < cnt; i++) {
        cpe_dm_client_print("CPE DEMO APP : Indication #%d - [%s]\n", static_cast<int>(i), cpe_dm_ind_name(list[i]));
    }
    return 0;
}

static int32_t do_clr_ind_list(const cpe_dm_client_values *values) {
    if (values->count < 2) {
        cpe_dm_client_print("CPE DEMO APP : Clear LTE/5G indication list failed - invalid options passed.\n");
        return 0;
    }
    cpe_dm_client_print("CPE DEMO APP : Clear LTE/5G indication list.\n");
    const uint32_t cnt = values->count - 1;
    const auto list = cpe_dm_client_alloc_list<int32_t>(cnt);
    if (list == nullptr) {
        return print_no_memory();
    }
    for (uint32_t i = 0; i < cnt; i++) {
        const uint32_t id = values->value[i + 1];
        list[i] = static_cast<int32_t>(id);
        cpe_dm_client_print("CPE DEMO APP : Clear indication #%d - [%s]\n", static_cast<int>(i), cpe_dm_ind_name(id));
    }
    const int32_t status = cpe_dm_clr_ind_list(client_hndl, list.get(), cnt);
    if (status == 0) {
        cpe_dm_client_print("CPE DEMO APP : LTE/5G indication list cleared successfully.\n");
    } else {
        cpe_dm_client_print("CPE DEMO APP : Clear LTE/5G indication list failed with status[%d].\n", status);
    }
    return status;
}

static void start_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results) {
    cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G [%s] metric information.\n", cpe_dm_metric_name(id));
    cpe_dm_client_fill_request(info, id, results);
}

static int32_t do_get_info(const cpe_dm_client_values *values) {
    if (values->count < 2) {
        cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G information failed - invalid options passed.\n");
        return 0;
    }
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
    cpe_dm_client_print_result(&info, &results, false);
    return 0;
}

static int32_t do_get_info_list(const cpe_dm_client_values *values) {
    if (values->count < 2) {
        cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G information list failed - invalid options passed.\n");
        return 0;
    }
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
        cpe_dm_client_print("CPE DEMO APP : Getting LTE/5G metric list information failed with status[%d].\n", status);
        return status;
    }
    for (uint32_t i = 0; i < cnt; i++) {
        cpe_dm_client_print_result(&list[i], &results, true);
    }
    return 0;
}

static int32_t do_set_info(const cpe_dm_client_values * /*values*/) {
    cpe_dm_client_print("CPE DEMO APP : Setting metric information NOT SUPPORTED.\n");
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
        cpe_dm_client_print("[%d] - %s\n", static_cast<int>(id), name(id));
    }
}

static int32_t do_usage(const cpe_dm_client_values * /*values*/) {
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

/* The function of each option; index 0 is option 1. A function that needs arguments checks how many it was given. */
static int32_t (*const client_options[])(const cpe_dm_client_values *values) = {
    do_register,     do_deregister, do_set_ind,       do_get_ind_cnt, do_get_ind_list,
    do_clr_ind_list, do_get_info,   do_get_info_list, do_set_info,    do_usage,
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
    return client_options[id - 1](values);
}
