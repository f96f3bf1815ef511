// Where rows of a loaded list lead when several hives are open.
#include "view/listed_hives.h"

#include <gtest/gtest.h>

#include "tests/support/opened_hive.h"

namespace hivequarry::testing {
namespace {

BuiltHive HiveWith(const std::string& key) {
  HiveBuilder builder("SYSTEM");
  builder.Key("Both\\Inner");
  builder.Key(key);
  return builder.Build();
}

TEST(ListedHivesTest, RowsLeadToTheHiveThatTheyAreOf) {
  const std::string a(64, 'a');
  const std::string b(64, 'b');
  OpenedHive first(HiveWith("First"));
  OpenedHive second(HiveWith("Second"));
  const std::string root = first.tree.root_text;
  second.tree.root_text = root + "(1)";
  const HiveToSearch hives[] = {{&first.hive, &first.tree, a}, {&second.hive, &second.tree, b}};
  const std::vector<std::string> of_b = {"File: b", "SHA-256: " + b, "SHA-256: " + a + " b.LOG1"};
  const std::vector<std::string> of_both = {"File: b", "Root: " + root,         "SHA-256: " + b,
                                            "File: a", "Root: " + root + "(3)", "SHA-256: " + a};
  const std::vector<std::string> of_other = {"File: c", "SHA-256: " + std::string(64, 'c')};
  const struct {
    const std::vector<std::string>& head;
    std::string path;
    size_t hive;
    bool there;
    bool other;
  } cases[] = {
      {of_b, root + "\\Both\\Inner", 1, true, false},
      {of_b, root + "(2)\\Both\\Inner", 1, true, false},
      {of_b, root + "\\First", 1, false, false},  // it is in another hive, but not in that one
      {of_both, root + "\\Both", 1, true, false},
      {of_both, root + "(3)\\Both", 0, true, false},
      {of_both, root + "(3)", 0, true, false},
      {of_other, root + "\\First", 0, true, true},
      {of_other, "Second", 1, true, true},
      {of_other, root + "\\Nowhere", 0, false, true},
      {{}, root + "\\First", 0, true, false},
  };
  for (const auto& c : cases) {
    const KeyOfRow key = FindKeyOfRow(c.path, ListedHives(c.head), hives, 0);
    EXPECT_EQ(key.hive, c.hive) << c.path;
    EXPECT_EQ(key.item != kNoItem, c.there) << c.path;
    EXPECT_EQ(key.other_file, c.other) << c.path;
  }
}

}  // namespace
}  // namespace hivequarry::testing
