#include "live/branch_copy.h"

// The walk gives keys with their values; of each key on the way down the copy's own is open beside
// it. A key's security is read when it is entered and set when all below it is done.
#include <vector>

#include "hive/root_path.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "live/live_keys.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr int32_t kInvalidName = 123;  // the platform's code
constexpr uint32_t kParts = kOwnerInformation | kGroupInformation | kDaclInformation;

bool HoldsZero(std::u16string_view name) { return name.find(u'\0') != name.npos; }

// The access list of a key can be read and set with the privilege alone.
uint32_t WithSecurity(uint32_t access, bool privileged) {
  return access | kRegistry64Bit | (privileged ? kRegistrySystemSecurity : 0);
}

// Empty also when it is longer than 512 units or can't be read: the copy goes without it.
std::u16string ClassNameOf(RegistryKey key) {
  std::u16string name(512, u'\0');
  auto size = static_cast<uint32_t>(name.size());
  const int32_t error = CurrentRegistry().query_class(key, name.data(), &size);
  name.resize(error == kRegistryDone ? size : 0);
  return name;
}

// Copies a branch of the live registry into a mounted hive. Errors of single keys are rows; the
// copy goes on.
class BranchCopy {
 public:
  // `privileged`: the process may read and set audit entries too. Below the root of all users the
  // hives of users are roots of their own.
  BranchCopy(const std::string& path, const std::u16string& mount, bool privileged,
             OutputList& errors)
      : walk_(path, WithSecurity(kRegistryRead, privileged), kRegistryForBackup),
        mount_(mount),
        access_(WithSecurity(kRegistryAll, privileged)),
        parts_(kParts | (privileged ? kSaclInformation : 0)),
        errors_(errors) {
    RootSplit split;
    from_users_ = SplitRootPath(path, split) && split.handle == kUsersRoot && split.rest.empty();
  }
  int32_t Run();

 private:
  // A key of the copy on the way down to the one being filled. Its own security waits until all
  // below it are made: it may deny that.
  struct Target {
    OpenedKey key;
    std::string security;
  };

  bool Enter(const SourceKey& key);
  OpenedKey Make(const SourceKey& key);
  void Leave(uint32_t level);
  void CopyValues(const SourceKey& key);
  int32_t CopyValue(const SourceValue& value);
  void AddError(const std::string& path, std::string_view value, const std::string& text);
  void AddCuts();

  RegistryWalk walk_;
  const std::u16string& mount_;
  uint32_t access_;
  uint32_t parts_;
  bool from_users_ = false;  // the mount is met on the way
  OutputList& errors_;
  std::vector<Target> targets_;
  uint64_t copied_ = 0;
  int32_t failure_ = kRegistryDone;
};

int32_t BranchCopy::Run() {
  LiveProgress progress;
  SourceKey key;
  while (failure_ == kRegistryDone && walk_.NextKey(key)) {
    Leave(key.level);
    AddCuts();
    progress.Count(key.path, errors_);
    if (Enter(key)) {
      CopyValues(key);
    } else {
      walk_.SkipChildren();
    }
  }
  AddCuts();
  Leave(1);
  return failure_;
}

// False when the key has no place in the copy.
bool BranchCopy::Enter(const SourceKey& key) {
  // The mount is a key of what is copied: without this the copy would be copied into itself.
  if (from_users_ && key.level == 2 && walk_.key_name() == mount_) return false;
  if (walk_.key() == 0) {
    AddError(key.path, {}, key.error);
    return false;
  }
  Target target;
  target.key = Make(key);
  const int32_t error = target.key.error();
  if (error != kRegistryDone) {
    AddError(key.path, {}, RegistryErrorText(error));
    // Without its first key there is no copy.
    if (key.level == 1) failure_ = error;
    return false;
  }
  target.security = ReadDescriptor(walk_.key(), parts_);
  targets_.push_back(std::move(target));
  return true;
}

// The first key is the mount itself, which is there. The others are made below the one being
// filled; a link is made as a link, and its target comes as a value later.
OpenedKey BranchCopy::Make(const SourceKey& key) {
  if (key.level == 1) return OpenedKey(kUsersRoot, mount_.c_str(), access_);
  const uint32_t options = IsRegistryLink(walk_.key()) ? kRegistryCreateLink : 0;
  const std::u16string class_name = ClassNameOf(walk_.key());
  RegistryKey made = 0;
  const int32_t error = CurrentRegistry().create(
      targets_.back().key.key(), walk_.key_name().c_str(),
      class_name.empty() ? nullptr : class_name.c_str(), options, access_, &made);
  return OpenedKey(made, error);
}

// Ends the copies of the keys from this level down.
void BranchCopy::Leave(uint32_t level) {
  const Registry& registry = CurrentRegistry();
  for (; targets_.size() >= level; targets_.pop_back()) {
    const Target& target = targets_.back();
    const auto* security = reinterpret_cast<const uint8_t*>(target.security.data());
    if (target.security.empty()) continue;
    // An owner that this system doesn't know may be refused where its access list is not.
    if (registry.set_security(target.key.key(), parts_, security) != kRegistryDone) {
      registry.set_security(target.key.key(), kDaclInformation, security);
    }
  }
}

// A value that cannot be read or written is a row of the errors and does not end the copy;
// kMaxCopiedData does.
void BranchCopy::CopyValues(const SourceKey& key) {
  for (SourceValue value; failure_ == kRegistryDone && walk_.NextValue(value);) {
    copied_ += value.data.size();
    if (copied_ > kMaxCopiedData) failure_ = kRegistryNoResources;
    if (!value.read) {
      AddError(key.path, value.name, value.text);
      continue;
    }
    const int32_t error = CopyValue(value);
    if (error != kRegistryDone) AddError(key.path, value.name, RegistryErrorText(error));
  }
}

// The registry's call takes a zero-ended name, and would write the value under the part before the
// zero.
int32_t BranchCopy::CopyValue(const SourceValue& value) {
  if (HoldsZero(walk_.value_name())) return kInvalidName;
  return CurrentRegistry().set_value(targets_.back().key.key(),
                                     std::u16string(walk_.value_name()).c_str(), value.type,
                                     value.data.data(), static_cast<uint32_t>(value.data.size()));
}

void BranchCopy::AddError(const std::string& path, std::string_view value,
                          const std::string& text) {
  RootSplit split;
  SplitRootPath(path, split);
  AddListRow(errors_, {split.long_name, split.rest, value, text}, kNoOffset);
}

void BranchCopy::AddCuts() {
  for (const ListingCut& cut : walk_.TakeCuts()) {
    AddError(cut.path, {}, RegistryErrorText(cut.error));
  }
}

}  // namespace

int32_t CopyBranch(const std::string& path, const std::u16string& mount, OutputList& errors) {
  const EnabledPrivilege owner(Privilege::kTakeOwnership);
  const EnabledPrivilege security(Privilege::kSecurity);
  const EnabledPrivilege backup(Privilege::kBackup);
  const EnabledPrivilege restore(Privilege::kRestore);
  return BranchCopy(path, mount, security.held(), errors).Run();
}

}  // namespace hivequarry
