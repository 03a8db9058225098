/* Usage: check_scenario FILE... Reads scenarios as the virtual modem does. For each scenario that is refused, prints
 * the file, the line and the reason on standard error. Exit status 0: all scenarios are accepted; 1: at least one is
 * refused; 2: wrong usage. */
#include "scenario.h"

#include <cstdio>
#include <new>

int main(int argc, char **argv) {
    if (argc < 2 || argv[1][0] == '-') {
        fprintf(stderr, "Usage: check-scenario FILE...\n");
        return 2;
    }
    bool all_right = true;
    for (int i = 1; i < argc; i++) {
        scenario read;
        std::string error;
        try {
            if (scenario_read(argv[i], read, error)) {
                continue;
            }
            fprintf(stderr, "%s\n", error.c_str());
        } catch (const std::bad_alloc &) {
            fprintf(stderr, "%s:0: out of memory\n", argv[i]);
        }
        all_right = false;
    }
    return all_right ? 0 : 1;
}
