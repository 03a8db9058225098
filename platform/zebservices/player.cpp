/* The player. A recording is a sequence of lines. One thread, the conductor, plays them one at a time, in the order of
 * the lines: it lets the program's calls return with their recorded answers, and delivers indications and events.
 *
 * Clock. The player has a clock that shows times of the recording and runs `speed` times as fast as real time. A call
 * is answered when as much time has passed on this clock since the call's arrival as the recorded call took. A delivery
 * (of an indication or event) is made when as much time has passed since the creation of its client or notifier as on
 * the box. With speed 0, no line waits for the clock; the clock is set to the time of each line that is played.
 *
 * Late program. If the program still has to make a call that was recorded before the next delivery, the clock stops at
 * the time of this delivery, for PATIENCE_US at most.
 *
 * Early program. A call waits for deliveries that were recorded before it and are due within AHEAD_US. A call also
 * waits, for AHEAD_US at most, for a call of another thread that has not come yet, if the two calls overlapped on the
 * box and the other call ended first.
 *
 * Effects. The program may react to a line that was played. So each delivery, and each answer that follows a delivery,
 * waits until the effects of the line before it are over. First the conductor keeps the recorded pause between the two
 * lines, up to QUIET_US. Then, for REST_US at most, the conductor waits until all threads of the program sleep. Also, a
 * line that was recorded after a callback had returned waits until this callback has returned. The limit of this wait
 * is the time that the callback took on the box (divided by `speed`, unless `speed` is 0) plus PATIENCE_US. A recording
 * of version 1 does not contain this time; the limit is then CALLBACK_US. Calls that a callback makes are answered
 * without these waits.
 *
 * Limits. All these limits are real time, without the time in which the process was stopped, for example by a debugger.
 * The conductor reads the real time at least every LOOK_US. If more than LOOK_MAX_US has passed since the last
 * reading, the process must have been stopped in between, and only LOOK_MAX_US counts.
 *
 * Unsettled deliveries. The program may still react to a delivery after the callback has returned. The delivery is
 * settled when all threads of the program have been seen asleep and none of them was waiting for a mutex. It is also
 * settled when twice REST_US has passed since the last delivery or the last return of a callback. While a callback
 * runs, no delivery becomes settled. The conductor looks at the threads every REST_LOOK_US. A call is unprompted when
 * the program does not make it as a reaction to a delivery. An unprompted call comes too early when it comes while a
 * delivery is unsettled.
 *
 * Invariants. `lock` guards everything after it in struct player. A role is a client or notifier of the recording. Its
 * peer is the client or notifier of the program that takes its place in the play. A role has a peer from the arrival of
 * the call that creates the peer until the peer is released. The deliveries of a role are made in the order of their
 * lines; role::next is the index of the next delivery. A call that has a recorded answer is in `pending` from its
 * arrival until its answer, while its thread waits in answer_call. Only a call that decodes a message is answered at
 * once, and is never in `pending`. A delivery is in `running` from the moment when it is made until its callback has
 * returned, or until its client or notifier is released. */
#include "player.h"
#include "answers.h"
#include "recording.h"
#include "tally.h"
#include "zeb_cci.h"
#include "zeb_thread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace {

constexpr double QUIET_US = 20000;
constexpr double REST_US = 100000;
constexpr double REST_LOOK_US = 100;
constexpr double LOOK_US = 100000;
constexpr double LOOK_MAX_US = 250000;
constexpr double CALLBACK_US = 1000000;
constexpr double AHEAD_US = 100000;
constexpr double PATIENCE_US = 10000000;

/* An indication or event of the recording, which the player delivers to the program. */
struct delivery {
    const recording_entry *entry;
    size_t after;  /* the line of the last call that was recorded before the delivery */
    double gap_us; /* the recorded time from the end of the earlier lines to the delivery; 0 when they overlap */
};

/* A client or notifier of the recording. Its peer is the program's client or notifier that takes its place. */
struct role {
    std::vector<delivery> deliveries;
    size_t next = 0;
    uint64_t peer = 0;    /* 0: not created yet, or released */
    double offset_us = 0; /* the player's clock minus the recording's time */
    std::thread::id creator;
};

/* A call of the program that waits for its answer. */
struct pending_call {
    const recording_entry *entry;
    uint64_t peer;
    double ready_us; /* the time on the player's clock from which the call may be answered */
    double came_us;  /* player::awake_us when the call came */
    bool in_callback;
    bool unprompted; /* the program makes the call by itself, not as a reaction to a delivery */
    bool done = false;
    bool ended = false; /* the peer was released before the call was answered */
};

