/* The player. What was recorded is a sequence of lines. One thread, the conductor, plays them: it answers the program's
 * calls and delivers indications and events, one thing at a time, so that their order is that of the lines.
 *
 * How time passes. The recording has a clock of its own, which runs `speed` times as fast as real time. A call that has
 * come is answered after the time that it took. A delivery is made at its time, counted from the creation of its client
 * or notifier. When the program is late, the clock stands still: a delivery waits for the calls that were recorded
 * before it (for PATIENCE_US of the recording at most). When the program is early, a call waits for the deliveries that
 * were recorded before it (if they are due within AHEAD_US). With speed 0 nothing has a time, and the clock goes from
 * line to line. Between two lines, a recorded pause is kept up to QUIET_US of real time, and then the conductor waits
 * until all threads of the program sleep (for REST_US at most), so that everything that the first line set off is over
 * before the second is played. A callback that runs longer than CALLBACK_US holds nothing up. Real time is only counted
 * while the process runs: it is looked at every LOOK_US at least, and more than LOOK_MAX_US at once means that the
 * process was stopped, by a debugger say.
 *
 * Invariants. Everything from `lock` on in struct player is guarded by it. A role has a peer from the answer to the
 * creation of its client or notifier until the release. Its deliveries are made in their order, `next` being the next
 * one. A call is in `pending` from its arrival to its answer, and its thread waits in player_answer as long. At most
 * one callback runs that the conductor waits for: that of the peer `delivering`. */
#include "player.h"
#include "recording.h"
#include "zeb_file.h"
#include "zeb_thread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <unordered_map>

namespace {

constexpr double QUIET_US = 20000;
constexpr double REST_US = 100000;
constexpr double LOOK_US = 100000;
constexpr double LOOK_MAX_US = 250000;
constexpr double CALLBACK_US = 1000000;
constexpr double AHEAD_US = 100000;
constexpr double PATIENCE_US = 10000000;

constexpr const char *CALL_NAMES[] = {"service object", "notifier", "service list", "wait",   "watch",
                                      "client",         "request",  "decoding",     "release"};

/* An indication or event of the recording. */
struct delivery {
    const recording_entry *entry;
    size_t after;  /* the line of the last call before the delivery */
    double gap_us; /* the time since the line before the delivery */
};

/* A client or notifier of the recording, and the peer that plays it. */
struct role {
    std::vector<delivery> deliveries;
    size_t next = 0;
    uint64_t peer = 0;    /* 0: not yet, or released */
    double offset_us = 0; /* added to a time of the recording: that time on the clock */
};

/* The calls that were recorded with the same key. */
struct answers {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

/* A call that waits for its answer. */
struct pending_call {
    const recording_entry *entry;
    uint64_t peer;
    double ready_us; /* on the clock */
    bool in_callback;
    bool done = false;
    bool ended = false; /* the peer was released */
};

struct counts {
    size_t as_recorded = 0, out_of_order = 0, repeated = 0, lost = 0; /* requests */
    size_t delivered = 0;
    size_t decoded = 0, not_decoded = 0;
};

struct player {
    std::string file;
    double speed = 1;
    std::vector<recording_entry> entries;
    size_t delivery_count = 0;
    std::vector<const recording_entry *> requests; /* in the order in which they were made */

