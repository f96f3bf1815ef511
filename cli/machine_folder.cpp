// "machine": all that the hives of a machine say, as a folder of lists and one report.
//
// Nothing of this run is in the output: no time, no place, no name of who ran it. So a second run
// over the same files gives the same bytes.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>

#include "app/opening_words.h"
#include "app/shortfall_words.h"
#include "bytes/byte_view.h"
#include "bytes/sha256.h"
#include "cases/html_report.h"
#include "cases/joined.h"
#include "cli/file_labels.h"
#include "cli/hive_files.h"
#include "cli/opened_hive.h"
#include "evidence/decoders.h"
#include "hive/hive_table.h"
#include "hive/root_evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"
#include "reports/check_list.h"
#include "reports/hive_state.h"
#include "reports/machine_report.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

// A list of all hives: in a file of its own, and a section of the report.
struct Part {
  HtmlSection section;
  std::string text;  // of its file
};

// A file of the machine, as the head of the report lists it.
struct SourceFile {
  std::string name;   // as opened
  std::string label;  // below the folder
  uint64_t size = 0;
  std::string sha256;
  bool log = false;
};

struct WrittenFile {
  std::string name;
  uint64_t size = 0;
  std::string sha256;
};

struct Machine {
  const ConsoleRequest& request;
  Printing printing;  // format of the lists
  std::vector<SourceFile> sources;
  PairedLogs logs;         // by content
  OutputListPtr files;     // a row each hive and log
  OutputListPtr problems;  // a row each thing that could not be read
  MachineOverview overview;
  std::vector<Part> parts;  // check, then the decoders
  Timeline timeline;
  std::vector<WrittenFile> written;
  int status = kExitDone;
};

std::string EndingOf(const Machine& machine) {
  return machine.printing.format == Format::kCsv ? ".csv" : ".jsonl";
}

bool WriteRows(const OutputList& list, const HiveImage* hive, const Printing& printing,
               const TextSink& sink) {
  if (printing.format == Format::kCsv)
    return WriteListCsvAs(list, {printing.csv_safe, false}, sink);
  return hive == nullptr ? WriteListJsonLines(list, sink) : WriteHiveJsonLines(list, *hive, sink);
}

