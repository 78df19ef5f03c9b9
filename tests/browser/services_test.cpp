// What the browser offers the drivers whose Callbacks it calls, reached as another driver would
// reach it: the browser services protocol found by its GUID (the last key, the question to go
// to, the reason of a global notification, the dialogs, the screen areas), and BrowserCallback
// of the form browser protocol on the varstores' edit copies.
#include <cstring>
#include <array>
#include <functional>

#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "dialogs/browser_services.h"
#include "dialogs/dialog.h"
#include "screen/layout.h"
#include "tests/browser/browser_fixture.h"
#include "tests/common/text.h"

namespace morvane::test {
namespace {

using kit::IfrValue;

constexpr EFI_VARSTORE_ID SetupStore = 1;
constexpr EFI_VARSTORE_ID NamedStore = 2;
constexpr EFI_VARSTORE_ID SpareStore = 3;

enum : EFI_QUESTION_ID {
  Switch = 0x70, // checkbox at byte 0
  Mode,          // one-of at byte 1
  Level,         // numeric at byte 2, steps of 1
  Named,         // numeric in the name-value store
  Ask,           // action: runs the test's driver code
  Last,          // checkbox at byte 3
};

const EFI_GUID SetupGuid = TestGuid(1);
const EFI_GUID NamedGuid = TestGuid(3);
const EFI_GUID SpareGuid = TestGuid(4);

class ServicesTest : public BrowserTest {
protected:
  PublishedFormSet *Set = nullptr;
  BROWSER_SERVICES_PROTOCOL *Services = nullptr;
  // Driver code run by the Callbacks of the form set's questions.
  std::function<void(EFI_BROWSER_ACTION, EFI_QUESTION_ID, EFI_IFR_TYPE_VALUE *)> OnCallback;
  // Run once by the next Changing Callback of the Ask action.
  std::function<void()> Inside;
  // What the Changed Callback of the Ask action answers.
  EFI_BROWSER_ACTION_REQUEST AskRequest = EFI_BROWSER_ACTION_REQUEST_NONE;

  UINT32 CustomBoxIn(std::array<UINT32, 4> Rect, const CHAR16 **Buttons, UINT32 ButtonCount) {
    return Services->ShowCustomMessageBox(u"Placed", u"Some text", Rect.data(), 0xF1, ButtonCount,
                                          0, Buttons);
  }

  void SetUp() override {
    BrowserTest::SetUp();
    Services = LocateServices(Boot());
    ASSERT_NE(Services, nullptr);
  }

  // A form set on the notified page: a buffer store with four questions, a name-value store
  // with one, a buffer store no question uses, and the action that runs the test's code.
  void PublishSetup(const EFI_GUID &Guid = SetupGuid) {
    FormSetBuilder F(Guid, u"Setup", u"The setup page");
    F.BufferStore(SetupGuid, SetupStore, "Setup", {0, 1, 3, 0});
    F.VarStoreNameValue(NamedStore, NamedGuid);
    F.BufferStore(SpareGuid, SpareStore, "Spare", {0, 0});
    F.Form();
    F.Checkbox(F.Question(u"Switch", u"A switch", Switch, SetupStore, 0, EFI_IFR_FLAG_CALLBACK));
    F.OneOf(F.Question(u"Mode", u"One of three", Mode, SetupStore, 1, EFI_IFR_FLAG_CALLBACK),
            EFI_IFR_NUMERIC_SIZE_1, 0, 2, 0, true);
    F.Options({{u"Quiet", 0}, {u"Normal", 1}, {u"Loud", 2}});
    F.End();
    F.Numeric(F.Question(u"Level", u"A number", Level, SetupStore, 2, EFI_IFR_FLAG_CALLBACK),
              EFI_IFR_NUMERIC_SIZE_1, 0, 99, 1, true);
    F.Default(EFI_HII_DEFAULT_CLASS_STANDARD, IfrValue::U8(4));
    F.End();
    F.Numeric(F.NamedQuestion(u"Named", u"A named value", Named, NamedStore, u"Volume",
                              EFI_IFR_FLAG_CALLBACK),
              EFI_IFR_NUMERIC_SIZE_1, 0, 99, 0);
    F.ActionWithCallback(u"Ask", u"Runs driver code", Ask);
    F.Checkbox(F.Question(u"Last", u"The last question", Last, SetupStore, 3));
    Set = &PublishTab(F, gNotifiedPageProtocolGuid);
    Set->Driver->AddNameValueStorage(NamedGuid);
    (*Set->Driver->NameValues(NamedGuid))[u"Volume"] = u"07";
    Set->Driver->OnCallback = [this](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, UINT8,
                                     EFI_IFR_TYPE_VALUE *Value,
                                     EFI_BROWSER_ACTION_REQUEST *Request) {
      if (Action == EFI_BROWSER_ACTION_CHANGING && Question == Ask && Inside) {
        std::function<void()> Body = std::move(Inside);
        Inside = nullptr;
        Body();
      }
      if (Action == EFI_BROWSER_ACTION_CHANGED && Question == Ask && Request != nullptr) {
        *Request = AskRequest;
      }
      if (OnCallback) {
        OnCallback(Action, Question, Value);
      }
      return EFI_SUCCESS;
    };
  }

