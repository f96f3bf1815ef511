#include "ui/lists/list_printing.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <string>

#include "host/text.h"
#include "lists/list_print.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/lists/list_work.h"

namespace hivequarry {
namespace {

// Of the font, 72 to the inch.
constexpr int kPoints = 10;
// More than a line of any page holds; some devices measure no longer texts.
constexpr size_t kLongestLine = 4096;

// One unit for each character, as places in the text are counted by characters. Signs without a
// shape would be printed as boxes.
std::wstring PrintedText(std::string_view text) {
  std::wstring printed = WindowText(text.substr(0, kLongestLine));
  std::replace_if(
      printed.begin(), printed.end(), [](wchar_t unit) { return unit < L' '; }, L' ');
  return printed;
}

PrintTarget& Target(void* context) { return *static_cast<PrintTarget*>(context); }

SIZE SizeOf(void* context, std::string_view text) {
  const std::wstring printed = PrintedText(text);
  SIZE size{};
  GetTextExtentPoint32W(Target(context).dc, printed.c_str(), static_cast<int>(printed.size()),
                        &size);
  return size;
}

int TextWidth(void* context, std::string_view text) { return SizeOf(context, text).cx; }
int TextHeight(void* context, std::string_view text) { return SizeOf(context, text).cy; }

// Bytes of the text's start that fit, `width` in the device's units; whole characters.
int Fitting(void* context, std::string_view text, int width) {
  const std::wstring printed = PrintedText(text);
  int count = 0;
  SIZE size{};
  GetTextExtentExPointW(Target(context).dc, printed.c_str(), static_cast<int>(printed.size()),
                        width, &count, nullptr, &size);
  return static_cast<int>(FirstUnits(text, static_cast<size_t>(count)).size());
}

void Draw(void* context, int left, int top, std::string_view text) {
  const std::wstring printed = PrintedText(text);
  TextOutW(Target(context).dc, left, top, printed.c_str(), static_cast<int>(printed.size()));
}

// The caller owns it.
HFONT MakePrintFont(HDC dc) {
  LOGFONTW font{};
  font.lfHeight = -MulDiv(kPoints, GetDeviceCaps(dc, LOGPIXELSY), 72);
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
  std::wcscpy(font.lfFaceName, L"Arial");
  return CreateFontIndirectW(&font);
}

// A printer's context, deleted when the job is over.
struct PrintJob {
  HDC dc = nullptr;
  std::wstring title;
  RowChoice rows;
};

// On a worker: the device context is used by it alone until it has ended.
void RunPrintJob(const OutputList& list, const PrintJob& job) {
  DOCINFOW document{};
  document.cbSize = sizeof document;
  document.lpszDocName = job.title.c_str();
  // As where the user gives no name for a file to print to: nothing is said.
  if (StartDocW(job.dc, &document) <= 0) return;
  PrintTarget target;
  target.dc = job.dc;
  target.width = GetDeviceCaps(job.dc, HORZRES);
  target.height = GetDeviceCaps(job.dc, VERTRES);
  target.start_page = [&job] { return StartPage(job.dc) > 0; };
  target.end_page = [&job] { return EndPage(job.dc) > 0; };
  WrittenRows which = RowsOf(job.rows);
  which.head = true;
  PrintListOn(target, list, which);
  EndDoc(job.dc);
}

// Pages take their time, so a worker prints them.
void Print(ListPlace& place, bool selection) {
  const HDC dc = TheListDialogs().printer(place.window);
  if (dc == nullptr) return;
  const auto job = std::make_shared<PrintJob>(
      PrintJob{dc, WindowText(ListTitle(*place.model)), ChooseRows(place, selection)});
  const OutputList& list = *place.model;
  const bool started = StartListWork(
      place, kOperationPrint,
      [&list, job] {
        RunPrintJob(list, *job);
        DeleteDC(job->dc);
      },
      [] {});
  // The context is the worker's to delete only where there is one.
  if (!started) DeleteDC(dc);
}

}  // namespace

int PrintListOn(PrintTarget& target, const OutputList& list, const WrittenRows& which) {
  PrintDevice device;
  device.context = &target;
  device.width = target.width;
  device.height = target.height;
  device.text_width = TextWidth;
  device.text_height = TextHeight;
  device.fitting = Fitting;
  device.start_page = [](void* context) { return Target(context).start_page(); };
  device.end_page = [](void* context) { return Target(context).end_page(); };
  device.draw = Draw;
  const HFONT font = MakePrintFont(target.dc);
  const HGDIOBJ previous = SelectObject(target.dc, font);
  SetBkMode(target.dc, TRANSPARENT);
  const int pages = PrintList(list, which, device);
  SelectObject(target.dc, previous);
  DeleteObject(font);
  return pages;
}

void OnPrintList(ListPlace& place) { Print(place, false); }
void OnPrintSelected(ListPlace& place) { Print(place, true); }

}  // namespace hivequarry
