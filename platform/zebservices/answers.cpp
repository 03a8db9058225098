#include "answers.h"
#include "zeb_cci.h"

#include <algorithm>
#include <cstring>

void answers_add(answers &a, const recording_entry &call) {
    const std::string key =
        recording_key(call.call, call.handle, call.numbers, call.in, call.out.null, call.out.length);
    a.by_key[key].entries.push_back(&call);
}

const recording_entry *answers_find(answers &a, const zeb_call &call, uint32_t handle, bool begun,
                                    const recording_entry *expected, bool &again) {
    const auto found = a.by_key.find(recording_key(
        call.kind, handle, call.numbers, recording_pack(call.in, call.in_len), call.out == nullptr, call.out_len));
    if (found == a.by_key.end()) {
        return nullptr;
    }
    answers_of_key &of_key = found->second;
    const recording_entry *last = of_key.next > 0 ? of_key.entries[of_key.next - 1] : nullptr;
    const recording_entry *next = of_key.next < of_key.entries.size() ? of_key.entries[of_key.next] : nullptr;
    const bool stays_kept = last != nullptr && last->kept && !begun && next != nullptr && !next->kept;
    if (next != nullptr && (!stays_kept || next == expected)) {
        of_key.next++;
        return next;
    }
    // A wait is recorded when it ends. So if no recorded wait is left for a wait of the program, the same wait on the
    // box had not ended when the recording ended. The program's wait must not get the answer of an earlier wait.
    if (call.kind == zeb_call_kind::WAIT) {
        return nullptr;
    }
    again = true;
    return last;
}

void answers_fill(const recording &played, const recording_entry &entry, const zeb_call &call) {
    size_t length = call.out == nullptr ? 0 : call.out_len;
    if (played.version >= 2 && entry.status != ZEB_NO_ERR) {
        length = 0;
    } else if (played.version >= 2 && entry.call == zeb_call_kind::LIST) {
        length = std::min(length, std::max(entry.entries * sizeof(zeb_service_info), entry.out.head.size()));
    }
    if (length > 0) {
        memset(call.out, 0, length);
        memcpy(call.out, entry.out.head.data(), entry.out.head.size());
    }
    if (call.entries != nullptr) {
        *call.entries = entry.entries;
    }
    if (call.services != nullptr) {
        *call.services = entry.services;
    }
}
