// Hives made in memory, sound in every field, and ways to damage them in one line.
//
//   HiveBuilder hive;
//   hive.Key("Software\\Tools").Sz("Path", "C:\\Tools").Dword("Count", 7);
//   BuiltHive built = hive.Build();
//   built.Unlink("Software\\Tools");              // now a disconnected key
//   TempFile file(built.bytes);                   // file.name() is ready to be opened
//
// Texts are UTF-8. Paths are relative to the root key, "" is the root itself, and compare without
// regard to case. Positions are image positions: bytes from the start of the hive, of a cell's size
// field. A mistake in a test (a path that does not exist) ends the test program with a message.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

struct ValueRecord {
  std::u16string name;
  uint32_t type = 0;
  Bytes data;
  bool wide = false;  // stored as UTF-16 though single bytes would do
  bool tombstone = false;
};

struct TaggedCell {
  std::string tag;
  Bytes record;  // what is after the size field
  bool allocated = true;
};

struct KeyRecord {
  std::u16string name;
  bool wide = false;
  int flags = -1;  // -1: by the rules of a sound hive
  uint64_t time = kDefaultTime;
  Bytes class_name;
  List list = List::kLh;
  uint32_t per_list = 0;  // entries per child list of an "ri"; 0: 512
  uint32_t security = 0;
  uint32_t parent = kNone;
  uint32_t slack = 0;
  uint8_t access = 0;
  uint8_t layer = 0;
  bool keep_order = false;
  bool new_bin = false;
  std::vector<uint32_t> children;
  std::vector<uint32_t> also_lists;
  std::vector<ValueRecord> values;
  std::vector<TaggedCell> behind;
};

class HiveBuilder;

// Index key of a child: its parent's number and its upper-cased name.
std::u16string ChildName(uint32_t parent, std::u16string_view name);

// A key under construction. Everything returns the key itself, but for Key and NewKey.
class KeyRef {
 public:
  KeyRef(HiveBuilder* builder, uint32_t index) : builder_(builder), index_(index) {}
  uint32_t index() const { return index_; }

  KeyRef Key(std::string_view path);     // the subkey at `path`, made where missing
  KeyRef NewKey(std::string_view name);  // a further subkey, whatever its name holds

  KeyRef Value(std::string_view name, uint32_t type, Bytes data);
  KeyRef WideValue(std::string_view name, uint32_t type, Bytes data);  // its name in UTF-16
  KeyRef Sz(std::string_view name, std::string_view text);
  KeyRef ExpandSz(std::string_view name, std::string_view text);
  KeyRef MultiSz(std::string_view name, std::initializer_list<std::string_view> texts);
  KeyRef Dword(std::string_view name, uint32_t value);
  KeyRef Qword(std::string_view name, uint64_t value);
  KeyRef Binary(std::string_view name, size_t size, uint8_t seed = 1);  // a pattern of its own

  KeyRef Tombstone(std::string_view name);  // a value that hides one of its name

  KeyRef Time(uint64_t time) { return Put(&KeyRecord::time, time); }
  // A low byte of 0 stores the name as UTF-16.
  KeyRef Flags(uint16_t flags) { return Put(&KeyRecord::flags, flags); }
  KeyRef Wide() { return Put(&KeyRecord::wide, true); }  // UTF-16 though single bytes would do
  KeyRef Access(uint8_t bits) { return Put(&KeyRecord::access, bits); }
  KeyRef Layer(uint8_t bits) { return Put(&KeyRecord::layer, bits); }  // for HiveBuilder::Layered
  KeyRef Class(std::string_view text) { return Put(&KeyRecord::class_name, Utf16(text)); }
  KeyRef ListStyle(List kind, uint32_t per_list = 0);
  // Subkeys listed as they were added, not by name.
  KeyRef KeepOrder() { return Put(&KeyRecord::keep_order, true); }
  KeyRef AlsoLists(KeyRef other);  // a further list entry for a key that has another parent
  KeyRef Security(uint32_t index) { return Put(&KeyRecord::security, index); }  // from AddSecurity
  // Unused bytes after the name.
  KeyRef Slack(uint32_t size) { return Put(&KeyRecord::slack, size); }
  // Cells after the key's own ones (key, class name, values, list).
  KeyRef FreeBehind(uint32_t cell_size);
  KeyRef CellBehind(std::string_view tag, Bytes record, bool allocated = true);
  KeyRef NewBin() { return Put(&KeyRecord::new_bin, true); }  // the key's cells start a bin

 private:
  KeyRecord& record();
  template <typename Field, typename Value>
  KeyRef Put(Field KeyRecord::*field, Value value) {
    record().*field = std::move(value);
    return *this;
  }
  HiveBuilder* builder_;
  uint32_t index_;
};

struct BuiltHive;

class HiveBuilder {
 public:
  explicit HiveBuilder(std::string_view root_name = "ROOT");
  KeyRef Root() { return KeyRef(this, 0); }
  KeyRef Key(std::string_view path) { return Root().Key(path); }
  // Index 0 is there from the start: all access for administrators and the system.
  uint32_t AddSecurity(Bytes descriptor);
  HiveBuilder& DefaultList(List kind);  // of keys made from now on
  HiveBuilder& BinSize(uint32_t size) { return Put(bin_size_, size); }
  // Stored in the base block.
  HiveBuilder& FileName(std::string_view name) { return Put(file_name_, name); }
  HiveBuilder& Layered() { return Put(layered_, true); }  // the base block says so
  // So the root is not the first cell.
  HiveBuilder& CellBeforeRoot(Bytes record) { return Put(before_root_, std::move(record)); }
  BuiltHive Build() const;

