// The graphics output protocol over the text screen: cells drawn as glyphs, and rectangles
// written back decoded into cells again.
#include <string>
#include <vector>

#include "host/glyph.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

using Pixel = EFI_GRAPHICS_OUTPUT_BLT_PIXEL;

class GraphicsOutputTest : public HostTest {
protected:
  EFI_GRAPHICS_OUTPUT_PROTOCOL *Gop = Host.Graphics()->Protocol();
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *Out = System->ConOut;

  void WriteAt(UINTN Column, UINTN Row, UINTN Attribute, const CHAR16 *Text) {
    Out->SetCursorPosition(Out, Column, Row);
    Out->SetAttribute(Out, Attribute);
    Out->OutputString(Out, Text);
  }
  std::vector<Pixel> Save(UINTN X, UINTN Y, UINTN Width, UINTN Height) {
    std::vector<Pixel> Buffer(Width * Height);
    EXPECT_EQ(Gop->Blt(Gop, Buffer.data(), EfiBltVideoToBltBuffer, X, Y, 0, 0, Width, Height, 0),
              EFI_SUCCESS);
    return Buffer;
  }
};

TEST_F(GraphicsOutputTest, FrameIsEightByNineteenPixelsPerCell) {
  EXPECT_EQ(Gop->Mode->MaxMode, 1U);
  EXPECT_EQ(Gop->Mode->Info->HorizontalResolution, 640U);
  EXPECT_EQ(Gop->Mode->Info->VerticalResolution, 475U);
  UINTN Size = 0;
  EFI_GRAPHICS_OUTPUT_MODE_INFORMATION *Info = nullptr;
  ASSERT_EQ(Gop->QueryMode(Gop, 0, &Size, &Info), EFI_SUCCESS);
  EXPECT_EQ(Size, sizeof(EFI_GRAPHICS_OUTPUT_MODE_INFORMATION));
  EXPECT_EQ(Info->PixelsPerScanLine, 640U);
  EXPECT_EQ(Boot->FreePool(Info), EFI_SUCCESS);
  EXPECT_EQ(Gop->QueryMode(Gop, 1, &Size, &Info), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Gop->QueryMode(Gop, 0, nullptr, &Info), EFI_INVALID_PARAMETER);
}

TEST_F(GraphicsOutputTest, TheFirstGraphicsHandleHasADevicePath) {
  UINTN Count = 0;
  EFI_HANDLE *Handles = nullptr;
  ASSERT_EQ(Boot->LocateHandleBuffer(ByProtocol, &gEfiGraphicsOutputProtocolGuid, nullptr, &Count,
                                     &Handles),
            EFI_SUCCESS);
  ASSERT_EQ(Count, 1U);
  VOID *Path = nullptr;
  EXPECT_EQ(Boot->HandleProtocol(Handles[0], &gEfiDevicePathProtocolGuid, &Path), EFI_SUCCESS);
  EXPECT_EQ(Handles[0], Host.GraphicsHandle());
  Boot->FreePool(Handles);
}

TEST(GraphicsOutputOptions, FollowTheConsoleSizeOrLeaveTheProtocolOut) {
  PlatformOptions Options;
  Options.Columns = 100;
  Options.Rows = 31;
  {
    Platform Host(Options);
    EXPECT_EQ(Host.Graphics()->Width(), 800U);
    EXPECT_EQ(Host.Graphics()->Height(), 589U);
  }
  Options.GraphicsOutput = false;
  Platform Host(Options);
  VOID *Interface = nullptr;
  EXPECT_EQ(
      Host.BootServices()->LocateProtocol(&gEfiGraphicsOutputProtocolGuid, nullptr, &Interface),
      EFI_NOT_FOUND);
  EXPECT_EQ(Host.Graphics(), nullptr);
  // The text console works without it.
  Host.SystemTable()->ConOut->OutputString(Host.SystemTable()->ConOut, u"ok");
  EXPECT_EQ(Host.Screen().Cell(1, 0).Char, u'k');
}

TEST_F(GraphicsOutputTest, TextIsDrawnWithPaletteColoursAndTags) {
  WriteAt(2, 3, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLUE), u"A ");
  const Pixel &Origin = Host.Graphics()->Pixel(2 * 8, 3 * 19);
  EXPECT_TRUE(SameColour(Origin, PaletteColour(EFI_BLUE)));
  EXPECT_EQ(Origin.Reserved, CELL_MARKER);
  EXPECT_EQ(Host.Graphics()->Pixel(17, 57).Reserved, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLUE));
  EXPECT_EQ(Host.Graphics()->Pixel(18, 57).Reserved, 'A');
  bool AnyInk = false;
  bool BlankInk = false;
  for (UINT32 Y = 0; Y < 19; Y++) {
    for (UINT32 X = 0; X < 8; X++) {
      AnyInk |= SameColour(Host.Graphics()->Pixel(16 + X, 57 + Y), PaletteColour(EFI_YELLOW));
      BlankInk |= SameColour(Host.Graphics()->Pixel(24 + X, 57 + Y), PaletteColour(EFI_YELLOW));
    }
  }
  EXPECT_TRUE(AnyInk);
  EXPECT_FALSE(BlankInk);
}

