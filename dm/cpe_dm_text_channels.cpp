#include "cpe_dm_text.h"

#include <iterator>

static constexpr uint32_t LTE_RASTER_KHZ = 100;

/* One LTE operating band: its number, its first and its last downlink channel number, and the frequency of its first
 * channel in units of 100 kHz. Channels are 100 kHz apart. Bit fields keep the table small, because a modem box has
 * little memory. */
struct lte_band_row {
    uint64_t band : 8;
    uint64_t first : 20;
    uint64_t last : 20;
    uint64_t first_100khz : 16;
};

/* The rows are those of 3GPP TS 36.101, table 5.7.3-1. */
static constexpr lte_band_row lte_bands[] = {
    // clang-format off
    {1, 0, 599, 21100},
    {2, 600, 1199, 19300},
    {3, 1200, 1949, 18050},
    {4, 1950, 2399, 21100},
    {5, 2400, 2649, 8690},
    {6, 2650, 2749, 8750},
    {7, 2750, 3449, 26200},
    {8, 3450, 3799, 9250},
    {9, 3800, 4149, 18449},
    {10, 4150, 4749, 21100},
    {11, 4750, 4949, 14759},
    {12, 5010, 5179, 7290},
    {13, 5180, 5279, 7460},
    {14, 5280, 5379, 7580},
    {17, 5730, 5849, 7340},
    {18, 5850, 5999, 8600},
    {19, 6000, 6149, 8750},
    {20, 6150, 6449, 7910},
    {21, 6450, 6599, 14959},
    {22, 6600, 7399, 35100},
    {23, 7500, 7699, 21800},
    {24, 7700, 8039, 15250},
    {25, 8040, 8689, 19300},
    {26, 8690, 9039, 8590},
    {27, 9040, 9209, 8520},
    {28, 9210, 9659, 7580},
    {29, 9660, 9769, 7170},
    {30, 9770, 9869, 23500},
    {31, 9870, 9919, 4625},
    {32, 9920, 10359, 14520},
    {33, 36000, 36199, 19000},
    {34, 36200, 36349, 20100},
    {35, 36350, 36949, 18500},
    {36, 36950, 37549, 19300},
    {37, 37550, 37749, 19100},
    {38, 37750, 38249, 25700},
    {39, 38250, 38649, 18800},
    {40, 38650, 39649, 23000},
    {41, 39650, 41589, 24960},
    {42, 41590, 43589, 34000},
    {43, 43590, 45589, 36000},
    {44, 45590, 46589, 7030},
    {45, 46590, 46789, 14470},
    {46, 46790, 54539, 51500},
    {47, 54540, 55239, 58550},
    {48, 55240, 56739, 35500},
    {49, 56740, 58239, 35500},
    {50, 58240, 59089, 14320},
    {51, 59090, 59139, 14270},
    {52, 59140, 60139, 33000},
    {53, 60140, 60254, 24835},
    {65, 65536, 66435, 21100},
    {66, 66436, 67335, 21100},
    {67, 67336, 67535, 7380},
    {68, 67536, 67835, 7530},
    {69, 67836, 68335, 25700},
    {70, 68336, 68585, 19950},
    {71, 68586, 68935, 6170},
    {72, 68936, 68985, 4610},
    {73, 68986, 69035, 4600},
    {74, 69036, 69465, 14750},
    {75, 69466, 70315, 14320},
    {76, 70316, 70365, 14270},
    {85, 70366, 70545, 7280},
    {87, 70546, 70595, 4200},
    {88, 70596, 70645, 4220},
    // clang-format on
};

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
    return row != nullptr ? static_cast<uint32_t>(row->band) : 0;
}

uint32_t cpe_dm_lte_khz(uint32_t earfcn) {
    const lte_band_row *row = band_of(earfcn);
    return row != nullptr ? static_cast<uint32_t>(row->first_100khz + earfcn - row->first) * LTE_RASTER_KHZ : 0;
}

/* One range of NR 5G channel numbers whose frequencies are equally far apart: the first and the last channel number,
 * the frequency of the first channel in kHz, and the distance between two neighbouring channels in kHz. */
struct nr5g_raster_row {
    uint32_t first;
    uint32_t last;
    uint32_t first_khz;
    uint32_t step_khz;
};

/* The rows are those of 3GPP TS 38.104, table 5.4.2.1-1. */
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
