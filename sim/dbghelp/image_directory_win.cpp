// The PE look-ups of a debug help library, and nothing else: a directory of
// a module, mapped as an image or read as a file, and the address of an RVA
// in a file read whole. Wine's imagehlp.dll (which crypt32 uses to read a
// file's embedded signature) imports exactly these two.
#include <windows.h>

namespace {

IMAGE_NT_HEADERS* NtHeaders(void* base) {
  auto* dos = static_cast<IMAGE_DOS_HEADER*>(base);
  if (dos == nullptr || dos->e_magic != IMAGE_DOS_SIGNATURE) return nullptr;
  auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(static_cast<BYTE*>(base) + dos->e_lfanew);
  return nt->Signature == IMAGE_NT_SIGNATURE ? nt : nullptr;
}

}  // namespace

extern "C" PVOID WINAPI ImageRvaToVa(PIMAGE_NT_HEADERS nt, PVOID base, ULONG rva, PIMAGE_SECTION_HEADER* last) {
  IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(nt);
  for (WORD i = 0; i < nt->FileHeader.NumberOfSections; ++i, ++section) {
    if (rva >= section->VirtualAddress && rva < section->VirtualAddress + section->SizeOfRawData) {
      if (last != nullptr) *last = section;
      return static_cast<BYTE*>(base) + rva - section->VirtualAddress + section->PointerToRawData;
    }
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return nullptr;
}

extern "C" PVOID WINAPI ImageDirectoryEntryToData(PVOID base, BOOLEAN mappedAsImage, USHORT entry, PULONG size) {
  IMAGE_NT_HEADERS* nt = NtHeaders(base);
  if (nt == nullptr) return nullptr;
  // The signed files the agent checks are 64-bit images, as this library.
  if (nt->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC) return nullptr;
  DWORD count = nt->OptionalHeader.NumberOfRvaAndSizes;
  IMAGE_DATA_DIRECTORY* directories = nt->OptionalHeader.DataDirectory;
  if (entry >= count || directories[entry].VirtualAddress == 0) return nullptr;
  DWORD address = directories[entry].VirtualAddress;
  if (size != nullptr) *size = directories[entry].Size;
  // In a file read whole, an address inside the headers is the same
  // offset; any other is found through the section table.
  if (mappedAsImage || address < nt->OptionalHeader.SizeOfHeaders) return static_cast<BYTE*>(base) + address;
  return ImageRvaToVa(nt, base, address, nullptr);
}
