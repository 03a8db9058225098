/* ZEB message-interface client library (libzeb_cci): service discovery, clients, synchronous requests and indications.
 *
 * Every function may be called from any thread. A status is 0 for success and negative otherwise. Callbacks run on a
 * thread of the framework. A callback may call zeb_client_message_decode, and must not release a client or a
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
    ZEB_INVALID_ARG_ERR = -4,   /* null or senseless argument, or a handle that is not in use */
    ZEB_UNKNOWN_MSG_ERR = -5,   /* the service definition has no such message of that type */
    ZEB_MSG_LEN_ERR = -6,       /* a buffer or an encoded message has the wrong length */
    ZEB_MSG_MALFORMED_ERR = -7, /* the header of an encoded message does not fit the message */
    ZEB_TRANSPORT_ERR = -8,     /* the message was lost on its way */
};

typedef enum {
    ZEB_MESSAGE_REQUEST = 0,
    ZEB_MESSAGE_RESPONSE = 1,
    ZEB_MESSAGE_INDICATION = 2,
} zeb_message_type;

/* Service events given to a notification callback. */
enum {
    ZEB_EVENT_SERVICE_UP = 0,
    ZEB_EVENT_SERVICE_DOWN = 1,
};

typedef struct zeb_client *zeb_client_handle;
typedef const struct zeb_service *zeb_service_object;

/* The operating-system signal of one client. The owner fills the block with zeros before the first use. */
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

/* An indication of the service: its ID and its encoded bytes. The bytes belong to the framework and are valid only
 * during the call. Indications of one client come one at a time and in order. */
typedef void (*zeb_client_ind_cb)(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                                  void *cb_data);

/* The service came (ZEB_EVENT_SERVICE_UP) or went. */
typedef void (*zeb_client_notify_cb)(zeb_client_handle client, zeb_service_object service, int32_t event,
                                     void *cb_data);

/* Creates a notifier: a client whose signal, in *os_params, is raised whenever the availability of the service changes.
 * The notifier uses *os_params until the notifier is released. On success stores the handle in *notifier and returns 0.
 * Otherwise *notifier is untouched. */
int32_t zeb_client_notifier_init(zeb_service_object service, zeb_cci_os_params *os_params, zeb_client_handle *notifier);

/* Discovery. Returns 0 when the service is present, and stores the number of its instances in *num_services. If
 * info_array is not null, *num_entries is the room of the array on entry, and the number of entries written on return.
 * If info_array is null, num_entries may be null too. Returns ZEB_SERVICE_ERR while the service is absent; nothing is
 * written in that case. */
int32_t zeb_client_get_service_list(zeb_service_object service, zeb_service_info *info_array, uint32_t *num_entries,
                                    uint32_t *num_services);

/* Waits until the signal in *os_params is raised, until its notifier is released, or until timeout_ms have passed (0:
 * no limit). Lowers the signal before it returns. Returns at once if the signal was raised before the call, or if no
 * notifier uses *os_params. */
void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms);

/* Registers the notification callback of a notifier. A notifier can have only one. The callback is called for every
 * later event. */
int32_t zeb_client_register_notify_cb(zeb_client_handle notifier, zeb_client_notify_cb callback, void *cb_data);

#define ZEB_INSTANCE_ANY 0xFFFFu

/* Connects a client to a service instance (ZEB_INSTANCE_ANY: the first). Waits at most timeout_ms for the service.
 * Indications may arrive before the call returns. os_params is not used after the call. On success stores the handle in
 * *client and returns 0. Otherwise *client is untouched. */
int32_t zeb_client_init_instance(zeb_service_object service, uint32_t instance, zeb_client_ind_cb ind_cb,
                                 void *ind_cb_data, zeb_cci_os_params *os_params, uint32_t timeout_ms,
                                 zeb_client_handle *client);

/* Sends a request and waits at most timeout_ms for its response. req and resp are decoded message structures; req_len
 * and resp_len are their sizes in the message's definition. Returns 0 when the request was delivered and answered.
 * Whether the service accepted the request stands in the response header. On failure resp is untouched. */
int32_t zeb_client_send_msg_sync(zeb_client_handle client, uint32_t msg_id, const void *req, uint32_t req_len,
                                 void *resp, uint32_t resp_len, uint32_t timeout_ms);

/* Decodes buf_len bytes at buf, a message of the client's service, into the structure at dst, whose size is dst_len.
 * Reads nothing beyond buf_len. Refuses, with dst untouched, a message type or ID that the service does not define, an
 * encoding of the wrong length, and a destination that is too small. */
int32_t zeb_client_message_decode(zeb_client_handle client, zeb_message_type type, uint32_t msg_id, const void *buf,
                                  uint32_t buf_len, void *dst, uint32_t dst_len);

/* Releases a client or a notifier. Once the call has returned 0, no callback of the client or notifier is running or
 * will run. */
int32_t zeb_client_release(zeb_client_handle client);

#ifdef __cplusplus
}
#endif

#endif
