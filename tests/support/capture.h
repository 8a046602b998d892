// Runs code or programs in a child process and captures their output.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct Outcome {
  int status = -1;    // exit status, or 128 + the signal's number
  std::string out;    // standard output
  std::string err;    // standard error
  std::string trace;  // what the child wrote to trace_fd()
};

// Forks, runs `body` in the child with its output captured, and ends the child with exit(0) when `body`
// returns.
Outcome capture(const std::function<void()> &body);

// Runs a program with its arguments (words[0] is its path). `prepare` runs in the child before.
Outcome run(const std::vector<std::string> &words, const std::function<void()> &prepare = {});

// Pointers to the words, for as long as these live, and a null pointer after them.
std::vector<char *> argument_vector(const std::vector<std::string> &words);

// The descriptor of the trace in the child of capture(); -1 elsewhere.
int trace_fd();
