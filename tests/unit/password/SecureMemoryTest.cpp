// Locked, wiped storage: blocks, strings, the standard allocator and the
// entry buffer. Wiping is observed through the release hook, which sees each
// block after the wipe and before it is unmapped.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/secure/SecureEntryBuffer.h"
#include "base/secure/SecureMemory.h"
#include "base/secure/SecureString.h"

namespace {

struct ReleaseLog {
    int releases = 0;
    int dirtyReleases = 0; // blocks that still held a non-zero byte
};
ReleaseLog g_log;

void RecordRelease(const unsigned char* block, std::size_t size)
{
    ++g_log.releases;
    for (std::size_t i = 0; i < size; ++i) {
        if (block[i] != 0) {
            ++g_log.dirtyReleases;
            return;
        }
    }
}

class SecureMemory : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_log = {};
        secure::SetReleaseObserverForTesting(RecordRelease);
    }
    void TearDown() override { secure::SetReleaseObserverForTesting(nullptr); }
};

bool AllZero(const char* data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] != 0) {
            return false;
        }
    }
    return true;
}

long LockedKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmLck:", 0) == 0) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

TEST_F(SecureMemory, BlocksAreWipedBeforeRelease)
{
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4095}, std::size_t{4097}, std::size_t{100000}}) {
        auto* block = static_cast<char*>(secure::Allocate(size));
        ASSERT_NE(block, nullptr);
        const std::size_t usable = secure::BlockSize(size);
        ASSERT_GE(usable, size);
        EXPECT_TRUE(AllZero(block, usable)) << "fresh blocks start zeroed";
        std::memset(block, 'S', usable);
        secure::Release(block, size);
    }
    EXPECT_EQ(g_log.releases, 5);
    EXPECT_EQ(g_log.dirtyReleases, 0);
}

TEST_F(SecureMemory, BlocksAreLockedInMemory)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer turns mlock into a no-op";
#endif
    const long before = LockedKilobytes();
    ASSERT_GE(before, 0);
    void* block = secure::Allocate(256 * 1024);
    const long during = LockedKilobytes();
    secure::Release(block, 256 * 1024);
    struct rlimit limit {};
    getrlimit(RLIMIT_MEMLOCK, &limit);
    if (geteuid() != 0 && limit.rlim_cur < 512 * 1024) {
        GTEST_SKIP() << "RLIMIT_MEMLOCK too small to observe locking";
    }
    EXPECT_GE(during - before, 256);
    EXPECT_LE(LockedKilobytes(), before);
}

