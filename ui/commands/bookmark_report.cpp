#include "ui/commands/bookmark_report.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "app/memory.h"
#include "app/settings.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "ui/commands/bookmark_file.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "view/bookmark_report.h"

namespace hivequarry {
namespace {

constexpr DWORD kByTags = 2;  // of the filter's types

// Filled by the worker; the interface thread reads it when that has ended.
struct ReportJob {
  OutputFile file;
  std::vector<Bookmark> bookmarks;
  OpenHives hives;
  bool by_tag = false;
  bool stopped = false;
  bool kept = false;
};

// Its name is empty when there is no file to be written.
FileChoice ChooseReport(const MainWindow& window) {
  FileRequest request;
  request.filter =
      L"HTML (*.html)\0*.html\0HTML, grouped by tags (*.html)\0*.html\0All Files (*.*)\0*.*\0";
  request.extension = L"html";
  request.name = "bookmarks.html";
  return ChooseNewFile(window.output, kFolderReports, std::move(request));
}

// The hive shown is the first: bookmarks that may be of several are looked for there.
void PutShownFirst(OpenHives& open) {
  const auto first = static_cast<std::ptrdiff_t>(open.shown);
  // The other lists of `open` keep their order: they only keep alive what the looks point at.
  std::rotate(open.looks.begin(), open.looks.begin() + first, open.looks.begin() + first + 1);
}

}  // namespace

void SaveBookmarkReport(MainWindow& window, std::vector<Bookmark> bookmarks) {
  const auto job = std::make_shared<ReportJob>();
  job->bookmarks = std::move(bookmarks);
  job->hives = HivesNow(window);
  if (job->hives.looks.empty()) return;
  // All that the report needs is taken here: the work must not look at windows, which the user can
  // close meanwhile.
  PutShownFirst(job->hives);
  const FileChoice choice = ChooseReport(window);
  job->by_tag = choice.type == kByTags;
  if (choice.name.empty() ||
      !OpenListFile(choice.name, OutputMode::kReplace, kFileNotWritten, job->file)) {
    return;
  }
  const bool started = StartWork(
      window, kOperationReport,
      [job] {
        const bool written = WithMemory([&] {
          const HtmlReport report = ReportBookmarks(job->hives.looks, job->bookmarks, job->by_tag);
          return WriteHtmlReport(
              report, [job](std::string_view text) { return WriteOutput(job->file, text); });
        });
        job->stopped = StopRequested();
        job->kept = CloseOutput(job->file, written && !job->stopped);
      },
      [&window, job] {
        if (job->kept) ShowPassingText(window, ("Report saved: " + job->file.name).c_str());
        if (!job->kept && !job->stopped) ReportFileFailure(kFileNotWritten, job->file.name);
      });
  // Nothing will write the file that was opened for it: it goes again.
  if (!started) CloseOutput(job->file, false);
}

}  // namespace hivequarry
