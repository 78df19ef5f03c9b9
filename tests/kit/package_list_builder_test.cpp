#include <gtest/gtest.h>

#include "host/kit/guid_text.h"
#include "host/kit/package_list_builder.h"
#include "tests/common/bytes.h"

using morvane::kit::IfrWriter;
using morvane::kit::PackageListBuilder;
using morvane::kit::ParseGuid;
using morvane::kit::Strings;
using morvane::test::ByteVector;
using morvane::test::Join;

namespace {

const EFI_GUID GUID = ParseGuid("8be4df61-93ca-11d2-aa0d-00e098032b8c");
const ByteVector G = {0x61, 0xdf, 0xe4, 0x8b, 0xca, 0x93, 0xd2, 0x11,
                      0xaa, 0x0d, 0x00, 0xe0, 0x98, 0x03, 0x2b, 0x8c};
const ByteVector END_PACKAGE = {0x04, 0x00, 0x00, EFI_HII_PACKAGE_END};

TEST(PackageListBuilderTest, EmptyListIsHeaderAndEnd) {
  EXPECT_EQ(PackageListBuilder(GUID).Bytes(), Join({G, {24, 0, 0, 0}, END_PACKAGE}));
}

TEST(PackageListBuilderTest, PackagesInOrderWithTheirHeaders) {
  IfrWriter Forms;
  Forms.Form(1, 2, true).End();
  ByteVector List = PackageListBuilder(GUID)
                        .AddForms(Forms)
                        .AddPackage(0xE0, {0xAB})
                        .AddGuidPackage(GUID, {0x01, 0x02})
                        .AddRawPackage({0x05, 0x00, 0x00, 0x09, 0xCD})
                        .Bytes();
  ByteVector Expected = Join({G,
                              {20 + 12 + 5 + 22 + 5 + 4, 0, 0, 0},
                              Forms.Package(),
                              {0x05, 0x00, 0x00, 0xE0, 0xAB},
                              {0x16, 0x00, 0x00, EFI_HII_PACKAGE_TYPE_GUID},
                              G,
                              {0x01, 0x02},
                              {0x05, 0x00, 0x00, 0x09, 0xCD},
                              END_PACKAGE});
  EXPECT_EQ(List, Expected);
}

TEST(PackageListBuilderTest, StringsGiveOnePackagePerLanguage) {
  Strings Table;
  Table.Add(u"One");
  Table.Translate("fr-FR", 1, u"Un");
  Table.Translate("de-DE", 1, u"Eins");
  ByteVector All = PackageListBuilder(GUID).AddStrings(Table).Bytes();
  EXPECT_EQ(
      All,
      Join({G,
            {static_cast<uint8_t>(24 + Table.Package("en-US").size() +
                                  Table.Package("fr-FR").size() + Table.Package("de-DE").size()),
             0, 0, 0},
            Table.Package("en-US"),
            Table.Package("fr-FR"),
            Table.Package("de-DE"),
            END_PACKAGE}));
  ByteVector Chosen = PackageListBuilder(GUID).AddStrings(Table, {"de-DE", "en-US"}).Bytes();
  EXPECT_EQ(ByteVector(Chosen.begin() + 20, Chosen.end() - 4),
            Join({Table.Package("de-DE"), Table.Package("en-US")}));
}

} // namespace
