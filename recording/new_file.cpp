#include "new_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

/* Whether the file exists and begins with this text. */
bool begins_with(const char *name, std::string_view begin) {
    std::string text(begin.size(), '\0');
    const int fd = open(name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    const bool same =
        fd >= 0 && read(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && text == begin;
    if (fd >= 0) {
        close(fd);
    }
    return same;
}

int write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return 0;
}

} // namespace

bool new_file_write(const char *name, std::string_view text, std::string_view own, std::string &error) {
    const bool replaces = !own.empty() && begins_with(name, own);
    const std::string written = replaces ? std::string(name) + ".new" : name;
    const int fd = open(written.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd < 0) {
        error = written + ": " +
                (errno == EEXIST ? "is there already, and is not overwritten"
                                 : "cannot be written: " + std::generic_category().message(errno));
        return false;
    }
    int failure = write_all(fd, text);
    if (close(fd) != 0 && failure == 0) {
        failure = errno;
    }
    if (failure == 0 && replaces && rename(written.c_str(), name) != 0) {
        failure = errno;
    }
    if (failure != 0) {
        unlink(written.c_str());
        error = written + ": cannot be written: " + std::generic_category().message(failure);
    }
    return failure == 0;
}