/* A delivery whose callback has not returned. */
struct running_callback {
    const recording_entry *entry;
    uint64_t peer;
    double since_us;       /* player::awake_us when the delivery was made */
    bool given_up = false; /* the callback runs for too long, so lines do not wait for it any longer */
};

struct player {
    std::string file;
    double speed = 1;
    recording played;

    std::atomic<pid_t> conductor_id = 0; /* the ID of the conductor's thread, as gettid returns it */
    std::atomic<const recording_entry *> unsettled = nullptr; /* first delivery to which the program may still react */

    std::mutex lock; /* guards the fields below; also held while `unsettled` is written */
    std::condition_variable conductor;
    std::condition_variable answered;
    tally score;
    answers recorded_calls;
    std::unordered_map<const recording_entry *, double> gaps_us;
    std::map<uint32_t, role> roles;
    std::map<uint64_t, zeb_sink> peers;
    std::map<uint64_t, uint32_t> numbers; /* for each peer: the number of its client or notifier in the recording */
    uint64_t last_peer = 0;
    std::vector<pending_call *> pending;
    std::vector<running_callback> running;

    std::chrono::steady_clock::time_point looked = std::chrono::steady_clock::now();
    double awake_us = 0;       /* real time since the start, without times in which the process was stopped */
    double clock_us = 0;       /* the time that the player's clock shows */
    double shift_us = 0;       /* role::offset_us of the role that most recently got a peer */
    double stalled_us = 0;     /* how long the clock has been stopped because calls are late */
    bool impatient = false;    /* set when the clock was stopped for too long; cleared when a call is answered */
    double activity_us = 0;    /* awake_us at the last answer, delivery or return of a callback */
    double settles_us = 0;     /* awake_us at the last delivery or return of a callback */
    bool was_delivery = false; /* the line that was played last was a delivery, not an answer */
    size_t position = 0;       /* highest line number of answered calls, except those repeated from an earlier part */
};

player *the_player = nullptr;

/* In a child of fork, points to the parent's player, so that leak checkers find the object. */
const player *parents_player = nullptr;

double rate(const player &p) {
    return p.speed > 0 ? p.speed : 1;
}

double end_us(const recording_entry &e) {
    return static_cast<double>(e.begin_us + e.took_us);
}

double due_us(const role &r, const delivery &d) {
    return static_cast<double>(d.entry->begin_us) + r.offset_us;
}

/* Returns the delivery with the lowest line number among those that are still to be made to existing clients and
 * notifiers, and sets `of` to its role. Returns null when there is no such delivery. */
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

/* Whether `line` was recorded after the callback `c` had returned. A recording of version 1 does not say when callbacks
 * returned; for such a recording the result is always true. */
bool comes_after(const player &p, const running_callback &c, size_t line) {
    return p.played.version == 1 || (c.entry->returned && c.entry->returned_line < line);
}

/* Whether a line has to wait for a callback that is still running. */
bool waits_for_callback(const player &p, size_t line) {
    return std::any_of(p.running.begin(), p.running.end(),
                       [&p, line](const running_callback &c) { return !c.given_up && comes_after(p, c, line); });
}

/* To be called when `line` is played. On the box, some callbacks had returned before this line. If one of these
 * callbacks is still running now, reports the line and the callback to the tally. */
void count_overtaking(player &p, size_t line) {
    const auto c = std::find_if(p.running.begin(), p.running.end(),
                                [&p, line](const running_callback &r) { return comes_after(p, r, line); });
    if (c != p.running.end()) {
        tally_overtook(p.score, line, c->entry->line);
    }
}

bool callback_runs(const player &p) {
    return std::any_of(p.running.begin(), p.running.end(), [](const running_callback &c) { return !c.given_up; });
}

/* Returns how long the conductor has to wait, in microseconds of real time. After this wait the conductor calls the
 * function again. 0 means that the conductor may play the next line now: the effects of the last line are over, or have
 * had enough time to end. `gap_us` is the recorded time between these two lines. The wait counts from the last answer,
 * delivery or return of a callback. */
double unsettled_us(const player &p, double gap_us) {
    const double quiet = p.awake_us - p.activity_us;
    const double kept = std::min(gap_us, QUIET_US);
    if (quiet < kept) {
        return kept - quiet;
    }
    const bool rests =
        p.was_delivery && !callback_runs(p) ? p.unsettled == nullptr : zeb_other_threads(0) != zeb_threads::RUN;
    return quiet < kept + REST_US && !rests ? 1000 : 0;
}

