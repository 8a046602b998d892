// The log's reader over a scripted driver: the numbers asked for, and where a walk goes and ends.
#include "driver/event_reader.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/fake_driver.h"

namespace {

// The answer to one number: a status, the errno that comes with it, and for an entry the number in its
// record.
struct Reply {
  int status = kEventRead;
  int error = 0;
  uint32_t number = 0;
};

std::map<uint32_t, Reply> replies;
Reply otherwise;    // to a number that is not in `replies`
std::string calls;  // the numbers asked for, and of a long gap only its ends

int answer(_ioctlEntry &request) {
  const auto asked = static_cast<uint32_t>(request.info.EvtNumber);
  calls += asked % 500'000 < 100 ? std::to_string(asked) + ' ' : "";
  memset(&request, 0xFF, sizeof(request));
  const Reply &reply = replies.count(asked) != 0 ? replies[asked] : otherwise;
  request.Evt.Hdr.dwEvtNumber = reply.number;
  errno = reply.error != 0 ? reply.error : errno;
  return reply.status;
}

using Answer = EventReader::Answer;

// Each number asked for, and what next() made of the answers. The walk ends after two answers that are no
// entry.
std::string walk(uint32_t first) {
  calls.clear();
  fake_driver() = {.event = answer, .traces_events = false};
  {
    EventReader log(first);
    for (int ends = 0; ends < 2;) {
      errno = kEventEndOfLog;  // an older errno must not count as an answer
      const Answer answer = log.next();
      const std::string failure = std::to_string(log.status()) + " " + std::to_string(log.error());
      calls += answer == Answer::kEntry         ? "= " + std::to_string(log.record().Hdr.dwEvtNumber)
               : answer == Answer::kEndOfLog    ? "end"
               : answer == Answer::kInvalidCode ? "invalid " + failure
                                                : "stuck at " + std::to_string(log.number());
      calls += ", ";
      ends += answer == Answer::kEntry ? 0 : 1;
    }
    errno = EIO;
  }
  EXPECT_EQ(errno, EIO) << "closing hides the reason of an earlier failure";
  EXPECT_EQ(take_trace(), "open cevt 0\nclose cevt\n");
  return calls;
}

TEST(EventReader, WalksForwardOrEnds) {
  constexpr uint32_t kLast = UINT32_MAX;
  const struct {
    std::map<uint32_t, Reply> log;
    const char *walk;
    uint32_t first = 0;
  } rows[] = {
      {{{3, {0, 0, 3}}, {4, {0, 0, 7}}, {8, {0, 0, 8}}}, "3 = 3, 4 = 7, 8 = 8, 9 end, 9 end, ", 3},
      {{{0, {3}}, {1, {-1, 3}}, {2, {0, 0, 2}}}, "0 1 2 = 2, 3 end, 3 end, "},
      {{{0, {-1, 1}}}, "0 end, 0 end, "},
      {{{0, {2}}}, "0 invalid 2 0, 0 invalid 2 0, "},
      {{{0, {-1, EIO}}}, "0 invalid -1 5, 0 invalid -1 5, "},
      {{{0, {-1}}}, "0 invalid -1 0, 0 invalid -1 0, "},
      {{{0, {-2, 1}}}, "0 invalid -2 0, 0 invalid -2 0, "},
      {{{5, {0, 0, 5}}, {6, {0, 0, 5}}}, "5 = 5, 6 = 5, stuck at 6, stuck at 6, ", 5},
      {{{0, {0, 0, kLast}}}, "0 = 4294967295, stuck at 4294967295, stuck at 4294967295, "},
      {{{kLast - 1, {3}}, {kLast, {3}}}, "stuck at 4294967295, stuck at 4294967295, ", kLast - 1},
  };
  otherwise = {kEventEndOfLog};
  for (const auto &row : rows) {
    replies = row.log;
    EXPECT_EQ(walk(row.first), row.walk);
  }
  otherwise = {kEventNoEntry};
  replies = {{0, {}}, {1'000'000, {0, 0, 1'000'000}}};  // after one number less than the longest gap
  const std::string text = walk(0);
  EXPECT_NE(text.find("= 1000000, "), std::string::npos);
  EXPECT_NE(text.find("stuck at 2000000, stuck at 2000000, "), std::string::npos);
  fake_driver().opens["cevt"] = 0;
  const EventReader closed(0);
  EXPECT_EQ(closed.opening(), EventReader::Opening::kCannotOpen);
  EXPECT_EQ(closed.error(), ENOENT);
}

}  // namespace
