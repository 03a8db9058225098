#include "lines.h"

#include "facts.h"
#include "times.h"

#include <cstdio>

namespace {

struct status_row {
    int32_t status;
    const char *name;
};

constexpr status_row STATUSES[] = {
    {ZEB_NO_ERR, "ZEB_NO_ERR"},
    {ZEB_INTERNAL_ERR, "ZEB_INTERNAL_ERR"},
    {ZEB_SERVICE_ERR, "ZEB_SERVICE_ERR"},
    {ZEB_TIMEOUT_ERR, "ZEB_TIMEOUT_ERR"},
    {ZEB_INVALID_ARG_ERR, "ZEB_INVALID_ARG_ERR"},
    {ZEB_UNKNOWN_MSG_ERR, "ZEB_UNKNOWN_MSG_ERR"},
    {ZEB_MSG_LEN_ERR, "ZEB_MSG_LEN_ERR"},
    {ZEB_MSG_MALFORMED_ERR, "ZEB_MSG_MALFORMED_ERR"},
    {ZEB_TRANSPORT_ERR, "ZEB_TRANSPORT_ERR"},
};

/* The duration of a call or callback is shown when it is this long or longer. */
constexpr uint64_t WORTH_A_WORD_US = 1000;

std::string number(uint32_t value) {
    return std::to_string(value);
}

/* A message in words. If the table of messages does not know the message, the words tell only its length. */
std::string message_words(const session_message &m, const recording_bytes &bytes) {
    if (m.what != nullptr) {
        return message_text(*m.what, m.bytes.data());
    }
    return bytes.null ? "" : number(bytes.length) + " bytes of a layout that is not known here";
}

std::string answer_words(const recording_entry &entry) {
    if (entry.status != ZEB_NO_ERR) {
        return line_status(entry.status);
    }
    const session_message answer = session_answer(entry);
    if (entry.call == zeb_call_kind::SEND && answer.what != nullptr) {
        const auto in_header = [&answer](size_t i) {
            const field &f = message_response_header[i];
            return field_text(f, field_at(f, answer.bytes.data(), 0));
        };
        if (in_header(0) != "0") {
            return "refused: result " + in_header(0) + ", error " + in_header(1);
        }
    }
    const std::string words = message_words(answer, entry.out);
    return words.empty() ? "done" : words;
}

void describe_call(const recording_entry &entry, line_words &words) {
    switch (entry.call) {
    case zeb_call_kind::OBJECT:
        words.what = "service object of version " + number(entry.numbers[0]) + "." + number(entry.numbers[1]) +
                     ", library " + number(entry.numbers[2]);
        words.result = entry.status != 0 ? "there" : "not there";
        break;
    case zeb_call_kind::NOTIFIER:
        words.what = "create a notifier";
        words.result = entry.status == ZEB_NO_ERR ? "notifier " + number(entry.handle) : line_status(entry.status);
        break;
    case zeb_call_kind::LIST:
        words.what = "look for the service";
        words.result = entry.status == ZEB_NO_ERR        ? "present, instances: " + number(entry.services)
                       : entry.status == ZEB_SERVICE_ERR ? "not present"
                                                         : line_status(entry.status);
        break;
    case zeb_call_kind::WAIT:
        words.what =
            entry.numbers[0] == 0 ? "wait for the service" : "wait " + number(entry.numbers[0]) + " ms at most";
        break;
    case zeb_call_kind::WATCH:
        words.what = "watch for service events with notifier " + number(entry.handle);
        words.result = entry.status == ZEB_NO_ERR ? "done" : line_status(entry.status);
        break;
    case zeb_call_kind::CLIENT:
        words.what = "create a client";
        words.result = entry.status == ZEB_NO_ERR ? "client " + number(entry.handle) : line_status(entry.status);
        break;
    case zeb_call_kind::SEND: {
        const session_message request = session_request(entry);
        const std::string asked = message_words(request, entry.in);
        words.what = line_message_name(ZEB_MESSAGE_REQUEST, entry.numbers[0]) + (asked.empty() ? "" : ": " + asked);
        words.result = answer_words(entry);
        break;
    }
    case zeb_call_kind::DECODE:
        words.what = line_message_name(entry.numbers[1], entry.numbers[0]);
        words.result = answer_words(entry);
        break;
    case zeb_call_kind::RELEASE:
        words.what = "release " + number(entry.handle);
        words.result = entry.status == ZEB_NO_ERR ? "done" : line_status(entry.status);
        break;
    }
}

constexpr const char *CALLS[] = {"object", "notifier", "list", "wait", "watch", "client", "send", "decode", "release"};

} // namespace

const char *line_kind(const recording_entry &entry) {
    switch (entry.kind) {
    case recording_kind::CALL:
        return CALLS[static_cast<size_t>(entry.call)];
    case recording_kind::INDICATION:
        return "ind";
    case recording_kind::EVENT:
        return "event";
    case recording_kind::LOST:
        return "lost";
    case recording_kind::UNRECORDED:
        break;
    }
    return "unrecorded";
}

std::string line_status(int32_t status) {
    for (const status_row &row : STATUSES) {
        if (row.status == status) {
            return row.name + (" (" + std::to_string(status) + ")");
        }
    }
    return "status " + std::to_string(status);
}

std::string line_message_name(uint32_t type, uint32_t id) {
    char text[16];
    snprintf(text, sizeof(text), "0x%04x ", static_cast<unsigned>(id));
    return text + std::string(message_name(type, id));
}

line_words line_describe(const session_line &line) {
    const recording_entry &entry = *line.entry;
    line_words words;
    words.kind = line_kind(entry);
    words.failed = facts_failed(line);
    words.slow = facts_slow(line);
    switch (entry.kind) {
    case recording_kind::CALL:
        describe_call(entry, words);
        break;
    case recording_kind::INDICATION:
        words.what = line_message_name(ZEB_MESSAGE_INDICATION, entry.numbers[0]);
        words.result = line.decoding != nullptr ? answer_words(*line.decoding) : "not decoded";
        break;
    case recording_kind::EVENT:
        words.what = entry.status == ZEB_EVENT_SERVICE_DOWN ? "the modem's service is gone"
                     : entry.status == ZEB_EVENT_SERVICE_UP ? "the modem's service is there"
                                                            : "event " + std::to_string(entry.status);
        break;
    case recording_kind::LOST:
        words.what = std::to_string(entry.count) + " lines could not be kept";
        break;
    case recording_kind::UNRECORDED:
        words.what = "from here on, one more client, notifier or callback is not in the recording";
        break;
    }
    if (entry.kept) {
        words.timing = "kept from before";
    } else if (entry.took_us >= WORTH_A_WORD_US) {
        words.timing = time_length(entry.took_us);
    }
    return words;
}
