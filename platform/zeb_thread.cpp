#include "zeb_thread.h"

#include <csignal>
#include <utility>

std::thread zeb_start_thread(std::function<void()> body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(body));
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}
