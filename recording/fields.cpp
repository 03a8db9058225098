#include "fields.h"

#include "cpe_dm_text.h"
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace {

template <typename T> constexpr field_type type_of() {
    if constexpr (std::is_same_v<T, uint8_t>) {
        return field_type::U8;
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        return field_type::U16;
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return field_type::U32;
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return field_type::U64;
    } else if constexpr (std::is_same_v<T, int8_t>) {
        return field_type::I8;
    } else if constexpr (std::is_same_v<T, int16_t>) {
        return field_type::I16;
    } else if constexpr (std::is_same_v<T, int32_t>) {
        return field_type::I32;
    } else if constexpr (std::is_same_v<T, zeb_nas_plmn>) {
        return field_type::PLMN;
    } else {
        static_assert(std::is_class_v<T>, "a type that the table does not know");
        return field_type::GROUP;
    }
}

/* The place of a structure's member of type T. The member is a list if T is an array; otherwise it is one value. */
template <typename T> constexpr field_place place_of(size_t offset) {
    using element = std::remove_extent_t<T>;
    static_assert(!std::is_array_v<element>);
    return {static_cast<uint32_t>(offset), sizeof(element), type_of<element>(),
            static_cast<uint32_t>(std::extent_v<T>)};
}

/* The place of an array of three bytes that together are one value. */
template <typename T> constexpr field_place bytes_of(size_t offset, field_type type) {
    static_assert(std::is_same_v<T, uint8_t[3]>);
    return {static_cast<uint32_t>(offset), sizeof(T), type, 0};
}

#define PLACE(structure, member)       place_of<decltype(structure::member)>(offsetof(structure, member))
#define BYTES(structure, member, type) bytes_of<decltype(structure::member)>(offsetof(structure, member), type)
#define OFFSET(structure, member)                                                                                      \
    uint32_t {                                                                                                         \
        offsetof(structure, member)                                                                                    \
    }

constexpr field_name YES_NO[] = {{0, "no"}, {1, "yes"}};

constexpr field_name SRV_STATUSES[] = {
    {ZEB_NAS_SRV_STATUS_NO_SRV, "no_service"},   {ZEB_NAS_SRV_STATUS_LIMITED, "limited"},
    {ZEB_NAS_SRV_STATUS_SRV, "service"},         {ZEB_NAS_SRV_STATUS_LIMITED_REGIONAL, "limited_regional"},
    {ZEB_NAS_SRV_STATUS_PWR_SAVE, "power_save"},
};
constexpr field_name RADIO_IFS[] = {{ZEB_NAS_RADIO_IF_LTE, "lte"}, {ZEB_NAS_RADIO_IF_NR5G, "nr5g"}};
constexpr field_name CQI_TECHNOLOGIES[] = {{ZEB_NAS_CQI_LTE, "lte"}, {ZEB_NAS_CQI_NR5G, "nr5g"}};
constexpr field_name NETWORK_TYPES[] = {{ZEB_NAS_NETWORK_TYPE_LTE, "lte"}, {ZEB_NAS_NETWORK_TYPE_NR5G, "nr5g"}};
constexpr field_name SCAN_TYPES[] = {{ZEB_NAS_SCAN_TYPE_INCREMENTAL, "incremental"}};

constexpr field RESPONSE_HEADER[] = {
    {.name = "result", .place = PLACE(zeb_nas_resp_header, result)},
    {.name = "error", .place = PLACE(zeb_nas_resp_header, error)},
};

constexpr field SERVICE_ENTRY[] = {
    {.name = "service", .place = PLACE(zeb_service_info, service_id)},
    {.name = "instance", .place = PLACE(zeb_service_info, instance)},
};

namespace register_req {
using s = zeb_nas_indication_register_req;
constexpr field FIELDS[] = {
    {.name = "sys_info", .place = PLACE(s, sys_info), .valid = OFFSET(s, sys_info_valid), .names = YES_NO},
    {.name = "sig_info", .place = PLACE(s, sig_info), .valid = OFFSET(s, sig_info_valid), .names = YES_NO},
};
} // namespace register_req

namespace config_req {
using s = zeb_nas_config_sig_info_req;
/* Describes a threshold: the change of a signal value after which the modem sends an indication. A threshold has as
 * many counts per unit as its signal value. The unit is always dB, because a change of a power in dBm is in dB. */
constexpr field threshold(const char *name, uint32_t counts_per_unit, size_t offset) {
    return {.name = name,
            .unit = "dB",
            .counts_per_unit = counts_per_unit,
            .place = place_of<decltype(zeb_nas_threshold::delta)>(offset + offsetof(zeb_nas_threshold, delta)),
            .valid = static_cast<uint32_t>(offset + offsetof(zeb_nas_threshold, valid))};
}
constexpr field FIELDS[] = {
    threshold("lte.rsrp_change", 1, offsetof(s, lte_rsrp)),   threshold("lte.rsrq_change", 1, offsetof(s, lte_rsrq)),
    threshold("lte.sinr_change", 10, offsetof(s, lte_snr)),   threshold("nr5g.rsrp_change", 1, offsetof(s, nr5g_rsrp)),
    threshold("nr5g.rsrq_change", 1, offsetof(s, nr5g_rsrq)), threshold("nr5g.sinr_change", 10, offsetof(s, nr5g_snr)),
};
static_assert(std::size(FIELDS) == CPE_DM_IND_CNT - 2, "every indication but the registration status has a threshold");
} // namespace config_req

namespace cell_location {
using s = zeb_nas_cell_location_info_resp;
constexpr uint32_t LTE = OFFSET(s, lte_intra_valid);
constexpr uint32_t NR5G = OFFSET(s, nr5g_serving_cell_info_valid);
constexpr field CELL[] = {
    {.name = "pci", .place = PLACE(zeb_nas_intra_cell, pci), .identity = field_identity::PCI},
    {.name = "rsrp", .unit = "dBm", .place = PLACE(zeb_nas_intra_cell, rsrp)},
    {.name = "rsrq", .unit = "dB", .place = PLACE(zeb_nas_intra_cell, rsrq)},
};
constexpr field FIELDS[] = {
    {.metric = CPE_DM_METRIC_LTE_PLMN, .place = BYTES(s, lte_intra.plmn_id, field_type::PLMN_BYTES), .valid = LTE},
    {.metric = CPE_DM_METRIC_LTE_TAC, .place = PLACE(s, lte_intra.tac), .valid = LTE, .identity = field_identity::TAC},
    {.metric = CPE_DM_METRIC_LTE_CGI, .place = PLACE(s, lte_intra.cgi), .valid = LTE, .identity = field_identity::CGI},
    {.metric = CPE_DM_METRIC_LTE_EARFCN,
     .place = PLACE(s, lte_intra.earfcn),
     .valid = LTE,
     .identity = field_identity::CHANNEL},
    {.metric = CPE_DM_METRIC_LTE_PCI,
     .place = PLACE(s, lte_intra.serving_cell_id),
     .valid = LTE,
     .identity = field_identity::PCI},
    {.name = "lte.cell",
     .place = PLACE(s, lte_intra.cells),
     .valid = LTE,
     .length = OFFSET(s, lte_intra.cells_len),
     .group = CELL},
    {.metric = CPE_DM_METRIC_NR5G_PLMN, .place = BYTES(s, nr5g_serving.plmn_id, field_type::PLMN_BYTES), .valid = NR5G},
    {.metric = CPE_DM_METRIC_NR5G_TAC,
     .place = BYTES(s, nr5g_serving.tac, field_type::TAC_BYTES),
     .valid = NR5G,
     .identity = field_identity::TAC},
    {.metric = CPE_DM_METRIC_NR5G_CGI,
     .place = PLACE(s, nr5g_serving.cgi),
     .valid = NR5G,
     .identity = field_identity::CGI},
    {.metric = CPE_DM_METRIC_NR5G_EARFCN,
     .place = PLACE(s, nr5g_arfcn),
     .valid = OFFSET(s, nr5g_arfcn_valid),
     .identity = field_identity::CHANNEL},
    {.metric = CPE_DM_METRIC_NR5G_PCI,
     .place = PLACE(s, nr5g_serving.pci),
     .valid = NR5G,
     .cgi = OFFSET(s, nr5g_serving.cgi),
     .identity = field_identity::PCI},
    {.name = "nr5g.cell_rsrp", .unit = "dBm", .place = PLACE(s, nr5g_serving.rsrp), .valid = NR5G},
    {.name = "nr5g.cell_rsrq", .unit = "dB", .place = PLACE(s, nr5g_serving.rsrq), .valid = NR5G},
    {.name = "nr5g.cell_sinr", .unit = "dB", .place = PLACE(s, nr5g_serving.snr), .valid = NR5G},
};
} // namespace cell_location

namespace sys_info {
using s = zeb_nas_sys_info;
constexpr uint32_t LTE = OFFSET(s, lte_srv_status_valid);
constexpr uint32_t NR5G = OFFSET(s, nr5g_srv_status_valid);
constexpr field FIELDS[] = {
    {.name = "lte.srv_status", .place = PLACE(s, lte_srv_status), .valid = LTE, .names = SRV_STATUSES},
    {.name = "lte.srv_domain", .place = PLACE(s, lte_srv_domain), .valid = LTE},
    {.name = "lte.srv_capability", .place = PLACE(s, lte_srv_capability), .valid = LTE},
    {.name = "nr5g.srv_status", .place = PLACE(s, nr5g_srv_status), .valid = NR5G, .names = SRV_STATUSES},
    {.name = "nr5g.srv_domain", .place = PLACE(s, nr5g_srv_domain), .valid = NR5G},
    {.name = "nr5g.srv_capability", .place = PLACE(s, nr5g_srv_capability), .valid = NR5G},
    {.metric = CPE_DM_METRIC_NR5G_PCI,
     .place = PLACE(s, nr5g_pci),
     .valid = OFFSET(s, nr5g_pci_valid),
     .identity = field_identity::PCI},
};
} // namespace sys_info

namespace sig_info {
using s = zeb_nas_sig_info;
constexpr uint32_t LTE = OFFSET(s, lte_sig_info_valid);
constexpr uint32_t NR5G = OFFSET(s, nr5g_sig_info_valid);
constexpr field FIELDS[] = {
    {.metric = CPE_DM_METRIC_LTE_RSRP, .place = PLACE(s, lte_sig.rsrp), .valid = LTE},
    {.metric = CPE_DM_METRIC_LTE_RSRQ, .place = PLACE(s, lte_sig.rsrq), .valid = LTE},
    {.metric = CPE_DM_METRIC_LTE_SINR, .place = PLACE(s, lte_sig.snr), .valid = LTE},
    {.name = "lte.rssi", .unit = "dBm", .place = PLACE(s, lte_sig.rssi), .valid = LTE},
    {.metric = CPE_DM_METRIC_NR5G_RSRP, .place = PLACE(s, nr5g_sig.rsrp), .valid = NR5G},
    {.metric = CPE_DM_METRIC_NR5G_RSRQ, .place = PLACE(s, nr5g_rsrq), .valid = OFFSET(s, nr5g_rsrq_valid)},
    {.metric = CPE_DM_METRIC_NR5G_SINR, .place = PLACE(s, nr5g_sig.snr), .valid = NR5G},
};
} // namespace sig_info

/* The response to this request has one transmit power. `radio_if` of the request says whether it is the power of LTE
 * or of NR 5G. */
constexpr field TX_RX_INFO_REQ[] = {
    {.name = "radio_if", .place = PLACE(zeb_nas_tx_rx_info_req, radio_if), .names = RADIO_IFS},
};
constexpr field TX_RX_INFO_RESP[] = {
    {.name = "tx_power",
     .unit = "dBm",
     .counts_per_unit = 10,
     .place = PLACE(zeb_nas_tx_rx_info_resp, tx_pwr),
     .valid = OFFSET(zeb_nas_tx_rx_info_resp, tx_valid)},
};

namespace cqi {
constexpr field REQ[] = {
    {.name = "technology",
     .place = PLACE(zeb_nas_cqi_info_req, technology),
     .valid = OFFSET(zeb_nas_cqi_info_req, technology_valid),
     .names = CQI_TECHNOLOGIES},
};
using s = zeb_nas_cqi_info_resp;
constexpr field CARRIER[] = {
    {.name = "cqi", .place = PLACE(zeb_nas_cc_cqi, cw_cqi), .length = OFFSET(zeb_nas_cc_cqi, cw_cqi_len)},
};
constexpr field RESP[] = {
    {.metric = CPE_DM_METRIC_LTE_CQI,
     .place = PLACE(s, lte_cc_cqi),
     .valid = OFFSET(s, lte_cc_cqi_valid),
     .length = OFFSET(s, lte_cc_cqi_len),
     .group = CARRIER,
     .compact = true},
    {.metric = CPE_DM_METRIC_NR5G_CQI,
     .place = PLACE(s, nr5g_cc_cqi),
     .valid = OFFSET(s, nr5g_cc_cqi_valid),
     .length = OFFSET(s, nr5g_cc_cqi_len),
     .group = CARRIER,
     .compact = true},
};
} // namespace cqi

namespace lte_locks {
using s = zeb_nas_lte_cell_lock_list_resp;
constexpr field LOCK[] = {
    {.name = "earfcn", .place = PLACE(zeb_nas_lte_lock, freq), .identity = field_identity::CHANNEL},
    {.name = "pci", .place = PLACE(zeb_nas_lte_lock, pci), .identity = field_identity::PCI},
};
constexpr field FIELDS[] = {
    {.metric = CPE_DM_METRIC_LTE_CELL_LOCK_LIST,
     .place = PLACE(s, lte_cell_list),
     .valid = OFFSET(s, lte_cell_list_valid),
     .length = OFFSET(s, lte_cell_list_len),
     .group = LOCK,
     .compact = true},
};
} // namespace lte_locks

namespace nr5g_locks {
using s = zeb_nas_nr5g_cell_lock_list_resp;
constexpr uint32_t CELL = OFFSET(s, cell_identity_valid);
constexpr field LOCK[] = {
    {.name = "arfcn", .place = PLACE(zeb_nas_nr5g_arfcn_lock, arfcn), .identity = field_identity::CHANNEL},
};
constexpr field FIELDS[] = {
    {.name = "nr5g.lock_type", .place = PLACE(s, type), .valid = OFFSET(s, type_valid)},
    {.name = "nr5g.lock_arfcn", .place = PLACE(s, arfcn), .valid = CELL, .identity = field_identity::CHANNEL},
    {.name = "nr5g.lock_pci", .place = PLACE(s, pci), .valid = CELL, .identity = field_identity::PCI},
    {.metric = CPE_DM_METRIC_NR5G_CELL_LOCK_LIST,
     .place = PLACE(s, arfcn_list),
     .valid = OFFSET(s, arfcn_identity_valid),
     .length = OFFSET(s, arfcn_list_len),
     .group = LOCK,
     .compact = true},
};
} // namespace nr5g_locks

namespace scan {
constexpr field REQ[] = {
    {.name = "network_type",
     .place = PLACE(zeb_nas_incremental_scan_req, network_type),
     .valid = OFFSET(zeb_nas_incremental_scan_req, network_type_valid),
     .names = NETWORK_TYPES},
    {.name = "scan_type",
     .place = PLACE(zeb_nas_incremental_scan_req, scan_type),
     .valid = OFFSET(zeb_nas_incremental_scan_req, scan_type_valid),
     .names = SCAN_TYPES},
};
using s = zeb_nas_scan_result_ind;
using lte = zeb_nas_lte_nbr;
using nr5g = zeb_nas_nr5g_nbr;
constexpr field LTE_NBR[] = {
    {.name = "earfcn", .place = PLACE(lte, earfcn), .identity = field_identity::CHANNEL},
    {.name = "pci", .place = PLACE(lte, pci), .identity = field_identity::PCI},
    {.name = "cgi", .place = PLACE(lte, cgi), .identity = field_identity::CGI},
    {.name = "plmn", .place = PLACE(lte, plmn), .length = OFFSET(lte, plmn_len)},
};
constexpr field NR5G_NBR[] = {
    {.name = "arfcn", .place = PLACE(nr5g, earfcn), .identity = field_identity::CHANNEL},
    {.name = "pci", .place = PLACE(nr5g, pci), .identity = field_identity::PCI},
    {.name = "rsrp", .unit = "dBm", .place = PLACE(nr5g, rsrp)},
    {.name = "plmn", .place = PLACE(nr5g, plmn), .length = OFFSET(nr5g, plmn_len)},
    {.name = "cgi", .place = PLACE(nr5g, cgi), .length = OFFSET(nr5g, cgi_len), .identity = field_identity::CGI},
};
constexpr field RESULT[] = {
    {.name = "scan_status", .place = PLACE(s, scan_status)},
    {.name = "lte.highest_rsrp", .unit = "dBm", .place = PLACE(s, lte.highest_sig_rsrp), .valid = OFFSET(s, lte_valid)},
    {.name = "lte.highest_rsrq", .unit = "dB", .place = PLACE(s, lte.highest_sig_rsrq), .valid = OFFSET(s, lte_valid)},
    {.name = "lte.nbr",
     .place = PLACE(s, lte.nbr),
     .valid = OFFSET(s, lte_valid),
     .length = OFFSET(s, lte.nbr_len),
     .group = LTE_NBR},
    {.name = "nr5g.nbr",
     .place = PLACE(s, nr5g.nbr),
     .valid = OFFSET(s, nr5g_valid),
     .length = OFFSET(s, nr5g.nbr_len),
     .group = NR5G_NBR},
};
} // namespace scan

#undef PLACE
#undef BYTES
#undef OFFSET

constexpr auto REQUEST = ZEB_MESSAGE_REQUEST;
constexpr auto RESPONSE = ZEB_MESSAGE_RESPONSE;
constexpr auto INDICATION = ZEB_MESSAGE_INDICATION;

constexpr message MESSAGES[] = {
    {REQUEST, ZEB_NAS_INDICATION_REGISTER, sizeof(zeb_nas_indication_register_req), 0, register_req::FIELDS},
    {RESPONSE, ZEB_NAS_INDICATION_REGISTER, sizeof(zeb_nas_empty_resp), 0, {}},
    {REQUEST, ZEB_NAS_GET_CELL_LOCATION_INFO, sizeof(zeb_nas_empty_req), 0, {}},
    {RESPONSE, ZEB_NAS_GET_CELL_LOCATION_INFO, sizeof(zeb_nas_cell_location_info_resp), 0, cell_location::FIELDS},
    {REQUEST, ZEB_NAS_GET_SYS_INFO, sizeof(zeb_nas_empty_req), 0, {}},
    {RESPONSE, ZEB_NAS_GET_SYS_INFO, sizeof(zeb_nas_sys_info_resp), offsetof(zeb_nas_sys_info_resp, info),
     sys_info::FIELDS},
    {INDICATION, ZEB_NAS_SYS_INFO_IND, sizeof(zeb_nas_sys_info), 0, sys_info::FIELDS},
    {REQUEST, ZEB_NAS_GET_SIG_INFO, sizeof(zeb_nas_empty_req), 0, {}},
    {RESPONSE, ZEB_NAS_GET_SIG_INFO, sizeof(zeb_nas_sig_info_resp), offsetof(zeb_nas_sig_info_resp, info),
     sig_info::FIELDS},
    {INDICATION, ZEB_NAS_SIG_INFO_IND, sizeof(zeb_nas_sig_info), 0, sig_info::FIELDS},
    {REQUEST, ZEB_NAS_GET_TX_RX_INFO, sizeof(zeb_nas_tx_rx_info_req), 0, TX_RX_INFO_REQ},
    {RESPONSE, ZEB_NAS_GET_TX_RX_INFO, sizeof(zeb_nas_tx_rx_info_resp), 0, TX_RX_INFO_RESP},
    {REQUEST, ZEB_NAS_CONFIG_SIG_INFO, sizeof(zeb_nas_config_sig_info_req), 0, config_req::FIELDS},
    {RESPONSE, ZEB_NAS_CONFIG_SIG_INFO, sizeof(zeb_nas_empty_resp), 0, {}},
    {REQUEST, ZEB_NAS_PERFORM_INCREMENTAL_SCAN, sizeof(zeb_nas_incremental_scan_req), 0, scan::REQ},
    {RESPONSE, ZEB_NAS_PERFORM_INCREMENTAL_SCAN, sizeof(zeb_nas_empty_resp), 0, {}},
    {INDICATION, ZEB_NAS_SCAN_RESULT_IND, sizeof(zeb_nas_scan_result_ind), 0, scan::RESULT},
    {REQUEST, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, sizeof(zeb_nas_empty_req), 0, {}},
    {RESPONSE, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, sizeof(zeb_nas_lte_cell_lock_list_resp), 0, lte_locks::FIELDS},
    {REQUEST, ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, sizeof(zeb_nas_empty_req), 0, {}},
    {RESPONSE, ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, sizeof(zeb_nas_nr5g_cell_lock_list_resp), 0, nr5g_locks::FIELDS},
    {REQUEST, ZEB_NAS_GET_CQI_INFO, sizeof(zeb_nas_cqi_info_req), 0, cqi::REQ},
    {RESPONSE, ZEB_NAS_GET_CQI_INFO, sizeof(zeb_nas_cqi_info_resp), 0, cqi::RESP},
};

/* Whether the metric needs no field of its own in the table. The values of the neighbour metrics are in lists. The
 * registration status is computed from several fields. The field "tx_power" serves two metrics: it has the power of LTE
 * or of NR 5G, whichever was requested. */
constexpr bool is_elsewhere(uint32_t metric) {
    return (metric >= CPE_DM_METRIC_LTE_NBR_EARFCN && metric <= CPE_DM_METRIC_LTE_NBR_RSRQ) ||
           metric == CPE_DM_METRIC_REG_STATUS || metric == CPE_DM_METRIC_LTE_TX_POWER ||
           metric == CPE_DM_METRIC_NR5G_TX_POWER;
}

constexpr bool every_metric_has_a_field() {
    for (uint32_t metric = CPE_DM_METRIC_REG_STATUS; metric < CPE_DM_METRIC_CNT; metric++) {
        bool found = is_elsewhere(metric);
        for (const message &one : MESSAGES) {
            for (const field &f : one.fields) {
                found = found || f.metric == metric;
            }
        }
        if (!found) {
            return false;
        }
    }
    return true;
}
static_assert(every_metric_has_a_field(), "a metric more is a field of the message that carries it");

struct name_row {
    zeb_message_type type;
    uint32_t id;
    const char *name;
};

constexpr name_row NAMES[] = {
    {REQUEST, ZEB_NAS_INDICATION_REGISTER, "register indications"},
    {REQUEST, ZEB_NAS_GET_CELL_LOCATION_INFO, "get cell info"},
    {REQUEST, ZEB_NAS_GET_SYS_INFO, "get system info"},
    {INDICATION, ZEB_NAS_SYS_INFO_IND, "system info"},
    {REQUEST, ZEB_NAS_GET_SIG_INFO, "get signal info"},
    {INDICATION, ZEB_NAS_SIG_INFO_IND, "signal info"},
    {REQUEST, ZEB_NAS_GET_TX_RX_INFO, "get transmit power"},
    {REQUEST, ZEB_NAS_CONFIG_SIG_INFO, "set signal thresholds"},
    {REQUEST, ZEB_NAS_PERFORM_INCREMENTAL_SCAN, "scan neighbours"},
    {INDICATION, ZEB_NAS_SCAN_RESULT_IND, "scan result"},
    {REQUEST, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, "get LTE cell locks"},
    {REQUEST, ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, "get NR 5G cell locks"},
    {REQUEST, ZEB_NAS_GET_CQI_INFO, "get CQI"},
};

template <typename T> T load(const uint8_t *at) {
    T value;
    memcpy(&value, at, sizeof(value));
    return value;
}

/* Copies three bytes to three numbers, because the module's functions take a PLMN or TAC as three numbers. */
void load_bytes(const uint8_t *at, int64_t (&list)[3]) {
    std::copy_n(at, 3, list);
}

bool is_reported(const field &f, const uint8_t *base) {
    cpe_dm_info info = {};
    const uint8_t *at = field_at(f, base, 0);
    info.info_type = CPE_DM_INFO_TYPE_REQUEST;
    info.id = f.metric;
    if (f.place.type == field_type::PLMN_BYTES || f.place.type == field_type::TAC_BYTES) {
        std::copy_n(at, 3, info.value.i64_list);
    } else {
        info.value.i64_val = field_number(f, at);
    }
    const bool has_cgi = f.cgi != FIELD_NO_OFFSET;
    return cpe_dm_is_reported(&info, has_cgi ? CPE_DM_REG_NR5G : CPE_DM_REG_LTE_NR5G,
                              has_cgi ? load<int64_t>(base + f.cgi) : 0) != 0;
}

/* Returns the texts of all elements of the field `part`, with `separator` between them; "" for an empty list. */
std::string part_text(const field &part, const uint8_t *element, const char *separator) {
    std::string text;
    for (uint32_t i = 0; i < field_count(part, element); i++) {
        text += (i == 0 ? "" : separator) + field_text(part, field_at(part, element, i));
    }
    return text;
}

std::string group_text(const field &f, const uint8_t *element) {
    std::string text;
    for (const field &part : f.group) {
        const std::string value = part_text(part, element, f.compact ? "/" : " ");
        if (f.compact) {
            text += (text.empty() ? "" : "/") + (value.empty() ? "-" : value);
        } else if (!value.empty()) {
            const std::string unit = field_unit(part);
            text.append(text.empty() ? "" : ", ").append(field_key(part)).append(" ").append(value);
            text.append(unit.empty() ? "" : " ").append(unit);
        }
    }
    return f.compact ? text : "{" + text + "}";
}

} // namespace

