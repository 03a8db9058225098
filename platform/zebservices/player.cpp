#include "player.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <new>
#include <sys/syscall.h>
#include <unistd.h>

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

// The call whose answer stands first in the recording, of those that can be answered now.
pending_call *next_call(const player &p) {
    pending_call *next = nullptr;
    for (pending_call *call : p.pending) {
        if ((call->in_callback || !callback_runs(p)) && (next == nullptr || call->entry->line < next->entry->line)) {
            next = call;
        }
    }
    return next;
}

// Whether the call has to wait for a delivery that stands before it.
bool comes_first(const player &p, const role &r, const delivery &d, const pending_call &call) {
    return !call.in_callback && d.entry->line < call.entry->line &&
           (p.speed == 0 || due_us(r, d) <= std::max(call.ready_us, p.clock_us) + AHEAD_US * p.speed);
}

// How long it still takes until then, on the recording's clock.
double until_us(const player &p, double clock_us) {
    return p.speed == 0 ? 0 : (clock_us - p.clock_us) / p.speed;
}

// Does what comes next, or returns how long that may take.
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

} // namespace

// A delivery never overtakes a call that was recorded before it, but does not wait for it for ever.
void player_look(player &p) {
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

void player_conduct(player *p) {
    std::unique_lock guard(p->lock);
    for (;;) {
        player_look(*p);
        const double wait = play(*p);
        if (wait > 0) {
            p->conductor.wait_for(guard, std::chrono::duration<double, std::micro>(std::min(wait, LOOK_US)));
        }
    }
}
