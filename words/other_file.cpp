#include "words/other_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "host/number_text.h"

namespace hivequarry {
namespace {

using namespace std::string_view_literals;

// Bytes that a kind of file has at an offset from its start.
struct Signature {
  uint32_t at;
  std::string_view bytes;
  const char* what;
};
// Formats that lie beside hives on the disks of a machine, or are what hives are kept in.
constexpr Signature kSignatures[] = {
    {0, "MZ"sv, "a Windows program or library"},
    {0, "PK\3\4"sv, "a zip archive"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "a 7z archive"},
    {0, "Rar!\x1A\7"sv, "a rar archive"},
    {0, "\x1F\x8B"sv, "a gzip archive"},
    {0, "\xFD\x37zXZ\0"sv, "an xz archive"},
    {0, "(\xB5\x2F\xFD"sv, "a zstd archive"},
    {0, "MSCF"sv, "a cabinet"},
    {0, "MSWIM\0\0\0"sv, "a Windows image: mount it, or take the hives out"},
    {0, "EVF\x09\x0D\x0A\xFF\0"sv, "an evidence image of a disk: mount it, or take the hives out"},
    {0, "EVF2\x0D\x0A\x81\0"sv, "an evidence image of a disk: mount it, or take the hives out"},
    {0, "vhdxfile"sv, "a virtual disk: mount it, or take the hives out"},
    {0, "conectix"sv, "a virtual disk: mount it, or take the hives out"},
    {0, "KDMV"sv, "a virtual disk: mount it, or take the hives out"},
    {0, "QFI\xFB"sv, "a virtual disk: mount it, or take the hives out"},
    {3, "NTFS    "sv, "an NTFS volume: mount it, or take the hives out"},
    {3, "-FVE-FS-"sv, "an encrypted volume"},
    {3, "EXFAT   "sv, "an exFAT volume: mount it, or take the hives out"},
    {0, "HIBR"sv, "a hibernation file"},
    {0, "hibr"sv, "a hibernation file"},
    {0, "PAGEDU"sv, "a memory dump of a system"},
    {0, "MDMP\x93\xA7"sv, "a memory dump of a process"},
    {0, "FILE0"sv, "a table of files of an NTFS volume"},
    {0, "SQLite format 3\0"sv, "an SQLite database"},
    {4, "\xEF\xCD\xAB\x89"sv, "a database of the extensible storage engine"},
    {0, "ElfFile\0"sv, "an event log"},
    {4, "LfLe"sv, "an old event log"},
    {4, "SCCA"sv, "a prefetch file"},
    {0, "MAM\4"sv, "a compressed prefetch file"},
    {0, "%PDF-"sv, "a PDF document"},
    {0, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv, "a compound document"},
    {0, "REGEDIT4"sv, "a registry script"},
    {0, "Windows Registry Editor"sv, "a registry script"},
    {0, "\xFF\xFEW\0i\0n\0d\0o\0w\0s\0 \0R\0e\0g\0"sv, "a registry script"},
    {0, "\x7F\x45LF"sv, "a program of another system"},
};

// False also where the file is shorter.
bool HasText(ByteView bytes, uint32_t at, std::string_view text) {
  return IsInside(bytes, at, static_cast<uint32_t>(text.size())) &&
         std::equal(text.begin(), text.end(), bytes.begin() + at,
                    [](char c, uint8_t byte) { return static_cast<uint8_t>(c) == byte; });
}

// NTFS keeps a compressed file in units; each begins with a chunk whose header has its length and
// the mark 3, a byte of flags, and literal bytes as far as these say.
bool IsCompressedHive(ByteView start) {
  const uint16_t header = ReadU16(start, 0);
  // "regf" are the chunk's first bytes, which can repeat nothing: the low four flags are clear.
  return (header & 0xF000) == 0xB000 && (ReadU8(start, 2) & 0x0F) == 0 && HasText(start, 3, "regf");
}

// Bits that a byte carries on the average.
// 0 for bytes that are all alike, 8 for random ones.
double Entropy(ByteView bytes) {
  std::array<uint32_t, 256> counts{};
  for (const uint8_t byte : bytes) ++counts[byte];
  double bits = 0;
  for (const uint32_t count : counts) {
    if (count == 0) continue;
    const double share = static_cast<double>(count) / static_cast<double>(bytes.size());
    bits -= share * std::log2(share);
  }
  return bits;
}

// Enough bytes that random ones come close to eight bits.
constexpr size_t kLeastForEntropy = 0x4000;
// Random bytes of this number measure at 7.98 and more; hives, programs and texts stay well below.
constexpr double kRandom = 7.9;

}  // namespace

std::string OtherFileWords(ByteView start, uint64_t length) {
  if (length == 0) return "The file is empty.";
  if (start.empty()) return {};
  for (const Signature& signature : kSignatures) {
    if (HasText(start, signature.at, signature.bytes)) {
      return Concat({"The file begins as ", signature.what, "."});
    }
  }
  if (IsCompressedHive(start)) {
    return "The file begins as a hive in compressed clusters of a volume: copy it through the file "
           "system, which expands it.";
  }
  const uint8_t first = start.front();
  if (std::ranges::all_of(start, [first](uint8_t byte) { return byte == first; })) {
    return Concat({start.size() < length ? "The file begins with " : "The file is ",
                   std::to_string(start.size()), " bytes 0x", Hex(first, 2),
                   start.size() < length ? "." : " and nothing else."});
  }
  if (start.size() >= kLeastForEntropy && Entropy(start) > kRandom) {
    return "The file's bytes show no pattern: it is encrypted or compressed.";
  }
  return {};
}

}  // namespace hivequarry
