#include "fake_platform.h"

#include "diag_msg.h"
#include "fault.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <utility>

struct zeb_client {
    zeb_client_ind_cb ind_cb;
    zeb_client_notify_cb notify_cb;
    const zeb_cci_os_params *block; /* the block of a notifier; null for a client */
};

struct zeb_service {
    int unused;
};

namespace {

struct answer {
    int32_t transport;
    std::vector<uint8_t> response;
};

/* Guards data that tests read while other threads use the platform. */
std::mutex books;
std::vector<fake_request> requests;
std::string log_text;
std::map<uint32_t, std::deque<answer>> answers;
std::map<uint32_t, std::vector<uint8_t>> defaults;
uint32_t services = 1;
std::atomic<bool> reports_all;
/* The set is never freed, so that LeakSanitizer does not report a client whose release failed. */
auto *const clients = new std::set<zeb_client *>;
bool blocks_kept = true;
int waits_left;
int late_by;
std::function<void(uint32_t)> on_request;

/* Held while a callback runs, when a client is created, and when a client or notifier is released. */
std::mutex delivery;
zeb_client *client;
zeb_client *notifier;
const zeb_service service = {};

int32_t next_status(const char *function) {
    return fault_hit(function) ? ZEB_INTERNAL_ERR : ZEB_NO_ERR;
}

answer next_answer(uint32_t msg_id) {
    const std::lock_guard guard(books);
    std::deque<answer> &scripted = answers[msg_id];
    if (scripted.empty()) {
        return {0, defaults[msg_id]};
    }
    answer next = scripted.front();
    scripted.pop_front();
    return next;
}

zeb_client *new_client() {
    const std::lock_guard guard(books);
    return *clients->insert(new zeb_client{}).first;
}

/* Whether the block of every notifier still has the bytes that notifier_init wrote, and new_block is none of these
 * blocks. */
bool all_kept(const zeb_cci_os_params *new_block) {
    zeb_cci_os_params used;
    memset(&used, 1, sizeof(used));
    return std::all_of(clients->begin(), clients->end(), [&](const zeb_client *c) {
        return c->block == nullptr || (c->block != new_block && memcmp(c->block, &used, sizeof(used)) == 0);
    });
}

std::vector<uint8_t> bytes_of(const void *data, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    return {bytes, bytes + size};
}

} // namespace

void fake_reset() {
    const std::lock_guard guard(books);
    requests.clear();
    log_text.clear();
    answers.clear();
    services = 1;
    reports_all = false;
    on_request = nullptr;
}

void fake_answer_bytes(uint32_t msg_id, int32_t transport, const void *response, size_t size) {
    const std::lock_guard guard(books);
    answers[msg_id].push_back({transport, bytes_of(response, size)});
}

void fake_default_bytes(uint32_t msg_id, const void *response, size_t size) {
    const std::lock_guard guard(books);
    defaults[msg_id] = bytes_of(response, size);
}

void fake_report_all(bool all) {
    reports_all = all;
}

void fake_services(uint32_t num_services, int late) {
    services = num_services;
    late_by = late;
}

void fake_on_request(std::function<void(uint32_t msg_id)> hook) {
    on_request = std::move(hook);
}

std::vector<fake_request> fake_requests() {
    const std::lock_guard guard(books);
    return std::exchange(requests, {});
}

std::string fake_log() {
    const std::lock_guard guard(books);
    return std::exchange(log_text, {});
}

bool fake_indicate_bytes(uint32_t msg_id, const void *message, size_t size) {
    const std::lock_guard guard(delivery);
    if (client == nullptr) {
        return false;
    }
    client->ind_cb(client, msg_id, message, static_cast<uint32_t>(size), nullptr);
    return true;
}

bool fake_notify(int32_t event) {
    const std::lock_guard guard(delivery);
    if (notifier == nullptr || notifier->notify_cb == nullptr) {
        return false;
    }
    notifier->notify_cb(notifier, &service, event, nullptr);
    return true;
}

int fake_clients() {
    const std::lock_guard guard(books);
    return static_cast<int>(clients->size());
}

bool fake_blocks_kept() {
    return blocks_kept;
}

zeb_nas_sys_info_resp fake_sys_info(uint32_t lte_srv_status, uint16_t nr5g_pci) {
    return {{}, {0, 0, 0, 0, 1, lte_srv_status, 3, 2, nr5g_pci != 0, nr5g_pci, {}}};
}

void msg_sprintf(const diag_msg_desc *desc, ...) {
    char text[600];
    va_list args;
    va_start(args, desc);
    const char *argument = va_arg(args, const char *);
    va_end(args);
    snprintf(text, sizeof(text), "%c %s", desc->level_mask == DIAG_MSG_LEVEL_ERROR ? 'E' : 'I', argument);
    const bool as_agreed = desc->ss_id == 65 && desc->line != 0 && strcmp(desc->fmt, "%s") == 0 &&
                           strncmp(desc->fname, "cpe_dm_", 7) == 0 &&
                           (desc->level_mask == DIAG_MSG_LEVEL_ERROR || desc->level_mask == DIAG_MSG_LEVEL_INFO);
    const std::lock_guard guard(books);
    log_text.append(as_agreed ? "" : "BAD DESCRIPTOR ").append(text).append("\n");
    if (log_text.size() > 1000000) {
        log_text.clear();
    }
}

