#include "lists/list_print.h"

#include <algorithm>
#include <string>

#include "host/long_operation.h"
#include "host/text.h"

namespace hivequarry {
namespace {

constexpr int kLeastPage = 200;                // units that a page must offer in each direction
constexpr std::string_view kSample = "Http:";  // sets line height and indent
constexpr size_t kMostIndent = 10;             // blanks
constexpr size_t kMostMeasured = 2048;         // characters; more than any page is wide

// A job under way. Lines go down the page; a page is started only when something is drawn on it.
struct Job {
  const PrintDevice& device;
  int left = 0, right = 0, top = 0, bottom = 0, footer = 0;
  int line_height = 0;
  std::string indent = {};  // of the rest of a line that was cut
  int next = 0;             // where the next line goes: y, in the device's units
  int pages = 0;
  bool page_due = true;
  bool refused = false;
};

Job MakeJob(const PrintDevice& device) {
  // A sixteenth of the width stays free at each side, a twentieth of the height above and below.
  // The page's number is half-way into the upper edge, at the right.
  const int edge = device.height / 20;
  return {device, device.width / 16,       15 * device.width / 16,
          edge,   19 * device.height / 20, edge / 2};
}

int WidthOf(const Job& job, std::string_view text) {
  return job.device.text_width(job.device.context, text);
}

void MeasureFont(Job& job) {
  job.line_height = job.device.text_height(job.device.context, kSample);
  const int width = WidthOf(job, kSample);
  while (job.indent.size() < kMostIndent && WidthOf(job, job.indent) < width) job.indent += ' ';
}

void DrawFooter(Job& job) {
  if (job.footer < job.line_height) return;
  const std::string text = "- " + std::to_string(job.pages) + " -";
  job.device.draw(job.device.context, job.right - WidthOf(job, text), job.footer, text);
}

// Ends the page before, if there is one. `refused` is set when the device wants no more, and
// nothing is drawn from then on.
void StartPage(Job& job) {
  void* context = job.device.context;
  if (job.pages > 0 && !job.device.end_page(context)) job.refused = true;
  if (job.refused || !job.device.start_page(context)) {
    job.refused = true;
    return;
  }
  ++job.pages;
  job.page_due = false;
  DrawFooter(job);
}

// Room for one line; its top is the answer.
int ReserveLine(Job& job) {
  if (job.next + job.line_height > job.bottom) {
    job.page_due = true;
    job.next = job.top;
  }
  const int line = job.next;
  job.next += job.line_height;
  return line;
}

// An empty line takes its place and no page of its own: a page begins with the first text on it.
void DrawLine(Job& job, std::string_view text) {
  const int line = ReserveLine(job);
  if (text.empty()) return;
  if (job.page_due) StartPage(job);
  if (!job.refused) job.device.draw(job.device.context, job.left, line, text);
}

// Characters of a line that go on it; at least one after the indent, so that the rest shrinks.
size_t CharactersThatFit(const Job& job, std::string_view text, size_t indent) {
  const int room = job.right - job.left;
  if (WidthOf(job, text) <= room) return text.size();
  const int fitting = std::max(job.device.fitting(job.device.context, text, room), 0);
  const size_t most = indent + CharacterAt(text, indent).length;
  return std::clamp(static_cast<size_t>(fitting), most, text.size());
}

// Goes on in further lines, indented, where the text is wider than the page. Each takes one
// character at least, so that it ends on a page of any width.
void PrintLine(Job& job, std::string_view text) {
  size_t indent = 0;
  do {
    const std::string line = job.indent.substr(0, indent).append(FirstUnits(text, kMostMeasured));
    const size_t count = CharactersThatFit(job, line, indent);
    DrawLine(job, std::string_view(line).substr(0, count));
    text.remove_prefix(count - indent);
    indent = job.indent.size();
  } while (!text.empty() && !job.refused);
}

// Takes pieces of the text form and prints each line that is complete.
bool PrintPiece(Job& job, std::string_view piece, std::string& pending) {
  for (size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
    pending += piece.substr(0, end);
    if (pending.ends_with('\r')) pending.pop_back();
    PrintLine(job, pending);
    pending.clear();
    piece.remove_prefix(end + 1);
    if (job.refused || StopRequested()) return false;
  }
  pending += piece;
  return true;
}

}  // namespace

int PrintList(const OutputList& list, const WrittenRows& which, const PrintDevice& device) {
  Job job = MakeJob(device);
  if (job.right - job.left < kLeastPage || job.bottom - job.top < kLeastPage) return 0;
  MeasureFont(job);
  if (job.line_height <= 0) return 0;
  // Below the first footer one line stays empty.
  job.next = job.top + job.line_height;
  std::string pending;
  WriteListText(list, which,
                [&](std::string_view piece) { return PrintPiece(job, piece, pending); });
  if (job.pages > 0 && !job.refused) device.end_page(device.context);
  return job.pages;
}

}  // namespace hivequarry
