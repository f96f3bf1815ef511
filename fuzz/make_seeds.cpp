// make-seeds TARGET FOLDER: writes the seed inputs of a fuzz target.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/hive_builder.h"
#include "tests/support/hostile_hives.h"
#include "tests/support/log_writer.h"

namespace {

using namespace hivequarry::testing;

// Where the seeds go; whether all of them could be written.
struct Seeds {
  std::filesystem::path folder;
  bool written = true;

  void Add(const std::string& name, std::span<const uint8_t> bytes) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::ofstream file(folder / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    written = file.flush().good() && written;
  }
  void AddTexts(std::initializer_list<std::string_view> texts) {
    int number = 0;
    for (const std::string_view text : texts) {
      Add("text" + std::to_string(++number), Bytes(text.begin(), text.end()));
    }
  }
};

BuiltHive SmallHive(List kind) {
  HiveBuilder hive;
  hive.DefaultList(kind);
  hive.Key("Software\\Tools").Sz("Path", "C:\\Tools").Dword("Count", 7).Class("Shell");
  hive.Key("Software\\Tools").Qword("Serial", 1).MultiSz("Names", {"a", "b"}).Binary("b", 40);
  hive.Key("Software\\Empty").ListStyle(kind, 2);
  hive.Key("Software\\\xD0\x96").Sz("\xD0\x96", "wide").Sz("", "default");
  for (const char* name : {"k1", "k2", "k3", "k4", "k5"}) hive.Key("Software\\Empty").Key(name);
  return hive.Build();
}

BuiltHive DamagedHive() {
  BuiltHive hive = SmallHive(List::kLf);
  hive.Unlink("Software\\Tools");
  hive.Free(hive.PositionOf("Software\\Empty\\k2"));
  hive.Zero(hive.PositionOf("Software\\Empty\\k3"), 88);
  hive.SetU16(hive.PositionOf("Software\\Empty\\k4"), field::kKeyNameLength, 0);
  hive.FlipBit(hive.PositionOf("Software\\Empty\\k5") + 5, 0);
  hive.SetU32(hive.PositionOf("Software\\\xD0\x96"), field::kKeyValues, 0);
  return hive;
}

// Small ones of the hives that are made to hurt.
void AddHostile(Seeds& seeds) {
  constexpr double kMegabytes = 0.01;
  for (const HostileHive& hostile : HostileHives()) {
    seeds.Add(hostile.name, hostile.make(kMegabytes));
  }
}

void WriteHives(Seeds& seeds) {
  AddHostile(seeds);
  const std::pair<const char*, List> kinds[] = {{"lf", List::kLf},        {"lh", List::kLh},
                                                {"li", List::kLi},        {"ri_lh", List::kRiOfLh},
                                                {"ri_li", List::kRiOfLi}, {"ri_lf", List::kRiOfLf}};
  for (const auto& [name, kind] : kinds) {
    seeds.Add(name, SmallHive(kind).bytes);
  }
  HiveBuilder big;
  big.Key("A").Binary("big", 33000);
  HiveBuilder bins;
  for (int i = 0; i < 4; ++i) bins.Key("K" + std::to_string(i)).NewBin().FreeBehind(200);
  BuiltHive fragment = SmallHive(List::kLh);
  fragment.DropBaseBlock();
  const Bytes small = SmallHive(List::kLh).bytes;
  seeds.Add("big_data", big.Build().bytes);
  seeds.Add("bins", bins.Build().bytes);
  seeds.Add("damaged", DamagedHive().bytes);
  seeds.Add("fragment", fragment.bytes);
  seeds.Add("embedded", Embedded(small, 512, 100));
  BuiltHive moved = bins.Build();
  moved.Insert(moved.PositionOf("K1") + 40, 64).Erase(moved.BinPosition(3), 4096);
  const Bytes piece(small.begin() + 4096 + 301, small.end());
  seeds.Add("moved", moved.bytes);
  seeds.Add("piece", piece);
  seeds.Add("two", Joined({small, small}));
}

void WriteValues(Seeds& seeds) {
  for (uint8_t type = 0; type < 13; ++type) {
    Bytes bytes = Utf16Z("Some text with \xE2\x82\xAC");
    bytes.insert(bytes.begin(), type);
    seeds.Add("type" + std::to_string(type), bytes);
  }
  const Bytes hive = SmallHive(List::kLh).bytes;
  seeds.Add("cells", Bytes(hive.begin() + 4096, hive.end()));
}

void WriteCommandLines(Seeds& seeds) {
  seeds.AddTexts({"C:\\hives\\SOFTWARE", "\"C:\\my hives\\ntuser.dat\"",
                  "-soff=4096 -key=4128 -eoff=1048576 \"C:\\image.bin\"", "/R \"C:\\SYSTEM\"",
                  "-bweek -sam -system C:\\backup", "-bmonth -bcd \"C:\\my backup\"",
                  "-sam -hkcu \""});
}

void WriteReports(Seeds& seeds) {
  seeds.AddTexts(
      {"[Hivequarry Output List]\r\n\r\n\r\n[RPLfile]\r\n\r\nU0=100\r\n\r\nU2=2\r\n"
       "\r\nU3=;120;200\r\n\r\nU4=11\r\n\r\nU5=2\r\n\r\nU6=Key Dates\r\n"
       "\r\nH0=Key Date\r\n\r\nH1=Key\r\n\r\n\r\n[ROWS]\r\n"
       "012020/01/01\r\n02HKLM\\SAM\r\n9903\r\n01a\r\n9900\r\n",
       "[RPLfile]\nU2=18\nU4=100\nH17=x\nMASKDOWN=last\n[ROWS]\n01\xE9\n18b\n99\n",
       "[ROWS]\r\n01only\r\n12twelfth\r\n9901\r\n00end\r\n"});
}

void WriteProfiles(Seeds& seeds) {
  seeds.AddTexts(
      {"[FTSC]\r\nFC0=\" a\"\r\nFC1=b\r\n[CBSIDS]\r\nCBS0=S-1-5-18\r\n"
       "[KAS]\r\nKGP1=0101010101010101\r\nDI=0\r\nFPART=4096;8192\r\n"
       "[LTFS]\r\nLF0=C:\\\xE4\r\nLF1=C:\\\xD0\xB6\r\n[LTDS]\r\nLD0=C:\\h\r\n",
       "; text\n[WPS1]\nw10=-8\nw11=0\nw12=700\nw13=500\n[WPS2]\nw20=90\n"
       "[WPS4]\nw40=250\nw41=3333\n[WPOS]\nWPS10=1;2;30;40;0;5;6;7;8\n"
       "WPS22=1;2;30;40;1;9;9;9;9;9;9;9;9;9;9;9;9;9;9;9;9;9;9\n"});
}

// Descriptors, the cells that hold them, and SIDs as bytes and as texts.
void WriteSecurity(Seeds& seeds) {
  const std::vector<Ace> aces = {{0, 2, 0xF003F, "S-1-5-18"}, {1, 0x1B, 6, "S-1-5-21-1-2-3-500"}};
  const Bytes plain = SecurityDescriptor("S-1-5-32-544", "S-1-5-18", aces);
  const Bytes audited = SecurityDescriptor("S-1-5-18", "S-1-1-0", aces, {{2, 0xC0, 1, "S-1-1-0"}});
  CellWriter cells;
  AddSecurityRing(cells, {plain, audited});
  FinishHive(cells, {});
  seeds.Add("plain", plain);
  seeds.Add("audited", audited);
  seeds.Add("sid", Sid("S-1-5-21-1-2-3-500"));
  const Bytes area(cells.bytes.begin() + kDataArea, cells.bytes.end());
  seeds.Add("cells", area);
  seeds.AddTexts({"S-1-5-32-544", "S-1-0x010203040506-1-4294967295"});
}

// Hives with what makes a search go different ways: data in segments, names in UTF-16.
void WriteSearches(Seeds& seeds) {
  // All fields, in either case; a text; taken from the hive; a number.
  constexpr std::string_view kQuestions[] = {
      std::string_view("\xF0\x00\x05\x00\x00\x00Tools\0\0\0\0\0\0\0\0\0\0\0\0\0", 24),
      std::string_view("\xF0\x03\x07\x20\x11\x00\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24),
      std::string_view("\x89\x01\x03\x80\x10\x00\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24)};
  HiveBuilder big;
  big.Key("A\\Tools").Binary("big", 33000).Sz("tools", "In C:\\Tools");
  const Bytes hives[] = {SmallHive(List::kLh).bytes, big.Build().bytes, DamagedHive().bytes};
  for (size_t i = 0; i < std::size(kQuestions); ++i) {
    for (size_t j = 0; j < std::size(hives); ++j) {
      Bytes bytes = hives[j];
      bytes.insert(bytes.end(), kQuestions[i].begin(), kQuestions[i].end());
      const std::string name = "hive" + std::to_string(j) + "_" + std::to_string(i);
      seeds.Add(name, bytes);
    }
  }
}

// An item, or an extension of one: its size and what is in it.
Bytes Sized(Bytes bytes) {
  const auto size = static_cast<uint8_t>(bytes.size() + 2);
  bytes.insert(bytes.begin(), {size, 0});
  return bytes;
}

// The desktop's computer, a drive, and a folder with a long name.
Bytes ItemListBytes() {
  Bytes computer = {0x1F, 0x50, 0xE0, 0x4F, 0xD0, 0x20, 0xEA, 0x3A, 0x69,
                    0x10, 0xA2, 0xD8, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D};
  Bytes drive = {0x2F, 'C', ':', '\\', 0, 0, 0, 0, 0, 0, 0, 0};
  Bytes folder = {0x31, 0, 0, 0, 0, 0, 0x21, 0x4A, 0x21, 0x4A, 0x10, 0, 'T', '~', '1', 0};
  Bytes extension = {3, 0, 4, 0, 0xEF, 0xBE, 0x21, 0x4A, 0x21, 0x4A, 0x21, 0x4A, 0x21, 0x4A};
  const Bytes name = Utf16Z("Tools");
  extension.insert(extension.end(), {20, 0, 0, 0});
  extension.insert(extension.end(), name.begin(), name.end());
  for (const uint8_t byte : Sized(extension)) folder.push_back(byte);
  Bytes list;
  for (const Bytes& item : {Sized(computer), Sized(drive), Sized(folder), Bytes{0, 0}}) {
    list.insert(list.end(), item.begin(), item.end());
  }
  return list;
}

BuiltHive ReportedHive() {
  HiveBuilder hive;
  KeyRef service = hive.Key("ControlSet001\\Services\\Tool");
  service.Dword("Start", 2).Dword("Type", 16).ExpandSz("ImagePath", "%SystemRoot%\\tool.exe -k");
  KeyRef windows = hive.Key("Microsoft\\Windows\\CurrentVersion");
  windows.Key("Uninstall\\Tool").Sz("DisplayName", "Tool").Sz("UninstallString", "C:\\t.exe /x");
  KeyRef shell = windows.Key("Explorer");
  shell.Key("UserAssist\\{1}\\Count").Binary("P:\\Gbby.rkr", 72).Binary("short", 16);
  shell.Key("FileExts\\.txt\\OpenWithList").Sz("a", "tool.exe").Sz("MRUList", "a");
  KeyRef dialogs = shell.Key("ComDlg32\\OpenSavePidlMRU\\txt");
  dialogs.Value("0", 3, ItemListBytes()).Value("MRUListEx", 3, {0, 0, 0, 0, 255, 255, 255, 255});
  KeyRef bags = hive.Key("ShellNoRoam\\BagMRU");
  bags.Value("0", 3, ItemListBytes()).Dword("NodeSlot", 1);
  bags.Key("0").Value("0", 3, ItemListBytes()).Dword("NodeSlot", 2);
  hive.Key("ShellNoRoam\\Bags\\1");
  KeyRef id = hive.Key("Classes\\CLSID\\{2}");
  id.Sz("", "Class").Key("InprocServer32").Sz("", "C:\\tool.dll");
  id.Key("ProgID").Sz("", "Tool.1");
  return hive.Build();
}

void WriteStructureReports(Seeds& seeds) {
  BuiltHive damaged = ReportedHive();
  damaged.Unlink("Microsoft");
  Bytes items = ItemListBytes();
  items.insert(items.begin(), 10);  // beyond the last report
  AddHostile(seeds);
  seeds.Add("hive", ReportedHive().bytes);
  seeds.Add("damaged", damaged.bytes);
  seeds.Add("items", items);
  for (uint8_t report = 0; report < 10; ++report) {
    Bytes keys = Utf16Z("Keys with C:\\Tools\\tool.exe in them, and with others");
    keys.insert(keys.begin(), report);
    seeds.Add("keys" + std::to_string(report), keys);
  }
}

// A value at each of the places that the target knows, with the beginnings of what is stored there.
void WriteEvidence(Seeds& seeds) {
  constexpr uint8_t kPlaces = 23;
  constexpr uint32_t kMagics[] = {0xDEADBEEF, 0xBADC0FFE, 0xBADC0FEE, 0x80, 0x34, 0x001F0014};
  for (uint8_t place = 0; place < kPlaces; ++place) {
    Bytes input;
    for (const uint32_t magic : kMagics) {
      const size_t start = input.size();
      input.resize(start + 4 + 80);
      input[start] = place;
      input[start + 1] = 3;
      input[start + 2] = 80;
      PutU32(input, static_cast<uint32_t>(start + 4), magic);
      PutU32(input, static_cast<uint32_t>(start + 8), 1);
    }
    seeds.Add("place" + std::to_string(place), input);
  }
  Bytes items = ItemListBytes();
  items.insert(items.begin(),
               {5, 3, static_cast<uint8_t>(items.size()), static_cast<uint8_t>(items.size() >> 8)});
  seeds.Add("items", items);
  AddHostile(seeds);
}

// A hive and a log of it, as one input: how long the hive is, the hive, the log.
Bytes HiveAndLog(const Bytes& hive, const Bytes& log) {
  Bytes bytes(4);
  PutU32(bytes, 0, static_cast<uint32_t>(hive.size()));
  bytes.insert(bytes.end(), hive.begin(), hive.end());
  bytes.insert(bytes.end(), log.begin(), log.end());
  return bytes;
}

void WriteReplays(Seeds& seeds) {
  Bytes states[3];
  for (size_t i = 0; i < 3; ++i) {
    HiveBuilder hive;
    hive.Key("Stays").Sz("Text", "the same").Dword("Count", static_cast<uint32_t>(i));
    if (i != 1) hive.Key("Goes and comes").Sz("Old", "text");
    if (i == 2) hive.Key("Stays\\Comes").Binary("Bytes", 5000);
    states[i] = hive.Build().bytes;
    SetNumbers(states[i], 10, 9);
  }
  const LogEntrySpec first = EntryBetween(states[0], states[1], 10);
  const LogEntrySpec second = EntryBetween(states[1], states[2], 11);
  LogEntrySpec old = second;
  old.sequence = 3;
  seeds.Add("new", HiveAndLog(states[0], NewLog(states[0], {first, second})));
  seeds.Add("leftover", HiveAndLog(states[0], NewLog(states[0], {first, old})));
  seeds.Add("old", HiveAndLog(states[0], OldLog(states[0], states[2])));
  Bytes cut = states[0];
  cut.resize(4096);
  seeds.Add("cut", HiveAndLog(cut, NewLog(states[0], {first, second})));
  seeds.Add("none", HiveAndLog(states[2], {}));
}

}  // namespace

int main(int argc, char** argv) {
  using Writer = void (*)(Seeds & seeds);
  constexpr std::pair<std::string_view, Writer> kWriters[] = {
      {"fuzz_open", WriteHives},
      {"fuzz_values", WriteValues},
      {"fuzz_command_line", WriteCommandLines},
      {"fuzz_report", WriteReports},
      {"fuzz_settings", WriteProfiles},
      {"fuzz_security", WriteSecurity},
      {"fuzz_script", WriteHives},
      {"fuzz_search", WriteSearches},
      {"fuzz_structure_reports", WriteStructureReports},
      {"fuzz_replay", WriteReplays},
      {"fuzz_evidence", WriteEvidence},
      {"fuzz_carve", WriteHives}};
  for (const auto& [target, write] : kWriters) {
    if (argc != 3 || argv[1] != target) continue;
    Seeds seeds{argv[2]};
    write(seeds);
    if (seeds.written) return 0;
    std::fprintf(stderr, "make-seeds: can't write to %s\n", argv[2]);
    return 1;
  }
  std::fprintf(stderr, "usage: make-seeds TARGET FOLDER\n");
  return 2;
}