    std::mutex lock; /* guards what follows */
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
    double awake_us = 0;       /* real time in which the process was not stopped */
    double clock_us = 0;       /* the recording's clock */
    double shift_us = 0;       /* the offset of the last client or notifier */
    double stalled_us = 0;     /* how long the clock has stood still */
    bool impatient = false;    /* the clock stood still for too long; until the next call is answered */
    double activity_us = 0;    /* awake_us at the last answer, delivery, or end of a callback */
    bool was_delivery = false; /* the last of these was not an answer */
    uint64_t delivering = 0;   /* the peer whose callback runs */
    size_t position = 0;       /* the highest line of the calls answered so far */
    size_t next_request = 0;
    bool differed = false;
    counts count;
};

player *the_player = nullptr;
const player *parents_player = nullptr; /* in a child of fork; never looked at */

double rate(const player &p) {
    return p.speed > 0 ? p.speed : 1;
}

double due_us(const role &r, const delivery &d) {
    return static_cast<double>(d.entry->begin_us) + r.offset_us;
}

/* The delivery with the lowest line of those whose client or notifier is there. */
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

/* Whether all other threads of the process sleep, so that whatever they had begun is done. Where the threads cannot be
 * looked at, they count as sleeping. */
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

/* How long the conductor still has to wait, after its last answer or delivery, before it plays a line that was recorded
 * gap_us after the line before it. */
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

/* The call whose answer stands first in the recording, of those that can be answered now. */
pending_call *next_call(const player &p) {
    pending_call *next = nullptr;
    for (pending_call *call : p.pending) {
        if ((call->in_callback || !callback_runs(p)) && (next == nullptr || call->entry->line < next->entry->line)) {
            next = call;
        }
    }
    return next;
}

/* Whether the call has to wait for the delivery. */
bool comes_first(const player &p, const role &r, const delivery &d, const pending_call &call) {
    return !call.in_callback && d.entry->line < call.entry->line &&
           (p.speed == 0 || due_us(r, d) <= std::max(call.ready_us, p.clock_us) + AHEAD_US * p.speed);
}

/* The real time until the recording's clock shows clock_us. */
double until_us(const player &p, double clock_us) {
    return p.speed == 0 ? 0 : (clock_us - p.clock_us) / p.speed;
}

/* Plays the next answer or delivery, or returns how long the conductor may have to wait for it. */
double play(player &p) {
    pending_call *call = next_call(p);
    role *r = nullptr;
    const delivery *d = callback_runs(p) ? nullptr : next_delivery(p, r);
    double wait = LOOK_US;
    if (call != nullptr && (d == nullptr || !comes_first(p, *r, *d, *call))) {
        wait = until_us(p, call->ready_us);
        if (wait <= 0 && p.was_delivery && !call->in_callback) {
            wait = unsettled_us(p, p.gaps_us.at(call->entry));
        }
        if (wait <= 0) {
            answer(p, *call);
        }
    } else if (d != nullptr && (call != nullptr || d->after <= p.position || p.impatient)) {
        wait = until_us(p, due_us(*r, *d));
        if (wait <= 0) {
            wait = unsettled_us(p, d->gap_us);
        }
        if (wait <= 0) {
            deliver(p, *r, *d);
        }
    }
    return wait;
}

/* Moves the clocks on. */
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

/* Whether the call can be answered from the recording: the libraries knew its client or notifier then. */
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

/* Says which request is the first that differs from the one that was recorded in its place. */
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

/* The recorded call that answers this one: the next one with the same key, or the last of them again. */
const recording_entry *find_answer(player &p, const zeb_call &call, bool &repeated) {
    const recording_bytes in = recording_pack(call.in, call.in_len);
    const auto found = p.by_key.find(recording_key(call.kind, call.numbers, in, call.out == nullptr, call.out_len));
    const recording_entry *entry = nullptr;
    if (found != p.by_key.end()) {
        answers &a = found->second;
        repeated = a.next == a.entries.size();
        // A wait ends with an event, and no further event was recorded.
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

/* From here on the peer plays the client or notifier that the entry created. */
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

} // namespace

bool player_start(const char *file, double speed, std::string &error) {
    auto p = std::make_unique<player>();
    std::string text;
    p->file = file;
    p->speed = speed;
    if (const int failure = zeb_read_file(file, RECORDING_FILE_MAX, text); failure != 0) {
        error = p->file + ":0: cannot be read: " + std::generic_category().message(failure);
        return false;
    }
    if (!recording_parse(text, file, p->entries, error)) {
        return false;
    }
    prepare(*p);
    p->looked = std::chrono::steady_clock::now();
    zeb_start_thread([conducted = p.get()] { conduct(conducted); }).detach();
    the_player = p.release(); // never destroyed: the process may exit while clients use it
    return true;
}

int32_t player_answer(const zeb_call &call) {
    try {
        return the_player != nullptr ? answer_call(*the_player, call) : ZEB_SERVICE_ERR;
    } catch (...) {
        return ZEB_INTERNAL_ERR;
    }
}

void player_returned(uint64_t peer) {
    if (the_player == nullptr) {
        return;
    }
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    look(p);
    if (p.delivering == peer) {
        p.delivering = 0;
        p.activity_us = p.awake_us;
        p.conductor.notify_one();
    }
}

uint64_t player_attach(const zeb_sink &sink) {
    if (the_player == nullptr) {
        throw std::runtime_error("nothing is played in a child of fork");
    }
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    p.peers.emplace(p.last_peer + 1, sink);
    return ++p.last_peer;
}

void player_detach(uint64_t peer) {
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

void player_forget_parent() {
    parents_player = the_player != nullptr ? the_player : parents_player;
    the_player = nullptr;
}

void player_sum_up() {
    if (the_player == nullptr) {
        return;
    }
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
