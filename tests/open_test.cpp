// Opening a hive: where in the file it begins, what of it is recognised, and what the user is told.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "app/opening_words.h"
#include "hive/hive_start.h"
#include "host/evidence.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

Bytes SmallHive() {
  HiveBuilder builder;
  builder.Key("A\\B").Sz("v", "text");
  return builder.Build().bytes;
}

struct OpenCase {
  const char* what;
  std::function<Bytes()> bytes;
  uint32_t base_offset;
  bool header_valid;
  bool root_valid;
};

TEST(OpenHive, FindsTheHiveInTheFile) {
  const Bytes hive = SmallHive();
  const auto embedded = [&hive](uint32_t before, uint8_t fill) {
    return [&hive, before, fill] { return Embedded(hive, before, 5000, fill); };
  };
  const std::vector<OpenCase> cases = {
      {"whole", [&] { return hive; }, 0, true, true},
      {"with garbage after it", embedded(0, 0x11), 0, true, true},
      {"at 512", embedded(512, 0), 512, true, true},
      {"at 4096", embedded(4096, 0), 4096, true, true},
      {"at an odd place", embedded(12345, 0), 12345, true, true},
      {"after many letters h", embedded(70000, 'h'), 70000, true, true},
      {"after more than a read block", embedded(200000, 0), 200000, true, true},
      {"base block wiped",
       [&] {
         Bytes bytes = hive;
         std::fill_n(bytes.begin(), 4096, uint8_t{0});
         return bytes;
       },
       0, true, true},
      {"without its base block", [&] { return Bytes(hive.begin() + 4096, hive.end()); }, 0, false,
       false},
      {"shorter than a block", [&] { return Bytes(hive.begin(), hive.begin() + 4000); }, 0, true,
       false},
      {"only the signature",
       [] {
         return Bytes{'r', 'e', 'g', 'f'};
       },
       0, true, false},
      {"nothing", [] { return Bytes{}; }, 0, false, false},
      {"text", [] { return Bytes(10000, 't'); }, 0, false, false}};
  for (const OpenCase& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes bytes = c.bytes();
    OpenedImage image(bytes);
    ASSERT_TRUE(image.opened());
    const HiveImage& opened = image.hive();
    EXPECT_EQ(opened.base_offset, c.base_offset);
    EXPECT_EQ(opened.header_valid, c.header_valid);
    EXPECT_EQ(opened.root_valid, c.root_valid);
    EXPECT_EQ(opened.length, bytes.size() - c.base_offset);
    EXPECT_EQ(opened.data_start, c.header_valid ? 4096u : 0u);
    EXPECT_EQ(opened.lower_bound, c.root_valid ? 4128u : 0u);
    EXPECT_EQ(opened.last_valid, bytes.size() < 8 ? 0 : opened.length - 8);
    EXPECT_EQ(opened.held, opened.length);
  }
}

TEST(OpenHive, StartOfALaterPieceOfAHive) {
  // What is left begins inside a hive: the first block says how far from its start it was.
  HiveBuilder builder;
  for (int i = 0; i < 6; ++i) builder.Key("K" + std::to_string(i)).NewBin().Binary("v", 2000);
  const BuiltHive hive = builder.Build();
  const Bytes zeros(3 * 4096);
  const Bytes piece = Joined({zeros, std::span(hive.bytes).subspan(4096)});
  OpenedImage image(piece);
  EXPECT_EQ(image.hive().base_offset, 2u * 4096) << "a base block's room before block 0";
}

