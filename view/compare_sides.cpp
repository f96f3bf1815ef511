#include "view/compare_sides.h"

#include <utility>

#include "app/opening_words.h"
#include "cases/script_hive.h"
#include "hive/hive_table.h"
#include "hive/kept_table.h"
#include "hive/timestamp.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_head.h"
#include "lists/list_rows.h"
#include "reports/control_sets.h"
#include "reports/hive_state.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// False, with `fault` set unless the user stopped, when the script cannot be opened. A script may
// hold less than the root: its own key is sought by A's path where none was named.
bool OpenScriptB(ComparedHives& hives, const CompareWish& wish) {
  ScriptHive script = OpenScript(wish.file);
  hives.slot_b = script.slot;
  if (script.slot < 0) {
    if (!StopRequested()) hives.fault = "Can not open " + wish.file;
    return false;
  }
  hives.script_b = true;
  hives.tree_b = std::move(script.tree);
  const std::string place = LongItemPath(hives.a, hives.tree_a, hives.item_a);
  hives.item_b = FindInScript(hives.b(), hives.tree_b, wish.key_b, place, script.first_key);
  if (script.read.bad_lines != 0) {
    hives.head.push_back(Concat({"B: ", Decimal(script.read.bad_lines),
                                 " lines that are none of a script, the first of them line ",
                                 Decimal(script.read.first_bad)}));
  }
  return true;
}

// False with `fault` set, after a message of the opening, or where the user stopped.
bool OpenHiveB(ComparedHives& hives, const CompareWish& wish, ImageSummary& summary) {
  LogChoice logs;
  if (wish.without_logs) logs.mode = LogMode::kNone;
  // The hive shown may have been opened by a range, which says nothing of B. The caller keeps what
  // the table has of it.
  HiveTable& table = TheHiveTable();
  table.start_offset = table.end_offset = 0;
  table.logs = logs;
  hives.slot_b = OpenHiveAndTell(wish.file);
  if (hives.slot_b < 0) return false;
  summary = BuildImageTree(HiveOfSlot(hives.slot_b), TreeAlone(), hives.tree_b);
  if (summary.stopped) return false;
  if (FoundNothing(summary) || hives.tree_b.items.empty()) {
    hives.fault = wish.file + " holds no keys";
    return false;
  }
  const std::string& key = wish.key_b.empty() ? wish.key_a : wish.key_b;
  if (!key.empty()) {
    hives.item_b =
        FindItemByPath(hives.b(), hives.tree_b, WithControlSet(hives.b(), hives.tree_b, key));
  }
  return true;
}

// False, with `fault` set, for no key and for one that was made.
bool HasKey(ComparedHives& hives, const HiveImage& hive, const KeyTree& tree, uint32_t item,
            const std::string& path) {
  if (item != kNoItem && HasKeyCell(tree, item)) return true;
  hives.fault = Concat({"No key ", path.empty() ? "to begin with" : path, " in ", hive.file_name});
  return false;
}

std::string AboutSide(const char* letter, const ComparedSide& side, const std::string& doubt) {
  const std::string state = side.script ? "registry script" : StateWords(side.hive);
  return Concat({letter, ": ", side.hive.file_name, ", from ",
                 LongItemPath(side.hive, side.tree, side.item), ". ", state,
                 doubt.empty() ? "" : ". Attention: ", doubt});
}

void GiveHead(const ComparedHives& hives, OutputList& list) {
  auto lines = std::make_shared<ListHead>();
  SetLines(*lines, hives.head);
  SetListHead(list, std::move(lines));
}

// Leaves no list where the user stopped.
void Compare(ComparedHives& hives, const CompareWish& wish, const std::string& doubt_a,
             const std::string& doubt_b) {
  hives.options = wish.options;
  hives.options.lead_to_a = true;
  const auto path = [](const ComparedSide& side) {
    return LongItemPath(side.hive, side.tree, side.item);
  };
  const std::vector<std::string> head = ComparisonHead({hives.a, path(hives.side_a()), doubt_a},
                                                       {hives.b(), path(hives.side_b()), doubt_b});
  hives.head.insert(hives.head.begin(), head.begin(), head.end());
  ComparedKeys keys;
  OutputListPtr list =
      CompareHives(hives.side_a(), hives.side_b(), hives.options, hives.differences, &keys);
  if (StopRequested()) return;
  GiveHead(hives, *list);
  hives.about_a = AboutSide("A", hives.side_a(), doubt_a);
  hives.about_b = AboutSide("B", hives.side_b(), doubt_b);
  hives.tree = MakeCompareTree(std::move(keys), hives.options.heed_times);
  hives.list = std::move(list);
}

}  // namespace