const std::span<const field> message_response_header = RESPONSE_HEADER;
const message message_service_entry = {ZEB_MESSAGE_RESPONSE, 0, sizeof(zeb_service_info), 0, SERVICE_ENTRY};

std::span<const message> message_all() {
    return MESSAGES;
}

const message *message_find(uint32_t type, uint32_t id) {
    const auto *found = std::find_if(std::begin(MESSAGES), std::end(MESSAGES),
                                     [=](const message &m) { return m.type == type && m.id == id; });
    return found == std::end(MESSAGES) ? nullptr : found;
}

const char *message_name(uint32_t type, uint32_t id) {
    const uint32_t asked = type == ZEB_MESSAGE_RESPONSE ? uint32_t{ZEB_MESSAGE_REQUEST} : type;
    const auto *found = std::find_if(std::begin(NAMES), std::end(NAMES),
                                     [=](const name_row &n) { return n.type == asked && n.id == id; });
    return found == std::end(NAMES) ? "unknown message" : found->name;
}

const char *field_key(const field &f) {
    return f.name != nullptr ? f.name : cpe_dm_metric_by_id(f.metric)->key;
}

const char *field_unit(const field &f) {
    return f.metric != 0 ? cpe_dm_metric_by_id(f.metric)->unit : f.unit;
}

