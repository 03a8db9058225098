// What was recorded is a sequence of lines. One thread, the conductor, plays them: it answers the program's calls and
// delivers indications and events, one thing at a time, so that their order is that of the lines.
#include "replay.h"
#include "recording.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <map>
#include <memory>
#include <mutex>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>

namespace {

// Real time, in microseconds.
constexpr double QUIET_US = 20000;      // this much of a recorded pause is always kept
constexpr double REST_US = 100000;      // how long after that the program's threads may take to come to rest
constexpr double LOOK_US = 100000;      // how long nobody looks at the clock at most
constexpr double LOOK_MAX_US = 250000;  // what counts of a longer time: the process was stopped, by a debugger say
constexpr double CALLBACK_US = 1000000; // a callback that takes longer no longer holds the rest up
constexpr double AHEAD_US = 100000;     // a call waits this long for what was recorded before it

// Time of the recording.
constexpr double PATIENCE_US = 10000000; // how long a delivery waits for a call that was recorded before it

constexpr const char *CALL_NAMES[] = {"service object", "notifier", "service list", "wait",   "watch",
                                      "client",         "request",  "decoding",     "release"};

// An indication or event, and what it waits for.
struct delivery {
    const recording_entry *entry;
    size_t after;  // the line of the last call before it
    double gap_us; // the time since the line before it
};

// A client or notifier of the recording, and the peer that plays it.
struct role {
    std::vector<delivery> deliveries;
    size_t next = 0;
    uint64_t peer = 0;    // 0: not yet, or released
    double offset_us = 0; // on the clock, what begins at 0 in the recording
};

// The calls that were recorded with the same key.
struct answers {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

// A call that waits for its answer.
struct pending_call {
    const recording_entry *entry;
    uint64_t peer;
    double ready_us; // on the clock
    bool in_callback;
    bool done = false;
    bool ended = false; // its peer was released
};

struct counts {
    size_t as_recorded = 0, out_of_order = 0, repeated = 0, lost = 0; // requests
    size_t delivered = 0;
    size_t decoded = 0, not_decoded = 0;
};

struct player {
    std::string file;
    double speed = 1;
    std::vector<recording_entry> entries;
    size_t delivery_count = 0;
    std::vector<const recording_entry *> requests; // in the order in which they were made

    std::mutex lock; // guards what follows
    std::condition_variable conductor;
    std::condition_variable answered;
    std::unordered_map<std::string, answers> by_key;
    std::unordered_map<const recording_entry *, double> gaps_us;
    std::unordered_map<const recording_entry *, size_t> request_index;
    std::map<uint32_t, role> roles;
    std::map<uint64_t, zeb_sink> peers;
    uint64_t last_peer = 0;
    std::vector<pending_call *> pending;