TEST_F(GraphicsOutputTest, SavedPixelsRestoreTheTextCellsExactly) {
  WriteAt(10, 5, EFI_TEXT_ATTR(EFI_WHITE, EFI_BLUE), u"Save \u6F22 me");
  WriteAt(10, 6, EFI_TEXT_ATTR(EFI_LIGHTRED, EFI_BLACK), u"second row");
  std::vector<std::string> TextBefore = Host.Screen().TextRows();
  std::vector<std::string> AttributesBefore = Host.Screen().AttributeRows();
  std::vector<Pixel> Saved = Save(10 * 8, 5 * 19, 12 * 8, 2 * 19);

  // A pop-up covers the area.
  WriteAt(8, 4, EFI_TEXT_ATTR(EFI_BLACK, EFI_LIGHTGRAY), u"+-------------+");
  WriteAt(8, 5, EFI_TEXT_ATTR(EFI_BLACK, EFI_LIGHTGRAY), u"| pop-up text |");
  WriteAt(8, 6, EFI_TEXT_ATTR(EFI_BLACK, EFI_LIGHTGRAY), u"+-------------+");
  ASSERT_NE(Host.Screen().TextRows()[5], TextBefore[5]);

  ASSERT_EQ(
      Gop->Blt(Gop, Saved.data(), EfiBltBufferToVideo, 0, 0, 10 * 8, 5 * 19, 12 * 8, 2 * 19, 0),
      EFI_SUCCESS);
  std::vector<std::string> TextAfter = Host.Screen().TextRows();
  std::vector<std::string> AttributesAfter = Host.Screen().AttributeRows();
  // Inside the restored rectangle the cells are back; the pop-up border outside it stays.
  EXPECT_EQ(TextAfter[5].substr(10, 12), TextBefore[5].substr(10, 12));
  EXPECT_EQ(AttributesAfter[5].substr(20, 24), AttributesBefore[5].substr(20, 24));
  EXPECT_EQ(TextAfter[6].substr(10, 10), "second row");
  EXPECT_EQ(AttributesAfter[6].substr(20, 20), AttributesBefore[6].substr(20, 20));
  EXPECT_EQ(TextAfter[5].substr(8, 2), "| ");
  EXPECT_TRUE(Host.Screen().Cell(16, 5).Continuation);
}

TEST_F(GraphicsOutputTest, ARecolouredRectangleDecodesToTheSameCharactersInTheNewColours) {
  WriteAt(0, 0, EFI_TEXT_ATTR(EFI_WHITE, EFI_BLUE), u"Shadow");
  std::vector<Pixel> Area = Save(0, 0, 6 * 8, 19);
  const Pixel Blue = PaletteColour(EFI_BLUE);
  for (Pixel &Each : Area) {
    // The tags stay, but no longer match the colours; the colours decide.
    Pixel Recoloured =
        SameColour(Each, Blue) ? PaletteColour(EFI_BLACK) : PaletteColour(EFI_DARKGRAY);
    Recoloured.Reserved = Each.Reserved;
    Each = Recoloured;
  }
  ASSERT_EQ(Gop->Blt(Gop, Area.data(), EfiBltBufferToVideo, 0, 0, 0, 0, 6 * 8, 19, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().TextRows()[0].substr(0, 6), "Shadow");
  EXPECT_EQ(Host.Screen().AttributeRows()[0].substr(0, 12), "080808080808");
}

TEST_F(GraphicsOutputTest, AFilledRectangleBecomesBlankCellsKeepingTheirForeground) {
  WriteAt(0, 1, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLACK), u"xyz");
  Pixel Green = PaletteColour(EFI_GREEN);
  ASSERT_EQ(Gop->Blt(Gop, &Green, EfiBltVideoFill, 0, 0, 8, 19, 16, 19, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().TextRows()[1].substr(0, 3), "x  ");
  EXPECT_EQ(Host.Screen().Cell(1, 1).Attribute, EFI_TEXT_ATTR(EFI_YELLOW, EFI_GREEN));
  EXPECT_EQ(Host.Screen().Cell(0, 1).Attribute, EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLACK));
}

