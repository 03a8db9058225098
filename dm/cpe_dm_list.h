/* A doubly linked list of opaque data pointers.
 *
 * A list is a chain of nodes behind a head node that carries no data. The list does not record its tail. An owner that
 * needs the tail keeps a pointer to the last node (to the head while the list is empty). The owner passes the address
 * of this pointer to the operations that may remove the last node. Nothing is locked here; the owner serialises access.
 * A node taken out of the list belongs to the caller, who releases it with cpe_dm_dll_free_node. */
#ifndef CPE_DM_LIST_H
#define CPE_DM_LIST_H

#include <cstdint>

struct cpe_dm_dll_node {
    cpe_dm_dll_node *next; /* null for the last node */
    cpe_dm_dll_node *prev; /* null for the head only */
    void *data;            /* not owned by the node; null in the head */
};

/* Compares a key with the data of a node; 0 means that they match. */
using cpe_dm_dll_cmp_f = int32_t (*)(const void *key, const void *data);

/* Makes `node` the head of an empty list: an unlinked node without data. When `node` is null, allocates a node. Returns
 * the head, or null when the allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_init(cpe_dm_dll_node *node);

/* Appends a node with the given data: `node`, or a new node when `node` is null. `start` is any node of the list; when
 * it is the tail, no search for the end is needed. Returns the appended node, or null when `start` is null or the
 * allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_enqueue(cpe_dm_dll_node *start, cpe_dm_dll_node *node, void *data);

/* Inserts a node with the given data: `node`, or a new node when `node` is null. The index of the node is `pos`,
 * counted from 0. With a negative `pos` the node becomes the first. In a list that is shorter than `pos` it becomes the
 * last. When the inserted node has no successor, an owner that keeps a tail sets the tail to this node. Returns the
 * inserted node, or null when `head` is null or the allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_insert(cpe_dm_dll_node *head, cpe_dm_dll_node *node, void *data, int32_t pos);

/* Unlinks the first element, stores its data in *data and returns its node, cleared. `node` is any node of the list;
 * when it is the head, no search for the head is needed. When the list has become empty and `tail` is not null, *tail
 * becomes the head. Returns null, with *data untouched, when the list is empty or `node` is null. */
cpe_dm_dll_node *cpe_dm_dll_dequeue(cpe_dm_dll_node *node, cpe_dm_dll_node **tail, void **data);

/* Unlinks and returns the first element whose data matches the key; the element keeps its data. If the element was the
 * last one, *tail becomes its predecessor. Returns null, with nothing changed, when no element matches, when `head`,
 * `tail` or *tail is null, or when *tail is not a last node. */
cpe_dm_dll_node *cpe_dm_dll_delete(cpe_dm_dll_node *head, cpe_dm_dll_node **tail, const void *key,
                                   cpe_dm_dll_cmp_f cmp);

/* Unlinks `node`, an element of the list, and moves *tail as cpe_dm_dll_delete does. Does not release the node. Does
 * nothing when an argument or *tail is null, or when *tail is not a last node. */
void cpe_dm_dll_delete_node(const cpe_dm_dll_node *head, cpe_dm_dll_node **tail, cpe_dm_dll_node *node);

/* Returns the successor of `node`, and stores its data in *data. At the end, and for a null `node`, returns null with
 * *data untouched. */
cpe_dm_dll_node *cpe_dm_dll_next(const cpe_dm_dll_node *node, void **data);

/* The first element whose data matches the key, or null. */
cpe_dm_dll_node *cpe_dm_dll_search(const cpe_dm_dll_node *head, const void *key, cpe_dm_dll_cmp_f cmp);

/* The data of `node`; null when `node` is null. */
void *cpe_dm_dll_data(const cpe_dm_dll_node *node);

/* Releases the node, not its data. */
void cpe_dm_dll_free_node(cpe_dm_dll_node *node);

/* Releases `node` and all its successors, each with its data, which was allocated with malloc or calloc. When `node` is
 * the head, this is the whole list. */
void cpe_dm_dll_destroy(cpe_dm_dll_node *node);

#endif
