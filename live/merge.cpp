#include "live/merge.h"

#include <optional>
#include <utility>
#include <vector>

#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/root_path.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "live/live_keys.h"
#include "security/descriptor.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kKeysPerStatus = 128;
constexpr size_t kMaxErrorText = 256;
// Times the image's length: what may be written. Only values that many keys share exceed it.
constexpr uint64_t kMostWritten = 3;
// In the registry's functions' eyes the name is another one, so they are not asked.
constexpr const char* kUnwritableName = "Name can not be written";
constexpr const char* kTombstoneLeftOut = "Tombstone: hides what is in another hive";
// No codes of the platform's: what is there already is of the other kind.
constexpr int32_t kLinkThere = -1, kNoLinkThere = -2;

// Up to the first zero: the registry's function takes no more.
std::u16string ClassNameOf(const HiveImage& hive, uint32_t position) {
  const KeyNode key = ReadKeyNode(hive, position, KeyRead::kFields);
  const std::vector<uint8_t> bytes = ReadClassName(hive, key);
  std::u16string name;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) name.push_back(LoadU16(bytes.data() + i));
  return name.substr(0, name.find(u'\0'));
}

// Opened where it is there already; its class stays then.
OpenedKey MakeKey(RegistryKey parent, const std::u16string& path, const std::u16string& class_name,
                  uint32_t access) {
  RegistryKey opened = 0;
  const int32_t error = CurrentRegistry().create(
      parent, path.c_str(), class_name.empty() ? nullptr : class_name.c_str(), 0, access, &opened);
  return OpenedKey(opened, error);
}

// A key that is there already, itself: never the one that a link of this name leads to, which lies
// outside the branch that the user has agreed to.
OpenedKey OpenItself(RegistryKey parent, const std::u16string& path, bool link, uint32_t access) {
  OpenedKey there(parent, path.c_str(), access, kRegistryOpenLink);
  if (there.error() != kRegistryDone || IsRegistryLink(there.key()) == link) return there;
  return OpenedKey(0, link ? kNoLinkThere : kLinkThere);
}

// The link itself, not what it leads to: opened if it is there, else made.
OpenedKey MakeLink(RegistryKey parent, const std::u16string& path, uint32_t access) {
  OpenedKey there = OpenItself(parent, path, true, access);
  if (there.error() != kRegistryNotFound) return there;
  RegistryKey opened = 0;
  const int32_t error =
      CurrentRegistry().create(parent, path.c_str(), nullptr, kRegistryCreateLink, access, &opened);
  return OpenedKey(opened, error);
}

bool IsLinkKey(const HiveImage& hive, std::span<const uint32_t> values) {
  if (values.size() != 1) return false;
  const ValueKey value = ReadValueKey(hive, values[0], ValueRead::kName, kMaxValueData, nullptr);
  return value.type == kRegLink && EqualIgnoringCase(value.name, "SymbolicLinkValue");
}

// Why a value of the hive was left out, in the words of the value lists where they have some.
std::string UnreadableText(const ValueKey& value) {
  const std::string marker = ValueDataText(value, {});
  return marker.empty() ? "Can not be read" : marker;
}

// A descriptor as the registry takes it, with what of it there is.
struct Descriptor {
  std::vector<uint8_t> bytes;
  uint32_t parts = 0;
};

