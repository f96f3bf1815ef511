// The log of the damaged sample, for the manual's worked case.
#pragma once

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

// New form, one entry: what came after the sample's last write. The sample is clean without it.
Bytes SampleLog();

}  // namespace hivequarry::testing
