#include "tests/support/capture.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int current_trace_fd = -1;

int make_file() {
  return memfd_create("captured", MFD_CLOEXEC);
}

std::string take_file(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  text.resize(static_cast<size_t>(pread(fd, text.data(), text.size(), 0)));
  close(fd);
  return text;
}

}  // namespace

int trace_fd() {
  return current_trace_fd;
}

Outcome capture(const std::function<void()> &body) {
  fflush(nullptr);
  const int out = make_file();
  const int err = make_file();
  const int trace = make_file();
  const pid_t child = fork();
  if (child == 0) {
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    current_trace_fd = trace;
    body();
    exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const int result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return {result, take_file(out), take_file(err), take_file(trace)};
}

std::vector<char *> argument_vector(const std::vector<std::string> &words) {
  std::vector<char *> pointers;
  for (const std::string &word : words) {
    pointers.push_back(const_cast<char *>(word.c_str()));
  }
  pointers.push_back(nullptr);
  return pointers;
}

Outcome run(const std::vector<std::string> &words, const std::function<void()> &prepare) {
  return capture([&] {
    if (prepare) {
      prepare();
    }
    execv(words[0].c_str(), argument_vector(words).data());
    _exit(127);
  });
}
