#include "tools/morvane/package_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "core/external_protocols.h"
#include "sample/pages.h"
#include "support/memory.h"
#include "tools/session/browser_session.h"
#include "uefi/ifr.h"

namespace morvane::tools {

namespace {

// No real package list comes near this; a larger file is a mistake, not forms.
constexpr size_t MaximumFileBytes = 64u << 20;
constexpr size_t ListHeaderBytes = sizeof(EFI_HII_PACKAGE_LIST_HEADER);
constexpr size_t PackageHeaderBytes = 4;
// The page GUIDs of the files' tabs: this base with the file's index in the last byte.
constexpr EFI_GUID FilePageBase = {
    0x3e8d52a1, 0x6c0f, 0x4b7e, {0x9a, 0x41, 0x5d, 0x20, 0x7c, 0x13, 0xe6, 0x00}};
constexpr size_t MaximumFiles = 200;
constexpr UINT32 StoredAttributes = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;

std::string Offset(size_t Where) {
  return "offset " + std::to_string(Where) + ": ";
}

// The varstores and form sets of one form package; a malformed opcode ends the walk, since the
// browser reports malformed IFR itself when the form set loads.
void ScanForms(const UINT8 *Ifr, size_t Length, PackageListSummary *Summary) {
  size_t Position = 0;
  while (Position + 2 <= Length) {
    const UINT8 *Op = Ifr + Position;
    size_t OpLength = Op[1] & 0x7F;
    if (OpLength < 2 || Position + OpLength > Length) {
      return;
    }
    if (Op[0] == EFI_IFR_FORM_SET_OP && OpLength >= 22) {
      PackageListSummary::FormSetEntry Entry;
      std::memcpy(&Entry.Guid, Op + 2, sizeof(EFI_GUID));
      Entry.Title = ReadUnaligned16(Op + 18);
      Entry.Help = ReadUnaligned16(Op + 20);
      Summary->FormSets.push_back(Entry);
    } else if (Op[0] == EFI_IFR_VARSTORE_OP && OpLength >= 22) {
      PackageListSummary::BufferStore Store;
      std::memcpy(&Store.Guid, Op + 2, sizeof(EFI_GUID));
      Store.Size = ReadUnaligned16(Op + 20);
      for (size_t Index = 22; Index < OpLength && Op[Index] != 0; Index++) {
        Store.Name.push_back(static_cast<char16_t>(Op[Index]));
      }
      Summary->BufferStores.push_back(Store);
    } else if (Op[0] == EFI_IFR_VARSTORE_NAME_VALUE_OP && OpLength >= 20) {
      EFI_GUID Guid;
      std::memcpy(&Guid, Op + 4, sizeof(EFI_GUID));
      Summary->NameValueStores.push_back(Guid);
    }
    Position += OpLength;
  }
}

std::string Hex(unsigned long long Value) {
  char Text[24];
  std::snprintf(Text, sizeof(Text), "0x%llx", Value);
  return Text;
}

} // namespace

bool InspectPackageList(const std::vector<UINT8> &Bytes, PackageListSummary *Summary,
                        std::string *Error) {
  *Summary = PackageListSummary();
  if (Bytes.size() < ListHeaderBytes) {
    *Error = Offset(0) + std::to_string(Bytes.size()) +
             " bytes are too few for a package list header (20 bytes)";
    return false;
  }
  std::memcpy(&Summary->ListGuid, Bytes.data(), sizeof(EFI_GUID));
  UINT32 Declared = ReadUnaligned32(Bytes.data() + 16);
  if (Declared != Bytes.size()) {
    *Error = Offset(16) + "the header gives a length of " + std::to_string(Declared) +
             " bytes, the file has " + std::to_string(Bytes.size());
    return false;
  }
  size_t Position = ListHeaderBytes;
  while (Position < Bytes.size()) {
    if (Position + PackageHeaderBytes > Bytes.size()) {
      *Error = Offset(Position) + "a package header is cut short";
      return false;
    }
    UINT32 Header = ReadUnaligned32(Bytes.data() + Position);
    size_t Length = Header & 0xFFFFFF;
    UINT8 Type = static_cast<UINT8>(Header >> 24);
    if (Length < PackageHeaderBytes) {
      *Error = Offset(Position) + "a package of type " + Hex(Type) + " has length " +
               std::to_string(Length) + ", less than its own header";
      return false;
    }
    if (Position + Length > Bytes.size()) {
      *Error = Offset(Position) + "a package of " + std::to_string(Length) +
               " bytes runs past the end of the list (" + std::to_string(Bytes.size()) + " bytes)";
      return false;
    }
    if (Type == EFI_HII_PACKAGE_END) {
      if (Position + Length != Bytes.size()) {
        *Error = Offset(Position) + "the end package is followed by more bytes";
        return false;
      }
      return true;
    }
    if (Type == EFI_HII_PACKAGE_FORMS) {
      ScanForms(Bytes.data() + Position + PackageHeaderBytes, Length - PackageHeaderBytes, Summary);
    }
    Position += Length;
  }
  *Error = Offset(Bytes.size()) + "the list has no end package";
  return false;
}

std::vector<EFI_GUID> FormSetGuidsOf(EFI_HII_DATABASE_PROTOCOL *Database, EFI_HII_HANDLE Handle) {
  UINTN Size = 0;
  if (Database->ExportPackageLists(Database, Handle, &Size, nullptr) != EFI_BUFFER_TOO_SMALL) {
    return {};
  }
  std::vector<UINT8> Bytes(Size);
  if (EFI_ERROR(Database->ExportPackageLists(
          Database, Handle, &Size,
          reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(Bytes.data())))) {
    return {};
  }
  Bytes.resize(Size);
  PackageListSummary Summary;
  std::string Ignored;
  InspectPackageList(Bytes, &Summary, &Ignored);
  std::vector<EFI_GUID> Guids;
  for (const PackageListSummary::FormSetEntry &Entry : Summary.FormSets) {
    Guids.push_back(Entry.Guid);
  }
  return Guids;
}

struct PackageFiles::LoadedFile {
  std::unique_ptr<host::ConfigDriver> Driver;
  EFI_HII_HANDLE Handle = nullptr;
  EFI_GUID Page{};
  std::unique_ptr<host::PageProvider> Provider;
  PackageListSummary Summary;
};

PackageFiles::PackageFiles(EFI_SYSTEM_TABLE *System, EFI_HII_DATABASE_PROTOCOL *Database,
                           EFI_HII_CONFIG_ROUTING_PROTOCOL *Routing)
    : System(System), Database(Database), Routing(Routing) {}

PackageFiles::~PackageFiles() {
  ExitPage.reset();
  Pages.reset();
  while (!Files.empty()) {
    std::unique_ptr<LoadedFile> &File = Files.back();
    File->Provider.reset();
    if (File->Handle != nullptr) {
      Database->RemovePackageList(Database, File->Handle);
    }
    Files.pop_back();
  }
}

bool PackageFiles::LoadOne(const std::string &Path, size_t Index, std::string *Error) {
  std::ifstream Stream(Path, std::ios::binary);
  if (!Stream) {
    *Error = Path + ": cannot be opened: " + std::strerror(errno);
    return false;
  }
  Stream.seekg(0, std::ios::end);
  std::streamoff End = Stream.tellg();
  if (End < 0 || static_cast<size_t>(End) > MaximumFileBytes) {
    *Error = Path + ": is not a package list (larger than 64 MiB or unreadable)";
    return false;
  }
  Stream.seekg(0);
  std::vector<UINT8> Bytes(static_cast<size_t>(End));
  if (!Stream.read(reinterpret_cast<char *>(Bytes.data()), End)) {
    *Error = Path + ": cannot be read";
    return false;
  }

  auto File = std::make_unique<LoadedFile>();
  std::string Problem;
  if (!InspectPackageList(Bytes, &File->Summary, &Problem)) {
    *Error = Path + ": " + Problem;
    return false;
  }
  if (File->Summary.FormSets.empty()) {
    *Error = Path + ": the package list has no form set";
    return false;
  }

  EFI_BOOT_SERVICES *Boot = System->BootServices;
  EFI_RUNTIME_SERVICES *Runtime = System->RuntimeServices;
  File->Driver = std::make_unique<host::ConfigDriver>(Boot, Routing);
  // Buffer varstores keep their bytes in a variable of the same name and GUID, so a save
  // survives a restart.
  for (const PackageListSummary::BufferStore &Store : File->Summary.BufferStores) {
    if (File->Driver->Buffer(Store.Guid, Store.Name) != nullptr) {
      continue;
    }
    std::vector<UINT8> Stored(Store.Size);
    UINTN Size = Stored.size();
    if (EFI_ERROR(
            Runtime->GetVariable(Store.Name.c_str(), &Store.Guid, nullptr, &Size, Stored.data())) ||
        Size != Stored.size()) {
      std::fill(Stored.begin(), Stored.end(), 0);
    }
    File->Driver->AddBufferStorage(Store.Guid, Store.Name, std::move(Stored));
  }
  for (const EFI_GUID &Guid : File->Summary.NameValueStores) {
    if (File->Driver->NameValues(Guid) == nullptr) {
      File->Driver->AddNameValueStorage(Guid);
    }
  }
  host::ConfigDriver *Driver = File->Driver.get();
  std::vector<PackageListSummary::BufferStore> Stores = File->Summary.BufferStores;
  File->Driver->OnStored = [Driver, Stores, Runtime] {
    for (const PackageListSummary::BufferStore &Store : Stores) {
      std::vector<UINT8> *Bytes = Driver->Buffer(Store.Guid, Store.Name);
      if (Bytes != nullptr) {
        Runtime->SetVariable(Store.Name.c_str(), &Store.Guid, StoredAttributes, Bytes->size(),
                             Bytes->data());
      }
    }
  };

  // A generic driver knows nothing of the questions: it lets every change through, so that a
  // question with the Callback flag can be edited (a refused Changing would undo the edit).
  File->Driver->OnCallback = [](EFI_BROWSER_ACTION, EFI_QUESTION_ID, UINT8, EFI_IFR_TYPE_VALUE *,
                                EFI_BROWSER_ACTION_REQUEST *) { return EFI_SUCCESS; };

  EFI_STATUS Status = Database->NewPackageList(
      Database, reinterpret_cast<const EFI_HII_PACKAGE_LIST_HEADER *>(Bytes.data()),
      File->Driver->Handle(), &File->Handle);
  if (EFI_ERROR(Status)) {
    *Error = Path + ": the HII database refused the package list (" + StatusName(Status) + ")";
    return false;
  }
  File->Page = FilePageBase;
  File->Page.Data4[7] = static_cast<UINT8>(Index);
  const PackageListSummary::FormSetEntry &First = File->Summary.FormSets.front();
  File->Provider =
      std::make_unique<host::PageProvider>(Boot, File->Page, First.Title, First.Help, File->Handle);
  Files.push_back(std::move(File));
  return true;
}

bool PackageFiles::Load(const std::vector<std::string> &Paths, std::string *Error) {
  if (Paths.size() > MaximumFiles) {
    *Error = "at most " + std::to_string(MaximumFiles) + " package files can be shown at once";
    return false;
  }
  for (size_t Index = 0; Index < Paths.size(); Index++) {
    if (!LoadOne(Paths[Index], Index, Error)) {
      return false;
    }
  }
  sample::SampleServices Services;
  if (!Services.Locate(System)) {
    *Error = "the HII services are missing";
    return false;
  }
  ExitPage = sample::MakeExitPage(Services);
  std::vector<EFI_GUID> Order;
  for (const std::unique_ptr<LoadedFile> &File : Files) {
    Order.push_back(File->Page);
  }
  Order.push_back(gDefaultPageGuids[4]);
  Pages = std::make_unique<host::PageList>(System->BootServices, Order);
  return true;
}

std::vector<EFI_HII_HANDLE> PackageFiles::Handles() const {
  std::vector<EFI_HII_HANDLE> Out;
  for (const std::unique_ptr<LoadedFile> &File : Files) {
    Out.push_back(File->Handle);
  }
  if (ExitPage != nullptr) {
    Out.push_back(ExitPage->Handle());
  }
  return Out;
}

} // namespace morvane::tools
