// Human Interface Infrastructure: packages, string blocks and the HII protocols
// (UEFI specification sections 33 "HII Overview" and 34 "HII Protocols").
#pragma once

#include "uefi/base.h"
#include "uefi/device_path.h"
#include "uefi/graphics.h"
#include "uefi/ifr.h"

typedef VOID *EFI_HII_HANDLE;
typedef CHAR16 *EFI_STRING;

// Package list and package headers (33.3.1).
#pragma pack(push, 1)
typedef struct {
  EFI_GUID PackageListGuid;
  UINT32 PackageLength;
} EFI_HII_PACKAGE_LIST_HEADER;

// Length in bits 0-23, type in bits 24-31, read as one little-endian u32.
typedef struct {
  UINT32 LengthAndType;
} EFI_HII_PACKAGE_HEADER;
#pragma pack(pop)
static_assert(sizeof(EFI_HII_PACKAGE_LIST_HEADER) == 20);
static_assert(sizeof(EFI_HII_PACKAGE_HEADER) == 4);

#define EFI_HII_PACKAGE_TYPE_ALL 0x00
#define EFI_HII_PACKAGE_TYPE_GUID 0x01
#define EFI_HII_PACKAGE_FORMS 0x02
#define EFI_HII_PACKAGE_STRINGS 0x04
#define EFI_HII_PACKAGE_FONTS 0x05
#define EFI_HII_PACKAGE_IMAGES 0x06
#define EFI_HII_PACKAGE_SIMPLE_FONTS 0x07
#define EFI_HII_PACKAGE_DEVICE_PATH 0x08
#define EFI_HII_PACKAGE_KEYBOARD_LAYOUT 0x09
#define EFI_HII_PACKAGE_ANIMATIONS 0x0A
#define EFI_HII_PACKAGE_END 0xDF
#define EFI_HII_PACKAGE_TYPE_SYSTEM_BEGIN 0xE0
#define EFI_HII_PACKAGE_TYPE_SYSTEM_END 0xFF

// String package (33.3.6).
#pragma pack(push, 1)
typedef struct {
  EFI_HII_PACKAGE_HEADER Header;
  UINT32 HdrSize;
  UINT32 StringInfoOffset;
  CHAR16 LanguageWindow[16];
  EFI_STRING_ID LanguageName;
  CHAR8 Language[1]; // ASCII, null-terminated, of any length
} EFI_HII_STRING_PACKAGE_HDR;
#pragma pack(pop)
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, HdrSize) == 4);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, LanguageWindow) == 12);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, LanguageName) == 44);
static_assert(offsetof(EFI_HII_STRING_PACKAGE_HDR, Language) == 46);

// String block types (33.3.6.2).
#define EFI_HII_SIBT_END 0x00
#define EFI_HII_SIBT_STRING_SCSU 0x10
#define EFI_HII_SIBT_STRING_SCSU_FONT 0x11
#define EFI_HII_SIBT_STRINGS_SCSU 0x12
#define EFI_HII_SIBT_STRINGS_SCSU_FONT 0x13
#define EFI_HII_SIBT_STRING_UCS2 0x14
#define EFI_HII_SIBT_STRING_UCS2_FONT 0x15
#define EFI_HII_SIBT_STRINGS_UCS2 0x16
#define EFI_HII_SIBT_STRINGS_UCS2_FONT 0x17
#define EFI_HII_SIBT_DUPLICATE 0x20
#define EFI_HII_SIBT_SKIP2 0x21
#define EFI_HII_SIBT_SKIP1 0x22
#define EFI_HII_SIBT_EXT1 0x30
#define EFI_HII_SIBT_EXT2 0x31
#define EFI_HII_SIBT_EXT4 0x32
#define EFI_HII_SIBT_FONT 0x40

