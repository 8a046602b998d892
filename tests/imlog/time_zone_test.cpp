#include "imlog/time_zone.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

bool is_known(const std::string &zone) {
  setenv("TZ", zone.c_str(), 1);
  return !check_time_zone().is_set();
}

TEST(TimeZone, IsKnownAsARule) {
  for (const char *const zone :
       {"", "UTC", ":GMT", "UTC0", "EST5EDT", "<+0530>-5:30", "CET-1CEST,M3.5.0,M10.5.0/3",
        "IST-2IDT,M3.4.4/26,M10.5.0", "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1", "XYZ-24:59:59",
        "ABC1DEF2,J60,300/4:30"}) {
    EXPECT_TRUE(is_known(zone)) << zone;
  }
  unsetenv("TZ");
  EXPECT_FALSE(check_time_zone().is_set());
  for (const char *const zone : {":", "CT", "ABC", "CET-25", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0",
                                 "CET-1:60", "UTC0 ", "+1", "<+1>-1", "CET-1CEST,M3.6.0,M10.5.0",
                                 "Europe/Berln", "/etc/passwd", "/nowhere", "..", "UTC0\n"}) {
    EXPECT_FALSE(is_known(zone)) << zone;
  }
}

TEST(TimeZone, IsKnownByItsFile) {
  const std::string directory = std::filesystem::path(testing::TempDir()) / "zones";
  std::filesystem::create_directories(directory);
  std::ofstream(directory + "/Moon") << "TZif2";
  std::ofstream(directory + "/Short") << "TZi";
  EXPECT_TRUE(is_known(directory + "/Moon"));
  EXPECT_TRUE(is_known(":" + directory + "/Moon"));
  EXPECT_FALSE(is_known(directory + "/Short"));
  EXPECT_FALSE(is_known("Moon"));
  EXPECT_TRUE(is_known("Europe/Berlin"));
  setenv("TZDIR", directory.c_str(), 1);
  EXPECT_TRUE(is_known("Moon"));
  EXPECT_TRUE(is_known(":Moon"));
  EXPECT_FALSE(is_known("Europe/Berlin"));
  setenv("TZDIR", "", 1);
  EXPECT_TRUE(is_known("Europe/Berlin"));
  unsetenv("TZDIR");
  unsetenv("TZ");
  std::filesystem::remove_all(directory);
}

}  // namespace
