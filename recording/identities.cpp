#include "identities.h"

#include "cpe_dm_text.h"
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace {

using space_id = identity_space;

constexpr uint64_t CELL_BITS = 8;
constexpr uint64_t SHORT_CGI = uint64_t{1} << 28;
constexpr uint64_t LONG_CGI = uint64_t{1} << 36;
constexpr uint64_t U16 = UINT16_MAX;
constexpr uint64_t U24 = (uint64_t{1} << 24) - 1;

/* Some messages have only the low 16 bits of an LTE channel number. In these messages, a number below this limit may
 * stand for a channel of band 65 or above. */
constexpr uint64_t CUT_CHANNELS = 5110;
constexpr uint64_t CUT = CPE_DM_LTE_EARFCN_CUT;

bool is_lte_channel(uint64_t value) {
    return cpe_dm_lte_band(static_cast<uint32_t>(value)) != 0;
}

bool is_odd_plmn(uint64_t value) {
    return (value & 0xF) > 9;
}

/* A range of values. A value is replaced by another value of its range, so the replacement fits into the same field and
 * has a similar meaning. The likely values are those that a real network may use. Replacements are drawn from the
 * likely values first. */
struct range {
    space_id space;
    uint64_t first;
    uint64_t last;
    uint64_t likely_first;             /* the lowest likely value */
    uint64_t likely_last;              /* the highest likely value */
    bool (*is_likely)(uint64_t value); /* null, or a further condition for a likely value */
};

constexpr range RANGES[] = {
    {space_id::CHANNEL, 1, CUT_CHANNELS - 1, 1, 4949, is_lte_channel},
    {space_id::CHANNEL, CUT_CHANNELS, U16, 5180, 60254, is_lte_channel},
    {space_id::CHANNEL, CUT, CUT, CUT + 1, 70645, nullptr},
    {space_id::CHANNEL, 70646, 599999, 123400, 599999, nullptr},
    {space_id::CHANNEL, 600000, 2016666, 620000, 680000, nullptr},
    {space_id::CHANNEL, 2016667, 3279165, 2016667, 3279165, nullptr},
    {space_id::CHANNEL, 3279166, UINT32_MAX, 3279166, UINT32_MAX, nullptr},
    {space_id::PCI, 1, 503, 1, 503, nullptr},
    {space_id::PCI, 504, 1007, 504, 1007, nullptr},
    {space_id::PCI, 1008, U16, 1008, U16, nullptr},
    {space_id::CGI, SHORT_CGI, LONG_CGI - 1, SHORT_CGI, LONG_CGI - 1, nullptr},
    {space_id::CGI, LONG_CGI, UINT64_MAX, LONG_CGI, UINT64_MAX, nullptr},
    {space_id::BASE_STATION, 0, (SHORT_CGI >> CELL_BITS) - 1, 1, (SHORT_CGI >> CELL_BITS) - 1, nullptr},
    {space_id::CELL, 0, 255, 0, 255, nullptr},
    {space_id::TAC, 1, U16, 1, U16 - 2, nullptr},
    {space_id::TAC, U16 + 1, U24, U16 + 1, U24 - 2, nullptr},
    {space_id::MCC, 1, 999, 200, 799, nullptr},
    {space_id::MCC, 1000, U16, 1000, U16, nullptr},
    {space_id::MNC, 0, 99, 1, 99, nullptr},
    {space_id::MNC, 100, 999, 100, 999, nullptr},
    {space_id::MNC, 1000, U16, 1000, U16, nullptr},
    {space_id::ODD_PLMN, 0, U24, 0, U24, is_odd_plmn},
};

const range *range_of(space_id space, uint64_t value) {
    const auto *found = std::find_if(std::begin(RANGES), std::end(RANGES), [=](const range &r) {
        return r.space == space && value >= r.first && value <= r.last;
    });
    return found == std::end(RANGES) ? nullptr : found;
}

/* Draws a replacement for `original`: a value that is not the replacement of another original. There always is such a
 * value: all originals are values of the range, so there cannot be more originals than values. */
uint64_t draw(const identities::space &s, const range &r, uint64_t original) {
    constexpr int TRIES = 1000;
    std::random_device random;
    std::uniform_int_distribution<uint64_t> likely(r.likely_first, r.likely_last);
    for (int i = 0; i < TRIES; i++) {
        const uint64_t value = likely(random);
        if ((r.is_likely == nullptr || r.is_likely(value)) && !s.given.contains(value) && !s.seen.contains(value)) {
            return value;
        }
    }
    // No try has found a free likely value, so nearly all likely values are in use. Begin at a random value of the
    // range, and take the first value that is neither a replacement already nor in the recording. If there is no such
    // value, accept a value that is in the recording, unless the value is `original` itself.
    std::uniform_int_distribution<uint64_t> any(r.first, r.last);
    for (const bool seen_too : {false, true}) {
        uint64_t value = any(random);
        for (uint64_t tried = 0; tried <= r.last - r.first && tried <= s.given.size() + s.seen.size() + 1; tried++) {
            if (!s.given.contains(value) && value != original && (seen_too || !s.seen.contains(value))) {
                return value;
            }
            value = value == r.last ? r.first : value + 1;
        }
    }
    return original; // all other values of the range are replacements already
}

uint64_t replace(identities &all, space_id space, uint64_t value) {
    const range *r = range_of(space, value);
    identities::space &s = all.spaces[static_cast<size_t>(space)];
    if (r == nullptr) {
        return value;
    }
    if (all.collecting) {
        s.seen.insert(value);
        return value;
    }
    auto [found, added] = s.replacements.try_emplace(value, 0);
    if (added) {
        found->second = draw(s, *r, value);
        s.given.insert(found->second);
    }
    return found->second;
}

/* Replaces a channel number. Some messages have only the low 16 bits of a channel number of band 65 or above. So for
 * such a channel number only the low 16 bits are replaced, and the replacements match in all messages. */
uint64_t replace_channel(identities &all, uint64_t value) {
    const bool above = value > CUT && value < CUT + CUT_CHANNELS;
    return replace(all, space_id::CHANNEL, above ? value - CUT : value) + (above ? CUT : 0);
}

uint64_t replace_cgi(identities &all, uint64_t value) {
    if (value == 0 || value >= SHORT_CGI) {
        return replace(all, space_id::CGI, value);
    }
    const uint64_t cell = replace(all, space_id::CELL, value & ((1U << CELL_BITS) - 1));
    return replace(all, space_id::BASE_STATION, value >> CELL_BITS) << CELL_BITS | cell;
}

/* The digits of a PLMN of three bytes: three digits of the MCC, then three of the MNC. If the MNC has only two digits,
 * 15 stands for the third. */
std::array<unsigned, 6> digits_of(const uint8_t *bytes) {
    const auto half = [bytes](int i, unsigned shift) { return unsigned{bytes[i]} >> shift & 0xF; };
    return {half(0, 0), half(0, 4), half(1, 0), half(2, 0), half(2, 4), half(1, 4)};
}

void put_digits(uint8_t *bytes, const std::array<unsigned, 6> &digits) {
    bytes[0] = static_cast<uint8_t>(digits[1] << 4 | digits[0]);
    bytes[1] = static_cast<uint8_t>(digits[5] << 4 | digits[2]);
    bytes[2] = static_cast<uint8_t>(digits[4] << 4 | digits[3]);
}

constexpr unsigned NO_DIGIT = 15;

uint64_t number_of(const uint8_t *bytes) {
    return uint64_t{bytes[0]} << 16 | uint64_t{bytes[1]} << 8 | bytes[2];
}

void put_number(uint8_t *bytes, uint64_t number) {
    bytes[0] = static_cast<uint8_t>(number >> 16);
    bytes[1] = static_cast<uint8_t>(number >> 8);
    bytes[2] = static_cast<uint8_t>(number);
}

template <typename T> void replace_number(identities &all, field_identity kind, uint8_t *at) {
    T value;
    memcpy(&value, at, sizeof(value));
    value = static_cast<T>(identity_replace(all, kind, value));
    memcpy(at, &value, sizeof(value));
}

} // namespace

