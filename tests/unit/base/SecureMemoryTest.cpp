// Locked, wiped storage: blocks, strings, the standard allocator and the
// entry buffer. Wiping is observed through the release hook, which sees each
// block after the wipe and before it is unmapped.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/secure/SecureEntryBuffer.h"
#include "base/secure/SecureMemory.h"
#include "base/secure/SecureString.h"

namespace {

int g_releases = 0, g_dirtyReleases = 0; // the latter: blocks released with a non-zero byte

bool AllZero(const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

class SecureMemory : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_releases = g_dirtyReleases = 0;
        secure::SetReleaseObserverForTesting(+[](const unsigned char* block, std::size_t size) {
            ++g_releases;
            g_dirtyReleases += AllZero(block, size) ? 0 : 1;
        });
    }
    void TearDown() override { secure::SetReleaseObserverForTesting(nullptr); }
};

// Fresh blocks are zeroed and released ones wiped; without lockable memory
// (an unprivileged user's limit) a secret still gets a block.
TEST_F(SecureMemory, BlocksStartZeroedAndAreWipedOnRelease)
{
    for (std::size_t size : {0u, 1u, 4097u, 100000u}) {
        auto* block = static_cast<char*>(secure::Allocate(size));
        const std::size_t usable = secure::BlockSize(size);
        ASSERT_GE(usable, size);
        EXPECT_TRUE(AllZero(block, usable));
        std::memset(block, 'S', usable);
        secure::Release(block, size);
    }
    EXPECT_EQ(g_releases, 4);
    EXPECT_EQ(g_dirtyReleases, 0);

    const pid_t child = fork();
    if (child == 0) {
        const struct rlimit none = {0, 0};
        setrlimit(RLIMIT_MEMLOCK, &none);
        void* block = secure::TryAllocate(64);
        secure::Release(block, 64);
        _exit(block != nullptr && g_releases == 5 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

// No small-string buffer; growth gives the old block back through the wipe,
// shrinking wipes the unused bytes in place, and a string's own text as input
// is copied before its block changes.
TEST_F(SecureMemory, StringsKeepEveryByteInWipedBlocks)
{
    secure::String text("correct horse battery");
    const char* block = text.data();
    text.assign("ab");
    ASSERT_EQ(text.data(), block);
    EXPECT_TRUE(AllZero(block + 2, 20));
    text.assign("longer secret");
    text.resize(3);
    EXPECT_EQ(text.view(), "lon");
    EXPECT_TRUE(AllZero(block + 3, 11));
    text.clear();
    EXPECT_TRUE(AllZero(block, 22));

    text.assign("abcabc");
    text.assign(text.view().substr(1));
    EXPECT_EQ(text.view(), "bcabc");
    text.assign(std::string(3000, 'q'));
    text.append(text.view()); // grows out of the block it reads
    EXPECT_EQ(text.view(), std::string(6000, 'q'));
    const int before = g_releases;
    {
        secure::String small("s3cr3t");
        EXPECT_GT(small.capacity(), 6u);
        small.append(std::string(5000, 'x'));
        EXPECT_EQ(g_releases, before + 1);
        secure::WString wide(L"\x43f");
        wide.append(std::wstring(5000, L'x'));
        std::vector<char, secure::Allocator<char>> bytes(20000, 'p');
    }
    EXPECT_EQ(g_releases, before + 5);
    EXPECT_EQ(g_dirtyReleases, 0);
}

struct Buffer {
    GtkEntryBuffer* buffer = secure::NewEntryBuffer();
    ~Buffer() { g_object_unref(buffer); }
    std::string Text() const { return gtk_entry_buffer_get_text(buffer); }
};

// Edits count characters; deleted bytes are wiped at once, the block when the
// text grows or the buffer is finalised; 65535 bytes at most without a maximum.
TEST_F(SecureMemory, EntryBufferEditsAndWipes)
{
    {
        Buffer b;
        ASSERT_TRUE(secure::IsSecureEntryBuffer(b.buffer));
        EXPECT_EQ(gtk_entry_buffer_insert_text(b.buffer, 0, "0123456789", -1), 10u);
        const char* text = gtk_entry_buffer_get_text(b.buffer);
        EXPECT_EQ(gtk_entry_buffer_delete_text(b.buffer, 2, 5), 5u);
        ASSERT_EQ(gtk_entry_buffer_get_text(b.buffer), text) << "a deletion keeps the block";
        EXPECT_STREQ(text, "01789");
        EXPECT_TRUE(AllZero(text + 5, 6)) << "the stale copy of the tail is wiped";
        EXPECT_EQ(gtk_entry_buffer_insert_text(b.buffer, 2, "\xD0\xBF\xD0\xB0", -1), 2u);
        EXPECT_EQ(gtk_entry_buffer_insert_text(b.buffer, 99, "XY", -1), 2u); // past the end
        EXPECT_EQ(gtk_entry_buffer_delete_text(b.buffer, 3, 1), 1u);         // one two-byte character
        EXPECT_EQ(b.Text(), "01\xD0\xBF" "789XY");
        gtk_entry_buffer_insert_text(b.buffer, 0, std::string(9000, 'z').c_str(), -1);
        EXPECT_EQ(g_releases, 1) << "growing gave the first block back";

        gtk_entry_buffer_set_max_length(b.buffer, 4);
        gtk_entry_buffer_set_text(b.buffer, "abcdef", -1);
        EXPECT_EQ(b.Text(), "abcd");
        gtk_entry_buffer_set_max_length(b.buffer, 0);
        std::string cyrillic;
        for (int i = 0; i < 40000; ++i)
            cyrillic += "\xD1\x8F";
        gtk_entry_buffer_set_text(b.buffer, cyrillic.c_str(), -1);
        EXPECT_EQ(gtk_entry_buffer_get_bytes(b.buffer), 65534u) << "cut at a character boundary";
        EXPECT_EQ(gtk_entry_buffer_insert_text(b.buffer, 0, "ab", -1), 1u);
    }
    EXPECT_EQ(g_releases, 3) << "growing again, then finalising, gave the blocks back";
    EXPECT_EQ(g_dirtyReleases, 0);
}

} // namespace