zeb_service_object nas_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t library) {
    const bool known = major == 1 && minor == 342 && library == 6;
    return known && next_status("nas_get_service_object_internal_v01") == 0 ? &service : nullptr;
}

int32_t zeb_client_notifier_init(zeb_service_object object, zeb_cci_os_params *os_params, zeb_client_handle *created) {
    const int32_t status = next_status("zeb_client_notifier_init");
    const zeb_cci_os_params zero = {};
    blocks_kept = blocks_kept && all_kept(os_params);
    if (status != 0 || object != &service || memcmp(os_params, &zero, sizeof(zero)) != 0) {
        return status != 0 ? status : ZEB_INVALID_ARG_ERR;
    }
    memset(os_params, 1, sizeof(*os_params));
    waits_left = 3;
    notifier = *created = new_client();
    notifier->block = os_params;
    return 0;
}

int32_t zeb_client_get_service_list(zeb_service_object object, zeb_service_info *info_array, uint32_t *num_entries,
                                    uint32_t *num_services) {
    const int32_t status = next_status("zeb_client_get_service_list");
    // The module asks for the number of services again and again until the call succeeds. A test may want all calls to
    // fail. This call succeeds all the same after a few waits, so that the module does not wait for ever.
    const bool over = info_array == nullptr && waits_left == 0;
    if (object != &service || late_by-- > 0 || (status != 0 && !over)) {
        return status != 0 ? status : ZEB_SERVICE_ERR;
    }
    const std::lock_guard guard(books);
    *num_services = services;
    for (uint32_t i = 0; info_array != nullptr && i < *num_entries; i++) {
        info_array[i].service_id = 3;
    }
    return 0;
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *, uint32_t) {
    waits_left--;
}

int32_t zeb_client_register_notify_cb(zeb_client_handle handle, zeb_client_notify_cb callback, void *) {
    const int32_t status = next_status("zeb_client_register_notify_cb");
    if (status == 0) {
        handle->notify_cb = callback;
    }
    return status;
}

int32_t zeb_client_init_instance(zeb_service_object object, uint32_t instance, zeb_client_ind_cb ind_cb, void *,
                                 zeb_cci_os_params *, uint32_t timeout_ms, zeb_client_handle *created) {
    const int32_t status = next_status("zeb_client_init_instance");
    if (status != 0 || object != &service || instance != 65535 || timeout_ms != 50000) {
        return status != 0 ? status : ZEB_INVALID_ARG_ERR;
    }
    const std::lock_guard guard(delivery);
    client = *created = new_client();
    client->ind_cb = ind_cb;
    return 0;
}

int32_t zeb_client_send_msg_sync(zeb_client_handle handle, uint32_t msg_id, const void *req, uint32_t req_len,
                                 void *resp, uint32_t resp_len, uint32_t timeout_ms) {
    if (handle == nullptr || handle != client) {
        return ZEB_INVALID_ARG_ERR;
    }
    {
        const std::lock_guard guard(books);
        requests.push_back({msg_id, bytes_of(req, req_len), resp_len, timeout_ms});
    }
    if (on_request) {
        on_request(msg_id);
    }
    const answer next = next_answer(msg_id);
    if (fault_hit("zeb_client_send_msg_sync")) {
        return ZEB_TRANSPORT_ERR;
    }
    if (next.response.empty()) {
        auto *bytes = static_cast<uint8_t *>(resp);
        for (size_t i = sizeof(zeb_nas_resp_header); i < resp_len && reports_all; i++) {
            bytes[i] = static_cast<uint8_t>(i % 127 + 1);
        }
    } else if (next.response.size() <= resp_len) {
        std::copy(next.response.begin(), next.response.end(), static_cast<uint8_t *>(resp));
    }
    if (fault_hit("result")) {
        *static_cast<zeb_nas_resp_header *>(resp) = {1, 47};
    }
    return next.transport;
}

int32_t zeb_client_message_decode(zeb_client_handle handle, zeb_message_type type, uint32_t, const void *buf,
                                  uint32_t buf_len, void *dst, uint32_t dst_len) {
    const int32_t status = next_status("zeb_client_message_decode");
    if (status != 0 || handle != client || type != ZEB_MESSAGE_INDICATION || buf_len != dst_len) {
        return status != 0 ? status : ZEB_MSG_LEN_ERR;
    }
    memcpy(dst, buf, buf_len);
    return 0;
}

int32_t zeb_client_release(zeb_client_handle handle) {
    const int32_t status = next_status("zeb_client_release");
    if (status != 0 || handle == nullptr) {
        return status != 0 ? status : ZEB_INVALID_ARG_ERR;
    }
    const std::lock_guard guard(delivery);
    client = handle == client ? nullptr : client;
    notifier = handle == notifier ? nullptr : notifier;
    const std::lock_guard book(books);
    clients->erase(handle);
    delete handle;
    return 0;
}
