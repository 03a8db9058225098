/* Tests what zeb_recording reads out of a recording, namely fields and times, and how it compares two recordings. */
#include "diff.h"
#include "facts.h"
#include "json.h"
#include "times.h"

#include "cpe_dm.h"

#include "zeb_nas_v01.h"
#include <cstring>
#include <gtest/gtest.h>
#include <set>

namespace {

template <typename T> std::vector<uint8_t> bytes_of(const T &structure) {
    std::vector<uint8_t> bytes(sizeof(T));
    memcpy(bytes.data(), &structure, sizeof(T));
    return bytes;
}

template <typename T> std::string text_of(uint32_t type, uint32_t id, const T &structure) {
    const message *m = message_find(type, id);
    return m == nullptr || m->size != sizeof(T) ? "not found" : message_text(*m, bytes_of(structure).data());
}

template <typename T> std::string json_of(uint32_t type, uint32_t id, const T &structure) {
    json_writer to;
    json_open(to, '{');
    json_message(to, *message_find(type, id), bytes_of(structure).data());
    json_close(to, '}');
    return to.text;
}

TEST(Fields, LieInsideTheirMessageAndHaveOneKeyEach) {
    for (const message &m : message_all()) {
        std::set<std::string> keys;
        std::set<std::string> prefixes;
        std::string prefix;
        for (const field &f : m.fields) {
            const std::string key = field_key(f);
            EXPECT_TRUE(keys.insert(key).second) << key;
            EXPECT_LE(m.body + f.place.offset + std::max(f.place.max, 1U) * f.place.size, m.size) << key;
            EXPECT_EQ(f.place.max > 0, f.length != FIELD_NO_OFFSET) << key;
            EXPECT_EQ(f.place.type == field_type::GROUP, !f.group.empty()) << key;
            // The fields of one technology stand together, because JSON makes one object of them.
            const std::string now = key.substr(0, key.rfind('.') == std::string::npos ? 0 : key.rfind('.'));
            if (now != prefix && !now.empty()) {
                EXPECT_TRUE(prefixes.insert(now).second) << key;
            }
            prefix = now;
        }
    }
}

TEST(Fields, ReadAsTheModuleReadsThem) {
    zeb_nas_cell_location_info_resp cell = {};
    cell.lte_intra_valid = 1;
    cell.lte_intra = {.plmn_id = {0x21, 0xF3, 0x54},
                      .tac = 4660,
                      .cgi = 27447297,
                      .earfcn = 1300,
                      .serving_cell_id = 301,
                      .cells_len = 11,
                      .cells = {{17, -14, -104, {}}}}; // `cells_len` is more than `cells` has room for
    cell.nr5g_serving_cell_info_valid = 1;
    cell.nr5g_serving = {
        .plmn_id = {}, .tac = {0, 0x12, 0x34}, .cgi = 0, .pci = 0, .rsrq = -11, .rsrp = -88, .snr = 17};
    EXPECT_EQ(text_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CELL_LOCATION_INFO, cell).substr(0, 160),
              "lte.plmn 123-45, lte.tac 4660, lte.cgi 27447297, lte.earfcn 1300, lte.pci 301, lte.cell {pci 17, rsrp "
              "-104 dBm, "
              "rsrq -14 dB} {pci 0, rsrp 0 dBm, rsrq 0 dB} {pci");
    cell.lte_intra_valid = 0;
    EXPECT_EQ(text_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CELL_LOCATION_INFO, cell),
              "nr5g.tac 4660, nr5g.cell_rsrp -88 dBm, nr5g.cell_rsrq -11 dB, nr5g.cell_sinr 17 dB");
    cell.nr5g_serving.cgi = 0x123456789; // together with a CGI, a PCI of 0 counts as reported
    EXPECT_NE(text_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CELL_LOCATION_INFO, cell).find("nr5g.pci 0"),
              std::string::npos);

    zeb_nas_sig_info signal = {};
    signal.lte_sig_info_valid = signal.nr5g_sig_info_valid = 1;
    signal.lte_sig = {.rssi = -64, .rsrq = -10, .rsrp = -93, .snr = -5};
    signal.nr5g_sig = {.rsrp = -88, .snr = 175};
    EXPECT_EQ(
        text_of(ZEB_MESSAGE_INDICATION, ZEB_NAS_SIG_INFO_IND, signal),
        "lte.rsrp -93 dBm, lte.rsrq -10 dB, lte.sinr -0.5 dB, lte.rssi -64 dBm, nr5g.rsrp -88 dBm, nr5g.sinr 17.5 dB");
    EXPECT_EQ(json_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_SIG_INFO, zeb_nas_sig_info_resp{{}, signal}),
              R"({"lte":{"rsrp":-93,"rsrq":-10,"sinr":-0.5,"rssi":-64},"nr5g":{"rsrp":-88,"sinr":17.5}})");

    zeb_nas_cqi_info_resp cqi = {};
    cqi.lte_cc_cqi_valid = cqi.nr5g_cc_cqi_valid = 1;
    cqi.lte_cc_cqi_len = 2;
    cqi.lte_cc_cqi[0] = {2, {12, 11, 0, 0}};
    EXPECT_EQ(text_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CQI_INFO, cqi), "lte.cqi 12/11 -, nr5g.cqi none");

    zeb_nas_lte_cell_lock_list_resp locks = {};
    locks.lte_cell_list_valid = 1;
    locks.lte_cell_list_len = 1;
    locks.lte_cell_list[0] = {.pci = 301, .freq = 1300};
    EXPECT_EQ(text_of(ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, locks), "lte.lock 1300/301");

    zeb_nas_scan_result_ind scan = {};
    scan.lte_valid = scan.nr5g_valid = 1;
    scan.lte.highest_sig_rsrp = -101;
    scan.lte.nbr_len = scan.nr5g.nbr_len = 1;
    scan.lte.nbr[0] = {.earfcn = 66836, .pci = 17, .cgi = 5, .plmn_len = 1, .plmn = {{310, 26, 1}}};
    scan.nr5g.nbr[0] = {
        .earfcn = 640000, .pci = 513, .rsrp = -99, .plmn_len = 0, .plmn = {}, .cgi_len = 1, .cgi = {UINT64_MAX}};
    EXPECT_EQ(
        text_of(ZEB_MESSAGE_INDICATION, ZEB_NAS_SCAN_RESULT_IND, scan),
        "scan_status 0, lte.highest_rsrp -101 dBm, lte.highest_rsrq 0 dB, lte.nbr {earfcn 66836, pci 17, cgi 5, plmn "
        "310-026}, nr5g.nbr {arfcn 640000, pci 513, rsrp -99 dBm, cgi 18446744073709551615}");
    EXPECT_EQ(json_of(ZEB_MESSAGE_INDICATION, ZEB_NAS_SCAN_RESULT_IND, scan).substr(61, 93),
              R"("nbr":[{"earfcn":66836,"pci":17,"cgi":5,"plmn":["310-026"]}]},"nr5g":{"nbr":[{"arfcn":640000,)");
    EXPECT_EQ(text_of(ZEB_MESSAGE_REQUEST, ZEB_NAS_CONFIG_SIG_INFO,
                      zeb_nas_config_sig_info_req{.lte_rsrp = {},
                                                  .lte_rsrq = {},
                                                  .lte_snr = {1, 15},
                                                  .nr5g_rsrp = {1, 5},
                                                  .nr5g_rsrq = {},
                                                  .nr5g_snr = {},
                                                  .reserved = {}}),
              "lte.sinr_change 1.5 dB, nr5g.rsrp_change 5 dB");
}

