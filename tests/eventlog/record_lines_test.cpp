// The two lines of a cached record: the single-record file's, and the main
// log's with the local date and time of the first stamp in front. The
// prefixes below are written by hand for 1700000000 seconds, that is
// 2023-11-14 22:13:20 UTC, 2023-11-15 03:43:20 in India (UTC+5:30): a
// prefix built in UTC where local time was meant fails in the second zone.
#include "eventlog/cached_record.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

// The zone the process was started in, before any test changed it.
const std::string kZoneAtStart = [] {
  const char* zone = std::getenv("TZ");
  return std::string(zone == nullptr ? "" : zone);
}();

void SetZone(const std::string& zone) {
#ifdef _WIN32
  std::string assignment = "TZ=" + zone;
  _putenv(assignment.c_str());
  _tzset();
#else
  setenv("TZ", zone.c_str(), 1);
  tzset();
#endif
}

// Runs a test in a zone given in the form both C runtimes read, and gives
// the process its zone back afterwards.
class InZone {
 public:
  explicit InZone(const std::string& zone) { SetZone(zone); }
  ~InZone() { SetZone(kZoneAtStart); }
  InZone(const InZone&) = delete;
  InZone& operator=(const InZone&) = delete;
};
const char* const kUtc = "UTC0";
const char* const kIndia = "IST-5:30";

CachedRecord Record(uint64_t firstTime, uint64_t secondTime, uint32_t trailerValue) {
  CachedRecord record;
  record.text = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , ";
  record.firstTime = firstTime;
  record.secondTime = secondTime;
  record.trailerValue = trailerValue;
  record.addedTick = 123;
  record.secondTick = 123;
  return record;
}

TEST(SingleRecordLine, ColumnsThenTrailerSecondStampFirstStampAndCrLf) {
  EXPECT_EQ(SingleRecordLine(Record(1700000000123456u, 1700000001000005u, 17)),
            "f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , "
            ", 17, 1700000001000005, 1700000000123456\r\n");
}

TEST(SingleRecordLine, LargestNumbers) {
  CachedRecord record = Record(18446744073709551615u, 18446744073709551614u, 4294967295u);
  record.text = "d";
  EXPECT_EQ(SingleRecordLine(record), "d, 4294967295, 18446744073709551614, 18446744073709551615\r\n");
}

TEST(SingleRecordLine, NoTimePrefixInAnyZone) {
  InZone india(kIndia);
  EXPECT_EQ(SingleRecordLine(Record(0, 0, 0)),
            "f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , , 0, 0, 0\r\n");
}

TEST(MainLogLine, StartsWithTheDateAndTimeOfTheFirstStampInUtc) {
  InZone utc(kUtc);
  EXPECT_EQ(MainLogLine(Record(1700000000123456u, 1700000001000005u, 17)),
            "2023/11/14, 22:13:20, f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , "
            ", 17, 1700000001000005, 1700000000123456\r\n");
}

TEST(MainLogLine, StartsWithTheLocalDateAndTimeInIndia) {
  InZone india(kIndia);
  EXPECT_EQ(MainLogLine(Record(1700000000123456u, 1700000001000005u, 17)),
            "2023/11/15, 03:43:20, f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , "
            ", 17, 1700000001000005, 1700000000123456\r\n");
}

TEST(MainLogLine, TheSecondStampDoesNotSetThePrefix) {
  InZone utc(kUtc);
  // Second stamp a day later: the prefix still follows the first.
  std::string line = MainLogLine(Record(1700000000000000u, 1700086400000000u, 0));
  EXPECT_EQ(line.substr(0, 22), "2023/11/14, 22:13:20, ");
  const std::string end = ", 0, 1700086400000000, 1700000000000000\r\n";
  EXPECT_EQ(line.substr(line.size() - end.size()), end);
}

TEST(MainLogLine, MicrosecondsAreDroppedNotRounded) {
  InZone utc(kUtc);
  EXPECT_EQ(MainLogLine(Record(1700000000999999u, 0, 0)).substr(0, 22), "2023/11/14, 22:13:20, ");
}

TEST(MainLogLine, StartOfTheEpochInBothZones) {
  {
    InZone utc(kUtc);
    EXPECT_EQ(MainLogLine(Record(0, 0, 0)).substr(0, 22), "1970/01/01, 00:00:00, ");
  }
  InZone india(kIndia);
  EXPECT_EQ(MainLogLine(Record(0, 0, 0)).substr(0, 22), "1970/01/01, 05:30:00, ");
}

TEST(MainLogLine, LargestStampOfTheDriver) {
  InZone utc(kUtc);
  // 4294967295 seconds: 2106-02-07 06:28:15 UTC.
  EXPECT_EQ(MainLogLine(Record(4294967295000000u, 0, 0)).substr(0, 22), "2106/02/07, 06:28:15, ");
}

// The zone the test runner set (TZ=UTC for the ordinary run, TZ=Asia/Kolkata
// for the second native run): whichever it is, the prefix is local time.
TEST(MainLogLine, FollowsTheZoneInForce) {
  std::string prefix = MainLogLine(Record(1700000000123456u, 0, 0)).substr(0, 22);
  if (kZoneAtStart == "UTC" || kZoneAtStart == "UTC0")
    EXPECT_EQ(prefix, "2023/11/14, 22:13:20, ");
  else if (kZoneAtStart == "Asia/Kolkata" || kZoneAtStart == "IST-5:30")
    EXPECT_EQ(prefix, "2023/11/15, 03:43:20, ");
  else
    ADD_FAILURE() << "run with TZ=UTC or TZ=Asia/Kolkata, not \"" << kZoneAtStart << "\"";
}

}  // namespace