uint64_t identity_replace(identities &all, field_identity kind, uint64_t value) {
    switch (kind) {
    case field_identity::CHANNEL:
        return replace_channel(all, value);
    case field_identity::PCI:
        return replace(all, space_id::PCI, value);
    case field_identity::CGI:
        return replace_cgi(all, value);
    case field_identity::TAC:
        return replace(all, space_id::TAC, value);
    case field_identity::NONE:
        break;
    }
    return value;
}

uint64_t identity_replace_mcc(identities &all, uint64_t mcc) {
    return replace(all, space_id::MCC, mcc);
}

uint64_t identity_replace_mnc(identities &all, uint64_t mnc) {
    return replace(all, space_id::MNC, mnc);
}

uint64_t identity_replace_channel_16(identities &all, uint64_t low) {
    const auto &seen = all.spaces[static_cast<size_t>(space_id::CHANNEL)].seen;
    const auto whole =
        std::find_if(seen.begin(), seen.end(), [low](uint64_t value) { return value > U16 && (value & U16) == low; });
    return replace_channel(all, whole == seen.end() ? low : *whole) & U16;
}

void identity_replace_plmn_bytes(identities &all, uint8_t *bytes) {
    auto digits = digits_of(bytes);
    const bool three = digits[5] != NO_DIGIT;
    const bool decimal = std::all_of(digits.begin(), digits.end() - 1, [](unsigned d) { return d < 10; });
    if (number_of(bytes) == 0) {
        return;
    }
    if (!decimal || (three && digits[5] > 9)) {
        put_number(bytes, replace(all, space_id::ODD_PLMN, number_of(bytes)));
        return;
    }
    const unsigned mnc = digits[3] * 10 + digits[4];
    const auto new_mcc = static_cast<unsigned>(identity_replace_mcc(all, digits[0] * 100 + digits[1] * 10 + digits[2]));
    const auto new_mnc = static_cast<unsigned>(identity_replace_mnc(all, three ? mnc * 10 + digits[5] : mnc));
    const unsigned upper = three ? new_mnc / 10 : new_mnc;
    digits = {new_mcc / 100,   new_mcc / 10 % 10, new_mcc % 10,
              upper / 10 % 10, upper % 10,        three ? new_mnc % 10 : NO_DIGIT};
    put_digits(bytes, digits);
}

