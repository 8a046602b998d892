#include "imlog/log.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <iterator>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::string_view kSuffix = ".iml";
constexpr size_t kNamesAtOnce = 16'384;  // of a directory, which is read again for the next ones

// The first names of logs in a directory that come after `last`. Sets `error` to 0 or an errno.
std::set<std::string> names_after(const std::string &last, const char *path, int &error) {
  std::set<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(path), closedir);
  error = directory != nullptr ? 0 : errno;
  while (error == 0) {
    errno = 0;
    const dirent *const entry = readdir(directory.get());
    if (entry == nullptr) {
      error = errno;
      break;
    }
    const std::string_view name = entry->d_name;
    if (name[0] != '.' && name.ends_with(kSuffix) && name > last) {
      names.emplace(name);
      if (names.size() > kNamesAtOnce) {
        names.erase(std::prev(names.end()));
      }
    }
  }
  return names;
}

// The host that a FILE came from: its name without directories and without ".iml" at the end. The names of
// standard input, of devices and of files in /proc say nothing about a host.
std::optional<std::string> host_of_file(std::string_view path) {
  if (path == "-" || path.starts_with("/dev/") || path.starts_with("/proc/")) {
    return std::nullopt;
  }
  std::string_view name = path.substr(path.rfind('/') + 1);  // the whole path if there is no slash
  if (name.size() > kSuffix.size() && name.ends_with(kSuffix)) {
    name.remove_suffix(kSuffix.size());
  }
  return name.empty() ? std::nullopt : std::optional<std::string>(name);
}

}  // namespace

Log name_log(const char *path) {
  struct stat status = {};
  const bool is_directory = strcmp(path, "-") != 0 && stat(path, &status) == 0 && S_ISDIR(status.st_mode);
  return {path, is_directory ? std::nullopt : host_of_file(path), is_directory};
}

std::optional<std::string> host_of_machine() {
  char name[256] = "";
  return gethostname(name, sizeof(name) - 1) == 0 ? std::optional<std::string>(name) : std::nullopt;
}

Problem visit_logs(const Log &log, const std::function<void(const Log &)> &visit) {
  if (!log.is_directory) {
    visit(log);
    return {};
  }
  const std::string directory = log.path->ends_with('/') ? *log.path : *log.path + '/';
  std::string last;
  for (;;) {
    int error = 0;
    const std::set<std::string> names = names_after(last, directory.c_str(), error);
    if (error != 0) {
      return Problem("cannot read the directory: %s", strerror(error))
          .advise("check that you may read '%s'", log.path->c_str());
    }
    if (names.empty()) {
      return last.empty()
                 ? Problem("the directory has no *.iml")
                       .advise("save logs in '%s' as HOST.iml, or name another directory", log.path->c_str())
                 : Problem();
    }
    for (const std::string &name : names) {
      visit({directory + name, host_of_file(name), false});
    }
    last = *names.rbegin();
  }
}
