// A platform that answers by rote, at once, on the caller's thread, and calls back before its calls return.
#include "zeb_nas_v01.h"

#include <cerrno>
#include <cstring>

static char service, handles[64];
static bool used[64];

static int32_t create(zeb_client_handle *handle) {
    static int next;
    while (used[next % 64]) {
        next++;
    }
    used[next % 64] = true;
    *handle = reinterpret_cast<zeb_client_handle>(&handles[next++ % 64]);
    errno = 11;
    return 0;
}

zeb_service_object nas_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
    errno = 12;
    return major == 1 ? reinterpret_cast<zeb_service_object>(&service) : nullptr;
}

int32_t zeb_client_notifier_init(zeb_service_object object, zeb_cci_os_params *, zeb_client_handle *notifier) {
    return object != nullptr ? create(notifier) : ZEB_INVALID_ARG_ERR;
}

int32_t zeb_client_get_service_list(zeb_service_object object, zeb_service_info *info, uint32_t *entries,
                                    uint32_t *services) {
    if (object == nullptr) {
        return ZEB_SERVICE_ERR;
    }
    if (info != nullptr) {
        info[0] = {3, 5, {}};
        *entries = 1;
    }
    *services = 4;
    errno = 13;
    return 0;
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *, uint32_t) {
    errno = 14;
}

int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data) {
    errno = 15;
    callback(notifier, reinterpret_cast<zeb_service_object>(&service), 1, cb_data);
    return 0;
}

int32_t zeb_client_init_instance(zeb_service_object, uint32_t instance, zeb_client_ind_cb ind_cb, void *ind_cb_data,
                                 zeb_cci_os_params *, uint32_t, zeb_client_handle *client) {
    zeb_client_handle created = nullptr;
    if (instance == 7) {
        return ZEB_SERVICE_ERR;
    }
    create(&created);
    ind_cb(created, 0x4E, "\x01\xAB\0", 4, ind_cb_data);
    *client = created;
    errno = 16;
    return 0;
}

int32_t zeb_client_send_msg_sync(zeb_client_handle, uint32_t msg_id, const void *, uint32_t, void *resp,
                                 uint32_t resp_len, uint32_t) {
    if (msg_id == 0x99 || resp == nullptr) {
        return ZEB_TRANSPORT_ERR;
    }
    memset(resp, static_cast<int>(msg_id), resp_len / 2);
    errno = 17;
    return 0;
}

int32_t zeb_client_message_decode(zeb_client_handle, zeb_message_type, uint32_t, const void *buf, uint32_t buf_len,
                                  void *dst, uint32_t) {
    memcpy(dst, buf, buf_len);
    errno = 18;
    return 0;
}

int32_t zeb_client_release(zeb_client_handle client) {
    const auto at = reinterpret_cast<char *>(client) - handles;
    if (client == nullptr || at < 0 || at >= 64 || !used[at]) {
        return ZEB_INVALID_ARG_ERR;
    }
    used[at] = false;
    errno = 19;
    return 0;
}