uint32_t field_counts_per_unit(const field &f) {
    return f.metric != 0 ? cpe_dm_metric_by_id(f.metric)->counts_per_unit : f.counts_per_unit;
}

bool field_present(const field &f, const uint8_t *base) {
    if (f.valid != FIELD_NO_OFFSET && base[f.valid] == 0) {
        return false;
    }
    return f.metric == 0 || is_reported(f, base);
}

uint32_t field_count(const field &f, const uint8_t *base) {
    if (f.place.max == 0) {
        return 1;
    }
    return std::min(load<uint32_t>(base + f.length), f.place.max);
}

int64_t field_number(const field &f, const uint8_t *at) {
    switch (f.place.type) {
    case field_type::U8:
        return *at;
    case field_type::U16:
        return load<uint16_t>(at);
    case field_type::U32:
        return load<uint32_t>(at);
    case field_type::U64:
    case field_type::I8:
        return f.place.type == field_type::I8 ? load<int8_t>(at) : load<int64_t>(at);
    case field_type::I16:
        return load<int16_t>(at);
    case field_type::I32:
        return load<int32_t>(at);
    case field_type::TAC_BYTES: {
        int64_t bytes[3];
        load_bytes(at, bytes);
        return cpe_dm_nr5g_tac(bytes);
    }
    default:
        return 0;
    }
}

