// The registry of a system that has none: every key is missing.

#ifndef _WIN32

#include "host/case.h"
#include "live/registry.h"

namespace hivequarry {

Registry PlatformRegistry() {
  Registry none;
  none.open = [](auto...) { return kRegistryNotFound; };
  none.close = [](auto...) { return kRegistryNotFound; };
  none.query_info = [](auto...) { return kRegistryNotFound; };
  none.enum_key = [](auto...) { return kRegistryNotFound; };
  none.enum_value = [](auto...) { return kRegistryNotFound; };
  none.query_value = [](auto...) { return kRegistryNotFound; };
  none.get_security = [](auto...) { return kRegistryNotFound; };
  none.query_class = [](auto...) { return kRegistryNotFound; };
  none.key_name = [](auto...) { return kRegistryNotFound; };
  none.create = [](auto...) { return kRegistryNotFound; };
  none.set_value = [](auto...) { return kRegistryNotFound; };
  none.set_security = [](auto...) { return kRegistryNotFound; };
  none.save = [](auto...) { return kRegistryNotFound; };
  none.save_natively = [](auto...) { return kRegistryNotFound; };
  none.protect_file = [](auto...) { return kRegistryNotFound; };
  none.load = [](auto...) { return kRegistryNotFound; };
  none.unload = [](auto...) { return kRegistryNotFound; };
  none.replace = [](auto...) { return kRegistryNotFound; };
  none.error_text = [](int32_t) { return std::string(); };
  none.capital_name = [](std::u16string_view name) {
    std::u16string capitals(name);
    for (char16_t& unit : capitals) unit = CapitalOf(unit);
    return capitals;
  };
  none.has_32bit_view = [] { return false; };
  none.set_privilege = [](auto...) { return kRegistryNotFound; };
  return none;
}

}  // namespace hivequarry

#endif
