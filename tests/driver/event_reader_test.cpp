// The log's reader and its node over a scripted request library: what is asked, and where a walk goes and
// ends.
#include "driver/event_reader.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/kelmintrfc64.h"

namespace {

// The answer to one number: a status, the errno that comes with it, and for an entry the number in its
// record.
struct Reply {
  int status = kEventRead;
  int error = 0;
  uint32_t number = 0;
};

std::map<uint32_t, Reply> replies;
Reply otherwise;  // to a number that is not in `replies`
std::vector<std::string> calls;
int open_error;
bool fail_calloc;

}  // namespace

extern "C" {
void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size) {
  errno = fail_calloc ? ENOMEM : errno;
  return fail_calloc ? nullptr : __real_calloc(count, size);
}
}

int orvOpenRequest(const char *path, int mode) {
  calls.push_back("open " + std::string(path) + " " + std::to_string(mode));
  errno = open_error;
  return open_error == 0 ? 1000 : -1;
}

int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length) {
  auto &request = *static_cast<_ioctlEntry *>(buffer);
  _ioctlEntry read = {{512, 2, 0, request.info.EvtNumber}, {}};
  read.Evt.Hdr.wEvtLength = 284;
  const auto asked = static_cast<uint32_t>(request.info.EvtNumber);
  const bool is_read =
      fd == 1000 && code == 81 && length == 256 && memcmp(&request, &read, sizeof(read)) == 0;
  if (asked % 500'000 < 100) {  // of a long gap only its ends
    calls.push_back(is_read ? std::to_string(asked) : "malformed");
  }
  memset(buffer, 0xFF, length);
  const auto found = replies.find(asked);
  const Reply &reply = found != replies.end() ? found->second : otherwise;
  request.Evt.Hdr.dwEvtNumber = reply.number;
  errno = reply.error != 0 ? reply.error : errno;
  return reply.status;
}

int orvCloseRequest(int fd) {
  calls.push_back("close " + std::to_string(fd));
  errno = EBADF;
  return -1;
}

namespace {

using Step = EventReader::Step;
using Calls = std::vector<std::string>;

class Reader : public testing::Test {
 protected:
  Reader() {
    replies.clear();
    otherwise = {kEventEndOfLog};
    calls.clear();
    open_error = 0;
  }
};

// Each number asked for, and what next() made of the answers. The walk ends after two answers that are no
// entry.
std::string walk(uint32_t first, Step step) {
  EventReader log(first, step);
  std::string text;
  for (int ends = 0; ends < 2;) {
    calls.clear();
    errno = kEventEndOfLog;  // an older errno is no answer
    const EventReader::Answer answer = log.next();
    for (const std::string &call : calls) {
      text += call + " ";
    }
    const std::map<EventReader::Answer, std::string> words = {
        {EventReader::Answer::kEntry, "= " + std::to_string(log.record().Hdr.dwEvtNumber)},
        {EventReader::Answer::kEndOfLog, "end"},
        {EventReader::Answer::kInvalidCode,
         "invalid " + std::to_string(log.status()) + " " + std::to_string(log.error())},
        {EventReader::Answer::kDoesNotAdvance, "stuck at " + std::to_string(log.number())}};
    text += words.at(answer) + ", ";
    ends += answer == EventReader::Answer::kEntry ? 0 : 1;
  }
  return text;
}

TEST_F(Reader, WalksForwardOrEnds) {
  constexpr uint32_t kLast = UINT32_MAX;
  const struct {
    const char *what;
    std::map<uint32_t, Reply> log;
    const char *walk;
    uint32_t first = 0;
    Step step = Step::kPastRecord;
  } rows[] = {
      {"empty", {}, "0 end, 0 end, "},
      {"a jump", {{3, {0, 0, 3}}, {4, {0, 0, 7}}, {8, {0, 0, 8}}}, "3 = 3, 4 = 7, 8 = 8, 9 end, 9 end, ", 3},
      {"by one", {{3, {0, 0, 3}}, {4, {0, 0, 7}}}, "3 = 3, 4 = 7, 5 end, 5 end, ", 3, Step::kByOne},
      {"a gap", {{0, {3}}, {1, {-1, 3}}, {2, {0, 0, 2}}}, "0 1 2 = 2, 3 end, 3 end, "},
      {"an end in errno", {{0, {-1, 1}}}, "0 end, 0 end, "},
      {"another status", {{0, {2}}}, "0 invalid 2 0, 0 invalid 2 0, "},
      {"another errno", {{0, {-1, EIO}}}, "0 invalid -1 5, 0 invalid -1 5, "},
      {"a failure without errno", {{0, {-1}}}, "0 invalid -1 0, 0 invalid -1 0, "},
      {"an errno without a failure", {{0, {-2, 1}}}, "0 invalid -2 0, 0 invalid -2 0, "},
      {"repeats", {{5, {0, 0, 5}}, {6, {0, 0, 5}}}, "5 = 5, 6 = 5, stuck at 6, stuck at 6, ", 5},
      {"goes back", {{5, {0, 0, 2}}}, "5 = 2, stuck at 5, stuck at 5, ", 5, Step::kByOne},
      {"the highest number", {{0, {0, 0, kLast}}}, "0 = 4294967295, stuck at 0, stuck at 0, "},
      {"a gap up to it",
       {{kLast - 1, {3}}, {kLast, {3}}},
       "stuck at 4294967295, stuck at 4294967295, ",
       kLast - 1},
  };
  for (const auto &row : rows) {
    replies = row.log;
    EXPECT_EQ(walk(row.first, row.step), row.walk) << row.what;
  }
}

TEST_F(Reader, EndsAGapThatIsTooLong) {
  otherwise = {kEventNoEntry};
  replies[0] = {kEventRead, 0, 0};
  replies[1'000'000] = {kEventRead, 0, 1'000'000};  // after one number less than the longest gap
  for (const Step step : {Step::kPastRecord, Step::kByOne}) {
    const std::string text = walk(0, step);
    EXPECT_NE(text.find("= 1000000, "), std::string::npos);
    EXPECT_NE(text.find("stuck at 2000000, stuck at 2000000, "), std::string::npos);
  }
}

TEST_F(Reader, OpensTheLogAndClosesItOnce) {
  {
    EventReader log(0);
    EXPECT_EQ(log.opening(), EventReader::Opening::kReady);
    log.close();
    EXPECT_EQ(calls, (Calls{"open /dev/zythealth/cevt 0", "close 1000"}));
  }
  {
    const EventReader log(0);
    errno = EIO;
  }
  EXPECT_EQ(errno, EIO);  // the reason of an earlier failure survives
  EXPECT_EQ(calls.size(), 4u);

  calls.clear();
  open_error = ENODEV;
  const EventReader closed(0);
  EXPECT_EQ(closed.opening(), EventReader::Opening::kCannotOpen);
  EXPECT_EQ(closed.error(), ENODEV);
  open_error = 0;
  fail_calloc = true;
  const EventReader poor(0);
  fail_calloc = false;
  EXPECT_EQ(poor.opening(), EventReader::Opening::kNoMemory);
  EXPECT_EQ(poor.error(), ENOMEM);
  EXPECT_EQ(calls.back(), "close 1000");
}

}  // namespace
