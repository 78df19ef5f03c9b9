// The strings of a package list: ids handed out in order, texts per language, and string
// packages written from them in the published block format.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "uefi/hii.h"

namespace morvane::kit {

// How Strings::Package writes a package; the defaults give the plainest form (STRING_UCS2
// blocks, SKIP blocks for gaps, a 46-byte header plus the language).
struct StringPackageOptions {
  // The header's LanguageName string id (0 when not given).
  std::optional<EFI_STRING_ID> LanguageNameId;
  // Zero bytes after the language's NUL that HdrSize still counts: 1 turns the 52-byte header
  // of "en-US" into 53, 5 into 57.
  uint32_t HeaderPadding = 0;
  // Secondary languages appended to the header's language after a ';' ("fr-FR;de-DE").
  std::string SecondaryLanguages;
  // SCSU blocks instead of UCS-2 ones.
  bool Scsu = false;
  // One STRINGS_* block for each run of consecutive ids instead of one block per id.
  bool Runs = false;
  // The *_FONT block types with this font id.
  std::optional<UINT8> FontId;
  // An EXT2 FONT block (font id FontId or 0) before the strings.
  bool FontBlock = false;
  // An EXT1 and an EXT4 block of an unknown type before the strings, to be stepped over.
  bool UnknownExtBlocks = false;
  // A DUPLICATE block for a text equal to an earlier id's text in the same language.
  bool Duplicates = false;
};

class Strings {
public:
  explicit Strings(std::string PrimaryLanguage = "en-US");

  // The next id (1 for the first), with Text in the primary language.
  EFI_STRING_ID Add(std::u16string Text);
  // Text for Id in Language; later ids are handed out above Id.
  void Translate(const std::string &Language, EFI_STRING_ID Id, std::u16string Text);
  // Languages in the order they first received a text, the primary language first.
  std::vector<std::string> Languages() const;
  // The text of Id in Language, if any.
  std::optional<std::u16string> Text(const std::string &Language, EFI_STRING_ID Id) const;

  // A whole string package: header, blocks for ids 1..the highest id with a text in Language
  // (SKIP1/SKIP2 over ids without one), END.
  std::vector<uint8_t> Package(const std::string &Language,
                               const StringPackageOptions &Options = {}) const;

private:
  std::vector<std::string> LanguageOrder;
  std::map<std::string, std::map<EFI_STRING_ID, std::u16string>> Texts;
  EFI_STRING_ID NextId = 1;
};

} // namespace morvane::kit
