/* Feeds any option lines to the client's parser and dispatcher, which call the module on the scripted platform. */
#include "cpe_dm_client_options.h"
#include "fake_platform.h"
#include "fault.h"

#include <cstdio>
#include <sstream>

bool fault_hit(const char *) {
    return false;
}

static void run(std::string line) {
    cpe_dm_client_values values = {};
    if (cpe_dm_client_parse(line.data(), &values) != 0 || values.count == 0) {
        return;
    }
    // A long list takes time, so it is shortened. A list that is too long for any memory keeps its length, because the
    // client refuses it at once.
    uint32_t &entries = values.value[1];
    if (values.value[0] == 5 && entries > 1000 && entries <= INT32_MAX / sizeof(uint32_t)) {
        entries = 1000;
    }
    cpe_dm_client_dispatch(&values);
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fake_default(ZEB_NAS_GET_SYS_INFO, fake_sys_info());
    return freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::istringstream lines(std::string(reinterpret_cast<const char *>(data), size));
    run("1");
    for (std::string line; std::getline(lines, line);) {
        run(line);
    }
    run("2");
    fake_reset();
    return 0;
}