TEST_F(GraphicsOutputTest, VideoToVideoMovesTheText) {
  WriteAt(0, 0, 0x07, u"moved");
  ASSERT_EQ(Gop->Blt(Gop, nullptr, EfiBltVideoToVideo, 0, 0, 8, 2 * 19, 5 * 8, 19, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().TextRows()[2].substr(0, 6), " moved");
}

TEST_F(GraphicsOutputTest, DeltaAndSourceOffsetsAddressTheCallersBuffer) {
  WriteAt(0, 0, 0x1F, u"Q");
  // A buffer two cells wide; the cell is stored in its right half.
  std::vector<Pixel> Wide(16 * 19);
  ASSERT_EQ(Gop->Blt(Gop, Wide.data(), EfiBltVideoToBltBuffer, 0, 0, 8, 0, 8, 19, 16 * 4),
            EFI_SUCCESS);
  ASSERT_EQ(Gop->Blt(Gop, Wide.data(), EfiBltBufferToVideo, 8, 0, 3 * 8, 19, 8, 19, 16 * 4),
            EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().Cell(3, 1).Char, u'Q');
  EXPECT_EQ(Host.Screen().Cell(3, 1).Attribute, 0x1F);
}

TEST_F(GraphicsOutputTest, BltRefusesRectanglesOutsideTheFrameAndBadArguments) {
  struct BltCase {
    const char *Name;
    EFI_GRAPHICS_OUTPUT_BLT_OPERATION Operation;
    bool NullBuffer;
    UINTN SourceX, SourceY, DestinationX, DestinationY, Width, Height;
  };
  std::vector<Pixel> Buffer(700 * 500);
  for (const BltCase &Case : {
           BltCase{"fill past right", EfiBltVideoFill, false, 0, 0, 600, 0, 41, 1},
           BltCase{"fill past bottom", EfiBltVideoFill, false, 0, 0, 0, 475, 1, 1},
           BltCase{"fill null buffer", EfiBltVideoFill, true, 0, 0, 0, 0, 1, 1},
           BltCase{"fill zero width", EfiBltVideoFill, false, 0, 0, 0, 0, 0, 1},
           BltCase{"read past right", EfiBltVideoToBltBuffer, false, 639, 0, 0, 0, 2, 1},
           BltCase{"read null buffer", EfiBltVideoToBltBuffer, true, 0, 0, 0, 0, 1, 1},
           BltCase{"write past bottom", EfiBltBufferToVideo, false, 0, 0, 0, 470, 1, 6},
           BltCase{"move source past", EfiBltVideoToVideo, false, 0, 470, 0, 0, 1, 6},
           BltCase{"move destination past", EfiBltVideoToVideo, false, 0, 0, 640, 0, 1, 1},
           BltCase{"unknown operation", EfiGraphicsOutputBltOperationMax, false, 0, 0, 0, 0, 1, 1},
       }) {
    EXPECT_EQ(Gop->Blt(Gop, Case.NullBuffer ? nullptr : Buffer.data(), Case.Operation, Case.SourceX,
                       Case.SourceY, Case.DestinationX, Case.DestinationY, Case.Width, Case.Height,
                       0),
              EFI_INVALID_PARAMETER)
        << Case.Name;
  }
  // An exact fit at the bottom right corner is accepted.
  Pixel Colour = PaletteColour(EFI_RED);
  EXPECT_EQ(Gop->Blt(Gop, &Colour, EfiBltVideoFill, 0, 0, 632, 456, 8, 19, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().Cell(79, 24).Attribute >> 4, EFI_RED);
}

TEST_F(GraphicsOutputTest, SetModeClearsToBlack) {
  WriteAt(0, 0, EFI_TEXT_ATTR(EFI_WHITE, EFI_BLUE), u"gone");
  ASSERT_EQ(Gop->SetMode(Gop, 0), EFI_SUCCESS);
  EXPECT_EQ(Host.Screen().TextRows()[0].substr(0, 4), "    ");
  EXPECT_EQ(Host.Screen().Cell(0, 0).Attribute, EFI_WHITE);
  EXPECT_EQ(Gop->SetMode(Gop, 1), EFI_UNSUPPORTED);
}

TEST(Glyph, ColoursAloneDecodeTheCharacter) {
  for (CHAR16 Char : {u'A', u'z', u'~', u'!', CHAR16(BOXDRAW_HORIZONTAL),
                      CHAR16(BLOCKELEMENT_LIGHT_SHADE), u'\u6F22', u'\uFFFD', u'\u0001'}) {
    ScreenCell Cell;
    Cell.Char = Char;
    Cell.Attribute = EFI_TEXT_ATTR(EFI_LIGHTCYAN, EFI_MAGENTA);
    Pixel Pixels[CELL_WIDTH * CELL_HEIGHT];
    RenderCell(Cell, Pixels, CELL_WIDTH);
    EXPECT_FALSE(GlyphPixel(Cell, 0, 0));
    for (Pixel &Each : Pixels) {
      Each.Reserved = 0;
    }
    ScreenCell Decoded = DecodeCell(Pixels, CELL_WIDTH, ScreenCell());
    EXPECT_EQ(Decoded.Char, Cell.Char);
    EXPECT_EQ(Decoded.Attribute, Cell.Attribute);
  }
}

TEST(Glyph, BlanksHaveNoForegroundPixels) {
  for (CHAR16 Char : {u' ', u'\0'}) {
    ScreenCell Cell;
    Cell.Char = Char;
    for (UINT32 Y = 0; Y < CELL_HEIGHT; Y++) {
      for (UINT32 X = 0; X < CELL_WIDTH; X++) {
        EXPECT_FALSE(GlyphPixel(Cell, X, Y));
      }
    }
  }
}

} // namespace
} // namespace morvane::host::test
