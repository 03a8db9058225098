/* A scripted platform: fakes of the three libraries. They record every request and log line, and answer as a test tells
 * them. */
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

/* Adds an answer to a message. The answers to a message are used in order, each once. When there is none, the default
 * answer is used, and when there is no default, a response of zeros or of fake_report_all. */
void fake_answer_bytes(uint32_t msg_id, int32_t transport, const void *response, size_t size);
template <typename T> void fake_answer(uint32_t msg_id, const T &response, int32_t transport = 0) {
    fake_answer_bytes(msg_id, transport, &response, sizeof(T));
}

/* Whether the answer to a message that has neither reports all fields: behind the header come the bytes 1 to 127, again
 * and again, so that most fields differ, and none is negative. */
void fake_report_all(bool all);

/* The default answer to a message. */
void fake_default_bytes(uint32_t msg_id, const void *response, size_t size);
template <typename T> void fake_default(uint32_t msg_id, const T &response) {
    fake_default_bytes(msg_id, &response, sizeof(T));
}

/* Sets a hook that is called with the ID of each requested message before it is answered, until fake_reset. */
void fake_on_request(std::function<void(uint32_t msg_id)> hook);

/* The number of services that discovery finds. Before that, discovery fails `late` times. */
void fake_services(uint32_t num_services, int late);

/* The requests and the log since the last call. A log line is its level (E or I), a blank and its text. */
std::vector<fake_request> fake_requests();
std::string fake_log();

/* Runs the indication callback of the connected client with a message. As with the framework, one callback runs at a
 * time, and none once the client is released. Returns false when no client is connected. */
bool fake_indicate_bytes(uint32_t msg_id, const void *message, size_t size);
template <typename T> bool fake_indicate(uint32_t msg_id, const T &message) {
    return fake_indicate_bytes(msg_id, &message, sizeof(T));
}

/* Runs the notifier's callback. Returns false when there is none. */
bool fake_notify(int32_t event);

/* The number of clients and notifiers that are not released. */
int fake_clients();

/* Whether every notifier kept its OS-parameter block until its release: nobody changed the block or gave it to another
 * notifier. */
bool fake_blocks_kept();

/* System information with this LTE service status and an NR 5G cell of this PCI (0: no cell). By default it gives the
 * registration status CPE_DM_REG_LTE_NR5G. */
zeb_nas_sys_info_resp fake_sys_info(uint32_t lte_srv_status = ZEB_NAS_SRV_STATUS_SRV, uint16_t nr5g_pci = 500);

#endif
