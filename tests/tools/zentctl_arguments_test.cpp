// zentctl's command line: what each form means, and which mistakes it
// refuses before touching the pipe.
#include "zentctl/zentctl_arguments.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using zentctl::Action;
using zentctl::ParsedArguments;
using zentctl::ParseZentctlArguments;
using Args = std::vector<std::string>;

const std::string kAgentPipe = "\\\\.\\pipe\\BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44";

std::string ErrorOf(const Args& args) { return ParseZentctlArguments(args).error; }

TEST(ZentctlArguments, NoArgumentsShowTheUsage) {
  ParsedArguments parsed = ParseZentctlArguments({});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.action, Action::ShowUsage);
}

TEST(ZentctlArguments, HelpWinsWhereverItStands) {
  EXPECT_EQ(ParseZentctlArguments({"--help"}).options.action, Action::Help);
  EXPECT_EQ(ParseZentctlArguments({"send", "ping", "-h"}).options.action, Action::Help);
  EXPECT_EQ(ParseZentctlArguments({"send", "--bogus", "--help"}).options.action, Action::Help);
}

TEST(ZentctlArguments, SendPingTakesTheDefaults) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "ping"});
  ASSERT_EQ(parsed.error, "");
  const auto& o = parsed.options;
  EXPECT_EQ(o.action, Action::Send);
  EXPECT_EQ(o.command, 101u);
  EXPECT_EQ(o.pipePath, kAgentPipe);
  EXPECT_EQ(o.requestId, 1u);
  EXPECT_EQ(o.timeoutMs, 5000u);
  EXPECT_EQ(o.count, 1u);
  EXPECT_FALSE(o.dataFile);
  EXPECT_FALSE(o.builtinData);
  EXPECT_TRUE(o.pieces.empty());
  EXPECT_FALSE(o.raw || o.hex || o.noReply);
}

TEST(ZentctlArguments, CommandNamesStandForTheAgentsNumbers) {
  const std::pair<std::string, uint32_t> names[] = {
      {"notify", 1},           {"stop", 3},           {"ping", 101},         {"http", 102},  {"set-config", 103},
      {"set-raw-config", 104}, {"clear-config", 105}, {"get-metadata", 106}, {"multi", 107},
  };
  for (const auto& [name, number] : names) {
    ParsedArguments parsed = ParseZentctlArguments({"send", name});
    EXPECT_EQ(parsed.error, "") << name;
    EXPECT_EQ(parsed.options.command, number) << name;
  }
}

TEST(ZentctlArguments, AnyUnsignedNumberIsACommand) {
  EXPECT_EQ(ParseZentctlArguments({"send", "0"}).options.command, 0u);
  EXPECT_EQ(ParseZentctlArguments({"send", "4294967295"}).options.command, 4294967295u);
}

TEST(ZentctlArguments, NumbersBeyondThirtyTwoBitsAreRefused) {
  EXPECT_EQ(ErrorOf({"send", "4294967296"}),
            "unknown command '4294967296': give a name from zentctl --help, or a number from 0 to 4294967295");
}

TEST(ZentctlArguments, UnknownCommandNameIsRefused) {
  EXPECT_EQ(ErrorOf({"send", "pong"}),
            "unknown command 'pong': give a name from zentctl --help, or a number from 0 to 4294967295");
}

TEST(ZentctlArguments, SelfProtectionOnSendsServiceOne) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "self-protection", "on"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.command, 2u);
  EXPECT_EQ(parsed.options.builtinData, R"({"service":1})");
}

TEST(ZentctlArguments, SelfProtectionOffSendsServiceZero) {
  EXPECT_EQ(ParseZentctlArguments({"send", "self-protection", "off"}).options.builtinData, R"({"service":0})");
}

TEST(ZentctlArguments, SelfProtectionNeedsOnOffOrData) {
  EXPECT_EQ(ErrorOf({"send", "self-protection"}), "self-protection needs on or off (or --data FILE)");
  EXPECT_EQ(ErrorOf({"send", "self-protection", "maybe"}), "self-protection needs on or off (or --data FILE)");
  ParsedArguments parsed = ParseZentctlArguments({"send", "self-protection", "--data", "status.json"});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.dataFile, "status.json");
}

