#include "ui/frame/folder_choice.h"

#include <objbase.h>
#include <shobjidl.h>

#include "ui/frame/modal.h"
#include "ui/frame/text.h"

namespace hivequarry {
namespace {

// COM for as long as the object lives, if this thread does not have it already.
struct ComTurn {
  ComTurn() : started(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
  ~ComTurn() {
    if (started) CoUninitialize();
  }
  ComTurn(const ComTurn&) = delete;
  ComTurn& operator=(const ComTurn&) = delete;
  bool started;
};

void BeginAt(IFileOpenDialog& dialog, const std::string& folder) {
  IShellItem* item = nullptr;
  const HRESULT found = SHCreateItemFromParsingName(
      WideName(folder).c_str(), nullptr, IID_IShellItem, reinterpret_cast<void**>(&item));
  if (FAILED(found)) return;
  dialog.SetFolder(item);
  item->Release();
}

// Empty for what is no folder of the file system.
std::string ResultOf(IFileOpenDialog& dialog) {
  IShellItem* item = nullptr;
  if (FAILED(dialog.GetResult(&item))) return {};
  wchar_t* path = nullptr;
  const HRESULT named = item->GetDisplayName(SIGDN_FILESYSPATH, &path);
  item->Release();
  if (FAILED(named)) return {};
  std::string folder = Utf8Name(path);
  CoTaskMemFree(path);
  return folder;
}

// COM is there for the length of the call; windows of this thread are disabled meanwhile, as the
// system disables the owner alone.
std::string ChooseFolder(HWND owner, const std::string& folder) {
  const ComTurn com;
  IFileOpenDialog* dialog = nullptr;
  if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IFileOpenDialog, reinterpret_cast<void**>(&dialog)))) {
    return {};
  }
  dialog->SetOptions(FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST);
  if (!folder.empty()) BeginAt(*dialog, folder);
  const ModalTurn turn(owner);
  std::string chosen;
  if (SUCCEEDED(dialog->Show(owner))) chosen = ResultOf(*dialog);
  dialog->Release();
  return chosen;
}

}  // namespace

FolderChooser& TheFolderChooser() {
  static FolderChooser chooser = ChooseFolder;
  return chooser;
}

}  // namespace hivequarry
