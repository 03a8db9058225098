/* A scripted platform: fakes of the three libraries that record every request and log line, and answer as told. */
#ifndef FAKE_PLATFORM_H
#define FAKE_PLATFORM_H

#include "zeb_nas_v01.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

/* A request as the module sent it. */
struct fake_request {
    uint32_t msg_id;
    std::vector<uint8_t> bytes;
    uint32_t resp_len;
    uint32_t timeout_ms;
};

/* Forgets requests, log and answers. Clients stay. */
void fake_reset();

/* The next answers to a message, used in order; without one the message is answered with zeros. */
void fake_answer_bytes(uint32_t msg_id, int32_t transport, const void *response, size_t size);
template <typename T> void fake_answer(uint32_t msg_id, const T &response, int32_t transport = 0) {
    fake_answer_bytes(msg_id, transport, &response, sizeof(T));
}

/* The answer to a message whenever there is no other. */
void fake_default_bytes(uint32_t msg_id, const void *response, size_t size);
template <typename T> void fake_default(uint32_t msg_id, const T &response) {
    fake_default_bytes(msg_id, &response, sizeof(T));
}

/* Called, until fake_reset, with each message that is requested, before it is answered. */
void fake_on_request(std::function<void(uint32_t msg_id)> hook);

/* The number of services that discovery finds, after it was asked in vain for `late` times. */
void fake_services(uint32_t num_services, int late);

/* What was requested and logged since the last call. A log line is its level, E or I, a blank and its text. */
std::vector<fake_request> fake_requests();
std::string fake_log();

/* Runs the indication callback of the connected client with a message, as the framework does: one at a time, and never
 * once the client is released. Returns false when no client is connected. */
bool fake_indicate_bytes(uint32_t msg_id, const void *message, size_t size);
template <typename T> bool fake_indicate(uint32_t msg_id, const T &message) {
    return fake_indicate_bytes(msg_id, &message, sizeof(T));
}

/* Runs the notifier's callback; false when there is none. */
bool fake_notify(int32_t event);

/* Clients and notifiers that are not released. */
int fake_clients();

/* Whether no notifier's OS-parameter block was ever changed or handed to another one before its release. */
bool fake_blocks_kept();

/* Registration status 6: LTE in service with NR 5G cell nr5g_pci. */
zeb_nas_sys_info_resp fake_sys_info(uint32_t lte_srv_status = ZEB_NAS_SRV_STATUS_SRV, uint16_t nr5g_pci = 500);

#endif
