#include "dialogs/error_message.h"

#include <gtest/gtest.h>

#include "platform/memory/memory_string_table.h"

namespace qbrk {
namespace {

const std::string kSubject = "C:\\My Quellanbrook\\doc\\a.txt";
// 200 bytes: longer than any message may quote.
const std::string kLongPath = "C:\\" + std::string(196, 'p') + ".t";

struct Row {
  ResultCode code;
  uint32_t string_id;
  bool subject_shown;
  bool status_button;
};

class ErrorMessageTest : public testing::Test {
 protected:
  MemoryStringTable strings_;
};

TEST_F(ErrorMessageTest, EveryCodeOfTheTableHasItsTextSubjectAndStatusButton) {
  const Row table[] = {
      {41, 120, true, false},   {42, 120, true, false},   {43, 120, true, false},
      {44, 120, true, false},   {45, 120, true, false},   {48, 120, true, false},
      {49, 120, true, false},   {47, 170, false, false},  {51, 151, false, true},
      {52, 151, false, true},   {53, 151, false, true},   {71, 125, false, false},
      {72, 118, true, false},   {73, 127, false, false},  {74, 115, false, true},
      {75, 116, false, true},   {76, 131, false, false},  {77, 172, true, false},
      {78, 182, false, true},   {80, 184, false, false},  {91, 128, false, false},
      {92, 130, false, false},  {93, 124, false, false},  {94, 129, true, false},
      {95, 162, false, false},  {96, 126, true, false},   {98, 176, true, false},
      {99, 177, true, false},   {131, 155, true, false},  {132, 158, false, false},
      {133, 159, false, false}, {134, 165, false, false}, {135, 179, false, false},
      {136, 180, false, false}, {137, 181, false, false}, {155, 174, false, false},
  };
  for (const Row& row : table) {
    SCOPED_TRACE(testing::Message() << "code " << row.code);
    const ErrorMessage message = ComposeErrorMessage(row.code, kSubject, 0, strings_);
    ASSERT_TRUE(message.shown);
    ASSERT_NE(strings_.Load(row.string_id), "");
    EXPECT_EQ(message.text, (row.subject_shown ? kSubject : "") + strings_.Load(row.string_id));
    EXPECT_EQ(message.type, 0x30u | (row.status_button ? 0x4000u : 0u));
    EXPECT_EQ(message.caption, "Qbrook　エラーNo." + std::to_string(row.code));
  }
}

TEST_F(ErrorMessageTest, UnknownCodesShowTheUnknownErrorWithoutTheSubject) {
  for (ResultCode code : {2u, 3u, 21u, 46u, 50u, 57u, 79u, 81u, 97u, 111u, 151u, 500u, 9999u}) {
    const ErrorMessage message = ComposeErrorMessage(code, kSubject, 0, strings_);
    EXPECT_TRUE(message.shown) << code;
    EXPECT_EQ(message.text, strings_.Load(122)) << code;
    EXPECT_EQ(message.type, 0x30u) << code;
  }
}

TEST_F(ErrorMessageTest, SuccessAndUserStopShowNothing) {
  EXPECT_FALSE(ComposeErrorMessage(0, kSubject, 0, strings_).shown);
  EXPECT_FALSE(ComposeErrorMessage(1, kSubject, 0, strings_).shown);
}

TEST_F(ErrorMessageTest, EmptySubjectChangesTheUnknownFailureTextAndTheRootName) {
  // The operations' own failures without a name fall back to the short unknown error.
  EXPECT_EQ(ComposeErrorMessage(43, "", 0, strings_).text, strings_.Load(122));
  // Codes that quote a subject simply leave it out.
  EXPECT_EQ(ComposeErrorMessage(72, "", 0, strings_).text, strings_.Load(118));
  // The published root has no name: "\ (ROOT)" stands for it.
  EXPECT_EQ(ComposeErrorMessage(131, "", 0, strings_).text,
            "\\ (ROOT)\n\x82\xCD\x81"
            "A\x82\xB7\x82\xC5\x82\xC9\x8C\xF6\x8AJ\x82\xB3\x82\xEA\x82\xC4\x82\xA2\x82\xDC\x82"
            "\xB7\x81"
            "B");
}

TEST_F(ErrorMessageTest, LongSubjectsAreCutExceptTheMissingMirrorFolder) {
  const ErrorMessage whole = ComposeErrorMessage(96, kLongPath, 0, strings_);
  EXPECT_EQ(whole.text, kLongPath + strings_.Load(126));
  const ErrorMessage cut = ComposeErrorMessage(72, kLongPath, 0, strings_);
  EXPECT_EQ(cut.text, kLongPath.substr(0, 40) + "..." + strings_.Load(118));
  // Byte 40 starts a double-byte character: the cut comes before it.
  const std::string straddling = std::string(39, 'x') + "\x83\x5C" + "rest";
  EXPECT_EQ(ComposeErrorMessage(94, straddling, 0, strings_).text,
            std::string(39, 'x') + "..." + strings_.Load(129));
}

TEST_F(ErrorMessageTest, CallersFlagsKeepTheirButtonsButNotTheirIcon) {
  // Yes/no with a question icon and the second button as default.
  EXPECT_EQ(ComposeErrorMessage(73, "", 0x124, strings_).type, 0x134u);
  // The status button is added to the caller's flags, never removed.
  EXPECT_EQ(ComposeErrorMessage(74, "", 0x5 | 0x10, strings_).type, 0x4035u);
  EXPECT_EQ(ComposeErrorMessage(73, "", 0x4000, strings_).type, 0x4030u);
}

TEST_F(ErrorMessageTest, CaptionAndTextBytes) {
  const ErrorMessage message = ComposeErrorMessage(47, kSubject, 0, strings_);
  EXPECT_EQ(message.caption, "Qbrook\x81@\x83G\x83\x89\x81[No.47");
  EXPECT_EQ(message.text,
            "\x83t\x83@\x83"
            "C\x83\x8B\x82\xF0\x8D\xED\x8F\x9C\x82\xC5\x82\xAB\x82\xDC\x82\xB9\x82\xF1\x82\xC5"
            "\x82\xB5\x82\xBD\x81"
            "B\x81@");
}

}  // namespace
}  // namespace qbrk
