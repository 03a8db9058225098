#include "replay.h"
#include "player.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <pthread.h>

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

enum class replay_state { NOT_STARTED, PLAYS, REFUSED, OF_PARENT };

std::mutex start_lock; /* held while the recording is read; guards what follows */
replay_state state = replay_state::NOT_STARTED;

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

/* Returns false, and says why on standard error, when there is nothing to play. */
bool start() {
    const char *file = environment("ZEB_RECORDING");
    double speed = 1;
    std::string error;
    if (read_speed(speed) && player_start(file, speed, error)) {
        if (atexit(player_sum_up) != 0) {
            fprintf(stderr, "%s: nothing will be summed up at the end\n", file);
        }
        return true;
    }
    fprintf(stderr, "%s%sthe recording is refused: there is no network access service\n", error.c_str(),
            error.empty() ? "" : "\n");
    return false;
}

/* Starts to play at the first call. Throws when out of memory or of threads, and may then be called again. */
bool plays() {
    std::lock_guard guard(start_lock);
    if (state == replay_state::NOT_STARTED) {
        state = start() ? replay_state::PLAYS : replay_state::REFUSED;
    } else if (state == replay_state::OF_PARENT) {
        fprintf(stderr, "%s: is played by the parent process, not by its child of fork\n",
                environment("ZEB_RECORDING"));
        state = replay_state::REFUSED;
    }
    return state == replay_state::PLAYS;
}

/* The recording is that of the parent, and the thread that plays it is not in a child of fork. */
void forget_parent() {
    new (&start_lock) std::mutex;
    state = state == replay_state::PLAYS ? replay_state::OF_PARENT : state;
    player_forget_parent();
}

[[maybe_unused]] const int child_handler = pthread_atfork(nullptr, nullptr, forget_parent);

} // namespace

bool replay_wanted() {
    return environment("ZEB_RECORDING") != nullptr;
}

zeb_service_object replay_service_object(const std::array<uint32_t, 3> &versions) {
    try {
        if (!plays()) {
            return nullptr;
        }
        const int32_t found = player_answer({.kind = zeb_call_kind::OBJECT, .numbers = versions});
        return found == 1 ? &PLAYED_SERVICE : nullptr;
    } catch (...) {
        return nullptr;
    }
}
