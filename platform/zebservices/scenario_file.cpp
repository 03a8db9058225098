#include "scenario.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>
#include <system_error>

namespace {

// 0, or the errno of what went wrong.
int read_file(const char *name, std::string &text) {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(fopen(name, "rbe"), fclose);
    if (file == nullptr) {
        return errno;
    }
    char buffer[4096];
    size_t n;
    // A little more than a scenario may have is enough to refuse it.
    while (text.size() < 100000 && (n = fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
        text.append(buffer, n);
    }
    return ferror(file.get()) != 0 ? errno : 0;
}

} // namespace

bool scenario_read(const char *file, scenario &out, std::string &error) {
    std::string text;
    const int failure = read_file(file, text);
    if (failure == ENOMEM) {
        throw std::bad_alloc();
    }
    if (failure != 0) {
        error = std::string(file) + ":0: cannot be read: " + std::generic_category().message(failure);
        return false;
    }
    return scenario_parse(text, file, out, error);
}
