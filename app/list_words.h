// What making lists of files had to say, in words for the user.
#pragma once

#include <string>

#include "lists/list_report.h"
#include "lists/output_list.h"

namespace hivequarry {

// ListBlockRuns, and a message when the file can't be opened, or of what could not be read of it.
OutputListPtr ListBlockRunsAndTell(const std::string& file);

// SplitFile, and a message of what ended it. True when pieces were written, all of them whole.
bool SplitFileAndTell(OutputList& list, const std::string& folder = std::string());

// ReadReportRows, and a message of what could not be read of the file.
ReportRead ReadReportRowsAndTell(const std::string& file, OutputList& list);

// The message "Error adding item ... to list" when a list of the operation got no memory for a row.
void TellOfRefusedRow();

}  // namespace hivequarry
