#include "util/file_name.h"

#include <gtest/gtest.h>

#include "util/captured_log.h"

namespace {

TEST(FileNameSplitting, DotFileUnderADirectoryHasNoExtension) {
  utilFileName file;
  file.SetFromPath("/usr/.profile");
  EXPECT_EQ(file.name, ".profile");
  EXPECT_FALSE(file.hasExtension);
  EXPECT_EQ(file.extension, "");
  EXPECT_FALSE(file.relative);
  EXPECT_EQ(file.directories, (std::vector<std::string>{"usr"}));
}

TEST(FileNameSplitting, BackslashIsNoSeparator) {
  utilFileName file;
  file.SetFromPath("C:\\a.b\\file");
  EXPECT_EQ(file.name, "C:\\a");
  EXPECT_EQ(file.extension, "b\\file");
  EXPECT_TRUE(file.hasExtension);
  EXPECT_TRUE(file.directories.empty());
  EXPECT_TRUE(file.relative);
}

TEST(FileNameSplitting, WindowsPathComesBackUnchanged) {
  utilFileName file;
  file.SetFromPath("C:\\dir\\file.txt");
  EXPECT_EQ(file.name, "C:\\dir\\file");
  EXPECT_EQ(file.extension, "txt");
  EXPECT_EQ(file.GetFullText(), "C:\\dir\\file.txt");
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithVolume), "");
}

TEST(FileNameSplitting, DotFirstInTheTextStartsAHiddenName) {
  utilFileName file;
  file.SetFromPath(".hidden");
  EXPECT_EQ(file.name, ".hidden");
  EXPECT_FALSE(file.hasExtension);
}

TEST(FileNameSplitting, DotInFrontOfTheLastSeparatorBelongsToTheDirectory) {
  utilFileName file;
  file.SetFromPath("a.d/file");
  EXPECT_EQ(file.name, "file");
  EXPECT_FALSE(file.hasExtension);
  EXPECT_EQ(file.directories, (std::vector<std::string>{"a.d"}));
  EXPECT_EQ(file.GetFullText(), "a.d/file");
}

TEST(FileNameSplitting, ClosingDotIsAnEmptyExtension) {
  utilFileName file;
  file.SetFromPath("file.");
  EXPECT_EQ(file.name, "file");
  EXPECT_TRUE(file.hasExtension);
  EXPECT_EQ(file.extension, "");
  EXPECT_EQ(file.GetFullText(), "file.");
}

TEST(FileNameSplitting, LastDotSplits) {
  utilFileName file;
  file.SetFromPath("archive.tar.gz");
  EXPECT_EQ(file.name, "archive.tar");
  EXPECT_EQ(file.extension, "gz");
}

TEST(FileNameSplitting, FileUnderTheRoot) {
  utilFileName file;
  file.SetFromPath("/x.txt");
  EXPECT_FALSE(file.relative);
  EXPECT_TRUE(file.directories.empty());
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithVolume), "/");
  EXPECT_EQ(file.GetFullText(), "/x.txt");
}

TEST(FileNameSplitting, BackslashRootHasAnEmptyDirectoryPart) {
  utilFileName file;
  file.SetFromPath("\\x.txt");
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithVolume), "");
  EXPECT_EQ(file.name, "\\x");
}

TEST(FileNameSplitting, EmptyDirectoriesAreKept) {
  utilFileName file;
  file.SetFromPath("//a//b.c");
  EXPECT_EQ(file.directories, (std::vector<std::string>{"", "a", ""}));
  EXPECT_EQ(file.GetFullText(), "//a//b.c");
}

TEST(FileNameSplitting, RelativeDirectories) {
  utilFileName file;
  file.SetFromPath("a/b/c.txt");
  EXPECT_TRUE(file.relative);
  EXPECT_EQ(file.directories, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(file.GetDirectoryText(0), "a/b");
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithClosingSeparator), "a/b/");
}

TEST(FileNameDirectory, WindowsDirectoryGetsAClosingSeparator) {
  utilFileName file;
  file.SetFromDirectory("C:\\dir");
  EXPECT_EQ(file.name, "");
  EXPECT_FALSE(file.hasExtension);
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithVolume), "C:\\dir");
  EXPECT_EQ(file.GetFullText(), "C:\\dir/");
}

TEST(FileNameDirectory, LoneBackslashIsItsOwnDirectoryPart) {
  utilFileName file;
  file.SetFromDirectory("\\");
  EXPECT_EQ(file.GetDirectoryText(kDirectoryWithVolume), "\\");
}

TEST(FileNameDirectory, RootAlone) {
  utilFileName file;
  file.SetFromDirectory("/");
  EXPECT_FALSE(file.relative);
  EXPECT_TRUE(file.directories.empty());
  EXPECT_EQ(file.GetFullText(), "/");
}

TEST(FileNameDirectory, DottedDirectoryHasNoExtension) {
  utilFileName file;
  file.SetFromDirectory("/opt/app.d");
  EXPECT_EQ(file.directories, (std::vector<std::string>{"opt", "app.d"}));
  EXPECT_EQ(file.GetFullText(), "/opt/app.d/");
}

TEST(PathSeparators, EachStyle) {
  EXPECT_EQ(utilFileName::GetPathSeparators(utilPATH_DEFAULT), "/");
  EXPECT_EQ(utilFileName::GetPathSeparators(utilPATH_UNIX), "/");
  EXPECT_EQ(utilFileName::GetPathSeparators(utilPATH_MAC), ":");
  EXPECT_EQ(utilFileName::GetPathSeparators(utilPATH_DOS), "\\/");
  EXPECT_EQ(utilFileName::GetPathSeparators(utilPATH_VMS), ".");
}

TEST(PathSeparators, UnknownStyleIsLoggedAndTakenAsUnix) {
  CapturedLog log(1);
  EXPECT_EQ(utilFileName::GetPathSeparators(9), "/");
  EXPECT_EQ(LogMessages(log.Text()), (std::vector<std::string>{"GetPathSeparators: Unknown utilPATH_XXX style"}));
}

TEST(PathSplitText, DosStyleSplitsAtBackslash) {
  std::string volume, directoryText, name, extension;
  bool hasExtension = false;
  utilFileName::SplitText("C:\\dir\\file.txt", utilPATH_DOS, volume, directoryText, name, extension, hasExtension);
  EXPECT_EQ(volume, "");
  EXPECT_EQ(directoryText, "C:\\dir");
  EXPECT_EQ(name, "file");
  EXPECT_EQ(extension, "txt");
  EXPECT_TRUE(hasExtension);
}

}  // namespace
