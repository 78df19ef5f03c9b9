#include "host/kit/strings.h"

#include <algorithm>
#include <stdexcept>

#include "host/kit/byte_append.h"
#include "host/kit/scsu_encode.h"

namespace morvane::kit {

namespace {

constexpr uint32_t STRING_PACKAGE_FIXED_HEADER = 46;
constexpr uint32_t PACKAGE_LENGTH_LIMIT = 0xFFFFFF;
constexpr UINT8 UNKNOWN_EXT1_TYPE = 0x50;
constexpr UINT8 UNKNOWN_EXT4_TYPE = 0x51;
constexpr UINT16 FONT_BLOCK_SIZE = 19;

void PutSkip(std::vector<uint8_t> &Out, uint32_t Count) {
  while (Count > 0) {
    if (Count <= 0xFF) {
      PutU8(Out, EFI_HII_SIBT_SKIP1);
      PutU8(Out, Count);
      return;
    }
    uint32_t Step = std::min<uint32_t>(Count, 0xFFFF);
    PutU8(Out, EFI_HII_SIBT_SKIP2);
    PutU16(Out, Step);
    Count -= Step;
  }
}

void PutText(std::vector<uint8_t> &Out, const std::u16string &Text, bool Scsu) {
  if (Scsu) {
    PutBytes(Out, ScsuEncode(Text));
    PutU8(Out, 0);
  } else {
    PutUcs2(Out, Text);
  }
}

void PutFontBlock(std::vector<uint8_t> &Out, UINT8 FontId) {
  static constexpr char16_t NAME[] = u"sans";
  std::vector<uint8_t> Body;
  PutU8(Body, FontId);
  PutU16(Body, FONT_BLOCK_SIZE);
  PutU32(Body, 0); // EFI_HII_FONT_STYLE
  PutUcs2(Body, NAME);
  PutU8(Out, EFI_HII_SIBT_EXT2);
  PutU8(Out, EFI_HII_SIBT_FONT);
  PutU16(Out, EFI_HII_SIBT_EXT2_HEADER_SIZE + Body.size());
  PutBytes(Out, Body);
}

void PutUnknownExtBlocks(std::vector<uint8_t> &Out) {
  PutU8(Out, EFI_HII_SIBT_EXT1);
  PutU8(Out, UNKNOWN_EXT1_TYPE);
  PutU8(Out, EFI_HII_SIBT_EXT1_HEADER_SIZE + 2);
  PutBytes(Out, {0xAA, 0xBB});
  PutU8(Out, EFI_HII_SIBT_EXT4);
  PutU8(Out, UNKNOWN_EXT4_TYPE);
  PutU32(Out, EFI_HII_SIBT_EXT4_HEADER_SIZE + 3);
  PutBytes(Out, {0x01, 0x02, 0x03});
}

} // namespace

Strings::Strings(std::string PrimaryLanguage) {
  LanguageOrder.push_back(PrimaryLanguage);
  Texts[PrimaryLanguage];
}

EFI_STRING_ID Strings::Add(std::u16string Text) {
  if (NextId == 0) {
    throw std::length_error("string ids are exhausted");
  }
  EFI_STRING_ID Id = NextId;
  Translate(LanguageOrder.front(), Id, std::move(Text));
  return Id;
}

void Strings::Translate(const std::string &Language, EFI_STRING_ID Id, std::u16string Text) {
  if (Id == 0) {
    throw std::invalid_argument("string id 0 is reserved");
  }
  if (Texts.find(Language) == Texts.end()) {
    LanguageOrder.push_back(Language);
  }
  Texts[Language][Id] = std::move(Text);
  if (Id >= NextId) {
    NextId = static_cast<EFI_STRING_ID>(Id + 1);
  }
}

std::vector<std::string> Strings::Languages() const {
  return LanguageOrder;
}

std::optional<std::u16string> Strings::Text(const std::string &Language, EFI_STRING_ID Id) const {
  auto Found = Texts.find(Language);
  if (Found == Texts.end()) {
    return std::nullopt;
  }
  auto Entry = Found->second.find(Id);
  if (Entry == Found->second.end()) {
    return std::nullopt;
  }
  return Entry->second;
}

std::vector<uint8_t> Strings::Package(const std::string &Language,
                                      const StringPackageOptions &Options) const {
  static const std::map<EFI_STRING_ID, std::u16string> NONE;
  auto Found = Texts.find(Language);
  const std::map<EFI_STRING_ID, std::u16string> &Table =
      Found == Texts.end() ? NONE : Found->second;

  std::string HeaderLanguage = Language;
  if (!Options.SecondaryLanguages.empty()) {
    HeaderLanguage += ";" + Options.SecondaryLanguages;
  }
  uint32_t HeaderSize = STRING_PACKAGE_FIXED_HEADER + static_cast<uint32_t>(HeaderLanguage.size()) +
                        1 + Options.HeaderPadding;

  std::vector<uint8_t> Blocks;
  if (Options.FontBlock) {
    PutFontBlock(Blocks, Options.FontId.value_or(0));
  }
  if (Options.UnknownExtBlocks) {
    PutUnknownExtBlocks(Blocks);
  }

  UINT8 SingleType = Options.Scsu ? EFI_HII_SIBT_STRING_SCSU : EFI_HII_SIBT_STRING_UCS2;
  if (Options.FontId.has_value()) {
    SingleType++;
  }
  UINT8 RunType = static_cast<UINT8>(SingleType + 2);

  // The earlier id of each text, for DUPLICATE blocks.
  std::map<std::u16string, EFI_STRING_ID> FirstIdOfText;
  auto IsDuplicate = [&](EFI_STRING_ID Id) {
    auto Earlier = FirstIdOfText.find(Table.at(Id));
    return Options.Duplicates && Earlier != FirstIdOfText.end() && Earlier->second < Id;
  };

  uint32_t Id = 1;
  auto Entry = Table.begin();
  while (Entry != Table.end()) {
    if (Entry->first > Id) {
      PutSkip(Blocks, Entry->first - Id);
      Id = Entry->first;
    }
    if (IsDuplicate(Entry->first)) {
      PutU8(Blocks, EFI_HII_SIBT_DUPLICATE);
      PutU16(Blocks, FirstIdOfText[Entry->second]);
      ++Entry;
      Id++;
      continue;
    }
    // A run: this id and the ids right after it that have a text and are no duplicates.
    std::vector<const std::u16string *> Run;
    while (Entry != Table.end() && Entry->first == Id + Run.size() &&
           (Run.empty() || (Options.Runs && Run.size() < 0xFFFF && !IsDuplicate(Entry->first)))) {
      FirstIdOfText.emplace(Entry->second, Entry->first);
      Run.push_back(&Entry->second);
      ++Entry;
    }
    PutU8(Blocks, Options.Runs ? RunType : SingleType);
    if (Options.FontId.has_value()) {
      PutU8(Blocks, *Options.FontId);
    }
    if (Options.Runs) {
      PutU16(Blocks, Run.size());
    }
    for (const std::u16string *Text : Run) {
      PutText(Blocks, *Text, Options.Scsu);
    }
    Id += static_cast<uint32_t>(Run.size());
  }
  PutU8(Blocks, EFI_HII_SIBT_END);

  uint64_t Length = HeaderSize + Blocks.size();
  if (Length > PACKAGE_LENGTH_LIMIT) {
    throw std::length_error("a string package cannot exceed 16 MiB");
  }
  std::vector<uint8_t> Package;
  PutU32(Package, Length | (static_cast<uint32_t>(EFI_HII_PACKAGE_STRINGS) << 24));
  PutU32(Package, HeaderSize);
  PutU32(Package, HeaderSize);
  Package.insert(Package.end(), 32, 0); // LanguageWindow
  PutU16(Package, Options.LanguageNameId.value_or(0));
  PutAscii(Package, HeaderLanguage);
  Package.insert(Package.end(), Options.HeaderPadding, 0);
  PutBytes(Package, Blocks);
  return Package;
}

} // namespace morvane::kit
