#include <windows.h>

#include <filesystem>
#include <system_error>

#include "host/files.h"
#include "host/host.h"
#include "host/output_file.h"
#include "host/profile.h"

namespace hivequarry {
namespace {

std::wstring WideText(std::string_view narrow) {
  const std::u16string wide = WidenText(narrow);
  return std::wstring(wide.begin(), wide.end());
}

// The platform looks for a name without a folder among the system's own files.
std::wstring WholeName(const std::string& file) {
  std::error_code error;
  const std::filesystem::path path = FilePath(file);
  const std::filesystem::path whole = std::filesystem::absolute(path, error);
  return error ? path.wstring() : whole.wstring();
}

}  // namespace

std::string ReadProfile(const std::string& file, const char* section, const char* key,
                        const char* missing, size_t limit) {
  std::wstring value(limit + 1, L'\0');
  const DWORD length = GetPrivateProfileStringW(
      WideText(section).c_str(), WideText(key).c_str(), WideText(missing).c_str(), value.data(),
      static_cast<DWORD>(value.size()), WholeName(file).c_str());
  return NarrowText(std::u16string(value.begin(), value.begin() + length));
}

bool WriteProfile(const std::string& file, const char* section, const char* key,
                  const std::string& value) {
  return WritePrivateProfileStringW(WideText(section).c_str(), WideText(key).c_str(),
                                    WideText(ProfileText(value)).c_str(),
                                    WholeName(file).c_str()) != 0;
}

void FlushProfile(const std::string& file) {
  WritePrivateProfileStringW(nullptr, nullptr, nullptr, WholeName(file).c_str());
}

}  // namespace hivequarry
