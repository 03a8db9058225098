// The recording as a service: what answers a call, and what is said of differences.
#include "replay.h"
#include "player.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

namespace {

constexpr const char *CALL_NAMES[] = {"service object", "notifier", "service list", "wait",   "watch",
                                      "client",         "request",  "decoding",     "release"};

player *the_player = nullptr;

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
    player_look(p);
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
    player_look(p);
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
    std::string text;
    std::string reason;
    if (const int failure = zeb_read_file(p.file.c_str(), RECORDING_FILE_MAX, text); failure != 0) {
        reason = p.file + ":0: cannot be read: " + std::generic_category().message(failure);
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
    zeb_start_thread([conducted = p.get()] { player_conduct(conducted); }).detach();
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
