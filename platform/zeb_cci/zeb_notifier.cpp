/* Notifiers: finding a service, and waiting for its events. */
#include "zeb_endpoint.h"
#include "zeb_signal.h"

int32_t zeb_client_notifier_init(zeb_service_object service, zeb_cci_os_params *os_params,
                                 zeb_client_handle *notifier) {
    return zeb_guarded([=]() -> int32_t {
        if (!zeb_service_valid(service) || os_params == nullptr || notifier == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        const auto e = std::make_shared<zeb_endpoint>();
        e->service = service;
        e->os_params = os_params;
        if (!zeb_signal_open(os_params)) {
            return ZEB_INVALID_ARG_ERR;
        }
        try {
            if (service->replay != nullptr) {
                return zeb_replay_open(zeb_call_kind::NOTIFIER, e, notifier);
            }
            *notifier = zeb_endpoint_open(e);
        } catch (...) {
            zeb_signal_close(os_params);
            throw;
        }
        return ZEB_NO_ERR;
    });
}

int32_t zeb_client_get_service_list(zeb_service_object service, zeb_service_info *info_array, uint32_t *num_entries,
                                    uint32_t *num_services) {
    return zeb_guarded([=]() -> int32_t {
        if (!zeb_service_valid(service) || num_services == nullptr ||
            (info_array != nullptr && num_entries == nullptr)) {
            return ZEB_INVALID_ARG_ERR;
        }
        if (service->replay != nullptr) {
            const uint32_t room = info_array == nullptr ? 0 : *num_entries;
            return zeb_replay_answer(service, {.kind = zeb_call_kind::LIST,
                                               .out = info_array,
                                               .out_len = room * static_cast<uint32_t>(sizeof(zeb_service_info)),
                                               .entries = num_entries,
                                               .services = num_services});
        }
        if (!service->wait_present(0)) {
            return ZEB_SERVICE_ERR;
        }
        if (info_array != nullptr && *num_entries > 0) {
            *info_array = {service->service_id, service->instance, {}};
            *num_entries = 1;
        }
        *num_services = 1;
        return ZEB_NO_ERR;
    });
}

int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data) {
    return zeb_guarded([=]() -> int32_t {
        const auto e = zeb_endpoint_find(notifier);
        if (!e || e->os_params == nullptr || callback == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        {
            std::lock_guard guard(e->lock);
            if (e->notify_cb != nullptr) {
                return ZEB_INVALID_ARG_ERR;
            }
            e->notify_cb = callback;
            e->notify_cb_data = cb_data;
        }
        if (e->service->replay != nullptr) {
            const int32_t status = zeb_replay_answer(e->service, {.kind = zeb_call_kind::WATCH, .peer = e->peer});
            if (status != ZEB_NO_ERR) {
                std::lock_guard guard(e->lock);
                e->notify_cb = nullptr;
                return status;
            }
        }
        return ZEB_NO_ERR;
    });
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    if (os_params != nullptr && !zeb_replay_wait(os_params, timeout_ms)) {
        zeb_signal_wait(os_params, timeout_ms);
    }
}
