#include "scenario.h"

#include <algorithm>

int32_t scenario_value_at(const scenario_value &value, uint64_t round_ms) {
    if (round_ms <= value.from_ms) {
        return value.over_ms == 0 ? value.to : value.from;
    }
    const auto passed = static_cast<int64_t>(std::min<uint64_t>(round_ms - value.from_ms, value.over_ms));
    const int64_t way = int64_t{value.to} - value.from;
    return value.over_ms == 0 ? value.to : static_cast<int32_t>(value.from + way * passed / value.over_ms);
}