TEST(OpenHive, Probe) {
  struct Case {
    const char* what;
    std::function<void(Bytes&)> damage;
    bool header;
    bool root;
  };
  constexpr uint32_t kRoot = 4128;
  const auto put = [](uint32_t at, std::string_view text) {
    return [at, text](Bytes& bytes) { std::copy(text.begin(), text.end(), bytes.begin() + at); };
  };
  const auto both = [](std::function<void(Bytes&)> a, std::function<void(Bytes&)> b) {
    return [a, b](Bytes& bytes) {
      a(bytes);
      b(bytes);
    };
  };
  const std::vector<Case> cases = {
      {"nothing", [](Bytes&) {}, false, false},
      {"regf", put(0, "regf"), true, false},
      {"three letters", put(0, "reXf"), true, false},
      {"two letters", put(0, "rXXf"), false, false},
      {"a root cell", put(kRoot, "\xA0\xFF\xFF\xFFnk\x2C"), true, true},
      {"five bytes of one", put(kRoot, "\xA8\xFF\xFF\xFF__\x2C_"), true, true},
      {"four bytes of one", put(kRoot, "\xA8\xFF\xFF\xFF____"), false, false},
      {"another key's flags", put(kRoot, "xxxxnk\xACx"), true, true},
      {"flags of no root", put(kRoot, "xxxxnk\x20x"), false, false},
      {"a prototype's name", put(kRoot + 80, "$$$PROTO.HIV"), true, true},
      {"ten letters of it", put(kRoot + 80, "$$$PROTO.Hxx"), true, true},
      {"nine letters of it", put(kRoot + 80, "$$$PROTO.xxx"), false, false},
      {"a created hive's name", put(kRoot + 80, "CMI-CreateHi"), true, true},
      {"eleven letters of it", put(kRoot + 80, "CMI-CreateHx"), true, true},
      {"ten letters of it", put(kRoot + 80, "CMI-CreatExx"), false, false},
      {"header and name", both(put(0, "regf"), put(kRoot + 80, "nothing")), true, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes bytes(8192);
    c.damage(bytes);
    const TempFile file(bytes);
    std::FILE* stream = std::fopen(file.name().c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    HiveProbe probe;
    ProbeHiveStart(stream, 0, probe);
    std::fclose(stream);
    EXPECT_EQ(probe.header_valid, c.header);
    EXPECT_EQ(probe.root_valid, c.root);
  }
}

TEST(OpenHive, RangeOfTheFile) {
  const Bytes hive = SmallHive();
  const Bytes bytes = Embedded(hive, 1000, 1000);
  const auto size = static_cast<uint32_t>(bytes.size());
  struct Case {
    const char* what;
    uint32_t start;
    uint32_t end;
    uint32_t base_offset;
    uint32_t length;
  };
  const Case cases[] = {{"the hive alone", 1000, size - 1000, 1000, size - 2000},
                        {"a part of it", 1000, 6000, 1000, 5000},
                        {"empty", 500, 500, 1000, size - 1000},
                        {"backwards", 500, 400, 1000, size - 1000},
                        {"longer than the file", 0, size + 1, 0, size},
                        {"up to the end", 2000, size, 2000, size - 2000}};
  const TempFile file(bytes);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TheHiveTable().start_offset = c.start;
    TheHiveTable().end_offset = c.end;
    const int slot = OpenHiveAndTell(file.name());
    ASSERT_GT(slot, 0);
    const HiveImage& opened = HiveOfSlot(slot);
    EXPECT_EQ(opened.base_offset, c.base_offset);
    EXPECT_EQ(opened.length, c.length);
    FreeHiveSlot(slot);
    EXPECT_EQ(TheHiveTable().end_offset, 0u) << "a range serves one opening";
  }
}

TEST(OpenHive, WhatTheUserSees) {
  const HostRecorder host;
  const Bytes hive = SmallHive();
  const OpenedImage image(hive);
  EXPECT_EQ(host.statuses, (Texts{"Loading File ... ", image.file().name()}));
  EXPECT_EQ(host.titles, Texts{image.file().name()});
  EXPECT_EQ(host.waiting, 0);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_TRUE(host.progress_ranges.empty()) << "only large files show a bar";
}

TEST(OpenHive, ProgressOfALargeFile) {
  const HostRecorder host;
  const OpenedImage image(Embedded(SmallHive(), 0, 28100000));
  EXPECT_EQ(host.progress_ranges.back(), 0u) << "the bar is taken away";
  ASSERT_GE(host.progress_positions.size(), 20u);
  for (const uint32_t position : host.progress_positions) EXPECT_LE(position, 100u);
}

TEST(OpenHive, DefaultRootByFileName) {
  const Bytes hive = SmallHive();
  for (const auto& [name, root] :
       std::vector<std::pair<std::string, std::string>>{{"SYSTEM", "HKEY_LOCAL_MACHINE"},
                                                        {"ntuser.dat", "HKEY_USERS"},
                                                        {"my", "HKEY_LOCAL_MACHINE"}}) {
    const OpenedImage image(hive, name);
    EXPECT_EQ(TheHiveTable().default_long_root, root) << name;
  }
}

void ExpectRefused(const std::string& name, const std::string& reason) {
  HostRecorder host;
  EXPECT_EQ(OpenHiveAndTell(name), -1);
  ASSERT_EQ(host.messages.size(), 1u);
  const std::string text = "Can not open " + name + "\r\n(" + reason + ")";
  EXPECT_EQ(host.messages[0], (ShownMessage{text, "Hivequarry", Icon::kInformation, Buttons::kOk}));
  EXPECT_EQ(host.waiting, 0);
  EXPECT_EQ(TheHiveTable().slots[1].state, SlotState::kFree);
}

TEST(OpenHive, RefusedFiles) {
  const TempFile file(std::string_view("x"));
  ExpectRefused(file.folder() + "/missing", "No such file or directory");
  ExpectRefused(file.folder(), "Is a directory");
  const std::string pipe = file.folder() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ExpectRefused(pipe, "Illegal seek");
  ASSERT_EQ(chmod(file.name().c_str(), 0), 0);
  const uid_t user = geteuid();
  constexpr uid_t kNobody = 65534;
  // Root reads everything, so the test lets go of that for a moment.
  if (user == 0) {
    ASSERT_EQ(seteuid(kNobody), 0);
  }
  ASSERT_EQ(access("/", R_OK), 0);
  HostRecorder host;
  EXPECT_EQ(OpenHiveAndTell(file.name()), -1);
  if (user == 0) {
    ASSERT_EQ(seteuid(user), 0);
  }
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Can not open " + file.name() + "\r\n(Permission denied)");
}

TEST(OpenHive, FileBeyondFourGigabytes) {
  const TempFile file(SmallHive());
  constexpr uint64_t kSize = 5ULL << 30;
  std::filesystem::resize_file(file.name(), kSize);  // sparse: takes no room
  HostRecorder host;
  EXPECT_EQ(OpenHiveAndTell(file.name()), -1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0],
            (ShownMessage{"Could Not Allocate Memory", "Hivequarry", Icon::kStop, Buttons::kOk}));
  // A part of it can be had.
  TheHiveTable().end_offset = static_cast<uint32_t>(SmallHive().size());
  const int slot = OpenHiveAndTell(file.name());
  ASSERT_EQ(slot, 1);
  EXPECT_TRUE(TheHiveTable().slots[1].root_valid);
  ResetHiveTable();
}

