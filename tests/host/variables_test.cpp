#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include "host/variable_file.h"
#include "tests/host/host_test.h"

namespace morvane::host::test {
namespace {

constexpr UINT32 NV_BS = EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 BS = EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr EFI_GUID kVendor = {0xabcdef01, 0x1234, 0x5678, {9, 8, 7, 6, 5, 4, 3, 2}};

using VariablesTest = HostTest;

TEST_F(VariablesTest, GetVariableTwoCallIdiom) {
  const UINT8 Value[5] = {1, 2, 3, 4, 5};
  ASSERT_EQ(Runtime->SetVariable(u"Setup", &kVendor, NV_BS, sizeof(Value), Value), EFI_SUCCESS);
  UINTN Size = 0;
  UINT32 Attributes = 0;
  ASSERT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, sizeof(Value));
  UINT8 Read[5] = {};
  Size = 4;
  EXPECT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, Read),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 5U);
  ASSERT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, Read), EFI_SUCCESS);
  EXPECT_EQ(Attributes, NV_BS);
  EXPECT_EQ(std::memcmp(Read, Value, 5), 0);
}

TEST_F(VariablesTest, GetVariableStatusesForMissingAndNull) {
  UINTN Size = 0;
  UINT8 Byte = 0;
  EXPECT_EQ(Runtime->GetVariable(u"Missing", &kVendor, nullptr, &Size, &Byte), EFI_NOT_FOUND);
  EXPECT_EQ(Runtime->GetVariable(nullptr, &kVendor, nullptr, &Size, &Byte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetVariable(u"X", nullptr, nullptr, &Size, &Byte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetVariable(u"X", &kVendor, nullptr, nullptr, &Byte), EFI_INVALID_PARAMETER);
  // The same name under another GUID is another variable.
  Runtime->SetVariable(u"X", &kVendor, BS, 1, &Byte);
  EXPECT_EQ(Runtime->GetVariable(u"X", &gEfiGlobalVariableGuid, nullptr, &Size, &Byte),
            EFI_NOT_FOUND);
}

struct SetCase {
  const char *Name;
  const CHAR16 *VariableName;
  bool NullGuid;
  UINT32 Attributes;
  UINTN Size;
  bool NullData;
  EFI_STATUS Expected;
};

class SetVariableRefusalTest : public HostTest, public ::testing::WithParamInterface<SetCase> {};

TEST_P(SetVariableRefusalTest, Refused) {
  const SetCase &Case = GetParam();
  UINT8 Data[4] = {};
  EXPECT_EQ(Runtime->SetVariable(Case.VariableName, Case.NullGuid ? nullptr : &kVendor,
                                 Case.Attributes, Case.Size, Case.NullData ? nullptr : Data),
            Case.Expected);
  EXPECT_EQ(Host.Variables().Count(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SetVariableRefusalTest,
    ::testing::Values(SetCase{"NullName", nullptr, false, BS, 4, false, EFI_INVALID_PARAMETER},
                      SetCase{"EmptyName", u"", false, BS, 4, false, EFI_INVALID_PARAMETER},
                      SetCase{"NullGuid", u"V", true, BS, 4, false, EFI_INVALID_PARAMETER},
                      SetCase{"NullDataWithSize", u"V", false, BS, 4, true, EFI_INVALID_PARAMETER},
                      SetCase{"RuntimeWithoutBoot", u"V", false, EFI_VARIABLE_RUNTIME_ACCESS, 4,
                              false, EFI_INVALID_PARAMETER},
                      SetCase{"HardwareErrorRecord", u"V", false,
                              BS | EFI_VARIABLE_HARDWARE_ERROR_RECORD, 4, false, EFI_UNSUPPORTED},
                      SetCase{"DeleteMissing", u"V", false, BS, 0, false, EFI_NOT_FOUND}),
    [](const auto &Info) { return std::string(Info.param.Name); });

TEST_F(VariablesTest, AttributesOfAnExistingVariableCannotChange) {
  UINT8 Byte = 1;
  ASSERT_EQ(Runtime->SetVariable(u"V", &kVendor, BS, 1, &Byte), EFI_SUCCESS);
  EXPECT_EQ(Runtime->SetVariable(u"V", &kVendor, NV_BS, 1, &Byte), EFI_INVALID_PARAMETER);
  UINT32 Attributes = 0;
  UINTN Size = 1;
  ASSERT_EQ(Runtime->GetVariable(u"V", &kVendor, &Attributes, &Size, &Byte), EFI_SUCCESS);
  EXPECT_EQ(Attributes, BS);
}

TEST_F(VariablesTest, DeletedBySizeZeroOrAttributesZero) {
  UINT8 Byte = 1;
  Runtime->SetVariable(u"A", &kVendor, BS, 1, &Byte);
  Runtime->SetVariable(u"B", &kVendor, NV_BS, 1, &Byte);
  ASSERT_EQ(Runtime->SetVariable(u"A", &kVendor, BS, 0, nullptr), EFI_SUCCESS);
  ASSERT_EQ(Runtime->SetVariable(u"B", &kVendor, 0, 1, &Byte), EFI_SUCCESS);
  UINTN Size = 1;
  EXPECT_EQ(Runtime->GetVariable(u"A", &kVendor, nullptr, &Size, &Byte), EFI_NOT_FOUND);
  EXPECT_EQ(Runtime->GetVariable(u"B", &kVendor, nullptr, &Size, &Byte), EFI_NOT_FOUND);
}

TEST_F(VariablesTest, AppendWriteExtendsTheData) {
  const char First[] = "ab";
  const char Second[] = "cd";
  Runtime->SetVariable(u"L", &kVendor, BS, 2, First);
  ASSERT_EQ(Runtime->SetVariable(u"L", &kVendor, BS | EFI_VARIABLE_APPEND_WRITE, 2, Second),
            EFI_SUCCESS);
  char Read[5] = {};
  UINTN Size = 4;
  ASSERT_EQ(Runtime->GetVariable(u"L", &kVendor, nullptr, &Size, Read), EFI_SUCCESS);
  EXPECT_STREQ(Read, "abcd");
}

TEST_F(VariablesTest, OversizedVariableIsOutOfResources) {
  std::vector<UINT8> Big(VariableStore::MAXIMUM_VARIABLE_BYTES + 1);
  EXPECT_EQ(Runtime->SetVariable(u"Big", &kVendor, BS, Big.size(), Big.data()),
            EFI_OUT_OF_RESOURCES);
}

TEST_F(VariablesTest, GetNextVariableNameWalksEveryVariable) {
  UINT8 Byte = 0;
  Runtime->SetVariable(u"First", &kVendor, BS, 1, &Byte);
  Runtime->SetVariable(u"Second", &gEfiGlobalVariableGuid, NV_BS, 1, &Byte);
  CHAR16 Name[64] = {0};
  EFI_GUID Guid{};
  UINTN Size = sizeof(Name);
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Name), u"First");
  EXPECT_EQ(Size, sizeof(u"First"));
  // Too small for the next name: the size needed comes back.
  Size = 4;
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_INVALID_PARAMETER)
      << "the current name does not fit in 4 bytes, so it is not terminated within the size";
  Size = sizeof(Name);
  UINTN Small = 12;
  CHAR16 Current[64];
  std::memcpy(Current, Name, sizeof(Name));
  ASSERT_EQ(Runtime->GetNextVariableName(&Small, Current, &Guid), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Small, sizeof(u"Second"));
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Name), u"Second");
  EXPECT_EQ(std::memcmp(&Guid, &gEfiGlobalVariableGuid, sizeof(EFI_GUID)), 0);
  Size = sizeof(Name);
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_NOT_FOUND);
}

