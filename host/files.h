// Files by UTF-8 name, the same on every platform.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace hivequarry {

// A UTF-8 file name as the standard library takes it. On Windows a whole name that is too long for
// most calls has the prefix that lifts the limit: it is for opening, not for showing (FullName).
std::filesystem::path FilePath(const std::string& name);
// A whole name that is too long for calls of the system without the prefix that lifts the limit,
// with it; any other name as it is. UTF-16 units; means something on Windows alone.
std::u16string UnlimitedName(const std::u16string& name);
// The other way round: without the prefix, as names are shown and compared. UTF-8.
std::string LimitedName(std::string name);
// The UTF-8 name of what was found at or below a FilePath.
std::string NameOfPath(const std::filesystem::path& path);
// Of a file that was found in a folder, its name without that of the folder, with "/" between
// parts.
std::string NameWithin(const std::string& folder, const std::string& name);
// The name with its whole path, as another process must be told; as given where that fails.
std::string FullName(const std::string& name);
// The path's last name, UTF-8.
std::string LeafOf(const std::filesystem::path& path);
// What is before the last separator; empty where there is none.
std::string FolderOf(const std::string& name);
// Opens with the given fopen mode; on failure null with `error` set to an errno value. A folder is
// refused on every platform (EISDIR, or what the platform reports for it), a named pipe for reading
// (ESPIPE).
std::FILE* OpenFile(const std::string& name, const char* mode, int& error);
// Closes the file at its end. For reading: what closing a written file says is lost.
struct FileCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using FileStream = std::unique_ptr<std::FILE, FileCloser>;
// 64-bit seek from the start and length of an open file; false (or -1) on failure.
bool SeekFile(std::FILE* stream, uint64_t position);
int64_t FileSize(std::FILE* stream);
// Where the next bytes are that a sparse file keeps, from `position` on; `end` where there are
// none, and `position` where the platform does not say.
uint64_t NextFileData(std::FILE* stream, uint64_t position, uint64_t end);

}  // namespace hivequarry
