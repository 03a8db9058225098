#include "cpe_dm_list.h"
#include "fake_platform.h"
#include "fault.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

char names[] = "abcdefgh";

/* A list whose nodes point to the letters of a text. `tail` is the last node, or the head of an empty list. */
struct letters {
    cpe_dm_dll_node *head = cpe_dm_dll_init(nullptr);
    cpe_dm_dll_node *tail = head;

    explicit letters(const char *text) {
        for (; *text != '\0'; text++) {
            tail = cpe_dm_dll_enqueue(text[1] == '\0' ? tail : head, nullptr, &names[*text - 'a']);
        }
    }

    letters(const letters &) = delete;
    letters &operator=(const letters &) = delete;

    /* Takes the letters, which are static, out of the nodes, because cpe_dm_dll_destroy frees the data of all nodes. */
    ~letters() {
        for (cpe_dm_dll_node *node = head; node != nullptr; node = node->next) {
            node->data = nullptr;
        }
        cpe_dm_dll_destroy(head);
    }

    /* The letters in order, with "!" behind a node whose `prev` is wrong, and at the end when `tail` is wrong. */
    std::string text() const {
        std::string result;
        void *data = nullptr;
        const cpe_dm_dll_node *last = head;
        for (cpe_dm_dll_node *node = cpe_dm_dll_next(head, &data); node != nullptr;
             node = cpe_dm_dll_next(node, &data)) {
            result += *static_cast<char *>(data);
            result += node->prev == last && cpe_dm_dll_data(node) == data ? "" : "!";
            last = node;
        }
        return last == tail ? result : result + "!";
    }
};

int32_t same_letter(const void *key, const void *data) {
    return *static_cast<const char *>(key) - *static_cast<const char *>(data);
}

TEST(List, InsertAtAPosition) {
    for (std::string text : {"", "abc"}) {
        for (int32_t pos : {-1, 0, 1, 3, 10}) {
            letters list(text.c_str());
            cpe_dm_dll_node *node = cpe_dm_dll_insert(list.head, nullptr, &names[7], pos);
            list.tail = node->next == nullptr ? node : list.tail;
            std::string expected = text;
            expected.insert(std::min(text.size(), static_cast<size_t>(std::max(pos, 0))), "h");
            EXPECT_EQ(list.text(), expected);
        }
    }
}

TEST(List, DequeueTakesTheFirstFromAnyNode) {
    letters list("ab");
    for (const char *rest : {"b", ""}) {
        void *data = nullptr;
        cpe_dm_dll_node *node = cpe_dm_dll_dequeue(list.tail, &list.tail, &data);
        EXPECT_EQ(*static_cast<char *>(data), *rest == 'b' ? 'a' : 'b');
        EXPECT_TRUE(node->next == nullptr && node->prev == nullptr && node->data == nullptr);
        cpe_dm_dll_free_node(node);
        EXPECT_EQ(list.text(), rest);
    }
    void *untouched = names;
    EXPECT_EQ(cpe_dm_dll_dequeue(list.head, &list.tail, &untouched), nullptr);
    EXPECT_EQ(untouched, names);
    cpe_dm_dll_enqueue(list.head, nullptr, names);
    cpe_dm_dll_free_node(cpe_dm_dll_dequeue(list.head, nullptr, &untouched));
}

TEST(List, DeleteByKeyAndByNode) {
    const struct {
        const char *before;
        char key;
        const char *after;
    } cases[] = {{"abc", 'a', "bc"}, {"abc", 'b', "ac"}, {"abc", 'c', "ab"}, {"a", 'a', ""}, {"abc", 'x', "abc"}};
    for (const auto &c : cases) {
        letters by_key(c.before);
        letters by_node(c.before);
        cpe_dm_dll_node *found = cpe_dm_dll_search(by_node.head, &c.key, same_letter);
        cpe_dm_dll_delete_node(by_node.head, &by_node.tail, found);
        cpe_dm_dll_node *deleted = cpe_dm_dll_delete(by_key.head, &by_key.tail, &c.key, same_letter);
        EXPECT_EQ(by_key.text(), c.after);
        EXPECT_EQ(by_node.text(), c.after);
        EXPECT_EQ(deleted != nullptr, std::string(c.before) != c.after);
        for (cpe_dm_dll_node *node : {found, deleted}) {
            EXPECT_TRUE(node == nullptr ||
                        (node->next == nullptr && node->prev == nullptr && *static_cast<char *>(node->data) == c.key));
            cpe_dm_dll_free_node(node);
        }
    }
}

