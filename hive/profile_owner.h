// Whose a user's hive is, by the access list of its keys. A system that makes a profile gives all
// access to the hive's keys to the user's account, to itself and to the administrators, and no
// other account.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"

namespace hivequarry {

// The one account to which the key's access list allows everything, as the text of its SID: of a
// user of a machine, a domain or a directory ("S-1-5-21-...-1001", "S-1-12-1-..."), or of a service
// ("S-1-5-19"). Groups that every domain has, the system and the administrators are none. Empty
// when there is no such account, or more than one, or when the record is damaged.
std::string AccountWithAllAccess(const HiveImage& hive, uint32_t key_position);

}  // namespace hivequarry
