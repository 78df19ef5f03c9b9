// Variables: the runtime services over the variable store, and the store file that keeps the
// non-volatile ones, including what a damaged file does.
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

class VariablesTest : public HostTest {
protected:
  EFI_STATUS Set(const CHAR16 *Name, UINT32 Attributes, const std::string &Data) {
    return Runtime->SetVariable(Name, &kVendor, Attributes, Data.size(), Data.data());
  }
  // The data, or the failing status's number as text.
  std::string Get(const CHAR16 *Name, UINT32 *Attributes = nullptr) {
    char Data[16] = {};
    UINTN Size = sizeof(Data);
    EFI_STATUS Status = Runtime->GetVariable(Name, &kVendor, Attributes, &Size, Data);
    return Status == EFI_SUCCESS ? std::string(Data, Size) : "status " + std::to_string(Status);
  }
};

TEST_F(VariablesTest, GetVariableTwoCallIdiomAndStatuses) {
  ASSERT_EQ(Set(u"Setup", NV_BS, "12345"), EFI_SUCCESS);
  UINTN Size = 0;
  UINT32 Attributes = 0;
  UINT8 Read[5] = {};
  ASSERT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, nullptr),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 5U);
  Size = 4;
  EXPECT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, Read),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, 5U);
  ASSERT_EQ(Runtime->GetVariable(u"Setup", &kVendor, &Attributes, &Size, Read), EFI_SUCCESS);
  EXPECT_EQ(Attributes, NV_BS);
  EXPECT_EQ(std::memcmp(Read, "12345", 5), 0);

  EXPECT_EQ(Runtime->GetVariable(u"Missing", &kVendor, nullptr, &Size, Read), EFI_NOT_FOUND);
  EXPECT_EQ(Runtime->GetVariable(nullptr, &kVendor, nullptr, &Size, Read), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetVariable(u"Setup", nullptr, nullptr, &Size, Read), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Runtime->GetVariable(u"Setup", &kVendor, nullptr, nullptr, Read),
            EFI_INVALID_PARAMETER);
  // The same name under another GUID is another variable.
  EXPECT_EQ(Runtime->GetVariable(u"Setup", &gEfiGlobalVariableGuid, nullptr, &Size, Read),
            EFI_NOT_FOUND);
}

TEST_F(VariablesTest, SetVariableRefusals) {
  struct SetCase {
    const char *Name;
    const CHAR16 *VariableName;
    bool NullGuid;
    UINT32 Attributes;
    bool NullData;
    EFI_STATUS Expected;
  };
  for (const SetCase &Case : {
           SetCase{"null name", nullptr, false, BS, false, EFI_INVALID_PARAMETER},
           SetCase{"empty name", u"", false, BS, false, EFI_INVALID_PARAMETER},
           SetCase{"null GUID", u"V", true, BS, false, EFI_INVALID_PARAMETER},
           SetCase{"null data with a size", u"V", false, BS, true, EFI_INVALID_PARAMETER},
           SetCase{"runtime without boot", u"V", false, EFI_VARIABLE_RUNTIME_ACCESS, false,
                   EFI_INVALID_PARAMETER},
           SetCase{"hardware error record", u"V", false, BS | EFI_VARIABLE_HARDWARE_ERROR_RECORD,
                   false, EFI_UNSUPPORTED},
       }) {
    UINT8 Data[4] = {};
    EXPECT_EQ(Runtime->SetVariable(Case.VariableName, Case.NullGuid ? nullptr : &kVendor,
                                   Case.Attributes, 4, Case.NullData ? nullptr : Data),
              Case.Expected)
        << Case.Name;
  }
  EXPECT_EQ(Set(u"V", BS, ""), EFI_NOT_FOUND) << "deleting a missing variable";
  std::string Big(VariableStore::MAXIMUM_VARIABLE_BYTES + 1, 'x');
  EXPECT_EQ(Set(u"Big", BS, Big), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Host.Variables().Count(), 0U);
}

