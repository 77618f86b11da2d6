// utilFileName: a path cut into volume, directories, name and extension, as
// the file queries hold the paths the server names. Every caller uses the
// default style, which is Unix also on Windows: a backslash is no separator,
// so "C:\dir\file.txt" is all one file part (name "C:\dir\file", extension
// "txt") and GetFullText gives the text back unchanged, which is the text
// the queries report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The path styles GetPathSeparators knows.
enum utilPathStyle : int {
  utilPATH_DEFAULT = 0,
  utilPATH_UNIX = 1,
  utilPATH_MAC = 2,
  utilPATH_DOS = 3,
  utilPATH_VMS = 4,
};

// GetDirectoryText's flags.
inline constexpr int kDirectoryWithVolume = 1;
inline constexpr int kDirectoryWithClosingSeparator = 2;

class utilFileName {
 public:
  std::string volume;  // stays empty in the default style
  std::vector<std::string> directories;
  std::string name;       // without the extension
  std::string extension;  // without the dot
  bool relative = true;   // the path does not begin with a separator
  bool hasExtension = false;  // a dot for an extension, even with nothing behind it

  void SetFromPath(const std::string& path);
  // The whole text as a directory: name and extension stay empty.
  void SetFromDirectory(const std::string& path);

  // The separators of a style; the first one joins. An unknown style is
  // logged and taken as Unix.
  static std::string GetPathSeparators(int style);
  // Volume, directory text (without the separator in front of the file
  // part), name, extension and whether there was an extension dot.
  static void SplitText(const std::string& text, int style, std::string& volume, std::string& directoryText,
                        std::string& name, std::string& extension, bool& hasExtension);

  std::string GetDirectoryText(int flags) const;
  // The directory text with both flags, the name, and "." and the extension
  // when there is one.
  std::string GetFullText() const;

  // These ask the system (utilFileName's _win half).
  bool ExistsAsFile() const;
  // The 8.3 form of the full text as UTF-8; empty when the system gives none.
  std::string GetShortForm() const;
  // The target of a shell link (extension "lnk" in any case) when it
  // differs from the full text; false for any other file, when the thread
  // has no COM, or on any failure.
  bool GetLinkTarget(std::string& target) const;
  // The file's 64-bit size, -1 when it cannot be had.
  int64_t GetSize() const;

 private:
  void SetDirectories(const std::string& directoryText, bool hasRoot);
};
