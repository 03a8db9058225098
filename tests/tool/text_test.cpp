/* Tests cpe_dm_text.h, which makes texts for people out of values. */
#include "cpe_dm_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

template <typename Write> std::string text_of(Write write) {
    char text[CPE_DM_VALUE_TEXT_SIZE];
    memset(text, 'x', sizeof(text));
    EXPECT_EQ(write(text, sizeof(text)), text);
    return text;
}

TEST(Text, DescriptionsAreFoundByIdKeyAndIndication) {
    std::set<std::string> keys;
    for (uint32_t id = 1; id < CPE_DM_METRIC_CNT; id++) {
        const cpe_dm_metric_desc *metric = cpe_dm_metric_by_id(id);
        ASSERT_NE(metric, nullptr) << id;
        EXPECT_EQ(metric->id, id);
        EXPECT_EQ(cpe_dm_metric_by_key(metric->key), metric);
        EXPECT_TRUE(keys.insert(metric->key).second) << metric->key;
        const std::string name = cpe_dm_metric_name(id);
        const uint32_t tech = name.starts_with("LTE")     ? CPE_DM_TECH_LTE
                              : name.starts_with("NR 5G") ? CPE_DM_TECH_NR5G
                                                          : CPE_DM_TECH_NONE;
        EXPECT_EQ(metric->tech, tech) << name;
        if (metric->ind != CPE_DM_IND_INVALID) {
            EXPECT_EQ(cpe_dm_ind_name(metric->ind), name);
            EXPECT_EQ(cpe_dm_metric_by_ind(metric->ind), metric);
        }
        const bool in_tenths = name.ends_with("SINR") || name.ends_with("TX Power");
        EXPECT_EQ(metric->counts_per_unit, in_tenths ? 10U : 1U) << name;
        const bool neighbour = name.find("Neighboring") != std::string::npos;
        EXPECT_EQ(metric->value_type == CPE_DM_VALUE_NONE, neighbour) << name;
        EXPECT_LE(strlen(metric->key), neighbour ? 14U : 13U) << "the columns of `cpe_dm metrics`";
        EXPECT_LE(strlen(metric->unit), 4U) << name;
    }
    for (const char *key : {"reg", "lte.earfcn", "nr5g.arfcn", "lte.lock", "nr5g.tx_power"}) {
        EXPECT_TRUE(keys.contains(key)) << key;
    }
    EXPECT_EQ(cpe_dm_metric_by_id(0), nullptr);
    EXPECT_EQ(cpe_dm_metric_by_id(CPE_DM_METRIC_CNT), nullptr);
    EXPECT_EQ(cpe_dm_metric_by_key(""), nullptr);
    EXPECT_EQ(cpe_dm_metric_by_key("lte.rsr"), nullptr);
    EXPECT_EQ(cpe_dm_metric_by_ind(CPE_DM_IND_INVALID), nullptr);
    EXPECT_EQ(cpe_dm_metric_by_ind(CPE_DM_IND_CNT), nullptr);
}

TEST(Text, NamesOfStatuses) {
    EXPECT_STREQ(cpe_dm_status_name(CPE_DM_ERR_SCAN_ONGOING), "CPE_DM_ERR_SCAN_ONGOING");
    EXPECT_STREQ(cpe_dm_status_name(1), "unknown");
    std::string names;
    for (uint32_t status = 0; status <= 8; status++) {
        names += cpe_dm_reg_status_name(status);
        names += ' ';
    }
    EXPECT_EQ(names, "unknown none power_save limited limited_regional lte lte_nr5g nr5g unknown ");
    for (int32_t status = -20; status <= 1; status++) { // a status has a name if and only if it has an error text
        EXPECT_EQ(std::string(cpe_dm_status_name(status)) == "unknown",
                  std::string(cpe_dm_strerror(status)) == "unknown status")
            << status;
    }
}