// False for a record that is damaged anywhere: half a descriptor would open a key to everybody, or
// close it. Its lists must be inside it, and it must have an owner.
bool ReadDescriptor(const HiveImage& hive, uint32_t key, Descriptor& descriptor) {
  SecurityRecordInfo info;
  if (!ReadSecurityRecord(ImageBytes(hive), ReadOffset(hive, key + kKeySecurity), info))
    return false;
  const uint32_t start = info.position + kSecurityDescriptor;
  const uint32_t size = ReadU32(hive, info.position + kSecurityLength);
  if (size > info.length || !InsideHive(hive, start, size)) return false;
  const auto inside = [&](const AclPlace& acl) {
    return acl.position == 0 ||
           (acl.position >= start && uint64_t{acl.position} + acl.size <= uint64_t{start} + size);
  };
  if (info.owner_text.empty() || !inside(info.dacl) || !inside(info.sacl)) return false;
  descriptor.bytes.resize(size);
  ReadBytes(hive, start, descriptor.bytes.data(), size);
  descriptor.parts = kOwnerInformation | kDaclInformation;
  if (!info.group_text.empty()) descriptor.parts |= kGroupInformation;
  if (info.sacl.position != 0) descriptor.parts |= kSaclInformation;
  return true;
}

// Enabled as long as a merge writes security records.
struct SecurityPrivileges {
  EnabledPrivilege security{Privilege::kSecurity};
  EnabledPrivilege restore{Privilege::kRestore};
  EnabledPrivilege take_ownership{Privilege::kTakeOwnership};
};

// Writes a branch of a hive into the live registry, parents first.
class Merger {
 public:
  Merger(const HiveImage& hive, const KeyTree& tree, MergeTarget& target,
         const MergeOptions& options, OutputList& errors)
      : hive_(hive), tree_(tree), target_(target), options_(options), errors_(errors) {
    if (options.security) privileges_.emplace();
  }

  MergeCounts Run() {
    const uint32_t end = EnterStart() ? tree_.items[target_.item].end : target_.item + 1;
    for (uint32_t at = target_.item + 1; at < end && !Ended();) {
      LeaveUpTo(at);
      const bool entered = IsKeyItem(tree_, at) && IsWanted(at) && EnterChild(at);
      at = entered ? at + 1 : tree_.items[at].end;
    }
    // Keys already written get their records also when the rest is not.
    while (!levels_.empty()) Leave();
    return counts_;
  }

 private:
  // Beginning at a recovered key asks for those below it.
  bool IsWanted(uint32_t item) const {
    return options_.recovered_keys || !IsRecovered(tree_, item) ||
           (target_.item != 0 && IsRecovered(tree_, target_.item));
  }

  // A key on the way down to the one being written.
  struct Level {
    uint32_t item;
    OpenedKey key;
    bool wow64;
    // Children that are symbolic links wait for the others: a link made first would lead what is
    // written under its name to another place.
    std::vector<uint32_t> links = {};
  };

  bool Ended() const { return counts_.refused || cut_short_ || StopRequested(); }

  // False for a link.
  bool EnterStart() {
    const uint32_t item = target_.item;
    // Opened by the interface thread, without the privileges.
    OpenedKey key(target_.key.key(), u"", AccessFor(target_.wow64), kRegistryOpenLink);
    if (key.error() != kRegistryDone) key = std::move(target_.key);
    const std::vector<uint32_t> values = ValuesOf(item);
    const bool link = IsLinkKey(hive_, values);
    if (link) ListKeysBelowLink(item);
    Push(item, std::move(key), target_.wow64, values);
    return !link;
  }

  // True when the walk goes down. Links are made after their siblings, when what they lead to may
  // be there already.
  bool EnterChild(uint32_t item) {
    if (levels_.size() > kMaxMergeDepth) return Leave(item, "Nested too deep");
    const std::u16string name = WideItemName(hive_, tree_, item);
    if (!IsUsableKeyName(name)) return Leave(item, kUnwritableName);
    const bool hides = !IsMade(item) && LayerOfKey(hive_, PositionOf(item)) == KeyLayer::kTombstone;
    if (hides) return Leave(item, kTombstoneLeftOut);
    const std::vector<uint32_t> values = ValuesOf(item);
    if (IsLinkKey(hive_, values)) {
      levels_.back().links.push_back(item);
      return false;
    }
    return Open(item, name, values);
  }

