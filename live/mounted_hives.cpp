#include "live/mounted_hives.h"

#include <algorithm>

#include "live/live_keys.h"
#include "live/live_place.h"

namespace hivequarry {
namespace {

constexpr uint32_t kMaxHives = 0x4000;  // far more than a system can hold
constexpr const char16_t* kHiveList = u"SYSTEM\\CurrentControlSet\\Control\\hivelist";

// By the words of the path alone, where the key may not be opened. The current user has no such
// name: only the system knows whose keys those are.
std::u16string NameByPath(RegistryKey root, const char16_t* sub_key) {
  if (root != kLocalMachine && root != kUsersRoot) return {};
  const std::u16string above = root == kUsersRoot ? u"\\REGISTRY\\USER" : u"\\REGISTRY\\MACHINE";
  return *sub_key == 0 ? above : above + u'\\' + sub_key;
}

}  // namespace

MountedHives ReadMountedHives() {
  MountedHives hives;
  const OpenedKey list(kLocalMachine, kHiveList, kRegistryRead | kRegistry64Bit);
  if (list.error() != kRegistryDone) return hives;
  std::u16string name(kLongestValueName, u'\0');
  int32_t error = kRegistryDone;
  for (uint32_t index = 0; index < kMaxHives; ++index) {
    uint32_t length = kLongestValueName;
    uint32_t type = 0;
    uint32_t size = 0;
    error = CurrentRegistry().enum_value(list.key(), index, name.data(), &length, &type, nullptr,
                                         &size);
    if (error != kRegistryDone) break;
    hives.names.push_back(CapitalName(std::u16string_view(name).substr(0, length)));
  }
  // Only the whole list says of a key that it is none; a running system has some hives.
  hives.listed = error == kRegistryNoMoreItems && !hives.names.empty();
  return hives;
}

bool IsHiveRoot(const MountedHives& hives, const std::u16string& kernel_name) {
  return !kernel_name.empty() && std::ranges::find(hives.names, kernel_name) != hives.names.end();
}

std::u16string KernelNameOf(RegistryKey root, const char16_t* sub_key) {
  const OpenedKey key =
      OpenForReading(root, sub_key, kRegistryRead | kRegistry64Bit, kRegistryForBackup);
  std::u16string name;
  const bool known =
      key.error() == kRegistryDone && CurrentRegistry().key_name(key.key(), &name) == kRegistryDone;
  return CapitalName(known ? name : NameByPath(root, sub_key));
}

}  // namespace hivequarry
