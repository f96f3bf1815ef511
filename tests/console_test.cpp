// Runs the console program.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/support/corpus.h"
#include "tests/support/deadline.h"
#include "tests/support/hive_builder.h"
#include "tests/support/log_writer.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

std::string AsText(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

Bytes SmallHive() {
  HiveBuilder hive;
  hive.Key("A\u00E4").Sz("\u00E9", "text");
  return hive.Build().bytes;
}

class ConsoleTest : public ::testing::Test {
 protected:
  // Runs the program in the file's folder; its exit status, with what it printed in `printed`.
  int Run(const std::string& arguments, const std::string& before = std::string(),
          const std::string& options = "--quiet") {
    const int status = Shell(before + "$CLI " + options + " " + arguments + " >printed 2>errors");
    printed = ContentOf(Sibling("printed"));
    return status;
  }
  // Runs a shell's line in that folder, in which $CLI is the program; its exit status.
  int Shell(const std::string& line) const {
    const std::string program = "export ASAN_OPTIONS=exitcode=99; CLI=" HIVEQUARRY_CLI "; ";
    const int status = std::system(("cd " + file_.folder() + " && " + program + line).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string Sibling(const char* name) const {
    return std::filesystem::path(file_.name()).replace_filename(name).string();
  }

  std::string printed;
  Bytes hive_ = SmallHive();
  TempFile file_{Joined({hive_, hive_}), "h\u00E9"};
};

TEST_F(ConsoleTest, ReportListsConvertToTheSameList) {
  for (const std::string command : {"info h\u00E9", "values h\u00E9", "bins h\u00E9"}) {
    ASSERT_EQ(Run("--format csv " + command), 0);
    const std::string direct = printed;
    ASSERT_EQ(Run("--format rpt --force -o r.rpt " + command), 0);
    EXPECT_EQ(printed, "");
    ASSERT_EQ(Run("convert r.rpt --format csv"), 0);
    EXPECT_EQ(printed, direct);
  }
  EXPECT_NE(ContentOf(Sibling("r.rpt")).find("\r\nU6=Block list\r\n"), std::string::npos);
  std::ofstream(Sibling("d.rpt")) << "[RPLfile]\r\nU2=1\r\nU4=51\r\nH0=Key\r\n\r\n[ROWS]\r\n"
                                     "01a\r\n9900\r\nb\r\n9900\r\n01c\r\n9900\r\n";
  EXPECT_EQ(Run("convert d.rpt --format csv"), 1);
  EXPECT_EQ(printed, "Key\r\na\r\n");
  EXPECT_NE(ContentOf(Sibling("errors")).find("Cut short: 2 row(s) left out"), std::string::npos);
  ASSERT_EQ(Run("--format rpt --force -o r.rpt info h\u00E9"), 0);
  ASSERT_EQ(Run("convert r.rpt --format jsonl"), 0);
  EXPECT_TRUE(printed.starts_with("{\"file\":\"h\u00E9\",\"length\":")) << printed;
  EXPECT_EQ(Run("convert h\u00E9"), 1);
  EXPECT_EQ(Run("convert none.rpt"), 3);
  EXPECT_EQ(Run("-o h\u00E9 info h\u00E9"), 1);
  EXPECT_TRUE(ContentOf(Sibling("h\u00E9")).starts_with(AsText(hive_))) << "written over";
  EXPECT_EQ(Run("info r.rpt"), 1) << "nothing in it says that it is a hive";
}

TEST_F(ConsoleTest, SearchesForExpressionsAndSizes) {
  EXPECT_EQ(Run("--format csv search --regex h\u00E9 'T.XT$'"), 0);
  EXPECT_EQ(std::ranges::count(printed, '\n'), 2) << printed;
  EXPECT_EQ(Run("--format csv search --least 1 h\u00E9 ''"), 0);
  EXPECT_EQ(std::ranges::count(printed, '\n'), 2) << printed;
  EXPECT_EQ(Run("--format csv search --written-to 1999-01-01 h\u00E9 ''"), 0);
  EXPECT_EQ(std::ranges::count(printed, '\n'), 1) << printed;
  EXPECT_EQ(Run("search --regex h\u00E9 'a(b'", "", ""), 2);
  EXPECT_NE(ContentOf(Sibling("errors")).find("A ( has no )"), std::string::npos);
  EXPECT_EQ(Run("search h\u00E9 ''"), 2);
  EXPECT_EQ(Run("search --written-from never h\u00E9 x"), 2);
}

// A status of its own: 0 equal, 1 differences, 2 wrong usage, 3 unreadable, 4 equal but doubtful.
TEST_F(ConsoleTest, CompareTellsOfDifferences) {
  const auto write = [&](const char* name, const std::string& bytes) {
    std::ofstream(Sibling(name), std::ios::binary) << bytes;
  };
  write("a", AsText(hive_));
  HiveBuilder changed;
  changed.Key("A\u00E4").Sz("\u00E9", "text").Time(kDefaultTime + 1);
  write("later", AsText(changed.Build().bytes));
  changed.Key("New").Sz("x", "1");
  write("b", AsText(changed.Build().bytes));
  std::string dirty = AsText(hive_);
  dirty[4] = static_cast<char>(dirty[4] + 1);
  write("dirty", dirty);
  write("s.reg", "REGEDIT4\n[HKEY_CURRENT_USER\\X\\A\xE4]\n\"\xE9\"=\"text\"\n");
  const std::pair<const char*, int> cases[] = {
      {"a a", 0},
      {"a later", 0},
      {"a later --no-ignore-time", 1},
      {"a b", 1},
      {"a b --ignore n*", 0},
      {"a b --ignore a\\\\", 2},
      {"a", 2},
      {"a none", 3},
      {"a later --key A\u00E4 --key-b New", 3},
      {"a dirty --logs none", 4},
      {"a s.reg --key-b HKEY_CURRENT_USER\\\\X", 0},
      {"s.reg b --key HKEY_CURRENT_USER\\\\x --key-b \\\\", 1}};
  for (const auto& [arguments, status] : cases) {
    EXPECT_EQ(Run(std::string("compare ") + arguments), status)
        << arguments << ContentOf(Sibling("errors"));
  }
  EXPECT_EQ(Run("compare a b --ignore new", "", ""), 0);
  EXPECT_NE(ContentOf(Sibling("errors")).find("1 rows left out by --ignore"), std::string::npos);
  EXPECT_EQ(Run("compare b dirty -o list.txt --logs none"), 1);
  EXPECT_NE(ContentOf(Sibling("list.txt")).find("B: dirty, and no logs were applied"),
            std::string::npos);
}

// A status of its own: 0 sound, 1 faults, 4 dirty but sound, 3 unreadable.
TEST_F(ConsoleTest, CheckTellsOfTheStructure) {
  const auto write = [&](const Bytes& bytes) {
    std::ofstream(Sibling("c"), std::ios::binary) << AsText(bytes);
  };
  BuiltHive built = HiveBuilder().Build();
  write(built.bytes);
  EXPECT_EQ(Run("check c"), 0);
  EXPECT_EQ(printed, "");
  EXPECT_NE(ContentOf(Sibling("errors")).find("Structure, the file as it is: sound; 1 keys"),
            std::string::npos);
  SetNumbers(built.bytes, 3, 2);
  write(built.bytes);
  EXPECT_EQ(Run("check c --level note --format csv"), 4);
  EXPECT_NE(printed.find("\r\nH3,N,0x00000000,,"), std::string::npos) << printed;
  built.bytes[12] ^= 1;
  write(built.bytes);
  EXPECT_EQ(Run("check c --format jsonl"), 1);
  EXPECT_TRUE(printed.starts_with("{\"Code\":\"H2\",\"Level\":\"F\",")) << printed;
  EXPECT_EQ(Run("check none"), 3);
  EXPECT_EQ(Run("check c --level high"), 2);
  EXPECT_EQ(Run("info --check --format jsonl c"), 0);
  EXPECT_NE(printed.find("\"structure\":\"1 fault\""), std::string::npos) << printed;
}

// The options about logs, exit statuses, and that no log is written over.
TEST_F(ConsoleTest, LogsOfADirtyHive) {
  const auto write = [&](const char* name, const Bytes& bytes) {
    std::ofstream(Sibling(name), std::ios::binary) << AsText(bytes);
  };
  Bytes before = hive_;
  SetNumbers(before, 10, 9);
  HiveBuilder builder;
  builder.Key("A\u00E4").Sz("\u00E9", "text");
  builder.Key("Comes");
  Bytes after = builder.Build().bytes;
  SetNumbers(after, 10, 9);
  const Bytes log = NewLog(before, {EntryBetween(before, after, 10)});
  write("dirty", before);
  write("log", log);
  EXPECT_EQ(Run("info dirty"), 0);
  EXPECT_NE(printed.find("dirty              : 1"), std::string::npos);
  EXPECT_EQ(Run("--strict info dirty"), 4);
  EXPECT_EQ(Run("--strict --logs none info dirty"), 0);
  EXPECT_EQ(Run("--strict --logs log --format csv tree dirty Comes"), 0);
  EXPECT_NE(printed.find("Comes"), std::string::npos);
  for (const char* name : {"in,1", "in,2"}) write(name, log);
  EXPECT_EQ(Run("--strict --logs in,1,in,2 --format csv tree dirty Comes"), 0);
  EXPECT_EQ(Run("--logs nosuch info dirty"), 3);
  EXPECT_EQ(Run("--logs log --force -o log info dirty"), 1);
  EXPECT_EQ(Shell("$CLI --logs log info dirty >>log 2>errors"), 1);
  write("dirty.log1", log);
  EXPECT_EQ(Run("--strict --format csv tree dirty Comes"), 0);
  EXPECT_NE(ContentOf(Sibling("errors")).find("shown as its logs make it"), std::string::npos);
  EXPECT_EQ(Run("--until 9 tree dirty Comes"), 1);
  EXPECT_EQ(Run("tree log"), 1);
  EXPECT_NE(ContentOf(Sibling("errors")).find("log is a transaction log of"), std::string::npos);
  EXPECT_EQ(Run("--format csv logs log"), 0);
  EXPECT_NE(printed.find("log,10,"), std::string::npos) << printed;
  EXPECT_EQ(ContentOf(Sibling("log")), AsText(log));
}

// Each row has its file, one bad file does not stop the rest, and the order is that of the files.
TEST_F(ConsoleTest, SeveralFilesAtOnce) {
  ASSERT_EQ(Shell("mkdir -p d/e && head -c 8192 h* > d/b,1 && cp d/b,1 d/e/a && head -c 9000 h* | "
                  "tail -c 807 > d/none && : > d/empty"),
            0);
  EXPECT_EQ(Run("--format csv tree A\u00E4 -r d"), 0);
  const std::string titles =
      "File,Key,Key Offset,Parent Offset,Key Date,Status,Marks,Connected\r\n";
  EXPECT_TRUE(printed.starts_with(titles + "\"d/b,1\",")) << printed;
  EXPECT_NE(printed.find("\r\nd/e/a,"), std::string::npos) << printed;
  EXPECT_EQ(std::ranges::count(printed, '\n'), 3) << printed;
  for (const char* jobs : {"1", "2", "9"}) {
    const std::string command = "--format csv tree A\u00E4 -r d -j ";
    const std::string before = printed;
    EXPECT_EQ(Run(command + jobs), 0);
    EXPECT_EQ(printed, before);
  }
  EXPECT_EQ(Run("--format jsonl values --files d/e/a nosuch d/b,1 d/e/a", "", ""), 3);
  EXPECT_TRUE(printed.starts_with("{\"File\":\"d/e/a\",\"Key\":")) << printed;
  EXPECT_EQ(std::ranges::count(printed, '\n'), 2) << printed;
  const std::string errors = ContentOf(Sibling("errors"));
  EXPECT_NE(errors.find("Can not open nosuch"), std::string::npos) << errors;
  EXPECT_NE(errors.find("3 files: 2 done, 1 failed"), std::string::npos) << errors;
  // Of a list that was made on Windows.
  EXPECT_EQ(Shell("printf 'd/e/a\\r\\n\\r\\nd/b,1\\n' | $CLI --quiet info --files - 2>&1"), 0);
  // What could not be looked through is told, whatever the others give.
  EXPECT_EQ(Run("--format csv tree A\u00E4 -r d -r nosuch", "", ""), 1);
  EXPECT_NE(ContentOf(Sibling("errors")).find("Can not read nosuch (No such file"),
            std::string::npos);
  EXPECT_EQ(Run("timeline -r d -r nosuch", "", ""), 1);
  EXPECT_NE(ContentOf(Sibling("errors")).find("Can not read nosuch (No such file"),
            std::string::npos);
  EXPECT_EQ(Run("tree -r d -o list"), 0);
  const std::string list = ContentOf(Sibling("list"));
  EXPECT_NE(list.find("\r\nFile         : d/e/a\r\nKey          : "), std::string::npos) << list;
  EXPECT_EQ(Run("tree -r d -o d/b,1 --force"), 1);
  EXPECT_EQ(Run("--format csv report machine -r d"), 0);
  EXPECT_TRUE(printed.starts_with("Fact,Text,Note,File,"));
  for (const char* wrong : {"export -r d", "tree -r", "tree -r d -j 0", "--format rpt tree -r d"}) {
    EXPECT_EQ(Run(wrong), 2) << wrong;
  }
}

// A log that lost its name belongs to the hive that its content names, whatever works on a folder.
TEST_F(ConsoleTest, LogsOfAFolderByTheirContent) {
  const auto bytes_with = [](const char* key) {
    HiveBuilder builder;
    builder.FileName("\\Config\\HIVE");
    builder.Key(key);
    Bytes bytes = builder.Build().bytes;
    SetNumbers(bytes, 10, 9);
    return bytes;
  };
  const Bytes before = bytes_with("Goes");
  std::filesystem::create_directories(Sibling("d"));
  std::ofstream(Sibling("d/hive"), std::ios::binary) << AsText(before);
  std::ofstream(Sibling("d/renamed"), std::ios::binary)
      << AsText(NewLog(before, {EntryBetween(before, bytes_with("Comes"), 10)}));
  const std::string told = "Logs of d/hive by their content: d/renamed";
  const struct {
    const char* arguments;
    int status;  // of "--strict"
    bool paired;
    const char* output;  // in what is printed or said
  } cases[] = {
      {"tree -r d", 0, true, "Comes"},
      {"timeline -r d", 0, true, "\\Comes,"},
      {"timeline --logs none -r d", 0, false, "\\Goes,"},
      {"report machine -r d", 0, true, ""},
      {"report machine --files d/hive", 4, false, ""},
      {"check -r d", 4, false, "before its logs"},
      {"machine d -o out", 0, true, ""},
      {"machine d -o none --logs none", 0, false, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    EXPECT_EQ(Run(std::string("--strict ") + c.arguments, "", ""), c.status);
    const std::string errors = ContentOf(Sibling("errors"));
    EXPECT_EQ(errors.find(told) != std::string::npos, c.paired) << errors;
    EXPECT_NE((printed + errors).find(c.output), std::string::npos) << printed << errors;
  }
  EXPECT_NE(ContentOf(Sibling("out/timeline.jsonl")).find("Comes"), std::string::npos);
  EXPECT_EQ(ContentOf(Sibling("none/timeline.jsonl")).find("Comes"), std::string::npos);
}

// Repaired hives are read by programs of other makers without a warning, and what one of them reads
// is what is in them. reglookup warns of data that are no text of their type, and of flags of keys
// that it does not know: the hive has them from its source.
TEST_F(ConsoleTest, OtherProgramsReadRepairedHives) {
  if (!HasCorpus()) GTEST_SKIP() << "real hives are not tested: none in " << CorpusFolder();
  if (Shell("command -v hivexml hivexregedit reglookup /usr/sbin/reged >/dev/null") != 0) {
    GTEST_SKIP() << "there are no hivexml, hivexregedit, reglookup and reged (packages "
                    "libhivex-bin, libwin-hivex-perl, reglookup, chntpw)";
  }
  constexpr const char* kHives[] = {"BCD",
                                    "DeletedTreeHive",
                                    "NTUSER.DAT",
                                    "SAM",
                                    "SYSTEM_holes",
                                    "TruncatedHive",
                                    "UnicodeHive",
                                    "UsrClass.dat",
                                    "UsrClass_deleted_bags.dat",
                                    "win7_ntuser.dat"};
  constexpr const char* kSteps[] = {
      "hivexml new >xml 2>said && test ! -s said",
      ("LC_ALL=C.UTF-8 reglookup -H new 2>said >list && "
       "! grep -vE 'could not be interpreted|Unknown key flags|Error occurred while converting' "
       "said"),
      // reged knows no names but those of bytes.
      ("/usr/sbin/reged -x new HKEY_LOCAL_MACHINE\\\\X \\\\ reged.reg >said 2>&1 && "
       "! grep -vE \"^(reged version|Exporting|.* not found!)\" said && { grep -q 'not found!' "
       "said "
       "|| "
       "test $(grep -o '<node' xml | wc -l) = $(grep -c '^\\[HKEY' reged.reg); }"),
      ("PERL_UNICODE=S hivexregedit --export --prefix 'HKEY_LOCAL_MACHINE\\X' new '\\' >utf8 "
       "2>said && test ! -s said"),
      "{ printf '\\377\\376'; iconv -f UTF-8 -t UTF-16LE utf8; } >all.reg",
      "$CLI --quiet compare new all.reg --key-b 'HKEY_LOCAL_MACHINE\\X' >rows 2>said"};
  std::vector<std::string> choices = {"", "--freed --recovered"};
  // With sanitizers the two together have to do.
  if (kSizeShare == 1) choices.insert(choices.end(), {"--freed", "--recovered"});
  for (const std::string hive : kHives) {
    for (const std::string& options : choices) {
      SCOPED_TRACE(hive + " " + options);
      const std::string source = "'" + CorpusFile(hive) + "'";
      const int made = Run("repair " + options + " " + source + " -o new");
      EXPECT_TRUE(made == 0 || made == 4) << ContentOf(Sibling("errors"));
      for (const char* step : kSteps) {
        EXPECT_EQ(Shell(step), 0) << step << "\n" << ContentOf(Sibling("said")).substr(0, 500);
      }
      std::filesystem::remove(Sibling("new"));
    }
  }
}

// True when each element that begins in the text ends in it, in order.
bool IsWellFormed(const std::string& html) {
  std::vector<std::string> open;
  for (size_t at = 0; (at = html.find('<', at)) != std::string::npos;) {
    const size_t end = html.find_first_of(" >\n", at);
    const std::string name = html.substr(at + 1, end - at - 1);
    at = html.find('>', at) + 1;
    if (name == "!DOCTYPE" || name == "meta" || name == "input") continue;
    if (name == "style" || name == "script") {
      at = html.find("</" + name, at) + name.size() + 3;  // their text is no markup
    } else if (!name.starts_with('/')) {
      open.push_back(name);
    } else {
      if (open.empty() || name != "/" + open.back()) return false;
      open.pop_back();
    }
  }
  return open.empty();
}

class MachineFolderTest : public ConsoleTest {
 protected:
  MachineFolderTest() {
    HiveBuilder user;
    user.FileName("\\??\\C:\\Users\\anna\\ntuser.dat");
    user.Key("Software\\Microsoft\\Windows\\CurrentVersion\\Run")
        .Sz("One", "C:\\one.exe")
        .Sz("Three", "\"c:\\Tools\\three.exe\" -x");
    user.Key("Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\Shell\\MuiCache")
        .Sz("C:\\Tools\\Three.EXE.FriendlyAppName", "Three");
    user.Key("Software\\Microsoft\\Windows\\CurrentVersion\\Run")
        .Sz("<script>alert(1)</script>", "C:\\\"two\".exe & more");
    user.Key("Control Panel\\Desktop");
    user.Key("Environment");
    std::filesystem::create_directories(Sibling("m/sub"));
    Write("m/sub/profile", user.Build().bytes);
    Bytes before = hive_;
    SetNumbers(before, 10, 9);
    Write("m/dirty", before);
    Write("m/dirty.LOG1", NewLog(before, {EntryBetween(before, before, 10)}));
    Bytes cut = hive_;
    cut.resize(4200);
    Write("m/cut", cut);
    Write("m/none", Bytes(5000, 7));
  }
  void Write(const char* name, const Bytes& bytes) const {
    std::ofstream(Sibling(name), std::ios::binary) << AsText(bytes);
  }
};

TEST_F(MachineFolderTest, WritesListsAndAReport) {
  EXPECT_EQ(Run("machine m"), 2);
  EXPECT_EQ(Run("machine m -o m/out"), 1);
  EXPECT_FALSE(std::filesystem::exists(Sibling("m/out"))) << "written into the evidence";
  ASSERT_EQ(Run("machine m -o out"), 0) << ContentOf(Sibling("errors"));
  EXPECT_EQ(Run("machine m -o out"), 1) << "written over";
  ASSERT_EQ(Run("machine m -o out2"), 0);
  EXPECT_EQ(Shell("diff -r out out2 && cp -r m copy && $CLI --quiet machine copy -o out3 && "
                  "diff -r out out3"),
            0)
      << "not the same bytes for the same files";
  const std::string files = ContentOf(Sibling("out/files.jsonl"));
  EXPECT_EQ(std::ranges::count(files, '\n'), 4) << files;
  EXPECT_NE(files.find("{\"File\":\"dirty.LOG1\",\"Kind\":\"log\""), std::string::npos) << files;
  EXPECT_NE(files.find("{\"File\":\"sub/profile\",\"Kind\":\"NTUSER\""), std::string::npos);
  const std::string autostart = ContentOf(Sibling("out/autostart.jsonl"));
  EXPECT_TRUE(autostart.starts_with("{\"File\":\"sub/profile\",")) << autostart;
  EXPECT_EQ(std::ranges::count(autostart, '\n'), 3);
  const std::string joined = ContentOf(Sibling("out/joined.jsonl"));
  EXPECT_EQ(std::ranges::count(joined, '\n'), 2) << joined;
  for (const char* evidence : {"mui-cache", "autostart"}) {
    const std::string start =
        "{\"What\":\"program\",\"Name\":\"C:\\\\TOOLS\\\\THREE.EXE\",\"Evidence\":\"";
    EXPECT_NE(joined.find(start + evidence + "\",\"File\":\"sub/profile\",\"Offset\":\"0x"),
              std::string::npos)
        << joined;
  }
  const std::string manifest = ContentOf(Sibling("out/manifest.json"));
  for (const char* each : {"\"file\": \"sub/profile\", \"size\": ", "\"file\": \"report.html\""}) {
    EXPECT_NE(manifest.find(each), std::string::npos) << manifest;
  }
  EXPECT_EQ(Shell("cd out && sed -n 's/.*\"file\": \"\\(.*\\)\", \"size\".*\"sha256\": "
                  "\"\\(.*\\)\".*/\\2  \\1/p' manifest.json | grep -F . | grep -E 'json|html' | "
                  "sha256sum -c --quiet"),
            0);
  const std::string html = ContentOf(Sibling("out/report.html"));
  EXPECT_TRUE(IsWellFormed(html));
  EXPECT_EQ(html.find("<script>alert"), std::string::npos);
  EXPECT_NE(html.find("<td>&lt;script&gt;alert(1)&lt;/script&gt;</td>"), std::string::npos);
  EXPECT_NE(html.find("content=\"default-src 'none';"), std::string::npos);
  for (const char* loading : {" src=", "@import", "url(", "<link"}) {
    EXPECT_EQ(html.find(loading), std::string::npos) << loading;
  }
  EXPECT_EQ(Run("--format csv machine m -o csv"), 0);
  EXPECT_TRUE(ContentOf(Sibling("csv/autostart.csv")).starts_with("File,Place,Entry,Command"));
}

TEST_F(MachineFolderTest, ABrowserFiltersTheReport) {
  if (Shell("command -v chromium >/dev/null") != 0) GTEST_SKIP() << "there is no browser";
  ASSERT_EQ(Run("machine m -o out"), 0);
  ASSERT_EQ(Shell("timeout 60 chromium --headless --no-sandbox --disable-gpu "
                  "--user-data-dir=profile --dump-dom \"file://$PWD/out/report.html#q=two\" "
                  ">dom 2>/dev/null"),
            0);
  const std::string dom = ContentOf(Sibling("dom"));
  EXPECT_NE(dom.find("1 of 3 rows"), std::string::npos);
  EXPECT_NE(dom.find("<tr hidden=\"\"><td>sub/profile</td><td>Run</td><td>One</td>"),
            std::string::npos);
}

TEST_F(ConsoleTest, WordsOfKeys) {
  HiveBuilder builder("SYSTEM");
  builder.Key("Both").Access(3).Key("After").Access(2);
  builder.Key("Link").Flags(0x30).Value("SymbolicLinkValue", 6, Utf16("\\Registry\\There"));
  builder.Key("NoLink").Flags(0x1020).Value("SymbolicLinkValue", 6, Utf16("no"));
  std::ofstream(Sibling("words"), std::ios::binary) << AsText(builder.Build().bytes);
  ASSERT_EQ(Run("--format jsonl tree words"), 0);
  EXPECT_NE(printed.find("\"LinkTarget\":\"\\\\Registry\\\\There\""), std::string::npos) << printed;
  EXPECT_EQ(printed.find("\"LinkTarget\":\"no\""), std::string::npos);
  EXPECT_NE(printed.find("\"Access\":3"), std::string::npos);
  ASSERT_EQ(Run("--format jsonl tree --details words Both"), 0);
  EXPECT_EQ(printed.find("\"Access\":3"), printed.rfind("\"Access\":3")) << printed;
  ASSERT_EQ(Run("--format csv tree --details words Link"), 0);
  EXPECT_NE(printed.find(",0,\\Registry\\There\r\n"), std::string::npos) << printed;
  for (const char* command : {"tree --access 2 words", "dates --access 2 words"}) {
    ASSERT_EQ(Run("--format jsonl " + std::string(command)), 0);
    EXPECT_EQ(std::ranges::count(printed, '\n'), 1) << printed;
    EXPECT_NE(printed.find("\\\\After"), std::string::npos) << printed;
    EXPECT_NE(printed.find("\"Access\":2"), std::string::npos) << printed;
  }
  ASSERT_EQ(Run("detail words Link"), 0);
  EXPECT_NE(printed.find("\\Registry\\There"), std::string::npos);
}

TEST_F(ConsoleTest, HivesOneOverTheOther) {
  HiveBuilder delta("SOFTWARE");
  delta.Layered().Key("Gone").Layer(1);
  delta.Key("Both").Sz("v", "delta").Tombstone("old");
  HiveBuilder middle("SOFTWARE");
  middle.Layered().Key("Both").Sz("mid", "middle");
  HiveBuilder base("SOFTWARE");
  base.Key("Gone").Sz("v", "base");
  base.Key("Both").Sz("old", "base").Key("Below").Sz("text", "needle");
  const BuiltHive built = base.Build();
  const auto put = [this](const char* name, const Bytes& bytes) {
    std::ofstream(Sibling(name), std::ios::binary) << AsText(bytes);
  };
  put("delta", delta.Build().bytes);
  put("middle", middle.Build().bytes);
  put("base", built.bytes);
  const std::string stack = " --base middle --base base";
  ASSERT_EQ(Run("--format csv tree delta", "", ""), 0);
  EXPECT_NE(ContentOf(Sibling("errors")).find("Differencing hive: it holds only"),
            std::string::npos);
  ASSERT_EQ(Run("--format csv tree delta" + stack), 0);
  EXPECT_EQ(printed.find("Gone"), std::string::npos);
  EXPECT_NE(printed.find("SOFTWARE\\Both\\Below"), std::string::npos) << printed;
  EXPECT_NE(printed.find(",2 (base)\r\n"), std::string::npos) << printed;
  EXPECT_NE(printed.find(",\"0 (delta), one with 1, 2\"\r\n"), std::string::npos) << printed;
  ASSERT_EQ(Run("--format jsonl values delta Both" + stack), 0);
  EXPECT_EQ(std::ranges::count(printed, '\n'), 2) << printed;
  EXPECT_NE(printed.find("\"FromLayer\":1,\"FromFile\":\"middle\""), std::string::npos) << printed;
  ASSERT_EQ(Run("--format jsonl --hidden values delta Both" + stack), 0);
  EXPECT_NE(printed.find("\"Hidden\":\"hidden by the tombstone of layer 0\""), std::string::npos);
  ASSERT_EQ(Run("--format csv search delta needle" + stack), 0);
  EXPECT_NE(printed.find(",2 (base)"), std::string::npos) << printed;
  ASSERT_EQ(Run("--format jsonl dates delta" + stack), 0);
  EXPECT_NE(printed.find("\"From Layer\":\"2 (base)\""), std::string::npos) << printed;
  const std::string below = std::to_string(built.PositionOf("Both\\Below"));
  for (const char* raw : {"", " --raw"}) {
    ASSERT_EQ(Run("detail delta @2:" + below + stack + raw), 0);
    EXPECT_NE(printed.find("Below"), std::string::npos) << printed;
  }
  ASSERT_EQ(Run("export delta" + stack), 0);
  EXPECT_NE(printed.find("\\Both]\r\n\"v\"=\"delta\"\r\n\"mid\"=\"middle\"\r\n"),
            std::string::npos);
  EXPECT_EQ(printed.find("tombstone"), std::string::npos);
  EXPECT_EQ(Run("export --tombstones delete delta"), 0);
  EXPECT_NE(printed.find("\\Gone]\r\n"), std::string::npos);
  EXPECT_EQ(Run("tree delta --base none"), 3);
  for (const char* wrong : {"freed keys delta --base base", "tree --removed delta --base base",
                            "tree --hidden delta", "info delta --base base"}) {
    EXPECT_EQ(Run(wrong), 2) << wrong;
  }
  EXPECT_EQ(Run("tree delta --force -o base --base base"), 1);
}

TEST_F(ConsoleTest, SplitWritesAPiecePerHive) {
  std::filesystem::create_directory(Sibling("pieces"));
  ASSERT_EQ(Run("split -o pieces --format jsonl h\u00E9"), 0);
  for (const char* name : {"pieces/h\u00E9.sp_01", "pieces/h\u00E9.sp_02"}) {
    EXPECT_EQ(ContentOf(Sibling(name)), AsText(hive_));
  }
  EXPECT_NE(printed.find("sp_02\"}\n"), printed.npos) << printed;
  EXPECT_EQ(Run("split -o none h\u00E9"), 1);
  EXPECT_EQ(Run("split -o pieces h\u00E9", "trap '' XFSZ; ulimit -f 4; "), 1);
  EXPECT_NE(ContentOf(Sibling("errors")), "")
      << "a piece cut short by a full disk is not kept quiet";
  EXPECT_FALSE(std::filesystem::exists(Sibling("pieces/h\u00E9.sp1_01"))) << "nor kept";
  EXPECT_FALSE(std::filesystem::exists(Sibling("pieces/h\u00E9.sp1_01.tmp~1")));
  EXPECT_EQ(Run("split none"), 3);
}

TEST_F(ConsoleTest, ExportWritesARegistryScript) {
  const std::string script =
      "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\X\\A\xE4]\r\n\"\xE9\"=\"text\"\r\n\r\n";
  EXPECT_EQ(Run("export --root 'HKCU\\X' -o out.reg h\u00E9 A\u00E4"), 0);
  EXPECT_EQ(ContentOf(Sibling("out.reg")), script);
  EXPECT_EQ(Run("export --root 'HKCU\\X' h\u00E9 A\u00E4"), 0);
  EXPECT_EQ(printed, script);
  EXPECT_EQ(Run("export --root '-HKCU' -o none.reg h\u00E9"), 1);
  EXPECT_FALSE(std::filesystem::exists(Sibling("none.reg")));
}

TEST_F(ConsoleTest, AScriptOfAHiveThatDoesNotSayWhereItBelongsNeedsARoot) {
  HiveBuilder profile("CMI-CreateHive{1}");
  profile.FileName("\\??\\C:\\Users\\a\\ntuser.dat");
  profile.Key("A");
  HiveBuilder hostile("HKEY_LOCAL_MACHINE\\SOFTWARE\\Run");
  hostile.Key("A");
  const std::pair<HiveBuilder*, const char*> hives[] = {{&profile, "HKEY_CURRENT_USER is"},
                                                        {&hostile, "HKEY_LOCAL_MACHINE"}};
  for (const auto& [hive, said] : hives) {
    const Bytes bytes = hive->Build().bytes;
    std::ofstream(Sibling("profile"), std::ios::binary) << AsText(bytes);
    EXPECT_EQ(Run("export profile -o none.reg"), 1);
    EXPECT_FALSE(std::filesystem::exists(Sibling("none.reg")));
    const std::string errors = ContentOf(Sibling("errors"));
    EXPECT_NE(errors.find(said), errors.npos) << errors;
    EXPECT_NE(errors.find("--root"), errors.npos) << errors;
    EXPECT_EQ(Run("export --root 'HKU\\S-1-5-21-1' profile"), 0);
    EXPECT_NE(printed.find("[HKEY_USERS\\S-1-5-21-1\\A]"), printed.npos) << printed;
  }
}

TEST_F(ConsoleTest, FindsKeysValuesAndRecords) {
  const std::pair<const char*, const char*> cases[] = {
      {"search hé TEX --in data", "ROOT\\Aä,é,text,REG_SZ,"},
      {"search hé Ä", "ROOT\\Aä,,,,"},
      {"search hé 41E4 --hex --details", "ROOT\\Aä,,,,"},
      {"search hé '0x41 e4' --hex", "ROOT\\Aä,,,,"},
      {"dates hé Aä --from 2000-01-01 --to 2030-01-01", "ROOT\\Aä,"},
      {"security records hé", "S-1-5-32-544,BUILTIN\\Administrators,"},
      {"security used hé Aä", ",1,"},
      {"security keys hé --owner S-1-5-32-544", "ROOT\\Aä,S-1-5-32-544,"},
      {"security keys hé --permissions read,set-value --kind allow", "ROOT\\Aä,"},
      {"security show hé Aä", "Owner : S-1-5-32-544\r\n"},
      {"report services hé ROOT", "ROOT\\Aä,"},
  };
  for (const auto& [command, found] : cases) {
    EXPECT_EQ(Run("--format csv " + std::string(command)), 0) << command;
    EXPECT_NE(printed.find(found), printed.npos) << command << "\n" << printed;
  }
  // An account that no entry names has no rights.
  ASSERT_EQ(Run("--format csv security keys hé --permissions read --ace S-1-5-21-1"), 0);
  EXPECT_EQ(printed.find("ROOT"), printed.npos) << printed;
  for (const char* wrong :
       {"search hé 123 --hex", "search hé zz --hex", "search hé '41 E' --hex",
        "search hé 41E400 --hex --dword", "search hé 00000401 --dword", "dates hé --from soon",
        "report hé", "security keys hé", "security keys hé --owner me",
        "security keys hé --owner S-1-5-18 --ace S-1-5-18",
        "security keys hé --record 1 --permissions read",
        "security keys hé --permissions read --ace S-1-5-18 --sid S-1-5-19",
        "security keys hé --ace S-1-5-18 --sid S-1-5-18"}) {
    EXPECT_EQ(Run(wrong), 2) << wrong;
  }
}

TEST_F(ConsoleTest, AReportWithNothingToBeginAtSaysSo) {
  for (const char* report : {"services", "uninstall", "count-keys", "classes", "prog-ids",
                             "open-with", "open-save-mru", "stream-mru"}) {
    EXPECT_EQ(Run("--format jsonl report " + std::string(report) + " hé"), 0) << report;
    EXPECT_EQ(printed, "") << report;
    EXPECT_NE(ContentOf(Sibling("errors")).find("No key here holds"), std::string::npos) << report;
  }
}

TEST_F(ConsoleTest, AllRootsShowsTheSecondHive) {
  ASSERT_EQ(Run("tree --format csv h\u00E9"), 0);
  const ptrdiff_t first = std::ranges::count(printed, '\n');
  ASSERT_EQ(Run("tree --format csv --all-roots h\u00E9"), 0);
  EXPECT_GT(std::ranges::count(printed, '\n'), first);
}

TEST_F(ConsoleTest, AFailedWriteKeepsTheOldFile) {
  ASSERT_EQ(Run("tree -o out h\u00E9"), 0);
  const std::string old = ContentOf(Sibling("out"));
  EXPECT_EQ(Run("values --force -o out h\u00E9", "trap '' XFSZ; ulimit -f 0; "), 1);
  EXPECT_EQ(ContentOf(Sibling("out")), old);
  EXPECT_EQ(Run("tree -o /dev/full h\u00E9"), 1);
  EXPECT_EQ(Run("tree -o none/out h\u00E9"), 1);
  EXPECT_EQ(Run("tree --format xml h\u00E9"), 2);
}

TEST_F(ConsoleTest, WhatOutputMayNotReplace) {
  std::ofstream(Sibling("text")) << "text";
  std::ofstream(Sibling("log")) << AsText(Bytes(512)) << "HvLE";
  std::ofstream(Sibling("headless"))
      << AsText(Bytes(4096)) << AsText(Bytes(hive_.begin() + 4096, hive_.end()));
  std::ofstream(Sibling("hive")) << AsText(hive_);
  EXPECT_EQ(Run("tree -o text h\u00E9"), 1);
  EXPECT_EQ(ContentOf(Sibling("text")), "text");
  EXPECT_NE(ContentOf(Sibling("errors")).find("--force"), std::string::npos);
  EXPECT_EQ(Run("tree --force -o text h\u00E9"), 0);
  EXPECT_TRUE(ContentOf(Sibling("text")).starts_with("File: h\u00E9\r\nState: "));
  for (const char* kept : {"log", "headless", "hive", "h\u00E9", "h\u00E9.LOG", "h\u00E9.log2"}) {
    const std::string before = ContentOf(Sibling(kept));
    EXPECT_EQ(Run("tree --force -o " + std::string(kept) + " h\u00E9"), 1) << kept;
    EXPECT_EQ(ContentOf(Sibling(kept)), before) << kept;
    EXPECT_NE(ContentOf(Sibling("errors")).find("never replaced"), std::string::npos) << kept;
  }
}

TEST_F(ConsoleTest, ControlCharactersAreShown) {
  HiveBuilder builder;
  builder.Key("A\x1B[2J\r\nB").Sz("v", "=1");
  std::ofstream(Sibling("names")) << AsText(builder.Build().bytes);
  ASSERT_EQ(Run("tree names"), 0);
  EXPECT_NE(printed.find("\\A\\u{1B}[2J\\u{D}\\u{A}B\r\n"), printed.npos) << printed;
  const std::string shown = printed;
  ASSERT_EQ(Run("tree names -o list"), 0);
  // What is kept says what it was made of.
  EXPECT_EQ(ContentOf(Sibling("list")),
            "File: names\r\nState: Clean\r\nChecksum: right\r\n\r\n" + shown);
  ASSERT_EQ(Run("tree names --raw-text"), 0);
  EXPECT_NE(printed.find("\\A\\u{1B}[2J\\u{D}\\u{A}B\r\n"), printed.npos) << printed;
  ASSERT_EQ(Run("tree names --format csv"), 0);
  EXPECT_NE(printed.find("\\A\\u{1B}[2J\\u{D}\\u{A}B,"), printed.npos)
      << "names are alike everywhere";
  ASSERT_EQ(Run("values names --format csv --csv-safe"), 0);
  EXPECT_NE(printed.find(",'=1,"), printed.npos) << printed;
  EXPECT_EQ(Run("tree $'no\x1Bne'"), 3);
  EXPECT_EQ(Run("tree names $(printf 'no\\033ne')", "", ""), 1);
  EXPECT_NE(ContentOf(Sibling("errors")).find("No key no\\u{1B}ne\n"), std::string::npos);
}

TEST_F(ConsoleTest, AShellsOutputIsNotPutIntoEvidence) {
  const std::string before = ContentOf(file_.name());
  std::ofstream(Sibling("h\u00E9.LOG1")) << "log";
  EXPECT_EQ(Shell("$CLI tree h\u00E9 >>h\u00E9 2>errors"), 1);
  EXPECT_NE(ContentOf(Sibling("errors")).find("would be written into"), std::string::npos);
  EXPECT_EQ(Shell("$CLI tree h\u00E9 2>>h\u00E9 >printed"), 1);
  EXPECT_EQ(Shell("$CLI tree h\u00E9 >>h\u00E9.LOG1 2>errors"), 1);
  EXPECT_EQ(Shell("ln h\u00E9 other; $CLI tree h\u00E9 -o /dev/stdout >>other 2>errors"), 1);
  EXPECT_EQ(ContentOf(file_.name()), before);
  EXPECT_EQ(ContentOf(Sibling("h\u00E9.LOG1")), "log");
  EXPECT_EQ(Shell("echo before >list; $CLI tree h\u00E9 -o /dev/stdout >>list"), 0);
  EXPECT_TRUE(ContentOf(Sibling("list")).starts_with("before\nFile: "));
}

TEST_F(ConsoleTest, FilesOfSharedMemoryAreReplacedAsOthersAre) {
  std::error_code error;
  if (!std::filesystem::is_directory("/dev/shm", error)) GTEST_SKIP() << "no such folder";
  const std::string name = "/dev/shm/" + std::filesystem::path(file_.folder()).filename().string();
  EXPECT_EQ(Run("tree -o " + name + " h\u00E9"), 0);
  const std::string once = ContentOf(name);
  EXPECT_EQ(Run("tree --force -o " + name + " h\u00E9"), 0);
  EXPECT_EQ(ContentOf(name), once);
  EXPECT_EQ(Run("tree --force -o " + name + " none"), 3);
  EXPECT_EQ(ContentOf(name), once);
  std::filesystem::remove(name, error);
}

// Each signal that asks for the end, while the list is being written; a pipe without a reader, too.
TEST_F(ConsoleTest, AStoppedListLeavesNothing) {
  std::ofstream(Sibling("large"), std::ios::binary) << AsText(HiveOfKeys(40000));
  for (const std::string signal : {"INT", "TERM", "HUP"}) {
    const int status = Shell(
        "$CLI values -o list large 2>errors & "
        "while [ ! -e list.tmp~1 ] && [ ! -e list ] && [ ! -s errors ]; do :; done; kill -" +
        signal + " $!; wait $!");
    const bool whole = std::filesystem::remove(Sibling("list"));
    EXPECT_EQ(status, whole ? 0 : 1) << signal;
    EXPECT_FALSE(std::filesystem::exists(Sibling("list.tmp~1"))) << signal;
    // The reader takes one byte and keeps the pipe open: the program waits in its write.
    const std::string waiting =
        "rm -f pipe; mkfifo pipe; exec 3<>pipe; $CLI values large >pipe 2>errors & "
        "head -c 1 <&3 >printed; kill -" +
        signal + " $!; wait $!";
    EXPECT_EQ(Shell(waiting), 1) << signal;
  }
}

#if !defined(HIVEQUARRY_ADDRESS_SANITIZER) && !defined(HIVEQUARRY_THREAD_SANITIZER)
// Room for the program alone, for the file too, for the tree too, for all: whatever it is that
// there is no room for, it is said, and no half of a list is left.
TEST_F(ConsoleTest, ALackOfMemoryIsSaid) {
  std::ofstream(Sibling("large"), std::ios::binary) << AsText(HiveOfKeys(40000));
  bool seen[4] = {};
  for (uint32_t room = 11 << 10; !seen[0] && room < 256 << 10; room += 1 << 10) {
    std::filesystem::remove(Sibling("list"));
    const int status =
        Run("values -o list large", "ulimit -v " + std::to_string(room) + "; ", "--yes");
    ASSERT_TRUE(status == 0 || status == 1 || status == 3) << room << ": " << status;
    seen[status] = true;
    EXPECT_EQ(std::filesystem::exists(Sibling("list")), status == 0) << room;
    EXPECT_EQ(ContentOf(Sibling("errors")).empty(), status == 0) << room;
    EXPECT_FALSE(std::filesystem::exists(Sibling("list.tmp~1"))) << room;
  }
  EXPECT_TRUE(seen[0] && seen[1] && seen[3]);
}
#endif

}  // namespace
}  // namespace hivequarry::testing
