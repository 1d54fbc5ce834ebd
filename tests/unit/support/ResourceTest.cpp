// Catalogue texts through resource descriptors: the init function runs once,
// texts of set 1 are found, measured and copied, and every failure is reported.

#include "support/torvik.h"
#include "SupportTestUtil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <latch>
#include <memory>
#include <nl_types.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using supporttest::TempDir;
using supporttest::WriteFile;

// Catalogue compiled by the suite; descriptors open it from their init function.
std::string gCatalogPath;

// One independent set of descriptor records per N, each with its own init that
// counts its runs and opens `gCatalogPath` (or fails to, when kOpens is false).
template <int N, bool kOpens = true>
struct Descriptor {
    static void Init();
    static inline std::atomic<int> runs {0};
    static inline TSupportResourceCatalog catalog {0, &Init, {}, reinterpret_cast<void*>(-1)};
    static inline TSupportResourceVersion version {L"UNDEFINED", L"UNDEFINED", {}};
    static inline TSupportResourceTable table {&catalog, &version, {}};
    static inline TSupportResource handle {&table};

};

template <int N, bool kOpens>
void Descriptor<N, kOpens>::Init()
{
    ++runs;
    const std::string path = kOpens ? gCatalogPath : gCatalogPath + ".absent";
    catalog.catalog = catopen(path.c_str(), NL_CAT_LOCALE);
}

class Resource : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_dir = std::make_unique<TempDir>();
        const std::string source = s_dir->File("test.msg");
        gCatalogPath = s_dir->File("test.cat");
        WriteFile(source,
                  "$set 1\n"
                  "1 Hello\n"
                  "2 \xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87\n" // UTF-8 "Ключ"
                  "3\n"
                  "$set 2\n"
                  "4 other set\n");
        // gencat checks the bytes against the locale's charset: compile under C.UTF-8.
        const int rc = supporttest::RunInChild([&source] {
            setenv("LC_ALL", "C.UTF-8", 1);
            execlp("gencat", "gencat", gCatalogPath.c_str(), source.c_str(), nullptr);
            return 127;
        });
        ASSERT_EQ(rc, 0) << "gencat failed";
    }
    static void TearDownTestSuite() { s_dir.reset(); }

    static inline std::unique_ptr<TempDir> s_dir;
};

// Measures text `id` and reads it into a buffer of exactly that size.
unsigned int Lookup(const TSupportResource* handle, unsigned int id, std::string& text)
{
    size_t length = 0;
    if (const unsigned int rc = support_resource_string(handle, id, nullptr, &length); rc != 0)
        return rc;
    std::vector<char> buffer(length + 2, '#');
    if (const unsigned int rc = support_resource_string(handle, id, buffer.data(), &length); rc != 0)
        return rc;
    EXPECT_EQ(buffer[length], '\0');
    EXPECT_EQ(buffer[length + 1], '#') << "wrote past the terminator";
    text.assign(buffer.data(), length);
    return 0;
}

TEST_F(Resource, TextsOfSetOne)
{
    using D = Descriptor<1>;
    struct Case {
        unsigned int id;
        unsigned int rc;
        const char* text;
    };
    const std::vector<Case> cases = {
        {1, 0, "Hello"},
        {2, 0, "\xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87"},
        {3, 0, ""},
        {4, TORVIK_ERROR_NOT_FOUND, nullptr}, // only in set 2
        {99, TORVIK_ERROR_NOT_FOUND, nullptr},
        {0, TORVIK_ERROR_NOT_FOUND, nullptr},
        {0x80000001u, TORVIK_ERROR_NOT_FOUND, nullptr},
    };
    for (const auto& c : cases) {
        std::string text = "untouched";
        EXPECT_EQ(Lookup(&D::handle, c.id, text), c.rc) << c.id;
        EXPECT_EQ(text, c.text != nullptr ? c.text : "untouched") << c.id;
    }
    EXPECT_EQ(D::runs.load(), 1);
    EXPECT_EQ(D::catalog.once, 2);
}

TEST_F(Resource, BufferTooSmallFailsAndReportsTheNeed)
{
    using D = Descriptor<2>;
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    size_t length = 4; // "Hello" needs 5
    EXPECT_EQ(support_resource_string(&D::handle, 1, buffer, &length), TORVIK_ERROR_MORE_DATA);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(buffer[0], '#');
    length = 5;
    EXPECT_EQ(support_resource_string(&D::handle, 1, buffer, &length), 0u);
    EXPECT_STREQ(buffer, "Hello");
}

TEST_F(Resource, CatalogueThatDidNotOpenFailsAndIsNotRetried)
{
    using D = Descriptor<3, false>;
    size_t length = 0;
    EXPECT_NE(support_resource_string(&D::handle, 1, nullptr, &length), 0u);
    EXPECT_NE(support_resource_string(&D::handle, 1, nullptr, &length), 0u);
    EXPECT_EQ(D::runs.load(), 1);
}

TEST_F(Resource, NullRecordsAreInvalidParameters)
{
    using D = Descriptor<4>;
    TSupportResourceTable noCatalog {nullptr, &D::version, {}};
    const TSupportResource handles[] = {{nullptr}, {&noCatalog}};
    size_t length = 0;
    EXPECT_EQ(support_resource_string(nullptr, 1, nullptr, &length), TORVIK_ERROR_INVALID_PARAMETER);
    for (const auto& handle : handles)
        EXPECT_EQ(support_resource_string(&handle, 1, nullptr, &length), TORVIK_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(support_resource_string(&D::handle, 1, nullptr, nullptr), TORVIK_ERROR_INVALID_PARAMETER);
}

TEST_F(Resource, InitRunsOnceUnderConcurrentFirstLookups)
{
    using D = Descriptor<5>;
    constexpr int kThreads = 8;
    std::latch start(kThreads);
    std::atomic<int> found {0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            std::string text;
            if (Lookup(&D::handle, 1, text) == 0 && text == "Hello")
                ++found;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(D::runs.load(), 1);
    EXPECT_EQ(found.load(), kThreads);
}

} // namespace
