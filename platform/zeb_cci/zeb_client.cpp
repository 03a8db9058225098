/* Clients: synchronous requests and decoding. */
#include "zeb_endpoint.h"
#include "zeb_wire.h"

#include <cstring>

int32_t zeb_client_init_instance(zeb_service_object service, uint32_t instance, zeb_client_ind_cb ind_cb,
                                 void *ind_cb_data, zeb_cci_os_params *os_params, uint32_t timeout_ms,
                                 zeb_client_handle *client) {
    return zeb_guarded([=]() -> int32_t {
        if (!zeb_service_valid(service) || ind_cb == nullptr || os_params == nullptr || client == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        if (service->replay == nullptr &&
            ((instance != ZEB_INSTANCE_ANY && instance != service->instance) || !service->wait_present(timeout_ms))) {
            return ZEB_SERVICE_ERR;
        }
        const auto e = std::make_shared<zeb_endpoint>();
        e->service = service;
        e->ind_cb = ind_cb;
        e->ind_cb_data = ind_cb_data;
        if (service->replay != nullptr) {
            return zeb_replay_open(zeb_call_kind::CLIENT, e, client);
        }
        *client = zeb_endpoint_open(e);
        return ZEB_NO_ERR;
    });
}

/* The service works on copies of *req and *resp. So a request that fails leaves *resp untouched. */
int32_t zeb_client_send_msg_sync(zeb_client_handle client, uint32_t msg_id, const void *req, uint32_t req_len,
                                 void *resp, uint32_t resp_len, uint32_t timeout_ms) {
    return zeb_guarded([=]() -> int32_t {
        const auto e = zeb_endpoint_find(client);
        if (!e || e->ind_cb == nullptr || req == nullptr || resp == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        if (e->service->replay != nullptr) {
            return zeb_replay_answer(e->service, {.kind = zeb_call_kind::SEND,
                                                  .peer = e->peer,
                                                  .numbers = {msg_id},
                                                  .in = req,
                                                  .in_len = req_len,
                                                  .out = resp,
                                                  .out_len = resp_len});
        }
        const zeb_message *request = zeb_find_message(e->service, ZEB_MESSAGE_REQUEST, msg_id);
        const zeb_message *response = zeb_find_message(e->service, ZEB_MESSAGE_RESPONSE, msg_id);
        if (request == nullptr || response == nullptr) {
            return ZEB_UNKNOWN_MSG_ERR;
        }
        if (req_len != request->size || resp_len != response->size) {
            return ZEB_MSG_LEN_ERR;
        }
        std::vector<uint8_t> sent(req_len);
        std::vector<uint8_t> answered(resp_len);
        memcpy(sent.data(), req, req_len);
        const int32_t status = e->service->request(e->peer, msg_id, sent.data(), answered.data(), timeout_ms);
        if (status == ZEB_NO_ERR) {
            memcpy(resp, answered.data(), resp_len);
        }
        return status;
    });
}

int32_t zeb_client_message_decode(zeb_client_handle client, zeb_message_type type, uint32_t msg_id, const void *buf,
                                  uint32_t buf_len, void *dst, uint32_t dst_len) {
    return zeb_guarded([=]() -> int32_t {
        const auto e = zeb_endpoint_find(client);
        if (!e || buf == nullptr || dst == nullptr) {
            return ZEB_INVALID_ARG_ERR;
        }
        if (e->service->replay != nullptr) {
            return zeb_replay_answer(e->service, {.kind = zeb_call_kind::DECODE,
                                                  .peer = e->peer,
                                                  .numbers = {msg_id, static_cast<uint32_t>(type)},
                                                  .in = buf,
                                                  .in_len = buf_len,
                                                  .out = dst,
                                                  .out_len = dst_len});
        }
        return zeb_decode(e->service, type, msg_id, buf, buf_len, dst, dst_len);
    });
}
