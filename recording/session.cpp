#include "session.h"

#include "zeb_file.h"

#include <algorithm>
#include <map>
#include <system_error>

namespace {

/* Called for each entry that is not left out, in order. `last` holds, for each client, the index in `lines` of the
 * client's last indication. If `entry` is an indication, notes its index in `last`. If `entry` is a decoding of the
 * client's last indication (same ID, same bytes), and the line of this indication has no decoding yet, stores `entry`
 * in that line and returns true. In all other cases returns false, and the caller adds a line for `entry`. */
bool join_decoding(std::vector<session_line> &lines, std::map<uint32_t, size_t> &last, const recording_entry &entry) {
    if (entry.kind == recording_kind::INDICATION) {
        last[entry.handle] = lines.size();
        return false;
    }
    if (entry.kind != recording_kind::CALL || entry.call != zeb_call_kind::DECODE || !last.contains(entry.handle)) {
        return false;
    }
    session_line &line = lines[last[entry.handle]];
    const recording_entry &indication = *line.entry;
    if (line.decoding != nullptr || indication.numbers[0] != entry.numbers[0] ||
        indication.in.length != entry.in.length || indication.in.head != entry.in.head) {
        return false;
    }
    line.decoding = &entry;
    return true;
}

/* Adds the entries of a file to the session. A kept entry repeats a call of an earlier part. Kept entries of a later
 * file are left out, because the session already has these calls from the earlier files. If a part between two files is
 * missing, the session lacks the calls of the missing part. */
void add_lines(session &s, session_file &file, bool first) {
    std::map<uint32_t, size_t> last;
    for (const recording_entry &entry : file.content.entries) {
        file.end_us = std::max(file.end_us, entry.begin_us + (entry.kept ? 0 : entry.took_us));
        if ((first || !entry.kept) && !join_decoding(s.lines, last, entry)) {
            s.lines.push_back({&entry, nullptr, &file});
        }
    }
}

} // namespace

bool session_parse(std::string name, std::string text, session_file &out, std::string &error) {
    out.name = std::move(name);
    out.text = std::move(text);
    return recording_parse(out.text, out.name.c_str(), out.content, error);
}

bool session_read(const char *name, session_file &out, std::string &error) {
    std::string text;
    return session_read_text(name, text, error) && session_parse(name, std::move(text), out, error);
}

bool session_read_text(const char *name, std::string &text, std::string &error) {
    if (const int failure = zeb_read_file(name, RECORDING_FILE_MAX, text); failure != 0) {
        error = std::string(name) + ":0: cannot be read: " + std::generic_category().message(failure);
    } else if (text.size() > RECORDING_FILE_MAX) {
        error = std::string(name) + ":0: longer than " + std::to_string(RECORDING_FILE_MAX) + " bytes";
    } else {
        return true;
    }
    return false;
}

bool session_make(std::vector<std::unique_ptr<session_file>> files, session &out, std::string &error) {
    out.files = std::move(files);
    std::stable_sort(out.files.begin(), out.files.end(),
                     [](const auto &a, const auto &b) { return a->content.part < b->content.part; });
    const recording &first = out.files.front()->content;
    for (size_t i = 1; i < out.files.size(); i++) {
        const recording &part = out.files[i]->content;
        if (part.start != first.start || part.part == out.files[i - 1]->content.part) {
            error = out.files[i]->name + ":1: is not another part of the recording in " + out.files.front()->name;
            return false;
        }
    }
    out.dated = first.start_ms >= 0;
    out.start_us = out.dated ? first.start_ms * 1000 : 0;
    for (const auto &file : out.files) {
        file->continued = file != out.files.back();
        add_lines(out, *file, file == out.files.front());
    }
    std::stable_sort(out.lines.begin(), out.lines.end(), [](const session_line &a, const session_line &b) {
        return a.entry->begin_us < b.entry->begin_us;
    });
    return true;
}

std::vector<uint8_t> session_bytes(const recording_bytes &bytes) {
    std::vector<uint8_t> all(bytes.head.begin(), bytes.head.end());
    all.resize(bytes.length);
    return all;
}

session_message session_request(const recording_entry &entry) {
    session_message m;
    if (entry.kind == recording_kind::CALL && entry.call == zeb_call_kind::SEND) {
        const message *what = message_find(ZEB_MESSAGE_REQUEST, entry.numbers[0]);
        if (what != nullptr && entry.in.length == what->size) {
            m = {what, session_bytes(entry.in)};
        }
    }
    return m;
}

session_message session_answer(const recording_entry &entry) {
    session_message m;
    const bool send = entry.call == zeb_call_kind::SEND;
    if (entry.kind == recording_kind::CALL && (send || entry.call == zeb_call_kind::DECODE) &&
        entry.status == ZEB_NO_ERR) {
        const uint32_t type = send ? uint32_t{ZEB_MESSAGE_RESPONSE} : entry.numbers[1];
        const message *what = message_find(type, entry.numbers[0]);
        // A decoding writes into a buffer of the program, and the buffer may be longer than the message.
        if (what != nullptr && (send ? entry.out.length == what->size : entry.out.length >= what->size)) {
            m = {what, session_bytes(entry.out)};
        }
    }
    return m;
}
