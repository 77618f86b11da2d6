#include "server/http_destination.h"

#include <gtest/gtest.h>

#include <string>

namespace {

HttpDestination Parse(const std::string& data) { return ParseHttpDestination(data); }

void ExpectParsed(const std::string& data, const std::string& target, uint16_t port, uint8_t machineId) {
  HttpDestination d = Parse(data);
  EXPECT_EQ(d.outcome, DestinationParse::Parsed) << data;
  EXPECT_EQ(d.target, target) << data;
  EXPECT_EQ(d.port, port) << data;
  EXPECT_EQ(d.machineId, machineId) << data;
}

TEST(HttpDestination, ThreeFields) { ExpectParsed("10.0.0.1:8080:7", "10.0.0.1", 8080, 7); }

TEST(HttpDestination, NoDataNamesNoDestinationAndThePortIsTheHeaderSize) {
  ExpectParsed("", "", 36, 0);
}

TEST(HttpDestination, OneSeparatorIsTooFew) {
  EXPECT_EQ(Parse("1.2.3.4:80").outcome, DestinationParse::NoSeparators);
  EXPECT_EQ(Parse("1.2.3.4").outcome, DestinationParse::NoSeparators);
  EXPECT_EQ(Parse(":").outcome, DestinationParse::NoSeparators);
}

TEST(HttpDestination, SeparatorsAreLookedForBeforeTheTarget) {
  EXPECT_EQ(Parse(":80").outcome, DestinationParse::NoSeparators);
}

TEST(HttpDestination, SeparatorFirstHasNoTarget) {
  EXPECT_EQ(Parse(":80:1").outcome, DestinationParse::NoTarget);
  EXPECT_EQ(Parse("::").outcome, DestinationParse::NoTarget);
}

TEST(HttpDestination, EmptyNumbersAreRefused) {
  EXPECT_EQ(Parse("1.2.3.4:80:").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4::7").outcome, DestinationParse::BadNumber);
}

TEST(HttpDestination, DigitlessNumbersAreRefused) {
  EXPECT_EQ(Parse("1.2.3.4:http:7").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4:80:x7").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4: :7").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4:-:7").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4:0x:7").outcome, DestinationParse::Parsed);  // "0" and then letters
}

TEST(HttpDestination, NumbersBeyondIntAreRefused) {
  EXPECT_EQ(Parse("1.2.3.4:2147483648:7").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4:80:-2147483649").outcome, DestinationParse::BadNumber);
  EXPECT_EQ(Parse("1.2.3.4:99999999999999999999999:7").outcome, DestinationParse::BadNumber);
}

TEST(HttpDestination, IntLimitsAreAccepted) {
  ExpectParsed("1.2.3.4:2147483647:-2147483648", "1.2.3.4", 0xFFFF, 0);
}

TEST(HttpDestination, LeadingDigitsCount) {
  ExpectParsed("1.2.3.4:80x:7y", "1.2.3.4", 80, 7);
  ExpectParsed("1.2.3.4: 80:\t+7", "1.2.3.4", 80, 7);
}

TEST(HttpDestination, PortKeepsItsLow16Bits) {
  ExpectParsed("1.2.3.4:-1:0", "1.2.3.4", 65535, 0);
  ExpectParsed("1.2.3.4:65616:0", "1.2.3.4", 80, 0);
}

TEST(HttpDestination, MachineIdKeepsItsLow8BitsUnsigned) {
  ExpectParsed("1.2.3.4:80:300", "1.2.3.4", 80, 44);
  ExpectParsed("1.2.3.4:80:-1", "1.2.3.4", 80, 255);
  ExpectParsed("1.2.3.4:80:256", "1.2.3.4", 80, 0);
}

TEST(HttpDestination, AThirdSeparatorEndsTheId) { ExpectParsed("1.2.3.4:80:7:9", "1.2.3.4", 80, 7); }

TEST(HttpDestination, HostNameIsKeptAsText) { ExpectParsed("localhost:80:1", "localhost", 80, 1); }

TEST(HttpDestination, ZeroByteEndsANumber) {
  ExpectParsed(std::string("1.2.3.4:8\0" "1:7", 13), "1.2.3.4", 8, 7);
}

}  // namespace
