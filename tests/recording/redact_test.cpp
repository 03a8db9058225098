/* Tests what redaction makes of a recording, a log and a console's output. */
#include "known_lines.h"
#include "redact.h"
#include "session.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace {

identities drawing() {
    identities all;
    all.collecting = false;
    return all;
}

TEST(Identities, TheSameAreReplacedByTheSameAndDifferentByDifferent) {
    identities all = drawing();
    std::set<uint64_t> given;
    for (uint64_t pci = 1; pci < 504; pci++) { // all PCIs of LTE: in the end only one replacement is left
        const uint64_t other = identity_replace(all, field_identity::PCI, pci);
        EXPECT_TRUE(other > 0 && other < 504 && given.insert(other).second) << pci;
        EXPECT_EQ(identity_replace(all, field_identity::PCI, pci), other);
    }
    for (const field_identity kind :
         {field_identity::CHANNEL, field_identity::PCI, field_identity::CGI, field_identity::TAC}) {
        EXPECT_EQ(identity_replace(all, kind, 0), 0U); // 0 means "not reported" and stays
    }
    // 66836 is a channel of band 66, and 1300 is its low 16 bits.
    const uint64_t channel = identity_replace(all, field_identity::CHANNEL, 66836);
    EXPECT_EQ(identity_replace(all, field_identity::CHANNEL, 1300), channel - 65536);
    // Two cells of one base station have the same base station afterwards.
    const uint64_t one = identity_replace(all, field_identity::CGI, 27447297);
    const uint64_t two = identity_replace(all, field_identity::CGI, 27447298);
    EXPECT_TRUE(one != two && one >> 8 == two >> 8 && one >> 8 != 27447297 >> 8);
}

TEST(Identities, NoneThatWasSeenIsGiven) {
    identities all;
    for (uint64_t pci = 1; pci < 252; pci++) {
        EXPECT_EQ(identity_replace(all, field_identity::PCI, pci), pci); // returned unchanged, and noted as seen
    }
    all.collecting = false;
    for (uint64_t pci = 1; pci < 252; pci++) {
        EXPECT_GE(identity_replace(all, field_identity::PCI, pci), 252U);
    }
}

TEST(Identities, NetworksAndAreasAreOneAsBytesAndAsNumbers) {
    identities all = drawing();
    uint8_t two[3] = {0x21, 0xF3, 0x54};   // 123-45
    uint8_t three[3] = {0x13, 0x60, 0x20}; // 310-026
    identity_replace_plmn_bytes(all, two);
    identity_replace_plmn_bytes(all, three);
    const auto digits = [](const uint8_t *bytes) {
        char text[16];
        snprintf(text, sizeof(text), "%x%x%x %x%x%x", bytes[0] & 15, bytes[0] >> 4, bytes[1] & 15, bytes[2] & 15,
                 bytes[2] >> 4, bytes[1] >> 4);
        return std::string(text);
    };
    char text[16];
    snprintf(text, sizeof(text), "%03u %02uf", static_cast<unsigned>(identity_replace_mcc(all, 123)),
             static_cast<unsigned>(identity_replace_mnc(all, 45)));
    EXPECT_EQ(digits(two), text);
    snprintf(text, sizeof(text), "%03u %03u", static_cast<unsigned>(identity_replace_mcc(all, 310)),
             static_cast<unsigned>(identity_replace_mnc(all, 26)));
    EXPECT_EQ(digits(three), text);
    uint8_t none[3] = {0, 0, 0};
    identity_replace_plmn_bytes(all, none);
    EXPECT_EQ(none[0] | none[1] | none[2], 0);
    uint8_t odd[3] = {0xFF, 0xFF, 0xFF};
    identity_replace_plmn_bytes(all, odd);
    EXPECT_GT(odd[2] & 0xF, 9); // has a digit above 9, as before
    uint8_t area[3] = {0, 0x12, 0x34};
    identity_replace_tac_bytes(all, area);
    EXPECT_EQ(area[1] << 8 | area[2], static_cast<int>(identity_replace(all, field_identity::TAC, 4660)));
}

std::string hex(const std::vector<uint8_t> &bytes) {
    std::string text = std::to_string(bytes.size()) + ":";
    for (const uint8_t byte : bytes) {
        char digits[4];
        snprintf(digits, sizeof(digits), "%02x", byte);
        text += digits;
    }
    return text;
}

