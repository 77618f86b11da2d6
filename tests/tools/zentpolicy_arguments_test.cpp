// zentpolicy's command line: a subcommand, its operands, help.
#include "zentpolicy_arguments.h"

#include <gtest/gtest.h>

namespace {

using namespace zentpolicy;

TEST(ZentpolicyArguments, DecryptTakesOneFile) {
  ParsedArguments parsed = ParseZentpolicyArguments({"decrypt", "C:\\ZentAgent\\config.xml"});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.action, Action::Decrypt);
  EXPECT_EQ(parsed.options.file, "C:\\ZentAgent\\config.xml");
}

TEST(ZentpolicyArguments, NoArgumentsShowTheUsage) {
  ParsedArguments parsed = ParseZentpolicyArguments({});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.action, Action::ShowUsage);
}

TEST(ZentpolicyArguments, HelpWinsWhereverItStands) {
  EXPECT_EQ(ParseZentpolicyArguments({"--help"}).options.action, Action::Help);
  EXPECT_EQ(ParseZentpolicyArguments({"decrypt", "-h"}).options.action, Action::Help);
  EXPECT_EQ(ParseZentpolicyArguments({"bogus", "--help"}).options.action, Action::Help);
}

TEST(ZentpolicyArguments, DecryptWithoutFileIsAUsageError) {
  EXPECT_EQ(ParseZentpolicyArguments({"decrypt"}).error, "decrypt needs a FILE: zentpolicy decrypt FILE");
}

TEST(ZentpolicyArguments, DecryptWithTwoFilesIsAUsageError) {
  EXPECT_EQ(ParseZentpolicyArguments({"decrypt", "a.xml", "b.xml"}).error,
            "decrypt takes one FILE, not also 'b.xml'");
}

TEST(ZentpolicyArguments, UnknownSubcommandIsAUsageError) {
  EXPECT_EQ(ParseZentpolicyArguments({"encrypt", "a.xml"}).error,
            "unknown subcommand 'encrypt': zentpolicy translate POLICY, zentpolicy decrypt FILE, or zentpolicy --help");
}

TEST(ZentpolicyArguments, TranslateTakesItsOptionsAroundThePolicy) {
  ZentpolicyOptions o = ParseZentpolicyArguments({"translate", "--encrypt", "p.xml", "-o", "out.xml",
                                                  "--interfaces", "host.json", "--log-level", "6"})
                            .options;
  EXPECT_EQ(o.action, Action::Translate);
  EXPECT_EQ(o.file, "p.xml");
  EXPECT_EQ(o.output, "out.xml");
  EXPECT_TRUE(o.encrypt);
  EXPECT_EQ(o.interfaces, "host.json");
  EXPECT_EQ(o.logLevel, 6);
}

TEST(ZentpolicyArguments, TranslateRefusesABadLogLevelAndAMissingValue) {
  EXPECT_EQ(ParseZentpolicyArguments({"translate", "p.xml", "--log-level", "7"}).error,
            "--log-level takes 0 to 6, not '7'");
  EXPECT_EQ(ParseZentpolicyArguments({"translate", "p.xml", "-o"}).error, "-o needs a value");
  EXPECT_EQ(ParseZentpolicyArguments({"translate"}).error,
            "translate needs a POLICY file: zentpolicy translate POLICY.xml");
}

TEST(ZentpolicyArguments, UnknownOptionIsAUsageError) {
  EXPECT_EQ(ParseZentpolicyArguments({"decrypt", "--raw", "a.xml"}).error, "unknown option '--raw' for decrypt");
}

TEST(ZentpolicyArguments, FileBeginningWithADashFollowsTheEndOfOptions) {
  ParsedArguments parsed = ParseZentpolicyArguments({"decrypt", "--", "-config.xml"});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.file, "-config.xml");
}

TEST(ZentpolicyArguments, LoneDashIsAFileName) {
  EXPECT_EQ(ParseZentpolicyArguments({"decrypt", "-"}).options.file, "-");
}

}  // namespace
