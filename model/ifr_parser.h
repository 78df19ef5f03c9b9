// The one walk over the IFR of a form set that builds its records. The IFR may come from a
// third-party option ROM, so every field is read only within its opcode and the form set's
// length; malformed IFR ends the walk with a status and a notice, never a crash.
#pragma once

#include "model/form_model.h"

// Walks FormSet->IfrData from its first opcode to the end of the form set's scope, building
// forms, storages, default stores, statements, options, defaults and expressions. Disable-if
// expressions are evaluated as they are read; what they disable never enters the model.
EFI_STATUS ReadFormSetOpcodes(FormSet *Set);

// Counts operators and everything else by walking the opcodes by their lengths. A subtitle is
// counted twice, since it may make a companion record.
void TallyOpcodes(const FormSet *Set, UINT16 *StatementCount, UINT16 *OperatorCount);

// True for the expression opcodes: 0x12-0x17, 0x20, 0x21, 0x28, 0x2A-0x59, 0x5E and 0x60.
bool OpcodeIsOperator(UINT8 Opcode);

// The GUIDs of the IFR GUID records this browser reads.
inline constexpr EFI_GUID gActionKeyRangeBeginGuid = {
    0xef624d8a, 0xff5d, 0x41ae, {0xb7, 0xb6, 0x76, 0x8a, 0xd1, 0x84, 0x24, 0xb8}};
inline constexpr EFI_GUID gActionKeyRangeEndGuid = {
    0x4837748d, 0x6d92, 0x48bf, {0x8e, 0xac, 0x5d, 0xab, 0x6c, 0xa6, 0x20, 0x84}};
#define VENDOR_EXTENSION_SUBCODE_CLASS 3
#define VENDOR_EXTENSION_SUBCODE_SUBCLASS 4

// True between the action-key range markers; survives a parse into the next one.
extern bool ActionOnKeyOpen;