 private:
  template <typename Field, typename Value>
  HiveBuilder& Put(Field& field, Value value) {
    field = std::move(value);
    return *this;
  }
  friend class KeyRef;
  friend struct Layout;
  std::vector<KeyRecord> keys_;
  std::unordered_map<std::u16string, uint32_t> by_name_;  // parent's number and upper-cased name
  std::vector<Bytes> securities_;
  List default_list_ = List::kLh;
  uint32_t bin_size_ = 4096;
  std::string file_name_;
  bool layered_ = false;
  Bytes before_root_;
};

// Where the cells of one key are; 0 for what it has not.
struct KeyPlaces {
  uint32_t key = 0;
  uint32_t list = 0;
  std::vector<uint32_t> child_lists;  // of an "ri"
  std::vector<uint32_t> entries;      // list entries, in list order
  uint32_t own_entry = 0;             // the entry of the parent's list that names this key
  uint32_t value_list = 0;
  uint32_t class_name = 0;
  std::vector<uint32_t> values;
  std::vector<uint32_t> data;  // data cells; 0 for inline data
};

// A hive and the places of its records. Positions follow Insert, Cut and DropBaseBlock.
struct BuiltHive {
  Bytes bytes;

  uint32_t PositionOf(std::string_view path) const;
  uint32_t PositionOf(KeyRef key) const;
  uint32_t ValuePosition(std::string_view path, std::string_view name) const;
  uint32_t DataPosition(std::string_view path, std::string_view name) const;  // the data cell
  uint32_t SegmentPosition(std::string_view path, std::string_view name, uint32_t index) const;
  uint32_t SegmentListPosition(std::string_view path, std::string_view name) const;
  uint32_t ListPosition(std::string_view path) const;
  uint32_t ChildListPosition(std::string_view path, uint32_t index) const;
  uint32_t EntryPosition(std::string_view path, uint32_t index) const;  // in the list of `path`
  uint32_t OwnEntryPosition(std::string_view path) const;               // in its parent's list
  uint32_t ValueListPosition(std::string_view path) const;
  uint32_t ClassPosition(std::string_view path) const;
  uint32_t SecurityPosition(uint32_t index = 0) const;
  uint32_t BinPosition(uint32_t index) const;
  uint32_t BinCount() const { return static_cast<uint32_t>(bins.size()); }
  uint32_t TaggedPosition(std::string_view tag) const;

  uint16_t U16(uint32_t cell, uint32_t offset) const { return GetU16(bytes, cell + offset); }
  uint32_t U32(uint32_t cell, uint32_t offset) const { return GetU32(bytes, cell + offset); }
  uint32_t CellLength(uint32_t cell) const;  // absolute

  // Damage and overrides.
  BuiltHive& SetU8(uint32_t cell, uint32_t offset, uint8_t value) {
    return bytes[cell + offset] = value, *this;
  }
  BuiltHive& SetU16(uint32_t cell, uint32_t offset, uint16_t value) {
    return PutU16(bytes, cell + offset, value), *this;
  }
  BuiltHive& SetU32(uint32_t cell, uint32_t offset, uint32_t value) {
    return PutU32(bytes, cell + offset, value), *this;
  }
  BuiltHive& SetBytes(uint32_t cell, uint32_t offset, std::span<const uint8_t> data);
  // Makes an offset field lead to the cell at `target`.
  BuiltHive& Link(uint32_t cell, uint32_t offset, uint32_t target);
  BuiltHive& Free(uint32_t cell);
  BuiltHive& Zero(uint32_t position, uint32_t size);
  BuiltHive& FlipBit(uint32_t position, uint32_t bit);
  // Takes the key out of its parent's list and counts; its cells stay allocated.
  BuiltHive& Unlink(std::string_view path);
  BuiltHive& DropBaseBlock();
  BuiltHive& Cut(uint32_t length);
  BuiltHive& Insert(uint32_t at, uint32_t size, uint8_t fill = 0);
  BuiltHive& Erase(uint32_t at, uint32_t size);

  struct Move {
    uint32_t at;
    int64_t by;
  };
  std::vector<KeyPlaces> places;
  std::vector<KeyRecord> keys;
  std::unordered_map<std::u16string, uint32_t> by_name;
  std::vector<Bytes> descriptors;
  std::vector<uint32_t> securities;
  std::vector<uint32_t> bins;
  std::map<std::string, uint32_t, std::less<>> tags;
  std::vector<Move> moves;

 private:
  uint32_t IndexOf(std::string_view path) const;
  size_t ValueIndex(uint32_t key, std::string_view name) const;
  uint32_t Moved(uint32_t position) const;
};

// The hive with `before` bytes of filling before it and `after` after.
Bytes Embedded(const Bytes& hive, uint32_t before, uint32_t after, uint8_t fill = 0);
Bytes Joined(std::initializer_list<std::span<const uint8_t>> parts);

// A file that lives as long as the object, in a folder of its own. Its path holds no "y" unless
// `name` does.
class TempFile {
 public:
  explicit TempFile(std::span<const uint8_t> bytes, std::string_view name = "TEST");
  explicit TempFile(std::string_view text, std::string_view name = "TEST");
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& name() const { return name_; }      // UTF-8
  const std::string& folder() const { return folder_; }  // gone with everything in it

 private:
  std::string folder_;
  std::string name_;
};

}  // namespace hivequarry::testing