/* Compares a field before and after redaction: only an identity differs. Marks the bytes of the field in `kept`. */
void compare(const field &f, const uint8_t *before, const uint8_t *after, std::vector<bool> &kept, size_t base) {
    const auto keep = [&kept, base](size_t offset, size_t size) {
        std::fill_n(kept.begin() + static_cast<ptrdiff_t>(base + offset), size, true);
    };
    const bool identity = f.identity != field_identity::NONE || f.place.type == field_type::PLMN ||
                          f.place.type == field_type::PLMN_BYTES;
    if (f.valid != FIELD_NO_OFFSET) {
        keep(f.valid, 1);
    }
    if (f.length != FIELD_NO_OFFSET) {
        keep(f.length, 4);
    }
    for (uint32_t i = 0; i < std::max(f.place.max, 1U); i++) {
        const size_t offset = f.place.offset + size_t{i} * f.place.size;
        for (const field &part : f.group) {
            compare(part, before + offset, after + offset, kept, base + offset);
        }
        if (f.group.empty()) {
            keep(offset, f.place.size);
            EXPECT_EQ(memcmp(before + offset, after + offset, f.place.size) != 0, identity) << field_key(f) << " " << i;
        }
    }
}

/* Redacts each response and indication, filled with random bytes. */
TEST(Redact, IdentitiesDifferFieldsStayAndNothingElseIsLeft) {
    std::mt19937 random(1);
    for (const message &m : message_all()) {
        if (m.type == ZEB_MESSAGE_REQUEST || m.fields.empty()) {
            continue;
        }
        std::vector<uint8_t> before(m.size);
        std::generate(before.begin(), before.end(), [&random] { return static_cast<uint8_t>(1 + random() % 255); });
        const message *request = message_find(ZEB_MESSAGE_REQUEST, m.id);
        const bool send = m.type == ZEB_MESSAGE_RESPONSE;
        const std::string id = std::to_string(m.id);
        char head[128];
        snprintf(head, sizeof(head),
                 send ? "1 send client=1 id=0x%04x status=0 timeout=1 req=%u: resp="
                      : "1 decode client=1 type=2 id=0x%04x status=0 buf=%u:aabbcc dst=",
                 static_cast<unsigned>(m.id), static_cast<unsigned>(request != nullptr ? request->size : 3));
        std::vector<redact_file> files = {
            {.name = "r", .text = "zeb-recording 1\n" + std::string(head) + hex(before) + " took=5\n"}};
        std::string report;
        std::string error;
        ASSERT_TRUE(redact_texts(files, false, report, error)) << error;
        session_file redacted;
        ASSERT_TRUE(session_parse("r", files[0].result, redacted, error)) << error;
        const std::vector<uint8_t> after = session_bytes(redacted.content.entries.at(0).out);
        std::vector<bool> kept(m.size);
        ASSERT_EQ(after.size(), before.size());
        if (send) {
            EXPECT_EQ(memcmp(before.data(), after.data(), 8), 0) << id; // the response's header
            std::fill_n(kept.begin(), 8, true);
        }
        for (const field &f : m.fields) {
            compare(f, before.data() + m.body, after.data() + m.body, kept, m.body);
        }
        for (size_t i = 0; i < kept.size(); i++) {
            EXPECT_TRUE(kept[i] || after[i] == 0) << id << " " << i;
        }
    }
}

/* Redacts a recording that has the given lines. Returns the redacted lines, or the error text. */
std::string redacted(const std::string &lines, bool blank = false) {
    std::vector<redact_file> files = {
        {.name = "r", .text = "zeb-recording 1 start=2026-11-23T02:16:57Z machine=m secret=s\n" + lines}};
    std::string report;
    std::string error;
    return redact_texts(files, blank, report, error) ? files[0].result.substr(files[0].result.find('\n') + 1) : error;
}

