#include "zeb_record_kept.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/* A part of a line's text, not terminated by a zero byte. */
struct piece {
    const char *text;
    uint32_t len;
};

enum line_kind { OTHER, OBJECT, LIST, NOTIFIER, WATCH, CLIENT, SEND, RELEASE };

/* What identifies a kept line. A new line replaces the kept line that has the same kind, the same handle and the same
 * texts in `same`. The two lines may differ in the rest, for example in the status and the duration of the call. */
struct line_facts {
    line_kind kind;
    uint32_t handle; /* number of the client or notifier; 0: none */
    piece same[2];   /* the texts that say what was called with which arguments; unused texts are empty */
};

struct kept_line {
    line_kind kind;
    uint32_t handle;
    uint32_t len;
    uint32_t hash; /* hash of the texts in line_facts.same */
};

static char texts[ZEB_RECORD_KEPT_MAX]; /* the texts of `lines`, in the same order and without the times */
static kept_line lines[ZEB_RECORD_KEPT_LINES_MAX];
static uint32_t count;
static uint32_t used;
static uint64_t used_max = ZEB_RECORD_KEPT_MAX;

/* Returns the text between `key` and the next blank or newline. The text is empty when the line does not have the
 * key. */
static piece value_of(piece line, const char *key) {
    const size_t key_len = strlen(key);
    const auto *at = static_cast<const char *>(memmem(line.text, line.len, key, key_len));
    if (at == nullptr) {
        return {line.text, 0};
    }
    at += key_len;
    const auto left = static_cast<size_t>(line.text + line.len - at);
    const auto *stop = static_cast<const char *>(memchr(at, ' ', left));
    return {at, stop != nullptr ? static_cast<uint32_t>(stop - at) : static_cast<uint32_t>(left - 1)};
}

static bool begins(piece line, const char *text) {
    const size_t len = strlen(text);
    return line.len >= len && memcmp(line.text, text, len) == 0;
}

static uint32_t number_of(piece value) {
    return value.len > 0 ? static_cast<uint32_t>(strtoul(value.text, nullptr, 10)) : 0;
}

/* Returns the line's text before `key`. The text is empty when the line does not have the key. */
static piece before(piece line, const char *key) {
    const auto *at = static_cast<const char *>(memmem(line.text, line.len, key, strlen(key)));
    return {line.text, at != nullptr ? static_cast<uint32_t>(at - line.text) : 0};
}

/* `bytes` is a buffer as a line shows it: LENGTH:HEX, or "-". Returns LENGTH with its colon, or "-". */
static piece length_of(piece bytes) {
    const auto *colon = bytes.len > 0 ? static_cast<const char *>(memchr(bytes.text, ':', bytes.len)) : nullptr;
    return {bytes.text, colon != nullptr ? static_cast<uint32_t>(colon + 1 - bytes.text) : bytes.len};
}

/* Returns what identifies a line. `line` is its text without the time. The kind OTHER means that the line does not
 * change the kept lines. */
static line_facts facts_of(piece line) {
    line_facts facts = {OTHER, 0, {}};
    if (begins(line, "object ") && number_of(value_of(line, " found=")) == 1) {
        facts = {OBJECT, 0, {before(line, " found="), {}}};
    } else if (begins(line, "list status=0 ")) {
        facts = {LIST, 0, {length_of(value_of(line, " info=")), {}}};
    } else if (begins(line, "notifier status=0 ")) {
        facts = {NOTIFIER, number_of(value_of(line, " notifier=")), {}};
    } else if (begins(line, "watch ") && before(line, " status=0 ").len > 0) {
        facts = {WATCH, number_of(value_of(line, " notifier=")), {}};
    } else if (begins(line, "client status=0 ")) {
        facts = {CLIENT, number_of(value_of(line, " client=")), {}};
    } else if (begins(line, "send ")) {
        const piece request = value_of(line, " req=");
        const char *after = request.text + request.len;
        const piece rest = {after, static_cast<uint32_t>(line.text + line.len - after)};
        const piece room = length_of(value_of(rest, " resp="));
        facts = {SEND, number_of(value_of(line, " client=")), {before(line, " status="), {}}};
        facts.same[1] = {request.text, static_cast<uint32_t>(room.text + room.len - request.text)};
    } else if (begins(line, "release ") && before(line, " status=0 ").len > 0) {
        facts = {RELEASE, number_of(value_of(line, " handle=")), {}};
    }
    return facts.handle != 0 || facts.kind == OBJECT || facts.kind == LIST ? facts : line_facts{OTHER, 0, {}};
}