    std::chrono::steady_clock::time_point looked = std::chrono::steady_clock::now();
    double awake_us = 0;    // real time that the process was not stopped
    double clock_us = 0;    // time of the recording; stands still while it waits for a call
    double shift_us = 0;    // the offset of the last client or notifier
    double stalled_us = 0;  // how long the clock has been standing
    bool impatient = false; // it has stood long enough; until the next call
    double activity_us = 0; // awake_us when the last thing was done
    bool was_delivery = false;
    uint64_t delivering = 0; // the peer whose callback runs
    size_t position = 0;     // the highest line of a call that was answered
    size_t next_request = 0;
    bool differed = false;
    counts count;
};

player *the_player = nullptr;

double rate(const player &p) {
    return p.speed > 0 ? p.speed : 1;
}

double due_us(const role &r, const delivery &d) {
    return static_cast<double>(d.entry->begin_us) + r.offset_us;
}

// The delivery with the lowest line of those whose client or notifier is there.
const delivery *next_delivery(player &p, role *&of) {
    const delivery *next = nullptr;
    for (auto &[number, r] : p.roles) {
        if (r.peer != 0 && r.next < r.deliveries.size() &&
            (next == nullptr || r.deliveries[r.next].entry->line < next->entry->line)) {
            next = &r.deliveries[r.next];
            of = &r;
        }
    }
    return next;
}

bool callback_runs(const player &p) {
    return p.delivering != 0 && p.awake_us - p.activity_us < CALLBACK_US;
}

// Sets the clocks. A delivery never overtakes a call that was recorded before it, but does not wait for it for ever.
void look(player &p) {
    const auto now = std::chrono::steady_clock::now();
    const double passed = std::chrono::duration<double, std::micro>(now - p.looked).count();
    p.looked = now;
    const double awake = std::min(passed, LOOK_MAX_US);
    p.awake_us += awake;
    double moves = awake * rate(p);
    role *r = nullptr;
    const delivery *d = next_delivery(p, r);
    if (d != nullptr && d->after > p.position && p.pending.empty() && !callback_runs(p) && !p.impatient) {
        const double room = std::max(0.0, due_us(*r, *d) - p.clock_us);
        p.stalled_us += std::max(0.0, moves - room);
        moves = std::min(moves, room);
        if (p.stalled_us > PATIENCE_US) {
            p.impatient = true;
            fprintf(stderr, "%s:%zu: goes on without the calls before this line, which do not come\n", p.file.c_str(),
                    d->entry->line);
        }
    }
    p.clock_us += moves;
}

// Whether all other threads of the process sleep, so that what was begun before has been done. Where that cannot be
// seen, they do.
bool at_rest() {
    DIR *tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return true;
    }
    const long self = syscall(SYS_gettid);
    bool rest = true;
    while (const dirent *task = readdir(tasks)) { // NOLINT(concurrency-mt-unsafe): the folder is this thread's own
        const long id = strtol(task->d_name, nullptr, 10);
        char text[512];
        char name[64];
        snprintf(name, sizeof(name), "/proc/self/task/%ld/stat", id);
        FILE *stat = id == 0 || id == self ? nullptr : fopen(name, "re");
        if (stat != nullptr) {
            text[fread(text, 1, sizeof(text) - 1, stat)] = '\0';
            fclose(stat);
            const char *state = strrchr(text, ')');
            rest = rest && (state == nullptr || (strncmp(state, ") R", 3) != 0 && strncmp(state, ") D", 3) != 0));
        }
    }
    closedir(tasks);
    return rest;
}

// How long it still takes until what was done last counts as over, for a line that came so long after it.
double unsettled_us(const player &p, double gap_us) {
    const double quiet = p.awake_us - p.activity_us;
    const double kept = std::min(gap_us, QUIET_US);
    if (quiet < kept) {
        return kept - quiet;
    }
    return quiet < kept + REST_US && !at_rest() ? 1000 : 0;
}

void deliver(player &p, role &r, const delivery &d) {
    const recording_entry &e = *d.entry;
    const zeb_sink &sink = p.peers.at(r.peer);
    bool runs = false;
    r.next++;
    try {
        if (e.kind == recording_kind::EVENT) {
            runs = sink.event(sink.owner, e.status);
        } else {
            std::vector<uint8_t> bytes(e.in.head.begin(), e.in.head.end());
            bytes.resize(e.in.length);
            runs = sink.indication(sink.owner, e.numbers[0], std::move(bytes));
        }
    } catch (const std::bad_alloc &) {
        runs = false; // lost
    }
    p.count.delivered += runs;
    p.delivering = runs ? r.peer : 0;
    p.activity_us = p.awake_us;
    p.was_delivery = true;
    if (p.speed == 0) {
        p.clock_us = std::max(p.clock_us, due_us(r, d));
    }
}

void answer(player &p, pending_call &call) {
    const recording_entry &e = *call.entry;
    call.done = true;
    std::erase(p.pending, &call);
    if (e.line > p.position) {
        p.position = e.line;
        p.stalled_us = 0;
        p.impatient = false;
    }
    p.activity_us = p.awake_us;
    p.was_delivery = false;
    if (p.speed == 0) {
        p.clock_us = std::max(p.clock_us, static_cast<double>(e.begin_us + e.took_us) + p.shift_us);
    }
    p.answered.notify_all();
}

// Does what comes next, or returns how long that may take.
double play(player &p) {
    const bool in_callback = callback_runs(p);
    pending_call *call = nullptr;
    for (pending_call *c : p.pending) {
        if ((c->in_callback || !in_callback) && (call == nullptr || c->entry->line < call->entry->line)) {
            call = c;
        }
    }
    role *r = nullptr;
    const delivery *d = in_callback ? nullptr : next_delivery(p, r);
    const double factor = rate(p);
    double wait = LOOK_US;
    const double first = p.speed > 0 && call != nullptr ? std::max(call->ready_us, p.clock_us) : 0;
    const bool before_call = d != nullptr && call != nullptr && !call->in_callback &&
                             d->entry->line < call->entry->line &&
                             (p.speed == 0 || due_us(*r, *d) <= first + AHEAD_US * factor);
    if (call != nullptr && !before_call) {
        wait = p.speed > 0 ? (call->ready_us - p.clock_us) / factor : 0;
        if (p.was_delivery && !call->in_callback) {
            wait = std::max(wait, unsettled_us(p, p.gaps_us.at(call->entry)));
        }
        if (wait <= 0) {
            answer(p, *call);
        }
    } else if (d != nullptr && (before_call || d->after <= p.position || p.impatient)) {
        wait = p.speed > 0 ? (due_us(*r, *d) - p.clock_us) / factor : 0;
        if (wait <= 0) {
            wait = unsettled_us(p, d->gap_us);
        }
        if (wait <= 0) {
            deliver(p, *r, *d);
        }
    }
    return wait;
}

void conduct(player *p) {
    std::unique_lock guard(p->lock);
    for (;;) {
        look(*p);
        const double wait = play(*p);
        if (wait > 0) {
            p->conductor.wait_for(guard, std::chrono::duration<double, std::micro>(std::min(wait, LOOK_US)));
        }
    }
}

// Whether the call was recorded as one of the given client or notifier, which the libraries then knew.
bool takes_part(const recording_entry &e) {
    const bool of_handle = e.call == zeb_call_kind::SEND || e.call == zeb_call_kind::DECODE ||
                           e.call == zeb_call_kind::WATCH || e.call == zeb_call_kind::RELEASE;
    return e.kind == recording_kind::CALL && (!of_handle || e.handle != 0);
}

void prepare(player &p) {
    size_t after = 0;
    double end_before = 0;
    for (const recording_entry &e : p.entries) {
        const double end = static_cast<double>(e.begin_us + e.took_us);
        const double gap = std::max(0.0, end - end_before);
        end_before = std::max(end, end_before);
        if (e.kind != recording_kind::CALL) {
            p.roles[e.handle].deliveries.push_back({&e, after, gap});
            p.delivery_count++;
        } else if (takes_part(e)) {
            const std::string key = recording_key(e.call, e.numbers, e.in, e.out.null, e.out.length);
            p.by_key[key].entries.push_back(&e);
            p.gaps_us[&e] = gap;
            after = e.call == zeb_call_kind::DECODE ? after : e.line;
            if (e.call == zeb_call_kind::SEND) {
                p.requests.push_back(&e);
            }
        }
    }
    std::stable_sort(p.requests.begin(), p.requests.end(),
                     [](const auto *a, const auto *b) { return a->begin_us < b->begin_us; });
    for (size_t i = 0; i < p.requests.size(); i++) {
        p.request_index[p.requests[i]] = i;
    }
    p.clock_us = p.entries.empty() ? 0 : static_cast<double>(p.entries.front().begin_us);
}

// Names the first request that is not the one that was recorded next.
void tell_difference(player &p, uint32_t msg_id) {
    if (p.differed) {
        return;
    }
    p.differed = true;
    if (p.next_request < p.requests.size()) {
        const recording_entry &expected = *p.requests[p.next_request];
        fprintf(stderr, "%s:%zu: the first request that differs: 0x%04x, where 0x%04x was recorded\n", p.file.c_str(),
                expected.line, msg_id, expected.numbers[0]);
    } else {
        fprintf(stderr, "%s:%zu: the first request that differs: 0x%04x, after the last one that was recorded\n",
                p.file.c_str(), p.requests.empty() ? 1 : p.requests.back()->line, msg_id);
    }
}

void count_request(player &p, uint32_t msg_id, const recording_entry *entry, bool repeated) {
    if (entry == nullptr) {
        tell_difference(p, msg_id);
        p.count.lost++;
    } else if (repeated) {
        tell_difference(p, msg_id);
        p.count.repeated++;
    } else if (const size_t index = p.request_index.at(entry); index == p.next_request) {
        p.count.as_recorded++;
        p.next_request++;
    } else {
        tell_difference(p, msg_id);
        p.count.out_of_order++;
        p.next_request = std::max(p.next_request, index + 1);
    }
}

uint32_t number_of(const player &p, uint64_t peer) {
    for (const auto &[number, r] : p.roles) {
        if (peer != 0 && r.peer == peer) {
            return number;
        }
    }
    return 0;
}

// The recorded call that answers this one: the next of its kind, or the last again.
const recording_entry *find_answer(player &p, const zeb_call &call, bool &repeated) {
    const recording_bytes in = recording_pack(call.in, call.in_len);
    const auto found = p.by_key.find(recording_key(call.kind, call.numbers, in, call.out == nullptr, call.out_len));
    const recording_entry *entry = nullptr;
    if (found != p.by_key.end()) {
        answers &a = found->second;
        repeated = a.next == a.entries.size();
        // A wait ends when something happens, and nothing more does.
        if (!repeated || call.kind != zeb_call_kind::WAIT) {
            entry = repeated ? a.entries.back() : a.entries[a.next++];
        }
    }
    if (call.kind == zeb_call_kind::SEND) {
        count_request(p, call.numbers[0], entry, repeated);
    } else if (call.kind == zeb_call_kind::DECODE) {
        (entry != nullptr ? p.count.decoded : p.count.not_decoded)++;
    }
    if (entry == nullptr && call.kind != zeb_call_kind::WAIT) {
        fprintf(stderr, "%s:%zu: after this line: %s, message 0x%04x, was never recorded and is lost\n", p.file.c_str(),
                p.position, CALL_NAMES[static_cast<size_t>(call.kind)], call.numbers[0]);
    }
    return entry;
}

// From here on the peer plays the client or notifier with that number.
void take_role(player &p, uint64_t peer, const recording_entry &entry) {
    p.shift_us = p.clock_us - static_cast<double>(entry.begin_us);
    role &r = p.roles[entry.handle];
    r.peer = peer;
    r.offset_us = p.shift_us;
}

void fill(const recording_entry &entry, const zeb_call &call) {
    if (call.out != nullptr && call.out_len > 0) {
        memset(call.out, 0, call.out_len);
        memcpy(call.out, entry.out.head.data(), entry.out.head.size());
    }
    if (call.entries != nullptr) {
        *call.entries = entry.entries;
    }
    if (call.services != nullptr) {
        *call.services = entry.services;
    }
}

int32_t answer_call(player &p, const zeb_call &call) {
    std::unique_lock guard(p.lock);
    look(p);
    bool repeated = false;
    const recording_entry *entry = find_answer(p, call, repeated);
    if (entry == nullptr) {
        return call.kind == zeb_call_kind::RELEASE ? ZEB_NO_ERR : ZEB_TRANSPORT_ERR;
    }
    const bool creation = call.kind == zeb_call_kind::CLIENT || call.kind == zeb_call_kind::NOTIFIER;
    if (creation && !repeated && entry->status == ZEB_NO_ERR) {
        take_role(p, call.peer, *entry);
    }
    if (call.kind != zeb_call_kind::DECODE) {
        pending_call waiting = {entry, call.peer, p.clock_us + static_cast<double>(entry->took_us), call.in_callback};
        p.pending.push_back(&waiting);
        p.conductor.notify_one();
        p.answered.wait(guard, [&waiting] { return waiting.done || waiting.ended; });
        if (waiting.ended) {
            return ZEB_TRANSPORT_ERR;
        }
    }
    fill(*entry, call);
    return entry->status;
}

// Nothing that the C++ library throws gets past it.
int32_t replay_answer(const zeb_call &call) {
    try {
        return answer_call(*the_player, call);
    } catch (...) {
        return ZEB_INTERNAL_ERR;
    }
}

void replay_returned(uint64_t peer) {
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    look(p);
    if (p.delivering == peer) {
        p.delivering = 0;
        p.activity_us = p.awake_us;
        p.conductor.notify_one();
    }
}

uint64_t replay_attach(const zeb_sink &sink) {
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    p.peers.emplace(p.last_peer + 1, sink);
    return ++p.last_peer;
}

void replay_detach(uint64_t peer) {
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    p.peers.erase(peer);
    if (const auto r = p.roles.find(number_of(p, peer)); r != p.roles.end()) {
        r->second.peer = 0;
    }
    p.delivering = p.delivering == peer ? 0 : p.delivering;
    for (pending_call *call : p.pending) {
        call->ended = call->ended || call->peer == peer;
    }
    std::erase_if(p.pending, [](const pending_call *call) { return call->ended; });
    p.answered.notify_all();
    p.conductor.notify_one();
}

constexpr zeb_replay REPLAY = {replay_answer, replay_returned};

constinit const zeb_service PLAYED_SERVICE = {
    .magic = ZEB_SERVICE_MAGIC,
    .service_id = 0,
    .instance = 0,
    .messages = {},
    .wait_present = [](uint32_t) { return true; },
    .attach = replay_attach,
    .detach = replay_detach,
    .request = [](uint64_t, uint32_t, const void *, void *, uint32_t) -> int32_t { return ZEB_TRANSPORT_ERR; },
    .replay = &REPLAY,
};

// In the place of a recording that cannot be played.
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

void sum_up() {
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    const counts &c = p.count;
    fprintf(
        stderr,
        "%s: replayed: requests: %zu as recorded, %zu out of order, %zu repeated, %zu never recorded, %zu not made; "
        "indications and events: %zu delivered, %zu not delivered; decodings: %zu as recorded, %zu never recorded\n",
        p.file.c_str(), c.as_recorded, c.out_of_order, c.repeated, c.lost,
        p.requests.size() - c.as_recorded - c.out_of_order, c.delivered, p.delivery_count - c.delivered, c.decoded,
        c.not_decoded);
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

bool read_recording(player &p) {
    FILE *file = fopen(p.file.c_str(), "rbe");
    std::string text;
    bool ok = file != nullptr;
    if (ok) {
        char buffer[4096];
        size_t n;
        // A little more than a recording may have is enough to refuse it.
        while (text.size() <= RECORDING_FILE_MAX && (n = fread(buffer, 1, sizeof(buffer), file)) > 0) {
            text.append(buffer, n);
        }
        ok = ferror(file) == 0;
    }
    const int error = errno;
    if (file != nullptr) {
        fclose(file);
    }
    std::string reason;
    if (!ok) {
        reason = p.file + ":0: cannot be read: " + std::generic_category().message(error);
    } else if (recording_parse(text, p.file.c_str(), p.entries, reason)) {
        return true;
    }
    fprintf(stderr, "%s\n", reason.c_str());
    return false;
}

// Never destroyed: the process may exit while clients use it. False when there is nothing to play.
bool start() {
    auto p = std::make_unique<player>();
    p->file = environment("ZEB_RECORDING");
    if (!read_speed(p->speed) || !read_recording(*p)) {
        return false;
    }
    prepare(*p);
    p->looked = std::chrono::steady_clock::now();
    zeb_start_thread([conducted = p.get()] { conduct(conducted); }).detach();
    the_player = p.release();
    if (atexit(sum_up) != 0) {
        fprintf(stderr, "%s: nothing will be summed up at the end\n", the_player->file.c_str());
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
        const int32_t found = replay_answer({.kind = zeb_call_kind::OBJECT, .numbers = versions});
        return found == 1 ? &PLAYED_SERVICE : nullptr;
    } catch (...) {
        return nullptr;
    }
}
