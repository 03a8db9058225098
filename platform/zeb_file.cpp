#include "zeb_file.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

int zeb_read_file(const char *name, size_t enough, std::string &text) {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(fopen(name, "rbe"), fclose);
    if (file == nullptr) {
        return errno == ENOMEM ? throw std::bad_alloc() : errno;
    }
    char buffer[4096];
    size_t n;
    while (text.size() <= enough && (n = fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
        text.append(buffer, n);
    }
    return ferror(file.get()) != 0 ? errno : 0;
}