  void SendSetup() {
    Send({Set->Handle});
    ASSERT_TRUE(Waiting()) << (Finished() ? tools::StatusName(Run().Status()) : "") << ScreenText();
  }

  // Runs Body in the Ask action's Callback, as driver code.
  void InCallback(std::function<void()> Body) {
    MoveTo(Ask);
    Inside = std::move(Body);
    Type("Enter");
  }

  std::vector<uint8_t> &SetupBytes() { return *Set->Driver->Buffer(SetupGuid, u"Setup"); }

  // BrowserCallback as a driver calls it.
  EFI_STATUS BrowserCallback(UINTN *Size, CHAR16 *Data, bool Retrieve, const EFI_GUID *Guid,
                             const CHAR16 *Name) {
    return FormBrowser()->BrowserCallback(FormBrowser(), Size, Data, Retrieve ? TRUE : FALSE, Guid,
                                          Name);
  }

  // Writes the header of Guid's store as read, followed by Tail, to Guid and Name.
  EFI_STATUS WriteAfterHeader(const EFI_GUID *Guid, const CHAR16 *Name, const std::u16string &Cut,
                              const std::u16string &Tail, const EFI_GUID *ReadGuid = nullptr) {
    std::u16string Whole;
    EFI_STATUS Status = ReadAll(ReadGuid != nullptr ? ReadGuid : Guid, Name, &Whole);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    std::u16string Write = Whole.substr(0, Whole.find(Cut)) + Tail;
    UINTN Size = (Write.size() + 1) * sizeof(CHAR16);
    return BrowserCallback(&Size, Write.data(), false, Guid, Name);
  }

