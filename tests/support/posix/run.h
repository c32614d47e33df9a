// Implements run.h with posix_spawn.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/run.h"

namespace fmp4 {

inline RunResult run(const std::vector<std::string>& command) {
  std::array<int, 2> out{}, err{};
  if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0)
    throw std::runtime_error("no pipe for " + command.at(0));

  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  pid_t child = 0;
  const int failure = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);

  RunResult result;
  std::array<pollfd, 2> pipes = {{{out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
  const std::array<std::string*, 2> texts = {&result.out, &result.err};
  std::array<char, 65536> buffer{};
  while (pipes[0].fd >= 0 || pipes[1].fd >= 0) {
    if (::poll(pipes.data(), pipes.size(), -1) < 0 && errno != EINTR) break;
    for (std::size_t i = 0; i < pipes.size(); ++i) {
      if (pipes[i].fd < 0 || pipes[i].revents == 0) continue;
      const ssize_t count = ::read(pipes[i].fd, buffer.data(), buffer.size());
      if (count > 0)
        texts[i]->append(buffer.data(), static_cast<std::size_t>(count));
      else if (count == 0 || errno != EINTR)
        pipes[i].fd = -1;
    }
  }
  close(out[0]);
  close(err[0]);
  if (failure != 0) throw std::runtime_error("cannot start " + command[0] + ": " + std::strerror(failure));

  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace fmp4
