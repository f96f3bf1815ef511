// The registry functions that this program calls, in one table with the platform's signatures:
// filled from ADVAPI32 in the product, and by a registry kept in memory in tests on systems that
// have none.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// A handle of an open key; the predefined roots are constants of the platform.
using RegistryKey = uintptr_t;
inline constexpr RegistryKey kClassesRoot = 0x80000000;
inline constexpr RegistryKey kCurrentUser = 0x80000001;
inline constexpr RegistryKey kLocalMachine = 0x80000002;
inline constexpr RegistryKey kUsersRoot = 0x80000003;
inline constexpr RegistryKey kCurrentConfig = 0x80000005;

// Answers of the functions: the platform's error codes.
inline constexpr int32_t kRegistryDone = 0;
inline constexpr int32_t kRegistryNotFound = 2;
inline constexpr int32_t kRegistryDenied = 5;
inline constexpr int32_t kRegistryBadHandle = 6;
inline constexpr int32_t kRegistryOtherDrive = 17;
inline constexpr int32_t kRegistryBufferTooSmall = 122;
inline constexpr int32_t kRegistryFileExists = 183;
inline constexpr int32_t kRegistryMoreData = 234;
inline constexpr int32_t kRegistryNoMoreItems = 259;
inline constexpr int32_t kRegistryKeyDeleted = 1018;
inline constexpr int32_t kPrivilegeNotHeld = 1314;

// Access rights that are asked for.
inline constexpr uint32_t kRegistryRead = 0x20019;
inline constexpr uint32_t kRegistrySystemSecurity = 0x01000000;  // to read a SACL
inline constexpr uint32_t kRegistryAll = 0xF003F;
inline constexpr uint32_t kRegistry64Bit = 0x0100;  // the 64-bit view
inline constexpr uint32_t kRegistry32Bit = 0x0200;

// Options of opening: a symbolic link itself, not the key that it leads to; by the backup
// privilege, whatever the key's own security says.
inline constexpr uint32_t kRegistryOpenLink = 8;
inline constexpr uint32_t kRegistryForBackup = 4;
// Option of making a key: a symbolic link.
inline constexpr uint32_t kRegistryCreateLink = 2;

// Parts of a security descriptor.
inline constexpr uint32_t kOwnerInformation = 1;
inline constexpr uint32_t kGroupInformation = 2;
inline constexpr uint32_t kDaclInformation = 4;
inline constexpr uint32_t kSaclInformation = 8;

// What buffers for the key's names and data must hold, at the time of the call.
struct KeyCounts {
  uint32_t subkeys = 0;             // how many
  uint32_t longest_subkey = 0;      // UTF-16 units
  uint32_t values = 0;              // how many
  uint32_t longest_value_name = 0;  // UTF-16 units
  uint32_t longest_data = 0;        // bytes
  uint64_t last_write = 0;          // FILETIME, UTC
};

