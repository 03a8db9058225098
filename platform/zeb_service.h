/* A service of the stand-in, as the transport sees it. Private to platform/: for users of the libraries a service
 * object is an opaque pointer. */
#ifndef ZEB_SERVICE_H
#define ZEB_SERVICE_H

#pragma GCC visibility push(default) /* the library exports what the public header declares */
#include "zeb_cci.h"
#pragma GCC visibility pop

#include <cstddef>
#include <span>
#include <vector>

struct zeb_replay;

inline constexpr uint32_t ZEB_SERVICE_MAGIC = 0x5A454253;

/* One message of a service definition. `size` is the size of the decoded structure in bytes. */
struct zeb_message {
    zeb_message_type type;
    uint32_t id;
    uint32_t size;
};

/* How a service delivers an indication or an event to a client or notifier. The service holds its lock while it
 * calls these functions, so they must not block, throw, or call the service. Each function returns whether the callback
 * of the client or notifier is going to run. */
struct zeb_sink {
    void *owner;
    bool (*indication)(void *owner, uint32_t msg_id, std::vector<uint8_t> encoded);
    bool (*event)(void *owner, int32_t event);
};

/* A service object. Every operation may be called from any thread. A peer is a client or a notifier of the service. */
struct zeb_service {
    uint32_t magic; /* ZEB_SERVICE_MAGIC */
    uint32_t service_id;
    uint32_t instance;
    std::span<const zeb_message> messages;

    /* Returns true as soon as the service is present, and false when it is still absent after timeout_ms. If
     * timeout_ms is 0, looks once and does not wait. */
    bool (*wait_present)(uint32_t timeout_ms);

    /* Adds a peer and returns its number, which is never 0. This works also while the service is absent. */
    uint64_t (*attach)(const zeb_sink &sink);

    /* Removes a peer. After the call the peer's sink is not called any more, and pending requests of the peer end. */
    void (*detach)(uint64_t peer);

    /* Carries out a request and returns a status. The caller has checked that `messages` has the ID of the request.
     * *req and *resp have the sizes given in `messages`. The caller fills *resp with zeros before the call. */
    int32_t (*request)(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms);

    /* Not null when a recording is played. The transport then checks only the handles and pointers of a call, and lets
     * the recording answer the call. */
    const zeb_replay *replay = nullptr;
};

/* Returns the message with this type and ID, or null if the service does not define such a message. */
const zeb_message *zeb_find_message(zeb_service_object service, zeb_message_type type, uint32_t msg_id);

#endif
