/* JSON, written from left to right. */
#ifndef JSON_H
#define JSON_H

#include "fields.h"

#include <string>
#include <string_view>

struct json_writer {
    std::string text;
    bool first = true; /* the next value is the first of its object or array */
};

/* The next functions add to the object or array that is open. With a key they add a member of an object. Without a key
 * they add an element of an array, or the whole text. */
void json_open(json_writer &to, char bracket, std::string_view key = {});
void json_close(json_writer &to, char bracket);
void json_string(json_writer &to, std::string_view value, std::string_view key = {});
void json_number(json_writer &to, int64_t value, std::string_view key = {});

/* Writes a text that is a JSON value itself, such as "12.8", "true" or "null". */
void json_raw(json_writer &to, std::string_view value, std::string_view key = {});

/* Writes the fields of a message that are present as members of the open object. The field "lte.rsrp" becomes "rsrp" in
 * the object "lte". Numbers are in units. */
void json_message(json_writer &to, const message &m, const uint8_t *bytes);

#endif
