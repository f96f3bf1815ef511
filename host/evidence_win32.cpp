#include <io.h>
#include <windows.h>

#include "host/evidence.h"
#include "host/files.h"

namespace hivequarry {

bool IsSameFile(std::FILE* stream, const std::string& name) {
  const auto open = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  const HANDLE named =
      CreateFileW(FilePath(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, 0, nullptr);
  if (named == INVALID_HANDLE_VALUE) return false;
  BY_HANDLE_FILE_INFORMATION one = {};
  BY_HANDLE_FILE_INFORMATION other = {};
  const bool same = open != INVALID_HANDLE_VALUE && GetFileType(open) == FILE_TYPE_DISK &&
                    GetFileInformationByHandle(open, &one) != FALSE &&
                    GetFileInformationByHandle(named, &other) != FALSE &&
                    one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
                    one.nFileIndexHigh == other.nFileIndexHigh &&
                    one.nFileIndexLow == other.nFileIndexLow;
  CloseHandle(named);
  return same;
}

}  // namespace hivequarry
