// Catalogue texts through resource descriptors: the init function runs once,
// texts of set 1 are measured and copied, and every failure is reported.
#include "support/torvik.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <nl_types.h>
#include <string>
#include <thread>
#include <vector>

namespace {

// The tests' catalogue, compiled on first use and removed at exit.
const char* CatalogPath()
{
    static const testkit::Sandbox box;
    static const std::string path =
        testkit::Gencat(box.Path("test.cat"), "$set 1\n1 Hello\n2 \xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87\n3\n$set 2\n4 other set\n")
            ? box.Path("test.cat") : "";
    return path.c_str();
}

// An independent set of descriptor records per N whose init counts its runs.
template <int N, bool kOpens = true>
struct Descriptor {
    static void Init()
    {
        ++runs;
        catalog.catalog = catopen(kOpens ? CatalogPath() : "/nonexistent/test.cat", NL_CAT_LOCALE);
    }
    static inline std::atomic<int> runs {0};
    static inline TSupportResourceCatalog catalog {0, &Init, {}, reinterpret_cast<void*>(-1)};
    static inline TSupportResourceVersion version {L"UNDEFINED", L"UNDEFINED", {}};
    static inline TSupportResourceTable table {&catalog, &version, {}};
    static inline TSupportResource handle {&table};
};

// Measures text `id`, then reads it into a buffer of exactly that size.
std::string Lookup(const TSupportResource* handle, unsigned id)
{
    size_t length = 0;
    if (const unsigned rc = support_resource_string(handle, id, nullptr, &length); rc != 0)
        return "error " + std::to_string(rc);
    std::vector<char> buffer(length + 2, '#');
    if (const unsigned rc = support_resource_string(handle, id, buffer.data(), &length); rc != 0)
        return "error " + std::to_string(rc);
    EXPECT_EQ(buffer[length + 1], '#') << "wrote past the terminator";
    return buffer[length] == '\0' ? std::string(buffer.data(), length) : "no terminator";
}

TEST(Resource, InitRunsOnceUnderConcurrentFirstLookupsThenTextsOfSetOne)
{
    ASSERT_STRNE(CatalogPath(), "") << "gencat failed";
    using D = Descriptor<1>;
    std::latch start(8);
    std::atomic<int> found {0};
    {
        std::vector<std::jthread> threads; // joined at the end of the block
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] { start.arrive_and_wait(); found += Lookup(&D::handle, 1) == "Hello"; });
    }
    EXPECT_EQ(found.load(), 8);
    const std::string notFound = "error " + std::to_string(TORVIK_ERROR_NOT_FOUND);
    const std::pair<unsigned, std::string> cases[] = {
        {2, "\xD0\x9A\xD0\xBB\xD1\x8E\xD1\x87"}, {3, ""}, {4, notFound}, // 4 is only in set 2
        {99, notFound}, {0, notFound}, {0x80000001u, notFound},
    };
    for (const auto& [id, text] : cases)
        EXPECT_EQ(Lookup(&D::handle, id), text) << id;
    EXPECT_EQ(D::runs.load(), 1);
}

TEST(Resource, TooSmallBufferUnopenedCatalogueAndNullRecordsFail)
{
    using D = Descriptor<2>;
    char buffer[8] = "#######";
    size_t length = 4; // "Hello" needs 5
    EXPECT_EQ(support_resource_string(&D::handle, 1, buffer, &length), TORVIK_ERROR_MORE_DATA);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(buffer[0], '#');
    // A catalogue that did not open fails, and is not retried.
    using Closed = Descriptor<3, false>;
    EXPECT_NE(support_resource_string(&Closed::handle, 1, nullptr, &length), 0u);
    EXPECT_NE(support_resource_string(&Closed::handle, 1, nullptr, &length), 0u);
    EXPECT_EQ(Closed::runs.load(), 1);
    TSupportResourceTable noCatalog {nullptr, &D::version, {}};
    const TSupportResource noTable {nullptr}, withoutCatalog {&noCatalog};
    for (const TSupportResource* handle : {static_cast<const TSupportResource*>(nullptr), &noTable, &withoutCatalog})
        EXPECT_EQ(support_resource_string(handle, 1, nullptr, &length), TORVIK_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(support_resource_string(&D::handle, 1, nullptr, nullptr), TORVIK_ERROR_INVALID_PARAMETER);
}

} // namespace
