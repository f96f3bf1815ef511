#include "host/files.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "host/evidence.h"
#include "host/host.h"

namespace hivequarry {
namespace {

#ifdef _WIN32
std::filesystem::path PathOfUnits(std::u16string_view units) {
  return std::filesystem::path(std::wstring(units.begin(), units.end()));
}
#endif

// As it is, also where calls of the system refuse it for its length.
std::filesystem::path PlainPath(const std::string& name) {
#ifdef _WIN32
  return PathOfUnits(WideOfText(name));
#else
  return std::filesystem::path(name);
#endif
}

}  // namespace

std::filesystem::path FilePath(const std::string& name) {
#ifdef _WIN32
  return PathOfUnits(UnlimitedName(WideOfText(name)));
#else
  return PlainPath(name);
#endif
}

std::string LimitedName(std::string name) {
  constexpr std::string_view kPrefix = "\\\\?\\";
  constexpr std::string_view kServer = "\\\\?\\UNC\\";
  if (name.starts_with(kServer)) return name.replace(0, kServer.size(), "\\\\");
  return name.starts_with(kPrefix) ? name.substr(kPrefix.size()) : name;
}

std::string NameOfPath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
#ifdef _WIN32
  return LimitedName({text.begin(), text.end()});
#else
  return {text.begin(), text.end()};
#endif
}

std::u16string UnlimitedName(const std::u16string& name) {
  constexpr size_t kLimit = 248;  // of a folder; a file's is 260
  if (name.size() < kLimit || name.starts_with(u"\\\\?\\") || name.starts_with(u"\\\\.\\")) {
    return name;
  }
  // After the prefix nothing is replaced, so a path has to be plain by then.
  std::u16string plain = name;
  std::ranges::replace(plain, u'/', u'\\');
  if (plain.find(u"\\.\\") != plain.npos || plain.find(u"\\..\\") != plain.npos) return name;
  if (plain.starts_with(u"\\\\")) return u"\\\\?\\UNC" + plain.substr(1);
  return plain[1] == u':' && plain[2] == u'\\' ? u"\\\\?\\" + plain : name;
}

std::string FullName(const std::string& name) {
  std::error_code error;
  const std::u8string full = std::filesystem::absolute(PlainPath(name), error).u8string();
  return error ? name : std::string(full.begin(), full.end());
}

std::string NameWithin(const std::string& folder, const std::string& name) {
  const std::u8string within =
      PlainPath(name).lexically_relative(PlainPath(folder)).generic_u8string();
  return {within.begin(), within.end()};
}

std::string LeafOf(const std::filesystem::path& path) {
  const std::u8string leaf = path.filename().u8string();
  return {leaf.begin(), leaf.end()};
}

std::string FolderOf(const std::string& name) {
  const size_t end = name.find_last_of("\\/");
  return end == std::string::npos ? std::string() : name.substr(0, end);
}

namespace {

// Why what is under the name is not opened at all; 0 where nothing speaks against it.
int RefusalOf(const std::filesystem::path& path, bool reading) {
  std::error_code ignored;
  const std::filesystem::file_type type = std::filesystem::status(path, ignored).type();
  // Opening a folder for reading succeeds on some platforms and then reads nothing.
#ifdef _WIN32
  static_cast<void>(reading);
  return type == std::filesystem::file_type::directory ? EACCES : 0;
#else
  if (type == std::filesystem::file_type::directory) return EISDIR;
  // Opening a pipe waits for a writer, and files are read at positions, which a pipe has not.
  return reading && type == std::filesystem::file_type::fifo ? ESPIPE : 0;
#endif
}

}  // namespace

std::FILE* OpenFile(const std::string& name, const char* mode, int& error) {
  const std::filesystem::path path = FilePath(name);
  const bool writing = std::string_view(mode).find_first_of("wa+") != std::string_view::npos;
  error = writing && IsEvidence(name) ? EPERM : RefusalOf(path, *mode == 'r');
  if (error != 0) return nullptr;
  errno = 0;
#ifdef _WIN32
  const std::string narrow_mode = mode;
  std::FILE* stream =
      _wfopen(path.c_str(), std::wstring(narrow_mode.begin(), narrow_mode.end()).c_str());
#else
  std::FILE* stream = std::fopen(path.c_str(), mode);
#endif
  error = stream != nullptr ? 0 : errno;
  // Whoever reads takes large pieces; a buffer would make one lost sector many.
  if (stream != nullptr && !writing) std::setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

bool SeekFile(std::FILE* stream, uint64_t position) {
#ifdef _WIN32
  return _fseeki64(stream, static_cast<int64_t>(position), SEEK_SET) == 0;
#else
  return fseeko(stream, static_cast<off_t>(position), SEEK_SET) == 0;
#endif
}

int64_t FileSize(std::FILE* stream) {
#ifdef _WIN32
  if (_fseeki64(stream, 0, SEEK_END) != 0) return -1;
  const int64_t size = _ftelli64(stream);
#else
  if (fseeko(stream, 0, SEEK_END) != 0) return -1;
  const int64_t size = ftello(stream);
#endif
  return SeekFile(stream, 0) ? size : -1;
}

uint64_t NextFileData(std::FILE* stream, uint64_t position, uint64_t end) {
#ifdef SEEK_DATA
  const int file = fileno(stream);
  // The stream knows where it is, and must find the file there again.
  const off_t before = lseek(file, 0, SEEK_CUR);
  const off_t data = lseek(file, static_cast<off_t>(position), SEEK_DATA);
  const bool none = data < 0 && errno == ENXIO;
  lseek(file, before, SEEK_SET);
  if (none) return end;
  return data < 0 ? position : std::min(static_cast<uint64_t>(data), end);
#else
  return stream == nullptr ? end : position;
#endif
}

}  // namespace hivequarry