/* To be called when `delivered` has been delivered, and again when its callback has returned. The program may react at
 * either time. */
void begin_to_settle(player &p, const recording_entry &delivered) {
    p.activity_us = p.settles_us = p.awake_us;
    if (p.unsettled == nullptr) {
        p.unsettled = &delivered;
    }
}

/* Clears `unsettled` when the program has finished its reaction to all deliveries made so far, or has had enough time
 * to finish. */
void look_for_rest(player &p) {
    if (p.unsettled != nullptr && !callback_runs(p) &&
        (p.awake_us - p.settles_us > 2 * REST_US || zeb_other_threads(0) == zeb_threads::SLEEP)) {
        p.unsettled = nullptr;
    }
}

void deliver(player &p, role &r, const delivery &d) {
    const recording_entry &e = *d.entry;
    const zeb_sink &sink = p.peers.at(r.peer);
    bool runs = false;
    r.next++;
    count_overtaking(p, e.line);
    try {
        if (e.kind == recording_kind::EVENT) {
            runs = sink.event(sink.owner, e.status);
        } else {
            std::vector<uint8_t> bytes(e.in.head.begin(), e.in.head.end());
            bytes.resize(e.in.length);
            runs = sink.indication(sink.owner, e.numbers[0], std::move(bytes));
        }
    } catch (const std::bad_alloc &) {
        runs = false; // no memory: the delivery is lost
    }
    if (runs) {
        p.running.push_back({&e, r.peer, p.awake_us});
    }
    tally_delivered(p.score, e, runs);
    begin_to_settle(p, e);
    p.was_delivery = true;
    if (p.speed == 0) {
        p.clock_us = std::max(p.clock_us, due_us(r, d));
    }
}

void answer(player &p, pending_call &call) {
    const recording_entry &e = *call.entry;
    call.done = true;
    std::erase(p.pending, &call);
    tally_answered(p.score, e, call.unprompted);
    if (!call.in_callback) {
        count_overtaking(p, e.line);
    }
    if (e.line > p.position && !e.kept) {
        p.position = e.line;
        p.stalled_us = 0;
        p.impatient = false;
    }
    p.activity_us = p.awake_us;
    p.was_delivery = false;
    if (p.speed == 0) {
        p.clock_us = std::max(p.clock_us, end_us(e) + p.shift_us);
    }
    p.answered.notify_all();
}

/* Returns the pending call with the lowest line number, of those that do not have to wait for a callback. Returns null
 * when there is none. */
pending_call *next_call(const player &p) {
    pending_call *next = nullptr;
    for (pending_call *call : p.pending) {
        if ((call->in_callback || !waits_for_callback(p, call->entry->line)) &&
            (next == nullptr || call->entry->line < next->entry->line)) {
            next = call;
        }
    }
    return next;
}

/* Whether the delivery `d` of the role `r` has to be made before `call` is answered. */
bool comes_first(const player &p, const role &r, const delivery &d, const pending_call &call) {
    return !call.in_callback && d.entry->line < call.entry->line &&
           (p.speed == 0 || due_us(r, d) <= std::max(call.ready_us, p.clock_us) + AHEAD_US * p.speed);
}

/* Returns how long `call` still has to wait for a call of another thread that has not come yet, in microseconds. `call`
 * waits if the two calls overlapped on the box and the other call ended first. */
double other_thread_us(const player &p, const pending_call &call) {
    const double left = AHEAD_US - (p.awake_us - call.came_us);
    const recording_entry *other = left > 0 ? tally_expected_call(p.score) : nullptr;
    const bool overlaps =
        other != nullptr && other->line < call.entry->line && other->begin_us + other->took_us > call.entry->begin_us;
    const bool has_come =
        std::any_of(p.pending.begin(), p.pending.end(), [other](const pending_call *c) { return c->entry == other; });
    return overlaps && !has_come ? left : 0;
}

/* Returns how much real time is left until the player's clock shows `clock_us`; 0 or less when nothing is left. */
double until_us(const player &p, double clock_us) {
    return p.speed == 0 ? 0 : (clock_us - p.clock_us) / p.speed;
}

/* Plays the next answer or delivery and returns 0 or less. When neither can be played yet, returns for how many
 * microseconds the conductor may wait before it calls this function again. */
