// What was carved, as files.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "cases/carving.h"
#include "host/evidence.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/output_file.h"

namespace hivequarry {
namespace {

// While files are written nothing may take the source's place.
struct KeptEvidence {
  explicit KeptEvidence(const std::string& kept) : name(kept) { KeepEvidence(name); }
  ~KeptEvidence() { ReleaseEvidence(name); }
  KeptEvidence(const KeptEvidence&) = delete;
  KeptEvidence& operator=(const KeptEvidence&) = delete;

  const std::string& name;
};

// Empty for what is no file of its own.
const char* EndingOf(const Carved& carved) {
  switch (carved.kind) {
    case CarvedKind::kHive:
      return ".hive";
    case CarvedKind::kCutHive:
    case CarvedKind::kFragment:
    case CarvedKind::kJoined:
    case CarvedKind::kPacked:
    case CarvedKind::kPackedPage:
      return carved.base ? ".hive" : ".blocks";
    case CarvedKind::kLog:
    case CarvedKind::kLogEntries:
      return ".log";
    default:
      return "";
  }
}

// By the file's name and the place in it, so that the same search gives the same names.
std::string NameOf(const CarvedFile& carved, const Carved& each, const std::string& folder) {
  const std::string place = Concat({".0x", Hex(each.parts.front().position, 12), EndingOf(each)});
  const bool closed = folder.ends_with('/') || folder.ends_with('\\');
  return folder + (closed ? "" : "/") + LeafOf(FilePath(carved.name)) + place;
}

// False when the source ends early, the user stops or the file takes no more.
bool CopyPart(CarveSource& source, const FileRange& part, OutputFile& file) {
  constexpr uint64_t kPiece = 256 * 1024;
  for (uint64_t done = 0; done < part.size;) {
    const auto wanted = static_cast<uint32_t>(std::min(kPiece, part.size - done));
    const ByteView bytes = source.At(part.position + done, wanted);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (bytes.size() < wanted || StopRequested() || !WriteOutput(file, text)) return false;
    done += wanted;
  }
  return true;
}

// What was packed is unpacked once more: it was not kept when it was found.
bool WriteContent(CarveSource& source, const Carved& carved, OutputFile& file) {
  const bool page = carved.kind == CarvedKind::kPackedPage;
  if (!page && carved.kind != CarvedKind::kPacked) {
    return std::ranges::all_of(carved.parts,
                               [&](const FileRange& part) { return CopyPart(source, part, file); });
  }
  Carved again;
  std::vector<uint8_t> bytes;
  if (!ExaminePacked(source, {carved.parts.front().position, page}, again, &bytes)) return false;
  return WriteOutput(file, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::string Failure(const std::string& name, int error) {
  std::string why = std::strerror(error);
  if (error == EEXIST) why += "; --force replaces it";
  if (error == EPERM) why = "a hive, or a log of one, is never replaced";
  return Concat({"Could Not Open or Create File ", name, " (", why, ")"});
}

// Notes the name in `carved` only when the file is whole; no part of one is left behind.
bool WriteOne(CarveSource& source, Carved& carved, const std::string& name, OutputMode mode,
              std::string& fault) {
  OutputFile file;
  int error = 0;
  if (!OpenOutput(name, mode, file, error)) {
    fault = Failure(name, error);
    return false;
  }
  const OutputGuard guard(file);
  const bool written = WriteContent(source, carved, file);
  if (CloseOutput(file, written)) {
    carved.file = name;
    return true;
  }
  fault = "Could not write " + name;
  return false;
}

}  // namespace

// Each file that was written is named in its row, also where a later one failed.
void WriteCarved(CarvedFile& carved, const CarveWriting& writing, std::string& fault) {
  const KeptEvidence kept(carved.name);
  const OutputMode mode = writing.replace ? OutputMode::kReplace : OutputMode::kNew;
  std::error_code ignored;
  std::filesystem::create_directories(FilePath(writing.folder), ignored);
  CarveSource source;
  if (const int error = source.Open(carved.name); error != 0) {
    fault = Failure(carved.name, error);
    return;
  }
  std::vector<Carved*> files;
  for (Carved& each : carved.found) {
    if (*EndingOf(each) == 0) continue;
    const std::string name = NameOf(carved, each, writing.folder);
    if (const int error = RefusalOfOutput(name, mode); error != 0) {
      fault = Failure(name, error);  // before anything is written
      return;
    }
    files.push_back(&each);
  }
  for (Carved* each : files) {
    const std::string name = NameOf(carved, *each, writing.folder);
    if (StopRequested() || !WriteOne(source, *each, name, mode, fault)) return;
  }
}

}  // namespace hivequarry
