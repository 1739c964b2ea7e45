// The string table: every entry of resources/strings.inc reads back as the same code page
// 932 text from the twin and from the DLL's resources (compiled by windres from UTF-16 and
// converted by LoadStringA), so the two tables cannot disagree.
#include "platform/string_table.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "contract_param.h"
#include "platform/memory/memory_string_table.h"

#ifdef _WIN32
#include "platform/win32/win32_string_table.h"
#endif

namespace qbrk {
namespace {

// The entries as the compiler turned them into code page 932.
const std::vector<std::pair<uint32_t, std::string>>& Entries() {
  static const std::vector<std::pair<uint32_t, std::string>> entries = {
#define QBRK_STRING(id, text) {id, text},
#include "strings.inc"
#undef QBRK_STRING
  };
  return entries;
}

class StringTableUnderTest {
 public:
  virtual ~StringTableUnderTest() = default;
  virtual StringTable& strings() = 0;
};

template <typename Table>
class Owned final : public StringTableUnderTest {
 public:
  StringTable& strings() override { return table_; }

 private:
  Table table_;
};

class StringTableContract : public testing::TestWithParam<Implementation<StringTableUnderTest>> {
 protected:
  void SetUp() override { under_test_ = GetParam().make(); }
  StringTable& strings() { return under_test_->strings(); }

 private:
  std::unique_ptr<StringTableUnderTest> under_test_;
};

TEST_P(StringTableContract, EveryEntryReadsBackAsWritten) {
  ASSERT_FALSE(Entries().empty());
  for (const auto& [id, text] : Entries())
    EXPECT_EQ(strings().Load(id), text) << "string " << id;
}

TEST_P(StringTableContract, MissingEntriesAreEmpty) {
  EXPECT_EQ(strings().Load(0), "");
  EXPECT_EQ(strings().Load(100), "");
  EXPECT_EQ(strings().Load(65000), "");
}

QBRK_CONTRACT_FOR(Twin, StringTableContract, StringTableUnderTest, Owned<MemoryStringTable>);
#ifdef _WIN32
QBRK_CONTRACT_FOR(Win32, StringTableContract, StringTableUnderTest, Owned<Win32StringTable>);
#endif

}  // namespace
}  // namespace qbrk
