// makelink.exe LINK TARGET
//
// Saves a shell link at LINK whose path is TARGET, through the shell's own
// link object on a thread with COM, and exits 0; on failure it prints the
// HRESULT and exits 1.
#include <windows.h>
#include <shlobj.h>

#include <cstdio>

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IShellLinkW* link = nullptr;
  HRESULT result = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                    reinterpret_cast<void**>(&link));
  IPersistFile* file = nullptr;
  if (SUCCEEDED(result)) result = link->SetPath(argv[2]);
  if (SUCCEEDED(result)) result = link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file));
  if (SUCCEEDED(result)) result = file->Save(argv[1], TRUE);
  if (file != nullptr) file->Release();
  if (link != nullptr) link->Release();
  CoUninitialize();
  if (FAILED(result)) {
    std::printf("error 0x%08lx\n", static_cast<unsigned long>(result));
    return 1;
  }
  return 0;
}
