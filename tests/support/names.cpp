#include "names.h"

#include "zeb_nas_v01.h"

#include <algorithm>
#include <cctype>
#include <cstring>

/* A display name without the words "Serving Cell", and with "Nbr" for "Neighboring Cell". */
static std::string short_name(std::string name) {
    static const char *const shorter[][2] = {{"Serving Cell ", ""}, {"Serving cell ", ""}, {"Neighboring Cell", "Nbr"}};
    for (const auto &[words, by] : shorter) {
        const size_t at = name.find(words);
        if (at != std::string::npos) {
            name.replace(at, strlen(words), by);
        }
    }
    return name;
}

static std::string word(uint32_t id, uint32_t cnt, const char *(*display_name)(uint32_t id)) {
    if (id >= cnt) {
        return std::to_string(static_cast<int32_t>(id));
    }
    std::string result;
    for (char c : short_name(display_name(id))) {
        result += c == ' ' ? '_' : static_cast<char>(tolower(c));
    }
    const size_t at = result.find("nr_5g");
    return at == std::string::npos ? result : result.erase(at + 2, 1);
}

std::string metric_word(uint32_t id) {
    return word(id, CPE_DM_METRIC_CNT, cpe_dm_metric_name);
}

std::string ind_word(uint32_t id) {
    return word(id, CPE_DM_IND_CNT, cpe_dm_ind_name);
}

template <size_t cnt> static std::string word_of(const char *const (&words)[cnt], uint32_t number) {
    return number < cnt ? words[number] : std::to_string(number);
}

std::string reg_status_word(uint32_t reg_status) {
    return word_of({"0", "NONE", "POWER_SAVE", "LIMITED", "LIMITED_REG", "LTE", "LTE_NR5G", "NR5G"}, reg_status);
}

std::string srv_status_word(uint32_t srv_status) {
    return word_of({"none", "limited", "service", "limited_regional", "power_save"}, srv_status);
}

struct named_number {
    int64_t number;
    const char *word;
};

template <size_t cnt> static std::string word_in(const named_number (&table)[cnt], int64_t number) {
    const auto *found = std::find_if(table, table + cnt, [number](const auto &row) { return row.number == number; });
    return found != table + cnt ? found->word : std::to_string(number);
}

std::string status_word(int32_t status) {
    static const named_number table[] = {
        {CPE_DM_ERR_FAILURE, "FAILURE"},
        {CPE_DM_ERR_INVALID_PARAM, "INVALID_PARAM"},
        {CPE_DM_ERR_NO_MEMORY, "NO_MEMORY"},
        {CPE_DM_ERR_LIST_TOO_SMALL, "LIST_TOO_SMALL"},
        {CPE_DM_ERR_SCAN_ONGOING, "SCAN_ONGOING"},
        {CPE_DM_ERR_NOT_SUPPORTED, "NOT_SUPPORTED"},
        {CPE_DM_ERR_NOT_INITIALIZED, "NOT_INITIALIZED"},
        {CPE_DM_ERR_ALREADY_INITIALIZED, "ALREADY_INITIALIZED"},
        {CPE_DM_ERR_SERVICE_UNAVAILABLE, "SERVICE_UNAVAILABLE"},
        {CPE_DM_ERR_INFO_UNAVAILABLE, "INFO_UNAVAILABLE"},
    };
    return word_in(table, status);
}

std::string message_word(uint32_t msg_id) {
    static const named_number table[] = {
        {ZEB_NAS_INDICATION_REGISTER, "INDICATION_REGISTER"},
        {ZEB_NAS_GET_CELL_LOCATION_INFO, "CELL_LOCATION"},
        {ZEB_NAS_GET_SYS_INFO, "SYS_INFO"},
        {ZEB_NAS_SYS_INFO_IND, "SYS_INFO_IND"},
        {ZEB_NAS_GET_SIG_INFO, "SIG_INFO"},
        {ZEB_NAS_SIG_INFO_IND, "SIG_INFO_IND"},
        {ZEB_NAS_GET_TX_RX_INFO, "TX_RX_INFO"},
        {ZEB_NAS_CONFIG_SIG_INFO, "CONFIG_SIG_INFO"},
        {ZEB_NAS_PERFORM_INCREMENTAL_SCAN, "INCREMENTAL_SCAN"},
        {ZEB_NAS_GET_LTE_CELL_LOCK_LIST, "LTE_CELL_LOCK_LIST"},
        {ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, "NR5G_CELL_LOCK_LIST"},
        {ZEB_NAS_GET_CQI_INFO, "CQI_INFO"},
    };
    return word_in(table, msg_id);
}

std::string event_name(const cpe_dm_info &info) {
    switch (info.info_type) {
    case CPE_DM_INFO_TYPE_IND:
        return "event " + short_name(cpe_dm_ind_name(info.id));
    case CPE_DM_INFO_TYPE_ASYNC_RSP:
        return std::string("response ") + cpe_dm_async_rsp_name(info.id);
    default:
        return "info type " + std::to_string(info.info_type);
    }
}