// Block layouts, by byte offset from the block type byte:
//   STRING_SCSU           0 type, 1.. ASCII text and NUL
//   STRING_SCSU_FONT      0 type, 1 font id, 2.. text and NUL
//   STRINGS_SCSU          0 type, 1 u16 count, 3.. count texts each with NUL
//   STRINGS_SCSU_FONT     0 type, 1 font id, 2 u16 count, 4.. texts
//   STRING_UCS2           0 type, 1.. UCS-2 text and NUL (unaligned)
//   STRING_UCS2_FONT      0 type, 1 font id, 2.. UCS-2 text and NUL
//   STRINGS_UCS2          0 type, 1 u16 count, 3.. texts
//   STRINGS_UCS2_FONT     0 type, 1 font id, 2 u16 count, 4.. texts
//   DUPLICATE             0 type, 1 u16 string id
//   SKIP2                 0 type, 1 u16 count;  SKIP1: 0 type, 1 u8 count
//   EXT1                  0 type, 1 block type 2, 2 u8 length of the whole block
//   EXT2                  0 type, 1 block type 2, 2 u16 length
//   EXT4                  0 type, 1 block type 2, 2 u32 length
//   FONT (inside EXT2)    4 font id, 5 u16 font size, 7 u32 font style, 11.. UCS-2 font name
#define EFI_HII_SIBT_EXT1_HEADER_SIZE 3
#define EFI_HII_SIBT_EXT2_HEADER_SIZE 4
#define EFI_HII_SIBT_EXT4_HEADER_SIZE 6

// Form package (33.3.8): a package header followed by IFR opcodes.
typedef struct {
  EFI_HII_PACKAGE_HEADER Header;
} EFI_HII_FORM_PACKAGE_HDR;

// Font information, passed through only.
typedef UINT32 EFI_HII_FONT_STYLE;
typedef struct {
  EFI_HII_FONT_STYLE FontStyle;
  UINT16 FontSize;
  CHAR16 FontName[1];
} EFI_FONT_INFO;

// HII Database Protocol (34.8).
#define EFI_HII_DATABASE_PROTOCOL_GUID                                                             \
  {                                                                                                \
    0xef9fc172, 0xa1b2, 0x4693, {                                                                  \
      0xb3, 0x27, 0x6d, 0x32, 0xfc, 0x41, 0x60, 0x42                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiDatabaseProtocolGuid = EFI_HII_DATABASE_PROTOCOL_GUID;

typedef UINTN EFI_HII_DATABASE_NOTIFY_TYPE;
#define EFI_HII_DATABASE_NOTIFY_NEW_PACK 0x00000001
#define EFI_HII_DATABASE_NOTIFY_REMOVE_PACK 0x00000002
#define EFI_HII_DATABASE_NOTIFY_EXPORT_PACK 0x00000004
#define EFI_HII_DATABASE_NOTIFY_ADD_PACK 0x00000008

typedef struct {
  UINT16 LayoutLength;
  EFI_GUID Guid;
  UINT32 LayoutDescriptorStringOffset;
  UINT8 DescriptorCount;
} EFI_HII_KEYBOARD_LAYOUT;

struct EFI_HII_DATABASE_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_NOTIFY)(UINT8 PackageType, const EFI_GUID *PackageGuid,
                                                    const EFI_HII_PACKAGE_HEADER *Package,
                                                    EFI_HII_HANDLE Handle,
                                                    EFI_HII_DATABASE_NOTIFY_TYPE NotifyType);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_NEW_PACK)(
    const EFI_HII_DATABASE_PROTOCOL *This, const EFI_HII_PACKAGE_LIST_HEADER *PackageList,
    EFI_HANDLE DriverHandle, EFI_HII_HANDLE *Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REMOVE_PACK)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                         EFI_HII_HANDLE Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UPDATE_PACK)(
    const EFI_HII_DATABASE_PROTOCOL *This, EFI_HII_HANDLE Handle,
    const EFI_HII_PACKAGE_LIST_HEADER *PackageList);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_LIST_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        UINT8 PackageType,
                                                        const EFI_GUID *PackageGuid,
                                                        UINTN *HandleBufferLength,
                                                        EFI_HII_HANDLE *Handle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_EXPORT_PACKS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          EFI_HII_HANDLE Handle, UINTN *BufferSize,
                                                          EFI_HII_PACKAGE_LIST_HEADER *Buffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_REGISTER_NOTIFY)(
    const EFI_HII_DATABASE_PROTOCOL *This, UINT8 PackageType, const EFI_GUID *PackageGuid,
    EFI_HII_DATABASE_NOTIFY PackageNotifyFn, EFI_HII_DATABASE_NOTIFY_TYPE NotifyType,
    EFI_HANDLE *NotifyHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_UNREGISTER_NOTIFY)(
    const EFI_HII_DATABASE_PROTOCOL *This, EFI_HANDLE NotificationHandle);
