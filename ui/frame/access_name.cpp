#include "ui/frame/access_name.h"

namespace hivequarry {

HWND MakeUnseenLabel(HWND parent, const wchar_t* name) {
  return CreateWindowExW(0, WC_STATICW, name, WS_CHILD | WS_VISIBLE | SS_NOPREFIX, 0, 0, 0, 0,
                         parent, nullptr, nullptr, nullptr);
}

}  // namespace hivequarry
