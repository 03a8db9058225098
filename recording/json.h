/* JSON, written from left to right. */
#ifndef JSON_H
#define JSON_H

#include "fields.h"

#include <string>
#include <string_view>

struct json_writer {
    std::string text;
    bool first = true; /* what comes next is the first of its object or array */
};

/* With a key: a member of an object. Without: an element of an array, or the whole. */
void json_open(json_writer &to, char bracket, std::string_view key = {});
void json_close(json_writer &to, char bracket);
void json_string(json_writer &to, std::string_view value, std::string_view key = {});
void json_number(json_writer &to, int64_t value, std::string_view key = {});

/* A text that is JSON itself, such as "12.8", "true" or "null". */
void json_raw(json_writer &to, std::string_view value, std::string_view key = {});

/* Writes the fields of a message that are present as members of the open object: "lte.rsrp" is "rsrp" of the object
 * "lte". Numbers are in units. */
void json_message(json_writer &to, const message &m, const uint8_t *bytes);

#endif