  // A whole read with the two-call idiom; the status of the second call.
  EFI_STATUS ReadAll(const EFI_GUID *Guid, const CHAR16 *Name, std::u16string *Out) {
    UINTN Size = 0;
    EFI_STATUS Status = BrowserCallback(&Size, nullptr, true, Guid, Name);
    if (Status != EFI_BUFFER_TOO_SMALL) {
      return Status;
    }
    std::vector<CHAR16> Buffer(Size / sizeof(CHAR16) + 1, u'#');
    Status = BrowserCallback(&Size, Buffer.data(), true, Guid, Name);
    if (!EFI_ERROR(Status)) {
      *Out = Buffer.data();
    }
    return Status;
  }
};

TEST_F(ServicesTest, LastKeyIsTheKeyBehindTheCallback) {
  struct Case {
    EFI_QUESTION_ID Question;
    const char *Keys;
    UINT16 ScanCode;
    CHAR16 Character;
  };
  // F5 and F6 stand as "-" and "+"; a blank that steps a one-of becomes "+".
  const Case Cases[] = {
      {Switch, "Enter", SCAN_NULL, CHAR_CARRIAGE_RETURN},
      {Switch, "Space", SCAN_NULL, u' '},
      {Mode, "F6", SCAN_NULL, u'+'},
      {Mode, "F5", SCAN_NULL, u'-'},
      {Mode, "Space", SCAN_NULL, u'+'},
      {Mode, "\"-\"", SCAN_NULL, u'-'},
  };
  PublishSetup();
  EFI_INPUT_KEY Seen = {};
  OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, EFI_IFR_TYPE_VALUE *) {
    if (Action == EFI_BROWSER_ACTION_CHANGING) {
      Seen = Services->LastKey.Key;
    }
  };
  SendSetup();
  for (const Case &Each : Cases) {
    MoveTo(Each.Question);
    Seen = {0xFFFF, 0xFFFF};
    Type(Each.Keys);
    EXPECT_EQ(Seen.ScanCode, Each.ScanCode) << Each.Keys << " on " << Each.Question;
    EXPECT_EQ(Seen.UnicodeChar, Each.Character) << Each.Keys << " on " << Each.Question;
  }
}

TEST_F(ServicesTest, NextQuestionIdMovesTheHighlightWhenItNamesAQuestion) {
  struct Case {
    UINT16 Next;
    EFI_QUESTION_ID Expected;
  };
  // 0 changes nothing, nor does an id no option of the form has.
  const Case Cases[] = {{Level, Level}, {0, Switch}, {0x7777, Switch}, {Last, Last}};
  PublishSetup();
  UINT16 Wanted = 0;
  std::vector<UINT16> SeenOnEntry;
  OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID Question, EFI_IFR_TYPE_VALUE *) {
    if (Question != Switch || Action == EFI_BROWSER_ACTION_RETRIEVE) {
      return;
    }
    SeenOnEntry.push_back(Services->NextQuestionId);
    if (Action == EFI_BROWSER_ACTION_CHANGED) {
      Services->NextQuestionId = Wanted;
    }
  };
  SendSetup();
  for (const Case &Each : Cases) {
    MoveTo(Switch);
    Wanted = Each.Next;
    SeenOnEntry.clear();
    // A value left behind is cleared before each Callback.
    Services->NextQuestionId = Mode;
    Type("Enter");
    EXPECT_EQ(Highlighted(), Each.Expected) << Each.Next << "\n" << ScreenText();
    EXPECT_EQ(SeenOnEntry, (std::vector<UINT16>{0, 0})) << Each.Next;
    EXPECT_EQ(Services->NextQuestionId, 0) << "taken by the browser";
  }
}

TEST_F(ServicesTest, SimpleMessageBoxesFromADriver) {
  PublishSetup();
  SendSetup();
  struct Case {
    UINT32 DefaultMask;
    UINT32 ButtonMask;
    const char *Keys;
    UINT32 Expected;
  };
  const Case Cases[] = {
      {0x04, 0x06, "Enter", 0x04}, // "No" is highlighted first
      {0x00, 0x06, "Enter", 0x02}, // no default: the first button
      {0x06, 0x06, "Enter", 0x04}, // two defaults: the highest bit
      {0x01, 0x1F, "Right Right Enter", 0x04},
      {0x10, 0x1F, "Right Enter", 0x01}, // Right wraps from "Cancel" to "OK"
      {0x04, 0x06, "Esc", 0},
      {0x04, 0x06, "Alt-x", 0},
      {0x00, 0x26, "Enter", 0x02}, // a bit above "Cancel" is no button
  };
  const CHAR16 *Lines[] = {u"The fan does not turn.", u"Continue anyway?"};
  for (const Case &Each : Cases) {
    UINT32 Result = 1234;
    std::string Shown;
    InCallback([&] {
      Result =
          Services->ShowSimpleMessageBox(nullptr, 0, 2, Lines, Each.DefaultMask, Each.ButtonMask);
    });
    ASSERT_TRUE(Shows("The fan does not turn.")) << Each.Keys << "\n" << ScreenText();
    Type(Each.Keys);
    EXPECT_EQ(Result, Each.Expected) << Each.ButtonMask << " " << Each.Keys;
    EXPECT_FALSE(Shows("The fan does not turn.")) << ScreenText();
  }
}

TEST_F(ServicesTest, SimpleMessageBoxButtonsComeInOneOrder) {
  PublishSetup();
  SendSetup();
  // Lines wide enough to give the five buttons room.
  const CHAR16 *Lines[] = {u"The fan of the processor does not turn at the expected speed.",
                           u"Second line"};
  InCallback([&] { Services->ShowSimpleMessageBox(u"Order", 0, 2, Lines, 0x10, 0x1F); });
  std::string Text = ScreenText();
  size_t Positions[] = {Text.find("[OK]"), Text.find("[Yes]"), Text.find("[No]"),
                        Text.find("[Retry]"), Text.find("[Cancel]")};
  for (size_t Index = 0; Index < 5; Index++) {
    ASSERT_NE(Positions[Index], std::string::npos) << Text;
    if (Index > 0) {
      EXPECT_LT(Positions[Index - 1], Positions[Index]) << Text;
    }
  }
  // Each of the lines ends a line of its own.
  size_t First = Text.find("expected speed.");
  size_t Second = Text.find("Second line");
  ASSERT_NE(First, std::string::npos);
  EXPECT_NE(Text.substr(First, Second - First).find('\n'), std::string::npos) << Text;
  ExpectScreen("services_simple_box_all_buttons");
  Type("Esc");
}

