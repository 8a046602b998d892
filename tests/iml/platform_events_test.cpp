// The small classes: system revision, maintenance, carrier authentication, power capping, flash media,
// interlock.
#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

TEST(PlatformEvents, TextsAreShownAsStored) {
  ExpectLines(0x20, {{1, P("05/23/2016 %s%n"), "ROM flashed (05/23/2016 %s%n)"},
                     {2, P(""), "Firmware flashed ()"},
                     {3, P("x"), Fallback(0x20, 3)}});
  ExpectLines(0x21, {{1, P("Administrator"), "IML Cleared (Administrator)"},
                     {2, P("Replaced fan 3"), "Maintenance note: Replaced fan 3"},
                     {0, P("x"), Fallback(0x21, 0)}});
  ExpectLines(0x28, {{1, P("no media"), "Boot From Flash Error (no media)"}, {2, P("x"), Fallback(0x28, 2)}});
}

TEST(PlatformEvents, CarrierNamesWhereTheDriveSits) {
  ExpectLines(
      0x26,
      {{1, P(2, 1, 0, 4, Raw{"1I"}, 2, "", ""),
        "External Storage Enclosure Device Not Authenticated As Genuine (Bay 4, Box 2, Port 1I, Slot 1)"},
       {1, P(4, 255, 0, 255, Raw{"1I"}, 255, "N", ""),
        " Storage Enclosure Device Not Authenticated As Genuine (Bay 255, Box 255, Port 1I, Chassis N, Slot "
        "Unknown)"},
       {2, P(2, 1), Fallback(0x26, 2)}});
}

TEST(PlatformEvents, PowerCaps) {
  ExpectLines(
      0x27,
      {{3, P(U16(350)), "Power Cap Cannot Be Reached With Current System Configuration (Power Cap 350W)"},
       {3, P(U16(65535)), "Power Cap Cannot Be Reached With Current System Configuration (Power Cap 65535W)"},
       {0, "", Fallback(0x27, 0)},
       {5, "", Fallback(0x27, 5)}});
}

TEST(PlatformEvents, InterlockKindsAboveTheLastShowNoPrefix) {
  ExpectLines(0x29,
              {{1, P(0, "Riser"), "Improperly seated or missing device (Unknown interlock type, Riser)"},
               {1, P(2, "Fan Module 3"), "Improperly seated or missing device (Runtime fault, Fan Module 3)"},
               {1, P(3, "Riser"), "Improperly seated or missing device (Power on fault, Riser)"},
               {1, P(4, "Riser"), "Improperly seated or missing device (Riser)"},
               {1, P(255, ""), "Improperly seated or missing device ()"}});
}

}  // namespace
