// The value viewer: details, bytes and what the bytes at the caret may mean, side by side where
// there is room. Without bytes the details have all of it. The parent routes nothing: the container
// answers its children.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ui/draw/dpi.h"
#include "ui/draw/win.h"
#include "ui/panes/detail_pane.h"
#include "view/value_viewer.h"

namespace hivequarry {

// Details, bytes and meanings of one value, side by side. Children of the container.
struct ValueViewer {
  HWND window = nullptr;  // the container; the parent places it
  DetailPane detail;
  HWND hex = nullptr;
  HWND meaning = nullptr;
  ValueBytes value;  // its data are in the hex control
  std::vector<Meaning> rows;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  // What the owner does: writes bytes to a file, and tells why nothing was done.
  std::function<void(std::span<const uint8_t>)> save;
  std::function<void(const wchar_t*)> tell;
};

// Makes the container and its panes; false when they can't be had. They keep the record's address.
bool MakeValueViewer(ValueViewer& viewer, HWND parent, int identifier, uint32_t dpi);
// Fonts belong to the caller and stay until others are given.
void SetViewerLook(ValueViewer& viewer, const Fonts& fonts, uint32_t dpi);
// Shows other details and bytes. True while slices of the details remain to be added
// (AddDetailSlice).
bool ShowInViewer(ValueViewer& viewer, std::wstring detail, ValueBytes value);
// Tab goes through both sides of the bytes before it leaves them: true while it stays.
bool KeepsTab(const ValueViewer& viewer, MSG& message);
// In the order of Tab.
std::array<HWND, 3> ViewerPanes(const ValueViewer& viewer);

}  // namespace hivequarry
