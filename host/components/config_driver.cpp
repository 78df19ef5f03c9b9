#include "host/components/config_driver.h"

#include <cstring>

#include "uefi/device_path.h"

namespace morvane::host {

namespace {

// Each driver's device path differs in the vendor GUID's first word.
uint32_t NextDriverNumber = 1;

const EFI_GUID DriverPathGuid = {
    0x6d6f7276, 0x616e, 0x4500, {0x8d, 0x72, 0x69, 0x76, 0x65, 0x72, 0x00, 0x01}};

int HexValue(char16_t Character) {
  if (Character >= u'0' && Character <= u'9') {
    return Character - u'0';
  }
  if (Character >= u'a' && Character <= u'f') {
    return Character - u'a' + 10;
  }
  if (Character >= u'A' && Character <= u'F') {
    return Character - u'A' + 10;
  }
  return -1;
}

bool SameGuid(const EFI_GUID &A, const EFI_GUID &B) {
  return std::memcmp(&A, &B, sizeof(EFI_GUID)) == 0;
}

// The name-value pairs behind a header: "&name" elements of a request or "&name=value" pairs.
std::vector<std::pair<std::u16string, std::u16string>> Elements(const std::u16string &Text,
                                                                size_t Start, bool WithValues) {
  std::vector<std::pair<std::u16string, std::u16string>> Out;
  size_t At = Start;
  while (At < Text.size() && Text[At] == u'&') {
    size_t Next = Text.find(u'&', At + 1);
    std::u16string Element =
        Text.substr(At + 1, Next == std::u16string::npos ? std::u16string::npos : Next - At - 1);
    // A further header starts the next request.
    if (Element.rfind(u"GUID=", 0) == 0) {
      break;
    }
    size_t Equals = Element.find(u'=');
    if (WithValues && Equals != std::u16string::npos) {
      Out.emplace_back(Element.substr(0, Equals), Element.substr(Equals + 1));
    } else if (!WithValues) {
      Out.emplace_back(Element, u"");
    }
    if (Next == std::u16string::npos) {
      break;
    }
    At = Next;
  }
  return Out;
}

} // namespace

bool ParseConfigHeader(const std::u16string &Text, size_t Start, ConfigHeader *Header) {
  if (Text.compare(Start, 5, u"GUID=") != 0 || Text.size() < Start + 5 + 32) {
    return false;
  }
  uint8_t *Bytes = reinterpret_cast<uint8_t *>(&Header->Guid);
  for (size_t Index = 0; Index < 16; Index++) {
    int High = HexValue(Text[Start + 5 + 2 * Index]);
    int Low = HexValue(Text[Start + 6 + 2 * Index]);
    if (High < 0 || Low < 0) {
      return false;
    }
    Bytes[Index] = static_cast<uint8_t>(High << 4 | Low);
  }
  size_t At = Start + 5 + 32;
  if (Text.compare(At, 6, u"&NAME=") != 0) {
    return false;
  }
  size_t NameEnd = Text.find(u'&', At + 6);
  if (NameEnd == std::u16string::npos) {
    return false;
  }
  Header->Name = Text.substr(At + 6, NameEnd - At - 6);
  if (Text.compare(NameEnd, 6, u"&PATH=") != 0) {
    return false;
  }
  size_t PathEnd = NameEnd + 6;
  while (PathEnd < Text.size() && HexValue(Text[PathEnd]) >= 0) {
    PathEnd++;
  }
  Header->End = PathEnd;
  return true;
}

ConfigDriver::ConfigDriver(EFI_BOOT_SERVICES *Services,
                           EFI_HII_CONFIG_ROUTING_PROTOCOL *RoutingProtocol)
    : BootServices(Services), Routing(RoutingProtocol) {
  Protocol.Interface = {ExtractConfig, RouteConfig, Callback};
  Protocol.Owner = this;

  VENDOR_DEVICE_PATH Vendor = {};
  Vendor.Header.Type = HARDWARE_DEVICE_PATH;
  Vendor.Header.SubType = HW_VENDOR_DP;
  Vendor.Header.Length[0] = sizeof(VENDOR_DEVICE_PATH);
  Vendor.Guid = DriverPathGuid;
  Vendor.Guid.Data1 += NextDriverNumber++;
  const uint8_t *Start = reinterpret_cast<const uint8_t *>(&Vendor);
  Path.assign(Start, Start + sizeof(Vendor));
  Path.insert(Path.end(), {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});

  BootServices->InstallMultipleProtocolInterfaces(&Handle_, &gEfiDevicePathProtocolGuid,
                                                  Path.data(), &gEfiHiiConfigAccessProtocolGuid,
                                                  &Protocol.Interface, nullptr);
}

ConfigDriver::~ConfigDriver() {
  if (Handle_ != nullptr) {
    BootServices->UninstallMultipleProtocolInterfaces(Handle_, &gEfiDevicePathProtocolGuid,
                                                      Path.data(), &gEfiHiiConfigAccessProtocolGuid,
                                                      &Protocol.Interface, nullptr);
  }
}

void ConfigDriver::AddBufferStorage(const EFI_GUID &Guid, const std::u16string &Name,
                                    std::vector<uint8_t> Bytes) {
  Buffers.push_back({Guid, Name, std::move(Bytes)});
}

std::vector<uint8_t> *ConfigDriver::Buffer(const EFI_GUID &Guid, const std::u16string &Name) {
  for (BufferStorage &Storage : Buffers) {
    if (SameGuid(Storage.Guid, Guid) && Storage.Name == Name) {
      return &Storage.Bytes;
    }
  }
  return nullptr;
}

void ConfigDriver::AddNameValueStorage(const EFI_GUID &Guid) {
  NameValueStores.push_back({Guid, {}});
}

std::map<std::u16string, std::u16string> *ConfigDriver::NameValues(const EFI_GUID &Guid) {
  for (NameValueStorage &Storage : NameValueStores) {
    if (SameGuid(Storage.Guid, Guid)) {
      return &Storage.Values;
    }
  }
  return nullptr;
}

EFI_STRING ConfigDriver::PoolString(const std::u16string &Text) const {
  VOID *Buffer = nullptr;
  if (EFI_ERROR(BootServices->AllocatePool(EfiBootServicesData, (Text.size() + 1) * sizeof(CHAR16),
                                           &Buffer))) {
    return nullptr;
  }
  std::memcpy(Buffer, Text.c_str(), (Text.size() + 1) * sizeof(CHAR16));
  return static_cast<EFI_STRING>(Buffer);
}

EFI_STATUS ConfigDriver::Extract(const CHAR16 *Request, EFI_STRING *Progress, EFI_STRING *Results) {
  ExtractCount++;
  if (Progress == nullptr || Results == nullptr || Request == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Results = nullptr;
  *Progress = const_cast<EFI_STRING>(Request);
  if (EFI_ERROR(ExtractFailure)) {
    return ExtractFailure;
  }
  if (OnExtract) {
    OnExtract();
  }
  std::u16string Text(Request);
  ConfigHeader Header;
  if (!ParseConfigHeader(Text, 0, &Header)) {
    return EFI_INVALID_PARAMETER;
  }
  if (std::vector<uint8_t> *Bytes = Buffer(Header.Guid, Header.Name)) {
    EFI_STATUS Status =
        Routing->BlockToConfig(Routing, Request, Bytes->data(), Bytes->size(), Results, Progress);
    if (EFI_ERROR(Status) || !WithAltConfig) {
      return Status;
    }
    std::vector<uint8_t> Zeros(Bytes->size(), 0);
    EFI_STRING Alternative = nullptr;
    EFI_STRING AltProgress = nullptr;
    Status = Routing->BlockToConfig(Routing, Request, Zeros.data(), Zeros.size(), &Alternative,
                                    &AltProgress);
    if (EFI_ERROR(Status)) {
      BootServices->FreePool(*Results);
      *Results = nullptr;
      return Status;
    }
    std::u16string Current(*Results);
    std::u16string Defaults(Alternative);
    BootServices->FreePool(*Results);
    BootServices->FreePool(Alternative);
    *Results = PoolString(Current + u"&" + Defaults.substr(0, Header.End) + u"&ALTCFG=0000" +
                          Defaults.substr(Header.End));
    return *Results == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
  }
  std::map<std::u16string, std::u16string> *Values = NameValues(Header.Guid);
  if (Values == nullptr || !Header.Name.empty()) {
    return EFI_NOT_FOUND;
  }
  std::u16string Response = Text.substr(0, Header.End);
  for (const auto &[Name, Unused] : Elements(Text, Header.End, false)) {
    auto Found = Values->find(Name);
    if (Found != Values->end()) {
      Response += u"&" + Name + u"=" + Found->second;
    }
  }
  *Results = PoolString(Response);
  *Progress = const_cast<EFI_STRING>(Request) + Text.size();
  return *Results == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

EFI_STATUS ConfigDriver::Route(const CHAR16 *Configuration, EFI_STRING *Progress) {
  RouteCount++;
  if (Configuration == nullptr || Progress == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Progress = const_cast<EFI_STRING>(Configuration);
  if (EFI_ERROR(RouteFailure)) {
    return RouteFailure;
  }
  std::u16string Text(Configuration);
  ConfigHeader Header;
  if (!ParseConfigHeader(Text, 0, &Header)) {
    return EFI_INVALID_PARAMETER;
  }
  EFI_STATUS Status = EFI_SUCCESS;
  if (std::vector<uint8_t> *Bytes = Buffer(Header.Guid, Header.Name)) {
    UINTN Size = Bytes->size();
    Status = Routing->ConfigToBlock(Routing, Configuration, Bytes->data(), &Size, Progress);
  } else if (std::map<std::u16string, std::u16string> *Values = NameValues(Header.Guid)) {
    for (const auto &[Name, Value] : Elements(Text, Header.End, true)) {
      (*Values)[Name] = Value;
    }
    *Progress = const_cast<EFI_STRING>(Configuration) + Text.size();
  } else {
    return EFI_NOT_FOUND;
  }
  if (!EFI_ERROR(Status)) {
    if (NullProgress) {
      *Progress = nullptr;
    }
    if (OnStored) {
      OnStored();
    }
  }
  return Status;
}

EFI_STATUS EFIAPI ConfigDriver::ExtractConfig(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                              const CHAR16 *Request, EFI_STRING *Progress,
                                              EFI_STRING *Results) {
  return reinterpret_cast<const Record *>(This)->Owner->Extract(Request, Progress, Results);
}

EFI_STATUS EFIAPI ConfigDriver::RouteConfig(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                            const CHAR16 *Configuration, EFI_STRING *Progress) {
  return reinterpret_cast<const Record *>(This)->Owner->Route(Configuration, Progress);
}

EFI_STATUS EFIAPI ConfigDriver::Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                         EFI_BROWSER_ACTION Action, EFI_QUESTION_ID QuestionId,
                                         UINT8 Type, EFI_IFR_TYPE_VALUE *Value,
                                         EFI_BROWSER_ACTION_REQUEST *ActionRequest) {
  ConfigDriver *Owner = reinterpret_cast<const Record *>(This)->Owner;
  CallbackCall Call = {Action, QuestionId, Type, Value != nullptr, {}};
  if (Value != nullptr) {
    Call.Value = *Value;
  }
  Owner->Calls.push_back(Call);
  if (!Owner->OnCallback) {
    return EFI_UNSUPPORTED;
  }
  return Owner->OnCallback(Action, QuestionId, Type, Value, ActionRequest);
}

} // namespace morvane::host
