#include "cpe_dm_text.h"

#include <iterator>

/* One operating band: its downlink channel numbers, which are 100 kHz apart, and the frequency of the first of them. */
struct lte_band_row {
    uint32_t band;
    uint32_t first;
    uint32_t last;
    uint32_t first_khz;
};

/* 3GPP TS 36.101, table 5.7.3-1. */
static constexpr lte_band_row lte_bands[] = {
    // clang-format off
    {1, 0, 599, 2110000},
    {2, 600, 1199, 1930000},
    {3, 1200, 1949, 1805000},
    {4, 1950, 2399, 2110000},
    {5, 2400, 2649, 869000},
    {6, 2650, 2749, 875000},
    {7, 2750, 3449, 2620000},
    {8, 3450, 3799, 925000},
    {9, 3800, 4149, 1844900},
    {10, 4150, 4749, 2110000},
    {11, 4750, 4949, 1475900},
    {12, 5010, 5179, 729000},
    {13, 5180, 5279, 746000},
    {14, 5280, 5379, 758000},
    {17, 5730, 5849, 734000},
    {18, 5850, 5999, 860000},
    {19, 6000, 6149, 875000},
    {20, 6150, 6449, 791000},
    {21, 6450, 6599, 1495900},
    {22, 6600, 7399, 3510000},
    {23, 7500, 7699, 2180000},
    {24, 7700, 8039, 1525000},
    {25, 8040, 8689, 1930000},
    {26, 8690, 9039, 859000},
    {27, 9040, 9209, 852000},
    {28, 9210, 9659, 758000},
    {29, 9660, 9769, 717000},
    {30, 9770, 9869, 2350000},
    {31, 9870, 9919, 462500},
    {32, 9920, 10359, 1452000},
    {33, 36000, 36199, 1900000},
    {34, 36200, 36349, 2010000},
    {35, 36350, 36949, 1850000},
    {36, 36950, 37549, 1930000},
    {37, 37550, 37749, 1910000},
    {38, 37750, 38249, 2570000},
    {39, 38250, 38649, 1880000},
    {40, 38650, 39649, 2300000},
    {41, 39650, 41589, 2496000},
    {42, 41590, 43589, 3400000},
    {43, 43590, 45589, 3600000},
    {44, 45590, 46589, 703000},
    {45, 46590, 46789, 1447000},
    {46, 46790, 54539, 5150000},
    {47, 54540, 55239, 5855000},
    {48, 55240, 56739, 3550000},
    {49, 56740, 58239, 3550000},
    {50, 58240, 59089, 1432000},
    {51, 59090, 59139, 1427000},
    {52, 59140, 60139, 3300000},
    {53, 60140, 60254, 2483500},
    {65, 65536, 66435, 2110000},
    {66, 66436, 67335, 2110000},
    {67, 67336, 67535, 738000},
    {68, 67536, 67835, 753000},
    {69, 67836, 68335, 2570000},
    {70, 68336, 68585, 1995000},
    {71, 68586, 68935, 617000},
    {72, 68936, 68985, 461000},
    {73, 68986, 69035, 460000},
    {74, 69036, 69465, 1475000},
    {75, 69466, 70315, 1432000},
    {76, 70316, 70365, 1427000},
    {85, 70366, 70545, 728000},
    {87, 70546, 70595, 420000},
    {88, 70596, 70645, 422000},
    // clang-format on
};

static constexpr uint32_t LTE_RASTER_KHZ = 100;

static constexpr bool bands_ascend() {
    for (size_t i = 0; i < std::size(lte_bands); i++) {
        if (lte_bands[i].last < lte_bands[i].first || (i > 0 && lte_bands[i].first <= lte_bands[i - 1].last)) {
            return false;
        }
    }
    return true;
}
static_assert(bands_ascend(), "a channel belongs to one band at most");

static const lte_band_row *band_of(uint32_t earfcn) {
    for (const lte_band_row &row : lte_bands) {
        if (earfcn >= row.first && earfcn <= row.last) {
            return &row;
        }
    }
    return nullptr;
}

uint32_t cpe_dm_lte_band(uint32_t earfcn) {
    const lte_band_row *row = band_of(earfcn);
    return row != nullptr ? row->band : 0;
}

uint32_t cpe_dm_lte_khz(uint32_t earfcn) {
    const lte_band_row *row = band_of(earfcn);
    return row != nullptr ? row->first_khz + (earfcn - row->first) * LTE_RASTER_KHZ : 0;
}

/* One part of the global frequency raster. */
struct nr5g_raster_row {
    uint32_t first;
    uint32_t last;
    uint32_t first_khz;
    uint32_t step_khz;
};

/* 3GPP TS 38.104, table 5.4.2.1-1. */
static constexpr nr5g_raster_row nr5g_raster[] = {
    {0, 599999, 0, 5},
    {600000, 2016666, 3000000, 15},
    {2016667, 3279165, 24250080, 60},
};

uint32_t cpe_dm_nr5g_khz(uint32_t arfcn) {
    for (const nr5g_raster_row &row : nr5g_raster) {
        if (arfcn >= row.first && arfcn <= row.last) {
            return row.first_khz + (arfcn - row.first) * row.step_khz;
        }
    }
    return 0;
}
