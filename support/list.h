// Intrusive, circular, doubly linked lists. A record holds a ListLink as a field and is
// reached from the link by that field's offset (LIST_RECORD). An empty head points at itself.
#pragma once

#include "uefi/base.h"

struct ListLink {
  ListLink *Forward;
  ListLink *Back;
};

inline void ListInit(ListLink *Head) {
  Head->Forward = Head;
  Head->Back = Head;
}

inline bool ListIsEmpty(const ListLink *Head) {
  return Head->Forward == Head;
}

// The first link, or the head itself when the list is empty.
inline ListLink *ListFirst(ListLink *Head) {
  return Head->Forward;
}

// The link after Link; from the last entry, the head.
inline ListLink *ListNext(ListLink *Head, ListLink *Link) {
  (void)Head;
  return Link->Forward;
}

inline bool ListIsHead(const ListLink *Head, const ListLink *Link) {
  return Head == Link;
}

inline bool ListIsLast(const ListLink *Head, const ListLink *Link) {
  return Link->Forward == Head;
}

inline void ListInsertHead(ListLink *Head, ListLink *Link) {
  Link->Forward = Head->Forward;
  Link->Back = Head;
  Head->Forward->Back = Link;
  Head->Forward = Link;
}

inline void ListInsertTail(ListLink *Head, ListLink *Link) {
  Link->Forward = Head;
  Link->Back = Head->Back;
  Head->Back->Forward = Link;
  Head->Back = Link;
}

// Unlinks Link from its list; Link's own pointers are left as they were.
inline void ListRemove(ListLink *Link) {
  Link->Forward->Back = Link->Back;
  Link->Back->Forward = Link->Forward;
}

// Unlinks Link and links it in front of Target, which may be the head (Link then becomes the
// last entry). One call with Link's predecessor as Target swaps the two.
inline void ListMoveBefore(ListLink *Target, ListLink *Link) {
  if (Target == Link) {
    return;
  }
  ListRemove(Link);
  ListInsertTail(Target, Link);
}

// True when every link's neighbours point back at it and the walk returns to the head
// within a bound; tests call it after each change.
bool CheckListInvariants(const ListLink *Head);

// The record that holds Link in its field Field.
#define LIST_RECORD(Link, Type, Field)                                                             \
  (static_cast<void>(sizeof(static_cast<ListLink *>(&static_cast<Type *>(nullptr)->Field))),       \
   reinterpret_cast<Type *>(reinterpret_cast<UINT8 *>(Link) - offsetof(Type, Field)))

// Walks a list: LIST_FOR_EACH(Link, &Head) { ... }. Removing the current entry is not safe.
#define LIST_FOR_EACH(Link, Head)                                                                  \
  for (ListLink *Link = ListFirst(Head); !ListIsHead((Head), Link); Link = ListNext((Head), Link))
