// Any bytes as a Report List. What was read from them must come back from a file written anew.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "lists/list_report.h"

namespace {

using namespace hivequarry;

void Require(bool holds) {
  if (!holds) std::abort();
}

OutputListPtr ReadRows(std::string_view text, const ReportHead& head) {
  OutputListPtr list = MakeOutputList(head.kind);
  SetColumns(*list, head.columns);
  const size_t size = text.size();
  const ByteSource source = [&](char* room, size_t most) {
    const size_t count = text.copy(room, most);
    text.remove_prefix(count);
    return count;
  };
  ReadReportRows(source, *list);
  Require(RowCount(*list) <= size / 3);
  return list;
}

std::string Written(const OutputList& list) {
  std::string text;
  const ReportLook look = {"", {}, "Thu Jan  1 00:00:00 1970"};
  WriteReport(list, {}, look, [&](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ReportHead head;
  if (ParseReportHead(text, head) != ReportRead::kDone) {
    head.columns.assign(kMaxColumns, "Column");
  }
  Require(head.columns.size() <= kMaxOwnColumns);
  const OutputListPtr list = ReadRows(text, head);
  const std::string written = Written(*list);
  Require(Written(*ReadRows(written, head)) == written);
  return 0;
}