TEST(OpenHive, ItsFileIsNeverWritten) {
  const TempFile file(SmallHive());
  const std::string folder = file.folder();
  const std::string names[] = {file.name(),
                               folder + "/./../" + folder.substr(folder.rfind('/')) + "/hard",
                               folder + "/soft"};
  std::filesystem::create_hard_link(file.name(), folder + "/hard");
  std::filesystem::create_symlink(file.name(), folder + "/soft");
  HostRecorder host;
  ASSERT_EQ(OpenHiveAndTell(file.name()), 1);
  ASSERT_EQ(OpenHiveAndTell(names[1]), 2);
  FreeHiveSlot(2);
  for (const std::string& name : names) {
    for (const OutputMode mode : {OutputMode::kReplace, OutputMode::kAppend}) {
      OutputFile out;
      int error = 0;
      EXPECT_FALSE(OpenOutput(name, mode, out, error)) << name;
      EXPECT_EQ(error, EPERM);
    }
    EXPECT_EQ(ContentOf<Bytes>(name), SmallHive());
  }
  ResetHiveTable();
  OutputFile out;
  int error = 0;
  EXPECT_FALSE(IsEvidence(file.name()));
  EXPECT_FALSE(OpenOutput(file.name(), OutputMode::kReplace, out, error)) << "a hive all the same";
  std::filesystem::resize_file(file.name(), 3);
  EXPECT_TRUE(OpenOutput(file.name(), OutputMode::kReplace, out, error));
  CloseOutput(out, false);
}

