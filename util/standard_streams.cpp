#include "util/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

bool hold_standard_streams() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) == -1 && open("/", O_PATH) == -1) {  // open takes the lowest free one, which is fd
      return false;
    }
  }
  return true;
}
