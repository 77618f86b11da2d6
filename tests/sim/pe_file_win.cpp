#include "pe_file.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

namespace zentsim::testing {

namespace {

using Change = std::function<bool(std::vector<unsigned char>&, const IMAGE_NT_HEADERS&)>;

// Copies a PE file, letting change alter its bytes on the way.
bool CopyChanged(const std::wstring& from, const std::wstring& to, const Change& change) {
  std::ifstream in(std::filesystem::path(from), std::ios::binary);
  std::vector<unsigned char> file((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
  if (file.size() < sizeof(IMAGE_DOS_HEADER)) return false;
  auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(file.data());
  IMAGE_NT_HEADERS nt;
  std::memcpy(&nt, file.data() + dos->e_lfanew, sizeof nt);
  if (!change(file, nt)) return false;
  std::ofstream out(std::filesystem::path(to), std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
  return static_cast<bool>(out);
}

}  // namespace

std::set<std::string> ExportedNames(void* module) {
  auto* base = static_cast<const BYTE*>(module);
  auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& entry =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  std::set<std::string> names;
  if (entry.Size == 0) return names;
  auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
  auto* nameRvas = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    names.insert(reinterpret_cast<const char*>(base + nameRvas[i]));
  }
  return names;
}

void* ExportedAddress(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

bool CopyWithCodeByteChanged(const std::wstring& from, const std::wstring& to) {
  return CopyChanged(from, to, [&](std::vector<unsigned char>& file, const IMAGE_NT_HEADERS& nt) {
    auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(file.data());
    size_t sections = static_cast<size_t>(dos->e_lfanew) + offsetof(IMAGE_NT_HEADERS, OptionalHeader) +
                      nt.FileHeader.SizeOfOptionalHeader;
    for (WORD i = 0; i < nt.FileHeader.NumberOfSections; ++i) {
      IMAGE_SECTION_HEADER section;
      std::memcpy(&section, file.data() + sections + i * sizeof section, sizeof section);
      if (std::strncmp(reinterpret_cast<const char*>(section.Name), ".text", 8) != 0) continue;
      file[section.PointerToRawData + section.SizeOfRawData / 2] ^= 0x01;
      return true;
    }
    return false;
  });
}

bool CopyWithSignatureByteChanged(const std::wstring& from, const std::wstring& to) {
  return CopyChanged(from, to, [&](std::vector<unsigned char>& file, const IMAGE_NT_HEADERS& nt) {
    const IMAGE_DATA_DIRECTORY& table =
        nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_SECURITY];
    // The table's first entry: an 8-byte header, then the signature's DER,
    // which ends with the signer's encrypted digest.
    size_t der = table.VirtualAddress + 8;
    if (table.Size < 16 || der + 4 > file.size() || file[der] != 0x30 || file[der + 1] != 0x82) {
      return false;
    }
    size_t end = der + 4 + (size_t{file[der + 2]} << 8 | file[der + 3]);
    if (end > file.size()) return false;
    file[end - 1] ^= 0x01;
    return true;
  });
}

bool CopyWithSignedDigestByteChanged(const std::wstring& from, const std::wstring& to) {
  return CopyChanged(from, to, [&](std::vector<unsigned char>& file, const IMAGE_NT_HEADERS& nt) {
    const IMAGE_DATA_DIRECTORY& table =
        nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_SECURITY];
    // The signed content's DigestInfo: the SHA-256 algorithm, no parameters,
    // then the 32-byte image digest as an octet string.
    const unsigned char digestInfo[] = {0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03,
                                        0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
    auto begin = file.begin() + table.VirtualAddress;
    auto found = std::search(begin, file.end(), std::begin(digestInfo), std::end(digestInfo));
    if (table.Size == 0 || found == file.end()) return false;
    *(found + sizeof digestInfo) ^= 0x01;
    return true;
  });
}

std::wstring ScratchPath(const std::wstring& name) {
  wchar_t directory[MAX_PATH];
  GetTempPathW(MAX_PATH, directory);
  return std::wstring(directory) + L"zent-sim-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
         name;
}

}  // namespace zentsim::testing