typedef EFI_STATUS(EFIAPI *EFI_HII_FIND_KEYBOARD_LAYOUTS)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                          UINT16 *KeyGuidBufferLength,
                                                          EFI_GUID *KeyGuidBuffer);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        const EFI_GUID *KeyGuid,
                                                        UINT16 *KeyboardLayoutLength,
                                                        EFI_HII_KEYBOARD_LAYOUT *KeyboardLayout);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_KEYBOARD_LAYOUT)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                        const EFI_GUID *KeyGuid);
typedef EFI_STATUS(EFIAPI *EFI_HII_DATABASE_GET_PACK_HANDLE)(const EFI_HII_DATABASE_PROTOCOL *This,
                                                             EFI_HII_HANDLE PackageListHandle,
                                                             EFI_HANDLE *DriverHandle);

struct EFI_HII_DATABASE_PROTOCOL {
  EFI_HII_DATABASE_NEW_PACK NewPackageList;
  EFI_HII_DATABASE_REMOVE_PACK RemovePackageList;
  EFI_HII_DATABASE_UPDATE_PACK UpdatePackageList;
  EFI_HII_DATABASE_LIST_PACKS ListPackageLists;
  EFI_HII_DATABASE_EXPORT_PACKS ExportPackageLists;
  EFI_HII_DATABASE_REGISTER_NOTIFY RegisterPackageNotify;
  EFI_HII_DATABASE_UNREGISTER_NOTIFY UnregisterPackageNotify;
  EFI_HII_FIND_KEYBOARD_LAYOUTS FindKeyboardLayouts;
  EFI_HII_GET_KEYBOARD_LAYOUT GetKeyboardLayout;
  EFI_HII_SET_KEYBOARD_LAYOUT SetKeyboardLayout;
  EFI_HII_DATABASE_GET_PACK_HANDLE GetPackageListHandle;
};

// HII String Protocol (34.3).
#define EFI_HII_STRING_PROTOCOL_GUID                                                               \
  {                                                                                                \
    0x0fd96974, 0x23aa, 0x4cdc, {                                                                  \
      0xb9, 0xcb, 0x98, 0xd1, 0x77, 0x50, 0x32, 0x2a                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiStringProtocolGuid = EFI_HII_STRING_PROTOCOL_GUID;

struct EFI_HII_STRING_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_NEW_STRING)(const EFI_HII_STRING_PROTOCOL *This,
                                               EFI_HII_HANDLE PackageList, EFI_STRING_ID *StringId,
                                               const CHAR8 *Language, const CHAR16 *LanguageName,
                                               const CHAR16 *String,
                                               const EFI_FONT_INFO *StringFontInfo);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_STRING)(const EFI_HII_STRING_PROTOCOL *This,
                                               const CHAR8 *Language, EFI_HII_HANDLE PackageList,
                                               EFI_STRING_ID StringId, EFI_STRING String,
                                               UINTN *StringSize, EFI_FONT_INFO **StringFontInfo);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_STRING)(const EFI_HII_STRING_PROTOCOL *This,
                                               EFI_HII_HANDLE PackageList, EFI_STRING_ID StringId,
                                               const CHAR8 *Language, const CHAR16 *String,
                                               const EFI_FONT_INFO *StringFontInfo);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_LANGUAGES)(const EFI_HII_STRING_PROTOCOL *This,
                                                  EFI_HII_HANDLE PackageList, CHAR8 *Languages,
                                                  UINTN *LanguagesSize);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_2ND_LANGUAGES)(const EFI_HII_STRING_PROTOCOL *This,
                                                      EFI_HII_HANDLE PackageList,
                                                      const CHAR8 *PrimaryLanguage,
                                                      CHAR8 *SecondaryLanguages,
                                                      UINTN *SecondaryLanguagesSize);