void identity_replace_tac_bytes(identities &all, uint8_t *bytes) {
    put_number(bytes, replace(all, space_id::TAC, number_of(bytes)));
}

void identity_replace_field(identities &all, const field &f, uint8_t *at) {
    switch (f.place.type) {
    case field_type::PLMN_BYTES:
        identity_replace_plmn_bytes(all, at);
        break;
    case field_type::TAC_BYTES:
        identity_replace_tac_bytes(all, at);
        break;
    case field_type::PLMN: {
        zeb_nas_plmn plmn;
        memcpy(&plmn, at, sizeof(plmn));
        plmn.plmn_mcc = static_cast<uint16_t>(identity_replace_mcc(all, plmn.plmn_mcc));
        if (plmn.plmn_mcc != 0) { // an MCC of 0 means that there is no network, and no MNC to replace
            plmn.plmn_mnc = static_cast<uint16_t>(identity_replace_mnc(all, plmn.plmn_mnc));
        }
        memcpy(at, &plmn, sizeof(plmn));
        break;
    }
    case field_type::U16:
        replace_number<uint16_t>(all, f.identity, at);
        break;
    case field_type::U32:
        replace_number<uint32_t>(all, f.identity, at);
        break;
    case field_type::U64:
        replace_number<uint64_t>(all, f.identity, at);
        break;
    default:
        break;
    }
}

std::string identity_summary(const identities &all) {
    struct kind {
        std::initializer_list<space_id> spaces;
        const char *one;
        const char *many;
    };
    static const kind KINDS[] = {
        {{space_id::CHANNEL}, "channel", "channels"},
        {{space_id::PCI}, "physical cell identity", "physical cell identities"},
        {{space_id::BASE_STATION}, "base station", "base stations"},
        {{space_id::CELL, space_id::CGI}, "cell", "cells"},
        {{space_id::TAC}, "tracking area", "tracking areas"},
        {{space_id::MCC}, "country code", "country codes"},
        {{space_id::MNC, space_id::ODD_PLMN}, "network code", "network codes"},
    };
    std::string text;
    for (const kind &k : KINDS) {
        size_t count = 0;
        for (const space_id space : k.spaces) {
            count += all.spaces[static_cast<size_t>(space)].replacements.size();
        }
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + (count == 1 ? k.one : k.many);
        }
    }
    return text.empty() ? "nothing" : text;
}
