// posix_spawn with a pipe behind the child's standard output.
#include "tools/fwboot/ChildProcess.h"

#include <cerrno>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string ReadAll(int Descriptor) {
  std::string Text;
  char Chunk[4096];
  for (;;) {
    const ssize_t Count = read(Descriptor, Chunk, sizeof(Chunk));
    if (Count > 0) {
      Text.append(Chunk, static_cast<size_t>(Count));
    } else if (Count == 0 || errno != EINTR) {
      return Text;
    }
  }
}

bool EndedWell(pid_t Child) {
  int Status = 0;
  while (waitpid(Child, &Status, 0) < 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return WIFEXITED(Status) && WEXITSTATUS(Status) == 0;
}

} // namespace

std::optional<std::string> RunTool(const std::vector<std::string> &Arguments, const std::string &InputPath) {
  std::vector<char *> Vector;
  for (const std::string &Argument : Arguments) {
    Vector.push_back(const_cast<char *>(Argument.c_str()));
  }
  Vector.push_back(nullptr);
  int Pipe[2];
  if (pipe2(Pipe, O_CLOEXEC) != 0) {
    return std::nullopt;
  }
  posix_spawn_file_actions_t Actions;
  posix_spawn_file_actions_init(&Actions);
  posix_spawn_file_actions_addopen(&Actions, STDIN_FILENO, InputPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&Actions, Pipe[1], STDOUT_FILENO);
  pid_t Child = 0;
  const int Failure = posix_spawnp(&Child, Vector[0], &Actions, nullptr, Vector.data(), environ);
  posix_spawn_file_actions_destroy(&Actions);
  close(Pipe[1]);
  std::optional<std::string> Output;
  if (Failure == 0) {
    Output = ReadAll(Pipe[0]);
    if (!EndedWell(Child)) {
      Output.reset();
    }
  }
  close(Pipe[0]);
  return Output;
}
