/* Feeds any bytes to the parser of scenario files. */
#include "scenario.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    scenario parsed;
    std::string error;
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!scenario_parse(text, "fuzz", parsed, error) && !error.starts_with("fuzz")) {
        abort();
    }
    return 0;
}
