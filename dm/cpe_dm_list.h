/* A doubly linked list of opaque data pointers.
 *
 * A list is a chain of nodes behind a head node that carries no data. The other nodes are the elements. The list does
 * not record its tail. An owner that needs the tail keeps a pointer to the last node (to the head while the list is
 * empty). The owner passes the address of this pointer to the operations that may remove the last node. The functions
 * lock nothing; the owner serialises access. A node taken out of the list belongs to the caller, who releases it with
 * cpe_dm_dll_free_node. */
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

/* Makes `node` the head of an empty list: clears its pointers. When `node` is null, allocates the head. Returns the
 * head, or null when the allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_init(cpe_dm_dll_node *node);

/* Appends a node with the given data: `node`, or a newly allocated node when `node` is null. `start` is any node of the
 * list. When `start` is the tail, the function need not search for the end. Returns the appended node, or null when
 * `start` is null or the allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_enqueue(cpe_dm_dll_node *start, cpe_dm_dll_node *node, void *data);

/* Inserts a node with the given data: `node`, or a newly allocated node when `node` is null. `pos` is the index that
 * the node gets among the elements, counted from 0. With a negative `pos` the node becomes the first element. When the
 * list has fewer than `pos` elements, the node becomes the last. When the inserted node has no successor, an owner that
 * keeps a tail has to set the tail to this node. Returns the inserted node, or null when `head` is null or the
 * allocation failed. */
cpe_dm_dll_node *cpe_dm_dll_insert(cpe_dm_dll_node *head, cpe_dm_dll_node *node, void *data, int32_t pos);

/* Unlinks the first element, stores its data pointer in *data, and returns its node with all fields set to null. `node`
 * is any node of the list. When `node` is the head (which holds no element), the function need not search for the
 * head. When no element is left, *tail is set to the head, unless `tail` is null. Returns null, with *data untouched,
 * when the list is empty or `node` is null. */
cpe_dm_dll_node *cpe_dm_dll_dequeue(cpe_dm_dll_node *node, cpe_dm_dll_node **tail, void **data);

/* Unlinks and returns the first element whose data matches the key; the node keeps its data pointer. If the element was
 * the last one, *tail becomes its predecessor. Returns null, with nothing changed, when no element matches, when
 * `head`, `tail` or *tail is null, or when *tail has a successor. */
cpe_dm_dll_node *cpe_dm_dll_delete(cpe_dm_dll_node *head, cpe_dm_dll_node **tail, const void *key,
                                   cpe_dm_dll_cmp_f cmp);

/* Unlinks `node`, an element of the list, without releasing it. If the element was the last one, *tail becomes its
 * predecessor. Does nothing when an argument or *tail is null, or when *tail has a successor. */
void cpe_dm_dll_delete_node(const cpe_dm_dll_node *head, cpe_dm_dll_node **tail, cpe_dm_dll_node *node);

/* Returns the successor of `node`, and stores the data pointer of the successor in *data. When `node` is null or has no
 * successor, returns null with *data untouched. */
cpe_dm_dll_node *cpe_dm_dll_next(const cpe_dm_dll_node *node, void **data);

/* Returns the first element whose data matches the key. Returns null when no element matches or `head` is null. */
cpe_dm_dll_node *cpe_dm_dll_search(const cpe_dm_dll_node *head, const void *key, cpe_dm_dll_cmp_f cmp);

/* Returns the data pointer of `node`; null when `node` is null. */
void *cpe_dm_dll_data(const cpe_dm_dll_node *node);

/* Releases the node, but not its data. */
void cpe_dm_dll_free_node(cpe_dm_dll_node *node);

/* Releases `node`, all its successors, and the data of each of these nodes. The data must have been allocated with
 * malloc or calloc. When `node` is the head, the whole list is released. */
void cpe_dm_dll_destroy(cpe_dm_dll_node *node);

#endif
