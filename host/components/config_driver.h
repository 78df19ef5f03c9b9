// A form set's driver as the browser meets it: a handle with a device path and the HII config
// access protocol, keeping the bytes of buffer varstores and the texts of name-value varstores,
// and recording every Callback. Tests script its Callbacks; the morvane program uses it as the
// generic driver of users' package lists.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "uefi/hii.h"
#include "uefi/system_table.h"

namespace morvane::host {

struct CallbackCall {
  EFI_BROWSER_ACTION Action;
  EFI_QUESTION_ID QuestionId;
  UINT8 Type;
  bool HasValue;
  EFI_IFR_TYPE_VALUE Value;
};

using CallbackHandler =
    std::function<EFI_STATUS(EFI_BROWSER_ACTION Action, EFI_QUESTION_ID QuestionId, UINT8 Type,
                             EFI_IFR_TYPE_VALUE *Value, EFI_BROWSER_ACTION_REQUEST *ActionRequest)>;

class ConfigDriver {
public:
  // Makes a handle with a vendor device path of its own and installs the config access
  // protocol on it. Routing is used for the block forms of buffer varstores.
  ConfigDriver(EFI_BOOT_SERVICES *BootServices, EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing);
  ~ConfigDriver();
  ConfigDriver(const ConfigDriver &) = delete;
  ConfigDriver &operator=(const ConfigDriver &) = delete;

  EFI_HANDLE Handle() const { return Handle_; }
  const std::vector<uint8_t> &DevicePath() const { return Path; }

  void AddBufferStorage(const EFI_GUID &Guid, const std::u16string &Name,
                        std::vector<uint8_t> Bytes);
  std::vector<uint8_t> *Buffer(const EFI_GUID &Guid, const std::u16string &Name);
  void AddNameValueStorage(const EFI_GUID &Guid);
  std::map<std::u16string, std::u16string> *NameValues(const EFI_GUID &Guid);

  // Every Callback, in order.
  std::vector<CallbackCall> Calls;
  // Answers Callbacks; without it the driver answers EFI_UNSUPPORTED.
  CallbackHandler OnCallback;
  // Called after a RouteConfig changed a storage, so the owner can persist it.
  std::function<void()> OnStored;
  // Called before an ExtractConfig answers, so the owner can bring storages up to date.
  std::function<void()> OnExtract;

  unsigned ExtractCount = 0;
  unsigned RouteCount = 0;
  // Forced failures of the two services, for tests of the browser's warnings.
  EFI_STATUS ExtractFailure = EFI_SUCCESS;
  EFI_STATUS RouteFailure = EFI_SUCCESS;
  // RouteConfig leaves Progress null instead of at the end, as some drivers do.
  bool NullProgress = false;
  // ExtractConfig of a buffer storage answers, as many drivers do, with its current
  // configuration followed by an alternative one (ALTCFG=0000, all bytes zero).
  bool WithAltConfig = false;

private:
  struct Record {
    EFI_HII_CONFIG_ACCESS_PROTOCOL Interface;
    ConfigDriver *Owner;
  };
  struct BufferStorage {
    EFI_GUID Guid;
    std::u16string Name;
    std::vector<uint8_t> Bytes;
  };
  struct NameValueStorage {
    EFI_GUID Guid;
    std::map<std::u16string, std::u16string> Values;
  };

  static EFI_STATUS EFIAPI ExtractConfig(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                         const CHAR16 *Request, EFI_STRING *Progress,
                                         EFI_STRING *Results);
  static EFI_STATUS EFIAPI RouteConfig(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                       const CHAR16 *Configuration, EFI_STRING *Progress);
  static EFI_STATUS EFIAPI Callback(const EFI_HII_CONFIG_ACCESS_PROTOCOL *This,
                                    EFI_BROWSER_ACTION Action, EFI_QUESTION_ID QuestionId,
                                    UINT8 Type, EFI_IFR_TYPE_VALUE *Value,
                                    EFI_BROWSER_ACTION_REQUEST *ActionRequest);

  EFI_STATUS Extract(const CHAR16 *Request, EFI_STRING *Progress, EFI_STRING *Results);
  EFI_STATUS Route(const CHAR16 *Configuration, EFI_STRING *Progress);
  EFI_STRING PoolString(const std::u16string &Text) const;

  EFI_BOOT_SERVICES *BootServices;
  EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing;
  Record Protocol;
  EFI_HANDLE Handle_ = nullptr;
  std::vector<uint8_t> Path;
  std::vector<BufferStorage> Buffers;
  std::vector<NameValueStorage> NameValueStores;
};

// The header of a configuration string: GUID bytes, NAME as written, and the rest.
struct ConfigHeader {
  EFI_GUID Guid;
  std::u16string Name;
  size_t End; // index just behind the header's PATH value
};
bool ParseConfigHeader(const std::u16string &Text, size_t Start, ConfigHeader *Header);

} // namespace morvane::host