TEST_F(SecureMemory, WithoutLockableMemoryBlocksStillWork)
{
    // A child without any lockable memory (as an unprivileged user would be):
    // allocation does not fail open, and release still wipes.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        struct rlimit none = {0, 0};
        setrlimit(RLIMIT_MEMLOCK, &none);
        auto* block = static_cast<char*>(secure::TryAllocate(64));
        if (block == nullptr) {
            _exit(1);
        }
        std::memcpy(block, "secret", 6);
        g_log = {};
        secure::Release(block, 64);
        _exit(g_log.releases == 1 && g_log.dirtyReleases == 0 ? 0 : 2);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(SecureMemory, StringKeepsEveryCharacterInABlockAndWipesOnGrowth)
{
    secure::String text;
    EXPECT_STREQ(text.c_str(), "");
    text.assign("s3cr3t");
    EXPECT_GT(text.capacity(), 6u) << "no small-string buffer: even 6 bytes get a block";
    const int before = g_log.releases;
    text.append(std::string(10000, 'x'));
    EXPECT_EQ(g_log.releases, before + 1) << "growing moves the text into a new block";
    EXPECT_EQ(text.size(), 10006u);
    EXPECT_EQ(text.view().substr(0, 6), "s3cr3t");
    EXPECT_EQ(text.c_str()[text.size()], '\0');
    {
        secure::String moved(std::move(text));
        EXPECT_TRUE(text.empty());
        EXPECT_EQ(moved.size(), 10006u);
    }
    EXPECT_EQ(g_log.dirtyReleases, 0);
}

TEST_F(SecureMemory, ShrinkingWipesTheDroppedBytesInPlace)
{
    secure::String text("correct horse battery");
    const char* block = text.data();
    const std::size_t oldSize = text.size();

    text.assign("ab");
    ASSERT_EQ(text.data(), block) << "a shorter text reuses the block";
    EXPECT_EQ(text.view(), "ab");
    EXPECT_TRUE(AllZero(block + 2, oldSize - 2 + 1));

    text.assign("longer secret");
    text.resize(3);
    EXPECT_EQ(text.view(), "lon");
    EXPECT_TRUE(AllZero(block + 3, 11));

    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(AllZero(block, oldSize + 1));
}

TEST_F(SecureMemory, StringHandlesItsOwnTextAsInput)
{
    secure::String text("abc");
    text.append(text.view());
    EXPECT_EQ(text.view(), "abcabc");
    text.assign(text.view().substr(1));
    EXPECT_EQ(text.view(), "bcabc");
    text = text;
    EXPECT_EQ(text.view(), "bcabc");
    secure::String copy(text);
    EXPECT_TRUE(copy == text);
    EXPECT_NE(copy.data(), text.data());
    copy.push_back('!');
    EXPECT_FALSE(copy == text);
    EXPECT_TRUE(copy == std::string_view("bcabc!"));
}

TEST_F(SecureMemory, WideStringAndAllocatorWipeToo)
{
    {
        secure::WString wide;
        wide.resize(3);
        wide[0] = L'\x43f'; // п
        wide.append(std::wstring(5000, L'x'));
        EXPECT_EQ(wide.size(), 5003u);
        std::vector<char, secure::Allocator<char>> bytes;
        for (int i = 0; i < 20000; ++i) {
            bytes.push_back('p');
        }
    }
    EXPECT_GT(g_log.releases, 2);
    EXPECT_EQ(g_log.dirtyReleases, 0);
}

// ---- the entry buffer (a plain GObject: no display needed) ----

struct BufferHandle {
    GtkEntryBuffer* buffer = secure::NewEntryBuffer();
    ~BufferHandle()
    {
        if (buffer != nullptr) {
            g_object_unref(buffer);
        }
    }
    std::string Text() const { return gtk_entry_buffer_get_text(buffer); }
};

TEST_F(SecureMemory, EntryBufferEditsText)
{
    BufferHandle handle;
    ASSERT_TRUE(secure::IsSecureEntryBuffer(handle.buffer));
    int insertedSignals = 0;
    g_signal_connect(handle.buffer, "inserted-text",
                     G_CALLBACK(+[](GtkEntryBuffer*, guint, gchar*, guint, gpointer count) {
                         ++*static_cast<int*>(count);
                     }),
                     &insertedSignals);

    EXPECT_EQ(gtk_entry_buffer_insert_text(handle.buffer, 0, "hello", -1), 5u);
    EXPECT_EQ(gtk_entry_buffer_insert_text(handle.buffer, 2, "XY", -1), 2u);
    EXPECT_EQ(handle.Text(), "heXYllo");
    EXPECT_EQ(gtk_entry_buffer_insert_text(handle.buffer, 99, "\xD0\xBF\xD0\xB0", -1), 2u); // "па", past the end
    EXPECT_EQ(handle.Text(), "heXYllo\xD0\xBF\xD0\xB0");
    EXPECT_EQ(gtk_entry_buffer_get_length(handle.buffer), 9u);
    EXPECT_EQ(gtk_entry_buffer_get_bytes(handle.buffer), 11u);
    EXPECT_EQ(insertedSignals, 3);

    EXPECT_EQ(gtk_entry_buffer_delete_text(handle.buffer, 7, 1), 1u); // one two-byte character
    EXPECT_EQ(handle.Text(), "heXYllo\xD0\xB0");
    EXPECT_EQ(gtk_entry_buffer_delete_text(handle.buffer, 8, 5), 0u);
    gtk_entry_buffer_set_text(handle.buffer, "new", -1);
    EXPECT_EQ(handle.Text(), "new");
}

TEST_F(SecureMemory, EntryBufferWipesWhatADeletionLeavesBehind)
{
    BufferHandle handle;
    gtk_entry_buffer_insert_text(handle.buffer, 0, "0123456789", -1);
    const char* text = gtk_entry_buffer_get_text(handle.buffer);
    gtk_entry_buffer_delete_text(handle.buffer, 2, 5);
    ASSERT_EQ(gtk_entry_buffer_get_text(handle.buffer), text) << "a deletion keeps the block";
    EXPECT_STREQ(text, "01789");
    EXPECT_TRUE(AllZero(text + 5, 6)) << "the stale copy of the tail is wiped";
    gtk_entry_buffer_delete_text(handle.buffer, 0, -1);
    EXPECT_TRUE(AllZero(text, 11));
}

TEST_F(SecureMemory, EntryBufferWipesOnGrowthAndFinalize)
{
    {
        BufferHandle handle;
        gtk_entry_buffer_insert_text(handle.buffer, 0, "secret", -1);
        const std::string big(9000, 'z');
        gtk_entry_buffer_insert_text(handle.buffer, 0, big.c_str(), -1);
        EXPECT_EQ(gtk_entry_buffer_get_bytes(handle.buffer), 9006u);
        EXPECT_EQ(g_log.releases, 1) << "the first block was given back when the text grew";
    }
    EXPECT_EQ(g_log.releases, 2) << "finalising the buffer gives back its block";
    EXPECT_EQ(g_log.dirtyReleases, 0);
}

TEST_F(SecureMemory, EntryBufferLimits)
{
    BufferHandle limited;
    gtk_entry_buffer_set_max_length(limited.buffer, 4);
    gtk_entry_buffer_insert_text(limited.buffer, 0, "abcdef", -1);
    EXPECT_EQ(limited.Text(), "abcd");

    // Like GTK's own buffer, at most 65535 bytes, cut at a character boundary.
    BufferHandle big;
    std::string cyrillic;
    for (int i = 0; i < 40000; ++i) {
        cyrillic += "\xD1\x8F"; // я
    }
    gtk_entry_buffer_insert_text(big.buffer, 0, cyrillic.c_str(), -1);
    EXPECT_EQ(gtk_entry_buffer_get_bytes(big.buffer), 65534u);
    EXPECT_EQ(gtk_entry_buffer_get_length(big.buffer), 32767u);
    EXPECT_EQ(gtk_entry_buffer_insert_text(big.buffer, 0, "ab", -1), 1u);
    EXPECT_EQ(gtk_entry_buffer_insert_text(big.buffer, 0, "c", -1), 0u);
}

} // namespace
