#include "tests/screen/screen_fixture.h"

#include "host/components/layouts.h"
#include "tests/common/text.h"

namespace morvane::test {

const std::vector<uint32_t> BodyAttributes = {0x71, 0x00, 0x7F, 0x70, 0x78,
                                              0x07, 0x17, 0x00, 0x3F, 0x70};
const std::vector<uint32_t> HelpAttributes = {0x71, 0, 0, 0x70, 0, 0, 0, 0, 0, 0x70};

std::vector<uint32_t> LayoutWords(UINT32 Area, UINT32 HorizontalAnchor, INT32 HorizontalOffset,
                                  UINT32 VerticalAnchor, INT32 VerticalOffset, UINT32 WidthKind,
                                  INT32 WidthValue, UINT32 HeightKind, INT32 HeightValue,
                                  UINT32 Flags, std::vector<uint32_t> Attributes) {
  Attributes.resize(10, 0);
  // Offsets and sizes may be negative; the block holds their two's complement.
  std::vector<uint32_t> Words = {Area,
                                 HorizontalAnchor,
                                 uint32_t(HorizontalOffset),
                                 VerticalAnchor,
                                 uint32_t(VerticalOffset),
                                 WidthKind,
                                 uint32_t(WidthValue),
                                 HeightKind,
                                 uint32_t(HeightValue),
                                 Flags};
  Words.insert(Words.end(), Attributes.begin(), Attributes.end());
  return Words;
}

std::vector<uint32_t> CellRow(UINT32 Area, INT32 Column, INT32 Row, INT32 Width, INT32 Height,
                              UINT32 Flags, std::vector<uint32_t> Attributes) {
  return LayoutWords(Area, ANCHOR_LEFT, Column, ANCHOR_TOP, Row, SIZE_CELLS, Width, SIZE_CELLS,
                     Height, Flags, std::move(Attributes));
}

std::vector<uint32_t> DefaultTitleRow() {
  return CellRow(AREA_TITLE, 0, 0, 80, 1, 0x11, {0x30});
}
std::vector<uint32_t> DefaultMenuBarRow() {
  return CellRow(AREA_MENU_BAR, 0, 1, 80, 1, 0x11, {0x17, 0x11, 0x71});
}
std::vector<uint32_t> DefaultBodyRow() {
  return CellRow(AREA_BODY, 0, 2, 55, 21, 0x21, BodyAttributes);
}
std::vector<uint32_t> DefaultHelpRow() {
  return CellRow(AREA_HELP, 54, 2, 26, 21, 0x21, HelpAttributes);
}
std::vector<uint32_t> DefaultFooterRow() {
  return CellRow(AREA_FOOTER, 0, 23, 80, 2, 0x21, {0x3F, 0, 0, 0x30});
}

std::vector<std::vector<uint32_t>> DefaultRows() {
  return {DefaultTitleRow(), DefaultMenuBarRow(), DefaultBodyRow(), DefaultHelpRow(),
          DefaultFooterRow()};
}

EFI_GUID LayoutGuid(UINT8 Last) {
  return {0x3b6e0d14, 0x77c2, 0x4f0a, {0x9d, 0x41, 0x0c, 0x5e, 0x83, 0x2a, 0x61, Last}};
}

EFI_HANDLE ScreenTest::InstallLayoutBlock(const EFI_GUID &Guid, std::vector<uint32_t> Block) {
  Blocks.push_back(std::move(Block));
  EFI_HANDLE Handle = nullptr;
  EFI_GUID Protocol = Guid;
  EXPECT_EQ(Boot()->InstallProtocolInterface(&Handle, &Protocol, EFI_NATIVE_INTERFACE,
                                             Blocks.back().data()),
            EFI_SUCCESS);
  return Handle;
}

EFI_HANDLE ScreenTest::InstallLayout(const EFI_GUID &Guid,
                                     const std::vector<std::vector<uint32_t>> &Rows) {
  return InstallLayoutBlock(Guid, host::MakeLayoutBlock(Rows));
}

void ScreenTest::InstallStyleTable(const std::vector<std::pair<UINT16, EFI_GUID>> &Rows) {
  std::vector<FORM_STYLE_ROW> Table;
  for (const auto &[Style, Guid] : Rows) {
    Table.push_back({Style, 0, Guid});
  }
  Table.push_back({FORM_STYLE_END, 0, {}});
  StyleTables.push_back(std::move(Table));
  EFI_HANDLE Handle = nullptr;
  EFI_GUID Protocol = gFormStyleTableProtocolGuid;
  ASSERT_EQ(Boot()->InstallProtocolInterface(&Handle, &Protocol, EFI_NATIVE_INTERFACE,
                                             StyleTables.back().data()),
            EFI_SUCCESS);
}

void ScreenTest::UseLayout(const std::vector<std::vector<uint32_t>> &Rows) {
  InstallLayout(LayoutGuid(1), Rows);
  InstallStyleTable({{0, LayoutGuid(1)}, {2, LayoutGuid(1)}});
}

std::u16string ScreenTest::Cells(UINT32 Row) {
  std::u16string Out;
  const host::TextScreen &Screen = Host().Screen();
  for (UINT32 Column = 0; Column < Screen.Columns(); Column++) {
    const host::ScreenCell &Cell = Screen.Cell(Column, Row);
    Out.push_back(Cell.Continuation ? u'\0' : Cell.Char);
  }
  return Out;
}

int ScreenTest::ColumnOf(UINT32 Row, const std::u16string &Text) {
  size_t At = Cells(Row).find(Text);
  return At == std::u16string::npos ? -1 : static_cast<int>(At);
}

UINT8 ScreenTest::AttributeAt(UINT32 Column, UINT32 Row) {
  return Host().Screen().Cell(Column, Row).Attribute;
}

CHAR16 ScreenTest::CharAt(UINT32 Column, UINT32 Row) {
  return Host().Screen().Cell(Column, Row).Char;
}

void ScreenTest::Scribble(UINT32 Column, UINT32 Row, const std::u16string &Text) {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *ConOut = Host().SystemTable()->ConOut;
  ConOut->SetCursorPosition(ConOut, Column, Row);
  ConOut->OutputString(ConOut, const_cast<CHAR16 *>(Text.c_str()));
}

int ScreenTest::RowOf(const std::u16string &Text) {
  for (UINT32 Row = 0; Row < Host().Screen().Rows(); Row++) {
    if (Cells(Row).find(Text) != std::u16string::npos) {
      return static_cast<int>(Row);
    }
  }
  return -1;
}

void ScreenTest::ExpectScreenFile(const std::string &Name) {
  test::ExpectScreenFile("tests/screen/screens", Name,
                         ScreenFileText(ScreenRows(), AttributeRows()));
}

PublishedFormSet &ScreenTest::PublishForms(UINT8 Id, kit::IfrWriter &Forms, kit::Strings &Strings,
                                           UINT16 StoreSize, const EFI_GUID *Page,
                                           EFI_STRING_ID Title) {
  PublishedFormSet &Set = Page != nullptr
                              ? PublishTab(Forms, Strings, TestGuid(Id), *Page, Title, 0)
                              : Publish(Forms, Strings, TestGuid(Id));
  if (StoreSize != 0) {
    Set.Driver->AddBufferStorage(TestGuid(Id), u"Data", std::vector<uint8_t>(StoreSize, 0));
  }
  return Set;
}

PublishedFormSet &
ScreenTest::PublishForm(const std::u16string &Title,
                        const std::function<void(kit::IfrWriter &, kit::Strings &)> &Body,
                        UINT16 StoreSize, const EFI_GUID *Page) {
  kit::Strings S;
  kit::IfrWriter W;
  EFI_STRING_ID TitleId = S.Add(Title);
  W.FormSet(TestGuid(1), TitleId, S.Add(u"Help"), {}, true);
  if (StoreSize != 0) {
    W.VarStore(TestGuid(1), 1, StoreSize, "Data");
  }
  W.Form(1, TitleId, true);
  Body(W, S);
  W.End().End();
  return PublishForms(1, W, S, StoreSize, Page, TitleId);
}

std::vector<EFI_HII_HANDLE> ScreenTest::Handles() {
  std::vector<EFI_HII_HANDLE> Out;
  for (const auto &Set : Published) {
    Out.push_back(Set->Handle);
  }
  return Out;
}

} // namespace morvane::test
