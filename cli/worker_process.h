// This program once more, as a process of its own for one file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace hivequarry {

// What it prints goes to files that nobody else sees, so that neither waits for the other. The
// files go with the record; the process is waited for by EndWorker alone.
struct WorkerProcess {
  int64_t id = -1;                // as the system names a process: a number, or a handle
  std::FILE* output = nullptr;    // its standard output
  std::FILE* messages = nullptr;  // its standard error

  WorkerProcess() = default;
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;
};
// Null where there is no process or no file to be had.
std::unique_ptr<WorkerProcess> StartWorker(const std::vector<std::string>& arguments);
// Waits for its end, and puts both files to their starts. Its exit status; below 0 when it ended
// without one. Once for a process: a second call finds none to wait for.
int EndWorker(WorkerProcess& worker);

}  // namespace hivequarry
