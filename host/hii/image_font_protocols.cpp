// EFI_HII_IMAGE_PROTOCOL and EFI_HII_FONT_PROTOCOL. This platform shows text on a character
// console and keeps no images or glyphs; a browser checks that the protocols are present
// before it starts and never calls them, so every service answers EFI_UNSUPPORTED.
#include "host/hii/hii_services.h"

namespace morvane::host {

namespace {

// NewImage: no image store.
EFI_STATUS EFIAPI NewImage(const EFI_HII_IMAGE_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                           EFI_IMAGE_ID *ImageId, const EFI_IMAGE_INPUT *Image) {
  return EFI_UNSUPPORTED;
}

// GetImage: no image store.
EFI_STATUS EFIAPI GetImage(const EFI_HII_IMAGE_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                           EFI_IMAGE_ID ImageId, EFI_IMAGE_INPUT *Image) {
  return EFI_UNSUPPORTED;
}

// SetImage: no image store.
EFI_STATUS EFIAPI SetImage(const EFI_HII_IMAGE_PROTOCOL *This, EFI_HII_HANDLE PackageList,
                           EFI_IMAGE_ID ImageId, const EFI_IMAGE_INPUT *Image) {
  return EFI_UNSUPPORTED;
}

// DrawImage: nothing is drawn outside the console.
EFI_STATUS EFIAPI DrawImage(const EFI_HII_IMAGE_PROTOCOL *This, EFI_HII_DRAW_FLAGS Flags,
                            const EFI_IMAGE_INPUT *Image, EFI_IMAGE_OUTPUT **Blt, UINTN BltX,
                            UINTN BltY) {
  return EFI_UNSUPPORTED;
}

// DrawImageId: nothing is drawn outside the console.
EFI_STATUS EFIAPI DrawImageId(const EFI_HII_IMAGE_PROTOCOL *This, EFI_HII_DRAW_FLAGS Flags,
                              EFI_HII_HANDLE PackageList, EFI_IMAGE_ID ImageId,
                              EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY) {
  return EFI_UNSUPPORTED;
}

// StringToImage: text reaches the screen through the console only.
EFI_STATUS EFIAPI StringToImage(const EFI_HII_FONT_PROTOCOL *This, EFI_HII_OUT_FLAGS Flags,
                                const EFI_STRING String, const EFI_FONT_DISPLAY_INFO *StringInfo,
                                EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY,
                                EFI_HII_ROW_INFO **RowInfoArray, UINTN *RowInfoArraySize,
                                UINTN *ColumnInfoArray) {
  return EFI_UNSUPPORTED;
}

// StringIdToImage: text reaches the screen through the console only.
EFI_STATUS EFIAPI StringIdToImage(const EFI_HII_FONT_PROTOCOL *This, EFI_HII_OUT_FLAGS Flags,
                                  EFI_HII_HANDLE PackageList, EFI_STRING_ID StringId,
                                  const CHAR8 *Language, const EFI_FONT_DISPLAY_INFO *StringInfo,
                                  EFI_IMAGE_OUTPUT **Blt, UINTN BltX, UINTN BltY,
                                  EFI_HII_ROW_INFO **RowInfoArray, UINTN *RowInfoArraySize,
                                  UINTN *ColumnInfoArray) {
  return EFI_UNSUPPORTED;
}

// GetGlyph: no glyph store.
EFI_STATUS EFIAPI GetGlyph(const EFI_HII_FONT_PROTOCOL *This, CHAR16 Char,
                           const EFI_FONT_DISPLAY_INFO *StringInfo, EFI_IMAGE_OUTPUT **Blt,
                           UINTN *Baseline) {
  return EFI_UNSUPPORTED;
}

// GetFontInfo: no font store.
EFI_STATUS EFIAPI GetFontInfo(const EFI_HII_FONT_PROTOCOL *This, EFI_FONT_HANDLE *FontHandle,
                              const EFI_FONT_DISPLAY_INFO *StringInfoIn,
                              EFI_FONT_DISPLAY_INFO **StringInfoOut, const EFI_STRING String) {
  return EFI_UNSUPPORTED;
}

} // namespace

const EFI_HII_IMAGE_PROTOCOL HII_IMAGE_TABLE = {
    .NewImage = NewImage,
    .GetImage = GetImage,
    .SetImage = SetImage,
    .DrawImage = DrawImage,
    .DrawImageId = DrawImageId,
};

const EFI_HII_FONT_PROTOCOL HII_FONT_TABLE = {
    .StringToImage = StringToImage,
    .StringIdToImage = StringIdToImage,
    .GetGlyph = GetGlyph,
    .GetFontInfo = GetFontInfo,
};

} // namespace morvane::host