TEST(Text, CountsAreExact) {
    const struct {
        int64_t count;
        uint32_t counts_per_unit;
        const char *text;
    } rows[] = {
        {-93, 1, "-93"},
        {128, 10, "12.8"},
        {120, 10, "12.0"},
        {-5, 10, "-0.5"},
        {0, 10, "0.0"},
        {-10, 10, "-1.0"},
        {-1005, 1000, "-1.005"},
        {INT64_MAX, 1, "9223372036854775807"},
        {INT64_MIN, 1, "-9223372036854775808"},
        {INT64_MIN, 10, "-922337203685477580.8"},
        {INT64_MIN, 1000, "-9223372036854775.808"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(text_of([&](char *text, size_t size) {
                      return cpe_dm_count_text(text, std::min<size_t>(size, CPE_DM_COUNT_TEXT_SIZE), row.count,
                                               row.counts_per_unit);
                  }),
                  row.text);
    }
    char small[] = "xxxxxxx";
    EXPECT_STREQ(cpe_dm_count_text(small, 4, 12345, 10), "123");
    EXPECT_STREQ(small + 4, "xxx");
}

TEST(Text, LteChannels) {
    const struct {
        uint32_t earfcn;
        uint32_t band;
        const char *mhz;
    } rows[] = {
        {0, 1, "2110"},
        {599, 1, "2169.9"},
        {600, 2, "1930"},
        {1300, 3, "1815"},
        {4149, 9, "1879.8"},
        {4949, 11, "1495.8"},
        {4950, 0, "0"},
        {5009, 0, "0"},
        {5010, 12, "729"},
        {5280, 14, "758"},
        {5730, 17, "734"},
        {6599, 21, "1510.8"},
        {9919, 31, "467.4"},
        {10359, 32, "1495.9"},
        {10360, 0, "0"},
        {36000, 33, "1900"},
        {46790, 46, "5150"},
        {54539, 46, "5924.9"},
        {60254, 53, "2494.9"},
        {60255, 0, "0"},
        {65535, 0, "0"},
        {65536, 65, "2110"},
        {66836, 66, "2150"},
        {67336, 67, "738"},
        {69966, 75, "1482"},
        {70365, 76, "1431.9"},
        {70645, 88, "426.9"},
        {70646, 0, "0"},
        {1300 + CPE_DM_LTE_EARFCN_CUT, 66, "2150"},
        {UINT32_MAX, 0, "0"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(cpe_dm_lte_band(row.earfcn), row.band) << row.earfcn;
        const uint32_t khz = cpe_dm_lte_khz(row.earfcn);
        EXPECT_EQ(text_of([&](char *text, size_t size) { return cpe_dm_mhz_text(text, size, khz); }), row.mhz)
            << row.earfcn;
    }
}

TEST(Text, Nr5gChannels) {
    const struct {
        uint32_t arfcn;
        const char *mhz;
    } rows[] = {
        {0, "0"},
        {1, "0.005"},
        {123401, "617.005"},
        {599999, "2999.995"},
        {600000, "3000"},
        {632628, "3489.42"},
        {640000, "3600"},
        {2016666, "24249.99"},
        {2016667, "24250.08"},
        {2016668, "24250.14"},
        {3279165, "99999.96"},
        {3279166, "0"},
        {UINT32_MAX, "0"},
    };
    for (const auto &row : rows) {
        const uint32_t khz = cpe_dm_nr5g_khz(row.arfcn);
        EXPECT_EQ(text_of([&](char *text, size_t size) {
                      return cpe_dm_mhz_text(text, std::min<size_t>(size, CPE_DM_MHZ_TEXT_SIZE), khz);
                  }),
                  row.mhz)
            << row.arfcn;
    }
}

TEST(Text, Identities) {
    const struct {
        int64_t bytes[3];
        const char *text;
    } bytes_rows[] = {
        {{0x21, 0xF3, 0x54}, "123-45"},  {{0x13, 0x60, 0x20}, "310-026"}, {{0x00, 0xF1, 0x10}, "001-01"},
        {{0xFF, 0x00, 0x80}, "ff0-080"}, {{0x21, 0x03, 0x54}, "123-450"},
    };
    for (const auto &row : bytes_rows) {
        EXPECT_EQ(text_of([&](char *text, size_t size) {
                      return cpe_dm_plmn_bytes_text(text, std::min<size_t>(size, CPE_DM_PLMN_TEXT_SIZE), row.bytes);
                  }),
                  row.text);
    }
    const struct {
        cpe_dm_plmn plmn;
        const char *text;
    } record_rows[] = {
        {{123, 45, 0}, "123-45"},
        {{310, 26, 1}, "310-026"},
        {{1, 1, 0}, "001-01"},
        {{65535, 65535, 1}, "65535-65535"},
    };
    for (const auto &row : record_rows) {
        EXPECT_EQ(text_of([&](char *text, size_t size) {
                      return cpe_dm_plmn_text(text, std::min<size_t>(size, CPE_DM_PLMN_TEXT_SIZE), &row.plmn);
                  }),
                  row.text);
    }
    const int64_t tac[] = {0xFF, 0x12, 0x34};
    EXPECT_EQ(cpe_dm_nr5g_tac(tac), 0xFF1234U);
    EXPECT_EQ(cpe_dm_lte_cgi_enb(27447297), 107216U);
    EXPECT_EQ(cpe_dm_lte_cgi_cell(27447297), 1U);
}

/* The answer to a request for one metric. */
struct answer {
    cpe_dm_info info;
    cpe_dm_metric_record record;

    answer(uint32_t id, uint32_t value_type, int64_t value = 0) {
        memset(&record, 0xAA, sizeof(record));
        cpe_dm_prepare_request(&info, id, &record);
        EXPECT_EQ(info.info_type, CPE_DM_INFO_TYPE_REQUEST);
        info.value_type = value_type;
        if (value_type == CPE_DM_VALUE_INT64) {
            info.value.i64_val = value;
        }
    }
    answer(const answer &) = delete;

    std::string text() const {
        return text_of([this](char *text, size_t size) { return cpe_dm_value_text(text, size, &info); });
    }
};

TEST(Text, ValuesOfAnswers) {
    EXPECT_EQ(answer(CPE_DM_METRIC_LTE_SINR, CPE_DM_VALUE_INT64, -123).text(), "-12.3");
    EXPECT_EQ(answer(CPE_DM_METRIC_NR5G_CGI, CPE_DM_VALUE_INT64, -1).text(), "18446744073709551615");
    EXPECT_EQ(answer(CPE_DM_METRIC_LTE_SINR, CPE_DM_VALUE_NONE).text(), "");
    EXPECT_EQ(answer(CPE_DM_METRIC_CNT, CPE_DM_VALUE_INT64, 1).text(), "");
    answer reg(CPE_DM_METRIC_REG_STATUS, CPE_DM_VALUE_UINT32);
    reg.info.value.u32_val = CPE_DM_REG_LTE_NR5G;
    EXPECT_EQ(reg.text(), "lte_nr5g");
    answer tac(CPE_DM_METRIC_NR5G_TAC, CPE_DM_VALUE_INT64_LIST);
    tac.info.value.i64_list[1] = 18;
    tac.info.value.i64_list[2] = 52;
    EXPECT_EQ(tac.text(), "4660");
    tac.info.info_type = CPE_DM_INFO_TYPE_IND;
    EXPECT_EQ(tac.text(), "");
}

TEST(Text, ListsOfAnswers) {
    answer cqi(CPE_DM_METRIC_LTE_CQI, CPE_DM_VALUE_CQI_INFO);
    EXPECT_EQ(cqi.text(), "none");
    cqi.record.lte_cqi.cc_cqi_len = 3;
    cqi.record.lte_cqi.cc_cqi[0] = {2, {12, 11}};
    cqi.record.lte_cqi.cc_cqi[2] = {9, {1, 2, 3, 4}};
    EXPECT_EQ(cqi.text(), "12/11 - 1/2/3/4");
    answer nr5g_cqi(CPE_DM_METRIC_NR5G_CQI, CPE_DM_VALUE_CQI_INFO);
    nr5g_cqi.record.nr5g_cqi.cc_cqi_len = UINT32_MAX;
    EXPECT_EQ(nr5g_cqi.text(), "- - - - - - - - - - - -");
    answer locks(CPE_DM_METRIC_LTE_CELL_LOCK_LIST, CPE_DM_VALUE_CELL_LOCK_LIST);
    EXPECT_EQ(locks.text(), "none");
    locks.record.lte_locks.lte_cell_list_len = 255;
    for (auto &lock : locks.record.lte_locks.lte_cell_list) {
        lock = {65535, 65535};
    }
    EXPECT_EQ(locks.text().size(), CPE_DM_LTE_CELL_LOCK_MAX * sizeof("65535/65535") - 1);
    answer cell(CPE_DM_METRIC_NR5G_CELL_LOCK_LIST, CPE_DM_VALUE_CELL_LOCK_LIST);
    EXPECT_EQ(cell.text(), "none");
    cell.record.nr5g_locks.arfcn_identity_valid = 1;
    cell.record.nr5g_locks.arfcn_list_len = 2;
    cell.record.nr5g_locks.arfcn_list[0] = 640000;
    EXPECT_EQ(cell.text(), "640000 0");
    cell.record.nr5g_locks.cell_identity_valid = 1;
    cell.record.nr5g_locks.pci = 512;
    cell.record.nr5g_locks.arfcn = 3279165;
    EXPECT_EQ(cell.text(), "3279165/512");
    char small[] = "xxxxxxxx";
    EXPECT_STREQ(cpe_dm_value_text(small, 5, &cell.info), "3279");
    EXPECT_STREQ(small + 5, "xxx");
}

TEST(Text, WhatNr5gLeftOutIsNotReported) {
    const struct {
        uint32_t id;
        int64_t value;
        uint32_t reg_status;
        int64_t cgi;
        int reported;
    } rows[] = {
        {CPE_DM_METRIC_NR5G_EARFCN, 0, CPE_DM_REG_NR5G, 7, 0}, {CPE_DM_METRIC_NR5G_EARFCN, 1, CPE_DM_REG_NR5G, 7, 1},
        {CPE_DM_METRIC_NR5G_CGI, 0, CPE_DM_REG_NR5G, 0, 0},    {CPE_DM_METRIC_NR5G_CGI, INT64_MIN, 7, 0, 1},
        {CPE_DM_METRIC_NR5G_PCI, 0, CPE_DM_REG_NR5G, 0, 0},    {CPE_DM_METRIC_NR5G_PCI, 0, CPE_DM_REG_NR5G, 7, 1},
        {CPE_DM_METRIC_NR5G_PCI, 3, CPE_DM_REG_NR5G, 0, 1},    {CPE_DM_METRIC_NR5G_PCI, 0, CPE_DM_REG_LTE_NR5G, 0, 1},
        {CPE_DM_METRIC_LTE_PCI, 0, CPE_DM_REG_LTE, 0, 1},      {CPE_DM_METRIC_NR5G_RSRP, 0, CPE_DM_REG_NR5G, 0, 1},
    };
    for (const auto &row : rows) {
        const answer got(row.id, CPE_DM_VALUE_INT64, row.value);
        EXPECT_EQ(cpe_dm_is_reported(&got.info, row.reg_status, row.cgi), row.reported) << row.id << ' ' << row.value;
    }
    for (const uint32_t id : {CPE_DM_METRIC_NR5G_PLMN, CPE_DM_METRIC_NR5G_TAC, CPE_DM_METRIC_LTE_PLMN}) {
        answer got(id, CPE_DM_VALUE_INT64_LIST);
        EXPECT_EQ(cpe_dm_is_reported(&got.info, CPE_DM_REG_NR5G, 7), id == CPE_DM_METRIC_LTE_PLMN);
        for (int i : {0, 1, 2}) {
            got.info.value.i64_list[i] = 1;
            EXPECT_EQ(cpe_dm_is_reported(&got.info, CPE_DM_REG_NR5G, 7), 1);
            got.info.value.i64_list[i] = 0;
        }
    }
}

/* This test expects nothing itself: AddressSanitizer reports a leak or a second release. */
TEST(Text, WhatTheCallbackWasGivenIsReleased) {
    cpe_dm_release_info(nullptr);
    for (const uint32_t type :
         {CPE_DM_VALUE_NONE, CPE_DM_VALUE_INT64, CPE_DM_VALUE_LTE_NBR_INFO, CPE_DM_VALUE_NR5G_NBR_INFO}) {
        auto *info = static_cast<cpe_dm_info *>(calloc(1, sizeof(cpe_dm_info)));
        info->value_type = type;
        if (type == CPE_DM_VALUE_LTE_NBR_INFO) {
            info->value.lte_nbr_info = static_cast<cpe_dm_lte_nbr_info *>(calloc(1, sizeof(cpe_dm_lte_nbr_info)));
        } else if (type == CPE_DM_VALUE_NR5G_NBR_INFO) {
            info->value.nr5g_nbr_info = static_cast<cpe_dm_nr5g_nbr_info *>(calloc(1, sizeof(cpe_dm_nr5g_nbr_info)));
        } else {
            info->value.i64_val = 1;
        }
        cpe_dm_release_info(info);
    }
}

} // namespace
