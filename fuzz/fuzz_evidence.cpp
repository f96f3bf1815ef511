// The decoders of evidence: on any bytes as a hive file, and where the input is none on a sound
// hive whose values at the places of evidence are made of it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "evidence/decoders.h"
#include "fuzz/fuzzed_hive.h"
#include "tests/support/hive_builder.h"

namespace {

using namespace hivequarry;
using fuzzing::FuzzedHive;
using fuzzing::Require;

constexpr const char* kExplorer = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";
// A value of each structure; a path that begins with "*" is below the shell's key.
constexpr struct {
  const char* path;
  const char* value;
} kValues[] = {
    {"*UserAssist\\{CEBFF5CD-ACE2-4F4F-9178-9926F41749EA}\\Count", "P:\\n.rkr"},
    {"ControlSet001\\Control\\Session Manager\\AppCompatCache", "AppCompatCache"},
    {"ControlSet001\\Services\\bam\\State\\UserSettings\\S-1-5-18", "p"},
    {"Root\\InventoryApplicationFile\\f", "LinkDate"},
    {"Root\\File\\v\\f", "101"},
    {"Software\\Microsoft\\Windows\\Shell\\BagMRU", "0"},
    {"Software\\Microsoft\\Windows\\Shell\\BagMRU", "MRUListEx"},
    {"Software\\Microsoft\\Windows\\Shell\\BagMRU\\0", "0"},
    {"*ComDlg32\\OpenSavePidlMRU\\*", "0"},
    {"*ComDlg32\\LastVisitedPidlMRU", "0"},
    {"*RecentDocs", "0"},
    {"*RunMRU", "a"},
    {"*RunMRU", "MRUList"},
    {"MountedDevices", "\\DosDevices\\E:"},
    {"ControlSet001\\Enum\\USBSTOR\\Disk&Ven_V&Prod_P\\S&0", "ParentIdPrefix"},
    {"Microsoft\\Windows\\CurrentVersion\\Run", "r"},
    {"Microsoft\\Windows\\CurrentVersion\\Explorer\\StartupApproved\\Run", "r"},
    {"Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Profiles\\{A}", "DateCreated"},
    {"Microsoft\\Windows NT\\CurrentVersion\\NetworkList\\Signatures\\Managed\\1", "ProfileGuid"},
    {"ControlSet001\\Services\\Tcpip\\Parameters\\Interfaces\\{A}", "DhcpNetworkHint"},
    {"SAM\\Domains\\Account\\Users\\000001F4", "F"},
    {"SAM\\Domains\\Account\\Users\\000001F4", "V"},
    {"SAM\\Domains\\Builtin\\Aliases\\00000220", "C"},
    {"Microsoft\\Windows NT\\CurrentVersion\\Schedule\\TaskCache\\Tasks\\{A}", "DynamicInfo"},
    {"ControlSet001\\Services\\s", "ImagePath"},
    {"ControlSet001\\Control\\TimeZoneInformation", "StandardStart"},
    {"Policy\\PolAdtEv", ""},
};

void DecodeAll(std::span<const uint8_t> bytes) {
  FuzzedHive opened(bytes.data(), bytes.size());
  if (opened.tree.items.empty()) return;
  for (const DecoderInfo& decoder : Decoders()) {
    const OutputListPtr list = MakeOutputList(decoder.kind);
    RunDecoder(decoder, opened.hive, opened.tree, 0, *list);
    const int state = ColumnCount(*list) - kEvidenceColumns + 1;
    for (uint32_t row = 0; row < RowCount(*list); ++row) {
      Require(!CellText(*list, row, state).empty());
    }
  }
}

// Place, type, length in two bytes, data; and so on.
void DecodeValues(std::span<const uint8_t> input) {
  constexpr size_t kHead = 4;
  testing::HiveBuilder builder;
  while (input.size() > kHead) {
    const auto& place = kValues[input[0] % std::size(kValues)];
    const size_t length = std::min<size_t>(LoadU16(input.data() + 2), input.size() - kHead);
    const auto data = input.subspan(kHead, length);
    const std::string path =
        place.path[0] == '*' ? std::string(kExplorer) + (place.path + 1) : std::string(place.path);
    builder.Key(path).Value(place.value, input[1] % 13U, {data.begin(), data.end()});
    input = input.subspan(kHead + length);
  }
  DecodeAll(builder.Build().bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size >= 4 && std::memcmp(data, "regf", 4) == 0) {
    DecodeAll({data, size});
  } else {
    DecodeValues({data, size});
  }
  return 0;
}
