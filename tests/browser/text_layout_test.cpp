// The arithmetic under the screen: line wrapping, the frame of a layout row, the rounding of the
// scroll bar.
#include <vector>

#include "screen/frames.h"
#include "screen/layout.h"
#include "screen/text_output.h"
#include "tests/browser/browser_fixture.h"
#include "tests/common/text.h"

namespace morvane::test {
namespace {

class WrapLineTest : public BrowserTest {
protected:
  // Every line of the text with its character count, as a caller walks it.
  std::vector<std::pair<std::u16string, UINTN>> Lines(const std::u16string &Text, UINT16 Width) {
    std::vector<std::pair<std::u16string, UINTN>> Out;
    UINTN Position = 0;
    for (int Guard = 0; Guard < 100; Guard++) {
      CHAR16 *Line = nullptr;
      UINTN Count = WrapLine(Text.c_str(), Width, &Position, &Line);
      if (Count == 0) {
        if (Line != nullptr) {
          Boot()->FreePool(Line);
        }
        break;
      }
      Out.emplace_back(U16(Line), Count);
      Boot()->FreePool(Line);
    }
    return Out;
  }
};

TEST_F(WrapLineTest, BreaksAfterABlankWhereItCan) {
  using Result = std::vector<std::pair<std::u16string, UINTN>>;
  struct Case {
    const char16_t *Text;
    UINT16 Width;
    Result Expected;
  };
  const Case Cases[] = {
      {u"Hello world foo", 8, {{u"Hello ", 6}, {u"world ", 6}, {u"foo", 3}}},
      {u"Hello", 5, {{u"Hello", 5}}},
      {u"abcdefghij", 4, {{u"abcd", 4}, {u"efgh", 4}, {u"ij", 2}}},
      // A blank in the first place of the copy is not a break.
      {u" abcdef", 4, {{u" abc", 4}, {u"def", 3}}},
      {u"A\r\nB", 10, {{u"A", 1}, {u"B", 1}}},
      {u"A\r\n\r\nB", 10, {{u"A", 1}, {u"", 2}, {u"B", 1}}},
      // A line feed alone ends the line, and the empty line behind it swallows a character.
      {u"A\nBC", 10, {{u"A", 1}, {u"", 2}, {u"C", 1}}},
      // Wide text breaks anywhere; a wide character that needs one cell more moves down.
      {u"日本語テキスト", 5, {{u"日本", 2}, {u"語テ", 2}, {u"キス", 2}, {u"ト", 1}}},
      {u"ab日本", 3, {{u"ab", 2}, {u"日", 1}, {u"本", 1}}},
      {u"", 5, {}},
      // A line that fills the width exactly ends there: no break at a blank, no empty line.
      {u"ab cd", 5, {{u"ab cd", 5}}},
      {u"ab cd\r\nef", 5, {{u"ab cd", 5}, {u"ef", 2}}},
      {u"abcde\r\n\r\nf", 5, {{u"abcde", 5}, {u"", 2}, {u"f", 1}}},
  };
  for (const Case &Each : Cases) {
    EXPECT_EQ(Lines(Each.Text, Each.Width), Each.Expected)
        << Utf8(Each.Text) << " at width " << Each.Width;
  }
}

TEST_F(WrapLineTest, RefusesWhatItCannotWrap) {
  UINTN Position = 0;
  CHAR16 *Line = nullptr;
  EXPECT_EQ(WrapLine(nullptr, 5, &Position, &Line), 0u);
  EXPECT_EQ(WrapLine(u"text", 0, &Position, &Line), 0u);
  EXPECT_EQ(WrapLine(u"text", 5, nullptr, &Line), 0u);
  EXPECT_EQ(WrapLine(u"text", 5, &Position, nullptr), 0u);
}

TEST(ScrollBarTest, RoundedQuotient) {
  struct Case {
    UINT32 A, B, Expected;
  };
  for (const Case &Each : {Case{5, 2, 3}, Case{4, 3, 1}, Case{7, 4, 2}, Case{0, 5, 0},
                           Case{255, 40, 6}, Case{345, 40, 9}, Case{1, 2, 1}, Case{1, 3, 0}}) {
    EXPECT_EQ(RoundedQuotient(Each.A, Each.B), Each.Expected) << Each.A << " / " << Each.B;
  }
}

class FrameTest : public BrowserTest {
protected:
  LayoutRow RowOf(UINT32 HorizontalAnchor, INT32 HorizontalOffset, UINT32 WidthKind,
                  INT32 WidthValue, UINT32 VerticalAnchor = ANCHOR_TOP, INT32 VerticalOffset = 0,
                  UINT32 HeightKind = SIZE_CELLS, INT32 HeightValue = 1) {
    LayoutRow Row = {};
    Row.AreaId = AREA_BODY;
    Row.HorizontalAnchor = HorizontalAnchor;
    Row.HorizontalOffset = HorizontalOffset;
    Row.WidthKind = WidthKind;
    Row.WidthValue = WidthValue;
    Row.VerticalAnchor = VerticalAnchor;
    Row.VerticalOffset = VerticalOffset;
    Row.HeightKind = HeightKind;
    Row.HeightValue = HeightValue;
    return Row;
  }
};

TEST_F(FrameTest, AnchorsAndSizes) {
  const ScreenRect Screen = {0, 79, 0, 24};
  struct Case {
    const char *Name;
    LayoutRow Row;
    ScreenRect Expected;
  };
  const Case Cases[] = {
      {"left, cells", RowOf(ANCHOR_LEFT, 5, SIZE_CELLS, 10), {5, 14, 0, 0}},
      {"left, negative offset is 0", RowOf(ANCHOR_LEFT, -3, SIZE_CELLS, 10), {0, 9, 0, 0}},
      {"right edge pulls in", RowOf(ANCHOR_RIGHT, -10, SIZE_CELLS, 10), {69, 78, 0, 0}},
      {"right edge, positive offset is 0", RowOf(ANCHOR_RIGHT, 4, SIZE_CELLS, 1), {79, 79, 0, 0}},
      {"centre", RowOf(ANCHOR_CENTER, 0, SIZE_CELLS, 20), {30, 49, 0, 0}},
      {"centre, odd width", RowOf(ANCHOR_CENTER, -2, SIZE_CELLS, 21), {28, 48, 0, 0}},
      {"percent", RowOf(ANCHOR_LEFT, 0, SIZE_PERCENT, 50), {0, 39, 0, 0}},
      {"percent rounds down", RowOf(ANCHOR_LEFT, 0, SIZE_PERCENT, 33), {0, 25, 0, 0}},
      {"percent above 100 is 0", RowOf(ANCHOR_LEFT, 0, SIZE_PERCENT, 150), {0, 0xFFFFFFFF, 0, 0}},
      {"negative cells are 0", RowOf(ANCHOR_LEFT, 2, SIZE_CELLS, -4), {2, 1, 0, 0}},
      {"unknown size kind is 0", RowOf(ANCHOR_LEFT, 2, 7, 4), {2, 1, 0, 0}},
      {"bottom edge",
       RowOf(ANCHOR_LEFT, 0, SIZE_CELLS, 80, ANCHOR_BOTTOM, -2, SIZE_CELLS, 2),
       {0, 79, 22, 23}},
      {"vertical centre, percent",
       RowOf(ANCHOR_LEFT, 0, SIZE_CELLS, 80, ANCHOR_CENTER, 0, SIZE_PERCENT, 40),
       {0, 79, 7, 16}},
  };
  for (const Case &Each : Cases) {
    ScreenRect Frame = {};
    EXPECT_EQ(ComputeFrame(&Each.Row, &Screen, &Frame), EFI_SUCCESS) << Each.Name;
    EXPECT_EQ(Frame.Left, Each.Expected.Left) << Each.Name;
    EXPECT_EQ(Frame.Right, Each.Expected.Right) << Each.Name;
    EXPECT_EQ(Frame.Top, Each.Expected.Top) << Each.Name;
    EXPECT_EQ(Frame.Bottom, Each.Expected.Bottom) << Each.Name;
  }
}

TEST_F(FrameTest, AnUnknownAnchorStopsAndKeepsWhatIsNotComputed) {
  const ScreenRect Screen = {0, 79, 0, 24};
  ScreenRect Frame = {1, 2, 3, 4};
  LayoutRow Row = RowOf(7, 0, SIZE_CELLS, 10);
  EXPECT_EQ(ComputeFrame(&Row, &Screen, &Frame), EFI_UNSUPPORTED);
  EXPECT_EQ(Frame.Left, 1u);
  EXPECT_EQ(Frame.Right, 2u);
  Row = RowOf(ANCHOR_LEFT, 3, SIZE_CELLS, 10, 9);
  EXPECT_EQ(ComputeFrame(&Row, &Screen, &Frame), EFI_UNSUPPORTED);
  EXPECT_EQ(Frame.Left, 3u);
  EXPECT_EQ(Frame.Right, 12u);
  EXPECT_EQ(Frame.Top, 3u);
  EXPECT_EQ(Frame.Bottom, 4u);
}

TEST_F(FrameTest, ApplyFrameMovesInOnlyForABox) {
  const ScreenRect Frame = {0, 54, 2, 22};
  ScreenRect Client = {};
  ApplyFrame(LAYOUT_FLAG_BOX, &Frame, &Client);
  EXPECT_EQ(Client.Left, 1u);
  EXPECT_EQ(Client.Right, 53u);
  EXPECT_EQ(Client.Top, 3u);
  EXPECT_EQ(Client.Bottom, 21u);
  ApplyFrame(LAYOUT_FLAG_SHADOW, &Frame, &Client);
  EXPECT_EQ(Client.Left, 0u);
  EXPECT_EQ(Client.Bottom, 22u);
}

} // namespace
} // namespace morvane::test
