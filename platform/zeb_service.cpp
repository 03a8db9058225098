#include "zeb_service.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

const zeb_message *zeb_find_message(zeb_service_object service, zeb_message_type type, uint32_t msg_id) {
    for (const zeb_message &message : service->messages) {
        if (message.type == type && message.id == msg_id) {
            return &message;
        }
    }
    return nullptr;
}

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

int zeb_read_file(const char *name, size_t enough, std::string &text) {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(fopen(name, "rbe"), fclose);
    if (file == nullptr) {
        return errno == ENOMEM ? throw std::bad_alloc() : errno;
    }
    char buffer[4096];
    size_t n;
    while (text.size() <= enough && (n = fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
        text.append(buffer, n);
    }
    return ferror(file.get()) != 0 ? errno : 0;
}

std::thread zeb_start_thread(std::function<void()> body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(body));
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}
