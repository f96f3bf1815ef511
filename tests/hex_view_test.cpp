// A hex edit control without its window: its bytes, and what keys and characters do.
#include "view/hex_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>

#include "tests/support/hex_bytes.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "view/key_codes.h"

namespace hivequarry::testing {
namespace {

TEST(HexBytes, UndoGoesBackToTheBeginningAndRedoToTheEnd) {
  std::mt19937 random(7);
  HexBytes hex;
  uint8_t any = 0;
  const std::function<void()> steps[] = {
      [&] { MoveCaret(hex, any % 50, (any & 1) != 0, (any & 2) != 0); },
      [&] { hex.overwrite = !hex.overwrite; },
      [&] { PutBytes(hex, Bytes(any % 5, any)); },
      [&] { EraseBack(hex); },
      [&] { EraseForward(hex); },
      [&] { TypeByte(hex, any); },
      [&] { TypeDigit(hex, any & 15); },
  };
  for (int round = 0; round < 200; ++round) {
    const Bytes first = Counting(random() % 40);
    SetBytes(hex, first);
    for (int step = 0; step < 60; ++step) {
      any = static_cast<uint8_t>(random());
      steps[random() % std::size(steps)]();
      ASSERT_LE(std::max(hex.caret.position, hex.caret.anchor), ByteCount(hex));
      ASSERT_TRUE(!hex.caret.low || hex.caret.position < ByteCount(hex));
    }
    const Bytes last = hex.bytes;
    for (int step = 0; step < 60; ++step) Undo(hex);
    ASSERT_EQ(hex.bytes, first);
    for (int step = 0; step < 60; ++step) Redo(hex);
    ASSERT_EQ(hex.bytes, last);
  }
}

TEST(HexBytes, FindSelectsWhatASearchByHandDoes) {
  std::mt19937 random(11);
  for (int round = 0; round < 3000; ++round) {
    HexBytes hex;
    Bytes all(random() % 30);
    Bytes part(1 + random() % 4);
    for (uint8_t& byte : all) byte = random() % 2;
    for (uint8_t& byte : part) byte = random() % 2;
    SetBytes(hex, all);
    const auto from = static_cast<uint32_t>(random() % (all.size() + 1));
    MoveCaret(hex, from, false, false);
    std::vector<uint32_t> places;
    for (uint32_t at = 0; at + part.size() <= all.size(); ++at) {
      if (std::equal(part.begin(), part.end(), all.begin() + at)) places.push_back(at);
    }
    const bool forward = random() % 2 == 0;
    ASSERT_EQ(FindBytes(hex, part, forward), !places.empty());
    if (places.empty()) continue;
    const auto next = std::lower_bound(places.begin(), places.end(), from);
    const uint32_t after = next != places.end() ? *next : places.front();
    const uint32_t before = next != places.begin() ? *(next - 1) : places.back();
    ASSERT_EQ(SelectionOf(hex).start, forward ? after : before);
  }
}

TEST(HexBytes, LimitAndHistoryAreBounded) {
  HexBytes hex;
  SetBytes(hex, Bytes(kMaxHexBytes - 1));
  hex.overwrite = false;
  EXPECT_FALSE(PutBytes(hex, Bytes(2)));
  EXPECT_TRUE(PutBytes(hex, Bytes(1)));
  EXPECT_FALSE(TypeByte(hex, 1));
  for (int round = 0; round < 20; ++round) {
    SelectBytes(hex, {0, ByteCount(hex)});
    ASSERT_TRUE(PutBytes(hex, Bytes(kMaxHexBytes, static_cast<uint8_t>(round))));
    ASSERT_LE(hex.history.bytes, kHexHistoryBytes);
  }
  EXPECT_TRUE(Undo(hex));
  EXPECT_EQ(hex.bytes[0], 18);
}

// --- keys ----------------------------------------------------------------------------------------

void PressNamed(HexView& view, std::u16string name) {
  constexpr std::pair<const char16_t*, uint16_t> kKeys[] = {
      {u"Left", kKeyLeft},  {u"Right", kKeyRight}, {u"Up", kKeyUp},         {u"Down", kKeyDown},
      {u"Home", kKeyHome},  {u"End", kKeyEnd},     {u"PgDn", kKeyPageDown}, {u"PgUp", kKeyPageUp},
      {u"Ins", kKeyInsert}, {u"Del", kKeyDelete}};
  const bool control = name[0] == u'^';
  const bool shift = name[0] == u'+';
  if (control || shift) name.erase(0, 1);
  if (name == u"Tab") {
    return SwitchSide(view, view.side == HexSide::kHex ? HexSide::kText : HexSide::kHex);
  }
  if (name == u"Back") return static_cast<void>(EraseBefore(view));
  uint32_t key = name[0];
  for (const auto& [known, code] : kKeys) {
    if (name == known) key = code;
  }
  if (MoveByKey(view, key, shift, control)) return;
  const HexCommandRow* row = HexCommandOfKey(key, control, shift);
  ASSERT_NE(row, nullptr);
  if (IsAvailable(*row, view, true)) RunOnBytes(view, row->command);
}

// A script: characters to type; "<" ">" around names of keys, "^" for Ctrl and "+" for Shift
// before them, as in "<^A>", "<+Right>".
void Press(HexView& view, const std::u16string& script) {
  for (size_t at = 0; at < script.size(); ++at) {
    if (script[at] != u'<') {
      TypeCharacter(view, script[at]);
      continue;
    }
    const size_t end = script.find(u'>', at);
    PressNamed(view, script.substr(at + 1, end - at - 1));
    at = end;
  }
}

TEST(HexView, KeysEditAndMove) {
  struct Case {
    const char16_t* keys;
    Bytes before;
    Bytes after;
    HexCaret caret;
  };
  const HostRecorder host;
  const Bytes abc{0xA1, 0xB2, 0xC3};
  const Bytes lines = Counting(40);
  const Case cases[] = {
      {u"4", abc, {0x41, 0xB2, 0xC3}, {0, true, 0}},
      {u"45f", abc, {0x45, 0xF2, 0xC3}, {1, true, 1}},
      {u"<Right>9", abc, {0xA9, 0xB2, 0xC3}, {1, false, 1}},
      {u"<End><Right>78", abc, {0xA1, 0xB2, 0xC3, 0x78}, {4, false, 4}},
      {u"<Ins>4", abc, {0x40, 0xA1, 0xB2, 0xC3}, {0, true, 0}},
      {u"<Ins>45", abc, {0x45, 0xA1, 0xB2, 0xC3}, {1, false, 1}},
      {u"<Ins>45<Back>", abc, abc, {0, false, 0}},
      {u"<Ins>4<Back>", abc, abc, {0, false, 0}},
      {u"xyz", abc, abc, {0, false, 0}},
      {u"<Tab>xy", abc, {'x', 'y', 0xC3}, {2, false, 2}},
      {u"<Tab><Ins>\u20AC", abc, {0x80, 0xA1, 0xB2, 0xC3}, {1, false, 1}},
      {u"<Tab>\u4E2D", abc, abc, {0, false, 0}},
      {u"<Right><Tab>x", abc, {'x', 0xB2, 0xC3}, {1, false, 1}},
      {u"<Tab><Tab>4", abc, {0x41, 0xB2, 0xC3}, {0, true, 0}},
      {u"<Del><Del>", abc, {0xC3}, {0, false, 0}},
      {u"<^End><Back>", abc, {0xA1, 0xB2}, {2, false, 2}},
      {u"<+Right><+Right><Del>", abc, {0xC3}, {0, false, 0}},
      {u"<Ins><+Right><+Right>9", abc, {0x90, 0xC3}, {0, true, 0}},
      {u"<^A><Back>", abc, {}, {0, false, 0}},
      {u"<Ins><^A>12<Del>34", abc, {0x12, 0x34}, {2, false, 2}},
      {u"<Down><Left>", lines, lines, {15, true, 15}},
      {u"<+Down>", lines, lines, {16, false, 0}},
      {u"<+End>", lines, lines, {16, false, 0}},
      {u"<Down><End>", lines, lines, {31, false, 31}},
      {u"<PgDn><+Home>", lines, lines, {32, false, 32}},
      {u"<Right><Right><Up>", lines, lines, {1, false, 1}},
      {u"<^End><Up>", lines, lines, {24, false, 24}},
      {u"<+Right><Right>", lines, lines, {1, false, 1}},
      {u"<+Down><Left>", lines, lines, {0, false, 0}},
      {u"12345<^Z>", abc, abc, {0, false, 0}},
      {u"12345<^Z><^Y>", abc, {0x12, 0x34, 0x53}, {2, true, 2}},
      {u"12<Home><Right>3<^Z>", abc, {0x12, 0xB2, 0xC3}, {0, true, 0}},
      {u"<Del><Del><^Z>", abc, abc, {0, false, 0}},
      {u"<^End><Back><Back><^Z>4<^Y>", abc, {0xA1, 0xB2, 0xC3, 0x40}, {3, true, 3}},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::u16string(row.keys)));
    HexView view;
    view.layout.height = 20 * view.layout.line_height;
    ShowBytes(view, row.before);
    Press(view, row.keys);
    EXPECT_EQ(view.model.bytes, row.after);
    EXPECT_EQ(view.model.caret, row.caret);
  }
}

