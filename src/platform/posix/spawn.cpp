#include "platform/posix/spawn.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

namespace platform::posix {
namespace {

constexpr const char* Blanks = " \t";

std::string TakeProgram(const std::string& line, std::size_t& at) {
  const bool quoted = line.starts_with('"');
  const std::size_t start = quoted ? 1 : 0;
  const std::size_t end = std::min(quoted ? line.find('"', start) : line.find_first_of(Blanks), line.size());
  at = quoted ? std::min(end + 1, line.size()) : end;
  return line.substr(start, end - start);
}

std::string TakeArgument(const std::string& line, std::size_t& at) {
  std::string argument;
  bool quoted = false;
  while (at < line.size()) {
    const std::size_t end = std::min(line.find_first_not_of('\\', at), line.size());
    const std::size_t backslashes = end - at;
    const bool beforeQuote = end < line.size() && line[end] == '"';
    argument.append(beforeQuote ? backslashes / 2 : backslashes, '\\');
    at = end;
    if (at == line.size()) break;

    const char c = line[at];
    if (!quoted && (c == ' ' || c == '\t')) break;
    const bool quoteCounts = beforeQuote && backslashes % 2 == 0;
    if (quoteCounts) {
      quoted = !quoted;
    } else {
      argument += c;
    }
    ++at;
  }
  return argument;
}

struct FileActions {
  FileActions() { posix_spawn_file_actions_init(&list); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  ~FileActions() { posix_spawn_file_actions_destroy(&list); }

  posix_spawn_file_actions_t list{};
};

}  // namespace

std::vector<std::string> SplitCommandLine(const std::string& line) {
  std::size_t at = 0;
  std::vector<std::string> items{TakeProgram(line, at)};
  while ((at = line.find_first_not_of(Blanks, at)) != std::string::npos) {
    items.push_back(TakeArgument(line, at));
  }
  return items;
}

std::optional<pid_t> Spawn(const std::string& program, const std::vector<std::string>& arguments, int output,
                           int error) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  FileActions actions;
  if (output >= 0) posix_spawn_file_actions_adddup2(&actions.list, output, STDOUT_FILENO);
  if (error >= 0) posix_spawn_file_actions_adddup2(&actions.list, error, STDERR_FILENO);

  pid_t process = 0;
  const int failure = posix_spawnp(&process, program.c_str(), &actions.list, nullptr, argv.data(), environ);
  if (failure != 0) return std::nullopt;
  return process;
}

bool WaitForSuccess(pid_t process) {
  int status = 0;
  return ::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace platform::posix