struct EFI_HII_STRING_PROTOCOL {
  EFI_HII_NEW_STRING NewString;
  EFI_HII_GET_STRING GetString;
  EFI_HII_SET_STRING SetString;
  EFI_HII_GET_LANGUAGES GetLanguages;
  EFI_HII_GET_2ND_LANGUAGES GetSecondaryLanguages;
};

// HII Image and Font protocols: required to be present, never called here (34.2, 34.4).
#define EFI_HII_IMAGE_PROTOCOL_GUID                                                                \
  {                                                                                                \
    0x31a6406a, 0x6bdf, 0x4e46, {                                                                  \
      0xb2, 0xa2, 0xeb, 0xaa, 0x89, 0xc4, 0x09, 0x20                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiImageProtocolGuid = EFI_HII_IMAGE_PROTOCOL_GUID;

#define EFI_HII_FONT_PROTOCOL_GUID                                                                 \
  {                                                                                                \
    0xe9ca4775, 0x8657, 0x47fc, {                                                                  \
      0x97, 0xe7, 0x7e, 0xd6, 0x5a, 0x08, 0x43, 0x24                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiFontProtocolGuid = EFI_HII_FONT_PROTOCOL_GUID;

typedef UINT32 EFI_HII_DRAW_FLAGS;
typedef UINT32 EFI_HII_OUT_FLAGS;
typedef UINT32 EFI_FONT_INFO_MASK;
typedef VOID *EFI_FONT_HANDLE;

typedef struct {
  UINT32 Flags;
  UINT16 Width;
  UINT16 Height;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Bitmap;
} EFI_IMAGE_INPUT;

typedef struct {
  UINT16 Width;
  UINT16 Height;
  union {
    EFI_GRAPHICS_OUTPUT_BLT_PIXEL *Bitmap;
    struct EFI_GRAPHICS_OUTPUT_PROTOCOL *Screen;
  } Image;
} EFI_IMAGE_OUTPUT;

typedef struct {
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL ForegroundColor;
  EFI_GRAPHICS_OUTPUT_BLT_PIXEL BackgroundColor;
  EFI_FONT_INFO_MASK FontInfoMask;
  EFI_FONT_INFO FontInfo;
} EFI_FONT_DISPLAY_INFO;

typedef struct {
  UINTN StartIndex;
  UINTN EndIndex;
  UINTN LineHeight;
  UINTN LineWidth;
  UINTN BaselineOffset;
} EFI_HII_ROW_INFO;

struct EFI_HII_IMAGE_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_NEW_IMAGE)(const EFI_HII_IMAGE_PROTOCOL *This,
                                              EFI_HII_HANDLE PackageList, EFI_IMAGE_ID *ImageId,
                                              const EFI_IMAGE_INPUT *Image);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_IMAGE)(const EFI_HII_IMAGE_PROTOCOL *This,
                                              EFI_HII_HANDLE PackageList, EFI_IMAGE_ID ImageId,
                                              EFI_IMAGE_INPUT *Image);
typedef EFI_STATUS(EFIAPI *EFI_HII_SET_IMAGE)(const EFI_HII_IMAGE_PROTOCOL *This,
                                              EFI_HII_HANDLE PackageList, EFI_IMAGE_ID ImageId,
                                              const EFI_IMAGE_INPUT *Image);
typedef EFI_STATUS(EFIAPI *EFI_HII_DRAW_IMAGE)(const EFI_HII_IMAGE_PROTOCOL *This,
                                               EFI_HII_DRAW_FLAGS Flags,
                                               const EFI_IMAGE_INPUT *Image, EFI_IMAGE_OUTPUT **Blt,
                                               UINTN BltX, UINTN BltY);
typedef EFI_STATUS(EFIAPI *EFI_HII_DRAW_IMAGE_ID)(const EFI_HII_IMAGE_PROTOCOL *This,
                                                  EFI_HII_DRAW_FLAGS Flags,
                                                  EFI_HII_HANDLE PackageList, EFI_IMAGE_ID ImageId,
                                                  EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY);

struct EFI_HII_IMAGE_PROTOCOL {
  EFI_HII_NEW_IMAGE NewImage;
  EFI_HII_GET_IMAGE GetImage;
  EFI_HII_SET_IMAGE SetImage;
  EFI_HII_DRAW_IMAGE DrawImage;
  EFI_HII_DRAW_IMAGE_ID DrawImageId;
};

struct EFI_HII_FONT_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_STRING_TO_IMAGE)(
    const EFI_HII_FONT_PROTOCOL *This, EFI_HII_OUT_FLAGS Flags, const EFI_STRING String,
    const EFI_FONT_DISPLAY_INFO *StringInfo, EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY,
    EFI_HII_ROW_INFO **RowInfoArray, UINTN *RowInfoArraySize, UINTN *ColumnInfoArray);
typedef EFI_STATUS(EFIAPI *EFI_HII_STRING_ID_TO_IMAGE)(
    const EFI_HII_FONT_PROTOCOL *This, EFI_HII_OUT_FLAGS Flags, EFI_HII_HANDLE PackageList,
    EFI_STRING_ID StringId, const CHAR8 *Language, const EFI_FONT_DISPLAY_INFO *StringInfo,
    EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY, EFI_HII_ROW_INFO **RowInfoArray,
    UINTN *RowInfoArraySize, UINTN *ColumnInfoArray);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_GLYPH)(const EFI_HII_FONT_PROTOCOL *This, CHAR16 Char,
                                              const EFI_FONT_DISPLAY_INFO *StringInfo,
                                              EFI_IMAGE_OUTPUT **Blt, UINTN *Baseline);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_FONT_INFO)(const EFI_HII_FONT_PROTOCOL *This,
                                                  EFI_FONT_HANDLE *FontHandle,
                                                  const EFI_FONT_DISPLAY_INFO *StringInfoIn,
                                                  EFI_FONT_DISPLAY_INFO **StringInfoOut,
                                                  const EFI_STRING String);