  // Opens or makes the key and writes its values.
  bool Open(uint32_t item, const std::u16string& name, std::span<const uint32_t> values) {
    const RegistryKey parent = levels_.back().key.key();
    const bool wow64 = levels_.back().wow64 || IsWow64Name(name);
    OpenedKey key;
    if (IsLinkKey(hive_, values)) {
      key = MakeLink(parent, name, AccessFor(wow64));
    } else {
      key = OpenItself(parent, name, false, AccessFor(wow64));
      if (key.error() == kRegistryNotFound) {
        key = MakeKey(parent, name, IsMade(item) ? u"" : ClassNameOf(hive_, PositionOf(item)),
                      AccessFor(wow64));
      }
    }
    if (key.error() != kRegistryDone) {
      Refuse(item, "", key.error());
      return false;
    }
    Push(item, std::move(key), wow64, values);
    return true;
  }

  // A registry has none.
  void ListKeysBelowLink(uint32_t link) {
    if (tree_.items[link].end > link + 1) AddRow(link + 1, "", "Below a symbolic link");
  }

  void WriteLink(uint32_t item) {
    ListKeysBelowLink(item);
    if (Open(item, WideItemName(hive_, tree_, item), ValuesOf(item))) Leave();
  }

  bool IsMade(uint32_t item) const { return (tree_.items[item].marks & kVirtualMarks) != 0; }

  std::vector<uint32_t> ValuesOf(uint32_t item) {
    return IsMade(item) ? std::vector<uint32_t>() : ListedUpToGap(hive_, PositionOf(item));
  }

  uint32_t AccessFor(bool wow64) const {
    const bool sacl = privileges_.has_value() && privileges_->security.held();
    return kRegistryAll | RegistryViewOf(wow64) | (sacl ? kRegistrySystemSecurity : 0);
  }

  void Push(uint32_t item, OpenedKey key, bool wow64, std::span<const uint32_t> values) {
    levels_.push_back({item, std::move(key), wow64});
    ++counts_.keys;
    if (counts_.keys % kKeysPerStatus == 0) ShowStatus(PathOf(item).c_str());
    for (const uint32_t position : values) {
      if (Ended()) return;
      WriteValue(item, position);
    }
  }

  // What cannot be written is a row. Data written are counted, since values of a damaged hive may
  // share theirs: a multiple of the file's length ends the merge.
  void WriteValue(uint32_t item, uint32_t position) {
    const ValueKey value = ReadValueKey(hive_, position, ValueRead::kData, kMaxValueData, &data_);
    if (value.status != ValueStatus::kRead) {
      return AddRow(item, ValueDisplayName(value), UnreadableText(value));
    }
    if (IsTombstone(hive_, value)) {
      return AddRow(item, ValueDisplayName(value), kTombstoneLeftOut);
    }
    const std::u16string name = WideValueName(hive_, value);
    if (name.find(u'\0') != std::u16string::npos) {
      return AddRow(item, ValueDisplayName(value), kUnwritableName);
    }
    const int32_t error =
        CurrentRegistry().set_value(levels_.back().key.key(), name.c_str(), value.type,
                                    data_.data(), static_cast<uint32_t>(data_.size()));
    if (error != kRegistryDone) return RefuseValue(item, value, error);
    ++counts_.values;
    written_ += data_.size();
    if (written_ <= kMostWritten * hive_.length) return;
    cut_short_ = true;
    AddRow(item, ValueDisplayName(value), "Too much data: cut short here");
  }

  void RefuseValue(uint32_t item, const ValueKey& value, int32_t error) {
    Refuse(item, ValueDisplayName(value), error);
    counts_.refused = true;
    counts_.error = error;
  }

  void Refuse(uint32_t item, const std::string& value, int32_t error) {
    const bool no_access = error == kRegistryNotFound || error == kRegistryDenied;
    if (!no_access || options_.list_no_access) AddRow(item, value, MergeErrorText(error));
  }

  bool Leave(uint32_t item, const char* why) {
    AddRow(item, "", why);
    return false;
  }