std::string field_text(const field &f, const uint8_t *at) {
    char text[CPE_DM_COUNT_TEXT_SIZE];
    static_assert(sizeof(text) >= CPE_DM_PLMN_TEXT_SIZE);
    switch (f.place.type) {
    case field_type::GROUP:
        return group_text(f, at);
    case field_type::PLMN_BYTES: {
        int64_t bytes[3];
        load_bytes(at, bytes);
        return cpe_dm_plmn_bytes_text(text, sizeof(text), bytes);
    }
    case field_type::PLMN: {
        const auto plmn = load<zeb_nas_plmn>(at);
        const cpe_dm_plmn same = {plmn.plmn_mcc, plmn.plmn_mnc, plmn.plmn_mnc_includes_pcs_digit};
        return cpe_dm_plmn_text(text, sizeof(text), &same);
    }
    case field_type::U64:
        return std::to_string(load<uint64_t>(at));
    default:
        break;
    }
    const int64_t number = field_number(f, at);
    for (const field_name &n : f.names) {
        if (n.number == number) {
            return n.name;
        }
    }
    return cpe_dm_count_text(text, sizeof(text), number, field_counts_per_unit(f));
}

const field *message_field(const message &m, std::string_view key) {
    const auto found =
        std::find_if(m.fields.begin(), m.fields.end(), [key](const field &f) { return field_key(f) == key; });
    return found == m.fields.end() ? nullptr : &*found;
}

std::optional<int64_t> message_number(const message &m, const uint8_t *bytes, std::string_view key) {
    const field *f = message_field(m, key);
    const uint8_t *base = bytes + m.body;
    return f != nullptr && field_present(*f, base) ? std::optional(field_number(*f, field_at(*f, base, 0)))
                                                   : std::nullopt;
}

std::string message_text(const message &m, const uint8_t *bytes) {
    const uint8_t *base = bytes + m.body;
    std::string text;
    for (const field &f : m.fields) {
        if (!field_present(f, base)) {
            continue;
        }
        text += (text.empty() ? "" : ", ") + std::string(field_key(f));
        const uint32_t count = field_count(f, base);
        for (uint32_t i = 0; i < count; i++) {
            text += " " + field_text(f, field_at(f, base, i));
        }
        if (count == 0) {
            text += " none";
        }
        if (*field_unit(f) != '\0') {
            text += std::string(" ") + field_unit(f);
        }
    }
    return text;
}
