// What the table of hives says of the one that is shown, kept while another one is opened.
#pragma once

#include <cstdint>
#include <string>

#include "hive/hive_table.h"

namespace hivequarry {

// Keeps what the table says of the hive being worked on, and of the next opening, while another one
// is opened beside it. The slots are not its concern. Remembers when it is made and puts back when
// it goes out of scope, in the order of a stack: one may be inside another. On the thread that
// opens hives only.
class KeptHiveTable {
 public:
  KeptHiveTable();
  ~KeptHiveTable();
  KeptHiveTable(const KeptHiveTable&) = delete;
  KeptHiveTable& operator=(const KeptHiveTable&) = delete;

 private:
  uint32_t start_offset_;
  uint32_t end_offset_;
  LogChoice logs_;
  int current_;
  std::string folder_;
  std::string file_;
  std::string long_root_;
  std::string short_root_;
  uint32_t handle_;
};

}  // namespace hivequarry
