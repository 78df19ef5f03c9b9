#include "fuzz/fuzz_strings.h"

#include <string>

namespace morvane::fuzz {

const kit::Strings &FuzzStrings() {
  static const kit::Strings Table = [] {
    kit::Strings Built;
    for (EFI_STRING_ID Id = 1; Id <= FuzzStringCount; Id++) {
      std::u16string Text = u"String ";
      for (char Digit : std::to_string(Id)) {
        Text += static_cast<char16_t>(Digit);
      }
      // A few texts that the string operators can do something with.
      if (Id == 7) {
        Text = u"0x1F";
      } else if (Id == 8) {
        Text = u"A,B,C";
      } else if (Id == 9) {
        Text = u"";
      }
      Built.Add(Text);
      if (Id <= FuzzStringCount / 2) {
        Built.Translate("fr-FR", Id, Text + u" (fr)");
      }
    }
    return Built;
  }();
  return Table;
}

} // namespace morvane::fuzz
