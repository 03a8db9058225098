/* The functions that the program calls instead of the platform's functions. Each function has the name of a platform
 * function, calls the platform function, and records the call. The recorder also replaces each callback of the program
 * by a callback of its own, which records the indication or event and calls the program's callback. No lock is held
 * while a platform function or a callback of the program runs. */
#pragma GCC visibility push(default) // the library exports what the platform's headers declare
#include "zeb_nas_v01.h"
#pragma GCC visibility pop

#include "zeb_record_clients.h"
#include "zeb_record_lines.h"
#include "zeb_record_state.h"

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>

/* Returns the platform's own function `name`, and stores its address in *found for later calls. A lookup that fails is
 * repeated once, because it may have failed for lack of memory. Returns null, with a line on standard error, when no
 * library has the function. */
static void *platform_function(std::atomic<void *> *found, const char *name) {
    void *function = *found;
    if (function == nullptr) {
        const int error = errno;
        for (int tries = 0; function == nullptr && tries < 2; tries++) {
            function = dlsym(RTLD_NEXT, name);
        }
        if (function == nullptr) {
            zeb_record_say(name, "no library has it", 0);
        }
        *found = function;
        errno = error;
    }
    return function;
}

/* Declares the variable `platform`, which points to the platform's own function `name`, or is null. */
#define PLATFORM_FUNCTION(name)                                                                                        \
    static std::atomic<void *> found;                                                                                  \
    const auto platform = reinterpret_cast<decltype(&(name))>(platform_function(&found, #name))

/* Returns the number of buffer bytes for which a line reserves space: `len`, or 0 if the buffer is too long to be
 * recorded. */
static uint64_t room_of(uint64_t len) {
    return len <= ZEB_RECORD_BYTES_MAX ? len : 0;
}

/* Records that a callback has returned, and how long it took. `recorded` says whether the indication or event itself
 * was recorded. The line of the indication or event is written before the callback begins, because the callback may end
 * the program. */
static void record_returned(zeb_record_call *call, bool recorded, uint32_t number) {
    zeb_record_after(call);
    if (recorded && zeb_record_begin(call, 0, "returned handle=%u", number)) {
        zeb_record_end_took(call);
    }
}

static void record_indication(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                              void *cb_data) {
    auto *entry = static_cast<zeb_record_client *>(cb_data);
    const uint32_t number = entry->number;
    zeb_record_call call = zeb_record_before();
    entry->handle = client; // the indication may come before zeb_client_init_instance has returned
    bool recorded = zeb_record_begin(&call, room_of(ind_buf_len), "ind client=%u id=0x%04x", number, msg_id);
    if (recorded) {
        zeb_record_bytes(&call, "buf", ind_buf, ind_buf_len, ind_buf_len);
        recorded = zeb_record_end(&call);
    }
    entry->ind_cb(client, msg_id, ind_buf, ind_buf_len, entry->cb_data);
    record_returned(&call, recorded, number);
}

static void record_event(zeb_client_handle client, zeb_service_object service, int32_t event, void *cb_data) {
    const auto *entry = static_cast<const zeb_record_client *>(cb_data);
    const uint32_t number = entry->number;
    zeb_record_call call = zeb_record_before();
    const bool recorded =
        zeb_record_begin(&call, 0, "event notifier=%u event=%d", number, event) && zeb_record_end(&call);
    entry->notify_cb(client, service, event, entry->cb_data);
    record_returned(&call, recorded, number);
}

zeb_service_object nas_get_service_object_internal_v01(int32_t idl_major_version, int32_t idl_minor_version,
                                                       int32_t library_version) {
    PLATFORM_FUNCTION(nas_get_service_object_internal_v01);
    if (platform == nullptr) {
        return nullptr;
    }
    zeb_record_call call = zeb_record_before();
    zeb_service_object service = platform(idl_major_version, idl_minor_version, library_version);
    zeb_record_after(&call);
    if (zeb_record_begin(&call, 0, "object major=%d minor=%d library=%d found=%d", idl_major_version, idl_minor_version,
                         library_version, service != nullptr)) {
        zeb_record_end_took(&call);
    }
    return service;
}

int32_t zeb_client_notifier_init(zeb_service_object service, zeb_cci_os_params *os_params,
                                 zeb_client_handle *notifier) {
    PLATFORM_FUNCTION(zeb_client_notifier_init);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    zeb_record_client *entry = call.on ? zeb_record_client_add(0) : nullptr;
    const int32_t status = platform(service, os_params, notifier);
    zeb_record_after(&call);
    const uint32_t number = status == 0 && entry != nullptr ? entry->number.load() : 0;
    if (number != 0) {
        entry->handle = *notifier;
    } else {
        zeb_record_client_undo(entry);
    }
    if (call.on && status == 0 && entry == nullptr) {
        zeb_record_client_unrecorded();
    }
    if (zeb_record_begin(&call, 0, "notifier status=%d notifier=%u", status, number)) {
        zeb_record_end_took(&call);
    }
    return status;
}

static uint32_t bytes_of_entries(const uint32_t *num_entries) {
    const uint64_t bytes = num_entries != nullptr ? uint64_t{*num_entries} * sizeof(zeb_service_info) : 0;
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, UINT32_MAX));
}