TEST(Redact, WhatIsNotKnownIsRefusedOrLeftOut) {
    const std::string send = "1 send client=1 id=0x0077 status=0 timeout=1 req=2:0102 resp=4:01020304 took=1\n";
    EXPECT_EQ(redacted(send).substr(0, 26), "r:2: 0x0077 unknown messag");
    EXPECT_EQ(redacted(send, true), "1 send client=1 id=0x0077 status=0 timeout=1 req=2: resp=4: took=1\n");
    // A response of an unexpected length, and a request with bytes in it that belong to no field, are refused.
    EXPECT_EQ(redacted("1 send client=1 id=0x004f status=0 timeout=1 req=1: resp=4:01 took=1\n").substr(0, 11),
              "r:2: 0x004f");
    EXPECT_EQ(redacted("1 send client=1 id=0x005a status=0 timeout=1 req=12:0800000001 resp=- took=1\n").substr(0, 11),
              "r:2: 0x005a");
    // Redaction leaves out the buffers of failed calls, which hold the program's memory, and the texts of notes, which
    // may say anything. A line that is cut short stays cut short.
    EXPECT_EQ(
        redacted(
            "1 send client=1 id=0x0077 status=-8 timeout=1 req=2: resp=4:01020304 took=1\n"
            "# at Mill Lane 5\n1 list status=0 entries=1 services=1 info=40:02030405000000001122 took=0\n12 send cli"),
        "1 send client=1 id=0x0077 status=-8 timeout=1 req=2: resp=4: took=1\n"
        "#\n1 list status=0 entries=1 services=1 info=40:02030405 took=0\n12");
}

TEST(Redact, EncodedIndicationsAreNumberedTheSameByTheSame) {
    EXPECT_EQ(
        redacted(
            "1 ind client=1 id=0x0077 buf=3:aa\n1 ind client=1 id=0x0077 buf=3:bb\n1 ind client=1 id=0x0077 buf=4:aa\n"
            "1 ind client=1 id=0x0077 buf=3:aa\n1 decode client=1 type=2 id=0x0077 status=-6 buf=3:bb dst=2:01 "
            "took=1\n"),
        "1 ind client=1 id=0x0077 buf=3:01\n1 ind client=1 id=0x0077 buf=3:02\n1 ind client=1 id=0x0077 buf=4:01\n"
        "1 ind client=1 id=0x0077 buf=3:01\n1 decode client=1 type=2 id=0x0077 status=-6 buf=3:02 dst=2: took=1\n");
}

TEST(KnownLines, AreTakenInTheirFormOnly) {
    const char *left_out[] = {
        "Mill Lane 5",
        "LTE serving cell info - pci[301] at home",
        "LTE serving cell info - pci[99999999999999999999]",
        "[LTE Serving Cell PLMN] - 33, 243, 300",
        "CPE DEMO APP : Getting LTE/5G [Mill Lane] metric information.",
        "27447297",
        "11 5",
        "2026-11-23T02:16:57.123Z info 1 x.cpp:1 Mill Lane",
        "CPE DEMO APP : Mill Lane",
    };
    for (const char *line : left_out) {
        identities all;
        EXPECT_FALSE(known_line_redact(line, all, 0)) << line;
    }
    // A known line is returned unchanged while identities are being collected.
    const char *kept[] = {
        "",
        "Option > ",
        "Option > Option > CPE DEMO APP : Register application.",
        "7 10",
        "CPE DEMO APP : 3 2 65535",
        "01. CPE DM Register   \r",
        "[NR 5G Serving Cell CGI] - -9223372036854775807",
        "NR 5G serving cell info - tac[0x0 0x12 0x34]",
        "cpe_dm_get_info called from the callback - refused, as the callback runs with the module's lock held",
        "Invalid params - hndl[(nil)], dm_info[0x7ffe00]",
        "[3] - NR 5G Serving Cell RSRP",
    };
    for (const char *line : kept) {
        identities all;
        EXPECT_EQ(known_line_redact(line, all, 0), line);
    }
    identities all = drawing();
    const std::string whole = std::to_string(identity_replace(all, field_identity::CHANNEL, 640000));
    EXPECT_EQ(known_line_redact("2026-11-23T23:59:59.999Z info 7 x.cpp:1 NR 5G multi-lock cell list - #0 arfcn[640000]",
                                all, 1000),
              "2026-11-24T00:00:00.000Z info 7 x.cpp:1 NR 5G multi-lock cell list - #0 arfcn[" + whole + "]");
}

} // namespace