struct EFI_HII_FONT_PROTOCOL {
  EFI_HII_STRING_TO_IMAGE StringToImage;
  EFI_HII_STRING_ID_TO_IMAGE StringIdToImage;
  EFI_HII_GET_GLYPH GetGlyph;
  EFI_HII_GET_FONT_INFO GetFontInfo;
};

// HII Configuration Routing Protocol (35.4).
#define EFI_HII_CONFIG_ROUTING_PROTOCOL_GUID                                                       \
  {                                                                                                \
    0x587e72d7, 0xcc50, 0x4f79, {                                                                  \
      0x82, 0x09, 0xca, 0x29, 0x1f, 0xc1, 0xa1, 0x0f                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiConfigRoutingProtocolGuid = EFI_HII_CONFIG_ROUTING_PROTOCOL_GUID;

struct EFI_HII_CONFIG_ROUTING_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_EXTRACT_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                   const CHAR16 *Request, EFI_STRING *Progress,
                                                   EFI_STRING *Results);
typedef EFI_STATUS(EFIAPI *EFI_HII_EXPORT_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                  EFI_STRING *Results);
typedef EFI_STATUS(EFIAPI *EFI_HII_ROUTE_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                 const CHAR16 *Configuration, EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_BLOCK_TO_CONFIG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                    const CHAR16 *ConfigRequest, const UINT8 *Block,
                                                    UINTN BlockSize, EFI_STRING *Config,
                                                    EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_CONFIG_TO_BLOCK)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                    const CHAR16 *ConfigResp, UINT8 *Block,
                                                    UINTN *BlockSize, EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_GET_ALT_CFG)(const EFI_HII_CONFIG_ROUTING_PROTOCOL *This,
                                                const CHAR16 *ConfigResp, const EFI_GUID *Guid,
                                                const CHAR16 *Name,
                                                const EFI_DEVICE_PATH_PROTOCOL *DevicePath,
                                                const UINT16 *AltCfgId, EFI_STRING *AltCfgResp);

