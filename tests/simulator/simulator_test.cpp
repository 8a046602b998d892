#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/health_driver.h"
#include "platform/kelmintrfc64.h"
#include "platform/orvev64.h"
#include "simulator/server_directory.h"

namespace {

namespace fs = std::filesystem;

constexpr char kVariable[] = "VXHCPR";

template <typename Record>
std::string bytes(const Record &record) {
  return {reinterpret_cast<const char *>(&record), sizeof(record)};
}

EVT_LOG_ENTRY record(uint32_t number, const std::string &text) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wEvtLength = static_cast<uint16_t>(sizeof(record.Hdr) + text.size());
  record.Hdr.dwEvtNumber = number;
  text.copy(reinterpret_cast<char *>(&record.Data), sizeof(record.Data));
  return record;
}

// Returns the answer of a node, or -errno.
int ask(const char *path, unsigned int code, void *buffer, unsigned int length) {
  const int node = orvOpenRequest(path, kOpenRead);
  const int status = node < 0 ? -1 : orvIoctlRequest(node, code, buffer, length);
  const int answer = status < 0 ? -errno : status;
  orvCloseRequest(node);
  return answer;
}

int ask(_ioctlEntry request) {
  return ask(kNodeEvents, kRequestEventEntry, &request, sizeof(request));
}

_ioctlEntry note(const std::string &text) {
  const EVT_LOG_ENTRY entry = record(0, text);
  return {{entry.Hdr.wEvtLength + 16U, kChoiceAdd, 0, 0}, entry};
}

int ask_table(uint32_t size, void *data) {
  DT_IOCTL request = {{size, 51, 0, 0, 0, 0}, data, 0};
  return ask(kNodeDataTables, kRequestDataTable, &request, sizeof(request));
}

// The log as a reader sees it: number and text of each entry, else the answer.
std::string listing() {
  std::string listing;
  int status = kEventRead;
  for (int number = 0; status != kEventEndOfLog && number < 10; ++number) {
    _ioctlEntry request = {{sizeof(request), kChoiceRead, 0, number}, {}};
    status = ask(kNodeEvents, kRequestEventEntry, &request, sizeof(request));
    const std::string text(reinterpret_cast<const char *>(&request.Evt.Data), sizeof(request.Evt.Data));
    listing += status == kEventRead ? std::to_string(request.Evt.Hdr.dwEvtNumber) + ":" + text.c_str() + ", "
                                    : "answer " + std::to_string(status) + ", ";
  }
  return listing;
}

auto count_files(const fs::path &folder) {
  return std::distance(fs::directory_iterator(folder), {});
}

class Simulator : public testing::Test {
 protected:
  Simulator() {
    char name[] = "/tmp/orvlog-simulator-XXXXXX";
    outside_ = mkdtemp(name);
    server_ = outside_ / "server";
    write("cevt", bytes(record(0, "entry")));
    write("cdt/51", "\1\2\3");
    write("casr/state", "1\n");
    write("proc/fan", "fans");
    write("ev/VXHCPR", std::string("\1\0\12\0\0\0\0\0", 8));
    setenv(simulator::kServerVariable, server_.c_str(), 1);
  }
  ~Simulator() override {
    EXPECT_EQ(count_files("/proc/self/fd"), open_before_) << "descriptors leak";
    fs::remove_all(outside_);
  }