TEST(ZentctlArguments, OnlySelfProtectionAndHttpTakeAWordAfterThem) {
  EXPECT_EQ(ErrorOf({"send", "ping", "on"}), "unexpected argument 'on'");
  EXPECT_EQ(ErrorOf({"send", "self-protection", "on", "off"}), "unexpected argument 'off'");
  EXPECT_EQ(ErrorOf({"send", "http", "1.2.3.4:80:7", "x"}), "unexpected argument 'x'");
}

TEST(ZentctlArguments, HttpSendsItsDestinationAsTheData) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "http", "127.0.0.1:8080:7"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.command, 102u);
  EXPECT_EQ(parsed.options.builtinData, "127.0.0.1:8080:7");
  // Whatever the text is: the agent judges it.
  EXPECT_EQ(ParseZentctlArguments({"send", "http", ":80"}).options.builtinData, ":80");
}

TEST(ZentctlArguments, HttpWithoutDestinationSendsNoData) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "http"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_FALSE(parsed.options.builtinData.has_value());
  EXPECT_EQ(ErrorOf({"send", "http", "1.2.3.4:80:7", "--data", "d.txt"}), "unexpected argument '1.2.3.4:80:7'");
}

TEST(ZentctlArguments, ValuesFollowAsTheNextArgumentOrAfterAnEqualsSign) {
  ParsedArguments parsed = ParseZentctlArguments(
      {"send", "notify", "--request-id", "42", "--timeout=250", "--gap", "5", "--hold=700", "--count", "1000"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.requestId, 42u);
  EXPECT_EQ(parsed.options.timeoutMs, 250u);
  EXPECT_EQ(parsed.options.gapMs, 5u);
  EXPECT_EQ(parsed.options.holdMs, 700u);
  EXPECT_EQ(parsed.options.count, 1000u);
}

TEST(ZentctlArguments, DataFromAFileOrStandardInput) {
  EXPECT_EQ(ParseZentctlArguments({"send", "multi", "--data", "C:\\work\\multi.xml"}).options.dataFile,
            "C:\\work\\multi.xml");
  EXPECT_EQ(ParseZentctlArguments({"send", "multi", "--data", "-"}).options.dataFile, "-");
}

TEST(ZentctlArguments, APipeNameGoesUnderThePipeFolder) {
  EXPECT_EQ(ParseZentctlArguments({"send", "ping", "--pipe", "zent_test_7"}).options.pipePath,
            "\\\\.\\pipe\\zent_test_7");
}

TEST(ZentctlArguments, AFullPipePathIsKept) {
  EXPECT_EQ(ParseZentctlArguments({"send", "ping", "--pipe", "\\\\host\\pipe\\other"}).options.pipePath,
            "\\\\host\\pipe\\other");
}

TEST(ZentctlArguments, PiecesAreSizesSeparatedByCommas) {
  EXPECT_EQ(ParseZentctlArguments({"send", "ping", "--pieces", "10,26"}).options.pieces, (std::vector<size_t>{10, 26}));
  EXPECT_EQ(ParseZentctlArguments({"send", "ping", "--pieces=5000"}).options.pieces, (std::vector<size_t>{5000}));
}

TEST(ZentctlArguments, PiecesOfNoBytesOrMalformedListsAreRefused) {
  const std::string expected = "--pieces takes sizes of at least 1 byte separated by commas, as 10,26, not '";
  EXPECT_EQ(ErrorOf({"send", "ping", "--pieces", "10,,26"}), expected + "10,,26'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--pieces", "0"}), expected + "0'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--pieces", "10,"}), expected + "10,'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--pieces", "-3"}), expected + "-3'");
}

TEST(ZentctlArguments, RawSendsTheDataWithoutAHeader) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "--raw", "--data", "message.bin"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_TRUE(parsed.options.raw);
  EXPECT_EQ(parsed.options.action, Action::Send);
}

