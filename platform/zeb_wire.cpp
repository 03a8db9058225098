#include "zeb_wire.h"

#include <cstring>

std::vector<uint8_t> zeb_encode(zeb_message_type type, uint32_t msg_id, const void *structure, uint32_t size) {
    const zeb_wire_header header = {static_cast<uint32_t>(type), msg_id, size};
    std::vector<uint8_t> encoded(sizeof(header) + size);
    memcpy(encoded.data(), &header, sizeof(header));
    memcpy(encoded.data() + sizeof(header), structure, size);
    return encoded;
}

int32_t zeb_decode(zeb_service_object service, zeb_message_type type, uint32_t msg_id, const void *buf,
                   uint32_t buf_len, void *dst, uint32_t dst_len) {
    const zeb_message *message = zeb_find_message(service, type, msg_id);
    if (message == nullptr) {
        return ZEB_UNKNOWN_MSG_ERR;
    }
    zeb_wire_header header;
    if (buf_len != sizeof(header) + message->size || dst_len < message->size) {
        return ZEB_MSG_LEN_ERR;
    }
    memcpy(&header, buf, sizeof(header));
    if (header.type != static_cast<uint32_t>(type) || header.id != msg_id || header.length != message->size) {
        return ZEB_MSG_MALFORMED_ERR;
    }
    memcpy(dst, static_cast<const uint8_t *>(buf) + sizeof(header), message->size);
    return ZEB_NO_ERR;
}
