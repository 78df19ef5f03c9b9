// Every GUID the driver names, against its textual form: a transposed byte in a hand-written
// initializer would silently break a protocol look-up.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "core/browser_context.h"
#include "core/external_protocols.h"
#include "core/user_access.h"
#include "dialogs/browser_services.h"
#include "model/ifr_parser.h"
#include "support/print.h"
#include "tests/common/text.h"
#include "uefi/console.h"
#include "uefi/device_path.h"
#include "uefi/form_browser.h"
#include "uefi/graphics.h"
#include "uefi/hii.h"
#include "uefi/unicode_collation.h"

namespace {

std::string Text(const EFI_GUID &Guid) {
  CHAR16 Buffer[40];
  FormatText(Buffer, sizeof(Buffer), u"%g", &Guid);
  std::string Out = morvane::test::Utf8(Buffer);
  std::transform(Out.begin(), Out.end(), Out.begin(),
                 [](unsigned char C) { return std::tolower(C); });
  return Out;
}

struct GuidCase {
  const EFI_GUID *Guid;
  const char *Expected;
};

TEST(GuidTableTest, ConstantsMatchTheirTextualForm) {
  const GuidCase Cases[] = {
      {&gEfiGlobalVariableGuid, "8be4df61-93ca-11d2-aa0d-00e098032b8c"},
      {&gEfiDevicePathProtocolGuid, "09576e91-6d3f-11d2-8e39-00a0c969723b"},
      {&gEfiSimpleTextInProtocolGuid, "387477c1-69c7-11d2-8e39-00a0c969723b"},
      {&gEfiSimpleTextInputExProtocolGuid, "dd9e7534-7762-4698-8c14-f58517a625aa"},
      {&gEfiSimpleTextOutProtocolGuid, "387477c2-69c7-11d2-8e39-00a0c969723b"},
      {&gEfiGraphicsOutputProtocolGuid, "9042a9de-23dc-4a38-96fb-7aded080516a"},
      {&gEfiHiiDatabaseProtocolGuid, "ef9fc172-a1b2-4693-b327-6d32fc416042"},
      {&gEfiHiiStringProtocolGuid, "0fd96974-23aa-4cdc-b9cb-98d17750322a"},
      {&gEfiHiiImageProtocolGuid, "31a6406a-6bdf-4e46-b2a2-ebaa89c40920"},
      {&gEfiHiiFontProtocolGuid, "e9ca4775-8657-47fc-97e7-7ed65a084324"},
      {&gEfiHiiConfigRoutingProtocolGuid, "587e72d7-cc50-4f79-8209-ca291fc1a10f"},
      {&gEfiHiiConfigAccessProtocolGuid, "330d4706-f2a0-4e4f-a369-b66fa8d54385"},
      {&gEfiFormBrowser2ProtocolGuid, "b9d4c360-bcfb-4f9b-9298-53c136982258"},
      {&gEfiUnicodeCollation2ProtocolGuid, "a4c751fc-23ae-4c3e-92e9-4964cf63f349"},
      {&gEfiHiiPlatformSetupFormsetGuid, "93039971-8545-4b04-b45e-32eb8326040e"},
      {&gEfiUserManagerProtocolGuid, "74ef2296-fce1-4114-a99b-3dff5fcb8e25"},
      {&gEfiUserProfileChangedEventGroupGuid, "baf1e6de-209e-4adb-8d96-fd8b71f3f683"},
      {&gEfiUserInfoAccessSetupAdminGuid, "85b75607-f7ce-471e-b7e4-2aea5f7232ee"},
      {&gEfiUserInfoAccessSetupNormalGuid, "1db29ae0-9dcb-43bc-8d87-5da14964dde2"},
      {&gEfiUserInfoAccessSetupRestrictedGuid, "bdb38125-4d63-49f4-8212-61cf5a190af8"},
      {&gBrowserServicesProtocolGuid, "d617ff8a-0967-470d-9c6f-a7b40ae42703"},
      {&gPrintProtocolGuid, "df2d868e-32fc-4cf0-8e6b-ffd95d1343d0"},
      {&gScreenLayoutProtocolGuid, "7d4328be-0350-4e06-9ea5-95ca09a94267"},
      {&gNoDefaultsLayoutGuid, "7f529fa2-1e6d-44f6-aa11-0d4812e29110"},
      {&gNoHelpLayoutGuid, "ca51359c-2c4f-4a9a-8004-4347694245c8"},
      {&gFormStyleTableProtocolGuid, "8cad1c04-fa2e-4a4f-a4be-199c007801b4"},
      {&gRefreshNotifyProtocolGuid, "217156ca-424f-4b32-86ee-b5e0455ed85e"},
      {&gSpeakerInterfaceProtocolGuid, "400b4476-3081-11d6-87ed-00062945c3b9"},
      {&gPageListProtocolGuid, "f5261e18-f373-40ba-87fd-7f1c300cbbff"},
      {&gDefaultPageGuids[0], "821d8b77-246d-4e96-8e10-3467d56ab1bb"},
      {&gDefaultPageGuids[1], "821d8b77-246d-4e96-8e10-3467d56ab1ba"},
      {&gDefaultPageGuids[2], "ef6619ee-f77d-4a8c-8693-d60d6aa56702"},
      {&gNotifiedPageProtocolGuid, "348ca223-637b-4430-baf3-1ce5d322b3fd"},
      {&gExitPageGuid, "687a830d-55fb-415a-9520-182789353284"},
      {&gBrowserStringsPackageListGuid, "ab368524-b60c-495b-a009-12e85b1aea32"},
      {&gIfrVendorExtensionGuid, "0f0b1735-87a0-4193-b266-538c38af48ce"},
      {&gActionKeyRangeBeginGuid, "ef624d8a-ff5d-41ae-b7b6-768ad18424b8"},
      {&gActionKeyRangeEndGuid, "4837748d-6d92-48bf-8eac-5dab6ca62084"},
  };
  for (const GuidCase &Case : Cases) {
    EXPECT_EQ(Text(*Case.Guid), Case.Expected);
  }
}

} // namespace