  void AddRow(uint32_t item, const std::string& value, const std::string& error) {
    const std::string path = PathBelowRoot(hive_, tree_, item);
    AddListRow(errors_, {target_.place.prefix, path, value, error}, tree_.items[item].position);
  }

  void LeaveUpTo(uint32_t item) {
    while (tree_.items[levels_.back().item].end <= item) Leave();
  }

  // Its record may forbid what was done in the key and below, so it comes last.
  void Leave() {
    for (const uint32_t link : std::exchange(levels_.back().links, {})) {
      if (!Ended()) WriteLink(link);
    }
    if (options_.security) WriteSecurity(levels_.back());
    levels_.pop_back();
  }

  // As much of the descriptor as the process may set: owner and group want one privilege, audit
  // entries another.
  void WriteSecurity(const Level& level) {
    Descriptor descriptor;
    if (IsMade(level.item) || !ReadDescriptor(hive_, PositionOf(level.item), descriptor)) return;
    if (!privileges_->security.held()) descriptor.parts &= ~kSaclInformation;
    if (!privileges_->restore.held()) descriptor.parts &= ~(kOwnerInformation | kGroupInformation);
    const int32_t error =
        CurrentRegistry().set_security(level.key.key(), descriptor.parts, descriptor.bytes.data());
    if (error != kRegistryDone) AddRow(level.item, "", "Security: " + MergeErrorText(error));
  }

  uint32_t PositionOf(uint32_t item) const { return tree_.items[item].position; }
  std::string PathOf(uint32_t item) const {
    return PathInPlace(target_.place, PathBelowRoot(hive_, tree_, item));
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  MergeTarget& target_;
  const MergeOptions options_;
  OutputList& errors_;
  std::optional<SecurityPrivileges> privileges_;
  MergeCounts counts_;
  std::vector<Level> levels_;
  std::vector<uint8_t> data_;
  uint64_t written_ = 0;
  bool cut_short_ = false;
};

}  // namespace

std::string MergeErrorText(int32_t error) {
  if (error == kLinkThere) return "The registry has a symbolic link of this name";
  if (error == kNoLinkThere) return "The registry has a key of this name that is no symbolic link";
  const std::string whole = CurrentRegistry().error_text(error);
  const std::string text(FirstUnits(whole, kMaxErrorText));
  return text.empty() ? "Error " + std::to_string(error) : text;
}

MergeFault CheckMerge(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                      MergeTarget& target) {
  target.item = item;
  if (HasNoLivePlace(tree, item)) return MergeFault::kNoLivePlace;
  if (!FindLivePlace(hive, target.place)) return MergeFault::kUnknownRoot;
  if (!RootDoubt(hive).empty()) return MergeFault::kDoubtfulRoot;
  return MergeFault::kNone;
}

MergeFault OpenMergeTarget(const HiveImage& hive, const KeyTree& tree, MergeTarget& target) {
  const uint32_t item = target.item;
  std::u16string path;
  if (!HasKeyCell(tree, item) || !LiveSubPath(hive, tree, item, target.place, path)) {
    return MergeFault::kUnreadable;
  }
  target.wow64 = IsWow64SubPath(path);
  const uint32_t access = kRegistryAll | RegistryViewOf(target.wow64);
  const uint32_t position = tree.items[item].position;
  const bool link = IsLinkKey(hive, ListedUpToGap(hive, position));
  target.key = link ? MakeLink(target.place.root, path, access)
                    : MakeKey(target.place.root, path, ClassNameOf(hive, position), access);
  return target.key.error() == kRegistryDone ? MergeFault::kNone : MergeFault::kNotOpened;
}

MergeCounts MergeBranch(const HiveImage& hive, const KeyTree& tree, MergeTarget& target,
                        const MergeOptions& options, OutputList& errors) {
  return Merger(hive, tree, target, options, errors).Run();
}

}  // namespace hivequarry
