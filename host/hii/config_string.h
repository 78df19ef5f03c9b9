// Configuration strings (<ConfigHdr>, <ConfigRequest>, <ConfigResp>, <ConfigAltResp>) as
// UCS-2 text: parsing and the block conversions. Positions are indexes into the text; every
// input may be malformed and is read within its bounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "uefi/base.h"

namespace morvane::host {

// "GUID=<32 hex>&NAME=<hex, 4 per character>&PATH=<hex, 2 per byte>" starting at Start.
struct ConfigHeader {
  size_t Start = 0;
  // Index just past the PATH digits.
  size_t End = 0;
  std::u16string_view Guid;
  std::u16string_view Name;
  std::u16string_view Path;
};
bool ParseConfigHeader(std::u16string_view Text, size_t Start, ConfigHeader *Header);

// Where each configuration of a multi-configuration string begins: 0, and the 'G' after each
// "&GUID=".
std::vector<size_t> ConfigSections(std::u16string_view Text);

// Hex digit pairs to bytes in memory order; false for an odd count or a non-hex digit.
bool HexPairsToBytes(std::u16string_view Digits, std::vector<uint8_t> *Bytes);
// Bytes in memory order as lower-case hex digit pairs.
std::u16string BytesToHexPairs(const uint8_t *Bytes, size_t Size);
// Each character as four lower-case hex digits, as NAME= writes a name.
std::u16string NameToHex(std::u16string_view Name);
// Hex text compared without regard to case.
bool SameHex(std::u16string_view Left, std::u16string_view Right);

// <ConfigRequest> with block elements to <ConfigResp>: each "&OFFSET=o&WIDTH=w" gains
// "&VALUE=v", v the w bytes at o written as a number (last byte first, lower case).
// EFI_INVALID_PARAMETER for a malformed request, a zero width or an element outside the
// block, with Progress at the '&' of the offending element (0 for a bad header); on success
// Progress is the length of Request.
EFI_STATUS BlockToConfigText(std::u16string_view Request, const uint8_t *Block, size_t BlockSize,
                             std::u16string *Config, size_t *Progress);

// <ConfigResp> with block elements into Block. BlockSize in: the bytes available; out: the
// largest index of a modified byte on success, or the bytes needed with EFI_BUFFER_TOO_SMALL
// (then Progress is at the first element that does not fit and nothing is written). VALUE
// digits are of either case; more digits than 2 * WIDTH are refused.
EFI_STATUS ConfigToBlockBytes(std::u16string_view Response, uint8_t *Block, size_t *BlockSize,
                              size_t *Progress);

// The configuration of Response whose header matches the given fields (null matches any)
// and whose "&ALTCFG=" id is AltCfgId (no ALTCFG when AltCfgId is empty), as header and
// body without the ALTCFG element. EFI_NOT_FOUND when none matches, EFI_INVALID_PARAMETER
// for a malformed Response.
EFI_STATUS AltConfigText(std::u16string_view Response, const std::u16string *Guid,
                         const std::u16string *Name, const std::u16string *Path,
                         std::optional<UINT16> AltCfgId, std::u16string *Result);

} // namespace morvane::host
