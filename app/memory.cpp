#include "app/memory.h"

#include "host/host.h"

namespace hivequarry {

void ReportNoMemory() {
  ShowMessage("Could Not Allocate Memory", kProgramName, Icon::kExclamation);
}

}  // namespace hivequarry