TEST_F(ServicesTest, SimpleMessageBoxTitlesAndColoursByType) {
  struct Case {
    const CHAR16 *Title;
    UINT32 Type;
    const char *Shown;
    UINT8 Attribute; // as the console keeps it, without the blink bit
  };
  const Case Cases[] = {
      {nullptr, 1, "Warning", 0x74}, {nullptr, 2, "Error", 0x74}, {nullptr, 0, "Notice", 0x71},
      {nullptr, 9, "Notice", 0x71},  {u"Fan", 1, "Fan", 0x74},
  };
  PublishSetup();
  SendSetup();
  const CHAR16 *Lines[] = {u"Something happened."};
  for (const Case &Each : Cases) {
    InCallback([&] { Services->ShowOkMessageBox(Each.Title, Each.Type, 1, Lines); });
    // The title stands between the box's top line and its rule.
    int TitleRow = -1;
    std::vector<std::string> Rows = ScreenRows();
    for (size_t Index = 1; Index + 1 < Rows.size(); Index++) {
      if (Rows[Index].find(Each.Shown) != std::string::npos &&
          Rows[Index - 1].find("┌") != std::string::npos &&
          Rows[Index + 1].find("├") != std::string::npos) {
        TitleRow = static_cast<int>(Index);
      }
    }
    ASSERT_GE(TitleRow, 0) << Each.Shown << "\n" << ScreenText();
    std::u16string Line = FromUtf8(Rows[TitleRow]);
    size_t Column = Line.find(FromUtf8(Each.Shown));
    EXPECT_EQ(Host().Screen().Cell(static_cast<UINT32>(Column), TitleRow).Attribute, Each.Attribute)
        << Each.Shown;
    Type("Enter");
  }
}

TEST_F(ServicesTest, OkAndCustomBoxesAndRefusedRequests) {
  PublishSetup();
  SendSetup();
  const CHAR16 *Lines[] = {u"Done."};
  const CHAR16 *Buttons[] = {u"Retry", u"Ignore", u"Abort"};
  auto Custom = [&] {
    return Services->ShowCustomMessageBox(u"Disk", u"  The disk is slow.  ", nullptr, 0xF1, 3, 1,
                                          Buttons);
  };
  auto Ok = [&] { return Services->ShowOkMessageBox(nullptr, 0, 1, Lines); };
  auto InRect = [&](std::array<UINT32, 4> Rect, UINT32 Count) {
    return [this, Rect, Count, &Buttons] {
      return CustomBoxIn(Rect, Count != 0 ? Buttons : nullptr, Count);
    };
  };
  const UINT32 Refused = 0xFFFFFFFFu;
  struct Case {
    const char *Name;
    std::function<UINT32()> Call;
    const char *Keys; // null: nothing is shown
    UINT32 Expected;
  };
  const Case Cases[] = {
      {"OK with Enter", Ok, "Enter", 1},
      {"OK with Esc", Ok, "Esc", 0},
      {"custom default", Custom, "Enter", 1},
      {"custom Left", Custom, "Left Enter", 0},
      {"custom Esc", Custom, "Esc", Refused},
      {"default outside the mask",
       [&] { return Services->ShowSimpleMessageBox(nullptr, 0, 1, Lines, 0x08, 0x06); }, nullptr,
       0},
      {"no lines", [&] { return Services->ShowSimpleMessageBox(nullptr, 0, 1, nullptr, 1, 1); },
       nullptr, 0},
      // A given rectangle must hold the frame, the title and its rule, a row of text and, with
      // buttons, the button row.
      {"a rectangle of three rows with a button", InRect({4, 40, 0, 2}, 1), nullptr, Refused},
      {"a rectangle with no row for text", InRect({4, 40, 6, 9}, 0), nullptr, Refused},
      {"a rectangle upside down", InRect({40, 4, 6, 14}, 0), nullptr, Refused},
      {"a rectangle below the screen", InRect({4, 40, 20, 30}, 0), nullptr, Refused},
  };
  for (const Case &Each : Cases) {
    UINT32 Result = 1234;
    bool Returned = false;
    std::string Before = ScreenText();
    InCallback([&] {
      Result = Each.Call();
      Returned = true;
    });
    if (Each.Keys == nullptr) {
      EXPECT_TRUE(Returned) << Each.Name << ": nothing waits";
    } else {
      EXPECT_FALSE(Returned) << Each.Name;
      Type(Each.Keys);
    }
    EXPECT_TRUE(Returned) << Each.Name;
    EXPECT_EQ(Result, Each.Expected) << Each.Name;
    if (Each.Keys == nullptr) {
      EXPECT_EQ(ScreenText(), Before) << Each.Name << ": nothing is painted";
    }
  }
}

