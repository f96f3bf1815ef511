#include "ui/commands/bookmark_report.h"

#include <memory>
#include <string>
#include <utility>

#include "app/memory.h"
#include "app/settings.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "view/bookmark_report.h"

namespace hivequarry {
namespace {

constexpr const char* kNotWritten = "Could Not Open or Create File %s";

struct ReportJob {
  OutputFile file;
  std::vector<Bookmark> bookmarks;
  bool stopped = false;
  bool kept = false;
};

// Empty when there is no file to be written.
std::string ChooseReport(const MainWindow& window) {
  FileRequest request;
  request.filter = L"HTML (*.html)\0*.html\0All Files (*.*)\0*.*\0";
  request.extension = L"html";
  request.name = "bookmarks.html";
  return ChooseNewFile(window.output, kFolderReports, std::move(request)).name;
}

}  // namespace

void SaveBookmarkReport(MainWindow& window, std::vector<Bookmark> bookmarks) {
  const auto job = std::make_shared<ReportJob>();
  job->bookmarks = std::move(bookmarks);
  const std::string name = ChooseReport(window);
  if (name.empty() || !OpenListFile(name, OutputMode::kReplace, kNotWritten, job->file)) return;
  const bool started = StartWork(
      window, kOperationReport,
      [job, &hive = ShownHive(window), &tree = *window.shown->tree,
       hashes = window.shown->hashing.hashes] {
        const bool written = WithMemory([&] {
          const HtmlReport report = ReportBookmarks(hive, tree, job->bookmarks, hashes);
          return WriteHtmlReport(
              report, [job](std::string_view text) { return WriteOutput(job->file, text); });
        });
        job->stopped = StopRequested();
        job->kept = CloseOutput(job->file, written && !job->stopped);
      },
      [&window, job] {
        if (job->kept) ShowPassingText(window, ("Report saved: " + job->file.name).c_str());
        if (!job->kept && !job->stopped) ReportFileFailure(kNotWritten, job->file.name);
      });
  if (!started) CloseOutput(job->file, false);
}

}  // namespace hivequarry
