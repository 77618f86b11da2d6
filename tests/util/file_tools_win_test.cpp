// The file tools against Wine's file system: utilTextFile, utilDir,
// pathExists and the system's half of utilFileName.
#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <thread>

#include "support/scratch_folder.h"
#include "support/test_files.h"
#include "util/captured_log.h"
#include "util/dir_win.h"
#include "util/file_name.h"
#include "util/low_byte_text.h"
#include "util/path_exists.h"
#include "util/text_file.h"

namespace {

using Strings = std::vector<std::string>;

std::string ScratchFolder() { return LowByteText(MakeScratchFolder()); }

void WriteFile8(const std::string& path, const std::string& bytes) {
  WriteTestFile(std::wstring(path.begin(), path.end()), bytes);
}

Strings Listing(const std::string& directory) {
  utilDir dir(directory);
  Strings names;
  std::string name;
  while (dir.GetNext(name)) names.push_back(name);
  return names;
}

// A shell link at linkPath to target, saved as the shell saves it.
bool MakeLink(const std::string& linkPath, const std::string& target) {
  IShellLinkW* link = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              reinterpret_cast<void**>(&link)))) {
    return false;
  }
  std::wstring wideTarget(target.begin(), target.end());
  std::wstring wideLink(linkPath.begin(), linkPath.end());
  IPersistFile* file = nullptr;
  bool saved = SUCCEEDED(link->SetPath(wideTarget.c_str())) &&
               SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
               SUCCEEDED(file->Save(wideLink.c_str(), TRUE));
  if (file != nullptr) file->Release();
  link->Release();
  return saved;
}

class WithCom : public ::testing::Test {
 protected:
  void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  void TearDown() override { CoUninitialize(); }
};

// --- utilTextFile ---------------------------------------------------------

TEST(TextFileOpen, EachLineEndForm) {
  std::string path = ScratchFolder() + "\\lines.txt";
  WriteFile8(path, "a\r\nb\nc\rd");
  utilTextFile file;
  ASSERT_TRUE(file.Open(path));
  EXPECT_TRUE(file.opened);
  EXPECT_EQ(file.fileName, path);
  EXPECT_EQ(file.lines, (Strings{"a", "b", "c", "d"}));
  EXPECT_EQ(file.lineTypes, (std::vector<int32_t>{2, 1, 3, 0}));
}

TEST(TextFileOpen, ClosingLoneCarriageReturnStays) {
  std::string path = ScratchFolder() + "\\cr.txt";
  WriteFile8(path, "a\r");
  utilTextFile file;
  ASSERT_TRUE(file.Open(path));
  EXPECT_EQ(file.lines, (Strings{"a\r"}));
  EXPECT_EQ(file.lineTypes, (std::vector<int32_t>{0}));
}

TEST(TextFileOpen, LinesAcrossReadBlocks) {
  std::string path = ScratchFolder() + "\\blocks.txt";
  std::string first(4095, 'x');
  std::string second(5000, 'y');
  WriteFile8(path, first + "\r\n" + second + "\n");
  utilTextFile file;
  ASSERT_TRUE(file.Open(path));
  EXPECT_EQ(file.lines, (Strings{first, second}));
  EXPECT_EQ(file.lineTypes, (std::vector<int32_t>{2, 1}));
}

TEST(TextFileOpen, EmptyFileDoesNotOpen) {
  CapturedLog log(1);
  std::string path = ScratchFolder() + "\\empty.txt";
  WriteFile8(path, "");
  utilTextFile file;
  EXPECT_FALSE(file.Open(path));
  EXPECT_FALSE(file.opened);
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"Open: file(" + path + ") bufSize is 0"}));
}

TEST(TextFileOpen, OpenedFileIsLoggedWithItsSize) {
  CapturedLog log(1);
  std::string path = ScratchFolder() + "\\small.txt";
  WriteFile8(path, "hello\n");
  utilTextFile file;
  EXPECT_TRUE(file.Open(path));
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"Open: file opened: name:" + path + ", size:6"}));
}

TEST(TextFileOpen, MissingFileIsLogged) {
  CapturedLog log(1);
  utilTextFile file;
  EXPECT_FALSE(file.Open(ScratchFolder() + "\\absent.txt"));
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"Open: CreateFileA failed"}));
}