// In memory: for the small lists about the files alone.
std::string TextOfList(const OutputList& list, const Printing& printing) {
  std::string text;
  WriteRows(list, nullptr, printing, [&text](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

void AddProblem(Machine& machine, const std::string& file, const std::string& what) {
  AddListRow(*machine.problems, {file, what}, kNoOffset);
}

// --- one hive ------------------------------------------------------------------------------------

// Titles of CSV come once, before the first hive's rows, as FileLabels has it for all of them.
struct PartWriter {
  Part& part;
  TextSink sink;
  FileLabels labels;
  PartWriter(Part& of, const Printing& printing)
      : part(of),
        sink([this](std::string_view piece) {
          part.text += piece;
          return true;
        }),
        labels(printing, sink) {}
  PartWriter(const PartWriter&) = delete;
  PartWriter& operator=(const PartWriter&) = delete;
};

// Rows go to the text of the part's file at once, while their hive is open, as JSON Lines have
// positions in the hive's file; they stay for the report. A hive without rows leaves nothing.
void AddToPart(Machine& machine, PartWriter& writer, const SourceFile& source,
               const HiveImage& hive, OutputListPtr list) {
  if (RowCount(*list) == 0) return;
  writer.labels.Begin(source.label);
  WriteRows(*list, &hive, machine.printing,
            [&](std::string_view piece) { return writer.labels.Add(piece); });
  writer.labels.End();
  writer.part.section.lists.emplace_back(source.label, std::move(list));
}

void AddFileRow(Machine& machine, const SourceFile& source, const OpenedHive& opened,
                const TimelineHive& about, const std::string& verdict) {
  const HiveImage& hive = *opened.hive;
  const RootEvidence evidence = FindRootEvidence(hive);
  const std::string user = !evidence.sid.empty() && !about.user.empty()
                               ? about.user + ", " + evidence.sid
                               : about.user + evidence.sid;
  const ImageSummary& counts = opened.summary;
  AddListRow(*machine.files,
             {source.label, HiveKindName(KindOfHive(evidence)), ItemPath(hive, opened.tree, 0),
              user, StateWords(hive), verdict, std::to_string(counts.keys),
              std::to_string(source.size), source.sha256},
             kNoOffset);
}

// One hive at a time: the table is emptied first. What is wrong with a file becomes a row of the
// problems and does not end the work.
bool OpenOne(Machine& machine, const SourceFile& source, OpenedHive& opened) {
  FileToOpen file = FileOf(machine.request, source.name);
  file.named = true;
  file.logs = LogsOfHive(machine.logs, source.name, file.logs);
  ResetHiveTable();
  if (OpenWithTree(file, opened) != kExitDone) {
    AddProblem(machine, source.label, "can't be opened");
    return false;
  }
  if (opened.hive->unread.count != 0) {
    AddProblem(machine, source.label,
               "not read: " + UnreadRangesText(opened.hive->unread, 16) + ", zeros stand for it");
  }
  if (opened.summary.keys == 0) AddProblem(machine, source.label, "no keys found");
  if (opened.lacks_logs) AddProblem(machine, source.label, "dirty, without its logs");
  return true;
}

using Writers = std::vector<std::unique_ptr<PartWriter>>;

// One hive is open at a time: all that is kept of it are rows and events. A hive that can't be
// opened is a problem of its own, and the others go on.
void AddHive(Machine& machine, const SourceFile& source, Writers& writers) {
  OpenedHive opened;
  if (!OpenOne(machine, source, opened)) {
    machine.status = kExitUnreadable;
    return;
  }
  const HiveImage& hive = *opened.hive;
  CheckListOptions options;
  options.most = 100000;  // rows of a hive; that some were left out is told
  CheckedHive checked = CheckOpenedHive(hive, CheckedState::kFile, options);
  if (checked.left_out != 0) {
    AddProblem(machine, source.label, std::to_string(checked.left_out) + " rows of check left out");
  }
  AddToPart(machine, *writers[0], source, hive, std::move(checked.list));
  EvidenceSource evidence(hive, opened.tree);
  for (size_t i = 0; i < Decoders().size() && !StopRequested(); ++i) {
    const DecoderInfo& decoder = Decoders()[i];
    OutputListPtr list = MakeOutputList(decoder.kind);
    RunDecoder(decoder, evidence, 0, *list);
    AddToPart(machine, *writers[i + 1], source, hive, std::move(list));
  }
  AddToOverview(machine.overview, {opened.hive, &opened.tree}, source.label);
  TimelineHive about;
  about.path = about.label = source.label;
  NameMachine(hive, opened.tree, about);
  AddFileRow(machine, source, opened, about, VerdictWords(checked.result));
  TimelineOptions all;
  all.freed = all.values = all.base_block = true;
  all.known_freed = &evidence.freed;
  AddToTimeline(machine.timeline, hive, opened.tree, all, std::move(about));
  const std::string cut = ShortfallWords();
  if (!cut.empty()) AddProblem(machine, source.label, cut);
  if (!cut.empty() && machine.status == kExitDone) machine.status = kExitFailed;
  ForgetShortfalls();
}

// --- all of them ---------------------------------------------------------------------------------

// The check first, then the decoders in the order of their table, which is that of the files
// written.
void MakeParts(Machine& machine) {
  const auto add = [&machine](const char* id, const std::string& title) {
    Part& part = machine.parts.emplace_back();
    part.section.id = id;
    part.section.title = title;
    part.section.whole = id + EndingOf(machine);
  };
  add("check", "What is wrong in the structure of the files");
  for (const DecoderInfo& decoder : Decoders()) add(decoder.name, decoder.help);
  const auto with_columns = [](std::vector<std::string> titles) {
    OutputListPtr list = MakeOutputList(kListDetail);
    SetColumns(*list, std::move(titles));
    return list;
  };
  machine.files = with_columns(
      {"File", "Kind", "Root", "User", "State", "Structure", "Keys", "Length", "SHA-256"});
  machine.problems = with_columns({"File", "What"});
  machine.overview = BeginOverview();
}

// Files are hashed before any is opened. They are in the order of their labels, so that the same
// folder gives the same output.
void ReadSources(Machine& machine) {
  const std::string& folder = machine.request.hive;
  const HivesOfFolder found = FindHivesOfFolder(folder);
  const auto label_of = [&folder](const std::string& name) { return NameWithin(folder, name); };
  for (const UnreadPlace& each : found.unread) {
    AddProblem(machine, label_of(each.name),
               Concat({"not read: ", std::strerror(each.error), "; hives in it are not in here"}));
  }
  machine.status = TellUnread(found.unread, machine.status);
  const auto add = [&](const std::string& name, bool log) {
    SourceFile source;
    source.name = name;
    source.label = label_of(name);
    std::error_code error;
    source.size = fs::file_size(FilePath(name), error);
    source.sha256 = HashOfFile(name, [] { return StopRequested(); });
    source.log = log;
    // A file without a hash is opened all the same: what can be read of it is in the lists.
    if (source.sha256.empty()) AddProblem(machine, source.label, "can't be read whole");
    machine.sources.push_back(std::move(source));
  };
  machine.logs = PairAndTell(machine.request, found.hives, found.logs);
  for (const std::string& name : found.hives) add(name, false);
  for (const std::string& name : found.logs) add(name, true);
  std::ranges::sort(machine.sources, {}, &SourceFile::label);
}

// One file after another; the text of each part's file grows with every hive, and is written when
// all were read.
void ReadAll(Machine& machine) {
  Writers writers;
  for (Part& part : machine.parts) {
    writers.push_back(std::make_unique<PartWriter>(part, machine.printing));
  }
  size_t done = 0;
  for (const SourceFile& source : machine.sources) {
    if (StopRequested()) return;
    if (machine.request.console.progress) {
      Complain(std::to_string(machine.sources.size() - done) + " files left: " + source.label);
    }
    ++done;
    if (!source.log) {
      AddHive(machine, source, writers);
      continue;
    }
    AddListRow(
        *machine.files,
        {source.label, "log", "", "", "", "", "", std::to_string(source.size), source.sha256},
        kNoOffset);
  }
  ResetHiveTable();
  EndOverview(machine.overview);
  SortTimeline(machine.timeline);
}

// --- the output ----------------------------------------------------------------------------------

using Writing = std::function<bool(const TextSink& sink)>;

// Hashed as it is written, for the manifest; a file that was not written whole is not in it.
bool WriteFile(Machine& machine, const std::string& name, const Writing& write) {
  const std::string path = machine.request.printing.file + "/" + name;
  OutputFile file;
  int error = 0;
  const bool force = machine.request.printing.force;
  if (!OpenOutput(path, force ? OutputMode::kReplace : OutputMode::kNew, file, error)) {
    Complain("Could Not Open or Create File " + path + " (" + std::strerror(error) + ")");
    return false;
  }
  const OutputGuard guard(file);
  Sha256 hash;
  uint64_t size = 0;
  const bool kept = write([&](std::string_view text) {
    AddToSha256(hash, TextBytes(text));
    size += text.size();
    return WriteOutput(file, text);
  });
  if (!CloseOutput(file, kept)) {
    if (!StopRequested()) Complain("Could not write " + path);
    return false;
  }
  machine.written.push_back({name, size, EndSha256(hash)});
  return true;
}

bool WriteText(Machine& machine, const std::string& name, const std::string& text) {
  return WriteFile(machine, name, [&text](const TextSink& sink) { return sink(text); });
}

HtmlBars BarsOf(const Timeline& timeline) {
  YearCounts events;
  for (const TimelineShelf& shelf : timeline.shelves) {
    for (const StoredEvent& event : shelf.events) CountYear(events, event.time);
  }
  return BarsOf(events, "Events by year, as their times have it");
}

// In the order of the report; the lists go with them.
std::vector<HtmlSection> SectionsOf(Machine& machine, const std::string& ending) {
  std::vector<HtmlSection> sections;
  sections.push_back(
      SectionOf("files", "Files and their hashes", std::move(machine.files), "files" + ending));
  sections.push_back(
      SectionOf("overview", "The machine", std::move(machine.overview.list), "overview" + ending));
  for (size_t i = 1; i < machine.parts.size(); ++i) {
    sections.push_back(std::move(machine.parts[i].section));
  }
  OutputListPtr joined = JoinLists(sections);
  // Made of all sections so far, and shown after the files and the overview.
  sections.insert(sections.begin() + 2, SectionOf("joined", "What several lists or files tell of",
                                                  std::move(joined), "joined" + ending));
  sections.push_back(std::move(machine.parts[0].section));
  sections.push_back(SectionOf("problems", "What could not be read", std::move(machine.problems),
                               "problems" + ending));
  return sections;
}

bool WriteReport(Machine& machine, const std::string& ending) {
  HtmlReport report;
  report.title = "Machine";
  report.lines = {std::to_string(machine.sources.size()) +
                  " hives and logs, known by their content. Times are UTC unless a column says "
                  "otherwise. The files were read and not written; logs were applied in memory."};
  report.pictures.push_back(BarsOf(machine.timeline));
  report.sections = SectionsOf(machine, ending);
  // Where SectionsOf puts it.
  const OutputList& joined = *report.sections[2].lists.front().second;
  return WriteText(machine, "joined" + ending, TextOfList(joined, machine.printing)) &&
         WriteFile(machine, "report.html",
                   [&](const TextSink& sink) { return WriteHtmlReport(report, sink); });
}

// What was read and what was written, with sizes in bytes and hashes. Without a time, so that the
// same folder gives the same bytes.
std::string ManifestOf(const Machine& machine) {
  const auto entry = [](const std::string& name, uint64_t size, const std::string& hash) {
    return Concat({"    {\"file\": ", JsonString(name), ", \"size\": ", std::to_string(size),
                   ", \"sha256\": \"", hash, "\"}"});
  };
  std::string text = Concat(
      {"{\n  \"program\": \"", kProgramName, "\",\n  \"version\": \"", HIVEQUARRY_VERSION,
       "\",\n  \"format\": \"", EndingOf(machine).substr(1), "\",\n  \"logs\": \"",
       machine.request.logs.mode == LogMode::kNone ? "none" : "auto", "\",\n  \"sources\": [\n"});
  for (const SourceFile& source : machine.sources) {
    text += entry(source.label, source.size, source.sha256);
    text += &source == &machine.sources.back() ? "\n" : ",\n";
  }
  text += "  ],\n  \"outputs\": [\n";
  for (const WrittenFile& file : machine.written) {
    text += entry(file.name, file.size, file.sha256);
    text += &file == &machine.written.back() ? "\n" : ",\n";
  }
  return text + "  ]\n}\n";
}

bool WriteTimelineFile(Machine& machine, const std::string& ending) {
  TimelineLook look;
  look.form = ending == ".csv" ? TimelineForm::kCsv : TimelineForm::kJsonLines;
  look.safe = machine.printing.csv_safe;
  return WriteFile(machine, "timeline" + ending, [&](const TextSink& sink) {
    TimelineCounts counts;
    return WriteTimeline(machine.timeline, look, sink, counts);
  });
}

// The manifest last: where it is, all it lists was written.
bool WriteAll(Machine& machine) {
  const std::string ending = EndingOf(machine);
  const Printing& printing = machine.printing;
  bool good = WriteText(machine, "files" + ending, TextOfList(*machine.files, printing)) &&
              WriteText(machine, "overview" + ending, TextOfList(*machine.overview.list, printing));
  for (size_t i = 0; good && i < machine.parts.size(); ++i) {
    good = WriteText(machine, machine.parts[i].section.whole, machine.parts[i].text);
  }
  good = good && WriteTimelineFile(machine, ending) &&
         WriteText(machine, "problems" + ending, TextOfList(*machine.problems, printing)) &&
         WriteReport(machine, ending);
  return good && WriteText(machine, "manifest.json", ManifestOf(machine));
}

// The evidence's folder is left as it is, and no output takes the place of another.
bool MayWriteTo(const std::string& out, const std::string& folder, bool force) {
  std::error_code error;
  const fs::path from = fs::weakly_canonical(FilePath(folder), error);
  const fs::path to = fs::weakly_canonical(FilePath(out), error);
  // All of the evidence's path being the beginning of the output's, the output would be in it.
  const auto [last, unused] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
  if (error || last == from.end()) {
    Complain("The output would be written into " + folder + " itself");
    return false;
  }
  if (!force && fs::exists(to, error) && !fs::is_empty(to, error)) {
    Complain(out + " is not empty; --force replaces what is written");
    return false;
  }
  fs::create_directories(to, error);
  if (error) Complain("Can not make the folder " + out);
  return !error;
}

}  // namespace

int MachineFolderCommand(const ConsoleRequest& request) {
  const std::string& out = request.printing.file;
  const Format format = request.printing.format;
  if (out.empty() || format == Format::kReport) {
    Complain("Name the folder of the output: -o FOLDER; its lists are jsonl (built in) or csv");
    return kExitUsage;
  }
  if (!MayWriteTo(out, request.hive, request.printing.force)) return kExitFailed;
  Machine machine{request, request.printing, {}, {}, {}, {}, {}, {}, {}, {}};
  machine.printing.format = format == Format::kCsv ? Format::kCsv : Format::kJsonLines;
  MakeParts(machine);
  ReadSources(machine);
  if (machine.sources.empty()) {
    Complain("No hive in " + request.hive);
    return kExitFailed;
  }
  ReadAll(machine);
  if (StopRequested()) return kExitFailed;
  // Before the report takes the lists over.
  const size_t problems = RowCount(*machine.problems);
  if (!WriteAll(machine)) return kExitFailed;
  if (!request.console.quiet) {
    Complain(out + "/report.html: " + std::to_string(machine.sources.size()) + " files, " +
             std::to_string(EventCount(machine.timeline)) + " events, " + std::to_string(problems) +
             " things that could not be read");
  }
  return machine.status;
}

}  // namespace hivequarry
