// The INF store's copies of the driver's INF: which one is found, and its
// removal through pnputil, one per run.
#include "driver/driver_versions_win.h"

#include "driver_test_support_win.h"

namespace drivertest {
namespace {

const std::string kNaming = "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Models]\r\n%Desc% = Install, mlfilter\r\n";
const std::string kOther = "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Models]\r\n%Desc% = Install, otherdrv\r\n";

std::wstring Store(const wchar_t* name) { return WindowsFolder() + L"\\inf\\" + name; }

// The names of the store's oem files in the order the system lists them.
std::vector<std::wstring> ListingOrder(std::initializer_list<const wchar_t*> names) {
  std::vector<std::wstring> order;
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((InfStore() + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return order;
  do {
    for (const wchar_t* name : names) {
      if (std::wstring(entry.cFileName) == name) order.push_back(name);
    }
  } while (FindNextFileW(find, &entry));
  FindClose(find);
  return order;
}

class OemFilesTest : public DriverTest {
 protected:
  std::string Searching() const {
    return "GetOEMFileContainingDriver: Searching oem#.inf files in directory(" + Narrow(InfStore()) + ").";
  }
};

TEST_F(OemFilesTest, EmptyStoreHasNoCopy) {
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
  EXPECT_EQ(Lines(), std::vector<std::string>{Searching()});
}

TEST_F(OemFilesTest, CopyNamingTheDriverIsFoundAmongOthers) {
  ASSERT_TRUE(WriteBytes(Store(L"oem3.inf"), kOther));
  ASSERT_TRUE(WriteBytes(Store(L"oem4.inf"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"oem5.inf"), kOther));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"oem4.inf");
}

TEST_F(OemFilesTest, NameMustBeginWithOemAndEndWithInf) {
  ASSERT_TRUE(WriteBytes(Store(L"xoem1.inf"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"oem2.inf.bak"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"oem3.pnf"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"netmlfilter.inf"), kNaming));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
  ASSERT_TRUE(WriteBytes(Store(L"OEM7.INF"), kNaming));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"OEM7.INF");
}

TEST_F(OemFilesTest, NameIsMatchedWithItsCase) {
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), "%Desc% = Install, MLFILTER\r\n"));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
}

TEST_F(OemFilesTest, DirectoryNamedLikeACopyIsPassedOver) {
  ASSERT_TRUE(CreateDirectoryW(Store(L"oem1.inf").c_str(), nullptr));
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf") + L"\\mlfilter", kNaming));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
}

TEST_F(OemFilesTest, LockedCopyIsPassedOver) {
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), kNaming));
  HANDLE held = CreateFileW(Store(L"oem1.inf").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  std::wstring found = GetOEMFileContainingDriver();
  CloseHandle(held);
  EXPECT_EQ(found, L"");
  EXPECT_EQ(GetOEMFileContainingDriver(), L"oem1.inf");
}

TEST_F(OemFilesTest, Utf16CopyNeverMatches) {
  std::string utf16;
  for (char c : kNaming) utf16 += std::string{c, '\0'};
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), "\xFF\xFE" + utf16));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
}

TEST_F(OemFilesTest, LargeCopyIsReadWhole) {
  std::string big(50u << 20, 'x');
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), big));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"");
  big.replace(big.size() - 8, 8, "mlfilter");
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), big));
  EXPECT_EQ(GetOEMFileContainingDriver(), L"oem1.inf");
}

TEST_F(OemFilesTest, FirstCopyInListingOrderIsRemovedOnePerRun) {
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"oem1.pnf"), "Wine PNF header\r\nC:\\somewhere\\netmlfilter.inf"));
  ASSERT_TRUE(WriteBytes(Store(L"oem2.inf"), kNaming));
  ASSERT_TRUE(WriteBytes(Store(L"oem3.inf"), kOther));
  std::vector<std::wstring> order = ListingOrder({L"oem1.inf", L"oem2.inf"});
  ASSERT_EQ(order.size(), 2u);

  CleanUpOEMFiles();
  std::string first = Narrow(order[0]);
  EXPECT_EQ(pnputil.String(L"Arguments"), L"-f -d " + order[0] + L"\n");
  EXPECT_FALSE(FileExists(Store(order[0].c_str())));
  EXPECT_TRUE(FileExists(Store(order[1].c_str())));
  EXPECT_TRUE(FileExists(Store(L"oem3.inf")));
  EXPECT_EQ(Lines(), (std::vector<std::string>{Searching(), "LaunchCmd: ReadAndHandleOutput First ",
                                               "CleanUpOEMFiles: Clean oem#.inf files: pnputil: deleted " + first + "\r",
                                               ""}));

  CleanUpOEMFiles();
  EXPECT_EQ(pnputil.String(L"Arguments"), L"-f -d " + order[0] + L"\n-f -d " + order[1] + L"\n");
  EXPECT_FALSE(FileExists(Store(order[1].c_str())));

  CleanUpOEMFiles();
  EXPECT_EQ(pnputil.Dword(L"Runs"), 2u);
  EXPECT_EQ(Lines().back(), "CleanUpOEMFiles: There are no oem#.inf files containing driver.");
}

TEST_F(OemFilesTest, MissingPnputilIsLoggedAndTheInstallGoesOn) {
  ASSERT_TRUE(WriteBytes(Store(L"oem1.inf"), kNaming));
  ASSERT_TRUE(DeleteFileW((SystemFolder() + L"\\pnputil.exe").c_str()));
  CleanUpOEMFiles();
  std::string program = Narrow(SystemFolder()) + "\\pnputil.exe";
  std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], "CleanUpOEMFiles: pnputil cmd failed. " + program + ", -f -d oem1.inf");
  EXPECT_EQ(lines.back(), "CleanUpOEMFiles: Clean oem#.inf files: ");
  EXPECT_TRUE(FileExists(Store(L"oem1.inf")));
}

}  // namespace
}  // namespace drivertest