TEST(Recording, AJsonStringIsUtf8WhateverItsBytesAre) {
    const struct {
        const char *bytes, *json;
    } CASES[] = {{"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xB6", "\"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xB6\""},
                 {"</a>\x7F\n\"\\", R"("\u003c/a\u003e\u007f\u000a\"\\")"},
                 {"\xE9\xC3", R"("\u00e9\u00c3")"},                               // not UTF-8; its end is cut short
                 {"\xC0\xAF\xE0\x9F\xBF", R"("\u00c0\u00af\u00e0\u009f\u00bf")"}, // encoded in more bytes than needed
                 {"\xED\xA0\x80\xF4\x90\x80\x80", R"("\u00ed\u00a0\u0080\u00f4\u0090\u0080\u0080")"}}; // not characters
    for (const auto &c : CASES) {
        json_writer to;
        json_string(to, c.bytes, {});
        EXPECT_EQ(to.text, c.json);
    }
}

TEST(Times, AreReadAndWritten) {
    const auto start = time_parse("2026-11-23T23:59:58.5Z");
    ASSERT_TRUE(start);
    EXPECT_EQ(time_iso(*start + 1500), "2026-11-23T23:59:58.501Z");
    EXPECT_EQ(time_parse("1970-01-01T00:00:00.000001"), 1);
    for (const char *text :
         {"", "2026-02-29T00:00:00", "2026-11-23T24:00:00", "2026-11-23 00:00:00", "2026-11-23T00:00:00.Z"}) {
        EXPECT_FALSE(time_parse(text)) << text;
    }
    EXPECT_EQ(time_moment("2026-11-24T00:00:00Z", *start), 1500000);
    EXPECT_EQ(time_moment("00:00:00", *start), 1500000); // the next midnight, 1.5 s after the start
    EXPECT_EQ(time_moment("+12.5", *start), 12500000);
    for (const char *text : {"", "+", "1x", "12.", "1234567890", "23:59"}) {
        EXPECT_FALSE(time_moment(text, *start)) << text;
    }
    const struct {
        uint64_t us;
        const char *text;
    } LENGTHS[] = {{0, "0 us"},        {999, "999 us"},      {1000, "1.00 ms"},       {99960, "100 ms"},
                   {999600, "1.00 s"}, {59940000, "59.9 s"}, {59960000, "1 min 0 s"}, {3599600000, "1 h 0 min"}};
    for (const auto &l : LENGTHS) {
        EXPECT_EQ(time_length(l.us), l.text);
    }
}

