// What the value viewer shows: bytes of any length with their places in the file, their meanings,
// the forms in which they are copied, and a view of bytes that nothing changes.
#include "view/value_viewer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "hive/value_edits.h"
#include "tests/support/cell_writer.h"
#include "tests/support/hex_bytes.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/opened_hive.h"
#include "view/item_words.h"

namespace hivequarry::testing {
namespace {

std::string Narrow(const std::u16string& text) { return {text.begin(), text.end()}; }

TEST(CopyForms, EveryForm) {
  const Bytes bytes = {'H', 0, 'i', 0xFF, '\n'};
  const struct {
    CopyForm form;
    const char* text;
  } cases[] = {
      {CopyForm::kHex, "480069FF0A"},
      {CopyForm::kSpacedHex, "48 00 69 FF 0A"},
      {CopyForm::kCArray,
       "const unsigned char data[5] = {\r\n    0x48, 0x00, 0x69, 0xFF, 0x0A,\r\n};\r\n"},
      {CopyForm::kScriptHex, "hex:48,00,69,ff,0a"},
      {CopyForm::kPython, "b\"\\x48\\x00\\x69\\xff\\x0a\""},
      {CopyForm::kBase64, "SABp/wo="},
      {CopyForm::kText, "H.i.\n"},
      {CopyForm::kDecimal, "72 0 105 255 10"},
      {CopyForm::kDump,
       "00000010  00005010  48 00 69 FF 0A                                   H.i..\r\n"},
  };
  const CopyPlace place{0x10, [](uint32_t offset) { return 0x5000 + offset; }};
  for (const auto& c : cases) EXPECT_EQ(Narrow(CopiedBytes(c.form, bytes, place)), c.text);
  EXPECT_EQ(CopiedBytes(CopyForm::kWideText, Bytes{'H', 0, 0, 0, 'i', 0, 7}, place),
            u"H\u2400i\uFFFD");
  EXPECT_EQ(Narrow(CopiedBytes(CopyForm::kBase64, Bytes{'M', 'a', 'n', 'M'}, place)), "TWFuTQ==");
}

// Lines that a registry script and a C file can hold, of which nothing is missing.
TEST(CopyForms, LongOnesAreBroken) {
  const Bytes bytes = Counting(100);
  const std::string script = Narrow(CopiedBytes(CopyForm::kScriptHex, bytes, {}));
  EXPECT_EQ(std::count(script.begin(), script.end(), '\\'), 3);
  EXPECT_EQ(std::count(script.begin(), script.end(), ','), 99);
  const std::string dump = Narrow(CopiedBytes(CopyForm::kDump, bytes, {}));
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 7);
  EXPECT_EQ(dump.find("00000010  10 11"), dump.find('\n') + 1);
}

TEST(HexView, BytesThatAreOnlyShown) {
  HostRecorder host;
  HexView view;
  view.read_only = true;
  const Bytes before = Counting(kMaxHexBytes + 3);
  ShowBytes(view, before);
  EXPECT_EQ(TypeCharacter(view, u'A').effect, HexEffect::kRefused);
  EXPECT_EQ(EraseBefore(view).effect, HexEffect::kRefused);
  EXPECT_EQ(PutText(view, u"00").effect, HexEffect::kRefused);
  SelectBytes(view.model, {4, 8});
  for (const HexCommandRow& row : HexCommands()) {
    if (IsAvailable(row, view, true)) RunOnBytes(view, row.command);
  }
  EXPECT_TRUE(view.model.bytes == before);
  EXPECT_FALSE(CopiedText(view, CopyForm::kHex, nullptr).has_value() &&
               ByteCount(view.model) > kLongestCopied);
  SelectBytes(view.model, {4, 6});
  EXPECT_EQ(CopiedText(view, CopyForm::kHex, nullptr), u"0405");
  HexView edited;
  const auto saves = std::ranges::find(HexCommands(), HexCommand::kSave, &HexCommandRow::command);
  EXPECT_FALSE(IsOffered(*saves, edited));  // whose dialog has buttons of its own
}

TEST(ValueViewer, BytesOfAnyLengthAndTheirPlaces) {
  HiveBuilder builder;
  const std::vector<size_t> sizes = {1, 4, 5, 16344, 16345, 40000, kMaxValueData + 100};
  for (const size_t size : sizes) builder.Key("A").Binary("v" + std::to_string(size), size, 3);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built.bytes);
  for (size_t i = 0; i < sizes.size(); ++i) {
    SCOPED_TRACE(sizes[i]);
    const uint32_t position = built.ValuePosition("A", "v" + std::to_string(sizes[i]));
    const ValueBytes bytes = BytesOfValue(opened.hive, position);
    EXPECT_EQ(bytes.type, kRegBinary);
    ASSERT_TRUE(bytes.data == built.keys[1].values[i].data);
    for (size_t at = 0; at < bytes.data.size(); at += 1 + at / 3) {
      const uint32_t in_file = FilePositionIn(bytes.places, static_cast<uint32_t>(at));
      ASSERT_LT(in_file, built.bytes.size());
      ASSERT_EQ(built.bytes[in_file], bytes.data[at]) << at;
    }
    EXPECT_EQ(FilePositionIn(bytes.places, static_cast<uint32_t>(sizes[i])), kNoFilePosition);
  }
  const uint32_t longest = built.ValuePosition("A", "v" + std::to_string(sizes.back()));
  EXPECT_NE(Narrow(ValueDetailOf(opened.hive, opened.tree, longest)).find("Too long to be shown"),
            std::string::npos);
}

