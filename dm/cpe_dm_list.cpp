#include "cpe_dm_list.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_log.h"

#include <cinttypes>

static cpe_dm_dll_node *node_or_new(cpe_dm_dll_node *node) {
    return node != nullptr ? node : cpe_dm_alloc<cpe_dm_dll_node>().release();
}

static void link_after(cpe_dm_dll_node *prev, cpe_dm_dll_node *node) {
    node->prev = prev;
    node->next = prev->next;
    if (node->next != nullptr) {
        node->next->prev = node;
    }
    prev->next = node;
}

static cpe_dm_dll_node *last_from(cpe_dm_dll_node *node) {
    while (node->next != nullptr) {
        node = node->next;
    }
    return node;
}

cpe_dm_dll_node *cpe_dm_dll_init(cpe_dm_dll_node *node) {
    node = node_or_new(node);
    if (node != nullptr) {
        *node = {};
    }
    return node;
}

cpe_dm_dll_node *cpe_dm_dll_enqueue(cpe_dm_dll_node *start, cpe_dm_dll_node *node, void *data) {
    if (start == nullptr) {
        return nullptr;
    }
    node = node_or_new(node);
    if (node == nullptr) {
        return nullptr;
    }
    node->data = data;
    link_after(last_from(start), node);
    return node;
}

cpe_dm_dll_node *cpe_dm_dll_insert(cpe_dm_dll_node *head, cpe_dm_dll_node *node, void *data, int32_t pos) {
    if (head == nullptr) {
        return nullptr;
    }
    node = node_or_new(node);
    if (node == nullptr) {
        return nullptr;
    }
    node->data = data;
    cpe_dm_dll_node *prev = head;
    for (int32_t i = 0; i < pos && prev->next != nullptr; i++) {
        prev = prev->next;
    }
    link_after(prev, node);
    return node;
}

cpe_dm_dll_node *cpe_dm_dll_dequeue(cpe_dm_dll_node *node, cpe_dm_dll_node **tail, void **data) {
    if (node == nullptr) {
        return nullptr;
    }
    cpe_dm_dll_node *head = node;
    while (head->prev != nullptr) {
        head = head->prev;
    }
    cpe_dm_dll_node *first = head->next;
    if (first == nullptr) {
        return nullptr;
    }
    head->next = first->next;
    if (first->next != nullptr) {
        first->next->prev = head;
    } else if (tail != nullptr) {
        *tail = head;
    }
    *data = first->data;
    *first = {};
    return first;
}

/* Whether *tail can be the last node of a list: `tail` and *tail are not null, and the node has no successor. */
static bool tail_consistent(cpe_dm_dll_node *const *tail) {
    return tail != nullptr && *tail != nullptr && (*tail)->next == nullptr;
}

static void unlink_node(cpe_dm_dll_node **tail, cpe_dm_dll_node *node) {
    if (node == *tail) {
        *tail = node->prev;
    } else {
        node->next->prev = node->prev;
    }
    node->prev->next = node->next;
    node->next = nullptr;
    node->prev = nullptr;
}

cpe_dm_dll_node *cpe_dm_dll_delete(cpe_dm_dll_node *head, cpe_dm_dll_node **tail, const void *key,
                                   cpe_dm_dll_cmp_f cmp) {
    if (head == nullptr || !tail_consistent(tail)) {
        return nullptr;
    }
    cpe_dm_dll_node *node = cpe_dm_dll_search(head, key, cmp);
    if (node == nullptr) {
        return nullptr;
    }
    // tail_consistent has checked that *tail has no successor. If *tail has a successor now, the comparison routine has
    // linked a node behind *tail.
    if (node == *tail && node->next != nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_dll_delete: already tail! node->next:[0x%" PRIxPTR "]",
                         reinterpret_cast<uintptr_t>(node->next));
        return nullptr;
    }
    unlink_node(tail, node);
    return node;
}

void cpe_dm_dll_delete_node(const cpe_dm_dll_node *head, cpe_dm_dll_node **tail, cpe_dm_dll_node *node) {
    if (head == nullptr || node == nullptr || !tail_consistent(tail)) {
        return;
    }
    // tail_consistent has checked that *tail has no successor. If *tail has a successor now, another thread has linked
    // a node behind *tail, although no two threads may use a list at the same time.
    if (node == *tail && node->next != nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_dll_delete_node: already tail! node->next:[0x%" PRIxPTR "]",
                         reinterpret_cast<uintptr_t>(node->next));
        return;
    }
    unlink_node(tail, node);
}

cpe_dm_dll_node *cpe_dm_dll_next(const cpe_dm_dll_node *node, void **data) {
    if (node == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_dll_next: Bad Param node NULL");
        return nullptr;
    }
    if (node->next != nullptr) {
        *data = node->next->data;
    }
    return node->next;
}

cpe_dm_dll_node *cpe_dm_dll_search(const cpe_dm_dll_node *head, const void *key, cpe_dm_dll_cmp_f cmp) {
    if (head == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_dll_search: Bad Param head NULL");
        return nullptr;
    }
    cpe_dm_dll_node *node = head->next;
    while (node != nullptr && cmp(key, node->data) != 0) {
        node = node->next;
    }
    return node;
}

void *cpe_dm_dll_data(const cpe_dm_dll_node *node) {
    if (node == nullptr) {
        CPE_DM_LOG_ERROR("cpe_dm_dll_data: Bad Param node NULL");
        return nullptr;
    }
    return node->data;
}

void cpe_dm_dll_free_node(cpe_dm_dll_node *node) {
    free(node);
}

void cpe_dm_dll_destroy(cpe_dm_dll_node *node) {
    while (node != nullptr) {
        cpe_dm_dll_node *next = node->next;
        free(node->data);
        cpe_dm_dll_free_node(node);
        node = next;
    }
}
