#include "cpe_dm_client.h"

static const char auto_test_file[] = "/data/data_hubd/cpe_dm_auto_test.cfg";

int main() {
    return cpe_dm_client_run(auto_test_file);
}
