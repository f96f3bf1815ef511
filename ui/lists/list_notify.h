// What the control of a list and its header report.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// LVN_* and NM_CUSTOMDRAW of the list control and what its header sends.
LRESULT OnListNotify(ListPlace& place, const NMHDR& notice);

}  // namespace hivequarry