  void write(const std::string &file, const std::string &content) const {
    fs::create_directories((server_ / file).parent_path());
    std::ofstream(server_ / file, std::ios::binary) << content;
  }
  std::string read(const std::string &file) const {
    std::ifstream stream(server_ / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  fs::path outside_, server_;
  const std::ptrdiff_t open_before_ = count_files("/proc/self/fd");
};

TEST_F(Simulator, NumbersEntriesByTheirSlots) {
  const std::string full(212, 'f');
  const std::string slots = bytes(record(0, full)) + std::string(240, '\0') + bytes(record(77, "odd"));
  write("cevt", slots + std::string(239, 'x'));
  EXPECT_EQ(ask(note("after")), 0);
  EXPECT_EQ(listing(), "0:" + full + ", answer 3, 77:odd, 3:after, answer 1, ");

  write("cevt", bytes(record(1, "first")));
  EXPECT_EQ(ask(note("after")), 0);
  EXPECT_EQ(listing(), "answer 3, 1:first, 2:after, answer 1, ");
}

TEST_F(Simulator, AddFillsInTheHeader) {
  setenv("TZ", "EST5", 1);
  const time_t before = time(nullptr);
  ASSERT_EQ(ask(note("note")), 0);
  EVT_LOG_ENTRY expected = record(1, "note");
  read("cevt").copy(reinterpret_cast<char *>(&expected.Hdr.InitTime), sizeof(EVT_TIME_STAMP), 240 + 12);
  expected.Hdr.UpdateTime = expected.Hdr.InitTime;
  expected.Hdr.dwCount = 1;
  EXPECT_EQ(read("cevt").substr(240), bytes(expected));

  const auto [century, year, month, day, hour, minute] = expected.Hdr.InitTime;
  tm local = {0, minute, hour, day, month - 1, century * 100 + year - 1900, 0, 0, 0, 0, nullptr};
  EXPECT_GT(mktime(&local), before - 60);
  EXPECT_LE(mktime(&local), time(nullptr));
}

TEST_F(Simulator, ConcurrentWritersLoseNothing) {
  // Over one node, as after a fork, and over nodes of their own.
  const int shared = orvOpenRequest(kNodeEvents, kOpenRead), asr = orvOpenRequest(kNodeAsr, kOpenRead);
  for (int writer = 0; writer < 50; ++writer) {
    if (fork() == 0) {
      _ioctlEntry entry = note("note");
      const int log = writer % 2 == 0 ? shared : orvOpenRequest(kNodeEvents, kOpenRead);
      _exit(orvIoctlRequest(log, kRequestEventEntry, &entry, sizeof(entry)) != 0 ||
            orvIoctlRequest(asr, kRequestDisableAsr, nullptr, 0) != 0);
    }
  }
  int status = 0;
  while (wait(&status) > 0) {
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(read("cevt").size(), 51 * 240U);
  orvCloseRequest(shared);
  orvCloseRequest(asr);
}

TEST_F(Simulator, RefusesWrongRequests) {
  char buffer[kReportSize] = {};
  const _ioctlEntry read = {{256, kChoiceRead, 0, 0}, {}};
  memcpy(buffer, &read, sizeof(read));
  struct {
    const char *path;
    unsigned int code, length;
    std::vector<unsigned int> wrong_codes;
  } const nodes[] = {
      {kNodeDataTables, kRequestDataTable, 22, {68, 70}},
      {kNodeEvents, kRequestEventEntry, 256, {80, 82}},
      {kNodeAsr, kRequestAsrState, 4, {5, 7}},
      {kNodeReports, kReportFan, 1, {0, 6}},
  };
  for (const auto &[path, code, length, wrong_codes] : nodes) {
    EXPECT_EQ(ask(path, code, nullptr, length), -EFAULT) << path;
    EXPECT_EQ(ask(path, code, buffer, length - 1), -EINVAL) << path;
    EXPECT_EQ(ask(path, code, buffer, length + 1), -EINVAL) << path;
    for (const unsigned int wrong : wrong_codes) {
      EXPECT_EQ(ask(path, wrong, buffer, length), -ENOTTY) << path << wrong;
    }
  }
  EXPECT_EQ(ask(kNodeAsr, kRequestEnableAsr, buffer, 0), -EINVAL);
  EXPECT_EQ(ask_table(2, buffer), -EINVAL);
  EXPECT_EQ(ask_table(4, buffer), -EINVAL);
  EXPECT_EQ(ask({{256, kChoiceRead, 0, -1}, {}}), -EINVAL);
  _ioctlEntry entry = note("note");
  for (const auto &[length, record_length] : {std::pair{43, 27}, {257, 241}, {256, 40}}) {
    entry.info.length = static_cast<uint32_t>(length);
    entry.Evt.Hdr.wEvtLength = static_cast<uint16_t>(record_length);
    EXPECT_EQ(ask(entry), -EINVAL) << record_length;
  }
}

TEST_F(Simulator, KeepsTheAsrState) {
  int state = -1;
  for (const auto &[code, expected] : {std::pair{kRequestDisableAsr, 0}, {kRequestEnableAsr, 1}}) {
    EXPECT_EQ(ask(kNodeAsr, code, nullptr, 0), 0);
    EXPECT_EQ(ask(kNodeAsr, kRequestAsrState, &state, 4), 0);
    EXPECT_EQ(state, expected);
  }
  for (const char *text : {"", "1x", "2147483648", "0000000000000001"}) {
    write("casr/state", text);
    EXPECT_EQ(ask(kNodeAsr, kRequestAsrState, &state, 4), -EIO) << text;
  }
}

TEST_F(Simulator, CutsReportsAtTheirLimit) {
  const char *const files[] = {"proc/thermal", "proc/fan", "proc/power", "proc/pci", "proc/debug"};
  for (unsigned int code = 1; code <= 5; ++code) {
    for (const size_t size : {0U, 4607U, 4608U, 5000U}) {
      write(files[code - 1], std::string(size, static_cast<char>('a' + code)));
      std::string text(kReportSize + 1, '?');
      EXPECT_EQ(ask(kNodeReports, code, text.data(), kReportRequestLength), 0);
      const size_t kept = std::min<size_t>(size, kReportSize);
      EXPECT_EQ(text.substr(0, kept), std::string(kept, static_cast<char>('a' + code)));
      EXPECT_EQ(text[kept], size < kReportSize ? '\0' : '?') << size;
    }
  }
}

TEST_F(Simulator, KeepsFirmwareVariables) {
  char value[] = "?????????";
  int size = 7;
  EXPECT_NE(get_ev(kVariable, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_STREQ(value, "?????????");
  size = 9;
  EXPECT_EQ(get_ev(kVariable, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_EQ(std::string(value, 9), read("ev/VXHCPR") + "?");
  write("victim", "kept");
  fs::create_symlink(server_ / "victim", server_ / "ev/.VXHCPR.draft");  // or a killed writer's draft
  EXPECT_EQ(set_ev(kVariable, value, &size), 0);
  EXPECT_EQ(read("victim"), "kept");
  const std::string too_long(255, 'x'), other = server_ / "cdt/51";
  for (const char *wrong : {"", ".x", other.c_str(), too_long.c_str()}) {
    EXPECT_NE(set_ev(wrong, value, &size), 0) << wrong;
    EXPECT_NE(get_ev(wrong, value, &size), 0) << wrong;
  }
  size = 0;
  EXPECT_NE(set_ev(kVariable, value, &size), 0);
  EXPECT_EQ(count_files(server_ / "ev"), 1);
}

TEST_F(Simulator, MalformedServersAreErrors) {
  const std::vector<const char *> files = {"cdt/51", "cevt", "casr/state", "proc/fan", "ev/VXHCPR"};
  const std::vector<const char *> nodes = {"cdt", "cevt", "casr", "proc", "ev"};
  struct {
    std::vector<const char *> names;
    void (*replace)(const fs::path &path, const fs::path &old);
    int error;
  } const cases[] = {
      {files, [](const fs::path &, const fs::path &) {}, -ENOENT},
      {files, [](const fs::path &path, const fs::path &) { fs::create_directory(path); }, -EINVAL},
      {files, [](const fs::path &path, const fs::path &) { mkfifo(path.c_str(), 0600); }, -EINVAL},
      // A link is not followed, even to what it stands for.
      {files, [](const fs::path &path, const fs::path &old) { fs::create_symlink(old, path); }, -ELOOP},
      {nodes, [](const fs::path &path, const fs::path &old) { fs::create_symlink(old, path); }, -ELOOP},
  };
  char data[kReportSize];
  int size = sizeof(data);
  alarm(10);
  for (const auto &[names, replace, error] : cases) {
    const fs::path intact = outside_ / "intact";
    fs::rename(server_, intact);
    fs::copy(intact, server_, fs::copy_options::recursive);
    for (const char *name : names) {
      fs::remove_all(server_ / name);
      replace(server_ / name, intact / name);
    }
    EXPECT_EQ(ask_table(3, data), error);
    EXPECT_EQ(ask(note("note")), error);
    EXPECT_EQ(ask(kNodeAsr, kRequestAsrState, data, 4), error);
    EXPECT_EQ(ask(kNodeReports, kReportFan, data, 1), error);
    EXPECT_NE(get_ev(kVariable, data, &size), 0);
    EXPECT_EQ(errno, -error);
    fs::remove_all(server_);
    fs::rename(intact, server_);
  }
  alarm(0);
}

TEST_F(Simulator, NodesAreNotMistakenForOtherFiles) {
  const int node = orvOpenRequest(kNodeAsr, kOpenRead);
  const int file = orvOpenRequest((server_ / "casr/state").c_str(), kOpenReadWrite);
  dup2(file, node);  // closes the node; its number now stands for the file
  int state = 0;
  EXPECT_EQ(orvIoctlRequest(node, kRequestAsrState, &state, sizeof(state)), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(::write(file, "0", 1), 1);
  EXPECT_EQ(orvCloseRequest(node), 0);
  EXPECT_EQ(orvCloseRequest(file), 0);
  EXPECT_EQ(orvCloseRequest(file), -1);

  EXPECT_EQ(orvOpenRequest("/dev/zythealth/ev", kOpenRead), -1);
  EXPECT_EQ(orvOpenRequest((server_ / "new").c_str(), O_CREAT | O_WRONLY), -1);
  unsetenv(simulator::kServerVariable);
  EXPECT_EQ(ask(kNodeAsr, kRequestAsrState, &state, 4), -ENOENT);
}

}  // namespace