TEST_F(ServicesTest, ACustomBoxInARectangle) {
  PublishSetup();
  SendSetup();
  const UINT32 Rect[] = {4, 40, 6, 14};
  const CHAR16 *Buttons[] = {u"OK"};
  InCallback([&] {
    Services->ShowCustomMessageBox(u"Placed", u"In a rectangle of the driver's choice.", Rect, 0xF1,
                                   1, 0, Buttons);
  });
  // The frame stands on the rectangle's edges.
  ExpectScreen("services_custom_box_in_rectangle");
  Type("Enter");
}

// The dialog itself is tested in dialog_test; here only that a driver reaches it.
TEST_F(ServicesTest, TheModalDialogFromADriver) {
  PublishSetup();
  SendSetup();
  EFI_INPUT_KEY Key = {};
  EFI_STATUS Status = EFI_NOT_STARTED;
  InCallback([&] {
    Status = Services->ShowDialog(3, TRUE, 0, nullptr, &Key, u"", u"Press a key to go on", u"");
  });
  EXPECT_TRUE(Shows("Press a key to go on")) << ScreenText();
  Type("F2");
  EXPECT_EQ(Status, EFI_SUCCESS);
  EXPECT_EQ(Key.ScanCode, SCAN_F2);
}

TEST_F(ServicesTest, AreaAttributesOfTheShownLayout) {
  PublishSetup();
  SendSetup();
  // The areas by their ids 0 to 4.
  const ScreenArea *Areas[] = {&Browser->MenuBarArea, &Browser->BodyArea, &Browser->HelpArea,
                               &Browser->FooterArea, &Browser->TitleArea};
  struct Answer {
    EFI_STATUS Status;
    std::vector<UINT32> Row;
    std::vector<UINT32> Rect;
  };
  std::vector<Answer> Answers;
  auto Query = [&](UINT32 Id, bool WithRow, bool WithRect) {
    UINT32 Row[20];
    UINT32 Rect[4];
    std::memset(Row, 0xEE, sizeof(Row));
    std::memset(Rect, 0xEE, sizeof(Rect));
    EFI_STATUS Status =
        Services->GetAreaAttributes(Id, WithRow ? Row : nullptr, WithRect ? Rect : nullptr);
    Answers.push_back({Status, {Row, Row + 20}, {Rect, Rect + 4}});
  };
  InCallback([&] {
    for (UINT32 Id = 0; Id < 5; Id++) {
      Query(Id, true, true);
    }
    // A null rectangle gives the row alone; a null row or an unknown area fails.
    Query(2, true, false);
    Query(2, false, true);
    Query(5, true, true);
    Query(0xFFFFFFFF, true, true);
  });
  ASSERT_EQ(Answers.size(), 9u);
  for (UINT32 Id = 0; Id < 5; Id++) {
    const ScreenRect &Client = Areas[Id]->Client;
    EXPECT_EQ(Answers[Id].Status, EFI_SUCCESS) << Id;
    EXPECT_EQ(Answers[Id].Row[0], Id) << "the layout row of the area";
    EXPECT_EQ(std::memcmp(Answers[Id].Row.data(), Areas[Id]->Row, 80), 0) << Id;
    EXPECT_EQ(Answers[Id].Rect,
              (std::vector<UINT32>{Client.Left, Client.Right, Client.Top, Client.Bottom}))
        << Id;
  }
  // The help text stands inside the frame drawn from column 54 to 79 and row 2 to 22.
  EXPECT_EQ(Answers[2].Rect, (std::vector<UINT32>{55, 78, 3, 21}));
  EXPECT_EQ(Answers[5].Status, EFI_SUCCESS);
  EXPECT_EQ(Answers[5].Row, Answers[2].Row);
  EXPECT_EQ(Answers[6].Status, EFI_INVALID_PARAMETER);
  EXPECT_EQ(Answers[7].Status, EFI_NOT_FOUND);
  EXPECT_EQ(Answers[8].Status, EFI_NOT_FOUND);
}

