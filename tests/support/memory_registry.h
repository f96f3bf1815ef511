// A registry kept in memory, in force for as long as the object lives.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "live/registry.h"

namespace hivequarry::testing {

struct MemoryValue {
  std::u16string name;
  uint32_t type = 0;
  std::vector<uint8_t> data;
};
struct MemoryKey {
  std::u16string name;
  std::u16string class_name;
  uint64_t last_write = 0;
  std::vector<uint8_t> security;
  std::vector<MemoryValue> values;
  std::vector<std::unique_ptr<MemoryKey>> keys;
  int32_t open_error = kRegistryDone;   // the answer to whoever opens it
  int32_t write_error = kRegistryDone;  // and to whoever sets a value or makes a key in it
  std::u16string link;                  // path from a root, of a symbolic link
  bool is_link = false;                 // made as one, or read so from a file
  int32_t save_error = kRegistryDone;   // to whoever saves it
  std::string file;                     // UTF-8, of a hive that is loaded here
  std::u16string file_root;             // the name of that hive's root key

  MemoryValue& Set(std::u16string_view value, uint32_t value_type, std::vector<uint8_t> bytes);
  MemoryValue& SetText(std::u16string_view value, std::u16string_view text);
  MemoryKey& Add(std::u16string_view key);
  MemoryKey* Find(std::u16string_view key) const;  // a direct child; null when missing
};

struct ReplacedHive {
  std::u16string key;  // "HKLM\\SOFTWARE"
  std::string new_file;
  std::string old_file;
  bool operator==(const ReplacedHive&) const = default;
};

// Saves and loads real hive files, as a system does: with the privileges that it asks for, errors
// 183 for a file that is there and 1009 for one that is no hive, and a ".LOG" file left beside a
// loaded one. Unloading writes the branch back; it fails with 5 while keys of it are open.
class MemoryRegistry {
 public:
  MemoryRegistry();
  ~MemoryRegistry();
  MemoryRegistry(const MemoryRegistry&) = delete;
  MemoryRegistry& operator=(const MemoryRegistry&) = delete;

  // The key at a path ("HKLM\SOFTWARE"), made with what is missing on the way.
  MemoryKey& At(std::u16string_view path);
  // Null for a missing one. Links are followed.
  MemoryKey* Find(std::u16string_view path);
  // Puts the kernel's names of these keys into the system's list of hives.
  void ListHives(const std::vector<std::u16string>& paths);
  size_t open_keys() const { return opened.size(); }

  MemoryKey roots;                      // named HKCR, HKCU, HKLM, HKU and HKCC
  std::u16string user = u"S-1-5-21-7";  // whom HKCU belongs to, when it is no link
  std::set<std::u16string> privileges;  // that the process has
  std::set<std::u16string> enabled;
  std::map<RegistryKey, MemoryKey*> opened;
  RegistryKey next_handle = 1;
  // Answers to force, by function: "save", "save_natively", "load", "unload", "replace", "protect".
  std::map<std::string, int32_t> errors;
  std::vector<ReplacedHive> replaced;
  std::map<std::string, std::vector<uint8_t>> protected_files;  // and their descriptors, by name
  // An unloaded hive's file says that its last write was not finished.
  bool unloads_unsettled = false;

 private:
  Registry before_;
};

}  // namespace hivequarry::testing
