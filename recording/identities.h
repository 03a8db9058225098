/* Replaces identities for a redacted recording. During one run of the program, equal identities get equal replacements.
 * A replacement is drawn at random and not computed from the identity, so nobody can find the identity by trying values
 * out. A replacement is a plausible value of the same kind and does not occur as an identity in the files to redact.
 * When all plausible values seem to be used up, the replacement may be any other value of the same kind. When all
 * of these values are replacements of other identities already, none is left, and the identity is not replaced.
 *
 * A channel number, PCI, CGI, TAC or country code (MCC) of 0 means "not reported" and is not replaced. */
#ifndef IDENTITIES_H
#define IDENTITIES_H

#include "fields.h"

#include <array>
#include <map>
#include <set>

/* The kinds of values. A value is replaced by a value of the same kind. */
enum class identity_space : uint8_t {
    CHANNEL, /* channel numbers of LTE and NR 5G: one kind, because no number is in use in both */
    PCI,
    CGI,          /* a CGI of more than 28 bits */
    BASE_STATION, /* all bits but the low 8 of a CGI of 28 bits or less: the number of the base station */
    CELL,         /* the low 8 bits of a CGI of 28 bits or less: the number of the cell within its base station */
    TAC,
    MCC,
    MNC,
    ODD_PLMN, /* a three-byte PLMN with an invalid digit (above 9), which cannot be read as an MCC and an MNC */
    COUNT,
};

struct identities {
    struct space {
        std::set<uint64_t> seen;
        std::set<uint64_t> given;
        std::map<uint64_t, uint64_t> replacements;
    };
    std::array<space, static_cast<size_t>(identity_space::COUNT)> spaces;

    /* While true, the functions below only add each value to `seen` and replace nothing. */
    bool collecting = true;
};

/* identity_replace returns the replacement of a channel number, PCI, CGI or TAC, as `kind` says. The two other
 * functions return the replacements of a PLMN's country code (MCC) and network code (MNC). */
uint64_t identity_replace(identities &all, field_identity kind, uint64_t value);
uint64_t identity_replace_mcc(identities &all, uint64_t mcc);
uint64_t identity_replace_mnc(identities &all, uint64_t mnc);

/* Replaces an NR 5G channel number of which only the low 16 bits are known. Returns the low 16 bits of its
 * replacement. */
uint64_t identity_replace_channel_16(identities &all, uint64_t low);

/* Replace a PLMN or a TAC, stored as three bytes, in place. A TAC, and the MCC and MNC of a valid PLMN, are replaced by
 * the same values that the functions above return for them. */
void identity_replace_plmn_bytes(identities &all, uint8_t *bytes);
void identity_replace_tac_bytes(identities &all, uint8_t *bytes);

/* Replaces one element of the field in place if the element is an identity; `at` points to the element. Does not look
 * into a group: the caller passes each field of the group. */
void identity_replace_field(identities &all, const field &f, uint8_t *at);

/* A text for people about what was replaced: "3 channels, 4 physical cell identities, ...", or "nothing". */
std::string identity_summary(const identities &all);

#endif