TEST(HexView, ClipboardTakesTheFormOfTheSide) {
  struct Case {
    const char16_t* keys;
    const char16_t* given;  // to be put in; null: the selection is copied
    Bytes after;
    const char16_t* copied;
    bool refused = false;
  };
  const HostRecorder host;
  const Bytes before{0x41, 0x00, 0xE4};
  const Case cases[] = {
      {u"<^A>", nullptr, before, u"41 00 e4"},
      {u"<^A><Tab>", nullptr, before, u"A\u2400\u00E4"},
      {u"<^A><Tab>", u"A\u2400\u00E4", before, nullptr},
      {u"<+Right>", nullptr, before, u"41"},
      {u"", u"0a,0B;\\\r\n  0c0d", {0x0A, 0x0B, 0x0C, 0x0D}, nullptr},
      {u"<Ins>", u"0a 0b", {0x0A, 0x0B, 0x41, 0x00, 0xE4}, nullptr},
      {u"<Ins><^A>", u"0a", {0x0A}, nullptr},
      {u"", u"hello", before, nullptr, true},
      {u"<Tab>", u"hello", {'h', 'e', 'l', 'l', 'o'}, nullptr},
      {u"<Tab>", u"\u4E2D", before, nullptr, true},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::u16string(row.keys)));
    HexView view;
    ShowBytes(view, before);
    Press(view, row.keys);
    if (row.given != nullptr) {
      EXPECT_EQ(PutText(view, row.given).effect == HexEffect::kRefused, row.refused);
    } else {
      EXPECT_EQ(CopiedText(view), row.copied);
    }
    EXPECT_EQ(view.model.bytes, row.after);
  }
}

}  // namespace
}  // namespace hivequarry::testing
