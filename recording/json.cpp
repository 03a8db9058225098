#include "json.h"

#include <algorithm>
#include <cstdio>

namespace {

/* Returns how many bytes the UTF-8 character at the start of `text` has. Returns 0 when that character is ASCII, and
 * when the bytes are not UTF-8. */
size_t utf8_length(std::string_view text) {
    /* LOWEST[n] is the lowest character that needs n bytes. More bytes than needed are not valid UTF-8. */
    static constexpr char32_t LOWEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC0 || first >= 0xF8 || text.size() < length) {
        return 0;
    }
    char32_t character = first & (0x7FU >> length);
    for (const char c : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80) {
            return 0;
        }
        character = character << 6U | (static_cast<unsigned char>(c) & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return character >= LOWEST[length] && character <= 0x10FFFF && !surrogate ? length : 0;
}

/* Appends `value` as a JSON string. The string is valid UTF-8 even if `value` is not: control characters, and bytes
 * that are not valid UTF-8, are escaped by their number, for example 0xFF as \u00ff. The characters <, > and & are
 * escaped too, because the string may stand in a script of an HTML page, and these characters could end the script. */
void put_quoted(std::string &text, std::string_view value) {
    text += '"';
    while (!value.empty()) {
        const char c = value[0];
        const auto byte = static_cast<unsigned char>(c);
        const size_t length = utf8_length(value);
        if (length > 0) {
            text += value.substr(0, length);
        } else if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (byte < 0x20 || byte > 0x7E || c == '<' || c == '>' || c == '&') {
            char escape[8];
            snprintf(escape, sizeof(escape), "\\u%04x", unsigned{byte});
            text += escape;
        } else {
            text += c;
        }
        value.remove_prefix(std::max<size_t>(length, 1));
    }
    text += '"';
}

void put_key(json_writer &to, std::string_view key) {
    if (!to.first) {
        to.text += ',';
    }
    to.first = false;
    if (!key.empty()) {
        put_quoted(to.text, key);
        to.text += ':';
    }
}

void put_element(json_writer &to, const field &f, const uint8_t *at, std::string_view key);

/* Writes one field of a message, or of a structure inside a message, as a member named `key`. */
void put_field(json_writer &to, const field &f, const uint8_t *base, std::string_view key) {
    if (f.place.max == 0) {
        put_element(to, f, field_at(f, base, 0), key);
        return;
    }
    json_open(to, '[', key);
    for (uint32_t i = 0; i < field_count(f, base); i++) {
        put_element(to, f, field_at(f, base, i), {});
    }
    json_close(to, ']');
}

void put_element(json_writer &to, const field &f, const uint8_t *at, std::string_view key) {
    if (f.place.type == field_type::GROUP) {
        json_open(to, '{', key);
        for (const field &part : f.group) {
            put_field(to, part, at, field_key(part));
        }
        json_close(to, '}');
        return;
    }
    const std::string value = field_text(f, at);
    const bool number = value.find_first_not_of("-.0123456789") == std::string::npos &&
                        f.place.type != field_type::PLMN && f.place.type != field_type::PLMN_BYTES;
    if (number) {
        json_raw(to, value, key);
    } else {
        json_string(to, value, key);
    }
}

} // namespace

void json_open(json_writer &to, char bracket, std::string_view key) {
    put_key(to, key);
    to.text += bracket;
    to.first = true;
}

void json_close(json_writer &to, char bracket) {
    to.text += bracket;
    to.first = false;
}

void json_string(json_writer &to, std::string_view value, std::string_view key) {
    put_key(to, key);
    put_quoted(to.text, value);
}

void json_number(json_writer &to, int64_t value, std::string_view key) {
    json_raw(to, std::to_string(value), key);
}

void json_raw(json_writer &to, std::string_view value, std::string_view key) {
    put_key(to, key);
    to.text += value;
}

void json_message(json_writer &to, const message &m, const uint8_t *bytes) {
    const uint8_t *base = bytes + m.body;
    std::string_view open; // the key of the object that is open; empty: none
    for (const field &f : m.fields) {
        if (!field_present(f, base)) {
            continue;
        }
        const std::string_view key = field_key(f);
        const size_t dot = key.rfind('.');
        const std::string_view prefix = key.substr(0, dot == std::string_view::npos ? 0 : dot);
        if (prefix != open) {
            if (!open.empty()) {
                json_close(to, '}');
            }
            if (!prefix.empty()) {
                json_open(to, '{', prefix);
            }
            open = prefix;
        }
        put_field(to, f, base, key.substr(prefix.empty() ? 0 : dot + 1));
    }
    if (!open.empty()) {
        json_close(to, '}');
    }
}
