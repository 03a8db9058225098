// Discovery and service events.
#include "zeb_endpoint.h"
#include "zeb_signal.h"

int32_t zeb_client_notifier_init(zeb_service_object service, zeb_cci_os_params *os_params,
                                 zeb_client_handle *notifier) {
    return zeb_guarded([=] {
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
    return zeb_guarded([=] {
        if (!zeb_service_valid(service) || num_services == nullptr ||
            (info_array != nullptr && num_entries == nullptr)) {
            return ZEB_INVALID_ARG_ERR;
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
    return zeb_guarded([=] {
        const auto e = zeb_endpoint_find(notifier);
        if (!e || e->os_params == nullptr || callback == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        std::lock_guard guard(e->lock);
        if (e->notify_cb != nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        e->notify_cb = callback;
        e->notify_cb_data = cb_data;
        return ZEB_NO_ERR;
    });
}
