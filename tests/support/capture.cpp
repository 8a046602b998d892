#include "tests/support/capture.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int g_trace_fd = -1;

struct Pipe {
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) {
      abort();
    }
  }
  int ends[2] = {-1, -1};
};

}  // namespace

int trace_fd() {
  return g_trace_fd;
}

Outcome capture(const std::function<void()> &body) {
  fflush(nullptr);
  std::array<Pipe, 3> pipes;
  const pid_t child = fork();
  if (child == 0) {
    dup2(pipes[0].ends[1], STDOUT_FILENO);
    dup2(pipes[1].ends[1], STDERR_FILENO);
    g_trace_fd = pipes[2].ends[1];
    body();
    exit(0);
  }
  Outcome outcome;
  std::string *const texts[] = {&outcome.out, &outcome.err, &outcome.trace};
  std::array<pollfd, 3> waiting{};
  for (std::size_t i = 0; i < pipes.size(); ++i) {
    close(pipes[i].ends[1]);
    waiting[i] = {pipes[i].ends[0], POLLIN, 0};
  }
  for (std::size_t open = pipes.size(); open > 0;) {
    poll(waiting.data(), waiting.size(), -1);
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents == 0) {
        continue;
      }
      char buffer[4096];
      const ssize_t size = read(waiting[i].fd, buffer, sizeof buffer);
      if (size > 0) {
        texts[i]->append(buffer, static_cast<std::size_t>(size));
      } else {
        close(waiting[i].fd);
        waiting[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return outcome;
}

Outcome run(const std::vector<std::string> &words, const std::function<void()> &prepare) {
  return capture([&] {
    if (prepare) {
      prepare();
    }
    std::vector<char *> argv;
    for (const std::string &word : words) {
      argv.push_back(const_cast<char *>(word.c_str()));
    }
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  });
}
