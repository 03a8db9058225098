#include "cpe_dm_zeb_nas_request.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_log.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

/* The first three constants are the version of the service definition against which the module is built.
 * NAS_SERVICE_INFO_MAX is the largest number of entries that the module reads from the service list. */
enum {
    NAS_IDL_MAJOR_VERSION = 1,
    NAS_IDL_MINOR_VERSION = 342,
    NAS_LIBRARY_VERSION = 6,
    NAS_SERVICE_INFO_MAX = 10,
};

static zeb_client_handle zeb_nas_clnt_handle;
static zeb_client_handle zeb_nas_notifier_handle;

/* The memory in which the platform keeps the signal of a notifier. A notifier uses one of the two blocks until the
 * notifier is released. If a notifier can never be released, the next notifier gets the second block. */
static zeb_cci_os_params zeb_nas_os_params[2];
static size_t zeb_nas_block; /* the index of the block in use */

/* A notifier that could not be released after a failed connection; null when there is none. This notifier still uses
 * the block zeb_nas_block, so no other notifier may be created on that block. */
static zeb_client_handle zeb_nas_lost_notifier;

zeb_client_handle cpe_dm_zeb_nas_client() {
    return zeb_nas_clnt_handle;
}

static zeb_service_object nas_service_object() {
    return nas_get_service_object_internal_v01(NAS_IDL_MAJOR_VERSION, NAS_IDL_MINOR_VERSION, NAS_LIBRARY_VERSION);
}

int32_t cpe_dm_zeb_nas_client_init() {
    if (zeb_nas_clnt_handle != nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module already initialized");
        return CPE_DM_SUCCESS;
    }
    auto req = cpe_dm_alloc<zeb_nas_indication_register_req>();
    auto resp = cpe_dm_alloc<zeb_nas_empty_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failed");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const zeb_service_object service = nas_service_object();
    if (service == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS service object not available");
        return CPE_DM_ERR_FAILURE;
    }
    zeb_cci_os_params os_params = {};
    const int32_t status = zeb_client_init_instance(service, ZEB_INSTANCE_ANY, cpe_dm_zeb_nas_ind_cb, nullptr,
                                                    &os_params, CPE_DM_NAS_TIMEOUT_MS, &zeb_nas_clnt_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("ZEB NAS client initialization failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    const int32_t error = cpe_dm_zeb_nas_send_registration(*req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("ZEB NAS indication register request failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("ZEB NAS indication register request successful - sys_info[true]");
    CPE_DM_LOG_INFO("NAS service successfully initialized!");
    return CPE_DM_SUCCESS;
}

/* Waits until the service is present. Returns the number of service instances. */
static uint32_t nas_wait_for_service(zeb_service_object service) {
    uint32_t num_services = 0;
    int32_t status = zeb_client_get_service_list(service, nullptr, nullptr, &num_services);
    while (status != 0) {
        CPE_DM_LOG_ERROR("Retrieving ZEB NAS service list failed with status[%d]", status);
        zeb_cci_os_signal_wait(&zeb_nas_os_params[zeb_nas_block], 0);
        status = zeb_client_get_service_list(service, nullptr, nullptr, &num_services);
    }
    return num_services;
}

/* Releases `handle` unless it is null. Sets it to null on success. Returns the status of the release; 0 for a null
 * handle. */
static int32_t nas_release_handle(zeb_client_handle &handle) {
    const int32_t status = handle != nullptr ? zeb_client_release(handle) : 0;
    if (status == 0) {
        handle = nullptr;
    }
    return status;
}

/* Makes a block available for a new notifier. Tries to release the notifier zeb_nas_lost_notifier. When the release
 * fails, this notifier keeps its block. If that is the first block, the function switches to the second block. If that
 * is the second block, the function returns CPE_DM_ERR_FAILURE. */
static int32_t nas_settle_lost_notifier() {
    const int32_t status = nas_release_handle(zeb_nas_lost_notifier);
    if (status == 0) {
        return CPE_DM_SUCCESS;
    }
    CPE_DM_LOG_ERROR("Releasing the ZEB NAS notifier handle failed with status[%d]", status);
    if (zeb_nas_block + 1 == std::size(zeb_nas_os_params)) {
        CPE_DM_LOG_ERROR("Two ZEB NAS notifiers could not be released - no connection in this process any more");
        return CPE_DM_ERR_FAILURE;
    }
    zeb_nas_lost_notifier = nullptr;
    zeb_nas_block++;
    return CPE_DM_SUCCESS;
}

/* Connects to the service. Stops at the first step that fails; the caller then releases the handles that exist. */
static int32_t nas_connect() {
    const zeb_service_object service = nas_service_object();
    if (service == nullptr) {
        CPE_DM_LOG_ERROR("NAS service object is not available!");
        return CPE_DM_ERR_FAILURE;
    }
    int32_t status = nas_settle_lost_notifier();
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    zeb_nas_os_params[zeb_nas_block] = {};
    status = zeb_client_notifier_init(service, &zeb_nas_os_params[zeb_nas_block], &zeb_nas_notifier_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Initializing notifier with a service object failed with status[%d]", status);
        // The failed zeb_client_notifier_init has created no notifier. If the call has stored a handle anyway, the
        // handle is released, and a failure of the release is ignored.
        nas_release_handle(zeb_nas_notifier_handle);
        zeb_nas_notifier_handle = nullptr;
        return CPE_DM_ERR_FAILURE;
    }
    uint32_t num_services = nas_wait_for_service(service);
    zeb_service_info info_array[NAS_SERVICE_INFO_MAX] = {};
    uint32_t num_entries = std::min(num_services, static_cast<uint32_t>(std::size(info_array)));
    status = zeb_client_get_service_list(service, info_array, &num_entries, &num_services);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Retrieving ZEB NAS service list failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("Retrieved ZEB NAS service list - num_entries[%d], num_services[%d]",
                    static_cast<int32_t>(num_entries), static_cast<int32_t>(num_services));
    status = zeb_client_register_notify_cb(zeb_nas_notifier_handle, cpe_dm_zeb_nas_notify_cb, nullptr);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Registering callback for ZEB NAS service events failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    return cpe_dm_zeb_nas_client_init();
}

int32_t cpe_dm_zeb_nas_init() {
    if (zeb_nas_clnt_handle != nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module already initialized");
        return CPE_DM_SUCCESS;
    }
    const int32_t status = nas_connect();
    if (status != CPE_DM_SUCCESS) {
        nas_release_handle(zeb_nas_notifier_handle);
        nas_release_handle(zeb_nas_clnt_handle);
        if (zeb_nas_notifier_handle != nullptr) {
            zeb_nas_lost_notifier = std::exchange(zeb_nas_notifier_handle, nullptr);
        }
        zeb_nas_clnt_handle = nullptr;
    }
    return status;
}

int32_t cpe_dm_zeb_nas_release() {
    if (zeb_nas_clnt_handle == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module not yet initialized - cannot be released!");
        return CPE_DM_ERR_FAILURE;
    }
    int32_t status = nas_release_handle(zeb_nas_notifier_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Releasing the ZEB NAS notifier handle failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    status = nas_release_handle(zeb_nas_clnt_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Releasing the ZEB NAS client handle failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("NAS service successfully released!");
    return CPE_DM_SUCCESS;
}

void cpe_dm_zeb_nas_forget() {
    zeb_nas_clnt_handle = nullptr;
    zeb_nas_notifier_handle = nullptr;
    zeb_nas_lost_notifier = nullptr;
    zeb_nas_block = 0;
}
