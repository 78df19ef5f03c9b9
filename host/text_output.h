// The simple text output protocol over a TextScreen.
#pragma once

#include "host/text_screen.h"

namespace morvane::host {

class TextOutput {
public:
  explicit TextOutput(TextScreen &Screen);
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL *Protocol() { return &Record.Protocol; }

  struct PrivateRecord {
    EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL Protocol;
    UINT64 Signature;
    TextScreen *Screen;
  };

private:
  PrivateRecord Record;
};

} // namespace morvane::host