TEST(TextFileOpen, FileOfFourGibibytesIsRefusedUnread) {
  std::string path = ScratchFolder() + "\\huge.bin";
  HANDLE handle = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  LARGE_INTEGER size;
  size.QuadPart = 0x100000000LL;
  ASSERT_TRUE(SetFilePointerEx(handle, size, nullptr, FILE_BEGIN));
  ASSERT_TRUE(SetEndOfFile(handle));
  CloseHandle(handle);
  CapturedLog log(1);
  utilTextFile file;
  EXPECT_FALSE(file.Open(path));
  EXPECT_TRUE(file.lines.empty());
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"Open: file(" + path + ") size is unknown or 4 GiB or more: high=1, low=0, err=0"}));
  DeleteFileA(path.c_str());
}

TEST(TextFileOpen, FileHeldWithoutSharingDoesNotOpen) {
  std::string path = ScratchFolder() + "\\held.txt";
  WriteFile8(path, "x\n");
  HANDLE holder = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(holder, INVALID_HANDLE_VALUE);
  utilTextFile file;
  EXPECT_FALSE(file.Open(path));
  CloseHandle(holder);
}

// --- utilDir --------------------------------------------------------------

TEST(DirGetNext, NamesOfFilesAndDirectoriesWithoutDots) {
  std::string folder = ScratchFolder();
  WriteFile8(folder + "\\b.txt", "b");
  CreateDirectoryA((folder + "\\sub").c_str(), nullptr);
  WriteFile8(folder + "\\a.txt", "a");
  Strings names = Listing(folder);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Strings{"a.txt", "b.txt", "sub"}));
}

TEST(DirGetNext, ClosingBackslashOrSlashIsNotDoubled) {
  CapturedLog log(6);
  std::string folder = ScratchFolder();
  WriteFile8(folder + "\\one", "1");
  EXPECT_EQ(Listing(folder + "\\"), (Strings{"one"}));
  EXPECT_EQ(Listing(folder + "/"), (Strings{"one"}));
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"GetNext: enumerate folder: name=" + folder + "\\*.*",
                                              "GetNext: GetNext: filename=one",
                                              "GetNext: enumerate folder: name=" + folder + "/*.*",
                                              "GetNext: GetNext: filename=one"}));
}

TEST(DirGetNext, EmptyDirectoryEndsAtOnceWithoutALine) {
  CapturedLog log(1);
  std::string folder = ScratchFolder();
  utilDir dir(folder);
  std::string name = "kept";
  EXPECT_FALSE(dir.GetNext(name));
  EXPECT_EQ(name, "kept");
  EXPECT_EQ(log.Text(), "");
}

TEST(DirGetNext, MissingPathIsLogged) {
  CapturedLog log(1);
  std::string folder = ScratchFolder() + "\\none\\deeper";
  utilDir dir(folder);
  std::string name;
  EXPECT_FALSE(dir.GetNext(name));
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNext: FindFirstFile failed: name=" + folder + "\\*.*, err=3"}));
}

// Wine says ERROR_PATH_NOT_FOUND for a missing last directory too, and
// ERROR_INVALID_NAME for a file below which "*.*" is asked: the silent
// ERROR_FILE_NOT_FOUND does not come from Wine for a "*.*" pattern.
TEST(DirGetNext, MissingLastDirectoryIsLoggedAsAMissingPath) {
  CapturedLog log(1);
  std::string folder = ScratchFolder() + "\\none";
  utilDir dir(folder);
  std::string name;
  EXPECT_FALSE(dir.GetNext(name));
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNext: FindFirstFile failed: name=" + folder + "\\*.*, err=3"}));
}

TEST(DirGetNext, FileTakenForADirectoryIsLogged) {
  CapturedLog log(1);
  std::string file = ScratchFolder() + "\\f.txt";
  WriteFile8(file, "f");
  utilDir dir(file);
  std::string name;
  EXPECT_FALSE(dir.GetNext(name));
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNext: FindFirstFile failed: name=" + file + "\\*.*, err=123"}));
}

// --- pathExists -----------------------------------------------------------

TEST(PathExists, FileAndDirectoryByFlag) {
  std::string folder = ScratchFolder();
  std::string file = folder + "\\f.txt";
  WriteFile8(file, "f");
  EXPECT_TRUE(pathExists(file, kPathIsFile));
  EXPECT_FALSE(pathExists(file, kPathIsDirectory));
  EXPECT_TRUE(pathExists(folder, kPathIsDirectory));
  EXPECT_FALSE(pathExists(folder, kPathIsFile));
  EXPECT_TRUE(pathExists(folder, kPathIsFile | kPathIsDirectory));
  EXPECT_TRUE(pathExists(folder + "\\", kPathIsDirectory));
  EXPECT_FALSE(pathExists(folder + "\\absent", kPathIsFile | kPathIsDirectory));
}

