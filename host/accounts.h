// The account database of this machine, as the platform gives it.
#pragma once

#include <span>

#include "host/host.h"

namespace hivequarry {

// What `Host::account` asks, for the front ends' tables: the machine's own look-up, which may ask
// the network and so take seconds. Windows alone has one.
AccountAnswer LookUpAccount(void* context, std::span<const uint8_t> sid);

}  // namespace hivequarry
