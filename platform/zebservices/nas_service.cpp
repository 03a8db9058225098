/* The service object of the network access service. Its calls are answered by the virtual modem or from a recording. */
#include "modem.h"
#include "nas_messages.h"
#include "replay.h"

#include <cstdlib>

namespace {

/* Whether at least 256 KiB of memory can be allocated. When there is no memory at all, the C++ library cannot even
 * throw std::bad_alloc, and ends the program. */
bool memory_left() {
    void *volatile memory = malloc(size_t{256} * 1024);
    free(memory);
    return memory != nullptr;
}

constinit const zeb_service NAS_SERVICE = {
    .magic = ZEB_SERVICE_MAGIC,
    .service_id = 3,
    .instance = 0,
    .messages = NAS_MESSAGES,
    .wait_present = modem_wait_present,
    .attach = modem_attach,
    .detach = modem_detach,
    .request = modem_request,
};

} // namespace

/* Returns the service object, or null on failure. Unless a recording is to be played, the function also starts the
 * virtual modem, so that an invalid scenario is reported before the program waits for the service. */
zeb_service_object nas_get_service_object_internal_v01(int32_t idl_major_version, int32_t idl_minor_version,
                                                       int32_t library_version) {
    if (!memory_left()) {
        return nullptr;
    }
    if (replay_wanted()) {
        return replay_service_object({static_cast<uint32_t>(idl_major_version),
                                      static_cast<uint32_t>(idl_minor_version),
                                      static_cast<uint32_t>(library_version)});
    }
    if (idl_major_version != 1 || idl_minor_version != 342 || library_version != 6) {
        return nullptr;
    }
    try {
        return modem_switch_on() ? &NAS_SERVICE : nullptr;
    } catch (...) {
        return nullptr;
    }
}