TEST(ZentctlArguments, RawRefusesWhatOnlyAHeaderWouldCarry) {
  EXPECT_EQ(ErrorOf({"send", "ping", "--raw", "--data", "m.bin"}),
            "--raw sends the data as the whole message, so no COMMAND goes with it");
  EXPECT_EQ(ErrorOf({"send", "--raw"}), "--raw needs --data FILE (or --data - for standard input)");
  EXPECT_EQ(ErrorOf({"send", "--raw", "--data", "m.bin", "--request-id", "3"}),
            "--raw builds no header, so --request-id does not go with it");
}

TEST(ZentctlArguments, NoReplyRefusesWhatReadsAReply) {
  EXPECT_EQ(ErrorOf({"send", "notify", "--no-reply", "--count", "5"}),
            "--count reads each reply, so it does not go with --no-reply");
  EXPECT_EQ(ErrorOf({"send", "notify", "--no-reply", "--hex"}),
            "--hex prints the reply, so it does not go with --no-reply");
  EXPECT_TRUE(ParseZentctlArguments({"send", "notify", "--no-reply", "--hold", "500"}).options.noReply);
}

TEST(ZentctlArguments, ConnectCyclesStandsWithoutSend) {
  ParsedArguments parsed = ParseZentctlArguments({"--connect-cycles", "50", "--pipe", "p", "--timeout", "100"});
  ASSERT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.action, Action::ConnectCycles);
  EXPECT_EQ(parsed.options.connectCycles, 50u);
}

TEST(ZentctlArguments, ConnectCyclesRefusesWhatWouldSendSomething) {
  EXPECT_EQ(ErrorOf({"send", "ping", "--connect-cycles", "5"}),
            "--connect-cycles sends nothing, so 'send' does not go with it");
  EXPECT_EQ(ErrorOf({"--connect-cycles", "5", "--hex"}),
            "--connect-cycles sends nothing, so --hex does not go with it");
}

TEST(ZentctlArguments, CountsAndTimeOutsStartAtOne) {
  EXPECT_EQ(ErrorOf({"send", "ping", "--count", "0"}), "--count takes a whole number from 1 to 4294967295, not '0'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--timeout", "0"}),
            "--timeout takes a whole number from 1 to 4294967295, not '0'");
  EXPECT_EQ(ErrorOf({"--connect-cycles", "0"}), "--connect-cycles takes a whole number from 1 to 4294967295, not '0'");
}

TEST(ZentctlArguments, NumbersAreDecimalDigitsOnly) {
  EXPECT_EQ(ErrorOf({"send", "ping", "--request-id", "0x10"}),
            "--request-id takes a whole number from 0 to 4294967295, not '0x10'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--gap", "+5"}), "--gap takes a whole number from 0 to 4294967295, not '+5'");
}

TEST(ZentctlArguments, MalformedOptionsAreRefused) {
  EXPECT_EQ(ErrorOf({"send", "ping", "--verbose"}), "unknown option '--verbose'");
  EXPECT_EQ(ErrorOf({"send", "ping", "-v"}), "unknown option '-v'");
  EXPECT_EQ(ErrorOf({"send", "ping", "--timeout"}), "--timeout needs a value");
  EXPECT_EQ(ErrorOf({"send", "ping", "--hex=yes"}), "--hex takes no value");
  EXPECT_EQ(ErrorOf({"send", "ping", "--gap", "1", "--gap", "2"}), "--gap is given twice");
  EXPECT_EQ(ErrorOf({"send", "ping", "--data", ""}), "--data takes a file name, or - for standard input");
}

TEST(ZentctlArguments, SendAndItsCommandAreRequired) {
  EXPECT_EQ(ErrorOf({"--hex"}), "nothing to do: zentctl send COMMAND [options], or zentctl --help");
  EXPECT_EQ(ErrorOf({"post", "ping"}), "unknown verb 'post': zentctl send COMMAND [options]");
  EXPECT_EQ(ErrorOf({"send"}), "send needs a COMMAND: a name such as ping, or a number");
}

}  // namespace

TEST(ZentctlArguments, DelayBeforeTheFirstWrite) {
  ParsedArguments parsed = ParseZentctlArguments({"send", "ping", "--delay", "800"});
  ASSERT_TRUE(parsed.error.empty()) << parsed.error;
  EXPECT_EQ(parsed.options.delayMs, 800u);
}
