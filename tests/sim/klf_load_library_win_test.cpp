// The framework's library load behind a signature check.
#include "build_outputs.h"
#include "klf_agent_library_win.h"
#include "pe_file.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>

namespace {

using zentsim::testing::BuildOutput;
using zentsim::testing::KlfAgentLibrary;
using zentsim::testing::SimScope;

using ProbeAnswer = int (*)();

class KlfLoadLibraryWithSignCheck : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(klf.loadLibraryWithSignCheck, nullptr); }

  HMODULE Load(const wchar_t* variable) {
    return static_cast<HMODULE>(
        klf.loadLibraryWithSignCheck(KLF_EXPECTED_SIGNER, BuildOutput(variable).c_str()));
  }

  SimScope scope;
  KlfAgentLibrary klf;
};

TEST_F(KlfLoadLibraryWithSignCheck, LoadsALibrarySignedByThePublisher) {
  HMODULE module = Load(L"ZENT_SIM_PROBE_LIBRARY_SIGNED");
  ASSERT_NE(module, nullptr);
  auto answer = zentsim::testing::Exported<ProbeAnswer>(module, "probe_answer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  FreeLibrary(module);
}

TEST_F(KlfLoadLibraryWithSignCheck, RefusesAnUnsignedLibraryWithoutLoadingIt) {
  EXPECT_EQ(Load(L"ZENT_SIM_PROBE_LIBRARY_UNSIGNED"), nullptr);
  EXPECT_EQ(GetModuleHandleW(L"probe_library_unsigned.dll"), nullptr);
}

TEST_F(KlfLoadLibraryWithSignCheck, RefusesALibraryOfAnotherPublisher) {
  EXPECT_EQ(Load(L"ZENT_SIM_PROBE_LIBRARY_OTHER_SIGNER"), nullptr);
  EXPECT_EQ(GetModuleHandleW(L"probe_library_other_signer.dll"), nullptr);
}

}  // namespace