double play(player &p) {
    pending_call *call = next_call(p);
    role *r = nullptr;
    const delivery *d = next_delivery(p, r);
    double wait = LOOK_US;
    if (d != nullptr && waits_for_callback(p, d->entry->line)) {
        d = nullptr;
    }
    if (call != nullptr && (d == nullptr || !comes_first(p, *r, *d, *call))) {
        wait = until_us(p, call->ready_us);
        if (wait <= 0) {
            wait = other_thread_us(p, *call);
        }
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

/* Gives up every callback that runs much longer than it ran on the box: lines no longer wait for this callback. */
void look_at_callbacks(player &p) {
    for (running_callback &c : p.running) {
        const double took = static_cast<double>(c.entry->took_us) / rate(p);
        const double limit = p.played.version == 1 ? CALLBACK_US : took + PATIENCE_US;
        c.given_up = c.given_up || p.awake_us - c.since_us > limit;
    }
}

/* Advances `awake_us` and `clock_us` to the present. If the program still has to make a call that was recorded before
 * the next delivery, `clock_us` stops at the time of this delivery, for PATIENCE_US at most. */
void look(player &p) {
    const auto now = std::chrono::steady_clock::now();
    const double passed = std::chrono::duration<double, std::micro>(now - p.looked).count();
    p.looked = now;
    const double awake = std::min(passed, LOOK_MAX_US);
    p.awake_us += awake;
    look_at_callbacks(p);
    double moves = awake * rate(p);
    role *r = nullptr;
    const delivery *d = next_delivery(p, r);
    if (d != nullptr && d->after > p.position && p.pending.empty() && !waits_for_callback(p, d->entry->line) &&
        !p.impatient) {
        const double room = std::max(0.0, due_us(*r, *d) - p.clock_us);
        p.stalled_us += std::max(0.0, moves - room) / rate(p);
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
    p->conductor_id = gettid();
    for (;;) {
        look(*p);
        look_for_rest(*p);
        const double wait = std::min(play(*p), p->unsettled != nullptr && !callback_runs(*p) ? REST_LOOK_US : LOOK_US);
        if (wait > 0) {
            p->conductor.wait_for(guard, std::chrono::duration<double, std::micro>(wait));
        }
    }
}

void prepare(player &p) {
    size_t after = 0;
    double end_before = 0;
    for (const recording_entry &e : p.played.entries) {
        const double end = end_us(e);
        const double gap = std::max(0.0, end - end_before);
        if (e.kind == recording_kind::INDICATION || e.kind == recording_kind::EVENT) {
            const double begin = static_cast<double>(e.begin_us);
            p.roles[e.handle].deliveries.push_back({&e, after, std::max(0.0, begin - end_before)});
        } else if (tally_takes_part(e)) {
            answers_add(p.recorded_calls, e);
            p.gaps_us[&e] = gap;
            after = e.call == zeb_call_kind::DECODE || e.kept ? after : e.line;
        }
        end_before = std::max(end, end_before);
    }
    tally_begin(p.score, p.file.c_str(), p.played);
    p.clock_us = p.played.entries.empty() ? 0 : static_cast<double>(p.played.entries.front().begin_us);
}

uint32_t number_of(const player &p, uint64_t peer) {
    const auto found = p.numbers.find(peer);
    return found == p.numbers.end() ? 0 : found->second;
}

/* Gives the peer the role of the client or notifier that the recorded call `entry` created. */
void take_role(player &p, uint64_t peer, const recording_entry &entry) {
    p.shift_us = p.clock_us - static_cast<double>(entry.begin_us);
    role &r = p.roles[entry.handle];
    r.peer = peer;
    r.offset_us = p.shift_us;
    r.creator = std::this_thread::get_id();
}

/* Whether the program makes the call by itself, not as a reaction to an indication or event. Returns false when the
 * call may be a reaction: when it is made in a callback, or by a thread other than the one that created the client or
 * notifier. */
bool is_unprompted(const player &p, const zeb_call &call) {
    const auto r = p.roles.find(number_of(p, call.peer));
    return !call.in_callback && (r == p.roles.end() || r->second.creator == std::thread::id() ||
                                 r->second.creator == std::this_thread::get_id());
}

/* Returns the line of an indication or event to which the program still reacts; 0 when there is none. The program still
 * reacts in two cases: a callback that returned on the box is still running, or other threads still work on what a
 * callback started. */
size_t unfinished_line(const player &p) {
    const auto c = std::find_if(p.running.begin(), p.running.end(),
                                [&p](const running_callback &r) { return r.entry->returned || p.played.version == 1; });
    const recording_entry *unsettled = callback_runs(p) ? nullptr : p.unsettled.load();
    return c != p.running.end() ? c->entry->line : unsettled != nullptr ? unsettled->line : 0;
}

int32_t answer_call(player &p, const zeb_call &call) {
    // This is the thread of the call. All other threads of the program may have fallen asleep since the conductor last
    // checked them. So this thread checks them again.
    const bool looks = p.unsettled != nullptr && !call.in_callback;
    const bool at_rest = looks && zeb_other_threads(p.conductor_id) == zeb_threads::SLEEP;
    std::unique_lock guard(p.lock);
    const bool unprompted = is_unprompted(p, call);
    const recording_entry *unsettled = unprompted && (!at_rest || callback_runs(p)) ? p.unsettled.load() : nullptr;
    look(p);
    bool again = false;
    const uint32_t handle = number_of(p, call.peer);
    const recording_entry *entry =
        answers_find(p.recorded_calls, call, handle, p.position > 0, tally_expected_call(p.score), again);
    tally_came(p.score, call, handle, {entry, again, p.position, unsettled});
    if (entry == nullptr) {
        return call.kind == zeb_call_kind::RELEASE ? ZEB_NO_ERR : ZEB_TRANSPORT_ERR;
    }
    const bool creation = call.kind == zeb_call_kind::CLIENT || call.kind == zeb_call_kind::NOTIFIER;
    if (creation && entry->status == ZEB_NO_ERR) {
        p.numbers[call.peer] = entry->handle;
        if (!again) {
            take_role(p, call.peer, *entry);
        }
    }
    if (call.kind != zeb_call_kind::DECODE) {
        pending_call waiting = {entry,      call.peer,        p.clock_us + static_cast<double>(entry->took_us),
                                p.awake_us, call.in_callback, unprompted};
        p.pending.push_back(&waiting);
        p.conductor.notify_one();
        p.answered.wait(guard, [&waiting] { return waiting.done || waiting.ended; });
        if (waiting.ended) {
            return ZEB_TRANSPORT_ERR;
        }
    }
    answers_fill(p.played, *entry, call);
    return entry->status;
}

} // namespace

bool player_start(const char *file, double speed, std::string &error) {
    auto p = std::make_unique<player>();
    p->file = file;
    p->speed = speed;
    if (!recording_read(file, p->played, error)) {
        return false;
    }
    prepare(*p);
    p->looked = std::chrono::steady_clock::now();
    zeb_start_thread([conducted = p.get()] { conduct(conducted); }).detach();
    the_player = p.release(); // the player is never destroyed: the process may exit while clients use it
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
    const auto of_peer = [peer](const running_callback &c) { return c.peer == peer; };
    if (const auto c = std::find_if(p.running.begin(), p.running.end(), of_peer); c != p.running.end()) {
        begin_to_settle(p, *c->entry);
        p.running.erase(c);
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
    if (the_player == nullptr) {
        return;
    }
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    p.peers.erase(peer);
    if (const auto r = p.roles.find(number_of(p, peer)); r != p.roles.end() && r->second.peer == peer) {
        r->second.peer = 0;
    }
    std::erase_if(p.running, [peer](const running_callback &c) { return c.peer == peer; });
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

bool player_tell_endless_wait() {
    player &p = *the_player;
    std::lock_guard guard(p.lock);
    const bool has_event = std::any_of(p.roles.begin(), p.roles.end(), [](const auto &entry) {
        const role &r = entry.second;
        return r.next < r.deliveries.size() && r.deliveries[r.next].entry->kind == recording_kind::EVENT;
    });
    const bool running = std::any_of(p.running.begin(), p.running.end(),
                                     [](const running_callback &c) { return c.entry->kind == recording_kind::EVENT; });
    if (has_event || running) {
        return false;
    }
    fprintf(stderr, "%s:%zu: after this line: waits for the service, which does not come any more\n", p.file.c_str(),
            p.position);
    return true;
}

bool player_sum_up() {
    player &p = *the_player;
    std::unique_lock guard(p.lock);
    look(p);
    // Other threads of the program may still react to the last delivery. They get at most REST_US to finish, which is
    // also the limit of the conductor's wait between two lines.
    const double end = p.awake_us + REST_US;
    size_t line = unfinished_line(p);
    while (line != 0 && p.awake_us < end) {
        guard.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        guard.lock();
        look(p);
        line = unfinished_line(p);
    }
    return tally_sum_up(p.score, line);
}
