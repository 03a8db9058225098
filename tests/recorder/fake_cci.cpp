/* A platform with fixed answers. It does everything on the caller's thread, and calls back before its calls return. A
 * handle points to an element of `clients`, which is true while the handle is in use. */
#include "zeb_nas_v01.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

static const char service = 0;
static bool clients[64];

static zeb_client_handle create() {
    bool *client = clients;
    while (__atomic_exchange_n(client, true, __ATOMIC_SEQ_CST)) {
        client++;
    }
    return reinterpret_cast<zeb_client_handle>(client);
}

static int32_t done(int error, int32_t status = 0) {
    errno = error;
    return status;
}

zeb_service_object nas_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
    errno = 12;
    return major == 1 ? reinterpret_cast<zeb_service_object>(&service) : nullptr;
}

int32_t zeb_client_notifier_init(zeb_service_object object, zeb_cci_os_params *, zeb_client_handle *notifier) {
    if (object == nullptr) {
        return done(11, ZEB_INVALID_ARG_ERR);
    }
    *notifier = create();
    return 0;
}

int32_t zeb_client_get_service_list(zeb_service_object object, zeb_service_info *info, uint32_t *entries,
                                    uint32_t *services) {
    if (info == nullptr || object == nullptr) {
        return ZEB_SERVICE_ERR;
    }
    info[0] = {3, 5, {}};
    *entries = 1;
    *services = 4;
    return done(13);
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *, uint32_t timeout_ms) {
    usleep(timeout_ms * 1000);
    errno = 14;
}

int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data) {
    callback(notifier, reinterpret_cast<zeb_service_object>(&service), 1, cb_data);
    return done(15);
}

int32_t zeb_client_init_instance(zeb_service_object, uint32_t instance, zeb_client_ind_cb ind_cb, void *ind_cb_data,
                                 zeb_cci_os_params *, uint32_t, zeb_client_handle *client) {
    if (instance == 7) {
        return ZEB_SERVICE_ERR;
    }
    zeb_client_handle created = create();
    ind_cb(created, 0x4E, "\x01\xAB\0", 4, ind_cb_data);
    *client = created;
    return done(16);
}

int32_t zeb_client_send_msg_sync(zeb_client_handle, uint32_t msg_id, const void *, uint32_t, void *resp,
                                 uint32_t resp_len, uint32_t) {
    if (msg_id == 0x99) {
        return ZEB_TRANSPORT_ERR;
    }
    memset(resp, static_cast<int>(msg_id), resp_len / 2);
    return done(17);
}

int32_t zeb_client_message_decode(zeb_client_handle, zeb_message_type, uint32_t, const void *buf, uint32_t buf_len,
                                  void *dst, uint32_t dst_len) {
    if (dst_len < buf_len) {
        return done(20, ZEB_MSG_LEN_ERR);
    }
    memcpy(dst, buf, buf_len);
    return done(18);
}

int32_t zeb_client_release(zeb_client_handle client) {
    auto *used = reinterpret_cast<bool *>(client);
    return used != nullptr && __atomic_exchange_n(used, false, __ATOMIC_SEQ_CST) ? done(19) : ZEB_INVALID_ARG_ERR;
}
