#include "server/http_reply.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(HttpReplyCut, ShorterThanFourBytes) {
  std::string r = "{}";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoBlankLine);
}

TEST(HttpReplyCut, BodyWithoutBlankLine) {
  std::string r = "HTTP/1.1 200 OK\r\n{\"name\": \"a\"}";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoBlankLine);
}

TEST(HttpReplyCut, BlankLineOfBareLineFeedsIsNone) {
  std::string r = "HTTP/1.1 200 OK\n\n{}";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoBlankLine);
}

TEST(HttpReplyCut, NoBraceBehindTheBlankLine) {
  std::string r = "HTTP/1.1 200 {OK}\r\n\r\nnothing";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoOpeningBrace);
}

TEST(HttpReplyCut, NoClosingBrace) {
  std::string r = "X\r\n\r\n{\"name\"";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoClosingBrace);
}

TEST(HttpReplyCut, ClosingBraceOnlyInFrontOfTheOpeningOne) {
  std::string r = "X\r\n\r\n}{";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::NoClosingBrace);
}

TEST(HttpReplyCut, FirstOpeningToLastClosing) {
  std::string r = "HTTP/1.1 500 Oops\r\nA: {b}\r\n\r\ntext {\"a\": {\"b\": 1}} more } tail";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::Cut);
  EXPECT_EQ(r, "{\"a\": {\"b\": 1}} more }");
}

TEST(HttpReplyCut, BlankLineAloneAtTheStart) {
  std::string r = "\r\n\r\n{}";
  EXPECT_EQ(CutHttpReply(r), HttpReplyCut::Cut);
  EXPECT_EQ(r, "{}");
}

TEST(HttpReplyMembers, ThreeStringMembers) {
  HttpReplyContent c = ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": "<Message/>", "info": 3})");
  EXPECT_EQ(c.outcome, HttpReplyMembers::Read);
  EXPECT_EQ(c.name, "n");
  EXPECT_EQ(c.clientUID, "u");
  EXPECT_EQ(c.request, "<Message/>");
}

TEST(HttpReplyMembers, ParseErrorCarriesRapidJsonsCode) {
  HttpReplyContent c = ReadHttpReplyMembers("{\"name\": }");
  EXPECT_EQ(c.outcome, HttpReplyMembers::ParseError);
  EXPECT_EQ(c.parseError, 3);  // kParseErrorValueInvalid
  EXPECT_EQ(ReadHttpReplyMembers("{} }").parseError, 2);  // kParseErrorDocumentRootNotSingular
  EXPECT_EQ(ReadHttpReplyMembers("{\"a\" 1}").parseError, 5);  // kParseErrorObjectMissColon
}

TEST(HttpReplyMembers, ArrayIsNoObject) {
  EXPECT_EQ(ReadHttpReplyMembers("[1]").outcome, HttpReplyMembers::NotObject);
}

TEST(HttpReplyMembers, EachMemberIsRequired) {
  EXPECT_EQ(ReadHttpReplyMembers(R"({"clientUID": "u", "request": "r"})").outcome, HttpReplyMembers::MissingMember);
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": "n", "request": "r"})").outcome, HttpReplyMembers::MissingMember);
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u"})").outcome, HttpReplyMembers::MissingMember);
}

TEST(HttpReplyMembers, EachMemberMustBeAString) {
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": 1, "clientUID": "u", "request": "r"})").outcome,
            HttpReplyMembers::MemberNotString);
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": "n", "clientUID": null, "request": "r"})").outcome,
            HttpReplyMembers::MemberNotString);
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": {}})").outcome,
            HttpReplyMembers::MemberNotString);
}

TEST(HttpReplyMembers, MissingGoesBeforeNotString) {
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": 1, "clientUID": "u"})").outcome, HttpReplyMembers::MissingMember);
}

TEST(HttpReplyMembers, EmptyRequest) {
  HttpReplyContent c = ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": ""})");
  EXPECT_EQ(c.outcome, HttpReplyMembers::EmptyRequest);
  EXPECT_EQ(c.name, "n");
}

TEST(HttpReplyMembers, RequestEndsAtItsFirstZero) {
  HttpReplyContent c = ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": "<a/>\u0000<b/>"})");
  EXPECT_EQ(c.outcome, HttpReplyMembers::Read);
  EXPECT_EQ(c.request, "<a/>");
  EXPECT_EQ(ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": "\u0000x"})").outcome,
            HttpReplyMembers::EmptyRequest);
}

TEST(HttpReplyMembers, EscapesAreDecoded) {
  HttpReplyContent c = ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": "<a>\n\"\u00e9</a>"})");
  EXPECT_EQ(c.request, "<a>\n\"\xc3\xa9</a>");
}

TEST(HttpReplyMembers, FirstOfTwoLikeNamedMembersStands) {
  HttpReplyContent c = ReadHttpReplyMembers(R"({"name": "n", "clientUID": "u", "request": "a", "request": "b"})");
  EXPECT_EQ(c.request, "a");
}

}  // namespace
