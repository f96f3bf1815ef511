// The log of the damaged sample, for the manual's worked case.
#pragma once

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

// New form, one entry: what came after the sample's last write. The sample is clean without it.
Bytes SampleLog();

// The same sample, copied before its system had written that change into the hive, and its log.
Bytes DirtySample();
Bytes DirtyLog();

}  // namespace hivequarry::testing