TEST_F(VariablesTest, GetNextVariableNameRefusesUnknownCurrentName) {
  CHAR16 Name[8] = u"Nobody";
  EFI_GUID Guid = kVendor;
  UINTN Size = sizeof(Name);
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetNextVariableName(nullptr, Name, &Guid), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, nullptr, &Guid), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, Name, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(VariablesTest, QueryVariableInfoTracksUse) {
  UINT64 Maximum = 0;
  UINT64 Before = 0;
  UINT64 After = 0;
  UINT64 Largest = 0;
  ASSERT_EQ(Runtime->QueryVariableInfo(NV_BS, &Maximum, &Before, &Largest), EFI_SUCCESS);
  EXPECT_EQ(Before, Maximum);
  UINT8 Data[100] = {};
  Runtime->SetVariable(u"Q", &kVendor, NV_BS, sizeof(Data), Data);
  ASSERT_EQ(Runtime->QueryVariableInfo(NV_BS, &Maximum, &After, &Largest), EFI_SUCCESS);
  EXPECT_LE(After, Before - 100);
  // Volatile room is separate.
  ASSERT_EQ(Runtime->QueryVariableInfo(BS, &Maximum, &After, &Largest), EFI_SUCCESS);
  EXPECT_EQ(After, Maximum);
  EXPECT_EQ(Runtime->QueryVariableInfo(0, &Maximum, &After, &Largest), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->QueryVariableInfo(EFI_VARIABLE_RUNTIME_ACCESS, &Maximum, &After, &Largest),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->QueryVariableInfo(NV_BS, nullptr, &After, &Largest), EFI_INVALID_PARAMETER);
}

// A store file in a fresh temporary directory, removed afterwards.
class StoreFileTest : public ::testing::Test {
protected:
  void SetUp() override {
    char Template[] = "/tmp/morvane-vars-XXXXXX";
    ASSERT_NE(mkdtemp(Template), nullptr);
    Directory = Template;
    File = Directory + "/store.bin";
  }
  void TearDown() override {
    std::remove(File.c_str());
    rmdir(Directory.c_str());
  }
  std::vector<char> ReadFile() {
    std::ifstream In(File, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(In), {});
  }
  void WriteFile(const std::vector<char> &Bytes) {
    std::ofstream Out(File, std::ios::binary | std::ios::trunc);
    Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  }
  PlatformOptions Options() {
    PlatformOptions Result;
    Result.VariableStoreFile = File;
    return Result;
  }

