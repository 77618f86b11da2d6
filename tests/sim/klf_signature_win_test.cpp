// The framework's check of a file's embedded signature and signer, on real
// Authenticode signatures made by the build.
#include "build_outputs.h"
#include "klf_agent_library_win.h"
#include "pe_file.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using zentsim::testing::BuildOutput;
using zentsim::testing::KlfAgentLibrary;
using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

const wchar_t* const kOtherPublisher = L"Untrusted Test Publisher";

// A changed copy of the signed probe, removed with the object.
struct ChangedProbe {
  using Copy = bool (*)(const std::wstring& from, const std::wstring& to);
  ChangedProbe(const std::wstring& name, Copy copy)
      : path(zentsim::testing::ScratchPath(name)),
        made(copy(BuildOutput(L"ZENT_SIM_PROBE_SIGNED"), path)) {}
  ~ChangedProbe() { DeleteFileW(path.c_str()); }

  std::wstring path;
  bool made;
};

class KlfVerifyEmbeddedSignature : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(klf.verifyEmbeddedSignatureAndSigner, nullptr); }

  int Verify(const std::wstring& path, const wchar_t* signer = KLF_EXPECTED_SIGNER) {
    return klf.verifyEmbeddedSignatureAndSigner(signer, path.c_str());
  }
  std::wstring Outcome() { return knobs.String(L"LastVerification").value_or(L"none"); }

  SimScope scope;
  StandInKey knobs = scope.Key(L"klfAgent");
  KlfAgentLibrary klf;
};

TEST_F(KlfVerifyEmbeddedSignature, AcceptsAFileSignedByThePublisher) {
  EXPECT_NE(Verify(BuildOutput(L"ZENT_SIM_PROBE_SIGNED")), 0);
  EXPECT_EQ(Outcome(), L"accepted");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesAnUnsignedFile) {
  EXPECT_EQ(Verify(BuildOutput(L"ZENT_SIM_PROBE_UNSIGNED")), 0);
  EXPECT_EQ(Outcome(), L"no embedded signature");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesASignedFileWithOneCodeByteChanged) {
  ChangedProbe tampered(L"tampered_probe.exe", zentsim::testing::CopyWithCodeByteChanged);
  ASSERT_TRUE(tampered.made);
  EXPECT_EQ(Verify(tampered.path), 0);
  EXPECT_EQ(Outcome(), L"image digest differs");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesAFileWhoseSignatureWasChanged) {
  ChangedProbe forged(L"forged_probe.exe", zentsim::testing::CopyWithSignatureByteChanged);
  ASSERT_TRUE(forged.made);
  EXPECT_EQ(Verify(forged.path), 0);
  EXPECT_EQ(Outcome(), L"signature does not verify");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesAFileWhoseSignedImageDigestWasChanged) {
  ChangedProbe forged(L"redigested_probe.exe",
                      zentsim::testing::CopyWithSignedDigestByteChanged);
  ASSERT_TRUE(forged.made);
  EXPECT_EQ(Verify(forged.path), 0);
  EXPECT_EQ(Outcome(), L"message digest differs");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesAFileSignedByAnotherPublisher) {
  EXPECT_EQ(Verify(BuildOutput(L"ZENT_SIM_PROBE_OTHER_SIGNER")), 0);
  EXPECT_EQ(Outcome(), L"signed by Untrusted Test Publisher");
}

TEST_F(KlfVerifyEmbeddedSignature, AcceptsAnotherPublisherWhenThatOneIsExpected) {
  EXPECT_NE(Verify(BuildOutput(L"ZENT_SIM_PROBE_OTHER_SIGNER"), kOtherPublisher), 0);
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesThePublishersFileWhenAnotherSignerIsExpected) {
  EXPECT_EQ(Verify(BuildOutput(L"ZENT_SIM_PROBE_SIGNED"), kOtherPublisher), 0);
  EXPECT_EQ(Outcome(), L"signed by Halvane Corporation");
}

TEST_F(KlfVerifyEmbeddedSignature, RefusesAMissingFile) {
  EXPECT_EQ(Verify(zentsim::testing::ScratchPath(L"no_such_file.exe")), 0);
  EXPECT_EQ(Outcome(), L"file cannot be read");
}

// The stand-ins are the suite's files: each carries the publisher's signature.
TEST_F(KlfVerifyEmbeddedSignature, AcceptsEveryStandIn) {
  for (const wchar_t* variable :
       {L"ZENT_SIM_MLI_DLL", L"ZENT_SIM_MLFILTER_EXE", L"ZENT_SIM_KLF_AGENT_DLL",
        L"ZENT_SIM_KLF_AGENT_MISSING_VERIFY_DLL"}) {
    EXPECT_NE(Verify(BuildOutput(variable)), 0) << variable;
  }
}

TEST(KlfAgentExports, TheFrameworkHasItsFourEntryPoints) {
  KlfAgentLibrary klf;
  std::set<std::string> expected = {"klfCnt_SystemCall", "klfCnt_Free",
                                    "klfCnt_LoadLibraryWithSignCheck",
                                    "klfCnt_VerifyEmbeddedSignatureAndSigner"};
  EXPECT_EQ(zentsim::testing::ExportedNames(klf.module), expected);
}

TEST(KlfAgentExports, TheOlderFrameworkLacksTheSignatureCheck) {
  HMODULE module = LoadLibraryW(BuildOutput(L"ZENT_SIM_KLF_AGENT_MISSING_VERIFY_DLL").c_str());
  ASSERT_NE(module, nullptr);
  std::set<std::string> expected = {"klfCnt_SystemCall", "klfCnt_Free",
                                    "klfCnt_LoadLibraryWithSignCheck"};
  EXPECT_EQ(zentsim::testing::ExportedNames(module), expected);
  FreeLibrary(module);
}

}  // namespace
