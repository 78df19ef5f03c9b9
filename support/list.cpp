#include "support/list.h"

#include "support/poison.h"

bool CheckListInvariants(const ListLink *Head) {
  if (Head == nullptr || Head->Forward == nullptr || Head->Back == nullptr) {
    return false;
  }
  const ListLink *Link = Head;
  // A list longer than this is taken as a cycle that misses the head.
  for (UINTN Steps = 0; Steps < 10000000; Steps++) {
    const ListLink *Next = Link->Forward;
    if (Next == nullptr || Next->Back != Link) {
      return false;
    }
    if (Next == Head) {
      return true;
    }
    Link = Next;
  }
  return false;
}
