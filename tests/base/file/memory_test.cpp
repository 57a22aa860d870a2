// SPDX-License-Identifier: MIT
// Allocation and its failure message, and the paths of --install.
#include "base/memory.h"
#include "private_root.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__has_feature)
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
// Some of these tests request impossible sizes.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
#endif
#endif

namespace zav {
namespace {

using test::PrivateRoot;
using test::Result;

const volatile std::size_t too_much = SIZE_MAX / 4;

TEST(Allocation, GivesMemoryOfItsSize) {
    const std::unique_ptr<void, FreeMemory> memory(mem_alloc(1000));
    ASSERT_NE(memory, nullptr);
    std::memset(memory.get(), 'x', 1000);
}

TEST(Allocation, ThatFailsSaysSoAndContinues) {
    PrivateRoot root;
    const Result result = root.call([] { return mem_alloc(too_much) == nullptr ? 5 : 6; });
    EXPECT_EQ(result.out, "memory exhausted\n");
    EXPECT_EQ(result.returned, 5);
}

TEST(Allocation, OfNothingSaysNothing) {
    PrivateRoot root;
    const Result result = root.call([] {
        std::free(mem_alloc(0));
        return 0;
    });
    EXPECT_EQ(result.out, "");
}

TEST(Reallocation, KeepsTheContent) {
    auto* memory = static_cast<char*>(mem_alloc(8));
    std::strcpy(memory, "content");
    const AllocatedText resized(static_cast<char*>(mem_realloc(memory, 100000)));
    EXPECT_STREQ(resized.get(), "content");
}

TEST(Reallocation, ThatFailsSaysSoAndEndsTheProcessWithStatus0) {
    PrivateRoot root;
    const Result result = root.call([] {
        std::free(mem_realloc(nullptr, too_much));
        return 1;
    });
    EXPECT_EQ(result.out, "memory exhausted\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_FALSE(result.has_returned);
}

TEST(Reallocation, ToNothingSaysNothing) {
    PrivateRoot root;
    const Result result = root.call([] {
        std::free(mem_realloc(mem_alloc(10), 0));
        return 0;
    });
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.has_returned);
}

TEST(FormattedAllocation, HoldsTheFormattedText) {
    EXPECT_STREQ(alloc_printf("%s-%d", "text", 7).get(), "text-7");
    EXPECT_STREQ(alloc_printf("%s", "").get(), "");
}

TEST(FormattedAllocation, IsAsLongAsItsText) {
    const std::string text(100000, 'x');
    EXPECT_EQ(alloc_printf("%s|", text.c_str()).get(), text + "|");
}

TEST(FormattedAllocation, OfAnImpossibleTextIsNull) {
    EXPECT_EQ(alloc_printf("%ls", L"\x7fffffff"), nullptr); // not a valid character
}

TEST(PathJoin, PutsOneSlashBetween) {
    EXPECT_STREQ(path_join("/usr/bin", "mdmanage").get(), "/usr/bin/mdmanage");
}

TEST(PathJoin, AddsNoSlashToADirectoryThatEndsInOne) {
    EXPECT_STREQ(path_join("/usr/bin/", "mdmanage").get(), "/usr/bin/mdmanage");
    EXPECT_STREQ(path_join("/", "mdmanage").get(), "/mdmanage");
    EXPECT_STREQ(path_join("/usr//", "mdmanage").get(), "/usr//mdmanage");
}

TEST(PathJoin, SkipsAllSlashesThatTheNameBeginsWith) {
    EXPECT_STREQ(path_join("/usr", "///bin/x").get(), "/usr/bin/x");
    EXPECT_STREQ(path_join("/usr/", "/").get(), "/usr/");
    EXPECT_STREQ(path_join("/usr", "").get(), "/usr/");
}

TEST(PathJoin, TreatsAMissingDirectoryAsAnEmptyOne) {
    EXPECT_STREQ(path_join(nullptr, "mdmanage").get(), "/mdmanage");
    EXPECT_STREQ(path_join("", "mdmanage").get(), "/mdmanage");
}

TEST(LastCharacter, IsFoundAtTheVeryEndOnly) {
    const char* text = "/usr/bin/";
    EXPECT_EQ(last_char_match(text, '/'), text + 8);
    EXPECT_EQ(last_char_match("/usr/bin", '/'), nullptr);
    EXPECT_EQ(last_char_match("bin", '/'), nullptr);
    const char* one = "/";
    EXPECT_EQ(last_char_match(one, '/'), one);
}

TEST(LastCharacter, IsNullForAMissingOrEmptyText) {
    EXPECT_EQ(last_char_match(nullptr, '/'), nullptr);
    EXPECT_EQ(last_char_match("", '/'), nullptr);
    EXPECT_EQ(last_char_match("", '\0'), nullptr);
}

class LinkOfLength : public testing::TestWithParam<std::size_t> {};

TEST_P(LinkOfLength, IsReadWhole) {
    PrivateRoot root;
    std::string target;
    while (target.size() < GetParam()) {
        target += target.size() % 100 == 99 ? '/' : 'x';
    }
    root.symlink(target, "/tmp/link");
    EXPECT_STREQ(link_read_alloc(root.host_path("/tmp/link").c_str()).get(), target.c_str());
}

// Around multiples of 80 bytes, by which the buffer grows, and the longest possible length.
INSTANTIATE_TEST_SUITE_P(LinkReader, LinkOfLength,
                         testing::Values(1, 78, 79, 80, 81, 159, 160, 161, 240, 1000, 4095),
                         testing::PrintToStringParamName());

TEST(LinkReader, PrintsThePathOfAMissingLinkWithoutALineEnd) {
    PrivateRoot root;
    const Result result =
        root.call([] { return link_read_alloc("/tmp/%s missing") == nullptr ? 5 : 6; });
    EXPECT_EQ(result.out, "/tmp/%s missing");
    EXPECT_EQ(result.returned, 5);
}

TEST(LinkReader, PrintsThePathOfAFileThatIsNoLink) {
    PrivateRoot root;
    root.file("/tmp/file", "");
    const Result result = root.call([] { return link_read_alloc("/tmp/file") == nullptr ? 5 : 6; });
    EXPECT_EQ(result.out, "/tmp/file");
    EXPECT_EQ(result.returned, 5);
}

} // namespace
} // namespace zav
