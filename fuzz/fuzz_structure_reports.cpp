// The special reports: on any bytes as a hive file, on keys and values that are made of the input
// where it is no hive, and item lists read straight from it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzzed_hive.h"
#include "lists/list_writers.h"
#include "reports/path_texts.h"
#include "reports/shell_items.h"
#include "reports/structure_reports.h"
#include "words/value_text.h"

namespace {

using namespace hivequarry;
using fuzzing::FuzzedHive;
using fuzzing::Require;

using Bytes = std::span<const uint8_t>;

constexpr size_t kLongestListPath = 2048;
constexpr uint32_t kMostKeys = 200;
constexpr uint32_t kMostValues = 40;  // of one key

// Names that the reports look for, and one that is none.
const std::vector<std::string>& KnownNames() {
  static const std::vector<std::string> names = [] {
    std::istringstream words(
        "Services Start ImagePath Type Uninstall DisplayName UserAssist Count CLSID MRUList "
        "MRUListEx BagMRU NodeSlot StreamMRU OpenSaveMRU 0 1 FileExts .txt OpenWithList "
        "Application OpenWithProgids shell open command InprocServer32 ProgID Bags Classes "
        "UninstallString LocalServer32 VersionIndependentProgID DefaultIcon a *");
    std::vector<std::string> split = {""};
    split.insert(split.end(), std::istream_iterator<std::string>(words), {});
    return split;
  }();
  return names;
}

class Input {
 public:
  explicit Input(Bytes bytes) : bytes_(bytes) {}
  bool empty() const { return bytes_.empty(); }
  uint8_t Byte() { return bytes_.empty() ? uint8_t{0} : Take(1)[0]; }
  // As many of the bytes as there are.
  Bytes Take(size_t size) {
    const Bytes taken = bytes_.first(std::min(size, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
  }

 private:
  Bytes bytes_;
};

// Keys of names that the reports look for, and of others, as the input has them.
class FuzzedKeys : public KeySource {
 public:
  explicit FuzzedKeys(Bytes bytes) : input_(bytes) {}

  bool NextKey(SourceKey& key) override {
    while (!input_.empty() && keys_++ < kMostKeys) {
      const uint8_t shape = input_.Byte();
      const auto level = std::min<size_t>(shape % 8 + 1U, path_.size() + 1);
      const std::string name = Name(shape);
      if (level > skipped_) continue;
      skipped_ = SIZE_MAX;
      path_.resize(level - 1);
      path_.push_back(name);
      Describe(key, shape);
      return true;
    }
    return false;
  }
  void SkipChildren() override { skipped_ = path_.size(); }
  bool NextValue(SourceValue& value) override {
    if (values_left_ == 0 || input_.empty()) return false;
    --values_left_;
    const uint8_t shape = input_.Byte();
    value = SourceValue();
    value.name = Name(shape);
    value.type = input_.Byte() % 13U;
    value.data = input_.Take(input_.Byte() * (shape % 4 == 3 ? 64U : 1U));
    value.read = shape < 240;
    value.text = value.read ? DataPreview(value.type, value.data, true) : "(unreadable)";
    value.position = values_left_;
    return true;
  }
  uint64_t LastWriteOf(std::string_view path) override { return path.size() % 3 * kTime; }

 private:
  static constexpr uint64_t kTime = 0x01D00000'00000000;

  std::string Name(uint8_t shape) {
    const uint8_t index = input_.Byte();
    if (index < 192) return KnownNames()[index % KnownNames().size()];
    const Bytes raw = input_.Take(shape % 32);
    return std::string(raw.begin(), raw.end());
  }

  void Describe(SourceKey& key, uint8_t shape) {
    key = SourceKey();
    for (const std::string& name : path_) {
      if (!key.path.empty()) key.path += '\\';
      key.path += name;
    }
    key.name = path_.back();
    key.level = static_cast<uint32_t>(path_.size());
    key.position = keys_;
    key.last_write = shape * kTime;
    if (shape == 255) key.error = "Access denied";
    values_left_ = key.error.empty() ? input_.Byte() % kMostValues : 0;
  }

  Input input_;
  std::vector<std::string> path_;
  size_t skipped_ = SIZE_MAX;  // level of the key whose children are
  uint32_t keys_ = 0;
  uint32_t values_left_ = 0;
};

// Each row can be written, and none has a line end in it.
void CheckRows(const OutputList& list) {
  size_t lines = 0;
  const bool written = WriteListCsv(list, [&lines](std::string_view piece) {
    lines += static_cast<size_t>(std::ranges::count(piece, '\n'));
    return true;
  });
  Require(written || RowCount(list) == 0);
  Require(lines >= RowCount(list));
  Require(RowCount(list) == 0 ||
          WriteListJsonLines(list, [](std::string_view piece) { return !piece.empty(); }));
}

void ReportOnHive(const uint8_t* data, size_t size) {
  const FuzzedHive opened(data, size);
  for (size_t report = 0; report < static_cast<size_t>(Report::kCount); ++report) {
    const ReportInfo& info = InfoOf(static_cast<Report>(report));
    const OutputListPtr list = MakeOutputList(info.kind);
    const size_t item = size % 3 == 0 ? size / 3 % opened.tree.items.size() : 0;
    RunReportOnHive(info.report, opened.hive, opened.tree, static_cast<uint32_t>(item), item != 0,
                    *list);
    CheckRows(*list);
  }
}

void ReportOnKeys(Report report, Bytes bytes) {
  const ReportInfo& info = InfoOf(report);
  for (const bool live : {false, true}) {
    if (live && info.live_kind == 0) continue;
    FuzzedKeys keys(bytes);
    const OutputListPtr list = MakeOutputList(live ? info.live_kind : info.kind);
    RunReport(report, keys, live, *list);
    CheckRows(*list);
  }
}

void TryItems(Bytes bytes) {
  const ItemList list = ReadItemList(bytes, bytes.size() % 2 == 0 ? "C:" : "");
  Require(list.path.size() < kLongestListPath && list.count <= bytes.size() / 3);
  ReadShellItem(bytes);
  const std::string text(bytes.begin(), bytes.end());
  const std::vector<std::string> paths = PathsInText(text);
  Require(paths.size() <= 64);
  for (const std::string& path : paths) Require(!path.empty() && path.size() < 1040);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  if (size >= 4 && std::memcmp(data, "regf", 4) == 0) {
    ReportOnHive(data, size);
    return 0;
  }
  const Bytes bytes(data + 1, size - 1);
  const auto reports = static_cast<unsigned>(Report::kCount);
  if (data[0] % (reports + 1) == reports) {
    TryItems(bytes);
  } else {
    ReportOnKeys(static_cast<Report>(data[0] % (reports + 1)), bytes);
  }
  return 0;
}
