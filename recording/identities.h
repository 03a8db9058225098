/* What stands for what in a redacted recording. Every identity has one replacement, drawn at random for this run alone:
 * neither can be computed from the other, so guesses cannot be tried out. Replacements are plausible values of the same
 * kind, none of them an identity that was seen.
 *
 * A 0 stays where it says that the modem reported nothing: as a channel, PCI, CGI, TAC, and country code. */
#ifndef IDENTITIES_H
#define IDENTITIES_H

#include "fields.h"

#include <array>
#include <map>
#include <set>

/* Values of one kind that are replaced by one another. */
enum class identity_space : uint8_t {
    CHANNEL, /* of either technology: their numbers do not meet */
    PCI,
    CGI,          /* of more than 28 bits */
    BASE_STATION, /* of a CGI of 28 bits at most: all but its low 8 bits. Cells of one base station stay together */
    CELL,         /* those 8 bits */
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

    /* While true, a value that is asked for is noted as seen and returned unchanged. */
    bool collecting = true;
};

/* The replacement of a channel number, a PCI, a CGI or a TAC, and of the two numbers of a PLMN. */
uint64_t identity_replace(identities &all, field_identity kind, uint64_t value);
uint64_t identity_replace_mcc(identities &all, uint64_t mcc);
uint64_t identity_replace_mnc(identities &all, uint64_t mnc);

/* The replacement of an NR 5G channel of which only the low 16 bits are known. */
uint64_t identity_replace_channel_16(identities &all, uint64_t low);

/* Replace a PLMN or a TAC of three bytes in place. The same PLMN or TAC written as numbers has the same replacement. */
void identity_replace_plmn_bytes(identities &all, uint8_t *bytes);
void identity_replace_tac_bytes(identities &all, uint8_t *bytes);

/* Replaces all identities of the field at `at`, of whatever type. */
void identity_replace_field(identities &all, const field &f, uint8_t *at);

/* What was replaced, for people: "3 channels, 4 physical cell identities, ..."; "nothing" when nothing was. */
std::string identity_summary(const identities &all);

#endif