TEST_F(ServicesTest, ALayoutWithoutAHelpAreaHasNoHelpAttributes) {
  // No statement has help text: the form is shown in the layout without a help area.
  FormSetBuilder F(TestGuid(7), u"Plain", u"");
  F.Form();
  F.Action({F.StringId(u"Ask"), F.Help, Ask, 0, 0, EFI_IFR_FLAG_CALLBACK}, F.StringId(u"Go"));
  PublishedFormSet &Plain = Publish(F);
  std::vector<EFI_STATUS> Statuses;
  Plain.Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                                 EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action == EFI_BROWSER_ACTION_CHANGING) {
      UINT32 Row[20];
      Statuses.push_back(Services->GetAreaAttributes(2, Row, nullptr));
      Statuses.push_back(Services->GetAreaAttributes(1, Row, nullptr));
      UINTN Size = 0;
      // This form set has no varstore at all.
      Statuses.push_back(
          FormBrowser()->BrowserCallback(FormBrowser(), &Size, nullptr, TRUE, nullptr, nullptr));
    }
    return EFI_SUCCESS;
  };
  SendAndWait({Plain.Handle});
  Type("Enter");
  EXPECT_EQ(Statuses, (std::vector<EFI_STATUS>{EFI_NOT_FOUND, EFI_SUCCESS, EFI_UNSUPPORTED}));
}

