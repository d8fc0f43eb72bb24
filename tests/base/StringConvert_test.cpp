#include "quorvex/base/StringConvert.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "quorvex/base/WindowsFileOperator.h"

namespace Quorvex {
namespace {

struct WideCase {
  const char* label;
  std::string narrow;
  std::wstring wide;
};

class StringConvertCase : public ::testing::TestWithParam<WideCase> {};

TEST_P(StringConvertCase, ConvertsBothWays) {
  EXPECT_EQ(string_to_wstring(GetParam().narrow), GetParam().wide);
  EXPECT_EQ(wstring_to_string(GetParam().wide), GetParam().narrow);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StringConvertCase,
    ::testing::Values(
        WideCase{"empty", "", L""}, WideCase{"ascii", "loop.tb", L"loop.tb"},
        WideCase{"two bytes", "\xc3\xa9", std::wstring(1, wchar_t(0xE9))},
        WideCase{"three bytes", "\xe4\xb8\xad", std::wstring(1, wchar_t(0x4E2D))},
        WideCase{"last of the plane", "\xef\xbf\xbf", std::wstring(1, wchar_t(0xFFFF))},
        WideCase{"stray byte kept", "a\xff", std::wstring{L'a', wchar_t(0xDC7F + 0x80)}},
        WideCase{"overlong kept as bytes", "\xc0\x80",
                 std::wstring{wchar_t(0xDCC0), wchar_t(0xDC80)}},
        WideCase{"surrogate form kept as bytes", "\xed\xa0\x80",
                 std::wstring{wchar_t(0xDCED), wchar_t(0xDCA0), wchar_t(0xDC80)}},
        WideCase{"cut sequence", "\xe4\xb8", std::wstring{wchar_t(0xDCE4), wchar_t(0xDCB8)}}),
    [](const ::testing::TestParamInfo<WideCase>& info) { return std::to_string(info.index); });

TEST(StringConvert, BeyondTheBasicPlane) {
  const std::string narrow = "\xf0\x9f\x98\x80";  // U+1F600
  const std::wstring wide = string_to_wstring(narrow);
  if (sizeof(wchar_t) >= 4) {
    EXPECT_EQ(wide, std::wstring(1, wchar_t(0x1F600)));
  } else {
    EXPECT_EQ(wide.size(), 2u);
  }
  EXPECT_EQ(wstring_to_string(wide), narrow);
  // Past U+10FFFF there is no UTF-8: four-byte forms above it are bytes, not a character.
  EXPECT_EQ(string_to_wstring("\xf4\x90\x80\x80").size(), 4u);
}

TEST(StringConvert, UnpairedSurrogatesBecomeReplacement) {
  EXPECT_EQ(wstring_to_string(std::wstring(1, wchar_t(0xD800))), "\xef\xbf\xbd");
  EXPECT_EQ(wstring_to_string(std::wstring{wchar_t(0xDC00), L'x'}), "\xef\xbf\xbdx");
}

class FileListing : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = ::testing::TempDir() + "qx_listing_" + std::to_string(::getpid());
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ + "/abc.dir");
    for (const char* n :
         {"abc.2", "abc.10", "abc.Z", "abc_x", "abd", "ab", "abc", "\xc3\xa9t\xc3\xa9"}) {
      std::ofstream(dir_ + "/" + n) << "x";
    }
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string dir_;
};

TEST_F(FileListing, PrefixMatchesSortedByBytes) {
  std::vector<std::wstring> names{L"stale"};
  ASSERT_TRUE(
      WindowsFileOperator::get_file_in_dir_with_prefix(string_to_wstring(dir_), L"abc", names));
  EXPECT_EQ(names, (std::vector<std::wstring>{L"abc", L"abc.10", L"abc.2", L"abc.Z", L"abc_x"}));

  ASSERT_TRUE(WindowsFileOperator::get_file_in_dir_with_prefix(
      string_to_wstring(dir_), string_to_wstring("\xc3\xa9"), names));
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(wstring_to_string(names[0]), "\xc3\xa9t\xc3\xa9");

  ASSERT_TRUE(
      WindowsFileOperator::get_file_in_dir_with_prefix(string_to_wstring(dir_), L"", names));
  EXPECT_EQ(names.size(), 8u);  // files only, the folder is left out
  EXPECT_EQ(names.front(), L"ab");
}

TEST_F(FileListing, MissingFolderGivesNothing) {
  std::vector<std::wstring> names{L"stale"};
  EXPECT_FALSE(WindowsFileOperator::get_file_in_dir_with_prefix(string_to_wstring(dir_ + "/nope"),
                                                                L"abc", names));
  EXPECT_TRUE(names.empty());
}

}  // namespace
}  // namespace Quorvex