cpe_dm_dll_node *grown;

/* Compares letters. When they are equal, links a new node behind the node `grown`. */
int32_t grow(const void *key, const void *data) {
    const int32_t difference = same_letter(key, data);
    if (difference == 0) {
        cpe_dm_dll_enqueue(grown, nullptr, &names[7]);
    }
    return difference;
}

TEST(List, AnInconsistentTailIsRefused) {
    letters list("abc");
    cpe_dm_dll_node *none = nullptr;
    cpe_dm_dll_node *middle = list.head->next;
    for (cpe_dm_dll_node **tail : {static_cast<cpe_dm_dll_node **>(nullptr), &none, &middle}) {
        EXPECT_EQ(cpe_dm_dll_delete(list.head, tail, names, same_letter), nullptr);
        cpe_dm_dll_delete_node(list.head, tail, list.head->next);
    }
    EXPECT_EQ(list.text(), "abc");
    fake_reset();
    grown = list.tail;
    EXPECT_EQ(cpe_dm_dll_delete(list.head, &list.tail, &names[2], grow), nullptr);
    EXPECT_EQ(fake_log().find("E cpe_dm_dll_delete: already tail! node->next:[0x"), 0U);
    list.tail = list.tail->next;
    EXPECT_EQ(list.text(), "abch");
}

TEST(List, NullArgumentsAndLackOfMemory) {
    letters list("a");
    void *data = names;
    fake_reset();
    EXPECT_EQ(cpe_dm_dll_enqueue(nullptr, list.head, names), nullptr);
    EXPECT_EQ(cpe_dm_dll_insert(nullptr, list.head, names, 0), nullptr);
    EXPECT_EQ(cpe_dm_dll_dequeue(nullptr, nullptr, &data), nullptr);
    EXPECT_EQ(cpe_dm_dll_delete(nullptr, &list.tail, names, same_letter), nullptr);
    cpe_dm_dll_delete_node(nullptr, &list.tail, list.tail);
    cpe_dm_dll_delete_node(list.head, &list.tail, nullptr);
    cpe_dm_dll_destroy(nullptr);
    EXPECT_EQ(fake_log(), "");
    EXPECT_EQ(cpe_dm_dll_next(nullptr, &data), nullptr);
    EXPECT_EQ(cpe_dm_dll_search(nullptr, names, same_letter), nullptr);
    EXPECT_EQ(cpe_dm_dll_data(nullptr), nullptr);
    EXPECT_EQ(fake_log(), "E cpe_dm_dll_next: Bad Param node NULL\nE cpe_dm_dll_search: Bad Param head NULL\n"
                          "E cpe_dm_dll_data: Bad Param node NULL\n");
    fault_arm("calloc", 1, true);
    EXPECT_EQ(cpe_dm_dll_init(nullptr), nullptr);
    EXPECT_EQ(cpe_dm_dll_enqueue(list.head, nullptr, names), cpe_dm_dll_insert(list.head, nullptr, names, 0));
    fault_clear();
    // The part of the list that is destroyed has two allocations: a node and its data.
    cpe_dm_dll_enqueue(list.head, nullptr, calloc(1, 8));
    const size_t live = fault_live_allocations();
    cpe_dm_dll_destroy(std::exchange(list.tail->next, nullptr));
    EXPECT_EQ(fault_live_allocations(), live - 2);
    cpe_dm_dll_node own = {list.head, list.head, names};
    EXPECT_EQ(cpe_dm_dll_init(&own), &own);
    EXPECT_TRUE(own.next == nullptr && own.prev == nullptr && own.data == nullptr);
    EXPECT_EQ(fake_log() + list.text(), "a");
}

} // namespace
