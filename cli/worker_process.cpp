#include "cli/worker_process.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <stdlib.h>

#include <cstdlib>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#endif

#include "host/text.h"

namespace hivequarry {

WorkerProcess::~WorkerProcess() {
  if (output != nullptr) std::fclose(output);
  if (messages != nullptr) std::fclose(messages);
}

namespace {

#ifdef _WIN32
// As the program's start parts a command line again: quotes around each argument, and a backslash
// before each quote, with those before it doubled.
std::wstring Quoted(const std::string& argument) {
  const std::u16string wide = WideOfText(argument);
  std::wstring text = L"\"";
  size_t slashes = 0;
  for (const char16_t unit : wide) {
    if (unit == u'"') text.append(slashes + 1, L'\\');
    slashes = unit == u'\\' ? slashes + 1 : 0;
    text += static_cast<wchar_t>(unit);
  }
  return text.append(slashes, L'\\') + L"\"";
}

int64_t Spawn(const std::vector<std::string>& arguments, int output, int messages) {
  const wchar_t* program = _wpgmptr;  // the program's whole path
  if (program == nullptr) return -1;
  std::vector<std::wstring> texts = {L"hivequarry-cli"};
  for (const std::string& argument : arguments) texts.push_back(Quoted(argument));
  std::vector<const wchar_t*> list;
  for (const std::wstring& text : texts) list.push_back(text.c_str());
  list.push_back(nullptr);
  // The process gets the streams that this one has at that moment.
  std::fflush(nullptr);
  const int own_output = _dup(1);
  const int own_messages = _dup(2);
  _dup2(output, 1);
  _dup2(messages, 2);
  const intptr_t id = _wspawnv(_P_NOWAIT, program, list.data());
  _dup2(own_output, 1);
  _dup2(own_messages, 2);
  _close(own_output);
  _close(own_messages);
  return id;
}

int WaitFor(int64_t id) {
  int status = -1;
  return _cwait(&status, static_cast<intptr_t>(id), 0) == -1 ? -1 : status;
}

int NumberOf(std::FILE* file) { return _fileno(file); }

// The library's own would be in the root folder, where few may write.
std::FILE* TemporaryFile() {
  wchar_t* name = _wtempnam(nullptr, L"hivequarry");
  if (name == nullptr) return nullptr;
  std::FILE* file = _wfopen(name, L"w+bTD");
  std::free(name);
  return file;
}
#else
int64_t Spawn(const std::vector<std::string>& arguments, int output, int messages) {
  std::vector<std::string> texts = {"hivequarry-cli"};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (std::string& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return -1;
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, messages, STDERR_FILENO);
  pid_t id = -1;
  const int error = posix_spawn(&id, "/proc/self/exe", &actions, nullptr, list.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? id : -1;
}

int WaitFor(int64_t id) {
  int status = 0;
  pid_t ended = -1;
  do {
    ended = waitpid(static_cast<pid_t>(id), &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended < 0 || !WIFEXITED(status) ? -1 : WEXITSTATUS(status);
}

int NumberOf(std::FILE* file) { return fileno(file); }

std::FILE* TemporaryFile() { return std::tmpfile(); }
#endif

}  // namespace

// Into temporary files, not pipes: a run never waits for its output to be read.
std::unique_ptr<WorkerProcess> StartWorker(const std::vector<std::string>& arguments) {
  auto worker = std::make_unique<WorkerProcess>();
  worker->output = TemporaryFile();
  worker->messages = TemporaryFile();
  if (worker->output == nullptr || worker->messages == nullptr) return nullptr;
  worker->id = Spawn(arguments, NumberOf(worker->output), NumberOf(worker->messages));
  return worker->id < 0 ? nullptr : std::move(worker);
}

int EndWorker(WorkerProcess& worker) {
  const int status = WaitFor(worker.id);
  std::rewind(worker.output);
  std::rewind(worker.messages);
  return status;
}

}  // namespace hivequarry
