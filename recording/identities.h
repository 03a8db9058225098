/* The replacements of identities in a redacted recording. Every identity has one replacement, drawn at random for this
 * run alone. Neither can be computed from the other, so nobody can find an original by trying values out. A replacement
 * is a plausible value of the same kind, and no identity that was seen. Only when such values are used up, other values
 * of the same kind are taken.
 *
 * A 0 stays 0 where it means "not reported": as a channel, PCI, CGI, TAC, and country code. */
#ifndef IDENTITIES_H
#define IDENTITIES_H

#include "fields.h"

#include <array>
#include <map>
#include <set>

/* Values of one kind that are replaced by one another. */
enum class identity_space : uint8_t {
    CHANNEL, /* channel numbers of both technologies, which have no number in common */
    PCI,
    CGI,          /* a CGI of more than 28 bits */
    BASE_STATION, /* a CGI of 28 bits at most, without its low 8 bits; the cells of one base station stay together */
    CELL,         /* the low 8 bits of such a CGI */
    TAC,
    MCC,
    MNC,
    ODD_PLMN, /* the bytes of a PLMN with digits above 9 */
    COUNT,
};

struct identities {
    struct space {
        std::set<uint64_t> seen;
        std::set<uint64_t> given;
        std::map<uint64_t, uint64_t> replacements;
    };
    std::array<space, static_cast<size_t>(identity_space::COUNT)> spaces;

    /* While true, the functions below only note each value as seen, and return it unchanged. */
    bool collecting = true;
};

/* The first returns the replacement of a channel number, a PCI, a CGI or a TAC. The second and the third return the
 * replacements of a PLMN's MCC and MNC. */
uint64_t identity_replace(identities &all, field_identity kind, uint64_t value);
uint64_t identity_replace_mcc(identities &all, uint64_t mcc);
uint64_t identity_replace_mnc(identities &all, uint64_t mnc);

/* The replacement of an NR 5G channel of which only the low 16 bits are known. */
uint64_t identity_replace_channel_16(identities &all, uint64_t low);

/* Replace a PLMN or a TAC of three bytes in place. The same PLMN or TAC written as numbers has the same replacement. */
void identity_replace_plmn_bytes(identities &all, uint8_t *bytes);
void identity_replace_tac_bytes(identities &all, uint8_t *bytes);

/* Replaces all identities in the field at `at`, whatever its type. */
void identity_replace_field(identities &all, const field &f, uint8_t *at);

/* A text for people about what was replaced: "3 channels, 4 physical cell identities, ...", or "nothing". */
std::string identity_summary(const identities &all);

#endif