TEST(OpenHive, FullTable) {
  const TempFile file(SmallHive());
  HostRecorder host;
  std::vector<int> slots;
  for (int i = 1; i < kSlotCount; ++i) slots.push_back(OpenHiveAndTell(file.name()));
  EXPECT_EQ(slots.front(), 1);
  EXPECT_EQ(slots.back(), 47);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(OpenHiveAndTell(file.name()), -1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0], (ShownMessage{"Too many files opened !", "Hivequarry",
                                            Icon::kExclamation, Buttons::kOk}));
  FreeHiveSlot(5);
  EXPECT_EQ(OpenHiveAndTell(file.name()), 5);
  ResetHiveTable();
}

TEST(OpenHive, StoppedWhileLoading) {
  const TempFile file(SmallHive());
  HostRecorder host;
  host.on_status = [](const char* text) {
    if (std::string_view(text) == "Loading File ... ") RequestStop();
  };
  ASSERT_TRUE(BeginOperation(kOperationLoad));
  EXPECT_EQ(OpenHiveAndTell(file.name()), -1);
  EndOperation();
  EXPECT_TRUE(host.messages.empty()) << "a stopped operation ends quietly";
  EXPECT_EQ(host.waiting, 0);
  EXPECT_EQ(TheHiveTable().slots[1].state, SlotState::kFree);
}

TEST(OpenHive, FileThatShrinksWhileItIsRead) {
  static std::string name;
  for (const uint32_t left : {0U, 4096U, 4200U}) {
    const TempFile file(SmallHive());
    name = file.name();
    static uint32_t rest;
    rest = left;
    HostRecorder host;
    host.on_status = [](const char* text) {
      if (std::string_view(text) == "Loading File ... ") std::filesystem::resize_file(name, rest);
    };
    ASSERT_EQ(OpenHiveAndTell(file.name()), 1);
    EXPECT_EQ(TheHiveTable().slots[1].length, left);
    KeyTree tree;
    EXPECT_LE(BuildImageTree(TheHiveTable().slots[1], {}, tree).keys, 1u);
    ResetHiveTable();
  }
}

TEST(ValidateHiveFile, TakesTheSignatureExactly) {
  BuiltHive built = HiveBuilder().Build();
  struct Case {
    const char* signature;
    uint32_t root;
    bool valid;
    uint32_t root_position;
  };
  const auto size = static_cast<uint32_t>(built.bytes.size());
  for (const Case& c : {Case{"regf", 0x20, true, 4128}, Case{"regf", 0x100, true, 4352},
                        Case{"regf", size, true, 4128}, Case{"regf", kNone, true, 4128},
                        Case{"regX", 0x20, false, 4128}}) {
    SCOPED_TRACE(c.signature);
    HostRecorder host;
    std::copy_n(c.signature, 4, built.bytes.begin());
    built.SetU32(0, field::kBaseRoot, c.root);
    OpenedImage image(built.bytes);
    HiveImage& hive = image.hive();
    ASSERT_TRUE(BeginOperation(kOperationLoad));
    EXPECT_EQ(ValidateAndTell(hive), c.valid);
    EXPECT_EQ(StopRequested(), !c.valid);
    EndOperation();
    EXPECT_EQ(hive.root_position, c.root_position);
    ASSERT_EQ(host.messages.size(), c.valid ? 0u : 1u);
    if (!c.valid) {
      EXPECT_EQ(host.messages[0],
                (ShownMessage{"Invalid File format !", "Error", Icon::kExclamation, Buttons::kOk}));
    }
  }
}

}  // namespace
}  // namespace hivequarry::testing
