#include "zeb_endpoint.h"
#include "zeb_signal.h"
#include "zeb_thread.h"

#include <algorithm>
#include <map>
#include <new>
#include <pthread.h>
#include <utility>

namespace {

/* The endpoints in use. The table is never destroyed, as the process may exit while callbacks run. */
struct endpoint_table {
    std::map<zeb_client_handle, std::shared_ptr<zeb_endpoint>> in_use;
    const endpoint_table *of_parent; /* set in a child of fork only, so that leak checkers find the parent's table */
};

std::mutex table_lock; /* guards `table`, `parents_table` and `last_handle` */
endpoint_table *table = nullptr;
const endpoint_table *parents_table = nullptr;
uintptr_t last_handle = 0;

/* The endpoint whose callback the current thread runs. */
thread_local const zeb_endpoint *dispatching = nullptr;

zeb_client_handle table_add(const std::shared_ptr<zeb_endpoint> &endpoint) {
    std::lock_guard guard(table_lock);
    if (table == nullptr) {
        table = new endpoint_table{{}, parents_table};
    }
    // A handle is a number cast to a pointer. No number is used twice, so a stale handle never names a new endpoint.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    auto *const handle = reinterpret_cast<zeb_client_handle>(last_handle + 16);
    table->in_use.emplace(handle, endpoint);
    last_handle += 16;
    return handle;
}

bool table_remove(zeb_client_handle handle) {
    std::lock_guard guard(table_lock);
    return table != nullptr && table->in_use.erase(handle) != 0;
}

std::shared_ptr<zeb_endpoint> table_find_notifier(const zeb_cci_os_params *os_params) {
    std::lock_guard guard(table_lock);
    if (table == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(table->in_use.begin(), table->in_use.end(),
                                    [=](const auto &entry) { return entry.second->os_params == os_params; });
    return found == table->in_use.end() ? nullptr : found->second;
}

/* A child of fork starts without endpoints, because it cannot use the parent's endpoints: their threads do not exist in
 * the child, and another thread of the parent may have held their mutexes, or table_lock, at the fork. */
void forget_parent() {
    new (&table_lock) std::mutex;
    parents_table = table;
    table = nullptr;
    dispatching = nullptr;
    zeb_signal_forget_parent();
}

[[maybe_unused]] const int child_handler = pthread_atfork(nullptr, nullptr, forget_parent);

bool enqueue(zeb_endpoint &e, zeb_delivery delivery) {
    std::lock_guard guard(e.lock);
    if (e.closing || (e.os_params != nullptr && e.notify_cb == nullptr)) {
        return false;
    }
    try {
        e.queue.push_back(std::move(delivery));
    } catch (const std::bad_alloc &) {
        return false;
    }
    e.wake.notify_one();
    return true;
}

bool on_indication(void *owner, uint32_t msg_id, std::vector<uint8_t> encoded) {
    return enqueue(*static_cast<zeb_endpoint *>(owner), {msg_id, 0, std::move(encoded)});
}

bool on_event(void *owner, int32_t event) {
    zeb_endpoint &e = *static_cast<zeb_endpoint *>(owner);
    if (e.os_params == nullptr) {
        return false;
    }
    zeb_signal_raise(e.os_params);
    return enqueue(e, {0, event, {}});
}

void run_callback(const zeb_endpoint &e, zeb_client_notify_cb notify_cb, void *notify_cb_data, const zeb_delivery &d) {
    if (e.os_params != nullptr) {
        notify_cb(e.handle, e.service, d.event, notify_cb_data);
    } else {
        e.ind_cb(e.handle, d.msg_id, d.encoded.data(), static_cast<uint32_t>(d.encoded.size()), e.ind_cb_data);
    }
}

void dispatch(zeb_endpoint *e) {
    dispatching = e;
    std::unique_lock guard(e->lock);
    for (;;) {
        e->wake.wait(guard, [e] { return e->closing || !e->queue.empty(); });
        if (e->closing) {
            return;
        }
        const zeb_delivery delivery = std::move(e->queue.front());
        e->queue.pop_front();
        const zeb_client_notify_cb notify_cb = e->notify_cb;
        void *const notify_cb_data = e->notify_cb_data;
        guard.unlock();
        run_callback(*e, notify_cb, notify_cb_data, delivery);
        if (e->service->replay != nullptr) {
            e->service->replay->returned(e->peer);
        }
        guard.lock();
    }
}

/* Closes an endpoint that was removed from the table. When the function returns, none of the endpoint's callbacks is
 * running or will run. */
void close_endpoint(zeb_endpoint &e) {
    e.service->detach(e.peer);
    {
        std::lock_guard guard(e.lock);
        e.closing = true;
        e.queue.clear();
        e.wake.notify_one();
    }
    e.dispatcher.join();
    if (e.os_params != nullptr) {
        zeb_signal_close(e.os_params);
    }
}

} // namespace

bool zeb_service_valid(zeb_service_object service) {
    return service != nullptr && service->magic == ZEB_SERVICE_MAGIC;
}

/* Creates the handle before it starts the endpoint's thread, because this thread runs callbacks, and a callback may use
 * the handle at once. */
zeb_client_handle zeb_endpoint_open(const std::shared_ptr<zeb_endpoint> &endpoint) {
    zeb_endpoint *e = endpoint.get();
    e->peer = e->service->attach({e, on_indication, on_event});
    try {
        e->handle = table_add(endpoint);
        std::lock_guard guard(e->lock);
        e->dispatcher = zeb_start_thread([e] { dispatch(e); });
    } catch (...) {
        e->service->detach(e->peer);
        table_remove(e->handle);
        throw;
    }
    return e->handle;
}

std::shared_ptr<zeb_endpoint> zeb_endpoint_find(zeb_client_handle handle) {
    std::lock_guard guard(table_lock);
    if (table == nullptr) {
        return nullptr;
    }
    const auto found = table->in_use.find(handle);
    return found == table->in_use.end() ? nullptr : found->second;
}

int32_t zeb_replay_answer(zeb_service_object service, zeb_call call) {
    call.in_callback = dispatching != nullptr;
    return service->replay->answer(call);
}

int32_t zeb_replay_open(zeb_call_kind kind, const std::shared_ptr<zeb_endpoint> &endpoint, zeb_client_handle *handle) {
    const zeb_client_handle opened = zeb_endpoint_open(endpoint);
    const int32_t status = zeb_replay_answer(endpoint->service, {.kind = kind, .peer = endpoint->peer});
    if (status != ZEB_NO_ERR) {
        table_remove(opened);
        close_endpoint(*endpoint);
        return status;
    }
    *handle = opened;
    return ZEB_NO_ERR;
}

bool zeb_replay_wait(const zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    const std::shared_ptr<zeb_endpoint> notifier = table_find_notifier(os_params);
    return notifier != nullptr && notifier->service->replay != nullptr &&
           zeb_replay_answer(notifier->service,
                             {.kind = zeb_call_kind::WAIT, .peer = notifier->peer, .numbers = {timeout_ms}}) ==
               ZEB_NO_ERR;
}

int32_t zeb_client_release(zeb_client_handle client) {
    return zeb_guarded([=]() -> int32_t {
        const auto e = zeb_endpoint_find(client);
        if (!e || dispatching == e.get()) {
            return ZEB_INVALID_ARG_ERR;
        }
        if (e->service->replay != nullptr) {
            const int32_t status = zeb_replay_answer(e->service, {.kind = zeb_call_kind::RELEASE, .peer = e->peer});
            if (status != ZEB_NO_ERR) {
                return status;
            }
        }
        if (!table_remove(client)) {
            return ZEB_INVALID_ARG_ERR;
        }
        close_endpoint(*e);
        return ZEB_NO_ERR;
    });
}
