// Between the transport and a service of the stand-in: what a service object is, and how messages travel. Private to
// platform/; the users of the libraries see an opaque pointer.
#pragma once

#pragma GCC visibility push(default) // what the public header declares is what the library exports
#include "zeb_cci.h"
#pragma GCC visibility pop

#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <vector>

inline constexpr uint32_t ZEB_SERVICE_MAGIC = 0x5A454253;

// One message of a service definition. size is that of the decoded structure.
struct zeb_message {
    zeb_message_type type;
    uint32_t id;
    uint32_t size;
};

// Where a service delivers what nobody asked for. It calls these with its lock held, so they must neither block, nor
// throw, nor call the service. They return whether a callback is going to run for it.
struct zeb_sink {
    void *owner;
    bool (*indication)(void *owner, uint32_t msg_id, std::vector<uint8_t> encoded);
    bool (*event)(void *owner, int32_t event);
};

enum class zeb_call_kind { OBJECT, NOTIFIER, LIST, WAIT, WATCH, CLIENT, SEND, DECODE, RELEASE };

// A call of the libraries, as it is put to a recording.
struct zeb_call {
    zeb_call_kind kind;
    uint64_t peer = 0;                    // the client or notifier that it is about; 0: none
    std::array<uint32_t, 3> numbers = {}; // OBJECT: the versions; WAIT: the timeout; SEND, DECODE: message ID, type
    const void *in = nullptr;             // SEND: the request; DECODE: the encoded message
    uint32_t in_len = 0;
    void *out = nullptr; // SEND: the response; DECODE: the destination; LIST: the array
    uint32_t out_len = 0;
    uint32_t *entries = nullptr; // LIST
    uint32_t *services = nullptr;
    bool in_callback = false; // the call is made from a callback
};

// What answers the calls in the place of the libraries while a recording is played.
struct zeb_replay {
    // Returns what the call returned when it was recorded, with out, entries and services as they were then. A wait
    // that was not recorded gives a status other than 0.
    int32_t (*answer)(const zeb_call &call);

    // The callback for the last delivery to that peer has returned.
    void (*returned)(uint64_t peer);
};

// A service object. Every operation may be called from any thread.
struct zeb_service {
    uint32_t magic; // ZEB_SERVICE_MAGIC
    uint32_t service_id;
    uint32_t instance;
    std::span<const zeb_message> messages;

    // True as soon as the service is present; false when it is still absent after timeout_ms (0: looks once).
    bool (*wait_present)(uint32_t timeout_ms);

    // Adds a peer, which may be done while the service is absent; never 0.
    uint64_t (*attach)(const zeb_sink &sink);

    // Removes a peer. Afterwards its sink is no longer called, and its pending requests end.
    void (*detach)(uint64_t peer);

    // Carries out a request of a known ID; both structures have the sizes of the definition, and resp is zero-filled.
    int32_t (*request)(uint64_t peer, uint32_t msg_id, const void *req, void *resp, uint32_t timeout_ms);

    // Not null: a recording is played. The libraries then judge nothing but their handles and pointers, and the service
    // counts as present.
    const zeb_replay *replay = nullptr;
};

// The message of that type and ID, or null when the service does not define it.
const zeb_message *zeb_find_message(zeb_service_object service, zeb_message_type type, uint32_t msg_id);

// What goes before the decoded structure's bytes in an encoded message.
struct zeb_wire_header {
    uint32_t type;
    uint32_t id;
    uint32_t length; // bytes that follow
};

std::vector<uint8_t> zeb_encode(zeb_message_type type, uint32_t msg_id, const void *structure, uint32_t size);

// The decoding behind zeb_client_message_decode.
int32_t zeb_decode(zeb_service_object service, zeb_message_type type, uint32_t msg_id, const void *buf,
                   uint32_t buf_len, void *dst, uint32_t dst_len);

// Appends a file's content to text, or a little more than `enough` of it. Returns 0, or the errno of what went wrong;
// of a lack of memory it says so by std::bad_alloc.
int zeb_read_file(const char *name, size_t enough, std::string &text);

// Starts a thread that leaves the signals of the process to the threads of the program.
std::thread zeb_start_thread(std::function<void()> body);
