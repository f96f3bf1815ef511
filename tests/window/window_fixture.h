// A real main window with real controls, and what a user would do with it and see in it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/host.h"
#include "tests/support/hive_builder.h"
#include "tests/support/texts.h"
#include "ui/main/main_window.h"

namespace hivequarry::testing {

struct ShownBox {
  std::string text;
  std::string title;
  Icon icon;
  Buttons buttons;
};

// What the window asked of its surroundings. Written by the interface thread unless a worker shows
// a box; tests read it after the worker has ended.
struct Surroundings {
  std::vector<ShownBox> boxes;
  Answer answer = Answer::kNo;
  std::vector<std::string> launches;
  std::function<void(const char*)> on_status;  // on the thread that reports
};

// Dispatches messages until `done` or the deadline; whether it was done.
bool PumpUntil(const std::function<bool()>& done,
               std::chrono::milliseconds deadline = std::chrono::seconds(20));
// Dispatches what is there already.
void Pump();

// The clipboard's text, UTF-8; "(busy)" while another program holds it.
std::string ClipboardText();

class WindowTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // After CloseWindow: another one, with the settings that the first one left.
  void MakeWindow();
  void CloseWindow();

  // Opens as the open dialog would and waits until the hive and its root item are shown.
  void Open(const std::string& file);
  // The same of a file made for it, as long as the test lasts.
  void OpenBytes(const Bytes& hive);
  bool IsLoaded() const;
  // Until the value pane shows the rows of the selected item.
  void WaitForRows();
  // Selects the key at a path below the root item, and waits for its rows.
  void SelectPath(const std::string& path);
  void SelectItemAndWait(uint32_t item);
  void SelectRow(int row);
  void Run(uint32_t command);

  HTREEITEM WorkspaceHandle() const;
  HTREEITEM RootHandle() const { return TreeView_GetRoot(window_->controls.tree); }
  std::string ItemText(HTREEITEM item) const;
  std::vector<std::string> ChildTexts(HTREEITEM item) const;
  bool IsItemExpanded(HTREEITEM item) const;
  // The texts of one row, column by column.
  std::vector<std::string> RowTexts(HWND list, int row) const;
  std::vector<std::string> ValueRowTexts(int row) const {
    return RowTexts(window_->values.window, row);
  }
  static std::string TextOf(HWND control);
  std::string StatusText(int part) const;
  // The boxes shown since the last call, "title: text" each.
  Texts TakeBoxes();

  MainWindow* window_ = nullptr;
  HWND handle_ = nullptr;
  Surroundings surroundings_;
  std::unique_ptr<TempFile> hive_file_;  // of OpenBytes
};

}  // namespace hivequarry::testing
