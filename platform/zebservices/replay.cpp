#include "replay.h"
#include "player.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr zeb_replay REPLAY = {player_answer, player_returned};

constinit const zeb_service PLAYED_SERVICE = {
    .magic = ZEB_SERVICE_MAGIC,
    .service_id = 0,
    .instance = 0,
    .messages = {},
    .wait_present = [](uint32_t) { return true; },
    .attach = player_attach,
    .detach = player_detach,
    .request = [](uint64_t, uint32_t, const void *, void *, uint32_t) -> int32_t { return ZEB_TRANSPORT_ERR; },
    .replay = &REPLAY,
};

/* In the place of a recording that cannot be played. */
constinit const zeb_service ABSENT_SERVICE = {
    .magic = ZEB_SERVICE_MAGIC,
    .service_id = 0,
    .instance = 0,
    .messages = {},
    .wait_present =
        [](uint32_t timeout_ms) {
            std::this_thread::sleep_for(std::chrono::milliseconds(timeout_ms));
            return false;
        },
    .attach = [](const zeb_sink &) -> uint64_t { return 1; },
    .detach = [](uint64_t) {},
    .request = [](uint64_t, uint32_t, const void *, void *, uint32_t) -> int32_t { return ZEB_SERVICE_ERR; },
};

const char *environment(const char *name) {
    const char *value = getenv(name); // NOLINT(concurrency-mt-unsafe): nobody sets it while the process runs
    return value == nullptr || *value == '\0' ? nullptr : value;
}

bool read_speed(double &speed) {
    const char *text = environment("ZEB_SPEED");
    if (text == nullptr) {
        return true;
    }
    char *end = nullptr;
    speed = strtod(text, &end);
    if (*end != '\0' || !std::isfinite(speed) || speed < 0) {
        fprintf(stderr, "ZEB_SPEED: not a speed: %s\n", text);
        return false;
    }
    return true;
}

/* Returns false when there is nothing to play. */
bool start() {
    const char *file = environment("ZEB_RECORDING");
    double speed = 1;
    std::string error;
    if (!read_speed(speed)) {
        return false;
    }
    if (!player_start(file, speed, error)) {
        fprintf(stderr, "%s\n", error.c_str());
        return false;
    }
    if (atexit(player_sum_up) != 0) {
        fprintf(stderr, "%s: nothing will be summed up at the end\n", file);
    }
    return true;
}

} // namespace

bool replay_wanted() {
    return environment("ZEB_RECORDING") != nullptr;
}

zeb_service_object replay_service_object(const std::array<uint32_t, 3> &versions) {
    try {
        static const bool started = start();
        if (!started) {
            return &ABSENT_SERVICE;
        }
        const int32_t found = player_answer({.kind = zeb_call_kind::OBJECT, .numbers = versions});
        return found == 1 ? &PLAYED_SERVICE : nullptr;
    } catch (...) {
        return nullptr;
    }
}