struct EFI_HII_CONFIG_ROUTING_PROTOCOL {
  EFI_HII_EXTRACT_CONFIG ExtractConfig;
  EFI_HII_EXPORT_CONFIG ExportConfig;
  EFI_HII_ROUTE_CONFIG RouteConfig;
  EFI_HII_BLOCK_TO_CONFIG BlockToConfig;
  EFI_HII_CONFIG_TO_BLOCK ConfigToBlock;
  EFI_HII_GET_ALT_CFG GetAltConfig;
};

// HII Configuration Access Protocol (35.5).
#define EFI_HII_CONFIG_ACCESS_PROTOCOL_GUID                                                        \
  {                                                                                                \
    0x330d4706, 0xf2a0, 0x4e4f, {                                                                  \
      0xa3, 0x69, 0xb6, 0x6f, 0xa8, 0xd5, 0x43, 0x85                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiConfigAccessProtocolGuid = EFI_HII_CONFIG_ACCESS_PROTOCOL_GUID;

typedef UINTN EFI_BROWSER_ACTION;
#define EFI_BROWSER_ACTION_CHANGING 0
#define EFI_BROWSER_ACTION_CHANGED 1
#define EFI_BROWSER_ACTION_RETRIEVE 2
#define EFI_BROWSER_ACTION_FORM_OPEN 3
#define EFI_BROWSER_ACTION_FORM_CLOSE 4
#define EFI_BROWSER_ACTION_SUBMITTED 5

typedef UINTN EFI_BROWSER_ACTION_REQUEST;
#define EFI_BROWSER_ACTION_REQUEST_NONE 0
#define EFI_BROWSER_ACTION_REQUEST_RESET 1
#define EFI_BROWSER_ACTION_REQUEST_SUBMIT 2
#define EFI_BROWSER_ACTION_REQUEST_EXIT 3
#define EFI_BROWSER_ACTION_REQUEST_FORM_SUBMIT_EXIT 4
#define EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD_EXIT 5
#define EFI_BROWSER_ACTION_REQUEST_FORM_APPLY 6
#define EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD 7
#define EFI_BROWSER_ACTION_REQUEST_RECONNECT 8

struct EFI_HII_CONFIG_ACCESS_PROTOCOL;

typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_EXTRACT_CONFIG)(
    const EFI_HII_CONFIG_ACCESS_PROTOCOL *This, const CHAR16 *Request, EFI_STRING *Progress,
    EFI_STRING *Results);
typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_ROUTE_CONFIG)(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                                        const CHAR16 *Configuration,
                                                        EFI_STRING *Progress);
typedef EFI_STATUS(EFIAPI *EFI_HII_ACCESS_FORM_CALLBACK)(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                                         EFI_BROWSER_ACTION Action,
                                                         EFI_QUESTION_ID QuestionId, UINT8 Type,
                                                         EFI_IFR_TYPE_VALUE *Value,
                                                         EFI_BROWSER_ACTION_REQUEST *ActionRequest);

struct EFI_HII_CONFIG_ACCESS_PROTOCOL {
  EFI_HII_ACCESS_EXTRACT_CONFIG ExtractConfig;
  EFI_HII_ACCESS_ROUTE_CONFIG RouteConfig;
  EFI_HII_ACCESS_FORM_CALLBACK Callback;
};

// Class GUID of the platform's setup form sets (33.2.11.1).
#define EFI_HII_PLATFORM_SETUP_FORMSET_GUID                                                        \
  {                                                                                                \
    0x93039971, 0x8545, 0x4b04, {                                                                  \
      0xb4, 0x5e, 0x32, 0xeb, 0x83, 0x26, 0x04, 0x0e                                               \
    }                                                                                              \
  }
inline constexpr EFI_GUID gEfiHiiPlatformSetupFormsetGuid = EFI_HII_PLATFORM_SETUP_FORMSET_GUID;
