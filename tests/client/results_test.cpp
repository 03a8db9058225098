/* Tests that the client has a text for every metric and every indication. */
#include "cpe_dm_client_callback.h"
#include "cpe_dm_client_results.h"
#include "cpe_dm_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

TEST(Results, EveryMetricIsPrinted) {
    for (uint32_t id = CPE_DM_METRIC_REG_STATUS; id < CPE_DM_METRIC_CNT; id++) {
        const std::string name = cpe_dm_metric_name(id);
        const uint32_t type = cpe_dm_metric_by_id(id)->value_type;
        const bool fills_record = type == CPE_DM_VALUE_CQI_INFO || type == CPE_DM_VALUE_CELL_LOCK_LIST;
        cpe_dm_client_results results = {};
        cpe_dm_info info = {};
        cpe_dm_client_fill_request(&info, id, &results);
        EXPECT_EQ(info.value.cqi_info != nullptr, fills_record) << name;
        if (!fills_record) {
            info.value = {.i64_list = {1, 2, 3}};
        }
        testing::internal::CaptureStdout();
        cpe_dm_client_print_result(&info, &results, false);
        const std::string line = testing::internal::GetCapturedStdout();
        if (fills_record) {
            EXPECT_NE(line.find(name), std::string::npos) << name;
        } else {
            EXPECT_EQ(line, type == CPE_DM_VALUE_NONE         ? ""
                            : type == CPE_DM_VALUE_INT64_LIST ? "[" + name + "] - 1, 2, 3\n"
                                                              : "[" + name + "] - 1\n");
        }
    }
}

TEST(Results, EveryIndicationIsPrinted) {
    for (uint32_t id = CPE_DM_IND_REG_STATUS; id < CPE_DM_IND_CNT; id++) {
        auto *info = static_cast<cpe_dm_info *>(calloc(1, sizeof(cpe_dm_info)));
        *info = {CPE_DM_INFO_TYPE_IND, id, CPE_DM_VALUE_INT64, {.i64_val = 7}, 0};
        testing::internal::CaptureStdout();
        cpe_dm_client_callback(nullptr, info, nullptr);
        EXPECT_NE(testing::internal::GetCapturedStdout().find(" indication[7].\n"), std::string::npos) << id;
    }
}

} // namespace
