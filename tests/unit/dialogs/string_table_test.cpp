// The string table as the library reads it: code page 932 bytes, spelled out here in hex so
// that the check does not depend on the compiler's own conversion of literals.
#include <gtest/gtest.h>

#include "platform/memory/memory_string_table.h"

namespace qbrk {
namespace {

TEST(StringTableTest, TextsAreShiftJisWithTheirTrailingIdeographicSpaces) {
  MemoryStringTable strings;
  // 122 ends with six U+3000 (0x81 0x40), 170 with one.
  EXPECT_EQ(strings.Load(122),
            "\x8C\xB4\x88\xF6\x95s\x96\xBE\x82\xCC\x83G\x83\x89\x81[\x82\xC5\x82\xB7\x81"
            "B\x81@\x81@\x81@\x81@\x81@\x81@");
  EXPECT_EQ(strings.Load(170),
            "\x83t\x83@\x83"
            "C\x83\x8B\x82\xF0\x8D\xED\x8F\x9C\x82\xC5\x82\xAB\x82\xDC\x82\xB9\x82\xF1\x82\xC5"
            "\x82\xB5\x82\xBD\x81"
            "B\x81@");
}

TEST(StringTableTest, LineBreaksAreKeptAsWritten) {
  MemoryStringTable strings;
  EXPECT_EQ(strings.Load(118),
            "\n\x82\xCC\x83t\x83@\x83"
            "C\x83\x8B\x96\xBC\x82\xDC\x82\xBD\x82\xCD\x83t\x83H\x83\x8B\x83_\x96\xBC\x82\xAA\x92"
            "\xB7\x82\xB7\x82\xAC\x82\xDC\x82\xB7\x81"
            "B\n\x96\xBC\x91O\x82\xF0\x94\xBC\x8Ap\x82W\x82O\x95\xB6\x8E\x9A\x88\xC8\x93\xE0\x82"
            "\xC9\x82\xB5\x82\xC4\x8D\xC4\x93x\x93\xAF\x8A\xFA\x82\xF0\x82\xC6\x82\xC1\x82\xC4\x82"
            "\xAD\x82\xBE\x82\xB3\x82\xA2\x81"
            "B");
  // The first note of a copied address: a half-width blank before its last line break.
  EXPECT_EQ(strings.Load(153),
            "\r\n\x81\xA6\x83Z\x83L\x83\x85\x83\x8A\x83"
            "e\x83"
            "B\x82\xCC\x82\xBD\x82\xDF\x8F\xE3\x8BL\x83"
            "A\x83h\x83\x8C\x83X(URL)\x82\xCD\x81"
            "A\x91\xBC\x82\xCC\x90l\x82\xA9\x82\xE7\r\n\x81@\x97\xDE\x90\x84\x82\xC5\x82\xAB\x82"
            "\xC8\x82\xA2\x82\xE6\x82\xA4\x82\xC9\x88\xC3\x8D\x86\x89\xBB\x82\xB3\x82\xEA\x82\xC4"
            "\x82\xA2\x82\xDC\x82\xB7\x81"
            "B \r\n");
}

TEST(StringTableTest, IdsWithoutATextAreEmpty) {
  MemoryStringTable strings;
  for (uint32_t id : {101u, 119u, 132u, 133u, 150u, 171u, 185u}) {
    EXPECT_EQ(strings.Load(id), "") << id;
  }
  for (uint32_t id = 142; id <= 148; ++id)
    EXPECT_NE(strings.Load(id), "") << id;
}

}  // namespace
}  // namespace qbrk