ComparedHives::~ComparedHives() {
  if (slot_b >= 0) FreeHiveSlot(slot_b);
}

const HiveImage& ComparedHives::b() const { return HiveOfSlot(slot_b); }

std::shared_ptr<ComparedHives> CompareWithFile(const HiveImage& a, const KeyTree& tree_a,
                                               const ImageSummary& summary_a,
                                               const CompareWish& wish) {
  auto hives = std::make_shared<ComparedHives>(a, tree_a);
  const KeptHiveTable kept;  // A is the hive shown
  if (!wish.key_a.empty()) {
    hives->item_a = FindItemByPath(a, tree_a, WithControlSet(a, tree_a, wish.key_a));
  }
  // Before B is opened, which may take long.
  if (!HasKey(*hives, a, tree_a, hives->item_a, wish.key_a)) return hives;
  ImageSummary summary_b;
  const bool script = IsScriptFile(wish.file);
  const bool opened = script ? OpenScriptB(*hives, wish) : OpenHiveB(*hives, wish, summary_b);
  const std::string& key_b = wish.key_b.empty() ? wish.key_a : wish.key_b;
  if (!opened || !HasKey(*hives, hives->b(), hives->tree_b, hives->item_b, key_b)) return hives;
  Compare(*hives, wish, DoubtOfSide(a, summary_a),
          script ? std::string() : DoubtOfSide(hives->b(), summary_b));
  return hives;
}

OutputListPtr ListDifferences(const ComparedHives& hives) {
  HiveDifferences differences;
  OutputListPtr list = CompareHives(hives.side_a(), hives.side_b(), hives.options, differences);
  GiveHead(hives, *list);
  return list;
}

std::string ComparedKeyName(const ComparedHives& hives, uint32_t key) {
  const ComparedKey& it = hives.tree.keys[key];
  return it.a != kNoItem ? ItemName(hives.a, hives.tree_a, it.a)
                         : ItemName(hives.b(), hives.tree_b, it.b);
}

std::string ComparedKeyTime(const ComparedHives& hives, uint32_t key, bool in_b) {
  const ComparedKey& it = hives.tree.keys[key];
  const ComparedSide side = in_b ? hives.side_b() : hives.side_a();
  const uint32_t item = in_b ? it.b : it.a;
  if (item == kNoItem || side.script) return {};
  return FormatShownIso(LastWriteOf(side.hive, side.tree, item));
}

// Data and texts are read anew each time, as a window asks for the key that is selected alone.
std::vector<ComparedValueRow> ComparedValueRows(const ComparedHives& hives, uint32_t key) {
  const ComparedKey& it = hives.tree.keys[key];
  PairWalk walk{hives.side_a(), hives.side_b(), hives.options};
  bool too_many = false;
  const std::vector<ComparedValue> values = ValuesSideBySide(walk, it.a, it.b, too_many);
  std::vector<ComparedValueRow> rows;
  if (too_many) {
    ComparedValueRow row;
    row.what = Concat({"more than ", Decimal(kMostComparedValues),
                       " values: what differs is in the list of differences"});
    rows.push_back(std::move(row));
  }
  for (const auto& [what, pair] : values) {
    ComparedValueRow row;
    if (what != nullptr) row.what = Concat({what, pair.twin ? ", duplicate name" : ""});
    const auto fill = [&row](const ComparedSide& side, uint32_t position, bool there,
                             std::string& type, std::string& data) {
      if (!there) return;
      if (position == kNoOffset) {
        data = "lost";
        return;
      }
      ValueRow shown = MakeValueRow(side.hive, position, {});
      row.name = std::move(shown.name);
      type = std::move(shown.type);
      data = std::move(shown.data);
    };
    fill(walk.a, pair.a, pair.pairing != Pairing::kOnlyB, row.type_a, row.data_a);
    fill(walk.b, pair.b, pair.pairing != Pairing::kOnlyA, row.type_b, row.data_b);
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace hivequarry
