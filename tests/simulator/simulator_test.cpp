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

#include "orvlog/orvlog.h"
#include "platform/kelmintrfc64.h"
#include "platform/orvev64.h"

namespace {

namespace fs = std::filesystem;

template <typename Record>
std::string Bytes(const Record &record) {
  return {reinterpret_cast<const char *>(&record), sizeof record};
}

EVT_LOG_ENTRY Record(uint32_t number, const std::string &text) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wEvtLength = static_cast<uint16_t>(sizeof record.Hdr + text.size());
  record.Hdr.dwEvtNumber = number;
  text.copy(reinterpret_cast<char *>(&record.Data), sizeof record.Data);
  return record;
}

// Returns the answer of a node, or -errno.
int Ask(const char *path, unsigned int code, void *buffer, unsigned int length) {
  const int node = orvOpenRequest(path, kOpenRead);
  const int status = node < 0 ? -1 : orvIoctlRequest(node, code, buffer, length);
  const int answer = status < 0 ? -errno : status;
  orvCloseRequest(node);
  return answer;
}

int Ask(_ioctlEntry request) {
  return Ask(kNodeEvents, kRequestEventEntry, &request, sizeof request);
}

_ioctlEntry Note(const std::string &text) {
  const EVT_LOG_ENTRY record = Record(0, text);
  return {{record.Hdr.wEvtLength + 16U, kChoiceAdd, 0, 0}, record};
}

int AskTable(uint32_t size, void *data) {
  DT_IOCTL request = {{size, 51, 0, 0, 0, 0}, data, 0};
  return Ask(kNodeDataTables, kRequestDataTable, &request, sizeof request);
}

// The log as a reader sees it: number and text of each entry, else the answer.
std::string Listing() {
  std::string listing;
  int status = kEventRead;
  for (int number = 0; status != kEventEndOfLog && number < 10; ++number) {
    _ioctlEntry request = {{sizeof request, kChoiceRead, 0, number}, {}};
    status = Ask(kNodeEvents, kRequestEventEntry, &request, sizeof request);
    const std::string text(reinterpret_cast<const char *>(&request.Evt.Data), sizeof request.Evt.Data);
    listing += status == kEventRead ? std::to_string(request.Evt.Hdr.dwEvtNumber) + ":" + text.c_str() + ", "
                                    : "answer " + std::to_string(status) + ", ";
  }
  return listing;
}

class Simulator : public testing::Test {
 protected:
  Simulator() {
    char name[] = "/tmp/orvlog-simulator-XXXXXX";
    server = mkdtemp(name);
    Write("cevt", Bytes(Record(0, "entry")));
    Write("cdt/51", "\1\2\3");
    Write("casr/state", "1\n");
    Write("proc/fan", "fans");
    Write("ev/VXHCPR", std::string("\1\0\12\0\0\0\0\0", 8));
    setenv("ORVLOG_SIMULATOR", server.c_str(), 1);
  }
  ~Simulator() override {
    unsetenv("ORVLOG_SIMULATOR");
    fs::remove_all(server);
  }