std::string difference(const std::string &a, const std::string &b) {
    session_file files[2];
    std::string error;
    EXPECT_TRUE(session_parse("a", "zeb-recording 1 machine=a\n" + a, files[0], error)) << error;
    EXPECT_TRUE(session_parse("b", "zeb-recording 1 machine=b\n" + b, files[1], error)) << error;
    return diff_text(files[0], files[1]);
}

TEST(Diff, SaysWhatIsOtherwiseThanTimes) {
    const std::string event = "5 event notifier=1 event=1\n";
    const std::string signal =
        "7 send client=2 id=0x004f status=0 timeout=1 req=1: resp=88:00000000000000000100c0f6a3ff took=1\n";
    const std::string weaker =
        "7 send client=2 id=0x004f status=0 timeout=1 req=1: resp=88:00000000000000000100c0f6a2ff took=1\n";
    const std::string longer =
        "7 send client=2 id=0x004f status=0 timeout=2 req=1: resp=88:00000000000000000100c0f6a3ff took=1\n";
    const std::string what =
        "send 0x004f get signal info -> lte.rsrp -93 dBm, lte.rsrq -10 dB, lte.sinr 0.0 dB, lte.rssi -64 dBm\n";
    EXPECT_EQ(difference(event + signal, "# a note\n900 event notifier=1 event=1\n" + std::string("9") + signal), "");
    EXPECT_EQ(difference(event + signal, signal), "- 2: event the modem's service is gone\n");
    EXPECT_EQ(difference(signal, signal + event), "+ 3: event the modem's service is gone\n");
    EXPECT_EQ(difference(signal, longer), "- 2: " + what + "+ 2: " + what + "  differs: from \"timeout=1\" on\n");
    EXPECT_NE(difference(event + signal + event, event + weaker + event).find("  differs: lte.rsrp -93 and -94\n"),
              std::string::npos);
}

} // namespace
