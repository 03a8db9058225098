/* The encoded form of a message: a header, followed by the bytes of the decoded structure. */
#ifndef ZEB_WIRE_H
#define ZEB_WIRE_H

#include "zeb_service.h"

struct zeb_wire_header {
    uint32_t type;
    uint32_t id;
    uint32_t length; /* bytes that follow the header */
};

std::vector<uint8_t> zeb_encode(zeb_message_type type, uint32_t msg_id, const void *structure, uint32_t size);

/* Does the work of zeb_client_message_decode and returns its status. */
int32_t zeb_decode(zeb_service_object service, zeb_message_type type, uint32_t msg_id, const void *buf,
                   uint32_t buf_len, void *dst, uint32_t dst_len);

#endif
