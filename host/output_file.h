// Files that the program writes. A failure of any kind (a full disk, a folder that may not be
// written) leaves what was under the name as it was.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace hivequarry {

// What becomes of a file that has the name already.
enum class OutputMode {
  kNew,      // refused (EEXIST) where there is a file of that name
  kReplace,  // a new file, in place of one of that name
  kAppend,   // after what the file holds already; a new file where there is none
};

// A replacing file is written beside its place under a name of its own, and takes its place when it
// is closed. An appending one is cut back to its old size when the writing failed. What is no
// regular file (a device, a pipe) is written directly.
// Used by one thread; every one that was opened must be closed, also after a failure.
struct OutputFile {
  std::FILE* stream = nullptr;
  std::string name;     // UTF-8; for a link, the name of the file that it leads to
  std::string written;  // what is open: `name`, or the file that will take its place
  OutputMode mode = OutputMode::kReplace;
  uint64_t old_size = 0;  // of a file appended to
  bool failed = false;    // a write failed; nothing further is written
};

// Why OpenOutput would refuse, an errno value (EEXIST, EPERM for what is protected,
// host/evidence.h); 0 where it has nothing against the name.
int RefusalOfOutput(const std::string& name, OutputMode mode);
// On failure false with `error` an errno value, and nothing changed. An existing file that may not
// be written is refused although its folder would allow to replace it.
bool OpenOutput(const std::string& name, OutputMode mode, OutputFile& file, int& error);
// False once a write failed.
bool WriteOutput(OutputFile& file, std::string_view bytes);
// Ends the writing; with `keep` the file takes its place, unless a write failed. False when the
// name does not hold the new content now (what it held before is whole then).
bool CloseOutput(OutputFile& file, bool keep);

// Gives a file up that is still open when this goes: a lack of memory leaves no half of it. Of no
// effect on one that was closed before; `file` is the caller's and must outlive it.
struct OutputGuard {
  explicit OutputGuard(OutputFile& guarded) : file(guarded) {}
  ~OutputGuard() { CloseOutput(file, false); }
  OutputGuard(const OutputGuard&) = delete;
  OutputGuard& operator=(const OutputGuard&) = delete;

  OutputFile& file;
};

// The two halves of a replacement, for writers that work on a file by its name. The first gives a
// name for the new file, beside the old one and not taken ("NAME.tmp~1"); empty with `error` an
// errno value when there is none, or when the old file may not be written.
std::string NameBeside(const std::string& name, int& error);
// Puts the finished file in the old one's place; without `keep`, or when that fails, it goes. True
// when it took the place.
bool PutInPlace(const std::string& made, const std::string& name, bool keep);

// Changes a file through a copy beside it, which takes its place when `change` succeeded: whatever
// fails, the file is whole. `change` gets the copy's name, and no file where there was none.
bool ChangeFile(const std::string& name,
                const std::function<bool(const std::string& copy)>& change);

}  // namespace hivequarry
