#include "cli/print_list.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include "host/evidence.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "host/visible_text.h"
#include "lists/list_report.h"
#include "lists/list_writers.h"

namespace hivequarry {
namespace {

bool WriteReportList(const OutputList& list, const TextSink& sink) {
  ReportLook look;
  look.title = ListTitle(list);
  return WriteReport(list, WrittenRows(), look, sink);
}

// True where what is printed is obeyed rather than kept.
bool GoesToTerminal(const Printing& printing) {
  if (printing.raw_text) return false;
#ifdef _WIN32
  return printing.file.empty() && _isatty(_fileno(stdout)) != 0;
#else
  return printing.file.empty() && isatty(fileno(stdout)) != 0;
#endif
}

// On a terminal cells of CSV have escapes too; in a file they are as they are.
bool WriteList(const OutputList& list, const Printing& printing, const TextSink& sink) {
  switch (printing.format) {
    case Format::kCsv:
      return WriteListCsvAs(list, {printing.csv_safe, GoesToTerminal(printing)}, sink);
    case Format::kJsonLines:
      return printing.hive == nullptr ? WriteListJsonLines(list, sink)
                                      : WriteHiveJsonLines(list, *printing.hive, sink);
    default:
      return printing.raw_text ? WriteListText(list, sink) : WriteListVisible(list, sink);
  }
}

bool WriteMadeList(OutputList& list, const RowMaker& make, const Printing& printing,
                   const TextSink& sink) {
  switch (printing.format) {
    case Format::kCsv:
      return WriteMadeCsv(list, make, {printing.csv_safe, GoesToTerminal(printing)}, sink);
    case Format::kJsonLines:
      return WriteMadeJsonLines(list, make, printing.hive, sink);
    default:
      return WriteMadeText(list, make, !printing.raw_text, sink);
  }
}

using Writer = std::function<bool(const TextSink& sink)>;

// A full disk or a closed pipe is seen at the flush at the latest.
bool PrintToStdout(const Writer& write) {
  const bool written = write([](std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  });
  return std::fflush(stdout) == 0 && written;
}

bool PrintToFile(const Writer& write, OutputFile& file) {
  const OutputGuard guard(file);
  const bool written = write([&file](std::string_view text) { return WriteOutput(file, text); });
  return CloseOutput(file, written);
}

OutputMode ModeOf(const Printing& printing) {
  return printing.force ? OutputMode::kReplace : OutputMode::kNew;
}

void ComplainOfFile(const std::string& file, int error) {
  std::string why = std::strerror(error);
  if (error == EEXIST) why += "; --force replaces it";
  if (IsProtected(file)) why = "a hive, or a log of one, is never replaced";
  Complain("Could Not Open or Create File " + file + " (" + why + ")");
}

// After a stop nothing is said: the user knows, and a file is not kept.
bool PrintTo(const Printing& printing, const Writer& write) {
  const std::string& file = printing.file;
  OutputFile output;
  int error = 0;
  if (!file.empty() && !OpenOutput(file, ModeOf(printing), output, error)) {
    ComplainOfFile(file, error);
    return false;
  }
  const bool written = file.empty() ? PrintToStdout(write) : PrintToFile(write, output);
  if (!written && !StopRequested()) Complain("Could not write the list");
  return written;
}

}  // namespace

void Complain(const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", kProgramName, VisibleLine(text).c_str());
}

bool PrintList(const OutputList& list, const Printing& printing) {
  const auto report = [&](const TextSink& sink) { return WriteReportList(list, sink); };
  if (printing.format == Format::kReport) return PrintPieces(report, printing);
  return PrintTo(printing, [&](const TextSink& sink) { return WriteList(list, printing, sink); });
}

bool PrintMadeList(OutputList& list, const RowMaker& make, const Printing& printing) {
  if (printing.format == Format::kReport) {
    make(list);
    return PrintList(list, printing);
  }
  return PrintTo(printing,
                 [&](const TextSink& sink) { return WriteMadeList(list, make, printing, sink); });
}

bool PrintText(const std::string& text, const Printing& printing) {
  return PrintTo(printing, [&](const TextSink& sink) {
    return sink(printing.raw_text ? text : VisibleLines(text));
  });
}

bool PrintPieces(const std::function<bool(const TextSink& sink)>& write, const Printing& printing) {
  if (!GoesToTerminal(printing)) return PrintTo(printing, write);
  return PrintTo(printing, [&](const TextSink& sink) {
    return write([&](std::string_view text) { return sink(VisibleLines(text)); });
  });
}

bool MayPrint(const Printing& printing) {
  if (printing.file.empty()) return true;
  const int error = RefusalOfOutput(printing.file, ModeOf(printing));
  if (error != 0) ComplainOfFile(printing.file, error);
  return error == 0;
}

}  // namespace hivequarry
