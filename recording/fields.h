/* The messages of the network access service, field by field: the one table from which messages are decoded here, for
 * people, for scripts, for the page, for a comparison, and to find identities. Offsets, sizes and types are those of
 * the platform's header, taken by the compiler. */
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
    PLMN,       /* the same as a zeb_nas_plmn */
    TAC_BYTES,  /* three bytes, the most significant first */
    GROUP,      /* a structure with fields of its own */
};

/* What a value identifies, and so tells of where the box is. A PLMN is known by its type instead. */
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
    uint32_t metric = 0;        /* CPE_DM_METRIC_...: the field is that metric, with its key and unit; 0: it is none */
    const char *name = nullptr; /* of a field that is no metric */
    const char *unit = "";
    uint32_t counts_per_unit = 1;
    field_place place;
    uint32_t valid =
        FIELD_NO_OFFSET; /* where the flag (8 bits) lies that says that the field is present, if it has one */
    uint32_t length = FIELD_NO_OFFSET; /* where the number (32 bits) of a list's valid elements lies */
    uint32_t cgi = FIELD_NO_OFFSET;    /* of a PCI: where the CGI (64 bits) lies; if that is 0, a PCI of 0 is missing */
    field_identity identity = field_identity::NONE;
    std::span<const field_name> names = {};
    std::span<const field> group = {}; /* the fields of an element; its offsets count from the element */
    bool compact = false;              /* people read the group's values with strokes between them: 1300/301 */
};

/* A message of one direction. */
struct message {
    zeb_message_type type;
    uint32_t id;
    uint32_t size;
    uint32_t body; /* offset of what `fields` describes; a response's header lies before it or is counted with it */
    std::span<const field> fields;
};

/* The fields with which every response begins. */
extern const std::span<const field> message_response_header;

/* An entry of the list of services, which is no message. */
extern const message message_service_entry;

/* The message of this type (zeb_message_type) and ID, or null when the table has none. */
const message *message_find(uint32_t type, uint32_t id);

/* All of the table. */
std::span<const message> message_all();

/* The name for people of what a request asks for, or an indication tells: "get signal info". "unknown message" when the
 * table has none. */
const char *message_name(uint32_t type, uint32_t id);

const char *field_key(const field &f);
const char *field_unit(const field &f);
uint32_t field_counts_per_unit(const field &f);

/* The functions below read the structure of `size` bytes at `base` that the field belongs to. */

/* Whether the sender has set the field: its flag, where it has one, and for a metric what cpe_dm_is_reported says. */
bool field_present(const field &f, const uint8_t *base);

/* How many values a field has: the valid elements of a list, never more than there is room for; 1 for a field that is
 * no list. */
uint32_t field_count(const field &f, const uint8_t *base);

/* Where element i lies. */
inline const uint8_t *field_at(const field &f, const uint8_t *base, uint32_t i) {
    return &base[f.place.offset + size_t{i} * f.place.size];
}

/* An element as a number; 0 for a PLMN or a group. An unsigned element of 64 bits keeps its bits. */
int64_t field_number(const field &f, const uint8_t *at);

/* An element for people, without its unit. */
std::string field_text(const field &f, const uint8_t *at);

/* The field of a message by its key; null: it has none. */
const field *message_field(const message &m, std::string_view key);

/* The number in a field of a message, in counts; std::nullopt where the field is not present, or the message has no
 * such field. */
std::optional<int64_t> message_number(const message &m, const uint8_t *bytes, std::string_view key);

/* A message for people: "lte.rsrp -93 dBm, lte.rsrq -10 dB". Fields that are not present are left out. `bytes` has the
 * length of the message. */
std::string message_text(const message &m, const uint8_t *bytes);

#endif
