/* The messages of the network access service, field by field. Everything here that looks into a message uses this one
 * table: texts for people, JSON, the page, comparisons, and the search for identities. The compiler takes offsets,
 * sizes and types from the platform's header. */
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
    PLMN_BYTES, /* three bytes with the digits of a network's identity */
    PLMN,       /* a network's identity in a zeb_nas_plmn */
    TAC_BYTES,  /* three bytes, the most significant first */
    GROUP,      /* a structure with fields of its own */
};

/* What a value identifies. A value that identifies a cell or its channel tells where the box is. A PLMN has no entry
 * here: its type marks it. */
enum class field_identity : uint8_t { NONE, CHANNEL, PCI, CGI, TAC };

/* A number that has a name. */
struct field_name {
    uint32_t number;
    const char *name;
};

/* Where a field lies, and its type. */
struct field_place {
    uint32_t offset = 0;
    uint32_t size = 0; /* of one element of a list, or of the value */
    field_type type = field_type::U8;
    uint32_t max = 0; /* elements of a list; 0: no list */
};

inline constexpr uint32_t FIELD_NO_OFFSET = UINT32_MAX;

struct field {
    uint32_t metric = 0; /* the CPE_DM_METRIC_... that the field is, which gives its key and unit; 0: it is no metric */
    const char *name = nullptr; /* of a field that is no metric */
    const char *unit = "";
    uint32_t counts_per_unit = 1;
    field_place place;
    uint32_t valid = FIELD_NO_OFFSET;  /* offset of the flag (8 bits) that says whether the field is present */
    uint32_t length = FIELD_NO_OFFSET; /* offset of the count (32 bits) of a list's valid elements */
    uint32_t cgi = FIELD_NO_OFFSET;    /* of a PCI: offset of the CGI (64 bits), which cpe_dm_is_reported needs */
    field_identity identity = field_identity::NONE;
    std::span<const field_name> names = {};
    std::span<const field> group = {}; /* the fields of one element; their offsets count from its start */
    bool compact = false;              /* texts for people have strokes between the group's values: 1300/301 */
};

/* A message of one direction. */
struct message {
    zeb_message_type type;
    uint32_t id;
    uint32_t size;
    uint32_t body; /* where the offsets of `fields` count from; a response's header may lie before */
    std::span<const field> fields;
};

/* The fields with which every response begins. */
extern const std::span<const field> message_response_header;

/* An entry of the service list. It is no message, but is described like one. */
extern const message message_service_entry;

/* The message of this type (zeb_message_type) and ID, or null when the table has none. */
const message *message_find(uint32_t type, uint32_t id);

/* All of the table. */
std::span<const message> message_all();

/* The name for people of a request or an indication: "get signal info". "unknown message" when the table has none. */
const char *message_name(uint32_t type, uint32_t id);

const char *field_key(const field &f);
const char *field_unit(const field &f);
uint32_t field_counts_per_unit(const field &f);

/* In the functions below, `base` is the structure that the field belongs to. */

/* Whether the sender has set the field. If the field has a flag, the flag must be set. If the field is a metric,
 * cpe_dm_is_reported must agree. */
bool field_present(const field &f, const uint8_t *base);

/* How many values a field has: 1, or for a list the number of its valid elements, at most the room of the list. */
uint32_t field_count(const field &f, const uint8_t *base);

/* The address of element i. */
inline const uint8_t *field_at(const field &f, const uint8_t *base, uint32_t i) {
    return &base[f.place.offset + size_t{i} * f.place.size];
}

/* An element as a number; 0 for a PLMN or a group. An unsigned element of 64 bits is returned bit for bit. */
int64_t field_number(const field &f, const uint8_t *at);

/* An element for people, without its unit. */
std::string field_text(const field &f, const uint8_t *at);

/* The field of a message that has this key; null when there is none. */
const field *message_field(const message &m, std::string_view key);

/* The number in a field of a message, in counts. std::nullopt when the field is not present, or the message has no such
 * field. */
std::optional<int64_t> message_number(const message &m, const uint8_t *bytes, std::string_view key);

/* A message for people: "lte.rsrp -93 dBm, lte.rsrq -10 dB". Fields that are not present are left out. `bytes` has the
 * length of the message. */
std::string message_text(const message &m, const uint8_t *bytes);

#endif