  void Write(const std::string &file, const std::string &content) const {
    fs::create_directories((server / file).parent_path());
    std::ofstream(server / file, std::ios::binary) << content;
  }
  std::string Read(const std::string &file) const {
    std::ifstream stream(server / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  fs::path server;
};

TEST_F(Simulator, NumbersEntriesByTheirSlots) {
  const std::string full(212, 'f');
  const std::string slots = Bytes(Record(0, full)) + std::string(240, '\0') + Bytes(Record(77, "odd"));
  Write("cevt", slots + std::string(239, 'x'));
  EXPECT_EQ(Listing(), "0:" + full + ", answer 3, 77:odd, answer 1, ");
  EXPECT_EQ(Ask(Note("behind")), 0);
  EXPECT_EQ(Listing(), "0:" + full + ", answer 3, 77:odd, 3:behind, answer 1, ");

  Write("cevt", Bytes(Record(1, "first")));
  EXPECT_EQ(Ask(Note("behind")), 0);
  EXPECT_EQ(Listing(), "answer 3, 1:first, 2:behind, answer 1, ");
}

TEST_F(Simulator, AddFillsInTheHeader) {
  setenv("TZ", "EST5", 1);
  const time_t before = time(nullptr);
  ASSERT_EQ(Ask(Note("note")), 0);
  EVT_LOG_ENTRY expected = Record(1, "note");
  Read("cevt").copy(reinterpret_cast<char *>(&expected.Hdr.InitTime), sizeof(EVT_TIME_STAMP), 240 + 12);
  expected.Hdr.UpdateTime = expected.Hdr.InitTime;
  expected.Hdr.dwCount = 1;
  EXPECT_EQ(Read("cevt").substr(240), Bytes(expected));

  const auto [century, year, month, day, hour, minute] = expected.Hdr.InitTime;
  tm local = {0, minute, hour, day, month - 1, century * 100 + year - 1900, 0, 0, 0, 0, nullptr};
  EXPECT_GT(mktime(&local), before - 60);
  EXPECT_LE(mktime(&local), time(nullptr));
}

TEST_F(Simulator, ConcurrentAddsLoseNothing) {
  // As after a fork; writers with a node of their own are tested with the program.
  const int shared = orvOpenRequest(kNodeEvents, kOpenRead);
  for (int writer = 0; writer < 50; ++writer) {
    if (fork() == 0) {
      _ioctlEntry note = Note("note");
      _exit(orvIoctlRequest(shared, kRequestEventEntry, &note, sizeof note));
    }
  }
  int status = 0;
  while (wait(&status) > 0) {
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(Read("cevt").size(), 51 * 240U);
}

TEST_F(Simulator, RefusesWrongRequests) {
  char buffer[kReportSize] = {};
  const _ioctlEntry read = {{256, kChoiceRead, 0, 0}, {}};
  memcpy(buffer, &read, sizeof read);
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
    EXPECT_EQ(Ask(path, code, nullptr, length), -EFAULT) << path;
    EXPECT_EQ(Ask(path, code, buffer, length - 1), -EINVAL) << path;
    EXPECT_EQ(Ask(path, code, buffer, length + 1), -EINVAL) << path;
    for (const unsigned int wrong : wrong_codes) {
      EXPECT_EQ(Ask(path, wrong, buffer, length), -ENOTTY) << path << wrong;
    }
  }
  EXPECT_EQ(Ask(kNodeAsr, kRequestEnableAsr, buffer, 0), -EINVAL);
  EXPECT_EQ(AskTable(2, buffer), -EINVAL);
  EXPECT_EQ(AskTable(4, buffer), -EINVAL);
  EXPECT_EQ(Ask({{256, kChoiceRead, 0, -1}, {}}), -EINVAL);
  _ioctlEntry note = Note("note");
  for (const auto &[length, record_length] : {std::pair{43, 27}, {257, 241}, {256, 40}}) {
    note.info.length = static_cast<uint32_t>(length);
    note.Evt.Hdr.wEvtLength = static_cast<uint16_t>(record_length);
    EXPECT_EQ(Ask(note), -EINVAL) << record_length;
  }
}

TEST_F(Simulator, KeepsTheAsrState) {
  int state = -1;
  for (const auto &[code, expected] : {std::pair{kRequestDisableAsr, 0}, {kRequestEnableAsr, 1}}) {
    EXPECT_EQ(Ask(kNodeAsr, code, nullptr, 0), 0);
    EXPECT_EQ(Ask(kNodeAsr, kRequestAsrState, &state, 4), 0);
    EXPECT_EQ(state, expected);
  }
  for (const char *text : {"", "1x", "2147483648", "0000000000000001"}) {
    Write("casr/state", text);
    EXPECT_EQ(Ask(kNodeAsr, kRequestAsrState, &state, 4), -EIO) << text;
  }
}

TEST_F(Simulator, CutsReportsAtTheirLimit) {
  const char *const files[] = {"proc/thermal", "proc/fan", "proc/power", "proc/pci", "proc/debug"};
  for (unsigned int code = 1; code <= 5; ++code) {
    for (const size_t size : {0U, 4607U, 4608U, 5000U}) {
      Write(files[code - 1], std::string(size, static_cast<char>('a' + code)));
      std::string text(kReportSize + 1, '?');
      EXPECT_EQ(Ask(kNodeReports, code, text.data(), kReportRequestLength), 0);
      const size_t kept = std::min<size_t>(size, kReportSize);
      EXPECT_EQ(text.substr(0, kept), std::string(kept, static_cast<char>('a' + code)));
      EXPECT_EQ(text[kept], size < kReportSize ? '\0' : '?') << size;
    }
  }
}

TEST_F(Simulator, KeepsFirmwareVariables) {
  char value[] = "?????????";
  int size = 7;
  EXPECT_NE(get_ev(kAsrVariable, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_STREQ(value, "?????????");
  size = 9;
  EXPECT_EQ(get_ev(kAsrVariable, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_EQ(std::string(value, 9), Read("ev/VXHCPR") + "?");
  EXPECT_EQ(set_ev(kAsrVariable, value, &size), 0);
  const std::string too_long(255, 'x'), outside = server / "cdt/51";
  for (const char *wrong : {"", ".x", outside.c_str(), too_long.c_str()}) {
    EXPECT_NE(set_ev(wrong, value, &size), 0) << wrong;
    EXPECT_NE(get_ev(wrong, value, &size), 0) << wrong;
  }
  size = 0;
  EXPECT_NE(set_ev(kAsrVariable, value, &size), 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(server / "ev"), {}), 1);
}

TEST_F(Simulator, MalformedServersAreErrors) {
  const std::pair<void (*)(const fs::path &), int> cases[] = {
      {[](const fs::path &) {}, -ENOENT},
      {[](const fs::path &path) { fs::create_directory(path); }, -EINVAL},
      {[](const fs::path &path) { mkfifo(path.c_str(), 0600); }, -EINVAL},
      {[](const fs::path &path) { fs::create_symlink("/dev/zero", path); }, -EINVAL},
  };
  char data[kReportSize];
  int size = sizeof data;
  alarm(10);
  for (const auto &[replace, error] : cases) {
    for (const char *name : {"cdt/51", "cevt", "casr/state", "proc/fan", "ev/VXHCPR"}) {
      fs::remove(server / name);
      replace(server / name);
    }
    EXPECT_EQ(AskTable(3, data), error);
    EXPECT_EQ(Ask(Note("note")), error);
    EXPECT_EQ(Ask(kNodeAsr, kRequestAsrState, data, 4), error);
    EXPECT_EQ(Ask(kNodeReports, kReportFan, data, 1), error);
    EXPECT_NE(get_ev(kAsrVariable, data, &size), 0);
  }
  alarm(0);
}

TEST_F(Simulator, NodesAreToldFromOtherFiles) {
  const int node = orvOpenRequest(kNodeAsr, kOpenRead);
  const int file = orvOpenRequest((server / "casr/state").c_str(), kOpenReadWrite);
  dup2(file, node);  // the node is closed behind the library's back, and its number used again
  int state = 0;
  EXPECT_EQ(orvIoctlRequest(node, kRequestAsrState, &state, sizeof state), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(write(file, "0", 1), 1);
  EXPECT_EQ(orvCloseRequest(file), 0);
  EXPECT_EQ(orvCloseRequest(file), -1);

  EXPECT_EQ(orvOpenRequest("/dev/zythealth/ev", kOpenRead), -1);
  EXPECT_EQ(orvOpenRequest((server / "new").c_str(), O_CREAT | O_WRONLY), -1);
  unsetenv("ORVLOG_SIMULATOR");
  EXPECT_EQ(Ask(kNodeAsr, kRequestAsrState, &state, 4), -ENOENT);
}

}  // namespace
