#include "tests/support/memory_registry.h"

#include <algorithm>
#include <cstring>

#include "hive/value_text.h"
#include "host/case.h"

namespace hivequarry::testing {
namespace {

MemoryRegistry* in_force = nullptr;
constexpr int kMostLinks = 8;

bool SameName(std::u16string_view a, std::u16string_view b) {
  const auto same = [](char16_t x, char16_t y) { return CapitalOf(x) == CapitalOf(y); };
  return std::ranges::equal(a, b, same);
}

std::u16string_view TakeName(std::u16string_view& path) {
  const size_t end = path.find(u'\\');
  const std::u16string_view name = path.substr(0, end);
  path.remove_prefix(end == std::u16string_view::npos ? path.size() : end + 1);
  return name;
}

// The key that a handle stands for; null for a wrong one.
MemoryKey* KeyOf(RegistryKey key) {
  constexpr const char16_t* kNames[] = {u"HKCR", u"HKCU", u"HKLM", u"HKU", u"", u"HKCC"};
  if (key >= kClassesRoot && key <= kCurrentConfig) {
    return in_force->Find(kNames[key - kClassesRoot]);
  }
  const auto found = in_force->opened.find(key);
  return found == in_force->opened.end() ? nullptr : found->second;
}

MemoryKey* FindBelow(MemoryKey* key, std::u16string_view path, bool open_link, int links) {
  while (key != nullptr && !path.empty()) {
    key = key->Find(TakeName(path));
    const bool followed = key != nullptr && !key->link.empty() && !(open_link && path.empty());
    if (!followed) continue;
    if (links == kMostLinks) return nullptr;
    key = FindBelow(&in_force->roots, key->link, false, links + 1);
  }
  return key;
}

int32_t Open(RegistryKey key, const char16_t* sub_key, uint32_t options, uint32_t access,
             RegistryKey* opened) {
  const bool open_link = (options & kRegistryOpenLink) != 0;
  MemoryKey* const found = FindBelow(KeyOf(key), sub_key, open_link, 0);
  if (found == nullptr) return kRegistryNotFound;
  if (found->open_error != kRegistryDone) return found->open_error;
  const bool security = (access & kRegistrySystemSecurity) != 0;
  if (security && !in_force->enabled.contains(u"SeSecurityPrivilege")) return kPrivilegeNotHeld;
  *opened = in_force->next_handle++;
  in_force->opened[*opened] = found;
  return kRegistryDone;
}

int32_t Close(RegistryKey key) { return in_force->opened.erase(key) != 0 ? kRegistryDone : 6; }

int32_t QueryInfo(RegistryKey key, KeyCounts* counts) {
  const MemoryKey& at = *KeyOf(key);
  *counts = KeyCounts();
  counts->subkeys = static_cast<uint32_t>(at.keys.size());
  counts->values = static_cast<uint32_t>(at.values.size());
  counts->last_write = at.last_write;
  return kRegistryDone;  // the longest names and data are only hints
}

int32_t CopyName(const std::u16string& text, char16_t* name, uint32_t* size) {
  if (text.size() >= *size) return kRegistryMoreData;
  std::copy_n(text.c_str(), text.size() + 1, name);
  *size = static_cast<uint32_t>(text.size());
  return kRegistryDone;
}

int32_t CopyBytes(const std::vector<uint8_t>& bytes, uint8_t* data, uint32_t* size) {
  const uint32_t room = *size;
  *size = static_cast<uint32_t>(bytes.size());
  if (data == nullptr) return kRegistryDone;
  if (bytes.size() > room) return kRegistryMoreData;
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  return kRegistryDone;
}

int32_t EnumKey(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size,
                uint64_t* last_write) {
  const MemoryKey& at = *KeyOf(key);
  if (index >= at.keys.size()) return kRegistryNoMoreItems;
  *last_write = at.keys[index]->last_write;
  return CopyName(at.keys[index]->name, name, size);
}

int32_t EnumValue(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size, uint32_t* type,
                  uint8_t* data, uint32_t* data_size) {
  const MemoryKey& at = *KeyOf(key);
  if (index >= at.values.size()) return kRegistryNoMoreItems;
  const MemoryValue& value = at.values[index];
  *type = value.type;
  const int32_t error = CopyName(value.name, name, size);
  return error != kRegistryDone ? error : CopyBytes(value.data, data, data_size);
}

int32_t QueryValue(RegistryKey key, const char16_t* name, uint32_t* type, uint8_t* data,
                   uint32_t* size) {
  for (const MemoryValue& value : KeyOf(key)->values) {
    if (!SameName(value.name, name)) continue;
    *type = value.type;
    return CopyBytes(value.data, data, size);
  }
  return kRegistryNotFound;
}

int32_t GetSecurity(RegistryKey key, uint32_t, uint8_t* descriptor, uint32_t* size) {
  return CopyBytes(KeyOf(key)->security, descriptor, size);
}

int32_t QueryClass(RegistryKey key, char16_t* name, uint32_t* size) {
  return CopyName(KeyOf(key)->class_name, name, size);
}

int32_t Create(RegistryKey key, const char16_t* sub_key, const char16_t* class_name,
               uint32_t access, RegistryKey* opened) {
  MemoryKey* at = KeyOf(key);
  for (std::u16string_view path = sub_key; !path.empty();) {
    const std::u16string_view name = TakeName(path);
    MemoryKey* child = at->Find(name);
    if (child == nullptr && at->write_error != kRegistryDone) return at->write_error;
    if (child == nullptr) {
      child = &at->Add(name);
      if (class_name != nullptr) child->class_name = class_name;
    }
    at = child;
  }
  return Open(key, sub_key, 0, access, opened);
}

int32_t SetValue(RegistryKey key, const char16_t* name, uint32_t type, const uint8_t* data,
                 uint32_t size) {
  MemoryKey& at = *KeyOf(key);
  if (at.write_error != kRegistryDone) return at.write_error;
  at.Set(name, type, std::vector<uint8_t>(data, data + size));
  return kRegistryDone;
}

int32_t SetSecurity(RegistryKey key, uint32_t, const uint8_t*) {
  return KeyOf(key)->write_error;  // nothing asks for it back as yet
}

int32_t SetPrivilege(const char16_t* name, bool enable, bool* was_enabled) {
  *was_enabled = in_force->enabled.contains(name);
  if (!in_force->privileges.contains(name)) return kPrivilegeNotHeld;
  if (enable) {
    in_force->enabled.insert(name);
  } else {
    in_force->enabled.erase(name);
  }
  return kRegistryDone;
}

}  // namespace

MemoryValue& MemoryKey::Set(std::u16string_view value, uint32_t value_type,
                            std::vector<uint8_t> bytes) {
  const auto named = [&](const MemoryValue& each) { return SameName(each.name, value); };
  auto found = std::ranges::find_if(values, named);
  if (found == values.end()) found = values.insert(found, {std::u16string(value), 0, {}});
  found->type = value_type;
  found->data = std::move(bytes);
  return *found;
}

MemoryValue& MemoryKey::SetText(std::u16string_view value, std::u16string_view text) {
  std::vector<uint8_t> bytes((text.size() + 1) * 2);
  std::memcpy(bytes.data(), text.data(), text.size() * 2);
  return Set(value, kRegSz, std::move(bytes));
}

MemoryKey& MemoryKey::Add(std::u16string_view key) {
  MemoryKey& added = *keys.emplace_back(std::make_unique<MemoryKey>());
  added.name = key;
  return added;
}

MemoryKey* MemoryKey::Find(std::u16string_view key) const {
  for (const std::unique_ptr<MemoryKey>& each : keys) {
    if (SameName(each->name, key)) return each.get();
  }
  return nullptr;
}

MemoryRegistry::MemoryRegistry() : before_(CurrentRegistry()) {
  in_force = this;
  for (const char16_t* root : {u"HKCR", u"HKCU", u"HKLM", u"HKU", u"HKCC"}) At(root);
  Registry table = PlatformRegistry();
  table.open = Open;
  table.close = Close;
  table.query_info = QueryInfo;
  table.enum_key = EnumKey;
  table.enum_value = EnumValue;
  table.query_value = QueryValue;
  table.get_security = GetSecurity;
  table.query_class = QueryClass;
  table.create = Create;
  table.set_value = SetValue;
  table.set_security = SetSecurity;
  table.error_text = [](int32_t error) { return "error " + std::to_string(error); };
  table.set_privilege = SetPrivilege;
  SetRegistry(table);
}

MemoryRegistry::~MemoryRegistry() {
  SetRegistry(before_);
  in_force = nullptr;
}

MemoryKey& MemoryRegistry::At(std::u16string_view path) {
  MemoryKey* key = &roots;
  while (!path.empty()) {
    const std::u16string_view name = TakeName(path);
    MemoryKey* child = key->Find(name);
    key = child != nullptr ? child : &key->Add(name);
  }
  return *key;
}

MemoryKey* MemoryRegistry::Find(std::u16string_view path) {
  return FindBelow(&roots, path, false, 0);
}

}  // namespace hivequarry::testing
