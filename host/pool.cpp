#include "host/pool.h"

#include <algorithm>
#include <cstdlib>

namespace morvane::host {

PoolAllocator::~PoolAllocator() {
  for (auto &Block : Blocks) {
    std::free(const_cast<VOID *>(Block.first));
  }
}

UINTN PoolAllocator::SizeOf(const VOID *Buffer) const {
  auto Found = Blocks.find(Buffer);
  return Found == Blocks.end() ? 0 : Found->second.Size;
}

bool PoolAllocator::ShouldFail() {
  bool Fail = false;
  if (FailOnlyAt != 0 && --FailOnlyAt == 0) {
    Fail = true;
  }
  if (FailFrom != 0) {
    if (FailFrom == 1) {
      Fail = true;
    } else {
      FailFrom--;
    }
  }
  return Fail;
}

EFI_STATUS PoolAllocator::Allocate(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer) {
  // Types past the published ones up to the OEM range are reserved; persistent memory is not
  // pool memory.
  UINT32 Type = static_cast<UINT32>(PoolType);
  if (Buffer == nullptr || (Type >= EfiMaxMemoryType && Type < 0x70000000U) ||
      PoolType == EfiPersistentMemory) {
    return EFI_INVALID_PARAMETER;
  }
  if (ShouldFail()) {
    return EFI_OUT_OF_RESOURCES;
  }
  // malloc aligns to at least 16 bytes, more than the 8 firmware promises.
  VOID *Block = std::malloc(Size == 0 ? 1 : Size);
  if (Block == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  AllocationCount++;
  Blocks.emplace(Block, PoolAllocator::Block{Size, AllocationCount});
  OutstandingBytes += Size;
  *Buffer = Block;
  return EFI_SUCCESS;
}

EFI_STATUS PoolAllocator::Free(VOID *Buffer) {
  auto Found = Blocks.find(Buffer);
  if (Found == Blocks.end()) {
    BadFreeCount++;
    return EFI_INVALID_PARAMETER;
  }
  OutstandingBytes -= Found->second.Size;
  Blocks.erase(Found);
  std::free(Buffer);
  return EFI_SUCCESS;
}

std::vector<PoolAllocator::BlockInfo> PoolAllocator::OutstandingSince(UINTN FromSerial) const {
  std::vector<BlockInfo> Found;
  for (const auto &Entry : Blocks) {
    if (Entry.second.Serial >= FromSerial) {
      Found.push_back({Entry.second.Size, Entry.second.Serial});
    }
  }
  std::sort(Found.begin(), Found.end(), [](const BlockInfo &Left, const BlockInfo &Right) {
    return Left.Serial < Right.Serial;
  });
  return Found;
}

void PoolAllocator::FailAllocation(UINTN Nth) {
  FailOnlyAt = Nth;
}

void PoolAllocator::FailAllocationsAfter(UINTN Count) {
  FailFrom = Count + 1;
}

void PoolAllocator::ClearAllocationFailures() {
  FailOnlyAt = 0;
  FailFrom = 0;
}

} // namespace morvane::host
