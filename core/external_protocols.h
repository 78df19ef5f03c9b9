// Protocols of the outside components the browser calls or watches but does not own: page
// providers and the page list, screen layouts and the form-style table, the refresh
// notification, the notified page and the speaker. The browser relies only on what passes at
// each call; whoever installs them owns the records.
#pragma once

#include "uefi/hii.h"

// Speaker: the browser calls the first operation with (interface, 1, 250000, 125000).
#define SPEAKER_INTERFACE_PROTOCOL_GUID                                                            \
  {                                                                                                \
    0x400b4476, 0x3081, 0x11d6, {                                                                  \
      0x87, 0xed, 0x00, 0x06, 0x29, 0x45, 0xc3, 0xb9                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gSpeakerInterfaceProtocolGuid = SPEAKER_INTERFACE_PROTOCOL_GUID;

struct SPEAKER_INTERFACE_PROTOCOL;
// Sounds NumberOfBeeps beeps of BeepDuration microseconds, TimeInterval microseconds apart.
typedef EFI_STATUS(EFIAPI *SPEAKER_GENERATE_BEEP)(SPEAKER_INTERFACE_PROTOCOL *This,
                                                  UINTN NumberOfBeeps, UINTN BeepDuration,
                                                  UINTN TimeInterval);
// Sets the tone in hertz.
typedef EFI_STATUS(EFIAPI *SPEAKER_SET_FREQUENCY)(SPEAKER_INTERFACE_PROTOCOL *This,
                                                  UINT16 Frequency);
struct SPEAKER_INTERFACE_PROTOCOL {
  SPEAKER_GENERATE_BEEP GenerateBeep;
  SPEAKER_SET_FREQUENCY SetFrequency;
};

// Only watched: each installation asks the browser to re-read its strings and repaint.
#define REFRESH_NOTIFY_PROTOCOL_GUID                                                               \
  {                                                                                                \
    0x217156ca, 0x424f, 0x4b32, {                                                                  \
      0x86, 0xee, 0xb5, 0xe0, 0x45, 0x5e, 0xd8, 0x5e                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gRefreshNotifyProtocolGuid = REFRESH_NOTIFY_PROTOCOL_GUID;

// A page provider: one tab of the menu bar. Installed under a page GUID of the page list.
// The browser reads the three fields behind a first u32 that it does not read.
struct PAGE_PROVIDER_PROTOCOL {
  UINT32 Revision;
  EFI_STRING_ID TitleStringId;
  EFI_STRING_ID HelpStringId;
  EFI_HII_HANDLE Handle;
};

// Replaces the default page list: its interface begins with a pointer to a GUID array ended by
// the all-zero GUID.
#define PAGE_LIST_PROTOCOL_GUID                                                                    \
  {                                                                                                \
    0xf5261e18, 0xf373, 0x40ba, {                                                                  \
      0x87, 0xfd, 0x7f, 0x1c, 0x30, 0x0c, 0xbb, 0xff                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gPageListProtocolGuid = PAGE_LIST_PROTOCOL_GUID;

struct PAGE_LIST_PROTOCOL {
  const EFI_GUID *Pages;
};

// The default page list, in tab order. The fourth page is also the notified page, and the fifth
// the form set that Esc on a top form leads to.
inline constexpr EFI_GUID gDefaultPageGuids[] = {
    {0x821d8b77, 0x246d, 0x4e96, {0x8e, 0x10, 0x34, 0x67, 0xd5, 0x6a, 0xb1, 0xbb}},
    {0x821d8b77, 0x246d, 0x4e96, {0x8e, 0x10, 0x34, 0x67, 0xd5, 0x6a, 0xb1, 0xba}},
    {0xef6619ee, 0xf77d, 0x4a8c, {0x86, 0x93, 0xd6, 0x0d, 0x6a, 0xa5, 0x67, 0x02}},
    {0x348ca223, 0x637b, 0x4430, {0xba, 0xf3, 0x1c, 0xe5, 0xd3, 0x22, 0xb3, 0xfd}},
    {0x687a830d, 0x55fb, 0x415a, {0x95, 0x20, 0x18, 0x27, 0x89, 0x35, 0x32, 0x84}},
    {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}},
};

// The page provider told of global actions through NotifyCode of the browser services.
inline constexpr EFI_GUID gNotifiedPageProtocolGuid = gDefaultPageGuids[3];
// The form set that Esc on a top form leads to.
inline constexpr EFI_GUID gExitPageGuid = gDefaultPageGuids[4];

// Screen layouts: the interface is the layout block itself (see screen/layout.h for its rows).
#define SCREEN_LAYOUT_PROTOCOL_GUID                                                                \
  {                                                                                                \
    0x7d4328be, 0x0350, 0x4e06, {                                                                  \
      0x9e, 0xa5, 0x95, 0xca, 0x09, 0xa9, 0x42, 0x67                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gScreenLayoutProtocolGuid = SCREEN_LAYOUT_PROTOCOL_GUID;

// A layout that refuses the defaults and save keys (F9, F10) and repaints its frame each time.
#define NO_DEFAULTS_LAYOUT_GUID                                                                    \
  {                                                                                                \
    0x7f529fa2, 0x1e6d, 0x44f6, {                                                                  \
      0xaa, 0x11, 0x0d, 0x48, 0x12, 0xe2, 0x91, 0x10                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gNoDefaultsLayoutGuid = NO_DEFAULTS_LAYOUT_GUID;

// The layout for forms without help text (style 2).
#define NO_HELP_LAYOUT_GUID                                                                        \
  {                                                                                                \
    0xca51359c, 0x2c4f, 0x4a9a, {                                                                  \
      0x80, 0x04, 0x43, 0x47, 0x69, 0x42, 0x45, 0xc8                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gNoHelpLayoutGuid = NO_HELP_LAYOUT_GUID;

// The table of form styles: rows of (style, layout GUID), ended by a style above 0xFFFE.
#define FORM_STYLE_TABLE_PROTOCOL_GUID                                                             \
  {                                                                                                \
    0x8cad1c04, 0xfa2e, 0x4a4f, {                                                                  \
      0xa4, 0xbe, 0x19, 0x9c, 0x00, 0x78, 0x01, 0xb4                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gFormStyleTableProtocolGuid = FORM_STYLE_TABLE_PROTOCOL_GUID;

#pragma pack(push, 1)
struct FORM_STYLE_ROW {
  UINT16 StyleId;
  UINT16 Reserved;
  EFI_GUID LayoutGuid;
};
#pragma pack(pop)
static_assert(sizeof(FORM_STYLE_ROW) == 20);
#define FORM_STYLE_END 0xFFFF
