#include "zeb_record_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

enum {
    FD_MIN = 64, /* the lowest number for a descriptor of the recorder; lower numbers stay free for the program */
};

/* Returns why nothing can be recorded to the file, or null when it can be used. Sets errno to the error of the system
 * call that failed, or to 0 if none failed. */
static const char *file_refusal(int fd, const struct stat *status) {
    errno = 0;
    if (!S_ISREG(status->st_mode) || status->st_size != 0) {
        return "is there already, nothing is recorded";
    }
    if (status->st_uid != geteuid()) {
        return "is another user's, nothing is recorded";
    }
    if (status->st_nlink != 1) {
        return "has another name besides, nothing is recorded";
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        return "is in use, nothing is recorded";
    }
    if (fchmod(fd, 0600) != 0) {
        return "cannot be made its owner's alone, nothing is recorded";
    }
    return nullptr;
}

const char *zeb_record_file_open(zeb_record_file *file, const char *path, bool fresh, int *error) {
    struct stat status = {};
    const char *reason = nullptr;
    const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const int fd = open(path, flags | (fresh ? O_EXCL : 0), 0600);
    file->fd = -1;
    *error = 0;
    if (fd < 0 || fstat(fd, &status) != 0) {
        *error = errno;
        reason = "cannot be opened, nothing is recorded";
    } else {
        reason = file_refusal(fd, &status);
        *error = reason != nullptr ? errno : 0;
    }
    if (reason == nullptr) {
        *file = {fcntl(fd, F_DUPFD_CLOEXEC, FD_MIN), status.st_dev, status.st_ino};
        if (file->fd < 0) {
            *error = errno;
            reason = "cannot be kept open, nothing is recorded";
        }
    }
    if (fd >= 0) {
        close(fd);
    }
    if (fd >= 0 && reason != nullptr && fresh) {
        unlink(path);
    }
    return reason;
}

static bool is_file(const zeb_record_file *file, const struct stat *status) {
    return status->st_dev == file->device && status->st_ino == file->number;
}

bool zeb_record_file_look(const zeb_record_file *file, struct stat *status) {
    return file->fd >= 0 && fstat(file->fd, status) == 0 && is_file(file, status);
}

bool zeb_record_file_is_at(const zeb_record_file *file, const char *path) {
    struct stat status = {};
    return lstat(path, &status) == 0 && is_file(file, &status);
}

uint64_t zeb_record_file_most() {
    rlimit most = {RLIM_INFINITY, RLIM_INFINITY};
    getrlimit(RLIMIT_FSIZE, &most);
    return most.rlim_cur;
}

int zeb_record_file_add(const zeb_record_file *file, const char *bytes, uint32_t len, uint32_t *written) {
    *written = 0;
    while (*written < len) {
        const ssize_t n = write(file->fd, bytes + *written, len - *written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return n < 0 ? errno : ENOSPC;
        }
        *written += static_cast<uint32_t>(n);
    }
    return 0;
}

zeb_record_file zeb_record_file_of(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 ? zeb_record_file{fd, status.st_dev, status.st_ino} : zeb_record_file{-1, 0, 0};
}

int zeb_record_file_again(const zeb_record_file *file) {
    return fcntl(file->fd, F_DUPFD_CLOEXEC, FD_MIN);
}

void zeb_record_file_close(zeb_record_file *file) {
    struct stat status = {};
    if (zeb_record_file_look(file, &status)) {
        close(file->fd);
    }
    file->fd = -1;
}
