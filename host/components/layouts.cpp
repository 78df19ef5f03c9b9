#include "host/components/layouts.h"

#include "core/external_protocols.h"
#include "screen/layout.h"

namespace morvane::host {

namespace {

using Row = std::vector<uint32_t>;

// AreaId, horizontal anchor and offset, vertical anchor and offset, width kind and value,
// height kind and value, flags, ten attributes.
Row LayoutRowWords(uint32_t Area, int32_t Column, int32_t Line, int32_t Width, int32_t Height,
                   uint32_t Flags, std::vector<uint32_t> Attributes) {
  Attributes.resize(10, 0);
  Row Words = {Area,
               ANCHOR_LEFT,
               static_cast<uint32_t>(Column),
               ANCHOR_TOP,
               static_cast<uint32_t>(Line),
               SIZE_CELLS,
               static_cast<uint32_t>(Width),
               SIZE_CELLS,
               static_cast<uint32_t>(Height),
               Flags};
  Words.insert(Words.end(), Attributes.begin(), Attributes.end());
  return Words;
}

Row TitleRow() {
  return LayoutRowWords(AREA_TITLE, 0, 0, 80, 1, 0x11, {0x30});
}
Row MenuBarRow() {
  return LayoutRowWords(AREA_MENU_BAR, 0, 1, 80, 1, 0x11, {0x17, 0x11, 0x71});
}
Row FooterRow() {
  return LayoutRowWords(AREA_FOOTER, 0, 23, 80, 2, 0x21, {0x3F, 0, 0, 0x30});
}
const std::vector<uint32_t> BodyAttributes = {0x71, 0x00, 0x7F, 0x70, 0x78,
                                              0x07, 0x17, 0x00, 0x3F, 0x70};

} // namespace

std::vector<uint32_t> MakeLayoutBlock(const std::vector<std::vector<uint32_t>> &Rows) {
  std::vector<uint32_t> Block = {0, 0};
  for (const Row &Words : Rows) {
    Block.insert(Block.end(), Words.begin(), Words.end());
  }
  Block[0] = static_cast<uint32_t>(Block.size() * sizeof(uint32_t));
  Block[1] = static_cast<uint32_t>((Block.size() - 2) * sizeof(uint32_t));
  return Block;
}

StandardLayouts::StandardLayouts(EFI_BOOT_SERVICES *Services) : BootServices(Services) {
  NoDefaults = MakeLayoutBlock(
      {TitleRow(), MenuBarRow(), LayoutRowWords(AREA_BODY, 0, 2, 55, 21, 0x21, BodyAttributes),
       LayoutRowWords(AREA_HELP, 54, 2, 26, 21, 0x21, {0x71, 0, 0, 0x70, 0, 0, 0, 0, 0, 0x70}),
       FooterRow()});
  NoHelp =
      MakeLayoutBlock({TitleRow(), MenuBarRow(),
                       LayoutRowWords(AREA_BODY, 0, 2, 80, 21, 0x21, BodyAttributes), FooterRow()});
  BootServices->InstallMultipleProtocolInterfaces(&Handle_, &gNoDefaultsLayoutGuid,
                                                  NoDefaults.data(), &gNoHelpLayoutGuid,
                                                  NoHelp.data(), nullptr);
}

StandardLayouts::~StandardLayouts() {
  if (Handle_ != nullptr) {
    BootServices->UninstallMultipleProtocolInterfaces(Handle_, &gNoDefaultsLayoutGuid,
                                                      NoDefaults.data(), &gNoHelpLayoutGuid,
                                                      NoHelp.data(), nullptr);
  }
}

} // namespace morvane::host
