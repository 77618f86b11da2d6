#include "server/command_document.h"

#include <gtest/gtest.h>

#include "support/test_files.h"
#include "support/scratch_folder.h"

namespace {

using tinyxml2::XMLDocument;

TEST(FirstCommand, IsTheFirstRequestUnderMessage) {
  XMLDocument document;
  document.Parse("<Message><Other cmd=\"x\"/><Request cmd=\"a\"/><Request cmd=\"b\"/></Message>");
  ASSERT_NE(FirstCommand(document), nullptr);
  EXPECT_STREQ(FirstCommand(document)->Attribute("cmd"), "a");
}

TEST(FirstCommand, NoneWithoutRequest) {
  XMLDocument document;
  document.Parse("<Message><Other cmd=\"x\"/></Message>");
  EXPECT_EQ(FirstCommand(document), nullptr);
}

TEST(FirstCommand, NoneUnderAnotherRoot) {
  XMLDocument document;
  document.Parse("<Envelope><Request cmd=\"a\"/></Envelope>");
  EXPECT_EQ(FirstCommand(document), nullptr);
}

TEST(FirstCommand, MessageAfterAnotherRootIsFound) {
  XMLDocument document;
  document.Parse("<Envelope/><Message><Request cmd=\"a\"/></Message>");
  ASSERT_NE(FirstCommand(document), nullptr);
}

TEST(WriteCommandFile, WrapsACopyOfTheCommandInMessage) {
  XMLDocument document;
  document.Parse(
      "<Message><Request cmd=\"SendSecurityConfiguration\" id=\"7\"><Policy name=\"p\"><Rule/></Policy>"
      "<!--note--></Request><Other cmd=\"x\"/></Message>");
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"command0.xml";
  ASSERT_TRUE(WriteCommandFile(*FirstCommand(document), path));
  // The printer's indented form: elements on lines of their own, four blanks
  // per level.
  EXPECT_EQ(ReadTestFile(path),
            "<Message>\n"
            "    <Request cmd=\"SendSecurityConfiguration\" id=\"7\">\n"
            "        <Policy name=\"p\">\n"
            "            <Rule/>\n"
            "        </Policy>\n"
            "        <!--note-->\n"
            "    </Request>\n"
            "</Message>\n");
}

TEST(WriteCommandFile, FalseWhenTheFileCannotBeOpened) {
  XMLDocument document;
  document.Parse("<Message><Request cmd=\"a\"/></Message>");
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"no_such_folder" + kScratchSeparator + L"c.xml";
  EXPECT_FALSE(WriteCommandFile(*FirstCommand(document), path));
}

}  // namespace
