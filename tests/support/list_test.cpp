#include <gtest/gtest.h>

#include <vector>

#include "support/list.h"

namespace {

struct Item {
  UINT32 Signature;
  ListLink Link;
  int Value;
};

std::vector<int> Values(ListLink *Head) {
  EXPECT_TRUE(CheckListInvariants(Head));
  std::vector<int> Out;
  LIST_FOR_EACH(Link, Head) {
    Out.push_back(LIST_RECORD(Link, Item, Link)->Value);
  }
  return Out;
}

class ListTest : public testing::Test {
protected:
  void SetUp() override {
    ListInit(&Head);
    for (int Index = 0; Index < 4; Index++) {
      Items[Index].Value = Index + 1;
    }
  }
  ListLink Head;
  Item Items[4];
};

TEST_F(ListTest, EmptyHeadPointsAtItself) {
  EXPECT_TRUE(ListIsEmpty(&Head));
  EXPECT_TRUE(ListIsHead(&Head, ListFirst(&Head)));
  EXPECT_TRUE(CheckListInvariants(&Head));
  EXPECT_TRUE(Values(&Head).empty());
}

TEST_F(ListTest, InsertHeadAndTail) {
  ListInsertTail(&Head, &Items[1].Link);
  ListInsertHead(&Head, &Items[0].Link);
  ListInsertTail(&Head, &Items[2].Link);
  EXPECT_EQ(Values(&Head), (std::vector<int>{1, 2, 3}));
  EXPECT_TRUE(ListIsLast(&Head, &Items[2].Link));
  EXPECT_FALSE(ListIsLast(&Head, &Items[1].Link));
  EXPECT_TRUE(ListIsHead(&Head, ListNext(&Head, &Items[2].Link)));
}

TEST_F(ListTest, RemoveLeavesOwnPointers) {
  for (Item &I : Items) {
    ListInsertTail(&Head, &I.Link);
  }
  ListLink *Forward = Items[1].Link.Forward;
  ListLink *Back = Items[1].Link.Back;
  ListRemove(&Items[1].Link);
  EXPECT_EQ(Values(&Head), (std::vector<int>{1, 3, 4}));
  EXPECT_EQ(Items[1].Link.Forward, Forward);
  EXPECT_EQ(Items[1].Link.Back, Back);
}

TEST_F(ListTest, MoveBeforePredecessorSwaps) {
  for (Item &I : Items) {
    ListInsertTail(&Head, &I.Link);
  }
  ListMoveBefore(&Items[1].Link, &Items[2].Link);
  EXPECT_EQ(Values(&Head), (std::vector<int>{1, 3, 2, 4}));
  // With the head as target the entry becomes the last.
  ListMoveBefore(&Head, &Items[0].Link);
  EXPECT_EQ(Values(&Head), (std::vector<int>{3, 2, 4, 1}));
  // Moving an entry before itself changes nothing.
  ListMoveBefore(&Items[3].Link, &Items[3].Link);
  EXPECT_EQ(Values(&Head), (std::vector<int>{3, 2, 4, 1}));
}

TEST_F(ListTest, InvariantsCatchBrokenLinks) {
  ListInsertTail(&Head, &Items[0].Link);
  ListInsertTail(&Head, &Items[1].Link);
  Items[1].Link.Back = &Head;
  EXPECT_FALSE(CheckListInvariants(&Head));
  EXPECT_FALSE(CheckListInvariants(nullptr));
}

} // namespace
