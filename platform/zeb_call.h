/* A call of the platform's libraries, described by a record, and the functions that answer calls when a recording is
 * played. */
#ifndef ZEB_CALL_H
#define ZEB_CALL_H

#include <array>
#include <cstdint>

enum class zeb_call_kind { OBJECT, NOTIFIER, LIST, WAIT, WATCH, CLIENT, SEND, DECODE, RELEASE };

struct zeb_call {
    zeb_call_kind kind;
    uint64_t peer = 0;                    /* the client or notifier of the call; 0: none */
    std::array<uint32_t, 3> numbers = {}; /* OBJECT: versions; WAIT: timeout; SEND: message ID; DECODE: ID and type */
    const void *in = nullptr;             /* SEND: the request; DECODE: the encoded message */
    uint32_t in_len = 0;
    void *out = nullptr; /* SEND: the response; DECODE: the destination; LIST: the array */
    uint32_t out_len = 0;
    uint32_t *entries = nullptr; /* LIST */
    uint32_t *services = nullptr;
    bool in_callback = false; /* the call is made from a callback */
};

struct zeb_replay {
    /* Returns the recorded return value of the call, and fills out, entries and services as recorded. For a wait that
     * was not recorded, returns a status other than 0. */
    int32_t (*answer)(const zeb_call &call);

    /* To be called when the callback for the last delivery to this peer has returned. */
    void (*returned)(uint64_t peer);
};

#endif
