#include "zeb_record_clients.h"

#include "zeb_record_lines.h"
#include "zeb_record_state.h"

#include <algorithm>
#include <cerrno>

static zeb_record_client clients[ZEB_RECORD_CLIENTS_MAX];
static std::atomic<uint32_t> last_number;
static std::atomic<uint32_t> unrecorded;

zeb_record_client *zeb_record_client_add(uint32_t number) {
    for (zeb_record_client &entry : clients) {
        bool used = false;
        if (entry.used.compare_exchange_strong(used, true)) {
            entry.handle = nullptr;
            entry.own_number = number == 0;
            entry.number = number == 0 ? ++last_number : number;
            entry.ind_cb = nullptr;
            entry.notify_cb = nullptr;
            entry.cb_data = nullptr;
            return &entry;
        }
    }
    return nullptr;
}

void zeb_record_client_unrecorded() {
    zeb_record_call call = zeb_record_before();
    const uint32_t number = ++unrecorded;
    if (zeb_record_begin(&call, 0, "unrecorded handles=%u", number)) {
        zeb_record_end(&call);
    }
    if (number == 1) {
        zeb_record_say("clients", "too many at a time, some go unrecorded", 0);
        errno = call.error;
    }
}

static void client_drop(zeb_record_client *entry) {
    entry->handle = nullptr;
    entry->used = false;
}

void zeb_record_client_undo(zeb_record_client *entry) {
    if (entry == nullptr) {
        return;
    }
    uint32_t number = entry->number;
    if (entry->own_number) {
        last_number.compare_exchange_strong(number, number - 1);
    }
    client_drop(entry);
}

/* The platform may reuse a handle while an older entry still has this handle. The newest entry has the highest number,
 * so the highest number is returned. */
uint32_t zeb_record_client_number(zeb_client_handle handle) {
    uint32_t number = 0;
    for (const zeb_record_client &entry : clients) {
        if (handle != nullptr && entry.handle == handle) {
            number = std::max<uint32_t>(number, entry.number);
        }
    }
    return number;
}

uint32_t zeb_record_client_entries(zeb_client_handle handle) {
    uint32_t entries = 0;
    for (uint32_t i = 0; i < ZEB_RECORD_CLIENTS_MAX; i++) {
        entries |= uint32_t{handle != nullptr && clients[i].handle == handle} << i;
    }
    return entries;
}

void zeb_record_client_release(uint32_t entries) {
    for (uint32_t i = 0; i < ZEB_RECORD_CLIENTS_MAX; i++) {
        if ((entries >> i & 1) != 0) {
            client_drop(&clients[i]);
        }
    }
}
