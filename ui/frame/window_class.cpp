#include "ui/frame/window_class.h"

#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

void SetFrame(HINSTANCE instance, WNDCLASSEXW& info) {
  const auto* icon = MAKEINTRESOURCEW(kIconProgram);
  info.hIcon = LoadIconW(instance, icon);
  info.hIconSm =
      static_cast<HICON>(LoadImageW(instance, icon, IMAGE_ICON, GetSystemMetrics(SM_CXSMICON),
                                    GetSystemMetrics(SM_CYSMICON), LR_SHARED));
  info.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
}

}  // namespace

bool RegisterWindowClass(HINSTANCE instance, const WindowClass& wanted) {
  WNDCLASSEXW info{};
  info.cbSize = sizeof info;
  info.lpfnWndProc = wanted.procedure;
  info.cbWndExtra = wanted.extra_bytes;
  info.hInstance = instance;
  info.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  info.lpszClassName = wanted.name;
  if (wanted.framed) SetFrame(instance, info);
  return RegisterClassExW(&info) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

}  // namespace hivequarry
