/* Writes a JSON text, value after value. */
#ifndef JSON_H
#define JSON_H

#include "fields.h"

#include <string>
#include <string_view>

struct json_writer {
    std::string text;
    bool first = true; /* the next value is the first of its object or array */
};

/* The functions below append to `to`. With a key, they add a member to the object that is open. Without a key, they add
 * an element to the array that is open, or the outermost value. `bracket` is { or [ in json_open, and } or ] in
 * json_close. */
void json_open(json_writer &to, char bracket, std::string_view key = {});
void json_close(json_writer &to, char bracket);
void json_string(json_writer &to, std::string_view value, std::string_view key = {});
void json_number(json_writer &to, int64_t value, std::string_view key = {});

/* Adds a value that is JSON already, such as the text 12.8, true or null. */
void json_raw(json_writer &to, std::string_view value, std::string_view key = {});

/* Adds the fields that are present in a message to the open object. The field "lte.rsrp" becomes the member "rsrp" of
 * an object "lte". Numbers are in the unit of the field, such as dB, not in counts. */
void json_message(json_writer &to, const message &m, const uint8_t *bytes);

#endif
