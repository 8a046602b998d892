#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvlog/orvlog.h"
#include "platform/orvev64.h"

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Each;

EVT_LOG_ENTRY Record(uint32_t number, const std::string &text) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wEvtLength = static_cast<uint16_t>(sizeof record.Hdr + text.size() + 1);
  record.Hdr.dwEvtNumber = number;
  record.Hdr.wClass = 0x21;
  memcpy(&record.Data, text.c_str(), text.size() + 1);
  return record;
}

std::string Bytes(const EVT_LOG_ENTRY &record) {
  return {reinterpret_cast<const char *>(&record), sizeof record};
}

std::string Text(const EVT_LOG_ENTRY &record) {
  return reinterpret_cast<const char *>(&record.Data);
}

std::string Stamp(const EVT_TIME_STAMP &stamp) {
  char text[40];
  snprintf(text, sizeof text, "%02d%02d-%02d-%02d %02d:%02d", stamp.bCentury, stamp.bYear, stamp.bMonth,
           stamp.bDay, stamp.bHour, stamp.bMinute);
  return text;
}

std::string Local(time_t seconds) {
  char text[40];
  strftime(text, sizeof text, "%Y-%m-%d %H:%M", localtime(&seconds));
  return text;
}

// A node, open for the time of the object.
struct Node {
  explicit Node(const char *path, int mode = kOpenRead) : fd(orvOpenRequest(path, mode)) {}
  ~Node() {
    orvCloseRequest(fd);
  }
  Node(const Node &) = delete;
  Node &operator=(const Node &) = delete;
  int fd;
};

class Simulator : public testing::Test {
 protected:
  Simulator() {
    char name[] = "/tmp/orvlog-simulator-XXXXXX";
    server = mkdtemp(name);
    for (const char *folder : {"cdt", "casr", "proc", "ev"}) {
      fs::create_directory(server / folder);
    }
    Write("cevt", "");
    Write("casr/state", "1\n");
    Write("cdt/51", std::string("\1\2\3", 3));
    Write("ev/VXHCPR", std::string("\1\0\12\0\0\0\0\0", 8));
    setenv("ORVLOG_SIMULATOR", server.c_str(), 1);
  }
  ~Simulator() override {
    unsetenv("ORVLOG_SIMULATOR");
    fs::remove_all(server);
  }

