// ZentAgent.exe carries a version resource with file and product version.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Versions {
  std::string file, product;
};

std::string Dotted(DWORD ms, DWORD ls) {
  return std::to_string(HIWORD(ms)) + "." + std::to_string(LOWORD(ms)) + "." + std::to_string(HIWORD(ls)) + "." +
         std::to_string(LOWORD(ls));
}

TEST(AgentVersionResource, FileAndProductVersionsAreSet) {
  const wchar_t* exe = _wgetenv(L"ZENT_AGENT_EXE");
  ASSERT_NE(exe, nullptr);
  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(exe, &handle);
  ASSERT_NE(size, 0u) << GetLastError();
  std::vector<char> block(size);
  ASSERT_TRUE(GetFileVersionInfoW(exe, 0, size, block.data()));
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
  EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
  EXPECT_EQ(Dotted(fixed->dwFileVersionMS, fixed->dwFileVersionLS), "1.0.2.15");
  EXPECT_EQ(Dotted(fixed->dwProductVersionMS, fixed->dwProductVersionLS), "1.0.2.0");

  wchar_t* text = nullptr;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\040904b0\\ProductVersion",
                             reinterpret_cast<void**>(&text), &length));
  EXPECT_STREQ(text, L"1.0.2.0");
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\040904b0\\FileVersion",
                             reinterpret_cast<void**>(&text), &length));
  EXPECT_STREQ(text, L"1.0.2.15");
}

}  // namespace
