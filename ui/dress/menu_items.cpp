#include "ui/dress/menu_items.h"

#include <algorithm>
#include <array>
#include <map>

namespace hivequarry {
namespace {

std::map<HMENU, MenuItems>& TheMenus() {
  static std::map<HMENU, MenuItems> menus;
  return menus;
}

// Never null; without texts for what cannot be read. `spoken` points into the record itself, which
// therefore must not move.
std::unique_ptr<MenuItem> ReadItem(HMENU menu, UINT position) {
  std::array<wchar_t, 512> text{};
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_STRING | MIIM_SUBMENU;
  info.dwTypeData = text.data();
  info.cch = static_cast<UINT>(text.size());
  auto item = std::make_unique<MenuItem>();
  item->menu = menu;
  if (GetMenuItemInfoW(menu, position, TRUE, &info) == FALSE) return item;
  item->type = info.fType;
  item->leads_on = info.hSubMenu != nullptr;
  item->whole = text.data();
  const size_t tab = std::min(item->whole.find(L'\t'), item->whole.size());
  item->text = item->whole.substr(0, tab);
  if (tab < item->whole.size()) item->key = item->whole.substr(tab + 1);
  item->spoken = {static_cast<DWORD>(MSAA_MENU_SIG), static_cast<DWORD>(item->whole.size()),
                  item->whole.data()};
  return item;
}

void SetType(HMENU menu, UINT position, UINT type, const MenuItem* data) {
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_DATA;
  info.fType = type;
  info.dwItemData = reinterpret_cast<ULONG_PTR>(data);
  SetMenuItemInfoW(menu, position, TRUE, &info);
}

}  // namespace

void TakeItems(HMENU menu) {
  std::erase_if(TheMenus(), [](const auto& entry) { return IsMenu(entry.first) == FALSE; });
  MenuItems items;
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    const auto position = static_cast<UINT>(i);
    items.push_back(ReadItem(menu, position));
    SetType(menu, position, items.back()->type | MFT_OWNERDRAW, items.back().get());
  }
  // The items point at their new records by now, so the old ones can go.
  TheMenus()[menu] = std::move(items);
}

void GiveItemsBack(HMENU menu) {
  const auto found = TheMenus().find(menu);
  if (found == TheMenus().end()) return;
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    const auto position = static_cast<UINT>(i);
    SetType(menu, position, ReadItem(menu, position)->type & ~static_cast<UINT>(MFT_OWNERDRAW),
            nullptr);
  }
  TheMenus().erase(found);
}

const MenuItems& ItemsOf(HMENU menu) {
  static const MenuItems none;
  const auto found = TheMenus().find(menu);
  return found != TheMenus().end() ? found->second : none;
}

const MenuItem* ItemOfData(ULONG_PTR data) {
  for (const auto& [menu, items] : TheMenus()) {
    for (const auto& item : items) {
      if (reinterpret_cast<ULONG_PTR>(item.get()) == data) return item.get();
    }
  }
  return nullptr;
}

}  // namespace hivequarry
