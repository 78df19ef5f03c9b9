// The fixture of the screen tests: the browser fixture with layouts and form-style tables
// installed as other drivers would, cell-exact views of the screen, and expected screens kept
// under tests/screen/screens.
#pragma once

#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "screen/layout.h"
#include "tests/browser/browser_fixture.h"

namespace morvane::test {

// The words of one layout row: area, anchors and offsets, size kinds and values, flags and the
// ten attributes (missing ones are 0).
std::vector<uint32_t> LayoutWords(UINT32 Area, UINT32 HorizontalAnchor, INT32 HorizontalOffset,
                                  UINT32 VerticalAnchor, INT32 VerticalOffset, UINT32 WidthKind,
                                  INT32 WidthValue, UINT32 HeightKind, INT32 HeightValue,
                                  UINT32 Flags, std::vector<uint32_t> Attributes);

// A row held to the top left corner, its place and size in cells.
std::vector<uint32_t> CellRow(UINT32 Area, INT32 Column, INT32 Row, INT32 Width, INT32 Height,
                              UINT32 Flags, std::vector<uint32_t> Attributes);

// The driver's default rows at 80 x 25, for layouts that change only some of them.
std::vector<uint32_t> DefaultTitleRow();
std::vector<uint32_t> DefaultMenuBarRow();
std::vector<uint32_t> DefaultBodyRow();
std::vector<uint32_t> DefaultHelpRow();
std::vector<uint32_t> DefaultFooterRow();
std::vector<std::vector<uint32_t>> DefaultRows();
extern const std::vector<uint32_t> BodyAttributes;
extern const std::vector<uint32_t> HelpAttributes;

// A GUID for a test's own layout.
EFI_GUID LayoutGuid(UINT8 Last);

class ScreenTest : public BrowserTest {
protected:
  // Installs a layout block built from the rows under the GUID, on a handle of its own; the
  // block lives as long as the test. Returns the handle.
  EFI_HANDLE InstallLayout(const EFI_GUID &Guid, const std::vector<std::vector<uint32_t>> &Rows);
  // Installs the block as given (for blocks whose sizes do not follow from the rows).
  EFI_HANDLE InstallLayoutBlock(const EFI_GUID &Guid, std::vector<uint32_t> Block);
  // Installs a table of form styles; the end row is appended.
  void InstallStyleTable(const std::vector<std::pair<UINT16, EFI_GUID>> &Rows);
  // Style 0 (forms with help) and style 2 (forms without) both take this one layout.
  void UseLayout(const std::vector<std::vector<uint32_t>> &Rows);

  // One screen row with one character per cell (the second cell of a wide character is left
  // out), for exact column arithmetic.
  std::u16string Cells(UINT32 Row);
  // The column where Text starts on the row, or -1.
  int ColumnOf(UINT32 Row, const std::u16string &Text);
  UINT8 AttributeAt(UINT32 Column, UINT32 Row);
  CHAR16 CharAt(UINT32 Column, UINT32 Row);
  // Writes text straight to the console, as another program would, to see what a paint covers.
  void Scribble(UINT32 Column, UINT32 Row, const std::u16string &Text);
  // The first row that holds Text, or -1.
  int RowOf(const std::u16string &Text);

  // Compares the screen with tests/screen/screens/<Name>.txt; MORVANE_UPDATE_SCREENS=1 writes it.
  void ExpectScreenFile(const std::string &Name);

  // A form set of one form whose statements the caller writes; with a page GUID it is a tab.
  PublishedFormSet &PublishForms(UINT8 Id, kit::IfrWriter &Forms, kit::Strings &Strings,
                                 UINT16 StoreSize = 0, const EFI_GUID *Page = nullptr,
                                 EFI_STRING_ID Title = 0);

  // Publishes form set 1 with one form titled Title, whose statements Body writes, and a buffer
  // store 1 "Data" of StoreSize bytes (none for 0); with a page GUID it is a tab.
  PublishedFormSet &PublishForm(const std::u16string &Title,
                                const std::function<void(kit::IfrWriter &, kit::Strings &)> &Body,
                                UINT16 StoreSize = 8, const EFI_GUID *Page = nullptr);

  std::vector<EFI_HII_HANDLE> Handles();

  // Blocks and tables handed to the platform; they must outlive its protocol database entries.
  std::list<std::vector<uint32_t>> Blocks;
  std::list<std::vector<FORM_STYLE_ROW>> StyleTables;
};

} // namespace morvane::test
