#include "sample/sample_page.h"

#include <cstring>

namespace morvane::sample {

bool SampleServices::Locate(EFI_SYSTEM_TABLE *System) {
  Boot = System->BootServices;
  Runtime = System->RuntimeServices;
  return !EFI_ERROR(Boot->LocateProtocol(&gEfiHiiDatabaseProtocolGuid, nullptr,
                                         reinterpret_cast<VOID **>(&Database))) &&
         !EFI_ERROR(Boot->LocateProtocol(&gEfiHiiStringProtocolGuid, nullptr,
                                         reinterpret_cast<VOID **>(&Strings))) &&
         !EFI_ERROR(Boot->LocateProtocol(&gEfiHiiConfigRoutingProtocolGuid, nullptr,
                                         reinterpret_cast<VOID **>(&Routing)));
}

SamplePage::SamplePage(const SampleServices &Platform, const EFI_GUID &Page)
    : Services(Platform), PageGuid(Page),
      Config(std::make_unique<host::ConfigDriver>(Platform.Boot, Platform.Routing)) {
  Config->OnStored = [this] { SaveBuffers(); };
}

SamplePage::~SamplePage() {
  Provider.reset();
  if (HiiHandle != nullptr) {
    Services.Database->RemovePackageList(Services.Database, HiiHandle);
  }
}

void SamplePage::Publish(const kit::IfrWriter &Forms, EFI_STRING_ID Title, EFI_STRING_ID Help) {
  kit::PackageListBuilder List(PageGuid);
  List.AddForms(Forms);
  List.AddStrings(Table);
  std::vector<uint8_t> Bytes = List.Bytes();
  Services.Database->NewPackageList(
      Services.Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Bytes.data()),
      Config->Handle(), &HiiHandle);
  Provider = std::make_unique<host::PageProvider>(Services.Boot, PageGuid, Title, Help, HiiHandle);
}

std::vector<uint8_t> *SamplePage::PersistentBuffer(const EFI_GUID &Guid, const std::u16string &Name,
                                                   std::vector<uint8_t> Defaults) {
  std::vector<uint8_t> Stored(Defaults.size());
  UINTN Size = Stored.size();
  if (!EFI_ERROR(
          Services.Runtime->GetVariable(Name.c_str(), &Guid, nullptr, &Size, Stored.data())) &&
      Size == Stored.size()) {
    Defaults = Stored;
  }
  Config->AddBufferStorage(Guid, Name, std::move(Defaults));
  PersistedBuffers.push_back({Guid, Name});
  return Config->Buffer(Guid, Name);
}

void SamplePage::SaveBuffers() {
  for (const Persisted &Entry : PersistedBuffers) {
    std::vector<uint8_t> *Bytes = Config->Buffer(Entry.Guid, Entry.Name);
    Services.Runtime->SetVariable(Entry.Name.c_str(), &Entry.Guid, SettingsAttributes,
                                  Bytes->size(), Bytes->data());
  }
}

std::u16string SamplePage::ReadString(EFI_STRING_ID Id, const char *Language) const {
  UINTN Size = 0;
  if (Services.Strings->GetString(Services.Strings, Language, HiiHandle, Id, nullptr, &Size,
                                  nullptr) != EFI_BUFFER_TOO_SMALL) {
    return u"";
  }
  std::u16string Text(Size / sizeof(CHAR16), u'\0');
  if (EFI_ERROR(Services.Strings->GetString(Services.Strings, Language, HiiHandle, Id, Text.data(),
                                            &Size, nullptr))) {
    return u"";
  }
  Text.resize(std::char_traits<char16_t>::length(Text.c_str()));
  return Text;
}

void SamplePage::WriteString(EFI_STRING_ID Id, const std::u16string &Text) {
  for (const std::string &Language : Table.Languages()) {
    Services.Strings->SetString(Services.Strings, HiiHandle, Id, Language.c_str(), Text.c_str(),
                                nullptr);
  }
}

} // namespace morvane::sample
