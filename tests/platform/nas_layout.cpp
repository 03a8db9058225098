/* Checks the offsets of the fields named in zeb_nas_v01.h, which are the same on every machine. */
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

using offsets = std::initializer_list<size_t>;

static constexpr bool same(offsets found, offsets expected) {
    return std::equal(found.begin(), found.end(), expected.begin(), expected.end());
}

#define AT(member) offsetof(type, member)

// clang-format off: a structure a paragraph
static_assert([] {
    using type = zeb_nas_indication_register_req;
    return same({AT(sys_info_valid), AT(sys_info), AT(sig_info_valid), AT(sig_info)}, {0, 1, 2, 3});
}());
static_assert([] {
    using type = zeb_nas_threshold;
    return same({AT(valid), AT(delta)}, {0, 2});
}());
static_assert([] {
    using type = zeb_nas_config_sig_info_req;
    return same({AT(lte_rsrp), AT(lte_rsrq), AT(lte_snr), AT(nr5g_rsrp), AT(nr5g_rsrq), AT(nr5g_snr)},
                {0, 4, 8, 12, 16, 20});
}());
static_assert([] {
    using type = zeb_nas_intra_cell;
    return same({AT(pci), AT(rsrq), AT(rsrp)}, {0, 2, 4});
}());
static_assert([] {
    using type = zeb_nas_cell_location_info_resp;
    return same({AT(lte_intra_valid), AT(lte_intra.plmn_id), AT(lte_intra.tac), AT(lte_intra.cgi), AT(lte_intra.earfcn),
                 AT(lte_intra.serving_cell_id), AT(lte_intra.cells_len), AT(lte_intra.cells),
                 AT(nr5g_serving_cell_info_valid), AT(nr5g_serving.plmn_id), AT(nr5g_serving.tac), AT(nr5g_serving.cgi),
                 AT(nr5g_serving.pci), AT(nr5g_serving.rsrq), AT(nr5g_serving.rsrp), AT(nr5g_serving.snr),
                 AT(nr5g_arfcn_valid), AT(nr5g_arfcn)},
                {8, 12, 16, 20, 24, 26, 28, 32, 132, 136, 139, 144, 152, 154, 156, 158, 160, 164});
}());
static_assert([] {
    using type = zeb_nas_sys_info;
    return same({AT(nr5g_srv_status_valid), AT(nr5g_srv_status), AT(nr5g_srv_domain), AT(nr5g_srv_capability),
                 AT(lte_srv_status_valid), AT(lte_srv_status), AT(lte_srv_domain), AT(lte_srv_capability),
                 AT(nr5g_pci_valid), AT(nr5g_pci)},
                {0, 4, 8, 12, 16, 20, 24, 28, 32, 34});
}());
static_assert([] {
    using type = zeb_nas_sig_info;
    return same({AT(lte_sig_info_valid), AT(lte_sig.rssi), AT(lte_sig.rsrq), AT(lte_sig.rsrp), AT(lte_sig.snr),
                 AT(nr5g_sig_info_valid), AT(nr5g_sig.rsrp), AT(nr5g_sig.snr), AT(nr5g_rsrq_valid), AT(nr5g_rsrq)},
                {0, 2, 3, 4, 6, 8, 10, 12, 14, 16});
}());
static_assert([] {
    using type = zeb_nas_tx_rx_info_req;
    return same({AT(radio_if)}, {0});
}());
static_assert([] {
    using type = zeb_nas_tx_rx_info_resp;
    return same({AT(tx_valid), AT(tx_pwr)}, {8, 12});
}());
static_assert([] {
    using type = zeb_nas_cqi_info_req;
    return same({AT(technology_valid), AT(technology)}, {0, 4});
}());
static_assert([] {
    using type = zeb_nas_cc_cqi;
    return same({AT(cw_cqi_len), AT(cw_cqi)}, {0, 4});
}());
static_assert([] {
    using type = zeb_nas_cqi_info_resp;
    return same({AT(lte_cc_cqi_valid), AT(lte_cc_cqi_len), AT(lte_cc_cqi), AT(nr5g_cc_cqi_valid), AT(nr5g_cc_cqi_len),
                 AT(nr5g_cc_cqi)},
                {8, 12, 16, 72, 76, 80});
}());
static_assert([] {
    using type = zeb_nas_lte_cell_lock_list_resp;
    return same({AT(lte_cell_list_valid), AT(lte_cell_list_len), AT(lte_cell_list)}, {8, 12, 16});
}());
static_assert([] {
    using type = zeb_nas_nr5g_cell_lock_list_resp;
    return same({AT(type_valid), AT(type), AT(cell_identity_valid), AT(pci), AT(arfcn), AT(arfcn_identity_valid),
                 AT(arfcn_list_len), AT(arfcn_list)},
                {8, 12, 16, 18, 20, 24, 28, 32});
}());
static_assert([] {
    using type = zeb_nas_incremental_scan_req;
    return same({AT(network_type_valid), AT(network_type), AT(scan_type_valid), AT(scan_type)}, {0, 1, 2, 4});
}());
static_assert([] {
    using type = zeb_nas_plmn;
    return same({AT(plmn_mcc), AT(plmn_mnc), AT(plmn_mnc_includes_pcs_digit)}, {0, 2, 4});
}());
static_assert([] {
    using type = zeb_nas_lte_nbr;
    return same({AT(earfcn), AT(pci), AT(cgi), AT(plmn_len), AT(plmn)}, {0, 4, 8, 12, 16});
}());
static_assert([] {
    using type = zeb_nas_nr5g_nbr;
    return same({AT(earfcn), AT(pci), AT(rsrp), AT(plmn_len), AT(plmn), AT(cgi_len), AT(cgi)},
                {0, 4, 6, 8, 12, 84, 88});
}());
static_assert([] {
    using type = zeb_nas_scan_result_ind;
    return same({AT(scan_status), AT(lte_valid), AT(lte.nbr_len), AT(lte.nbr), AT(lte.highest_sig_rsrp),
                 AT(lte.highest_sig_rsrq), AT(nr5g_valid), AT(nr5g.nbr_len), AT(nr5g.nbr)},
                {0, 4, 8, 12, 272, 274, 276, 280, 288});
}());
static_assert([] {
    using type = zeb_service_info;
    return same({AT(service_id), AT(instance)}, {0, 4});
}());
static_assert([] {
    using type = zeb_nas_resp_header;
    return same({AT(result), AT(error)}, {0, 4});
}());
// clang-format on