// Names are zero-ended UTF-16. Sizes are in UTF-16 units for names, in bytes for data: the room
// there is (with a name's ending zero) going in, what was written (without it) coming out. With too
// little room the answer is kRegistryMoreData, and the size of data or of a descriptor is what is
// needed. `data` may be null to ask for name, type and size alone. None is null in a table given to
// SetRegistry.
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
  int32_t (*query_class)(RegistryKey key, char16_t* name, uint32_t* size) = nullptr;
  // The kernel's name of a key: "\REGISTRY\MACHINE\SOFTWARE".
  int32_t (*key_name)(RegistryKey key, std::u16string* name) = nullptr;

  // These change the registry. `class_name` may be null. A key that is there is opened.
  int32_t (*create)(RegistryKey key, const char16_t* sub_key, const char16_t* class_name,
                    uint32_t options, uint32_t access, RegistryKey* opened) = nullptr;
  int32_t (*set_value)(RegistryKey key, const char16_t* name, uint32_t type, const uint8_t* data,
                       uint32_t size) = nullptr;
  int32_t (*set_security)(RegistryKey key, uint32_t parts, const uint8_t* descriptor) = nullptr;

  // Hive files, by their full names. `save` makes a new file of a key, with this self-relative
  // security descriptor; `save_natively` does so by the kernel's own call, into a file that it
  // makes and removes again on failure; `protect_file` gives the descriptor's access list to a file
  // that is there, in place of what it inherits. `replace` puts `new_file` in the place of the
  // key's hive at the next start of the system, which is then kept as `old_file`.
  int32_t (*save)(RegistryKey key, const char16_t* file, const uint8_t* descriptor) = nullptr;
  int32_t (*save_natively)(RegistryKey key, const char16_t* file,
                           const uint8_t* descriptor) = nullptr;
  int32_t (*protect_file)(const char16_t* file, const uint8_t* descriptor) = nullptr;
  int32_t (*load)(RegistryKey root, const char16_t* sub_key, const char16_t* file) = nullptr;
  int32_t (*unload)(RegistryKey root, const char16_t* sub_key) = nullptr;
  int32_t (*replace)(RegistryKey root, const char16_t* sub_key, const char16_t* new_file,
                     const char16_t* old_file) = nullptr;

  // The system's words for an error, without a line end; empty when it has none.
  std::string (*error_text)(int32_t error) = nullptr;
  // A name in capitals, of the same length: names that the registry takes for the same have the
  // same.
  std::u16string (*capital_name)(std::u16string_view name) = nullptr;
  // True when the system keeps a second view of some keys for 32-bit programs.
  bool (*has_32bit_view)() = nullptr;
  // Enables (or disables again) a privilege of this process by name; `was_enabled` tells what it
  // was before. kPrivilegeNotHeld when the process does not have it.
  int32_t (*set_privilege)(const char16_t* name, bool enable, bool* was_enabled) = nullptr;
};

// The table in force: the platform's own, or one in which every key is missing.
const Registry& CurrentRegistry();
// Copied; for tests, before anything of the room is called.
void SetRegistry(const Registry& registry);
// Of the platform; on one without a registry every call answers kRegistryNotFound.
Registry PlatformRegistry();

// The privileges that operations need, in the order of their numbers.
enum class Privilege : uint8_t { kTakeOwnership, kSecurity, kBackup, kRestore, kShutdown };
// A constant text, zero-ended.
const char16_t* PrivilegeName(Privilege privilege);

// Closes a key when it goes.
class OpenedKey {
 public:
  OpenedKey() = default;
  OpenedKey(RegistryKey key, const char16_t* sub_key, uint32_t access, uint32_t options = 0);
  // Takes over what `create` answered.
  OpenedKey(RegistryKey opened, int32_t error) : key_(error == 0 ? opened : 0), error_(error) {}
  ~OpenedKey() { Close(); }
  OpenedKey(OpenedKey&& other) noexcept;
  OpenedKey& operator=(OpenedKey&& other) noexcept;
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  RegistryKey key() const { return key_; }
  int32_t error() const { return error_; }  // of opening
  // May be called twice.
  void Close();

 private:
  RegistryKey key_ = 0;
  int32_t error_ = kRegistryNotFound;
};

// Holds a privilege of this process, and gives back what was before when it goes.
class EnabledPrivilege {
 public:
  // `name` must outlive it. Of the whole process: other threads have the privilege meanwhile as
  // well.
  explicit EnabledPrivilege(const char16_t* name);
  explicit EnabledPrivilege(Privilege privilege) : EnabledPrivilege(PrivilegeName(privilege)) {}
  ~EnabledPrivilege();
  EnabledPrivilege(const EnabledPrivilege&) = delete;
  EnabledPrivilege& operator=(const EnabledPrivilege&) = delete;
  bool held() const { return error_ == kRegistryDone; }

 private:
  const char16_t* name_;
  bool was_enabled_ = false;  // then it is left as it was
  int32_t error_;
};

}  // namespace hivequarry
