// Strings of a package list: read, set, add, and the languages of its string packages.
#include <algorithm>
#include <cstring>

#include "host/hii/hii_database.h"

namespace morvane::host {

namespace {

constexpr uint32_t LAST_STRING_ID = 0xFFFF;
constexpr size_t PACKAGE_LENGTH_LIMIT = 0xFFFFFF;

std::u16string Text(const CHAR16 *String) {
  std::u16string Out;
  while (*String != 0) {
    Out += *String++;
  }
  return Out;
}

// A package record for changed texts; the bytes are written afresh so export shows the change.
EFI_STATUS Rewritten(StringPackage Strings, PackagePointer *Out) {
  auto Made = std::make_shared<StoredPackage>();
  Made->Type = EFI_HII_PACKAGE_STRINGS;
  Made->Bytes = WriteStringPackage(Strings);
  if (Made->Bytes.size() > PACKAGE_LENGTH_LIMIT) {
    return EFI_OUT_OF_RESOURCES;
  }
  Made->Strings = std::move(Strings);
  *Out = std::move(Made);
  return EFI_SUCCESS;
}

// One past the highest id any string package of the list covers.
uint32_t ListNextId(const PackageListRecord &List) {
  uint32_t Next = 1;
  for (const PackagePointer &Package : List.Packages) {
    if (Package->Strings.has_value()) {
      Next = std::max(Next, Package->Strings->NextId);
    }
  }
  return Next;
}

void Assign(StringPackage &Strings, uint32_t Id, const std::u16string &Value) {
  Strings.Entries[static_cast<EFI_STRING_ID>(Id)] = StringEntry{Value, std::nullopt};
  Strings.NextId = std::max(Strings.NextId, Id + 1);
}

// The two-call idiom for an ASCII result with its NUL.
EFI_STATUS CopyAscii(const std::string &Value, CHAR8 *Buffer, UINTN *BufferSize) {
  UINTN Needed = Value.size() + 1;
  if (*BufferSize < Needed) {
    *BufferSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(Buffer, Value.c_str(), Needed);
  *BufferSize = Needed;
  return EFI_SUCCESS;
}

} // namespace

std::optional<size_t> HiiDatabase::FindStrings(const PackageListRecord &List,
                                               const std::string &Language) {
  for (size_t Index = 0; Index < List.Packages.size(); Index++) {
    const PackagePointer &Package = List.Packages[Index];
    if (Package->Strings.has_value() &&
        SameLanguage(PrimaryLanguage(Package->Strings->Language), Language)) {
      return Index;
    }
  }
  return std::nullopt;
}

EFI_STATUS HiiDatabase::NewString(EFI_HII_HANDLE Handle, EFI_STRING_ID *StringId,
                                  const CHAR8 *Language, const CHAR16 *LanguageName,
                                  const CHAR16 *String) {
  if (StringId == nullptr || Language == nullptr || String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::string Wanted = Language;
  bool Keyword = IsKeywordNamespace(Wanted);
  uint32_t Id = ListNextId(*Record);
  std::optional<size_t> Target = FindStrings(*Record, Wanted);

  // Work on copies; the list changes only when every package could be written.
  std::vector<std::optional<StringPackage>> Changed(Record->Packages.size());
  std::optional<StringPackage> Created;
  if (!Target.has_value()) {
    if (LanguageName == nullptr) {
      return EFI_NOT_FOUND;
    }
    // A new language's package names itself: the name takes the next id, in every display
    // language so ids stay aligned, and the string the id after it.
    if (Id > LAST_STRING_ID) {
      return EFI_OUT_OF_RESOURCES;
    }
    Created = StringPackage{};
    Created->Language = Wanted;
    Created->LanguageName = static_cast<EFI_STRING_ID>(Id);
    Assign(*Created, Id, Text(LanguageName));
    for (size_t Index = 0; Index < Record->Packages.size() && !Keyword; Index++) {
      const PackagePointer &Package = Record->Packages[Index];
      if (Package->Strings.has_value() && !IsKeywordNamespace(Package->Strings->Language)) {
        Changed[Index] = *Package->Strings;
        Assign(*Changed[Index], Id, Text(LanguageName));
      }
    }
    Id++;
  }
  if (Id > LAST_STRING_ID) {
    return EFI_OUT_OF_RESOURCES;
  }

  // The text goes to the language asked for and, so ids stay aligned, to the other display
  // languages; keyword namespaces hold keywords, not display text.
  std::u16string Value = Text(String);
  if (Created.has_value()) {
    Assign(*Created, Id, Value);
  }
  for (size_t Index = 0; Index < Record->Packages.size(); Index++) {
    const PackagePointer &Package = Record->Packages[Index];
    bool Take = Package->Strings.has_value() &&
                (Target == Index || (!Keyword && !IsKeywordNamespace(Package->Strings->Language)));
    if (Take) {
      if (!Changed[Index].has_value()) {
        Changed[Index] = *Package->Strings;
      }
      Assign(*Changed[Index], Id, Value);
    }
  }

  std::vector<PackagePointer> Packages = Record->Packages;
  for (size_t Index = 0; Index < Packages.size(); Index++) {
    if (Changed[Index].has_value()) {
      EFI_STATUS Status = Rewritten(std::move(*Changed[Index]), &Packages[Index]);
      if (EFI_ERROR(Status)) {
        return Status;
      }
    }
  }
  PackagePointer Added;
  if (Created.has_value()) {
    EFI_STATUS Status = Rewritten(std::move(*Created), &Added);
    if (EFI_ERROR(Status)) {
      return Status;
    }
    Packages.push_back(Added);
  }
  Record->Packages = std::move(Packages);
  *StringId = static_cast<EFI_STRING_ID>(Id);
  if (Added != nullptr) {
    Notify(EFI_HII_DATABASE_NOTIFY_ADD_PACK, Record->Handle, {Added});
  }
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::GetString(const CHAR8 *Language, EFI_HII_HANDLE Handle,
                                  EFI_STRING_ID StringId, EFI_STRING String, UINTN *StringSize,
                                  EFI_FONT_INFO **StringFontInfo) {
  if (Language == nullptr || Handle == nullptr || StringSize == nullptr ||
      (String == nullptr && *StringSize > 0)) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  // No fallback to another language here: choosing one is the browser's business.
  std::optional<size_t> Index = FindStrings(*Record, Language);
  if (!Index.has_value()) {
    return EFI_INVALID_LANGUAGE;
  }
  const StringPackage &Strings = *Record->Packages[*Index]->Strings;
  auto Found = Strings.Entries.find(StringId);
  if (Found == Strings.Entries.end()) {
    return EFI_NOT_FOUND;
  }
  const std::u16string &Value = Found->second.Text;
  UINTN Needed = (Value.size() + 1) * sizeof(CHAR16);
  if (*StringSize < Needed) {
    *StringSize = Needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(String, Value.c_str(), Needed);
  *StringSize = Needed;
  // Font information is not handed out: the fonts of this platform are its console's.
  if (StringFontInfo != nullptr) {
    *StringFontInfo = nullptr;
  }
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::SetString(EFI_HII_HANDLE Handle, EFI_STRING_ID StringId,
                                  const CHAR8 *Language, const CHAR16 *String) {
  if (Handle == nullptr || Language == nullptr || String == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::optional<size_t> Index = FindStrings(*Record, Language);
  // An id is known when some package of the list covers it, even by a skip.
  if (!Index.has_value() || StringId == 0 || StringId >= ListNextId(*Record)) {
    return EFI_NOT_FOUND;
  }
  StringPackage Strings = *Record->Packages[*Index]->Strings;
  Assign(Strings, StringId, Text(String));
  PackagePointer Package;
  EFI_STATUS Status = Rewritten(std::move(Strings), &Package);
  if (EFI_ERROR(Status)) {
    return Status;
  }
  Record->Packages[*Index] = Package;
  return EFI_SUCCESS;
}

EFI_STATUS HiiDatabase::GetLanguages(EFI_HII_HANDLE Handle, CHAR8 *Languages,
                                     UINTN *LanguagesSize) {
  if (Handle == nullptr || LanguagesSize == nullptr ||
      (Languages == nullptr && *LanguagesSize > 0)) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  // Display languages first, in package order, so a keyword namespace never stands where a
  // caller looks for the first display language.
  std::vector<std::string> Display;
  std::vector<std::string> Keywords;
  for (const PackagePointer &Package : Record->Packages) {
    if (!Package->Strings.has_value()) {
      continue;
    }
    std::string Primary = PrimaryLanguage(Package->Strings->Language);
    std::vector<std::string> &Group = IsKeywordNamespace(Primary) ? Keywords : Display;
    bool Seen = std::any_of(Group.begin(), Group.end(),
                            [&](const std::string &Known) { return SameLanguage(Known, Primary); });
    if (!Seen) {
      Group.push_back(Primary);
    }
  }
  Display.insert(Display.end(), Keywords.begin(), Keywords.end());
  std::string Joined;
  for (const std::string &Language : Display) {
    Joined += (Joined.empty() ? "" : ";") + Language;
  }
  return CopyAscii(Joined, Languages, LanguagesSize);
}

EFI_STATUS HiiDatabase::GetSecondaryLanguages(EFI_HII_HANDLE Handle, const CHAR8 *PrimaryLanguage,
                                              CHAR8 *SecondaryLanguages,
                                              UINTN *SecondaryLanguagesSize) {
  if (Handle == nullptr || PrimaryLanguage == nullptr || SecondaryLanguagesSize == nullptr ||
      (SecondaryLanguages == nullptr && *SecondaryLanguagesSize > 0)) {
    return EFI_INVALID_PARAMETER;
  }
  std::shared_ptr<PackageListRecord> Record = Find(Handle);
  if (Record == nullptr) {
    return EFI_NOT_FOUND;
  }
  std::optional<size_t> Index = FindStrings(*Record, PrimaryLanguage);
  if (!Index.has_value()) {
    return EFI_INVALID_LANGUAGE;
  }
  const std::string &Language = Record->Packages[*Index]->Strings->Language;
  size_t Separator = Language.find(';');
  return CopyAscii(Separator == std::string::npos ? std::string() : Language.substr(Separator + 1),
                   SecondaryLanguages, SecondaryLanguagesSize);
}

} // namespace morvane::host
