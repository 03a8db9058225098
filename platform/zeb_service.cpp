#include "zeb_service.h"

const zeb_message *zeb_find_message(zeb_service_object service, zeb_message_type type, uint32_t msg_id) {
    for (const zeb_message &message : service->messages) {
        if (message.type == type && message.id == msg_id) {
            return &message;
        }
    }
    return nullptr;
}