  void Write(const std::string &file, const std::string &content) const {
    std::ofstream(server / file, std::ios::binary) << content;
  }
  std::string Read(const std::string &file) const {
    std::ifstream stream(server / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  static int ReadEntry(int number, EVT_LOG_ENTRY *record = nullptr) {
    const Node log(kNodeEvents);
    _ioctlEntry request = {};
    request.info = {512, kChoiceRead, 0, number};
    const int status = orvIoctlRequest(log.fd, kRequestEventEntry, &request, sizeof request);
    if (record != nullptr) {
      *record = request.Evt;
    }
    return status;
  }
  static int AddThrough(int log, const std::string &text) {
    _ioctlEntry request = {};
    request.Evt = Record(0, text);
    request.info = {request.Evt.Hdr.wEvtLength + 16u, kChoiceAdd, 0, 0};
    return orvIoctlRequest(log, kRequestEventEntry, &request, sizeof request);
  }
  static int Add(const std::string &text) {
    const Node log(kNodeEvents);
    return AddThrough(log.fd, text);
  }
  static int Table(uint16_t type, uint32_t size, void *data, unsigned int length = sizeof(DT_IOCTL)) {
    const Node tables(kNodeDataTables, kOpenReadWrite);
    DT_IOCTL request = {};
    request.DtHdr.size = size;
    request.DtHdr.DT_Type = type;
    request.pData = data;
    return orvIoctlRequest(tables.fd, kRequestDataTable, &request, length);
  }
  static int Asr(unsigned int code, int *state = nullptr) {
    const Node asr(kNodeAsr);
    return orvIoctlRequest(asr.fd, code, state, state == nullptr ? 0 : sizeof *state);
  }
  static int Report(unsigned int code, std::string *text) {
    const Node reports(kNodeReports);
    text->assign(kReportSize + 1, '?');
    return orvIoctlRequest(reports.fd, code, text->data(), kReportRequestLength);
  }

  fs::path server;
};

TEST_F(Simulator, ReadsSlotsWithGapsUpToTheEnd) {
  Write("cevt", Bytes(Record(0, "first")) + std::string(240, '\0') + Bytes(Record(77, "odd number")) +
                    std::string(239, 'x'));
  EVT_LOG_ENTRY record;
  EXPECT_EQ(ReadEntry(0, &record), kEventRead);
  EXPECT_EQ(Bytes(record), Bytes(Record(0, "first")));
  EXPECT_EQ(ReadEntry(1), kEventNoEntry);
  EXPECT_EQ(ReadEntry(2, &record), kEventRead);
  EXPECT_EQ(record.Hdr.dwEvtNumber, 77U);
  EXPECT_EQ(ReadEntry(3), kEventEndOfLog);
  EXPECT_EQ(ReadEntry(INT32_MAX), kEventEndOfLog);
  EXPECT_EQ(ReadEntry(-1), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(Simulator, ReadsDumpThatCountsFromOne) {
  Write("cevt", Bytes(Record(1, "a")) + Bytes(Record(2, "b")));
  ASSERT_EQ(Add("c"), 0);
  EVT_LOG_ENTRY record;
  EXPECT_EQ(ReadEntry(0), kEventNoEntry);
  for (const int number : {1, 2, 3}) {
    EXPECT_EQ(ReadEntry(number, &record), kEventRead);
    EXPECT_EQ(record.Hdr.dwEvtNumber, static_cast<uint32_t>(number));
  }
  EXPECT_EQ(ReadEntry(4), kEventEndOfLog);
}

TEST_F(Simulator, AddFillsInTheRecordBehindATornSlot) {
  Write("cevt", Bytes(Record(0, "whole")) + std::string(100, 'x'));
  const time_t before = time(nullptr);
  ASSERT_EQ(Add("note"), 0);
  EVT_LOG_ENTRY record;
  ASSERT_EQ(ReadEntry(1, &record), kEventRead);
  EXPECT_EQ(Text(record), "note");
  EXPECT_EQ(record.Hdr.dwEvtNumber, 1U);
  EXPECT_EQ(record.Hdr.dwCount, 1U);
  EXPECT_THAT(Stamp(record.Hdr.InitTime), AnyOf(Local(before), Local(time(nullptr))));
  EXPECT_EQ(memcmp(&record.Hdr.InitTime, &record.Hdr.UpdateTime, 6), 0);
  EXPECT_EQ(Read("cevt"), Bytes(Record(0, "whole")) + Bytes(record));
}

TEST_F(Simulator, ConcurrentAddsLoseNothing) {
  // Writers that share one open node, as after a fork, and writers with a node of their own.
  const Node shared(kNodeEvents);
  constexpr int kWriters = 50;
  std::vector<pid_t> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t pid = fork();
    if (pid == 0) {
      const std::string text = std::to_string(writer);
      const int status = writer % 2 == 0 ? AddThrough(shared.fd, text) : Add(text);
      _exit(status == 0 ? 0 : 1);
    }
    writers.push_back(pid);
  }
  for (const pid_t pid : writers) {
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  std::set<std::string> texts;
  EVT_LOG_ENTRY record;
  for (int number = 0; number < kWriters; ++number) {
    ASSERT_EQ(ReadEntry(number, &record), kEventRead);
    EXPECT_EQ(record.Hdr.dwEvtNumber, static_cast<uint32_t>(number));
    texts.insert(Text(record));
  }
  EXPECT_EQ(texts.size(), static_cast<size_t>(kWriters));
  EXPECT_EQ(ReadEntry(kWriters), kEventEndOfLog);
}

TEST_F(Simulator, AddThatDoesNotFitLeavesTheLogAsItWas) {
  ASSERT_EQ(Add("a"), 0);
  const std::string log = Read("cevt");
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full = {300, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  EXPECT_EQ(Add("b"), -1);
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(Read("cevt"), log);
}

TEST_F(Simulator, AddRefusesWrongLengths) {
  const Node log(kNodeEvents);
  for (const auto &[record_length, length] : {std::pair{27, 43}, {241, 257}, {40, 55}, {40, 57}}) {
    _ioctlEntry request = {};
    request.info.choice = kChoiceAdd;
    request.info.length = static_cast<uint32_t>(length);
    request.Evt.Hdr.wEvtLength = static_cast<uint16_t>(record_length);
    EXPECT_EQ(orvIoctlRequest(log.fd, kRequestEventEntry, &request, sizeof request), -1) << record_length;
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_EQ(Read("cevt"), "");
}

TEST_F(Simulator, AddRefusesALogThatWasReplaced) {
  const Node log(kNodeEvents);
  fs::rename(server / "cevt", server / "old");
  Write("cevt", "");
  EXPECT_EQ(AddThrough(log.fd, "note"), -1);
  EXPECT_EQ(Read("cevt") + Read("old"), "");
}

TEST_F(Simulator, FillsDataTablesOfTheExactSize) {
  char data[4] = "???";
  EXPECT_EQ(Table(51, 3, data), 0);
  EXPECT_STREQ(data, "\1\2\3");
  for (const uint32_t size : {0U, 2U, 4U, 0xFFFFFFFFU}) {
    strcpy(data, "???");
    EXPECT_EQ(Table(51, size, data), -1) << size;
    EXPECT_EQ(errno, EINVAL);
    EXPECT_STREQ(data, "???");
  }
  EXPECT_EQ(Table(51, 3, data, 21), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(Table(51, 3, nullptr), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(Table(5002, 15, data), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Simulator, KeepsTheAsrState) {
  int state = -1;
  EXPECT_EQ(Asr(kRequestDisableAsr), 0);
  EXPECT_EQ(Asr(kRequestAsrState, &state), 0);
  EXPECT_EQ(state, 0);
  EXPECT_EQ(Asr(kRequestEnableAsr), 0);
  EXPECT_EQ(Asr(kRequestAsrState, &state), 0);
  EXPECT_EQ(state, 1);
  Write("casr/state", "-2147483648");
  EXPECT_EQ(Asr(kRequestAsrState, &state), 0);
  EXPECT_EQ(state, INT32_MIN);
  for (const char *text : {"", "on", "1x", "2147483648", "0000000000000001"}) {
    Write("casr/state", text);
    EXPECT_EQ(Asr(kRequestAsrState, &state), -1) << text;
    EXPECT_EQ(errno, EIO);
  }
  EXPECT_EQ(Asr(kRequestEnableAsr, &state), -1);
  EXPECT_EQ(Asr(kRequestAsrState), -1);
  EXPECT_EQ(errno, EFAULT);
}

TEST_F(Simulator, CutsReportsAtTheirLimit) {
  const char *const files[] = {"thermal", "fan", "power", "pci", "debug"};
  for (unsigned int code = 1; code <= 5; ++code) {
    for (const size_t size : {size_t{0}, size_t{4607}, size_t{4608}, size_t{5000}}) {
      Write(std::string("proc/") + files[code - 1], std::string(size, static_cast<char>('a' + code)));
      std::string text;
      ASSERT_EQ(Report(code, &text), 0);
      const size_t kept = std::min<size_t>(size, kReportSize);
      EXPECT_THAT(text.substr(0, kept), Each(static_cast<char>('a' + code)));
      EXPECT_EQ(text[kept], size < kReportSize ? '\0' : '?') << size;
    }
  }
}

TEST_F(Simulator, KeepsFirmwareVariables) {
  char name[] = "VXHCPR";
  char value[16] = "???????????????";
  int size = 7;
  EXPECT_NE(get_ev(name, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_EQ(value[0], '?');
  size = sizeof value;
  EXPECT_EQ(get_ev(name, value, &size), 0);
  EXPECT_EQ(size, 8);
  EXPECT_EQ(value[2], 10);
  EXPECT_EQ(value[8], '?');
  value[2] = 30;
  EXPECT_EQ(set_ev(name, value, &size), 0);
  EXPECT_EQ(Read("ev/VXHCPR"), std::string(value, 8));
  EXPECT_EQ(std::distance(fs::directory_iterator(server / "ev"), {}), 1);
  for (const char *wrong : {"", ".", "..", ".VXHCPR", "../cevt", "/etc/hostname"}) {
    EXPECT_NE(get_ev(wrong, value, &size), 0) << wrong;
    EXPECT_NE(set_ev(wrong, value, &size), 0) << wrong;
  }
  EXPECT_NE(set_ev(std::string(255, 'v').c_str(), value, &size), 0);
  for (int wrong : {0, -8}) {
    EXPECT_NE(get_ev(name, value, &wrong), 0);
    EXPECT_NE(set_ev(name, value, &wrong), 0);
  }
  EXPECT_NE(get_ev(name, nullptr, &size), 0);
  EXPECT_NE(set_ev(nullptr, value, &size), 0);
}

TEST_F(Simulator, RefusesUnknownCodesAndWrongLengths) {
  char buffer[kReportSize] = {};
  for (const char *path : {kNodeDataTables, kNodeEvents, kNodeAsr, kNodeReports}) {
    const Node node(path);
    for (const unsigned int code : {0U, 7U, 68U, 70U, 82U, 0xFFFFFFFFU}) {
      EXPECT_EQ(orvIoctlRequest(node.fd, code, buffer, 1), -1) << path << code;
      EXPECT_EQ(errno, ENOTTY);
    }
    for (const unsigned int code : {1U, 2U, 3U, 4U, 5U, 6U, 69U, 81U}) {
      EXPECT_EQ(orvIoctlRequest(node.fd, code, nullptr, 7), -1) << path << code;
      EXPECT_EQ(orvIoctlRequest(node.fd, code, buffer, 7), -1) << path << code;
      EXPECT_THAT(errno, AnyOf(EINVAL, ENOTTY));
    }
  }
}

TEST_F(Simulator, MalformedServersAreErrors) {
  static int state;
  static char data[16];
  static std::string text;
  static int size;
  struct Case {
    const char *name;
    int (*ask)();
    bool takes_any_text;
  };
  const Case cases[] = {
      {"cdt", [] { return Table(51, 3, data); }, false},
      {"cdt/51", [] { return Table(51, 3, data); }, false},
      {"cevt", [] { return ReadEntry(0); }, true},
      {"cevt", [] { return Add("note"); }, true},
      {"casr", [] { return Asr(kRequestAsrState, &state); }, false},
      {"casr", [] { return Asr(kRequestEnableAsr); }, false},
      {"casr/state", [] { return Asr(kRequestAsrState, &state); }, false},
      {"proc", [] { return Report(kReportFan, &text); }, false},
      {"proc/fan", [] { return Report(kReportFan, &text); }, true},
      {"ev", [] { return size = 8, get_ev("VXHCPR", data, &size); }, false},
      {"ev", [] { return size = 8, set_ev("VXHCPR", data, &size); }, false},
      {"ev/VXHCPR", [] { return size = 8, get_ev("VXHCPR", data, &size); }, false},
  };
  const auto large = [](const fs::path &path) { std::ofstream(path) << std::string(5000, 'x'); };
  void (*const replacements[])(const fs::path &) = {
      [](const fs::path &path) { mkfifo(path.c_str(), 0600); },
      [](const fs::path &path) { fs::create_symlink(path, path); },
      [](const fs::path &path) { fs::create_symlink("/dev/zero", path); },
      large,
  };
  Write("proc/fan", "fans");
  Write("cevt", Bytes(Record(0, "entry")));
  alarm(10);
  for (const Case &each : cases) {
    const fs::path path = server / each.name;
    const fs::path saved = server / "saved";
    EXPECT_EQ(each.ask(), 0) << each.name;
    const bool is_folder = fs::is_directory(path);
    fs::rename(path, saved);
    for (const auto replace : replacements) {
      replace(path);
      EXPECT_EQ(each.ask(), replace == large && each.takes_any_text ? 0 : -1) << each.name;
      fs::remove(path);
    }
    EXPECT_EQ(each.ask(), -1) << each.name;
    if (!is_folder) {
      fs::create_directory(path);
      EXPECT_EQ(each.ask(), -1) << each.name;
      fs::remove(path);
    }
    fs::rename(saved, path);
  }
  alarm(0);
}

TEST_F(Simulator, UnreadableLogIsAnError) {
  fs::permissions(server / "cevt", fs::perms::none);
  fs::permissions(server, fs::perms::all);
  const pid_t pid = fork();
  if (pid == 0) {
    if (getuid() == 0 && setuid(65534) != 0) {
      _exit(2);
    }
    _exit(orvOpenRequest(kNodeEvents, kOpenRead) == -1 && errno == EACCES ? 0 : 1);
  }
  int status = -1;
  waitpid(pid, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(Simulator, WithoutAServerThereAreNoNodes) {
  int size = 8;
  char value[8];
  for (const char *directory : {"", "/nonexistent", static_cast<const char *>(nullptr)}) {
    directory == nullptr ? unsetenv("ORVLOG_SIMULATOR") : setenv("ORVLOG_SIMULATOR", directory, 1);
    EXPECT_EQ(orvOpenRequest(kNodeEvents, kOpenRead), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_NE(get_ev("VXHCPR", value, &size), 0);
  }
}

TEST_F(Simulator, NodesFollowTheServer) {
  char data[4];
  std::string text;
  ASSERT_EQ(Table(51, 3, data), 0);
  fs::remove(server / "proc");
  fs::rename(server / "cdt", server / "proc");
  Write("proc/fan", "fans");
  EXPECT_EQ(Report(kReportFan, &text), 0);
}

TEST_F(Simulator, NodesAreToldFromOtherFiles) {
  for (const char *path :
       {"/dev/zythealth/", "/dev/zythealth/cevt/", "/dev/zythealth/ev", "/dev/zythealth/../null"}) {
    EXPECT_EQ(orvOpenRequest(path, kOpenRead), -1) << path;
    EXPECT_EQ(errno, ENOENT);
  }
  fs::remove(server / "cevt");
  EXPECT_EQ(orvOpenRequest(kNodeEvents, kOpenRead), -1);
  EXPECT_EQ(errno, ENOENT);

  const int node = orvOpenRequest(kNodeAsr, kOpenRead);
  int state = 0;
  EXPECT_EQ(orvIoctlRequest(node, kRequestEventEntry, &state, sizeof state), -1);
  EXPECT_EQ(errno, ENOTTY);
  close(node);  // behind the library's back
  const Node file((server / "casr/state").c_str(), kOpenReadWrite);
  ASSERT_EQ(dup2(file.fd, node), node);
  EXPECT_EQ(orvIoctlRequest(node, kRequestAsrState, &state, sizeof state), -1);
  EXPECT_EQ(errno, ENOTTY);
  close(node);
  EXPECT_EQ(read(file.fd, &state, 1), 1);
  EXPECT_EQ(lseek(file.fd, 0, SEEK_SET), 0);
  EXPECT_EQ(write(file.fd, "0", 1), 1);

  EXPECT_EQ(orvOpenRequest((server / "new").c_str(), O_CREAT | O_WRONLY), -1);
  EXPECT_EQ(orvOpenRequest(nullptr, kOpenRead), -1);
  EXPECT_EQ(orvIoctlRequest(-1, kRequestAsrState, &state, sizeof state), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(orvCloseRequest(-1), -1);
}

}  // namespace
