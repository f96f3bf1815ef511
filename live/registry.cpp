#include "live/registry.h"

#include <utility>

namespace hivequarry {
namespace {

// Made of the platform's when first asked for; tests put another in its place.
Registry& TableInForce() {
  static Registry table = PlatformRegistry();
  return table;
}

}  // namespace

const Registry& CurrentRegistry() { return TableInForce(); }

void SetRegistry(const Registry& registry) { TableInForce() = registry; }

const char16_t* PrivilegeName(Privilege privilege) {
  constexpr const char16_t* kNames[] = {u"SeTakeOwnershipPrivilege", u"SeSecurityPrivilege",
                                        u"SeBackupPrivilege", u"SeRestorePrivilege",
                                        u"SeShutdownPrivilege"};
  return kNames[static_cast<size_t>(privilege)];
}

OpenedKey::OpenedKey(RegistryKey key, const char16_t* sub_key, uint32_t access, uint32_t options) {
  error_ = CurrentRegistry().open(key, sub_key, options, access, &key_);
  if (error_ != kRegistryDone) key_ = 0;
}

OpenedKey::OpenedKey(OpenedKey&& other) noexcept
    : key_(std::exchange(other.key_, 0)), error_(other.error_) {}

OpenedKey& OpenedKey::operator=(OpenedKey&& other) noexcept {
  if (this == &other) return *this;
  Close();
  key_ = std::exchange(other.key_, 0);
  error_ = other.error_;
  return *this;
}

void OpenedKey::Close() {
  if (key_ != 0) CurrentRegistry().close(key_);
  key_ = 0;
}

EnabledPrivilege::EnabledPrivilege(const char16_t* name)
    : name_(name), error_(CurrentRegistry().set_privilege(name, true, &was_enabled_)) {}

EnabledPrivilege::~EnabledPrivilege() {
  bool enabled = false;
  if (held() && !was_enabled_) CurrentRegistry().set_privilege(name_, false, &enabled);
}

}  // namespace hivequarry
