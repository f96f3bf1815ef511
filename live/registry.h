// The registry functions that this program calls, in one table with the platform's signatures:
// ADVAPI32 behind it in the product, a registry kept in memory for tests on systems that have none.
#pragma once

#include <cstdint>
#include <vector>

namespace hivequarry {

// A handle of an open key; the predefined roots are constants of the platform.
using RegistryKey = uintptr_t;
inline constexpr RegistryKey kClassesRoot = 0x80000000;
inline constexpr RegistryKey kCurrentUser = 0x80000001;
inline constexpr RegistryKey kLocalMachine = 0x80000002;
inline constexpr RegistryKey kUsers = 0x80000003;
inline constexpr RegistryKey kCurrentConfig = 0x80000005;

// Answers of the functions: the platform's error codes.
inline constexpr int32_t kRegistryDone = 0;
inline constexpr int32_t kRegistryNotFound = 2;
inline constexpr int32_t kRegistryDenied = 5;
inline constexpr int32_t kRegistryMoreData = 234;
inline constexpr int32_t kRegistryNoMoreItems = 259;
inline constexpr int32_t kPrivilegeNotHeld = 1314;

// Access rights that are asked for.
inline constexpr uint32_t kRegistryRead = 0x20019;
inline constexpr uint32_t kRegistrySystemSecurity = 0x01000000;  // to read a SACL
inline constexpr uint32_t kRegistry64Bit = 0x0100;               // the 64-bit view

// Parts of a security descriptor.
inline constexpr uint32_t kOwnerInformation = 1;
inline constexpr uint32_t kGroupInformation = 2;
inline constexpr uint32_t kDaclInformation = 4;
inline constexpr uint32_t kSaclInformation = 8;

struct KeyCounts {
  uint32_t subkeys = 0;
  uint32_t longest_subkey = 0;  // UTF-16 units
  uint32_t values = 0;
  uint32_t longest_value_name = 0;  // UTF-16 units
  uint32_t longest_data = 0;        // bytes
  uint64_t last_write = 0;          // FILETIME, UTC
};

// Names are zero-ended UTF-16; sizes in and out are in UTF-16 units for names, in bytes for data.
// None is null in a table given to SetRegistry.
struct Registry {
  int32_t (*open)(RegistryKey key, const char16_t* sub_key, uint32_t options, uint32_t access,
                  RegistryKey* opened) = nullptr;
  int32_t (*close)(RegistryKey key) = nullptr;
  int32_t (*query_info)(RegistryKey key, KeyCounts* counts) = nullptr;
  int32_t (*enum_key)(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size,
                      uint64_t* last_write) = nullptr;
  int32_t (*enum_value)(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size,
                        uint32_t* type, uint8_t* data, uint32_t* data_size) = nullptr;
  int32_t (*query_value)(RegistryKey key, const char16_t* name, uint32_t* type, uint8_t* data,
                         uint32_t* size) = nullptr;
  int32_t (*get_security)(RegistryKey key, uint32_t parts, uint8_t* descriptor,
                          uint32_t* size) = nullptr;
  // Enables (or disables again) a privilege of this process by name; `was_enabled` tells what it
  // was before. kPrivilegeNotHeld when the process does not have it.
  int32_t (*set_privilege)(const char16_t* name, bool enable, bool* was_enabled) = nullptr;
};

// The table in force: the platform's own, or one in which every key is missing.
const Registry& CurrentRegistry();
void SetRegistry(const Registry& registry);
// Of the platform; on one without a registry every call answers kRegistryNotFound.
Registry PlatformRegistry();

// Closes a key when it goes.
class OpenedKey {
 public:
  OpenedKey() = default;
  OpenedKey(RegistryKey key, const char16_t* sub_key, uint32_t access);
  ~OpenedKey() { Close(); }
  OpenedKey(OpenedKey&& other) noexcept;
  OpenedKey& operator=(OpenedKey&& other) noexcept;
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  RegistryKey key() const { return key_; }
  int32_t error() const { return error_; }  // of opening
  void Close();

 private:
  RegistryKey key_ = 0;
  int32_t error_ = kRegistryNotFound;
};

}  // namespace hivequarry
