#include <algorithm>
#include <array>

#include "tests/support/log_writer.h"
#include "tests/support/sample_hives.h"
#include "tests/support/sample_log.h"

namespace hivequarry::testing {
namespace {

const std::string kUninstall = "Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

struct Program {
  const char* maker;
  const char* name;
  const char* version;
  uint32_t kilobytes;
};
constexpr std::array<Program, 12> kPrograms = {{{"Alderwick", "Photo Desk", "4.2.0", 88120},
                                                {"Alderwick", "Frame Maker", "1.9.3", 20412},
                                                {"Brightmoor", "Ledger", "11.0.7", 145300},
                                                {"Brightmoor", "Invoice", "11.0.2", 64210},
                                                {"Cobaltine", "Media Player", "2.17", 51200},
                                                {"Cobaltine", "Codec Pack", "2.16", 30800},
                                                {"Dunmarrow", "Backup", "7.5.1", 77000},
                                                {"Eastfell", "Mail", "3.0.12", 99100},
                                                {"Eastfell", "Calendar", "3.0.12", 41000},
                                                {"Foxholm", "Archive", "22.1", 5100},
                                                {"Granville", "Atlas", "2020.3", 310000},
                                                {"Granville", "Route", "2020.1", 81000}}};

std::string Folder(const Program& program) {
  return std::string("C:\\Program Files\\") + program.maker + "\\" + program.name;
}

void AddProgram(HiveBuilder& hive, const Program& program, uint32_t number) {
  const std::string folder = Folder(program);
  const uint64_t time = FileTime(2021, 2, 1 + static_cast<int>(number), 9, 30) + number * 7654321;
  KeyRef key = hive.Key(std::string(program.maker) + "\\" + program.name).Time(time);
  key.Sz("InstallFolder", folder).Sz("Version", program.version).Dword("Edition", number % 3);
  key.Qword("LicenceSerial", 0x1122334400000000 + number * 97);
  KeyRef settings = key.Key("Settings").Time(time + 864000000000);
  settings.Dword("CheckForUpdates", number % 2).Dword("FontSize", 9 + number % 4);
  settings.Sz("Language", "en-GB").Binary("WindowPlacement", 44, static_cast<uint8_t>(number));
  for (const char* option : {"ShowToolbar", "ShowStatusBar", "AutoSave", "UndoLevels", "Zoom"}) {
    settings.Dword(option, number * 5 % 7);
  }
  KeyRef recent = key.Key("Recent Files").Time(time + 1728000000000);
  for (uint32_t i = 1; i <= 4; ++i) {
    recent.Sz("File" + std::to_string(i), "C:\\Users\\Robin\\Documents\\" +
                                              std::string(program.name) + " " +
                                              std::to_string(number * 10 + i) + ".dat");
  }
  key.Key("Plugins\\Spelling").Dword("Enabled", 1).Sz("", "spelling.dll").Time(time);
  key.Key("Plugins\\Export").Dword("Enabled", 0).Sz("", "export.dll").Time(time);

  KeyRef entry = hive.Key(kUninstall + program.maker + " " + program.name).Time(time);
  entry.Sz("DisplayName", std::string(program.name) + " " + program.version);
  entry.Sz("DisplayVersion", program.version).Sz("Publisher", program.maker);
  entry.Sz("UninstallString", "\"" + folder + "\\uninstall.exe\" /remove");
  entry.Sz("InstallDate",
           "202102" + std::string(number < 9 ? "0" : "") + std::to_string(number + 1));
  entry.Dword("NoModify", 1).Dword("NoRepair", number % 2).Sz("HelpLink", "help.html");
  entry.Dword("EstimatedSize", program.kilobytes).ExpandSz("InstallSource", "%TEMP%\\setup");
}

void AddSystemSettings(HiveBuilder& hive) {
  KeyRef run = hive.Key("Microsoft\\Windows\\CurrentVersion\\Run").Time(FileTime(2021, 2, 20, 8));
  run.Sz("Mail Notifier", "\"C:\\Program Files\\Eastfell\\Mail\\notify.exe\" -quiet");
  run.Sz("Backup", "C:\\Program Files\\Dunmarrow\\Backup\\tray.exe");
  run.ExpandSz("Sound", "%SystemRoot%\\system32\\soundtray.exe");
  run.Sz("Photo Desk", "\"C:\\Program Files\\Alderwick\\Photo Desk\\watch.exe\" -hidden");
  KeyRef lists = hive.Key("Microsoft\\Windows NT\\CurrentVersion\\NetworkList");
  for (const char* name : {"Home", "Office", "Café Zürich", "Сеть отеля", "駅の無線"}) {
    KeyRef profile = lists.Key(std::string("Profiles\\") + name).Time(FileTime(2021, 1, 5, 17, 4));
    profile.Sz("ProfileName", name).Dword("Category", 1).Dword("Managed", 0);
    profile.Binary("DateCreated", 16).MultiSz("NameServers", {"192.0.2.1", "192.0.2.2"});
  }
  KeyRef version = hive.Key("Microsoft\\Windows NT\\CurrentVersion").Class("Shell");
  version.Sz("ProductName", "Workstation").Sz("CurrentBuild", "19041").Dword("UBR", 804);
  version.Dword("InstallDate", 1612137600).Qword("InstallTime", FileTime(2021, 2, 1));
  KeyRef fonts = hive.Key("Microsoft\\Windows NT\\CurrentVersion\\Fonts");
  for (const char* font : {"Arbour", "Belmont", "Carrow Sans", "Derwent Mono", "Ellery"}) {
    fonts.Sz(std::string(font) + " (TrueType)", std::string(font) + ".ttf");
  }
  hive.Key("Policies\\Updates").Dword("AutomaticInstall", 4).Dword("RestartHour", 3);
  hive.Key("Policies\\Explorer").Dword("NoAutoRun", 0xFF).Binary("Layout", 40000, 9);
  hive.Key("Registered Applications").Sz("Mail", "Eastfell\\Mail").Sz("Atlas", "Granville\\Atlas");
}

void AddClasses(HiveBuilder& hive) {
  hive.Key("Classes").ListStyle(List::kLf);
  for (const char* kind : {"archive", "atlas", "frame", "invoice", "ledger", "mail", "photo"}) {
    const std::string name = std::string("Sample.") + kind;
    KeyRef type = hive.Key("Classes\\" + name).Sz("", std::string(kind) + " document");
    type.Key("DefaultIcon").ExpandSz("", "%SystemRoot%\\system32\\icons.dll,3");
    type.Key("shell\\open\\command").Sz("", "\"C:\\Program Files\\" + name + ".exe\" \"%1\"");
    hive.Key(std::string("Classes\\.") + kind).Sz("", name).Sz("Content Type", "application/x");
  }
}

void FreeAll(BuiltHive& hive, std::span<const uint32_t> cells) {
  for (const uint32_t cell : cells) {
    if (cell != 0) hive.Free(cell);
  }
}

// What a program leaves behind is removed as the system does it: cells that are free, with
// what they held.
void RemovePhotoDesk(BuiltHive& hive) {
  const std::string entry = kUninstall + "Alderwick Photo Desk";
  const auto places = std::ranges::find(hive.places, hive.PositionOf(entry), &KeyPlaces::key);
  FreeAll(hive, places->values);
  FreeAll(hive, places->data);
  hive.Unlink(entry).Free(places->value_list).Free(places->key);
  const std::string run = "Microsoft\\Windows\\CurrentVersion\\Run";
  hive.SetU32(hive.PositionOf(run), field::kKeyValues, 3);
  hive.Free(hive.DataPosition(run, "Photo Desk")).Free(hive.ValuePosition(run, "Photo Desk"));
}

void Damage(BuiltHive& hive) {
  const auto key = [&hive](const char* path) { return hive.PositionOf(path); };
  // A removed branch, whole but reached by nothing.
  hive.Unlink("Alderwick\\Photo Desk");
  RemovePhotoDesk(hive);
  // A page of the file lost, with what was there.
  const uint32_t page = key("Cobaltine\\Media Player\\Settings") / 4096 * 4096;
  hive.Zero(page, 4096);
  // Foreign bytes over a subkey list: its keys hang in the air.
  hive.SetBytes(hive.ListPosition("Eastfell"), 4, Utf16("overwritten"));
  // Names gone, of a listed key with a hint in its list and of one without.
  hive.SetU16(key("Classes\\Sample.ledger"), field::kKeyNameLength, 0);
  hive.SetU16(key("Policies\\Updates"), field::kKeyNameLength, 0);
  // The value list forgotten: values that no key owns.
  const uint32_t recent = key("Brightmoor\\Ledger\\Recent Files");
  hive.SetU32(recent, field::kKeyValues, 0).SetU32(recent, field::kKeyValueList, kNone);
  // A freed key that its list still names, and one that was wiped.
  hive.Free(key("Classes\\.mail"));
  const uint32_t wiped = key("Classes\\.photo");
  hive.Zero(wiped, hive.CellLength(wiped)).SetU32(wiped, 0, 96);
  // A parent field that leads nowhere, in a key that is also cut off.
  const uint32_t route = key("Granville\\Route");
  hive.Unlink("Granville\\Route").SetU32(route, field::kKeyParent, 0x00FFFFF0);
  // Values whose data was freed, or is longer than its cell.
  hive.Free(hive.DataPosition("Foxholm\\Archive", "InstallFolder"));
  hive.SetU32(hive.ValuePosition("Foxholm\\Archive", "Version"), field::kValueLength, 4000);
  // One flipped bit in a key's signature.
  hive.FlipBit(key("Granville\\Atlas") + field::kSignature + 1, 0);
  // A flipped bit in a block's second size.
  hive.FlipBit(hive.BinPosition(3) + field::kBinSizeCopy, 13);
  FixChecksum(hive.bytes);
}

}  // namespace

BuiltHive SoundSample() {
  HiveBuilder hive("SOFTWARE");
  hive.FileName("emRoot\\System32\\Config\\SOFTWARE");
  hive.AddSecurity(
      SecurityDescriptor("S-1-5-18", "S-1-5-18",
                         {{0, 2, 0xF003F, "S-1-5-18"},
                          {0, 2, 0x20019, "S-1-5-32-545"},
                          {1, 0, 0x2, "S-1-5-21-1004336348-1177238915-682003330-1001"}},
                         {{2, 0x42, 0x10000, "S-1-1-0"}}));
  AddClasses(hive);
  for (uint32_t i = 0; i < kPrograms.size(); ++i) AddProgram(hive, kPrograms[i], i);
  AddSystemSettings(hive);
  hive.Key("Policies").Security(1);
  hive.Key("Policies\\Explorer").Security(1);
  hive.Key("Brightmoor\\Ledger").FreeBehind(96).Slack(64);
  return hive.Build();
}

namespace {

// The files that another program of the maker opened are forgotten.
Bytes ForgettingLog(BuiltHive hive) {
  const Bytes before = hive.bytes;
  const std::string recent = "Alderwick\\Frame Maker\\Recent Files";
  const uint32_t key = hive.PositionOf(recent);
  hive.Unlink(recent).Free(key);
  return NewLog(hive.bytes, {EntryBetween(before, hive.bytes, 2)});
}

BuiltHive DamagedHive() {
  BuiltHive hive = SoundSample();
  Damage(hive);
  return hive;
}

BuiltHive DirtyHive() {
  BuiltHive hive = DamagedHive();
  SetNumbers(hive.bytes, 2, 1);
  return hive;
}

}  // namespace

Bytes SampleLog() { return ForgettingLog(DamagedHive()); }
Bytes DirtyLog() { return ForgettingLog(DirtyHive()); }
Bytes DirtySample() { return DirtyHive().bytes; }
Bytes DamagedSample() { return DamagedHive().bytes; }

}  // namespace hivequarry::testing
