// The highlight moves and the page scrolls over logical rows: each option knows its Row in the
// list of OptionRows rows, and the body shows a stretch of it, TopOption to BottomOption. Also
// the periodic refresh of questions with a refresh interval.
#pragma once

#include "screen/menu_option.h"

// Movement codes: the menu loop's state numbers.
#define MOVE_TO_QUESTION 1
#define MOVE_FULL_REPAINT 2
#define MOVE_UP 15
#define MOVE_PAGE_UP 16
#define MOVE_PAGE_DOWN 17
#define MOVE_DOWN 18
#define MOVE_NEXT_FIELD 21
#define MOVE_PREVIOUS_FIELD 22
#define MOVE_HOME 25
#define MOVE_END 26

MenuLine *MoveSelection(UiSelection *Selection, MenuLine *Option, UINT32 Code);
// Paints the page; Code MOVE_FULL_REPAINT also rebuilds the refresh list.
MenuLine *PaintOptions(UiSelection *Selection, MenuLine *Option, UINT32 Code);
void SetCurrentOption(UiSelection *Selection, MenuLine *Option);
bool ScrollOptions(bool Up, UINT16 Rows);
bool IsWithinPage(const MenuLine *A, const MenuLine *B);
MenuLine *FirstSelectableInView();
MenuLine *LastSelectableFromTop();
MenuLine *FindOptionByQuestion(EFI_QUESTION_ID QuestionId);
MenuLine *FindOptionAtRow(UINT16 Row);
MenuLine *RestoreTopOption(UiSelection *Selection);
UINT16 PageHeight();

void AddRefreshEntry(UiSelection *Selection, MenuLine *Option);
void FreeRefreshList();
EFI_STATUS StartRefreshTimer();
EFI_STATUS StopRefreshTimer();
// The work of one timer tick: re-reads and repaints the refreshed questions in view.
void RefreshQuestions();
void ResetMovementState();

// The refresh timer's period in 100 ns units: 50 milliseconds.
#define REFRESH_TIMER_PERIOD 500000
