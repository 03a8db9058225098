/* Feeds indications to the platform's decoder, the module's event processing and the client's callback. The first byte
 * of the input selects the message, whether an LTE scan is outstanding, and whether the other bytes are an encoded
 * message or a structure that is encoded first. */
#include "cpe_dm_client_callback.h"
#include "cpe_dm_interface.h"
#include "cpe_dm_zeb_nas.h"
#include "zeb_wire.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <sched.h>

static zeb_client_handle client;

/* Masks for the first byte of the input. */
constexpr int SELECT_MESSAGE = 3, SELECT_STRUCTURE = 4, SELECT_LTE_SCAN = 8;

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    static cpe_dm_hndl handle;
    zeb_cci_os_params os_params = {};
    const auto service = nas_get_service_object_internal_v01(1, 342, 6);
    const auto ignore = [](zeb_client_handle, uint32_t, const void *, uint32_t, void *) {};
    const bool ok =
        freopen("/dev/null", "w", stdout) != nullptr && cpe_dm_init(&handle, nullptr, cpe_dm_client_callback) == 0 &&
        zeb_client_init_instance(service, ZEB_INSTANCE_ANY, ignore, nullptr, &os_params, 1000, &client) == 0;
    return ok ? 0 : 1;
}

/* Sets the module's state as if the user had asked for everything, so that the module uses every field of a message. */
static void ask_for_all(bool lte_scan) {
    cpe_dm_guard guard;
    cpe_dm_lock_now(guard);
    memset(&cpe_dm_state.lte_scan_request, 1, sizeof(cpe_dm_state) - offsetof(cpe_dm_state_record, lte_scan_request));
    cpe_dm_state.lte_scan_ongoing = lte_scan;
    cpe_dm_state.nr5g_scan_request = 0;
    constexpr cpe_dm_ind_threshold set = {1, 1, 0};
    cpe_dm_state.ind_info = {1, set, set, set, set, set, set};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const uint32_t ids[] = {ZEB_NAS_SYS_INFO_IND, ZEB_NAS_SIG_INFO_IND, ZEB_NAS_SCAN_RESULT_IND, 0x77};
    static const size_t sizes[] = {sizeof(zeb_nas_sys_info), sizeof(zeb_nas_sig_info), sizeof(zeb_nas_scan_result_ind),
                                   4};
    if (size == 0) {
        return 0;
    }
    const int message = data[0] & SELECT_MESSAGE;
    std::vector<uint8_t> encoded(data + 1, data + size);
    if ((data[0] & SELECT_STRUCTURE) != 0) {
        encoded.resize(sizes[message]);
        encoded =
            zeb_encode(ZEB_MESSAGE_INDICATION, ids[message], encoded.data(), static_cast<uint32_t>(sizes[message]));
    }
    ask_for_all((data[0] & SELECT_LTE_SCAN) != 0);
    cpe_dm_zeb_nas_ind_cb(client, ids[message], encoded.data(), static_cast<uint32_t>(encoded.size()), nullptr);
    while (std::atomic_ref(cpe_dm_state.cmdq.count).load() != 0) {
        sched_yield();
    }
    return 0;
}