TEST_F(VariablesTest, AttributesStayDeleteAndAppendWork) {
  ASSERT_EQ(Set(u"A", BS, "ab"), EFI_SUCCESS);
  // The attributes of an existing variable cannot change.
  EXPECT_EQ(Set(u"A", NV_BS, "x"), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Set(u"A", BS | EFI_VARIABLE_APPEND_WRITE, "cd"), EFI_SUCCESS);
  UINT32 Attributes = 0;
  EXPECT_EQ(Get(u"A", &Attributes), "abcd");
  EXPECT_EQ(Attributes, BS);
  // Deleted by size zero, or by attributes zero.
  ASSERT_EQ(Set(u"B", NV_BS, "1"), EFI_SUCCESS);
  ASSERT_EQ(Runtime->SetVariable(u"A", &kVendor, BS, 0, nullptr), EFI_SUCCESS);
  ASSERT_EQ(Set(u"B", 0, "1"), EFI_SUCCESS);
  EXPECT_EQ(Get(u"A"), "status " + std::to_string(EFI_NOT_FOUND));
  EXPECT_EQ(Get(u"B"), "status " + std::to_string(EFI_NOT_FOUND));
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
  // The current name must be terminated within the size given.
  Size = 4;
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_INVALID_PARAMETER);
  // Too small for the next name: the size needed comes back.
  Size = 12;
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(Size, sizeof(u"Second"));
  ASSERT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_SUCCESS);
  EXPECT_EQ(std::u16string(Name), u"Second");
  EXPECT_EQ(std::memcmp(&Guid, &gEfiGlobalVariableGuid, sizeof(EFI_GUID)), 0);
  Size = sizeof(Name);
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, Name, &Guid), EFI_NOT_FOUND);

  CHAR16 Unknown[8] = u"Nobody";
  Guid = kVendor;
  EXPECT_EQ(Runtime->GetNextVariableName(&Size, Unknown, &Guid), EFI_INVALID_PARAMETER);
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
  ASSERT_EQ(Set(u"Q", NV_BS, std::string(100, 'q')), EFI_SUCCESS);
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
    Options.VariableStoreFile = Directory + "/store.bin";
  }
  void TearDown() override {
    std::remove(Options.VariableStoreFile.c_str());
    rmdir(Directory.c_str());
  }
  std::vector<char> ReadFile() {
    std::ifstream In(Options.VariableStoreFile, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(In), {});
  }

  std::string Directory;
  PlatformOptions Options;
};

TEST_F(StoreFileTest, NonVolatileVariablesSurviveASaveAndReload) {
  const UINT8 Kept[3] = {7, 8, 9};
  {
    Platform Host(Options);
    EXPECT_EQ(Host.Variables().LoadError(), "");
    auto *Runtime = Host.RuntimeServices();
    ASSERT_EQ(Runtime->SetVariable(u"Kept", &kVendor, NV_BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Gone", &kVendor, NV_BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Volatile", &kVendor, BS, 3, Kept), EFI_SUCCESS);
    ASSERT_EQ(Runtime->SetVariable(u"Gone", &kVendor, NV_BS, 0, nullptr), EFI_SUCCESS);
  }
  Platform Host(Options);
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

TEST_F(StoreFileTest, ACorruptFileIsReportedAndNeverOverwritten) {
  {
    Platform Host(Options);
    UINT8 Byte = 1;
    ASSERT_EQ(Host.RuntimeServices()->SetVariable(u"Good", &kVendor, NV_BS, 1, &Byte), EFI_SUCCESS);
  }
  const std::vector<char> Good = ReadFile();
  struct Corruption {
    const char *Reason;
    void (*Damage)(std::vector<char> &Bytes);
  };
  for (const Corruption &Case : {
           Corruption{"payload", [](std::vector<char> &B) { B.resize(B.size() - 3); }},
           Corruption{"truncated header", [](std::vector<char> &B) { B.resize(10); }},
           Corruption{"magic", [](std::vector<char> &B) { B[0] = 'X'; }},
           Corruption{"version 9", [](std::vector<char> &B) { B[8] = 9; }},
           Corruption{"checksum", [](std::vector<char> &B) { B.back() ^= 0x40; }},
       }) {
    std::vector<char> Bytes = Good;
    Case.Damage(Bytes);
    std::ofstream(Options.VariableStoreFile, std::ios::binary | std::ios::trunc)
        .write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
    Platform Host(Options);
    const std::string &Error = Host.Variables().LoadError();
    EXPECT_NE(Error.find(Options.VariableStoreFile), std::string::npos) << Error;
    EXPECT_NE(Error.find(Case.Reason), std::string::npos) << Error;
    // Variables still work, in memory only.
    UINT8 Byte = 2;
    EXPECT_EQ(Host.RuntimeServices()->SetVariable(u"New", &kVendor, NV_BS, 1, &Byte), EFI_SUCCESS);
    EXPECT_EQ(ReadFile(), Bytes) << Case.Reason;
  }
}

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