TEST(ValueViewer, BytesOfAnEditAreNowhereInTheFile) {
  HiveBuilder builder;
  builder.Key("A").Binary("v", 20, 3);
  const BuiltHive built = builder.Build();
  OpenedHive opened(built.bytes);
  const uint32_t position = built.ValuePosition("A", "v");
  ASSERT_TRUE(SetValueEdit(opened.hive, position, kRegBinary, Bytes{1, 2, 3}));
  const ValueBytes bytes = BytesOfValue(opened.hive, position);
  EXPECT_EQ(bytes.data, (Bytes{1, 2, 3}));
  EXPECT_TRUE(bytes.edited && bytes.places.empty());
  // A length that the hive has no room for is no reason to ask for memory.
  BuiltHive damaged = built;
  damaged.SetU32(position, 8, 0x7FFFFFFF);
  OpenedHive after(damaged.bytes);
  EXPECT_TRUE(BytesOfValue(after.hive, position).data.empty());
}

std::string RowOf(const std::vector<Meaning>& rows, std::string_view label) {
  const auto found = std::ranges::find(rows, label, &Meaning::label);
  return found == rows.end() ? "none" : found->text;
}

TEST(ValueViewer, RowsOfTheCaretAndTheSelection) {
  ValueBytes value;
  value.type = kRegQword;
  value.places = {{0, 4, 0x1000}, {4, 4, 0x3000}};
  const Bytes data = {1, 0, 0, 0, 5, 0, 0, 0};
  const auto rows = MeaningRows(value, data, {.position = 4, .anchor = 4});
  EXPECT_EQ(RowOf(rows, "Type"), "REG_QWORD (11)");
  EXPECT_EQ(RowOf(rows, "Length"), "8 bytes");
  EXPECT_EQ(RowOf(rows, "Offset in value"), "0x00000004 (4)");
  EXPECT_EQ(RowOf(rows, "In file"), "0x00003000 (12288)");
  EXPECT_EQ(RowOf(rows, "32 bits"), "5, 0x00000005");
  EXPECT_EQ(RowOf(rows, "Selected"), "none");
  const auto selected = MeaningRows(value, data, {.position = 6, .anchor = 4});
  EXPECT_EQ(RowOf(selected, "Selected"), "2 bytes");
  EXPECT_EQ(RowOf(selected, "32 bits"), "none");
  EXPECT_EQ(RowOf(selected, "16 bits"), "5, 0x0005");
  const auto end = MeaningRows(value, data, {.position = 8, .anchor = 8});
  EXPECT_EQ(RowOf(end, "In file"), "none");
  EXPECT_EQ(RowOf(end, "8 bits"), "none");
}

// One line each, however long the text is.
TEST(ValueViewer, RowsOfAllOfAValue) {
  HiveBuilder builder;
  Bytes data;
  for (int i = 0; i < 1000; ++i) data.insert(data.end(), {'a', 0, '\n', 0});
  data.resize(data.size() + 8);
  builder.Key("K").Value("setting", 0x5F5E10C, data).Value("own", kRegBinary, data);
  const BuiltHive hive = builder.Build();
  OpenedHive opened(hive.bytes);
  const auto shown = [&](const char* name, const char* label) {
    const ValueBytes value = BytesOfValue(opened.hive, hive.ValuePosition("K", name));
    return RowOf(MeaningRows(value, value.data, {.position = 0, .anchor = 0}), label);
  };
  EXPECT_EQ(shown("setting", "Meaning"), "app setting, text");
  EXPECT_EQ(shown("setting", "Text").substr(0, 6), "a a a ");
  EXPECT_TRUE(shown("setting", "Text").ends_with("..."));
  EXPECT_LT(shown("setting", "Text").size(), 1000U);
  EXPECT_EQ(shown("own", "Meaning"), "none");
}

TEST(ValueViewer, ItemListsAndSecurityDescriptors) {
  Bytes data = {0x14, 0x00, 0x1F, 0x50, 0xE0, 0x4F, 0xD0, 0x20, 0xEA, 0x3A, 0x69,
                0x10, 0xA2, 0xD8, 0x08, 0x00, 0x2B, 0x30, 0x30, 0x9D, 0x00, 0x00};
  EXPECT_EQ(RowOf(MeaningsAt(data, 0, 0), "Item list"), "My Computer (1 item)");
  EXPECT_EQ(RowOf(MeaningsAt(data, 2, 0), "Item list"), "none");
  data = Bytes(3, 0xAA);
  const Bytes descriptor =
      SecurityDescriptor("S-1-5-18", "S-1-5-32-544", {{.mask = 0x20019, .sid = "S-1-1-0"}});
  data.insert(data.end(), descriptor.begin(), descriptor.end());
  const auto rows = MeaningsAt(data, 3, 0);
  EXPECT_EQ(RowOf(rows, "Security descriptor"),
            "owner S-1-5-18 (SYSTEM), group S-1-5-32-544 (Administrators)");
  EXPECT_EQ(RowOf(rows, "  entry 1").find("allow S-1-1-0 (Everyone): 0x00020019"), 0u);
  EXPECT_EQ(RowOf(MeaningsAt(data, 2, 0), "Security descriptor"), "none");
  for (size_t cut = 0; cut < descriptor.size(); ++cut) {
    MeaningsAt(std::span(descriptor).first(cut), 0, 0);
  }
}

}  // namespace
}  // namespace hivequarry::testing
