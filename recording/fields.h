/* A table of the messages of the network access service and their fields. The compiler takes offsets, sizes and types
 * from the platform's header. All code of this program that reads the content of a message uses this table (texts for
 * people, JSON, the page, comparisons, and redaction), with one exception: the code that finds out the registration
 * status uses the platform's structure. */
#ifndef FIELDS_H
#define FIELDS_H

#include "zeb_cci.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

enum class field_type : uint8_t {
    U8,
    U16,
    U32,
    U64,
    I8,
    I16,
    I32,
    PLMN_BYTES, /* a PLMN (a network's identity) whose digits are in three bytes */
    PLMN,       /* a PLMN as a zeb_nas_plmn */
    TAC_BYTES,  /* a TAC (tracking area code) of three bytes, the most significant byte first */
    GROUP,      /* a structure, whose fields are in field::group */
};

/* What a field identifies. Redaction replaces the value of such a field, because a cell or channel tells where the box
 * is. There is no enumerator for a PLMN, because redaction finds a PLMN by its field_type. */
enum class field_identity : uint8_t { NONE, CHANNEL, PCI, CGI, TAC };

/* A name for one value of a field, such as "yes" for 1. */
struct field_name {
    uint32_t number;
    const char *name;
};

/* Where a field is in its structure, and its type. */
struct field_place {
    uint32_t offset = 0;
    uint32_t size = 0; /* bytes of the value, or of one element of a list */
    field_type type = field_type::U8;
    uint32_t max = 0; /* how many elements the list has room for; 0: the field is not a list */
};

inline constexpr uint32_t FIELD_NO_OFFSET = UINT32_MAX;

struct field {
    uint32_t metric = 0;          /* a CPE_DM_METRIC_... that gives the key, unit and counts_per_unit; 0: no metric */
    const char *name = nullptr;   /* the key of a field without a metric */
    const char *unit = "";        /* the unit of a field without a metric */
    uint32_t counts_per_unit = 1; /* the counts per unit of a field without a metric */
    field_place place;
    uint32_t valid = FIELD_NO_OFFSET;  /* offset of the 8-bit flag that says whether the field is present */
    uint32_t length = FIELD_NO_OFFSET; /* for a list: offset of the count of valid elements, a 32-bit number */
    uint32_t cgi = FIELD_NO_OFFSET;    /* for a PCI: offset of the 64-bit CGI, which cpe_dm_is_reported needs */
    field_identity identity = field_identity::NONE;
    std::span<const field_name> names = {};
    std::span<const field> group = {}; /* for a GROUP: its fields, with offsets from the start of the group */
    bool compact = false;              /* for a GROUP: its text has only values, with slashes between them (1300/301) */
};

/* A request, a response or an indication. */
struct message {
    zeb_message_type type;
    uint32_t id;
    uint32_t size;
    uint32_t body; /* the entries of `fields` count their offsets from this byte of the message */
    std::span<const field> fields;
};

/* The fields with which every response begins. */
extern const std::span<const field> message_response_header;

/* Describes an entry of the service list in the form of a message, so that the functions below can read the entry. */
extern const message message_service_entry;

/* The message of this type (zeb_message_type) and ID, or null when the table has none. */
const message *message_find(uint32_t type, uint32_t id);

/* All messages of the table. */
std::span<const message> message_all();

/* The name of a message for people, such as "get signal info"; "unknown message" for an ID without a name. A response
 * has the name of its request. */
const char *message_name(uint32_t type, uint32_t id);

const char *field_key(const field &f);
const char *field_unit(const field &f);
uint32_t field_counts_per_unit(const field &f);

/* In the functions below, `base` points to the structure that contains the field, and `at` to one element of the field.
 * A field that is not a list has one element, its value. */

/* Whether the sender has given the field a value. If the field has a flag, the flag must be set. If the field is a
 * metric, cpe_dm_is_reported must also say that the value is reported. */
bool field_present(const field &f, const uint8_t *base);

/* How many valid elements a list has, but no more than the list has room for. Returns 1 for a field that is not a
 * list. */
uint32_t field_count(const field &f, const uint8_t *base);

/* The address of element `i` of the field. */
inline const uint8_t *field_at(const field &f, const uint8_t *base, uint32_t i) {
    return &base[f.place.offset + size_t{i} * f.place.size];
}

/* An element as a number, in counts; 0 for a PLMN or a group. An unsigned 64-bit number above INT64_MAX becomes the
 * negative number with the same bits. */
int64_t field_number(const field &f, const uint8_t *at);

/* An element as text for people, without its unit. */
std::string field_text(const field &f, const uint8_t *at);

/* Finds a message's field by its key, such as "lte.rsrp". Returns null when the message has no such field. */
const field *message_field(const message &m, std::string_view key);

/* The number in the field with this key, as field_number returns it. std::nullopt when the field is not present, or
 * when the message has no such field. */
std::optional<int64_t> message_number(const message &m, const uint8_t *bytes, std::string_view key);

/* A message as text for people: "lte.rsrp -93 dBm, lte.rsrq -10 dB". Fields that are not present are left out. `bytes`
 * are the m.size bytes of the message. */
std::string message_text(const message &m, const uint8_t *bytes);

#endif