int32_t zeb_client_get_service_list(zeb_service_object service, zeb_service_info *info_array, uint32_t *num_entries,
                                    uint32_t *num_services) {
    PLATFORM_FUNCTION(zeb_client_get_service_list);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    const uint32_t room = bytes_of_entries(num_entries);
    const int32_t status = platform(service, info_array, num_entries, num_services);
    zeb_record_after(&call);
    const uint32_t filled = status == 0 ? std::min(room, bytes_of_entries(num_entries)) : 0;
    if (zeb_record_begin(&call, room_of(filled), "list status=%d", status)) {
        zeb_record_count(&call, "entries", num_entries);
        zeb_record_count(&call, "services", num_services);
        zeb_record_bytes(&call, "info", info_array, room, filled);
        zeb_record_end_took(&call);
    }
    return status;
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    PLATFORM_FUNCTION(zeb_cci_os_signal_wait);
    if (platform == nullptr) {
        return;
    }
    zeb_record_call call = zeb_record_before();
    platform(os_params, timeout_ms);
    zeb_record_after(&call);
    if (zeb_record_begin(&call, 0, "wait timeout=%u", timeout_ms)) {
        zeb_record_end_took(&call);
    }
}

int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data) {
    PLATFORM_FUNCTION(zeb_client_register_notify_cb);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    const uint32_t number = zeb_record_client_number(notifier);
    zeb_record_client *entry = number != 0 && callback != nullptr ? zeb_record_client_add(number) : nullptr;
    if (entry != nullptr) {
        entry->notify_cb = callback;
        entry->cb_data = cb_data;
        entry->handle = notifier;
    }
    const int32_t status =
        entry != nullptr ? platform(notifier, record_event, entry) : platform(notifier, callback, cb_data);
    zeb_record_after(&call);
    if (status != 0) {
        zeb_record_client_undo(entry);
    }
    if (call.on && status == 0 && entry == nullptr) {
        zeb_record_client_unrecorded();
    }
    if (zeb_record_begin(&call, 0, "watch notifier=%u status=%d", number, status)) {
        zeb_record_end_took(&call);
    }
    return status;
}

int32_t zeb_client_init_instance(zeb_service_object service, uint32_t instance, zeb_client_ind_cb ind_cb,
                                 void *ind_cb_data, zeb_cci_os_params *os_params, uint32_t timeout_ms,
                                 zeb_client_handle *client) {
    PLATFORM_FUNCTION(zeb_client_init_instance);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    zeb_record_client *entry = call.on && ind_cb != nullptr ? zeb_record_client_add(0) : nullptr;
    if (entry != nullptr) {
        entry->ind_cb = ind_cb;
        entry->cb_data = ind_cb_data;
    }
    const int32_t status = entry != nullptr
                               ? platform(service, instance, record_indication, entry, os_params, timeout_ms, client)
                               : platform(service, instance, ind_cb, ind_cb_data, os_params, timeout_ms, client);
    zeb_record_after(&call);
    const uint32_t number = status == 0 && entry != nullptr ? entry->number.load() : 0;
    if (number != 0) {
        entry->handle = *client;
    } else {
        zeb_record_client_undo(entry);
    }
    if (call.on && status == 0 && entry == nullptr) {
        zeb_record_client_unrecorded();
    }
    if (zeb_record_begin(&call, 0, "client status=%d instance=%u timeout=%u client=%u", status, instance, timeout_ms,
                         number)) {
        zeb_record_end_took(&call);
    }
    return status;
}

int32_t zeb_client_send_msg_sync(zeb_client_handle client, uint32_t msg_id, const void *req, uint32_t req_len,
                                 void *resp, uint32_t resp_len, uint32_t timeout_ms) {
    PLATFORM_FUNCTION(zeb_client_send_msg_sync);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    const uint32_t number = zeb_record_client_number(client);
    const int32_t status = platform(client, msg_id, req, req_len, resp, resp_len, timeout_ms);
    zeb_record_after(&call);
    // After a failed request the response buffer holds only what the program had in it. This content is not recorded.
    const uint32_t answered = status == 0 ? resp_len : 0;
    if (zeb_record_begin(&call, room_of(req_len) + room_of(answered), "send client=%u id=0x%04x status=%d timeout=%u",
                         number, msg_id, status, timeout_ms)) {
        zeb_record_bytes(&call, "req", req, req_len, req_len);
        zeb_record_bytes(&call, "resp", resp, resp_len, answered);
        zeb_record_end_took(&call);
    }
    return status;
}

int32_t zeb_client_message_decode(zeb_client_handle client, zeb_message_type type, uint32_t msg_id, const void *buf,
                                  uint32_t buf_len, void *dst, uint32_t dst_len) {
    PLATFORM_FUNCTION(zeb_client_message_decode);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    const uint32_t number = zeb_record_client_number(client);
    const int32_t status = platform(client, type, msg_id, buf, buf_len, dst, dst_len);
    zeb_record_after(&call);
    const uint32_t decoded = status == 0 ? dst_len : 0;
    if (zeb_record_begin(&call, room_of(buf_len) + room_of(decoded), "decode client=%u type=%d id=0x%04x status=%d",
                         number, static_cast<int>(type), msg_id, status)) {
        zeb_record_bytes(&call, "buf", buf, buf_len, buf_len);
        zeb_record_bytes(&call, "dst", dst, dst_len, decoded);
        zeb_record_end_took(&call);
    }
    return status;
}

int32_t zeb_client_release(zeb_client_handle client) {
    PLATFORM_FUNCTION(zeb_client_release);
    if (platform == nullptr) {
        return ZEB_INTERNAL_ERR;
    }
    zeb_record_call call = zeb_record_before();
    const uint32_t number = zeb_record_client_number(client);
    const uint32_t entries = zeb_record_client_entries(client);
    const int32_t status = platform(client);
    zeb_record_after(&call);
    if (status == 0) {
        zeb_record_client_release(entries);
    }
    if (zeb_record_begin(&call, 0, "release handle=%u status=%d", number, status)) {
        zeb_record_end_took(&call);
    }
    return status;
}