TEST(PathOpensForReading, FileAndDirectoryOpen) {
  std::string folder = ScratchFolder();
  WriteFile8(folder + "\\f.txt", "f");
  EXPECT_TRUE(PathOpensForReading(folder + "\\f.txt"));
  EXPECT_TRUE(PathOpensForReading(folder));
  EXPECT_FALSE(PathOpensForReading(folder + "\\absent"));
}

// --- utilFileName's system half ---------------------------------------------

TEST(FileNameSystem, ExistsAsFileAndSize) {
  std::string path = ScratchFolder() + "\\sized.txt";
  WriteFile8(path, "12345");
  utilFileName file;
  file.SetFromPath(path);
  EXPECT_TRUE(file.ExistsAsFile());
  EXPECT_EQ(file.GetSize(), 5);
  file.SetFromPath(path + ".absent");
  EXPECT_FALSE(file.ExistsAsFile());
  EXPECT_EQ(file.GetSize(), -1);
}

TEST(FileNameSystem, ShortFormOfALongName) {
  std::string path = ScratchFolder() + "\\a rather long file name.text";
  WriteFile8(path, "x");
  std::wstring wide(path.begin(), path.end());
  wchar_t shortPath[MAX_PATH] = {};
  ASSERT_GT(GetShortPathNameW(wide.c_str(), shortPath, MAX_PATH), 0u);
  utilFileName file;
  file.SetFromPath(path);
  EXPECT_EQ(file.GetShortForm(), LowByteText(shortPath));
  EXPECT_NE(file.GetShortForm(), path);
}

TEST(FileNameSystem, ShortFormOfAMissingFileIsEmpty) {
  utilFileName file;
  file.SetFromPath(ScratchFolder() + "\\absent file name.text");
  EXPECT_EQ(file.GetShortForm(), "");
}

TEST_F(WithCom, LinkTargetIsRead) {
  std::string folder = ScratchFolder();
  std::string target = folder + "\\target.txt";
  WriteFile8(target, "t");
  ASSERT_TRUE(MakeLink(folder + "\\to.lnk", target));
  utilFileName file;
  file.SetFromPath(folder + "\\to.lnk");
  std::string found;
  EXPECT_TRUE(file.GetLinkTarget(found));
  EXPECT_EQ(found, target);
}

TEST_F(WithCom, UpperCaseExtensionIsALink) {
  std::string folder = ScratchFolder();
  std::string target = folder + "\\target.txt";
  WriteFile8(target, "t");
  ASSERT_TRUE(MakeLink(folder + "\\UP.LNK", target));
  utilFileName file;
  file.SetFromPath(folder + "\\UP.LNK");
  std::string found;
  EXPECT_TRUE(file.GetLinkTarget(found));
  EXPECT_EQ(found, target);
}

TEST_F(WithCom, LinkToItselfHasNoTarget) {
  std::string folder = ScratchFolder();
  std::string self = folder + "\\self.lnk";
  ASSERT_TRUE(MakeLink(self, self));
  utilFileName file;
  file.SetFromPath(self);
  std::string found = "unchanged";
  EXPECT_FALSE(file.GetLinkTarget(found));
  EXPECT_EQ(found, "unchanged");
}

TEST_F(WithCom, OtherExtensionIsNoLink) {
  std::string folder = ScratchFolder();
  std::string target = folder + "\\target.txt";
  WriteFile8(target, "t");
  ASSERT_TRUE(MakeLink(folder + "\\link.lnk", target));
  ASSERT_TRUE(CopyFileA((folder + "\\link.lnk").c_str(), (folder + "\\link.txt").c_str(), FALSE));
  utilFileName file;
  file.SetFromPath(folder + "\\link.txt");
  std::string found;
  EXPECT_FALSE(file.GetLinkTarget(found));
}

TEST_F(WithCom, ThreadWithoutComFindsNoTarget) {
  std::string folder = ScratchFolder();
  std::string target = folder + "\\target.txt";
  WriteFile8(target, "t");
  ASSERT_TRUE(MakeLink(folder + "\\to.lnk", target));
  bool found = true;
  std::thread([&] {
    utilFileName file;
    file.SetFromPath(folder + "\\to.lnk");
    std::string text;
    found = file.GetLinkTarget(text);
  }).join();
  EXPECT_FALSE(found);
}

}  // namespace