static bool same_piece(piece a, piece b) {
    return a.len == b.len && (a.len == 0 || memcmp(a.text, b.text, a.len) == 0);
}

static uint32_t hash_of(const line_facts *facts) {
    uint32_t hash = 2166136261;
    for (const piece &text : facts->same) {
        for (uint32_t i = 0; i < text.len; i++) {
            hash = (hash ^ static_cast<uint8_t>(text.text[i])) * 16777619;
        }
    }
    return hash;
}

/* Removes the kept line number `i`. `at` is where the line's text begins in `texts`. */
static void line_remove(uint32_t i, uint32_t at) {
    const uint32_t len = lines[i].len;
    memmove(texts + at, texts + at + len, used - at - len);
    std::copy(lines + i + 1, lines + count, lines + i);
    used -= len;
    count--;
}

/* Removes the kept lines that a new line makes out of date. When the new line is a release, these are all lines of the
 * released client or notifier. Otherwise it is the one line that the new line replaces. */
static void lines_replace(const line_facts *facts, uint32_t hash) {
    for (uint32_t i = 0, at = 0; i < count;) {
        bool replaced = lines[i].handle == facts->handle &&
                        (facts->kind == RELEASE || (lines[i].kind == facts->kind && lines[i].hash == hash));
        if (replaced && facts->kind != RELEASE) {
            const line_facts kept = facts_of({texts + at, lines[i].len});
            replaced = same_piece(kept.same[0], facts->same[0]) && same_piece(kept.same[1], facts->same[1]);
        }
        if (replaced) {
            line_remove(i, at);
        } else {
            at += lines[i++].len;
        }
    }
}

static bool lines_fit(uint32_t len) {
    return count < ZEB_RECORD_KEPT_LINES_MAX && used + len + (count + 1) * ZEB_RECORD_KEPT_PREFIX_MAX <= used_max;
}

/* Removes kept `send` lines, the oldest first, until a new line of `len` bytes fits or no `send` line is left. */
static void lines_make_room(uint32_t len) {
    for (uint32_t i = 0, at = 0; i < count && !lines_fit(len);) {
        if (lines[i].kind == SEND) {
            line_remove(i, at);
        } else {
            at += lines[i++].len;
        }
    }
}

void zeb_record_kept_limit(uint64_t bytes) {
    used_max = std::min<uint64_t>(bytes, ZEB_RECORD_KEPT_MAX);
    lines_make_room(0);
}

void zeb_record_kept_note(const char *line, uint32_t len) {
    const auto *blank = static_cast<const char *>(memchr(line, ' ', len));
    if (blank == nullptr) {
        return;
    }
    const piece text = {blank + 1, static_cast<uint32_t>(line + len - blank - 1)};
    const line_facts facts = facts_of(text);
    if (facts.kind == OTHER) {
        return;
    }
    const uint32_t hash = hash_of(&facts);
    lines_replace(&facts, hash);
    if (facts.kind == RELEASE || text.len + ZEB_RECORD_KEPT_PREFIX_MAX > used_max) {
        return;
    }
    lines_make_room(text.len);
    if (lines_fit(text.len)) {
        memcpy(texts + used, text.text, text.len);
        lines[count++] = {facts.kind, facts.handle, text.len, hash};
        used += text.len;
    }
}

uint32_t zeb_record_kept_print(char *out, uint64_t time) {
    uint32_t len = 0;
    for (uint32_t i = 0, at = 0; i < count; at += lines[i++].len) {
        len += static_cast<uint32_t>(snprintf(out + len, ZEB_RECORD_KEPT_PREFIX_MAX, "%" PRIu64 " kept ", time));
        memcpy(out + len, texts + at, lines[i].len);
        len += lines[i].len;
    }
    return len;
}
