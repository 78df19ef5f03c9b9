#!/usr/bin/env bash
# Checks the driver image: PE32+ for x86-64, an EFI boot-service driver with an entry point,
# base relocations so firmware can load it anywhere, and no imports.
# Usage: check_image.sh READOBJ IMAGE
set -euo pipefail
readobj="$1"
image="$2"

fail() {
  echo "morvane.efi: $1"
  exit 1
}

headers=$("$readobj" --file-headers "$image")
grep -q "Machine: IMAGE_FILE_MACHINE_AMD64" <<<"$headers" || fail "not an x86-64 image"
grep -q "Magic: 0x20B" <<<"$headers" || fail "not PE32+"
grep -q "Subsystem: IMAGE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER" <<<"$headers" ||
  fail "subsystem is not EFI boot service driver"
entry=$(sed -n 's/.*AddressOfEntryPoint: \(0x[0-9A-Fa-f]*\).*/\1/p' <<<"$headers")
[ -n "$entry" ] && [ "$((entry))" -ne 0 ] || fail "no entry point"

relocations=$("$readobj" --coff-basereloc "$image" | grep -c "Type: DIR64" || true)
[ "$relocations" -gt 0 ] || fail "no base relocations"

imports=$("$readobj" --coff-imports "$image" | grep -c "Import {" || true)
[ "$imports" -eq 0 ] || fail "$imports imported libraries"

echo "morvane.efi: PE32+ x86-64 EFI boot service driver, entry $entry, $relocations relocations, no imports"
