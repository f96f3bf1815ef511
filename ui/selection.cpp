#include "hive/value_text.h"
#include "host/long_operation.h"
#include "recovery/item_values.h"
#include "ui/item_words.h"
#include "ui/main_window.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

template <typename Result>
bool IsNewest(const Mailbox<Result>& box, uint32_t serial) {
  return box.newest.load() == serial;
}

// On the worker: leaves a result and announces it, unless a newer one was asked for.
template <typename Result>
void Deliver(Mailbox<Result>& box, uint32_t serial, std::unique_ptr<Result> result, HWND window,
             UINT message) {
  const std::lock_guard lock(box.mutex);
  if (!IsNewest(box, serial)) return;
  box.serial = serial;
  box.result = std::move(result);
  PostMessageW(window, message, 0, 0);
}

template <typename Result>
std::unique_ptr<Result> Take(Mailbox<Result>& box) {
  const std::lock_guard lock(box.mutex);
  std::unique_ptr<Result> result = std::move(box.result);
  return IsNewest(box, box.serial) ? std::move(result) : nullptr;
}

void GatherItem(MainWindow& window, uint32_t serial, uint32_t item, ValueViewOptions options) {
  if (!IsNewest(window.item_box, serial)) return;
  const HiveImage& hive = ShownHive(window);
  auto result = std::make_unique<ItemResult>();
  result->item = item;
  result->options = options;
  result->values = ShowItemValues(hive, *window.key_tree, item, options);
  result->detail = ItemDetail(hive, *window.key_tree, item);
  Deliver(window.item_box, serial, std::move(result), window.handle, kItemReady);
}

void GatherDetail(MainWindow& window, uint32_t serial, uint32_t value) {
  if (!IsNewest(window.detail_box, serial)) return;
  const ValueDetailText detail = ValueDetail(ShownHive(window), value);
  Deliver(window.detail_box, serial, std::make_unique<std::wstring>(WindowText(detail.text)),
          window.handle, kDetailReady);
}

void ShowDetail(MainWindow& window, std::wstring text) {
  if (SetDetail(window.detail, std::move(text))) {
    SetTimer(window.handle, kDetailTimer, kTimerPause, nullptr);
  }
}

void ShowPath(const MainWindow& window, uint32_t item) {
  const std::string path =
      item == kNoItem ? "" : ItemPathUtf8(ShownHive(window), *window.key_tree, item, nullptr);
  SetWindowTextW(window.path, WideName(path).c_str());
}

}  // namespace

void OnItemSelected(MainWindow& window, uint32_t item) {
  if (TheLongOperation().running != 0 || window.slot < 0 || item == kNoItem) return;
  ShowPath(window, item);
  ShowItemWords(window, ItemWords(ShownHive(window), *window.key_tree, item));
  const uint32_t serial = ++window.item_box.newest;
  const ValueViewOptions options = window.view;
  StartValueThread(window.threads,
                   [&window, serial, item, options] { GatherItem(window, serial, item, options); });
  UpdateToolbar(window);
}

void TakeItemResult(MainWindow& window) {
  const std::unique_ptr<ItemResult> result = Take(window.item_box);
  if (result == nullptr || window.slot < 0) return;
  ++window.detail_box.newest;  // details on their way belong to the rows that go
  window.shown_item = result->item;
  window.shown_value = kNoOffset;
  window.key_detail = std::move(result->detail);
  ShowValues(window.values, ShownHive(window), std::move(result->values), result->options);
  FitValueColumns(window.values, window.dpi);
  ShowDetail(window, window.key_detail);
  UpdateToolbar(window);
}

void OnRowSelected(MainWindow& window) {
  const uint32_t value = ValueOfRow(window.values, SelectedRow(window.values));
  if (value == window.shown_value || window.slot < 0) return;
  window.shown_value = value;
  const uint32_t serial = ++window.detail_box.newest;
  UpdateToolbar(window);
  if (value == kNoOffset) return ShowDetail(window, window.key_detail);
  StartValueThread(window.threads,
                   [&window, serial, value] { GatherDetail(window, serial, value); });
}

void TakeDetailResult(MainWindow& window) {
  const std::unique_ptr<std::wstring> text = Take(window.detail_box);
  if (text != nullptr) ShowDetail(window, std::move(*text));
}

void RefreshItem(MainWindow& window) { OnItemSelected(window, SelectedItem(window.tree)); }

}  // namespace hivequarry
