#include "host/output_file.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxTries = 99;  // names looked at for a file beside another

// Where the system shows open files as names. They are written as they are: a regular file that
// "/dev/stdout" leads to is another program's as well.
bool IsSystemName(const std::string& name) {
#ifdef _WIN32
  constexpr std::string_view kDevices[] = {"NUL", "nul", "CON", "con"};
  return name.starts_with("\\\\.\\") || std::ranges::find(kDevices, name) != std::end(kDevices);
#else
  return name.starts_with("/dev/std") || name.starts_with("/dev/fd/") || name.starts_with("/proc/");
#endif
}

fs::file_type TypeOf(const std::string& name) {
  std::error_code ignored;
  return fs::status(FilePath(name), ignored).type();
}

// Devices, pipes, and what another program has open.
bool IsWrittenDirectly(const std::string& name) {
  const fs::file_type type = TypeOf(name);
  const bool file = type == fs::file_type::regular || type == fs::file_type::not_found;
  return !file || IsSystemName(name);
}

// The file that a link leads to, so that the link stays one.
std::string BehindLink(const std::string& name) {
#ifndef _WIN32
  std::error_code error;
  const fs::path target = fs::canonical(FilePath(name), error);
  if (!error) return target.string();
#endif
  return name;
}

bool OpenDirectly(const std::string& name, OutputFile& file, int& error) {
  // After what is there: where the name leads to a file after all, its end is what was written to
  // it so far.
  file.stream = OpenFile(name, "ab", error);
  file.name = file.written = name;
  file.mode = OutputMode::kReplace;  // nothing to cut back to
  return file.stream != nullptr;
}

// For adding to a file: its size is noted first, since that is what a failure takes it back to.
bool OpenBehind(const std::string& name, OutputFile& file, int& error) {
  std::error_code status;
  file.old_size = fs::file_size(FilePath(name), status);
  error = status.value();
  if (status) return false;
  file.stream = OpenFile(name, "ab", error);
  file.name = file.written = name;
  return file.stream != nullptr;
}

// For writing a file anew: under another name in the same folder, so that putting it in place of
// the old one is one step on one volume. It gets the old one's permissions, as far as that can be
// done.
bool OpenBeside(const std::string& name, bool exists, OutputFile& file, int& error) {
  file.name = name;
  file.written = NameBeside(name, error);
  if (file.written.empty()) return false;
  file.stream = OpenFile(file.written, "wb", error);
  if (file.stream == nullptr) return false;
  std::error_code ignored;
  if (exists) {
    const fs::perms allowed = fs::status(FilePath(name), ignored).permissions();
    fs::permissions(FilePath(file.written), allowed, ignored);
  }
  return true;
}

// False when there is a file that can't be copied.
bool CopyIfThere(const std::string& from, const std::string& to) {
  std::error_code error;
  if (fs::status(FilePath(from), error).type() == fs::file_type::not_found) return true;
  return fs::copy_file(FilePath(from), FilePath(to), error) && !error;
}

}  // namespace

std::string NameBeside(const std::string& name, int& error) {
  std::error_code ignored;
  if (fs::exists(FilePath(name), ignored)) {
    std::FILE* old = OpenFile(name, "r+b", error);
    if (old == nullptr) return {};
    std::fclose(old);
  }
  for (int number = 1; number <= kMaxTries; ++number) {
    std::string beside = name + ".tmp~" + std::to_string(number);
    // A link that leads nowhere is a taken name as well.
    const fs::file_type type = fs::symlink_status(FilePath(beside), ignored).type();
    if (type == fs::file_type::not_found) return beside;
  }
  error = EEXIST;
  return {};
}

bool PutInPlace(const std::string& made, const std::string& name, bool keep) {
  std::error_code error;
  if (keep) {
    fs::rename(FilePath(made), FilePath(name), error);
    if (!error) return true;
  }
  fs::remove(FilePath(made), error);
  return false;
}

int RefusalOfOutput(const std::string& name, OutputMode mode) {
  if (IsProtected(name)) return EPERM;
  const bool taken = mode == OutputMode::kNew && TypeOf(name) == fs::file_type::regular;
  return taken && !IsWrittenDirectly(name) ? EEXIST : 0;
}

bool OpenOutput(const std::string& name, OutputMode mode, OutputFile& file, int& error) {
  file = OutputFile();
  file.mode = mode;
  error = RefusalOfOutput(name, mode);
  if (error != 0) return false;
  if (IsWrittenDirectly(name)) return OpenDirectly(name, file, error);
  const std::string target = BehindLink(name);
  const bool regular = TypeOf(name) == fs::file_type::regular;
  if (regular && mode == OutputMode::kAppend) return OpenBehind(target, file, error);
  return OpenBeside(target, regular, file, error);
}

bool WriteOutput(OutputFile& file, std::string_view bytes) {
  if (file.stream == nullptr || file.failed) return false;
  file.failed = std::fwrite(bytes.data(), 1, bytes.size(), file.stream) != bytes.size();
  return !file.failed;
}

bool CloseOutput(OutputFile& file, bool keep) {
  if (file.stream == nullptr) return false;
  if (std::fclose(file.stream) != 0) file.failed = true;
  file.stream = nullptr;
  const bool good = keep && !file.failed;
  if (file.written != file.name) {
    std::error_code ignored;
    const bool taken = file.mode == OutputMode::kNew && fs::exists(FilePath(file.name), ignored);
    return PutInPlace(file.written, file.name, good && !taken);
  }
  if (!good && file.mode == OutputMode::kAppend) {
    std::error_code ignored;
    std::filesystem::resize_file(FilePath(file.name), file.old_size, ignored);
  }
  return good;
}

bool ChangeFile(const std::string& name,
                const std::function<bool(const std::string& copy)>& change) {
  int error = 0;
  const std::string copy = NameBeside(name, error);
  if (copy.empty()) return false;
  return PutInPlace(copy, name, CopyIfThere(name, copy) && change(copy));
}

}  // namespace hivequarry
