#include "host/platform.h"
#include "host/services.h"

namespace morvane::host {

namespace {
Platform &Host() {
  return Platform::Current();
}

// GetTime: the virtual real-time clock.
EFI_STATUS EFIAPI GetTime(EFI_TIME *Time, EFI_TIME_CAPABILITIES *Capabilities) {
  return Host().Clock().GetTime(Time, Capabilities);
}

// SetTime: moves the real-time clock; the virtual clock of the timers is untouched.
EFI_STATUS EFIAPI SetTime(EFI_TIME *Time) {
  return Host().Clock().SetTime(Time);
}

// GetWakeupTime: the alarm setting.
EFI_STATUS EFIAPI GetWakeupTime(BOOLEAN *Enabled, BOOLEAN *Pending, EFI_TIME *Time) {
  return Host().Clock().GetWakeupTime(Enabled, Pending, Time);
}

// SetWakeupTime: arms or disarms the alarm.
EFI_STATUS EFIAPI SetWakeupTime(BOOLEAN Enable, EFI_TIME *Time) {
  return Host().Clock().SetWakeupTime(Enable, Time);
}

// SetVirtualAddressMap: runtime mapping only happens after ExitBootServices, which never comes.
EFI_STATUS EFIAPI SetVirtualAddressMap(UINTN MemoryMapSize, UINTN DescriptorSize,
                                       UINT32 DescriptorVersion,
                                       EFI_MEMORY_DESCRIPTOR *VirtualMap) {
  return EFI_UNSUPPORTED;
}

// ConvertPointer: see SetVirtualAddressMap.
EFI_STATUS EFIAPI ConvertPointer(UINTN DebugDisposition, VOID **Address) {
  return EFI_UNSUPPORTED;
}

// GetVariable: a variable's data, with the two-call size idiom.
EFI_STATUS EFIAPI GetVariable(const CHAR16 *VariableName, const EFI_GUID *VendorGuid,
                              UINT32 *Attributes, UINTN *DataSize, VOID *Data) {
  return Host().Variables().Get(VariableName, VendorGuid, Attributes, DataSize, Data);
}

// GetNextVariableName: walks the variables in the order they were created.
EFI_STATUS EFIAPI GetNextVariableName(UINTN *VariableNameSize, CHAR16 *VariableName,
                                      EFI_GUID *VendorGuid) {
  return Host().Variables().GetNextName(VariableNameSize, VariableName, VendorGuid);
}

// SetVariable: creates, replaces, appends to or deletes a variable.
EFI_STATUS EFIAPI SetVariable(const CHAR16 *VariableName, const EFI_GUID *VendorGuid,
                              UINT32 Attributes, UINTN DataSize, const VOID *Data) {
  return Host().Variables().Set(VariableName, VendorGuid, Attributes, DataSize, Data);
}

// GetNextHighMonotonicCount: bumps the high half of the monotonic count.
EFI_STATUS EFIAPI GetNextHighMonotonicCount(UINT32 *HighCount) {
  if (HighCount == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *HighCount = Host().NextHighMonotonicCount();
  return EFI_SUCCESS;
}

// ResetSystem: recorded for the owner; inside a driver run the run stops there for good.
VOID EFIAPI ResetSystem(EFI_RESET_TYPE ResetType, EFI_STATUS ResetStatus, UINTN DataSize,
                        VOID *ResetData) {
  Host().RecordReset(ResetType, ResetStatus, DataSize, ResetData);
}

// UpdateCapsule: there is no firmware here to update.
EFI_STATUS EFIAPI UpdateCapsule(VOID **CapsuleHeaderArray, UINTN CapsuleCount,
                                EFI_PHYSICAL_ADDRESS ScatterGatherList) {
  return EFI_UNSUPPORTED;
}

// QueryCapsuleCapabilities: see UpdateCapsule.
EFI_STATUS EFIAPI QueryCapsuleCapabilities(VOID **CapsuleHeaderArray, UINTN CapsuleCount,
                                           UINT64 *MaximumCapsuleSize, EFI_RESET_TYPE *ResetType) {
  return EFI_UNSUPPORTED;
}

// QueryVariableInfo: room left for a class of variables.
EFI_STATUS EFIAPI QueryVariableInfo(UINT32 Attributes, UINT64 *MaximumVariableStorageSize,
                                    UINT64 *RemainingVariableStorageSize,
                                    UINT64 *MaximumVariableSize) {
  return Host().Variables().QueryInfo(Attributes, MaximumVariableStorageSize,
                                      RemainingVariableStorageSize, MaximumVariableSize);
}
} // namespace

EFI_RUNTIME_SERVICES MakeRuntimeServices() {
  return {
      .Hdr = {EFI_RUNTIME_SERVICES_SIGNATURE, (2U << 16) | 70U, sizeof(EFI_RUNTIME_SERVICES), 0, 0},
      .GetTime = GetTime,
      .SetTime = SetTime,
      .GetWakeupTime = GetWakeupTime,
      .SetWakeupTime = SetWakeupTime,
      .SetVirtualAddressMap = SetVirtualAddressMap,
      .ConvertPointer = ConvertPointer,
      .GetVariable = GetVariable,
      .GetNextVariableName = GetNextVariableName,
      .SetVariable = SetVariable,
      .GetNextHighMonotonicCount = GetNextHighMonotonicCount,
      .ResetSystem = ResetSystem,
      .UpdateCapsule = UpdateCapsule,
      .QueryCapsuleCapabilities = QueryCapsuleCapabilities,
      .QueryVariableInfo = QueryVariableInfo,
  };
}

} // namespace morvane::host
