#include "support/package_list.h"

#include "support/memory.h"

#include "support/poison.h"

EFI_HII_PACKAGE_LIST_HEADER *BuildPackageList(UINTN Count, const EFI_GUID *Guid, ...) {
  const UINT32 EndPackage = 0xDF000004u;
  UINTN Total = sizeof(EFI_HII_PACKAGE_LIST_HEADER) + sizeof(EndPackage);

  va_list Blocks;
  va_start(Blocks, Guid);
  for (UINTN Index = 0; Index < Count; Index++) {
    const UINT8 *Block = va_arg(Blocks, const UINT8 *);
    UINT32 Length = ReadUnaligned32(Block);
    if (Length < sizeof(UINT32)) {
      va_end(Blocks);
      return nullptr;
    }
    Total += Length - sizeof(UINT32);
  }
  va_end(Blocks);

  UINT8 *List = static_cast<UINT8 *>(AllocateZeroedPool(Total));
  if (List == nullptr) {
    return nullptr;
  }
  EFI_HII_PACKAGE_LIST_HEADER *Header = reinterpret_cast<EFI_HII_PACKAGE_LIST_HEADER *>(List);
  CopyBytes(&Header->PackageListGuid, Guid, sizeof(EFI_GUID));
  WriteUnaligned32(&Header->PackageLength, static_cast<UINT32>(Total));

  UINT8 *Cursor = List + sizeof(EFI_HII_PACKAGE_LIST_HEADER);
  va_start(Blocks, Guid);
  for (UINTN Index = 0; Index < Count; Index++) {
    const UINT8 *Block = va_arg(Blocks, const UINT8 *);
    UINT32 Length = ReadUnaligned32(Block) - sizeof(UINT32);
    CopyBytes(Cursor, Block + sizeof(UINT32), Length);
    Cursor += Length;
  }
  va_end(Blocks);
  WriteUnaligned32(Cursor, EndPackage);
  return Header;
}
