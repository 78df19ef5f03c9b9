// Pool memory with accounting and fault injection. Every block is its own malloc of exactly the
// requested size, so AddressSanitizer reports an overrun of any one of them.
#pragma once

#include <unordered_map>
#include <vector>

#include "uefi/base.h"

namespace morvane::host {

struct PoolSnapshot {
  UINTN Blocks = 0;
  UINTN Bytes = 0;
  bool operator==(const PoolSnapshot &) const = default;
};

class PoolAllocator {
public:
  PoolAllocator() = default;
  // Frees every outstanding block, so an abandoned driver run leaks nothing.
  ~PoolAllocator();
  PoolAllocator(const PoolAllocator &) = delete;
  PoolAllocator &operator=(const PoolAllocator &) = delete;

  EFI_STATUS Allocate(EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer);
  // EFI_INVALID_PARAMETER for a pointer this pool did not hand out, counted as a bad free.
  EFI_STATUS Free(VOID *Buffer);
  bool Owns(const VOID *Buffer) const { return Blocks.count(Buffer) != 0; }
  UINTN SizeOf(const VOID *Buffer) const;

  PoolSnapshot Snapshot() const { return {Blocks.size(), OutstandingBytes}; }
  // One outstanding block: its size and the number of the allocation that made it.
  struct BlockInfo {
    UINTN Size;
    UINTN Serial;
  };
  // The outstanding blocks made by allocation number FromSerial or later, oldest first; what a
  // test names when something was not given back.
  std::vector<BlockInfo> OutstandingSince(UINTN FromSerial) const;
  UINTN BadFrees() const { return BadFreeCount; }
  UINTN Allocations() const { return AllocationCount; }

  // The Nth allocation from now (1 = the next) fails with EFI_OUT_OF_RESOURCES.
  void FailAllocation(UINTN Nth);
  // The next Count allocations succeed; every one after them fails.
  void FailAllocationsAfter(UINTN Count);
  void ClearAllocationFailures();

private:
  bool ShouldFail();

  struct Block {
    UINTN Size;
    UINTN Serial;
  };
  std::unordered_map<const VOID *, Block> Blocks;
  UINTN OutstandingBytes = 0;
  UINTN BadFreeCount = 0;
  UINTN AllocationCount = 0;
  // Countdowns of allocation attempts; 0 means unarmed.
  UINTN FailOnlyAt = 0;
  UINTN FailFrom = 0;
};

} // namespace morvane::host
