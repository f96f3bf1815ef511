#include "live/file_protection.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "host/files.h"
#include "host/text.h"
#include "live/registry.h"

namespace hivequarry {
namespace {

// Bytes of a self-relative descriptor: a header of 20 bytes (revision, flags, four offsets: owner,
// group and audit list absent), then the access list of two entries. The flags say that the list is
// there, that it inherits nothing, and that the descriptor is self-relative.
constexpr uint8_t kDescriptor[] = {
    1, 0, 0x04, 0x90, 0,    0,    0,    0, 0,  0, 0, 0, 0,    0,    0, 0, 20, 0, 0, 0,  // protected
    2, 0, 52,   0,    2,    0,    0,    0,                                              // 52 bytes
    0, 0, 20,   0,    0xFF, 0x01, 0x1F, 0,                                  // all rights
    1, 1, 0,    0,    0,    0,    0,    5, 18, 0, 0, 0,                     // S-1-5-18
    0, 0, 24,   0,    0xFF, 0x01, 0x1F, 0,                                  // all rights
    1, 2, 0,    0,    0,    0,    0,    5, 32, 0, 0, 0, 0x20, 0x02, 0, 0};  // S-1-5-32-544
static_assert(sizeof kDescriptor == 20 + 52);

}  // namespace

std::span<const uint8_t> AdministratorsAlone() { return kDescriptor; }

bool ProtectFile(const std::string& file) {
  const std::u16string name = WideOfText(FullName(file));
  return CurrentRegistry().protect_file(name.c_str(), kDescriptor) == kRegistryDone;
}

bool CopyProtected(const std::string& from, const std::string& to) {
  int error = 0;
  std::FILE* const source = OpenFile(from, "rb", error);
  std::FILE* const made = source == nullptr ? nullptr : OpenFile(to, "wb", error);
  bool copied = made != nullptr;
  // Before the first byte: nobody gets at the content in between.
  if (copied) ProtectFile(to);
  std::vector<char> piece(1 << 20);
  while (copied) {
    const size_t size = std::fread(piece.data(), 1, piece.size(), source);
    copied = std::ferror(source) == 0 && std::fwrite(piece.data(), 1, size, made) == size;
    if (size == 0) break;
  }
  if (source != nullptr) std::fclose(source);
  if (made == nullptr) return false;
  copied = std::fclose(made) == 0 && copied;
  std::error_code ignored;
  if (!copied) std::filesystem::remove(FilePath(to), ignored);
  return copied;
}

std::string UnprotectedText(const std::string& folder) {
  return "Whoever may read " + folder +
         " can read the saved hives: their files could not be kept to administrators !";
}

}  // namespace hivequarry
