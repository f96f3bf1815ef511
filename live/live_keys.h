// Walking the live registry. Keys are opened under their parents' handles by their UTF-16 names, so
// that no code page comes between; depth and buffers are bounded. Keys that go away meanwhile are
// passed over.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lists/list_rows.h"
#include "live/live_lists.h"
#include "live/registry.h"
#include "reports/key_source.h"

namespace hivequarry {

inline constexpr uint32_t kMaxLiveDepth = 512;         // levels that the registry itself allows
inline constexpr uint32_t kMaxLiveData = 0x500000;     // longer data isn't read
inline constexpr uint32_t kLongestValueName = 0x4000;  // UTF-16 units, ending zero included

// The parts of a key's security descriptor; empty when it can't be read.
std::string ReadDescriptor(RegistryKey key, uint32_t parts);
// Opens a key. With kRegistryForBackup what the backup privilege allows, and where that fails (the
// privilege is missing, an old system doesn't know the option) what the key's own security does.
OpenedKey OpenForReading(RegistryKey parent, const char16_t* name, uint32_t access,
                         uint32_t options);

// True for a symbolic link that was opened itself (kRegistryOpenLink) and leads somewhere.
bool IsRegistryLink(RegistryKey key);

// Keys or values after these were not listed: reading them on failed.
struct ListingCut {
  std::string path;  // of the key that was listed
  int32_t error = kRegistryDone;
};

// Holds a handle for each level of the way down, at most kMaxLiveDepth. Links are given, not
// followed. Buffers are used again: names and data are valid until the next call.
class RegistryWalk : public KeySource {
 public:
  // Keys are opened with these access rights, by OpenForReading.
  RegistryWalk(const std::string& path, uint32_t access, uint32_t options = 0);
  bool NextKey(SourceKey& key) override;
  void SkipChildren() override;
  bool NextValue(SourceValue& value) override;
  // The key given last; 0 when it could not be opened.
  RegistryKey key() const { return levels_.empty() ? 0 : levels_.back().key.key(); }
  // Its name (empty for the first) and that of the value given last, nothing lost.
  const std::u16string& key_name() const { return key_name_; }
  std::u16string_view value_name() const { return {name_.data(), value_name_size_}; }
  // Cuts since the last call.
  std::vector<ListingCut> TakeCuts() { return std::exchange(cuts_, {}); }

 private:
  struct Child {
    std::u16string name;
    uint64_t last_write = 0;  // FILETIME, UTC
  };
  // A key on the way down to the one given last, which is the last of them.
  struct Level {
    OpenedKey key;
    KeyCounts counts;
    size_t path_length = 0;    // of the path as it is shown, bytes
    size_t stored_length = 0;  // of the path with the names as they are stored
    bool listed = false;       // its children are known
    std::vector<Child> children;
    size_t next_child = 0;  // number in `children`
  };

  // Start gives the first key, Enter one of its children; Push adds the level of either, opened or
  // not. ListChildren reads the names below a level when they are first needed.
  bool Start(SourceKey& key);
  bool Enter(const Child& child, SourceKey& key);
  void Push(OpenedKey opened, int32_t error, const Child& child, SourceKey& key);
  void ListChildren(Level& level);
  void NoteCut(const Level& level, int32_t error);
  int32_t ReadValue(SourceValue& value, uint32_t& data_size, uint32_t& name_size);

  std::string start_;
  uint32_t access_;
  uint32_t options_;
  bool started_ = false;
  std::vector<Level> levels_;
  std::string path_;
  std::string stored_path_;
  uint32_t next_value_ = 0;
  std::u16string key_name_;
  std::u16string name_;
  uint32_t value_name_size_ = 0;
  std::vector<uint8_t> data_;
  std::vector<ListingCut> cuts_;
};

// The paths of chosen roots. One that is part of another chosen root is left out: the current
// user's keys are among all users', the current configuration among the machine's.
std::vector<std::string> PathsOfRoots(uint32_t roots);

// Counts the keys of a walk and says in the status line where it is, every 256 keys.
class LiveProgress {
 public:
  void Count(const std::string& path, const OutputList& list);

 private:
  uint32_t keys_ = 0;  // so far
};

// A row about a key of the live registry or, with `value`, about that value of it.
void AddLiveRow(OutputList& list, std::initializer_list<Cell> cells, const SourceKey& key,
                const SourceValue* value = nullptr, int icon = 0);

}  // namespace hivequarry
