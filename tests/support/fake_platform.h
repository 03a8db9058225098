/* A scripted platform: fakes of the three platform libraries. They record every request and log line, and give the
 * answers that a test sets. */
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

/* Forgets requests, log, answers and the hook of fake_on_request, sets the number of services back to 1, and ends
 * fake_report_all. Default answers and clients stay. */
void fake_reset();

/* Adds an answer to a message; `transport` is the status of the call. Each answer is used once, in order. After the
 * last answer the default is used. Without a default the response is zeros, or the bytes of fake_report_all. */
void fake_answer_bytes(uint32_t msg_id, int32_t transport, const void *response, size_t size);
template <typename T> void fake_answer(uint32_t msg_id, const T &response, int32_t transport = 0) {
    fake_answer_bytes(msg_id, transport, &response, sizeof(T));
}

/* With `all`, a message that has neither an answer nor a default gets a response that reports all fields: after the
 * header it has the bytes 1 to 127, again and again. So most fields differ, and none is negative. */
void fake_report_all(bool all);

/* Sets the default answer to a message. */
void fake_default_bytes(uint32_t msg_id, const void *response, size_t size);
template <typename T> void fake_default(uint32_t msg_id, const T &response) {
    fake_default_bytes(msg_id, &response, sizeof(T));
}

/* Sets a hook that gets the message ID of each request before the request is answered. fake_reset removes the hook. */
void fake_on_request(std::function<void(uint32_t msg_id)> hook);

/* Sets the number of services in the service list. The first `late` calls for the list fail. */
void fake_services(uint32_t num_services, int late);

/* Return the requests or the log since the previous call. A log line is its level (E or I), a blank and its text. */
std::vector<fake_request> fake_requests();
std::string fake_log();

/* Calls the indication callback of the connected client with a message. As with the framework, only one callback runs
 * at a time, and none after the client's release. Returns false when no client is connected. */
bool fake_indicate_bytes(uint32_t msg_id, const void *message, size_t size);
template <typename T> bool fake_indicate(uint32_t msg_id, const T &message) {
    return fake_indicate_bytes(msg_id, &message, sizeof(T));
}

/* Calls the notifier's callback. Returns false when there is no notifier or no callback. */
bool fake_notify(int32_t event);

/* The number of clients and notifiers that are not released. */
int fake_clients();

/* Whether every notifier has kept its OS-parameter block: nobody had changed the block of a live notifier, or given it
 * to another notifier, whenever a notifier was made. */
bool fake_blocks_kept();

/* System information with this LTE service status and an NR 5G cell of this PCI (0: no cell). With the default
 * arguments it leads to the registration status CPE_DM_REG_LTE_NR5G. */
zeb_nas_sys_info_resp fake_sys_info(uint32_t lte_srv_status = ZEB_NAS_SRV_STATUS_SRV, uint16_t nr5g_pci = 500);

#endif
