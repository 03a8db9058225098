/* An endpoint is a client or a notifier. The caller knows the endpoint by its handle, and the service knows the
 * endpoint by its peer number. Each endpoint has a thread that runs its callbacks. */
#ifndef ZEB_ENDPOINT_H
#define ZEB_ENDPOINT_H

#include "zeb_call.h"
#include "zeb_service.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

/* One indication on its way to the callback of a client, or one event on its way to the callback of a notifier. */
struct zeb_delivery {
    uint32_t msg_id;
    int32_t event;
    std::vector<uint8_t> encoded;
};

struct zeb_endpoint {
    /* The caller of zeb_endpoint_open sets these fields before the call. */
    zeb_service_object service = nullptr;
    zeb_client_ind_cb ind_cb = nullptr; /* a client's callback; null for a notifier */
    void *ind_cb_data = nullptr;
    zeb_cci_os_params *os_params = nullptr; /* a notifier's signal; null for a client */

    /* zeb_endpoint_open sets these fields. */
    zeb_client_handle handle = nullptr;
    uint64_t peer = 0;
    std::thread dispatcher;

    std::mutex lock; /* guards the fields below */
    std::condition_variable wake;
    /* The queue grows without limit while a callback blocks. A delivery for which there is no memory is dropped. */
    std::deque<zeb_delivery> queue;
    bool closing = false;
    zeb_client_notify_cb notify_cb = nullptr; /* a notifier's callback; null until it is registered */
    void *notify_cb_data = nullptr;
};

bool zeb_service_valid(zeb_service_object service);

/* Gives the endpoint its handle, attaches it to the service and starts its thread. Throws when memory or threads run
 * out; the endpoint is then neither in use nor attached. */
zeb_client_handle zeb_endpoint_open(const std::shared_ptr<zeb_endpoint> &endpoint);

/* Returns the endpoint with this handle, or null if there is none. The handle of a released endpoint is never used
 * again. */
std::shared_ptr<zeb_endpoint> zeb_endpoint_find(zeb_client_handle handle);

/* Answers a call as the recording says, and returns the recorded status. The service must be one that plays a
 * recording. */
int32_t zeb_replay_answer(zeb_service_object service, zeb_call call);

/* Opens an endpoint of a service that plays a recording. `kind` is CLIENT or NOTIFIER. Returns the recorded status. If
 * the status is 0, stores the handle in *handle; otherwise closes the endpoint again. */
int32_t zeb_replay_open(zeb_call_kind kind, const std::shared_ptr<zeb_endpoint> &endpoint, zeb_client_handle *handle);

/* Plays a recorded wait for the signal in *os_params. Returns true when the recorded wait has ended. Returns false when
 * no recording is played, when the recording has no such wait left, or when the notifier is released meanwhile. */
bool zeb_replay_wait(const zeb_cci_os_params *os_params, uint32_t timeout_ms);

/* Runs the body of one function of the library. If the body throws, returns ZEB_INTERNAL_ERR. */
template <typename F> int32_t zeb_guarded(F body) {
    try {
        return body();
    } catch (...) {
        return ZEB_INTERNAL_ERR;
    }
}

#endif
