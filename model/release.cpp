#include "model/form_model.h"

#include "support/memory.h"

#include "support/poison.h"

namespace {

// A list head that a parse never reached is still all zeros.
bool ListWasInitialized(const ListLink *Head) {
  return Head->Forward != nullptr;
}

template <typename Record, typename Release>
void ReleaseEach(ListLink *Head, Record *(*FromLink)(ListLink *), Release Free) {
  if (!ListWasInitialized(Head)) {
    return;
  }
  while (!ListIsEmpty(Head)) {
    ListLink *Link = ListFirst(Head);
    ListRemove(Link);
    Free(FromLink(Link));
  }
}

void ReleaseStorage(Storage *Target) {
  FreePoolIfSet(Target->Name);
  FreePoolIfSet(Target->StoredCopy);
  FreePoolIfSet(Target->EditCopy);
  ReleaseEach(&Target->NameValues, NameValueNodeFromLink, [](NameValueNode *Node) {
    FreePoolIfSet(Node->Name);
    FreePoolIfSet(Node->Value);
    FreePoolIfSet(Node->EditValue);
    FreePoolIfSet(Node);
  });
  FreePoolIfSet(Target->ConfigHdr);
  FreePoolIfSet(Target->ConfigRequest);
  FreePoolIfSet(Target);
}

} // namespace

void ReleaseExpression(Expression *Target) {
  if (Target == nullptr) {
    return;
  }
  // The opcode records live in the form set's slots; only their value lists are owned.
  ReleaseEach(&Target->OpcodeList, ExpressionOpcodeFromLink,
              [](ExpressionOpcode *Opcode) { FreePoolIfSet(Opcode->ValueList); });
  FreePoolIfSet(Target);
}

void ReleaseStatement(Statement *Target) {
  if (Target == nullptr) {
    return;
  }
  ReleaseEach(&Target->QuestionDefaultList, DefaultFromLink,
              [](QuestionDefault *Default) { FreePoolIfSet(Default); });
  ReleaseEach(&Target->QuestionOptionList, OptionFromLink,
              [](QuestionOption *Option) { FreePoolIfSet(Option); });
  ReleaseEach(&Target->InconsistentIfList, ExpressionFromLink, ReleaseExpression);
  ReleaseEach(&Target->NoSubmitIfList, ExpressionFromLink, ReleaseExpression);
  FreePoolIfSet(Target->ItemName);
  FreePoolIfSet(Target->ValueBuffer);
  Target->ItemName = nullptr;
  Target->ValueBuffer = nullptr;
}

void ReleaseForm(Form *Target) {
  if (Target == nullptr) {
    return;
  }
  ReleaseEach(&Target->ExpressionList, ExpressionFromLink, ReleaseExpression);
  // Statements live in the form set's slots.
  ReleaseEach(&Target->StatementList, StatementFromLink, ReleaseStatement);
  FreePoolIfSet(Target->FormTitleText);
  FreePoolIfSet(Target);
}

void ReleaseFormSet(FormSet *Target) {
  if (Target == nullptr) {
    return;
  }
  FreePoolIfSet(Target->IfrData);
  ReleaseEach(&Target->StorageList, StorageFromLink, ReleaseStorage);
  ReleaseEach(&Target->DefaultStoreList, DefaultStoreFromLink,
              [](DefaultStore *Store) { FreePoolIfSet(Store); });
  ReleaseEach(&Target->FormList, FormFromLink, ReleaseForm);
  FreePoolIfSet(Target->StatementSlots);
  FreePoolIfSet(Target->OpcodeSlots);
  FreePoolIfSet(Target);
}
