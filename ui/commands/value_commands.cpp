#include "ui/commands/value_commands.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hive/values.h"
#include "host/output_file.h"
#include "reports/freed_rows.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/main/main_window.h"
#include "view/save_names.h"

namespace hivequarry {
namespace {

// A file that cannot be written whole is left as it was.
void SaveData(const std::string& file, std::span<const uint8_t> data) {
  OutputFile output;
  int error = 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
  const bool open = OpenOutput(file, OutputMode::kReplace, output, error);
  // A close that fails has closed the file too; the second one does nothing then.
  if (open && WriteOutput(output, bytes) && CloseOutput(output, true)) return;
  if (open) CloseOutput(output, false);
  ReportFileFailure(kFileNotOpened, file);
}

// Of the value selected, deleted or not.
bool ReadDataOf(const MainWindow& window, std::vector<uint8_t>& data) {
  const HiveImage& hive = ShownHive(window);
  const uint32_t position = window.selection.value;
  const FreedTree* freed = window.selection.freed.get();
  const FreedValue* gone = freed == nullptr ? nullptr : FreedValueAt(freed->records, position);
  if (gone == nullptr) {
    std::vector<DataPiece> pieces;
    return ReadWholeValue(hive, position, data, pieces).status == ValueStatus::kRead;
  }
  FreedContent content = ReadFreedContent(hive, freed->records, *gone, FreedData::kAll);
  data = std::move(content.data);
  return content.value.status == ValueStatus::kRead;
}

}  // namespace

void OnSelectAllValues(MainWindow& window) { SelectAllRows(window.values); }

void OnInvertValues(MainWindow& window) { InvertRows(window.values); }

void OnCopyValues(MainWindow& window) { CopyText(window.handle, SelectedText(window.values)); }

void OnSaveValue(MainWindow& window) {
  std::vector<uint8_t> data;
  if (!ReadDataOf(window, data)) {
    ShowMessage("Could not read the data of the value !", kProgramName, Icon::kExclamation);
    return;
  }
  SaveBytes(window, data, SelectedValueName(window));
}

std::string SelectedValueName(const MainWindow& window) {
  const int row = SelectedRow(window.values);
  const std::string name = row < 0 ? std::string() : NameOfRow(window.values.rows, row);
  return name.empty() ? "(Default)" : name;
}

void SaveBytes(MainWindow& window, std::span<const uint8_t> bytes, const std::string& name) {
  FileRequest request;
  const std::string file_of = window.shown->slot < 0 ? "" : ShownHive(window).file_name;
  request.name = ProposedListName(name, file_of) + ".bin";
  request.filter = L"All files (*.*)\0*.*\0";
  request.ask_to_replace = true;
  const std::string file = ChooseFile(window.handle, true, kFolderTexts, request);
  if (!file.empty()) SaveData(file, bytes);
}

}  // namespace hivequarry
