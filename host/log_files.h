// The files that a system keeps beside a hive that it has loaded: what it wrote last, before that
// gets into the hive itself. Known by their names alone, as a system knows them. Names are UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// What the name of a log has after the name of its hive, both with their folder or both without:
// ".LOG", ".LOG1", ".LOG2", or those of transactions, "{...}.TM.blf" and
// "{...}.TMContainer00000000000000000001.regtrans-ms". In any case: systems write "ntuser.dat.LOG1"
// beside "NTUSER.DAT". Empty for what is no log of this hive.
std::string_view LogEnding(std::string_view name, std::string_view hive);

// True for one of the three that hold pages: ".LOG", ".LOG1", ".LOG2".
bool IsPageLog(std::string_view name);

// The log files that there are beside a hive, sorted; each begins with the folder as `hive` has it.
// None where the folder cannot be read.
std::vector<std::string> LogsOf(const std::string& hive);

}  // namespace hivequarry
