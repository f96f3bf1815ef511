#include "hive/kept_table.h"

#include <utility>

namespace hivequarry {

KeptHiveTable::KeptHiveTable()
    : start_offset_(TheHiveTable().start_offset),
      end_offset_(TheHiveTable().end_offset),
      logs_(TheHiveTable().logs),
      current_(TheHiveTable().current),
      folder_(TheHiveTable().current_folder),
      file_(TheHiveTable().current_file),
      long_root_(TheHiveTable().default_long_root),
      short_root_(TheHiveTable().default_short_root),
      handle_(TheHiveTable().default_root_handle) {}

KeptHiveTable::~KeptHiveTable() {
  HiveTable& table = TheHiveTable();
  table.start_offset = start_offset_;
  table.end_offset = end_offset_;
  table.logs = std::move(logs_);
  table.current = current_;
  table.current_folder = std::move(folder_);
  table.current_file = std::move(file_);
  table.default_long_root = std::move(long_root_);
  table.default_short_root = std::move(short_root_);
  table.default_root_handle = handle_;
}

}  // namespace hivequarry