TEST_F(ServicesTest, BrowserCallbackNeedsARunningSendForm) {
  PublishSetup();
  UINTN Size = 0;
  CHAR16 Data[4] = {};
  EXPECT_EQ(BrowserCallback(&Size, nullptr, true, nullptr, nullptr), EFI_NOT_READY);
  EXPECT_EQ(BrowserCallback(&Size, Data, false, &SetupGuid, u"Setup"), EFI_NOT_READY);
  // The arguments are checked first.
  EXPECT_EQ(BrowserCallback(nullptr, Data, true, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(BrowserCallback(&Size, nullptr, false, &SetupGuid, u"Setup"), EFI_INVALID_PARAMETER);
}

TEST_F(ServicesTest, BrowserCallbackRefusesWhatItCannotFind) {
  PublishSetup();
  SendSetup();
  const EFI_GUID Unknown = TestGuid(0x99);
  struct Case {
    const char *Name;
    UINTN *Size;
    bool Retrieve;
    const EFI_GUID *Guid;
    const CHAR16 *ItemName;
    EFI_STATUS Expected;
  };
  UINTN Size = 512;
  std::vector<CHAR16> Data(256, 0);
  const Case Cases[] = {
      {"null size", nullptr, true, &SetupGuid, u"Setup", EFI_INVALID_PARAMETER},
      {"unknown GUID", &Size, true, &Unknown, u"Setup", EFI_NOT_FOUND},
      {"buffer store without a name", &Size, true, &SetupGuid, nullptr, EFI_NOT_FOUND},
      {"buffer store of another name", &Size, true, &SetupGuid, u"Other", EFI_NOT_FOUND},
      {"write to an unknown GUID", &Size, false, &Unknown, u"Setup", EFI_NOT_FOUND},
  };
  std::vector<EFI_STATUS> Results;
  InCallback([&] {
    for (const Case &Each : Cases) {
      Results.push_back(
          BrowserCallback(Each.Size, Data.data(), Each.Retrieve, Each.Guid, Each.ItemName));
    }
  });
  ASSERT_EQ(Results.size(), std::size(Cases));
  for (size_t Index = 0; Index < Results.size(); Index++) {
    EXPECT_EQ(Results[Index], Cases[Index].Expected) << Cases[Index].Name;
  }
}

TEST_F(ServicesTest, BrowserCallbackReadsNothingFromAVariableStore) {
  FormSetBuilder F(TestGuid(8), u"Variables");
  // The variable store is the only one, so a read without a GUID finds it too.
  F.VarStoreEfi(1, TestGuid(8), 7, 1, "Counter");
  F.Form();
  F.Numeric(F.Question(u"Counter", u"In a variable", 0x90, 1, 0), EFI_IFR_NUMERIC_SIZE_1, 0, 9, 0);
  F.ActionWithCallback(u"Ask", u"Runs driver code", Ask);
  PublishedFormSet &Variables = Publish(F);
  // Its questions are read from the variable, not through requests: it has nothing to give.
  std::vector<EFI_STATUS> Statuses;
  std::vector<UINTN> Sizes;
  Variables.Driver->OnCallback = [&](EFI_BROWSER_ACTION Action, EFI_QUESTION_ID, UINT8,
                                     EFI_IFR_TYPE_VALUE *, EFI_BROWSER_ACTION_REQUEST *) {
    if (Action == EFI_BROWSER_ACTION_CHANGING) {
      const EFI_GUID Guid = TestGuid(8);
      for (const EFI_GUID *Which : {static_cast<const EFI_GUID *>(nullptr), &Guid}) {
        UINTN Size = 5;
        Statuses.push_back(BrowserCallback(&Size, nullptr, true, Which, nullptr));
        Sizes.push_back(Size);
      }
    }
    return EFI_SUCCESS;
  };
  SendAndWait({Variables.Handle});
  Type("Down Enter");
  EXPECT_EQ(Statuses, (std::vector<EFI_STATUS>{EFI_SUCCESS, EFI_SUCCESS}));
  EXPECT_EQ(Sizes, (std::vector<UINTN>{5, 5}));
}

TEST_F(ServicesTest, BrowserCallbackReadsTheEditCopy) {
  PublishSetup();
  SendSetup();
  // An edit the driver has not been given yet.
  MoveTo(Level);
  Type("F6 Enter");
  struct Read {
    EFI_STATUS Status;
    UINTN Size;
  };
  std::vector<Read> Reads;
  std::u16string Whole;
  std::u16string NoGuid;
  std::u16string Named;
  EFI_STATUS WholeStatus = EFI_NOT_STARTED;
  EFI_STATUS NoGuidStatus = EFI_NOT_STARTED;
  EFI_STATUS NamedStatus = EFI_NOT_STARTED;
  EFI_STATUS SpareStatus = EFI_NOT_STARTED;
  UINTN SpareSize = 77;
  CHAR16 Spare[4] = {u'#', u'#', u'#', 0};
  InCallback([&] {
    // Size 0 and no buffer: too small, and the size needed.
    UINTN Size = 0;
    EFI_STATUS Status = BrowserCallback(&Size, nullptr, true, &SetupGuid, u"Setup");
    Reads.push_back({Status, Size});
    UINTN Needed = Size;
    // Enough room but no buffer.
    Status = BrowserCallback(&Size, nullptr, true, &SetupGuid, u"Setup");
    Reads.push_back({Status, Size});
    // One character short.
    std::vector<CHAR16> Buffer(Needed, u'#');
    Size = Needed - 2;
    Status = BrowserCallback(&Size, Buffer.data(), true, &SetupGuid, u"Setup");
    Reads.push_back({Status, Size});
    WholeStatus = ReadAll(&SetupGuid, u"Setup", &Whole);
    NoGuidStatus = ReadAll(nullptr, nullptr, &NoGuid);
    NamedStatus = ReadAll(&NamedGuid, nullptr, &Named);
    SpareStatus = BrowserCallback(&SpareSize, Spare, true, &SpareGuid, u"Spare");
  });
  ASSERT_EQ(Reads.size(), 3u);
  EXPECT_EQ(Reads[0].Status, EFI_BUFFER_TOO_SMALL);
  ASSERT_EQ(WholeStatus, EFI_SUCCESS);
  EXPECT_EQ(Reads[0].Size, (Whole.size() + 1) * sizeof(CHAR16)) << Utf8(Whole);
  EXPECT_EQ(Reads[1].Status, EFI_INVALID_PARAMETER);
  EXPECT_EQ(Reads[1].Size, Reads[0].Size) << "the size needed is stored";
  EXPECT_EQ(Reads[2].Status, EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Reads[2].Size, Reads[0].Size);
  // The whole response, header first, with the edit copy's bytes.
  std::string Text = Utf8(Whole);
  EXPECT_EQ(Text.rfind("GUID=", 0), 0u) << Text;
  EXPECT_NE(Text.find("&NAME="), std::string::npos) << Text;
  EXPECT_NE(Text.find("&PATH="), std::string::npos) << Text;
  EXPECT_NE(Text.find("&OFFSET=2&WIDTH=1&VALUE=04&"), std::string::npos) << Text;
  EXPECT_EQ(SetupBytes()[2], 3) << "the driver still has its own value";
  // Without a GUID the first storage of the form set answers.
  EXPECT_EQ(NoGuidStatus, EFI_SUCCESS);
  EXPECT_EQ(NoGuid, Whole);
  // A name-value store is found by its GUID alone.
  EXPECT_EQ(NamedStatus, EFI_SUCCESS);
  EXPECT_NE(Utf8(Named).find("&Volume=07"), std::string::npos) << Utf8(Named);
  // A store no question uses has nothing to read.
  EXPECT_EQ(SpareStatus, EFI_SUCCESS);
  EXPECT_EQ(SpareSize, 77u);
  EXPECT_EQ(U16(Spare), u"###");
}

TEST_F(ServicesTest, WritesThatReachNoBufferStoreChangeNothingButCountAsAnEdit) {
  struct Case {
    const char *Name;
    const EFI_GUID *Guid;
    const CHAR16 *ItemName;
  };
  // A name-value store is found but only buffer stores are written; without a GUID and a
  // name no store is written at all.
  const Case Cases[] = {{"name-value store", &NamedGuid, nullptr}, {"no GUID", nullptr, nullptr}};
  PublishSetup();
  for (const Case &Each : Cases) {
    AskRequest = EFI_BROWSER_ACTION_REQUEST_NONE;
    SendSetup();
    EFI_STATUS Status = EFI_NOT_STARTED;
    InCallback([&] {
      Status = WriteAfterHeader(Each.Guid, Each.ItemName, u"&Volume=", u"&Volume=09", &NamedGuid);
    });
    EXPECT_EQ(Status, EFI_SUCCESS) << Each.Name;
    EXPECT_TRUE(Shows("Named   [ 7]")) << Each.Name << "\n" << ScreenText();
    // The form counts as modified: leaving asks whether to save.
    AskRequest = EFI_BROWSER_ACTION_REQUEST_EXIT;
    Type("Enter");
    EXPECT_TRUE(Shows("Configuration has not been saved!")) << Each.Name << "\n" << ScreenText();
    Type("Right Enter");
    ASSERT_TRUE(Finished()) << Each.Name;
    EXPECT_EQ((*Set->Driver->NameValues(NamedGuid))[u"Volume"], u"07") << Each.Name;
    EXPECT_EQ(SetupBytes(), (std::vector<uint8_t>{0, 1, 3, 0})) << Each.Name;
  }
}

// A write reaches the edit copy, shown at once, and every copy of the varstore: two form
// sets, each with its own driver, share the Setup varstore. The drivers have it on save.
TEST_F(ServicesTest, BrowserCallbackWritesEveryEditCopyOfTheVarstore) {
  PublishSetup(TestGuid(1));
  PublishedFormSet *First = Set;
  PublishSetup(TestGuid(2));
  PublishedFormSet *Second = Set;
  // Only the first is a tab, and the notified page.
  Second->Page.reset();
  Set = First;
  SendAndWait({First->Handle, Second->Handle});
  EFI_STATUS Status = EFI_NOT_STARTED;
  InCallback([&] {
    Status =
        WriteAfterHeader(&SetupGuid, u"Setup", u"&OFFSET=", u"&OFFSET=0002&WIDTH=0001&VALUE=2a");
  });
  EXPECT_EQ(Status, EFI_SUCCESS);
  MoveTo(Level);
  EXPECT_NE(Row(4 + 2).find("[42]"), std::string::npos) << ScreenText();
  EXPECT_EQ(SetupBytes()[2], 3);
  SaveAndLeave();
  EXPECT_EQ((*First->Driver->Buffer(SetupGuid, u"Setup"))[2], 42);
  EXPECT_EQ((*Second->Driver->Buffer(SetupGuid, u"Setup"))[2], 42);
}

} // namespace
} // namespace morvane::test
