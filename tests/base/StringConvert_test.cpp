#include "quorvex/base/StringConvert.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "quorvex/base/WindowsFileOperator.h"

namespace Quorvex {
namespace {

// Bytes that are no UTF-8 survive the round trip as 0xDC00 + byte.
TEST(StringConvert, ConvertsBothWaysKeepingStrayBytes) {
  using W = std::wstring;
  const std::pair<std::string, W> cases[] = {
      {"", L""},
      {"\xc3\xa9", W(1, wchar_t(0xE9))},
      {"\xe4\xb8\xad", W(1, wchar_t(0x4E2D))},
      {"\xef\xbf\xbf", W(1, wchar_t(0xFFFF))},
      {"a\xff", W{L'a', wchar_t(0xDCFF)}},
      {"\xc0\x80", W{wchar_t(0xDCC0), wchar_t(0xDC80)}},                       // overlong
      {"\xed\xa0\x80", W{wchar_t(0xDCED), wchar_t(0xDCA0), wchar_t(0xDC80)}},  // surrogate
      {"\xe4\xb8", W{wchar_t(0xDCE4), wchar_t(0xDCB8)}}};                      // cut short
  for (const auto& [narrow, wide] : cases) {
    EXPECT_EQ(string_to_wstring(narrow), wide) << narrow;
    EXPECT_EQ(wstring_to_string(wide), narrow);
  }
}

TEST(StringConvert, BeyondTheBasicPlane) {
  const std::string narrow = "\xf0\x9f\x98\x80";  // U+1F600
  const std::wstring wide = string_to_wstring(narrow);
  EXPECT_EQ(wide, std::wstring(L"\U0001F600"));  // one character, or a surrogate pair
  EXPECT_EQ(wstring_to_string(wide), narrow);
  // Past U+10FFFF there is no UTF-8: four-byte forms above it are bytes, not a character.
  EXPECT_EQ(string_to_wstring("\xf4\x90\x80\x80").size(), 4u);
  // Unpaired surrogates become the replacement character.
  EXPECT_EQ(wstring_to_string(std::wstring(1, wchar_t(0xD800))), "\xef\xbf\xbd");
  EXPECT_EQ(wstring_to_string(std::wstring{wchar_t(0xDC00), L'x'}), "\xef\xbf\xbdx");
}

// Files only, the folder left out, sorted by bytes; a missing folder gives nothing.
TEST(StringConvert, ListsFilesWithPrefix) {
  const std::string dir = ::testing::TempDir() + "qx_listing_" + std::to_string(::getpid());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir + "/abc.dir");
  for (const char* n : {"abc.2", "abc.10", "abc.Z", "abc_x", "abd", "ab", "abc", "\xc3\xa9t"}) {
    std::ofstream(dir + "/" + n) << "x";
  }
  const std::wstring wdir = string_to_wstring(dir);
  std::vector<std::wstring> names{L"stale"};
  ASSERT_TRUE(WindowsFileOperator::get_file_in_dir_with_prefix(wdir, L"abc", names));
  EXPECT_EQ(names, (std::vector<std::wstring>{L"abc", L"abc.10", L"abc.2", L"abc.Z", L"abc_x"}));
  ASSERT_TRUE(
      WindowsFileOperator::get_file_in_dir_with_prefix(wdir, string_to_wstring("\xc3\xa9"), names));
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(wstring_to_string(names[0]), "\xc3\xa9t");
  EXPECT_FALSE(WindowsFileOperator::get_file_in_dir_with_prefix(wdir + L"/nope", L"abc", names));
  EXPECT_TRUE(names.empty());
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace Quorvex
