/* A record that describes one call to the platform's libraries, and the functions that answer such calls when a
 * recording is played. */
#ifndef ZEB_CALL_H
#define ZEB_CALL_H

#include <array>
#include <cstdint>

enum class zeb_call_kind { OBJECT, NOTIFIER, LIST, WAIT, WATCH, CLIENT, SEND, DECODE, RELEASE };

struct zeb_call {
    zeb_call_kind kind;
    uint64_t peer = 0; /* the number of the call's client or notifier; 0: none */

    /* The three versions (OBJECT), the timeout (WAIT), the message ID (SEND), or the message ID and type (DECODE). */
    std::array<uint32_t, 3> numbers = {};

    const void *in = nullptr; /* the request (SEND) or the encoded message (DECODE) */
    uint32_t in_len = 0;
    void *out = nullptr; /* the response (SEND), the decoded message (DECODE) or the array (LIST) */
    uint32_t out_len = 0;
    uint32_t *entries = nullptr;  /* the argument `num_entries` (LIST) */
    uint32_t *services = nullptr; /* the argument `num_services` (LIST) */
    bool in_callback = false;     /* the call is made from a callback */
};

struct zeb_replay {
    /* Returns the recorded return value of the call, and fills *out, *entries and *services as recorded. For a call
     * that is not in the recording, returns 0 if the call is a release, and otherwise an error status. */
    int32_t (*answer)(const zeb_call &call);

    /* To be called when the callback that was given an indication or event for `peer` has returned. */
    void (*returned)(uint64_t peer);
};

#endif
