// zentpolicy's subcommands over files given by the test: what goes to
// standard output and standard error, and the exit status.
#include "zentpolicy.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "exit_status.h"
#include "util/cred_machine_encrypt.h"

namespace {

using namespace zentpolicy;

struct ToolRun {
  int status;
  std::string out, err;
};

// A file system of the test's own: a name missing from it cannot be read.
ToolRun Zentpolicy(const std::vector<std::string>& args, const std::map<std::string, std::string>& files = {}) {
  ToolRun run{};
  FileReader read = [&](const std::string& path, std::string& bytes, std::string& error) {
    auto file = files.find(path);
    if (file == files.end()) {
      error = "No such file or directory";
      return false;
    }
    bytes = file->second;
    return true;
  };
  run.status = RunZentpolicy(args, read, run.out, run.err);
  return run;
}

TEST(ZentpolicyDecrypt, PrintsTheClearTextByteForByte) {
  const std::string text = "<AgentConfig>\r\n  <name>Z\xC3\xBCrich</name>\r\n</AgentConfig>\r\n";
  ToolRun run = Zentpolicy({"decrypt", "config.xml"}, {{"config.xml", Cred_MachineEncrypt(text.c_str())}});
  EXPECT_EQ(run.status, kExitSuccess);
  EXPECT_EQ(run.out, text);
  EXPECT_EQ(run.err, "");
}

TEST(ZentpolicyDecrypt, EncryptedEmptyDocumentPrintsNothingAndSucceeds) {
  ToolRun run = Zentpolicy({"decrypt", "config.xml"}, {{"config.xml", Cred_MachineEncrypt("")}});
  EXPECT_EQ(run.status, kExitSuccess);
  EXPECT_EQ(run.out, "");
}

TEST(ZentpolicyDecrypt, ClearDocumentIsNotInTheForm) {
  ToolRun run = Zentpolicy({"decrypt", "config.xml"}, {{"config.xml", "<?xml version=\"1.0\"?>\n<AgentConfig/>\n"}});
  EXPECT_EQ(run.status, kExitNotEncrypted);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "zentpolicy: config.xml is not an encrypted policy file: it does not begin with \"Salted__\"\n");
}

TEST(ZentpolicyDecrypt, CutFileIsNotInTheForm) {
  std::string encrypted = Cred_MachineEncrypt("<AgentConfig/>");
  ToolRun run = Zentpolicy({"decrypt", "config.xml"}, {{"config.xml", encrypted.substr(0, encrypted.size() - 1)}});
  EXPECT_EQ(run.status, kExitNotEncrypted);
  EXPECT_EQ(run.err,
            "zentpolicy: config.xml is not an encrypted policy file: its 15 bytes after the 24-byte header are not "
            "a whole number of 16-byte blocks, at least one\n");
}

TEST(ZentpolicyDecrypt, UnreadableFileHasItsOwnStatus) {
  ToolRun run = Zentpolicy({"decrypt", "absent.xml"});
  EXPECT_EQ(run.status, kExitCannotRead);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "zentpolicy: cannot read absent.xml: No such file or directory\n");
}

TEST(Zentpolicy, HelpGoesToStandardOutput) {
  ToolRun run = Zentpolicy({"--help"});
  EXPECT_EQ(run.status, kExitSuccess);
  EXPECT_NE(run.out.find("zentpolicy decrypt FILE"), std::string::npos);
  EXPECT_EQ(run.err, "");
}

TEST(Zentpolicy, NoArgumentsPrintTheUsageAsAnError) {
  ToolRun run = Zentpolicy({});
  EXPECT_EQ(run.status, kExitUsage);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("zentpolicy decrypt FILE"), std::string::npos);
}

TEST(Zentpolicy, BadArgumentsAreOneLineOnStandardError) {
  ToolRun run = Zentpolicy({"decrypt"});
  EXPECT_EQ(run.status, kExitUsage);
  EXPECT_EQ(run.err, "zentpolicy: decrypt needs a FILE: zentpolicy decrypt FILE\n");
}

}  // namespace
