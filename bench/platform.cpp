#include "platform.h"

#include "diag_msg.h"

#include <cstring>

struct zeb_client {
    zeb_client_ind_cb ind_cb;
    void *ind_cb_data;
};

struct zeb_service {
    int unused;
};

void (*bench_on_request)(uint32_t msg_id, uint32_t resp_len);

namespace {

const zeb_service service = {};
zeb_client notifier;
zeb_client client;

struct answers {
    zeb_nas_empty_resp empty;
    zeb_nas_cell_location_info_resp cell;
    zeb_nas_sys_info_resp sys;
    zeb_nas_sig_info_resp sig;
    zeb_nas_tx_rx_info_resp tx;
    zeb_nas_cqi_info_resp cqi;
    zeb_nas_lte_cell_lock_list_resp lte_lock;
    zeb_nas_nr5g_cell_lock_list_resp nr5g_lock;
};

/* The answers of a modem in service. CQI: two carriers with two codewords each, for LTE and for NR 5G. Cell locks: four
 * LTE cells and four NR 5G ARFCNs. */
answers make_answers() {
    answers a = {};
    a.cell.lte_intra_valid = 1;
    a.cell.lte_intra = {{0x21, 0xF3, 0x54}, 4711, 98765432, 1850, 201, 1, {{201, -10, -93, {}}}};
    a.cell.nr5g_serving_cell_info_valid = 1;
    a.cell.nr5g_serving = {{0x21, 0xF3, 0x54}, {1, 2, 3}, 12345678901, 500, -11, -95, 17};
    a.cell.nr5g_arfcn_valid = 1;
    a.cell.nr5g_arfcn = 432100;
    a.sys.info.lte_srv_status_valid = 1;
    a.sys.info.lte_srv_status = ZEB_NAS_SRV_STATUS_SRV;
    a.sys.info.lte_srv_domain = 3;
    a.sys.info.lte_srv_capability = 2;
    a.sys.info.nr5g_pci_valid = 1;
    a.sys.info.nr5g_pci = 500;
    a.sig.info.lte_sig_info_valid = 1;
    a.sig.info.lte_sig.rsrp = -93;
    a.sig.info.lte_sig.rsrq = -10;
    a.sig.info.lte_sig.snr = 120;
    a.sig.info.nr5g_sig_info_valid = 1;
    a.sig.info.nr5g_sig.rsrp = -95;
    a.sig.info.nr5g_sig.snr = 17;
    a.sig.info.nr5g_rsrq_valid = 1;
    a.sig.info.nr5g_rsrq = -11;
    a.tx.tx_valid = 1;
    a.tx.tx_pwr = -120;
    a.cqi.lte_cc_cqi_valid = 1;
    a.cqi.lte_cc_cqi_len = 2;
    a.cqi.nr5g_cc_cqi_valid = 1;
    a.cqi.nr5g_cc_cqi_len = 2;
    for (int i = 0; i < 2; i++) {
        a.cqi.lte_cc_cqi[i] = {2, {12, 13}};
        a.cqi.nr5g_cc_cqi[i] = {2, {14, 15}};
    }
    a.lte_lock.lte_cell_list_valid = 1;
    a.lte_lock.lte_cell_list_len = 4;
    a.nr5g_lock.arfcn_identity_valid = 1;
    a.nr5g_lock.arfcn_list_len = 4;
    for (uint16_t i = 0; i < 4; i++) {
        a.lte_lock.lte_cell_list[i] = {i, static_cast<uint16_t>(1850 + i)};
        a.nr5g_lock.arfcn_list[i].arfcn = 432100U + i;
    }
    return a;
}

const answers the_answers = make_answers();

} // namespace

bench_answer bench_answer_to(uint32_t msg_id) {
    switch (msg_id) {
    case ZEB_NAS_GET_CELL_LOCATION_INFO:
        return {&the_answers.cell, sizeof(the_answers.cell)};
    case ZEB_NAS_GET_SYS_INFO:
        return {&the_answers.sys, sizeof(the_answers.sys)};
    case ZEB_NAS_GET_SIG_INFO:
        return {&the_answers.sig, sizeof(the_answers.sig)};
    case ZEB_NAS_GET_TX_RX_INFO:
        return {&the_answers.tx, sizeof(the_answers.tx)};
    case ZEB_NAS_GET_CQI_INFO:
        return {&the_answers.cqi, sizeof(the_answers.cqi)};
    case ZEB_NAS_GET_LTE_CELL_LOCK_LIST:
        return {&the_answers.lte_lock, sizeof(the_answers.lte_lock)};
    case ZEB_NAS_GET_NR5G_CELL_LOCK_LIST:
        return {&the_answers.nr5g_lock, sizeof(the_answers.nr5g_lock)};
    default:
        return {&the_answers.empty, sizeof(the_answers.empty)};
    }
}

void bench_indicate(uint32_t msg_id, const void *message, uint32_t size) {
    client.ind_cb(&client, msg_id, message, size, client.ind_cb_data);
}

void msg_sprintf(const diag_msg_desc *, ...) {}

zeb_service_object nas_get_service_object_internal_v01(int32_t, int32_t, int32_t) {
    return &service;
}

int32_t zeb_client_notifier_init(zeb_service_object, zeb_cci_os_params *, zeb_client_handle *created) {
    *created = &notifier;
    return 0;
}

int32_t zeb_client_get_service_list(zeb_service_object, zeb_service_info *, uint32_t *, uint32_t *num_services) {
    *num_services = 1;
    return 0;
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *, uint32_t) {}

int32_t zeb_client_register_notify_cb(zeb_client_handle, zeb_client_notify_cb, void *) {
    return 0;
}

int32_t zeb_client_init_instance(zeb_service_object, uint32_t, zeb_client_ind_cb ind_cb, void *ind_cb_data,
                                 zeb_cci_os_params *, uint32_t, zeb_client_handle *created) {
    client.ind_cb = ind_cb;
    client.ind_cb_data = ind_cb_data;
    *created = &client;
    return 0;
}

int32_t zeb_client_send_msg_sync(zeb_client_handle, uint32_t msg_id, const void *, uint32_t, void *resp,
                                 uint32_t resp_len, uint32_t) {
    if (bench_on_request != nullptr) {
        bench_on_request(msg_id, resp_len);
    }
    const bench_answer answer = bench_answer_to(msg_id);
    memcpy(resp, answer.bytes, answer.size < resp_len ? answer.size : resp_len);
    return 0;
}

int32_t zeb_client_message_decode(zeb_client_handle, zeb_message_type, uint32_t, const void *buf, uint32_t buf_len,
                                  void *dst, uint32_t) {
    memcpy(dst, buf, buf_len);
    return 0;
}

int32_t zeb_client_release(zeb_client_handle) {
    return 0;
}
