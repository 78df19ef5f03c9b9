#include <algorithm>

#include "host/hii/string_package.h"

namespace morvane::host {

namespace {

void PutLittleEndian(std::vector<uint8_t> &Out, uint64_t Value, size_t Width) {
  for (size_t Index = 0; Index < Width; Index++) {
    Out.push_back(static_cast<uint8_t>(Value >> (8 * Index)));
  }
}

void PutSkip(std::vector<uint8_t> &Out, uint32_t Count) {
  while (Count > 0) {
    if (Count <= 0xFF) {
      Out.push_back(EFI_HII_SIBT_SKIP1);
      Out.push_back(static_cast<uint8_t>(Count));
      return;
    }
    uint32_t Step = std::min<uint32_t>(Count, 0xFFFF);
    Out.push_back(EFI_HII_SIBT_SKIP2);
    PutLittleEndian(Out, Step, 2);
    Count -= Step;
  }
}

} // namespace

std::vector<uint8_t> WriteStringPackage(const StringPackage &Package) {
  std::vector<uint8_t> Blocks;
  for (const std::vector<uint8_t> &Font : Package.FontBlocks) {
    Blocks.insert(Blocks.end(), Font.begin(), Font.end());
  }
  uint32_t Id = 1;
  for (const auto &[EntryId, Entry] : Package.Entries) {
    PutSkip(Blocks, EntryId - Id);
    if (Entry.FontId.has_value()) {
      Blocks.push_back(EFI_HII_SIBT_STRING_UCS2_FONT);
      Blocks.push_back(*Entry.FontId);
    } else {
      Blocks.push_back(EFI_HII_SIBT_STRING_UCS2);
    }
    for (char16_t Unit : Entry.Text) {
      PutLittleEndian(Blocks, Unit, 2);
    }
    PutLittleEndian(Blocks, 0, 2);
    Id = EntryId + 1u;
  }
  if (Package.NextId > Id) {
    PutSkip(Blocks, Package.NextId - Id);
  }
  Blocks.push_back(EFI_HII_SIBT_END);

  uint32_t HeaderSize =
      static_cast<uint32_t>(STRING_PACKAGE_FIXED_HEADER + Package.Language.size() + 1);
  std::vector<uint8_t> Out;
  PutLittleEndian(
      Out, (HeaderSize + Blocks.size()) | (static_cast<uint32_t>(EFI_HII_PACKAGE_STRINGS) << 24),
      4);
  PutLittleEndian(Out, HeaderSize, 4);
  PutLittleEndian(Out, HeaderSize, 4);
  for (CHAR16 Unit : Package.LanguageWindow) {
    PutLittleEndian(Out, Unit, 2);
  }
  PutLittleEndian(Out, Package.LanguageName, 2);
  Out.insert(Out.end(), Package.Language.begin(), Package.Language.end());
  Out.push_back(0);
  Out.insert(Out.end(), Blocks.begin(), Blocks.end());
  return Out;
}

std::string PrimaryLanguage(const std::string &Language) {
  return Language.substr(0, Language.find(';'));
}

bool SameLanguage(const std::string &Left, const std::string &Right) {
  auto Lower = [](char Letter) {
    return Letter >= 'A' && Letter <= 'Z' ? static_cast<char>(Letter - 'A' + 'a') : Letter;
  };
  return Left.size() == Right.size() &&
         std::equal(Left.begin(), Left.end(), Right.begin(),
                    [&](char A, char B) { return Lower(A) == Lower(B); });
}

bool IsKeywordNamespace(const std::string &Language) {
  static const std::string PREFIX = "x-UEFI";
  return Language.size() >= PREFIX.size() &&
         SameLanguage(Language.substr(0, PREFIX.size()), PREFIX);
}

} // namespace morvane::host