  std::string Directory;
  std::string File;
};

TEST_F(StoreFileTest, NonVolatileVariablesSurviveASaveAndReload) {
  const UINT8 Kept[3] = {7, 8, 9};
  {
    Platform Host(Options());
    EXPECT_EQ(Host.Variables().LoadError(), "");
    auto *Runtime = Host.RuntimeServices();
    ASSERT_EQ(Runtime->SetVariable(u"Kept", &kVendor, NV_BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Gone", &kVendor, NV_BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Volatile", &kVendor, BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Gone", &kVendor, NV_BS, 0, nullptr), EFI_SUCCESS);
  }
  Platform Host(Options());
  EXPECT_EQ(Host.Variables().LoadError(), "");
  auto *Runtime = Host.RuntimeServices();
  UINT8 Read[3] = {};
  UINTN Size = 3;
  UINT32 Attributes = 0;
  ASSERT_EQ(Runtime->GetVariable(u"Kept", &kVendor, &Attributes, &Size, Read), EFI_SUCCESS);
  EXPECT_EQ(Attributes, NV_BS);
  EXPECT_EQ(std::memcmp(Read, Kept, 3), 0);
  EXPECT_EQ(Runtime->GetVariable(u"Gone", &kVendor, nullptr, &Size, Read), EFI_NOT_FOUND);
  EXPECT_EQ(Runtime->GetVariable(u"Volatile", &kVendor, nullptr, &Size, Read), EFI_NOT_FOUND);
}

struct Corruption {
  const char *Name;
  // Turns a good file into a bad one.
  void (*Damage)(std::vector<char> &Bytes);
  const char *Reason;
};

class CorruptStoreTest : public StoreFileTest, public ::testing::WithParamInterface<Corruption> {};

TEST_P(CorruptStoreTest, IsReportedAndNeverOverwritten) {
  {
    Platform Host(Options());
    UINT8 Byte = 1;
    ASSERT_EQ(Host.RuntimeServices()->SetVariable(u"Good", &kVendor, NV_BS, 1, &Byte), EFI_SUCCESS);
  }
  std::vector<char> Bytes = ReadFile();
  GetParam().Damage(Bytes);
  WriteFile(Bytes);

  Platform Host(Options());
  const std::string &Error = Host.Variables().LoadError();
  EXPECT_NE(Error.find(File), std::string::npos) << Error;
  EXPECT_NE(Error.find(GetParam().Reason), std::string::npos) << Error;
  UINT8 Byte = 2;
  // Variables still work, in memory only.
  EXPECT_EQ(Host.RuntimeServices()->SetVariable(u"New", &kVendor, NV_BS, 1, &Byte), EFI_SUCCESS);
  EXPECT_EQ(ReadFile(), Bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CorruptStoreTest,
    ::testing::Values(
        Corruption{"Truncated", [](std::vector<char> &B) { B.resize(B.size() - 3); }, "payload"},
        Corruption{"ShortHeader", [](std::vector<char> &B) { B.resize(10); }, "truncated header"},
        Corruption{"BadMagic", [](std::vector<char> &B) { B[0] = 'X'; }, "magic"},
        Corruption{"FutureVersion", [](std::vector<char> &B) { B[8] = 9; }, "version 9"},
        Corruption{"FlippedByte", [](std::vector<char> &B) { B.back() ^= 0x40; }, "checksum"}),
    [](const auto &Info) { return std::string(Info.param.Name); });

TEST(VariableFile, EncodesAndDecodesEveryField) {
  std::vector<StoredVariable> Variables = {
      {u"One", kVendor, NV_BS, {1, 2, 3}},
      {u"Two", gEfiGlobalVariableGuid, NV_BS | EFI_VARIABLE_RUNTIME_ACCESS, {}},
  };
  std::vector<StoredVariable> Decoded;
  std::string Reason;
  ASSERT_TRUE(DecodeVariableFile(EncodeVariableFile(Variables), &Decoded, &Reason)) << Reason;
  ASSERT_EQ(Decoded.size(), 2U);
  EXPECT_EQ(Decoded[0].Name, u"One");
  EXPECT_EQ(Decoded[0].Data, (std::vector<UINT8>{1, 2, 3}));
  EXPECT_EQ(std::memcmp(&Decoded[1].Guid, &gEfiGlobalVariableGuid, sizeof(EFI_GUID)), 0);
  EXPECT_EQ(Decoded[1].Attributes, NV_BS | EFI_VARIABLE_RUNTIME_ACCESS);
}

} // namespace
} // namespace morvane::host::test
