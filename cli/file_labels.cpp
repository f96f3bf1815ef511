#include "cli/file_labels.h"

// Characters are gathered to a line, which the format's own function gives the file's name and
// hands on. Only a line is kept, so lists of any length pass through.
#include <algorithm>

#include "host/visible_text.h"

namespace hivequarry {

void FileLabels::Begin(const std::string& file) {
  file_ = file;
  line_.clear();
  in_row_ = in_quotes_ = rows_ = titled_ = false;
  apart_ = said_ && printing_.format == Format::kText;
}
bool FileLabels::Add(std::string_view text) {
  if (apart_ && !text.empty()) out_ += "\r\n";
  said_ = true;
  apart_ = false;
  for (const char c : text) AddCharacter(c);
  return Flush();
}
bool FileLabels::End() {
  if (!line_.empty()) EndLine();
  return Flush();
}

bool FileLabels::Flush() {
  const bool taken = out_.empty() || sink_(out_);
  out_.clear();
  return taken;
}

// A line of CSV ends outside quotes alone.
void FileLabels::AddCharacter(char c) {
  line_ += c;
  if (c == '"') in_quotes_ = !in_quotes_;
  if (c == '\n' && (!in_quotes_ || printing_.format != Format::kCsv)) EndLine();
}

void FileLabels::EndLine() {
  switch (printing_.format) {
    case Format::kCsv:
      EndRecord();
      break;
    case Format::kJsonLines:
      EndObject();
      break;
    default:
      EndText();
  }
  line_.clear();
  in_quotes_ = false;
}

// Lists of one command may have a column more or less by what the hive is: then titles come
// again.
void FileLabels::EndRecord() {
  if (titled_) {
    out_ += FileCell() + "," + line_;
    return;
  }
  titled_ = true;
  if (line_ == titles_) return;
  titles_ = line_;
  const std::string commas = "," + line_.substr(0, line_.find_last_not_of("\r\n") + 1) + ",";
  out_ += commas.find(",File,") == commas.npos ? "File," : "Hive File,";
  out_ += line_;
}

void FileLabels::EndObject() {
  const bool object = line_.starts_with('{');
  const bool taken = line_.find("\"File\":") != line_.npos;  // quotes in texts have escapes
  if (object) out_ += (taken ? "{\"Hive File\":" : "{\"File\":") + JsonString(file_);
  if (object) line_[0] = ',';
  out_ += line_;
}

// A text list has lines about itself up to "Number of Items", then rows of several lines, apart by
// empty ones: each row begins with the name, as wide as the label below it.
void FileLabels::EndText() {
  const bool empty = line_ == "\r\n" || line_ == "\n";
  if (rows_ && !in_row_ && !empty) {
    std::string label = "File";
    label.resize(std::max(label.size(), std::min(line_.find(": "), line_.size())), ' ');
    out_ += label + ": " + VisibleLine(file_) + "\r\n";
  }
  in_row_ = rows_ && !empty;
  rows_ |= line_.starts_with("Number of Items");
  out_ += line_;
}

// As the writer of CSV makes its cells: quotes where they are needed, and no formula with
// --csv-safe.
std::string FileLabels::FileCell() const {
  const bool formula =
      printing_.csv_safe && std::string_view("=+-@").find(file_.front()) != std::string_view::npos;
  const std::string text = (formula ? "'" : "") + file_;
  if (text.find_first_of(",\"\r\n") == text.npos) return text;
  std::string cell = "\"";
  for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
  return cell + "\"";
}

}  // namespace hivequarry
