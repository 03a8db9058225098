/* ZEB message-interface client library (libzeb_cci): service discovery, clients, synchronous requests and indications.
 *
 * Every function may be called from any thread. A status is 0 for success and negative otherwise. Callbacks run on
 * threads that the library creates. A callback may call zeb_client_message_decode, and must not release a client or a
 * notifier. */
#ifndef ZEB_CCI_H
#define ZEB_CCI_H

#include <assert.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    ZEB_NO_ERR = 0,
    ZEB_INTERNAL_ERR = -1,      /* out of memory or of threads */
    ZEB_SERVICE_ERR = -2,       /* the service is not present */
    ZEB_TIMEOUT_ERR = -3,       /* no answer within the given time */
    ZEB_INVALID_ARG_ERR = -4,   /* null or invalid argument, or a handle that is not in use */
    ZEB_UNKNOWN_MSG_ERR = -5,   /* the service defines no message of this type and ID */
    ZEB_MSG_LEN_ERR = -6,       /* a buffer or an encoded message has the wrong length */
    ZEB_MSG_MALFORMED_ERR = -7, /* the header of an encoded message has a wrong type, ID or length */
    ZEB_TRANSPORT_ERR = -8,     /* a request or its response was lost */
};

typedef enum {
    ZEB_MESSAGE_REQUEST = 0,
    ZEB_MESSAGE_RESPONSE = 1,
    ZEB_MESSAGE_INDICATION = 2,
} zeb_message_type;

/* The events of a service, as passed to a notification callback. */
enum {
    ZEB_EVENT_SERVICE_UP = 0,
    ZEB_EVENT_SERVICE_DOWN = 1,
};

typedef struct zeb_client *zeb_client_handle;
typedef const struct zeb_service *zeb_service_object;

/* Memory for one signal: a flag that a notifier raises, and that zeb_cci_os_signal_wait waits for. The caller provides
 * the memory, and fills it with zeros before the first use. */
typedef union {
    uint8_t bytes[96];
    uint64_t align;
} zeb_cci_os_params;

/* One service instance found by discovery. */
typedef struct {
    uint32_t service_id;
    uint32_t instance;
    uint32_t reserved[3];
} zeb_service_info;

static_assert(sizeof(zeb_cci_os_params) == 96, "size of the OS-parameter block");
static_assert(sizeof(zeb_service_info) == 20, "size of a service-information entry");

/* Called when an indication of the service has come: msg_id is its ID, and ind_buf holds its encoded bytes. The bytes
 * belong to the library and are valid only during the call. A client's indications come one at a time and in order. */
typedef void (*zeb_client_ind_cb)(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                                  void *cb_data);

/* Called when the service has come (ZEB_EVENT_SERVICE_UP) or gone (ZEB_EVENT_SERVICE_DOWN). The argument `client`
 * is the handle of the notifier. */
typedef void (*zeb_client_notify_cb)(zeb_client_handle client, zeb_service_object service, int32_t event,
                                     void *cb_data);

/* Creates a notifier: a client whose signal, in *os_params, is raised whenever the availability of the service changes.
 * The notifier uses *os_params until the notifier is released. On success stores the handle in *notifier and returns 0.
 * Otherwise *notifier is untouched. */
int32_t zeb_client_notifier_init(zeb_service_object service, zeb_cci_os_params *os_params, zeb_client_handle *notifier);

/* Lists the instances of a service. When the service is present, stores the number of its instances in *num_services
 * and returns 0. If info_array is not null, the caller has set *num_entries to the capacity of the array, and the
 * function sets *num_entries to the number of entries that it has written. If info_array is null, num_entries may be
 * null too. Returns ZEB_SERVICE_ERR and writes nothing while the service is absent. */
int32_t zeb_client_get_service_list(zeb_service_object service, zeb_service_info *info_array, uint32_t *num_entries,
                                    uint32_t *num_services);

/* Waits until the signal in *os_params is raised, until the signal's notifier is released, or until timeout_ms have
 * passed (0: no limit). Lowers the signal before it returns. Returns at once if the signal was raised before the call,
 * or if no notifier uses *os_params. */
void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms);

/* Registers the notification callback of a notifier. A notifier can have only one callback. The callback is called for
 * every event of the service after the registration. */
int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data);

#define ZEB_INSTANCE_ANY 0xFFFFu

/* Creates a client and connects it to a service instance (ZEB_INSTANCE_ANY: the first). Waits at most timeout_ms for
 * the service. Indications may arrive before the call returns. os_params is not used after the call. On success stores
 * the handle in *client and returns 0. Otherwise *client is untouched. */
int32_t zeb_client_init_instance(zeb_service_object service, uint32_t instance, zeb_client_ind_cb ind_cb,
                                 void *ind_cb_data, zeb_cci_os_params *os_params, uint32_t timeout_ms,
                                 zeb_client_handle *client);

/* Sends a request and waits at most timeout_ms for its response. req and resp point to decoded message structures;
 * req_len and resp_len are the sizes of the structures. Returns 0 when the request was delivered and answered. The
 * response header says whether the service accepted the request. On failure *resp is untouched. */
int32_t zeb_client_send_msg_sync(zeb_client_handle client, uint32_t msg_id, const void *req, uint32_t req_len,
                                 void *resp, uint32_t resp_len, uint32_t timeout_ms);

/* Decodes a message of the client's service into the structure at dst. The encoded message has buf_len bytes at buf; no
 * byte after these is read. The structure has room for dst_len bytes. The call fails and leaves the structure untouched
 * if the service does not define the message type and ID, if the encoded message has the wrong length or a wrong
 * header, or if the structure is too small. */
int32_t zeb_client_message_decode(zeb_client_handle client, zeb_message_type type, uint32_t msg_id, const void *buf,
                                  uint32_t buf_len, void *dst, uint32_t dst_len);

/* Releases a client or a notifier. Once the call has returned 0, no callback of the client or notifier is running or
 * will run. */
int32_t zeb_client_release(zeb_client_handle client);

#ifdef __cplusplus
}
#endif

#endif
