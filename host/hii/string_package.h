// String packages read into a table of texts by id, and written back in the plainest block
// form (STRING_UCS2 blocks, SKIP blocks for gaps).
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "uefi/hii.h"

namespace morvane::host {

struct StringEntry {
  std::u16string Text;
  std::optional<UINT8> FontId;
};

struct StringPackage {
  // The header's whole language field: the primary language, then secondary ones after ';'.
  std::string Language;
  std::array<CHAR16, 16> LanguageWindow = {};
  EFI_STRING_ID LanguageName = 0;
  std::map<EFI_STRING_ID, StringEntry> Entries;
  // EXT2 FONT blocks as read, kept so a rewritten package still defines its fonts.
  std::vector<std::vector<uint8_t>> FontBlocks;
  // One past the last id the blocks cover, skipped ids included.
  uint32_t NextId = 1;
};

// Fixed part of the string package header, before the language.
inline constexpr size_t STRING_PACKAGE_FIXED_HEADER = 46;

// Reads a whole string package (its header's length counts, and must fit in Size).
// EFI_INVALID_PARAMETER for an inconsistent header, a block that runs past the package end, an
// unknown block type, ids beyond 0xFFFF or a missing END block.
EFI_STATUS ReadStringPackage(const uint8_t *Package, size_t Size, StringPackage *Out);

// A package with the same language, window and name id, the font blocks, then one
// STRING_UCS2 (or STRING_UCS2_FONT) block per text and SKIP blocks so that ids up to NextId - 1
// stay covered, then END.
std::vector<uint8_t> WriteStringPackage(const StringPackage &Package);

// The language before the first ';'.
std::string PrimaryLanguage(const std::string &Language);

// Language tags compare without regard to ASCII case.
bool SameLanguage(const std::string &Left, const std::string &Right);

// Keyword namespaces ("x-UEFI-...") name no display language.
bool IsKeywordNamespace(const std::string &Language);

} // namespace morvane::host
