#include "replay.h"
#include "player.h"
#include "zeb_cci.h"
#include "zeb_thread.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace {

/* The exit status of a program whose play was not exact, when ZEB_STRICT=1 is set. */
constexpr int NOT_EXACT_STATUS = 10;

const char *environment(const char *name) {
    const char *value = getenv(name); // NOLINT(concurrency-mt-unsafe): no thread calls setenv meanwhile
    return value == nullptr || *value == '\0' ? nullptr : value;
}

bool is_strict() {
    const char *strict = environment("ZEB_STRICT");
    return strict != nullptr && strcmp(strict, "1") == 0;
}

/* Ends the program with NOT_EXACT_STATUS, after the output that is still buffered has been written. Another thread may
 * hold the lock of a stream for long, for example while it reads from the stream. So the function waits without limit
 * for standard output only, and one second for all other streams together. */
[[noreturn]] void end_program() {
    static std::atomic<bool> flushed = false;
    fflush(stdout);
    try {
        zeb_start_thread([] {
            fflush(nullptr);
            flushed = true;
        }).detach();
        for (int ms = 0; ms < 1000 && !flushed; ms++) {
            usleep(1000);
        }
    } catch (...) {
        fprintf(stderr, "no thread to write what is left of the output\n");
    }
    _exit(NOT_EXACT_STATUS);
}

/* Answers a call. If the call waits without limit and the recording has no event left, the wait never ends. An endless
 * wait is correct while the play is exact, because the program on the box was also waiting when the recording ended. If
 * the play is not exact and ZEB_STRICT=1 is set, this function ends the program instead of letting it wait for ever. */
int32_t answer_or_end(const zeb_call &call) {
    const int32_t status = player_answer(call);
    const bool unlimited = call.kind == zeb_call_kind::WAIT && call.numbers[0] == 0;
    if (unlimited && status != ZEB_NO_ERR && player_tell_endless_wait() && is_strict() && !player_sum_up()) {
        end_program();
    }
    return status;
}

constexpr zeb_replay REPLAY = {answer_or_end, player_returned};

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

/* OF_PARENT: this process is a child of fork, and its parent plays. NOT_HERE: the same, and a line on standard error
 * has already said that the child does not play. */
enum class replay_state { NOT_STARTED, PLAYS, REFUSED, OF_PARENT, NOT_HERE };

std::mutex start_lock; /* held while the recording is read */
std::atomic<replay_state> state = replay_state::NOT_STARTED;
bool forked = false; /* this process is a child of fork */

const char *recording_name() {
    const char *name = environment("ZEB_RECORDING");
    // The name is null when the program has removed the variable from its environment.
    return name == nullptr ? "the recording" : name;
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

/* Starts to play. When the recording or ZEB_SPEED is not valid, prints the reason on standard error and returns
 * false. */
bool start() {
    double speed = 1;
    std::string error;
    if (read_speed(speed) && player_start(recording_name(), speed, error)) {
        return true;
    }
    fprintf(stderr, "%s%sthe recording is refused: there is no network access service\n", error.c_str(),
            error.empty() ? "" : "\n");
    return false;
}

/* Whether this process plays the recording. The first call starts the play. Throws when there is no memory or no thread
 * can be started; the caller may then call again. */
bool plays() {
    std::lock_guard guard(start_lock);
    if (state == replay_state::NOT_STARTED) {
        state = start() ? replay_state::PLAYS : replay_state::REFUSED;
    } else if (state == replay_state::OF_PARENT) {
        fprintf(stderr, "%s: is played by the parent process, not by its child of fork\n", recording_name());
        state = replay_state::NOT_HERE;
    }
    return state == replay_state::PLAYS;
}

/* Runs in a child of fork. The child cannot go on with its parent's play, because the thread that plays does not exist
 * in the child. */
void forget_parent() {
    new (&start_lock) std::mutex;
    forked = true;
    if (state == replay_state::PLAYS) {
        state = replay_state::OF_PARENT;
    }
    player_forget_parent();
}

/* Says on standard error whether the play was exact, and returns whether it was. The play is not exact if the
 * recording was refused or the program made no call. Says nothing and returns true when no recording is to be played,
 * and in a child of fork that has started no play. */
bool sum_up() {
    if (state == replay_state::PLAYS) {
        return player_sum_up();
    }
    if (state == replay_state::REFUSED) {
        fprintf(stderr, "not exact: %s: is refused\n", recording_name());
        return false;
    }
    if (state == replay_state::NOT_STARTED && environment("ZEB_RECORDING") != nullptr && !forked) {
        fprintf(stderr, "not exact: %s: the program ended without a call\n", recording_name());
        return false;
    }
    return true;
}

/* Runs last, when the program ends by returning from main or by exit. */
[[gnu::destructor]] void end() {
    if (!sum_up() && is_strict()) {
        end_program();
    }
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
