#include <windows.h>

#include <new>

#include "log/debug_log.h"
#include "util/text_file.h"
#include "util/text_lines.h"

namespace {

constexpr DWORD kReadBlock = 4096;

// Reads size bytes in blocks into buffer; the count read, or -1 after a
// failed read.
int64_t ReadBlocks(HANDLE file, char* buffer, DWORD size) {
  char* dst = buffer;
  DWORD left = size;
  while (left > 0) {
    DWORD got = 0;
    if (!ReadFile(file, dst, left < kReadBlock ? left : kReadBlock, &got, nullptr)) {
      ZENT_LOG_AS("Open", 1, L"ReadFile failed, err=%d\n", GetLastError());
      return -1;
    }
    if (got == 0) break;
    dst += got;
    left -= got;
  }
  return dst - buffer;
}

}  // namespace

bool utilTextFile::Open(const std::string& name) {
  fileName = name;
  HANDLE file = CreateFileA(name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    ZENT_LOG(1, L"CreateFileA failed\n");
    return false;
  }
  DWORD high = 0;
  DWORD size = GetFileSize(file, &high);
  DWORD sizeError = size == INVALID_FILE_SIZE ? GetLastError() : NO_ERROR;
  // The lines of a file of 4 GiB or more would not fit the 32-bit size the
  // reader works with; such a file, or one whose size is unknown, is refused
  // unread.
  if (sizeError != NO_ERROR || high != 0) {
    ZENT_LOG(1, L"file(%S) size is unknown or 4 GiB or more: high=%u, low=%u, err=%d\n", name, high, size,
             sizeError);
    CloseHandle(file);
    return false;
  }
  if (size == 0) {
    ZENT_LOG(1, L"file(%S) bufSize is 0\n", name);
    CloseHandle(file);
    return false;
  }
  ZENT_LOG(1, L"file opened: name:%S, size:%d\n", name, size);
  std::string buffer;
  try {
    buffer.resize(size);
  } catch (const std::bad_alloc&) {
    ZENT_LOG(1, L"file(%S) buffer of %u bytes cannot be allocated\n", name, size);
    CloseHandle(file);
    return false;
  }
  int64_t count = ReadBlocks(file, buffer.data(), size);
  CloseHandle(file);
  if (count < 0) return false;
  if (count != static_cast<int64_t>(size)) {
    ZENT_LOG(1, L"dst(%p) - str.data(%p) !=  bufSize(%d)\n", static_cast<const void*>(buffer.data() + count),
             static_cast<const void*>(buffer.data()), size);
    return false;
  }
  try {
    SplitTextLines(buffer.data(), buffer.size(), lines, lineTypes);
  } catch (const std::bad_alloc&) {
    ZENT_LOG(1, L"file(%S) lines of %u bytes cannot be allocated\n", name, size);
    lines.clear();
    lineTypes.clear();
    return false;
  }
  opened = true;
  return true;
}
