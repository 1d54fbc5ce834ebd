// The settings store: path syntax, the local and global INI files, value
// syntax, and files that are missing, unreadable, malformed or hostile.
#include "support/torvik.h"
#include "common/Sandbox.h"
#include "common/UnitKit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string kBad = "error 13", kMissing = "error 2", kDenied = "error 5", kInvalid = "error 87";

// The value, or "error <code>" when the lookup failed and left the value alone.
std::string Get(const char* path)
{
    long value = 0x5A5A;
    const unsigned rc = support_registry_get_long(path, &value);
    return rc == 0 ? std::to_string(value) : value == 0x5A5A ? "error " + std::to_string(rc) : "value changed";
}

// Value texts in [KeyDevices] of the local file as keys v0, v1, ..., and what reading them gives.
const std::pair<const char*, std::string> kValues[] = {
    {"30", "30"}, {"-15", "-15"}, {"8589934592", "8589934592"}, {"0x1F", "31"}, {"0xFFFFFFFFFFFFFFFF", "-1"},
    {"9223372036854775807", "9223372036854775807"}, {"-9223372036854775808", "-9223372036854775808"},
    {"+7", "7"}, {"  42", "42"}, {"010", "10"}, // decimal, not octal
    {"9223372036854775808", kBad}, {"-9223372036854775809", kBad}, {"0x10000000000000000", kBad}, {"12a", kBad},
    {"", kBad}, {"1.5", kBad}, {"1 2", kBad}, {"-0x10", kBad}, {"0x", kBad}, {"-", kBad}, {"thirty", kBad},
};

class Registry : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string local = "# settings of this user\n[KeyDevices]\n#commented = 9\n";
        for (size_t i = 0; i < std::size(kValues); ++i)
            local += "v" + std::to_string(i) + " = " + kValues[i].first + "\n";
        m_box.WriteFile("local.ini", local + "[KeyDevices\\Deep\\Er]\nvalue = 5\n");
        m_box.WriteFile("global.ini", "[KeyDevices]\nv0 = 99\nonly_global = 7\n");
        m_box.Export();
    }
    testkit::Sandbox m_box;
};

TEST_F(Registry, PathsAndValues)
{
    for (size_t i = 0; i < std::size(kValues); ++i)
        EXPECT_EQ(Get(("\\local\\KeyDevices\\v" + std::to_string(i)).c_str()), kValues[i].second) << kValues[i].first;
    const std::pair<const char*, std::string> lookups[] = {
        {"\\global\\KeyDevices\\v0", "99"}, {"\\global\\KeyDevices\\only_global", "7"},
        {"\\local\\KeyDevices\\only_global", kMissing}, {"\\local\\KeyDevices\\commented", kMissing},
        {"\\local\\NoSuchKey\\v0", kMissing}, {"\\local\\KeyDevices\\Deep\\Er\\value", "5"},
        {"\\local\\KeyDevices\\Deep\\value", kMissing}, {"", kInvalid}, {"\\local\\", kInvalid},
        {"\\local\\v0", kInvalid}, {"\\local\\KeyDevices\\", kInvalid}, {"\\local\\\\v0", kInvalid},
        {"\\local\\KeyDevices\\\\Deep\\v0", kInvalid}, {"local\\KeyDevices\\v0", kInvalid},
        {"\\machine\\KeyDevices\\v0", kInvalid}, {"\\local\\Key[Devices]\\v0", kInvalid},
        {"\\local\\KeyDevices\\v0\nx", kInvalid}, {nullptr, kInvalid},
    };
    for (const auto& [path, expected] : lookups)
        EXPECT_EQ(Get(path), expected) << (path != nullptr ? path : "null");
    EXPECT_EQ(support_registry_get_long("\\local\\KeyDevices\\v0", nullptr), TORVIK_ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, BadFilesFailWithoutCrashOrHang)
{
    ASSERT_EQ(mkfifo(m_box.Path("fifo").c_str(), 0600), 0); // no writer: opening must not block
    m_box.WriteFile("big.ini", "[KeyDevices]\nv0 = 1\n" + std::string(1024 * 1024 + 1, '#'));
    m_box.WriteFile("bad.ini", "[KeyDevices]\nv0 30\n");
    m_box.WriteFile("junk.ini", std::string("\x00\xff[\x01=", 5));
    const std::pair<std::string, std::string> cases[] = {
        {m_box.Path("absent.ini"), kMissing}, {m_box.LocalConfig() + "/x.ini", kMissing},
        {m_box.Dir(), kDenied}, {m_box.Path("fifo"), kDenied}, {m_box.Path("big.ini"), kBad},
        {m_box.Path("bad.ini"), kMissing}, {m_box.Path("junk.ini"), "error"}, // any code
    };
    for (const auto& [file, expected] : cases) {
        setenv("TORVIK_LOCAL_CONFIG", file.c_str(), 1);
        EXPECT_EQ(Get("\\local\\KeyDevices\\v0").substr(0, expected.size()), expected) << file;
    }
    EXPECT_EQ(Get("\\global\\KeyDevices\\v0"), "99"); // the other tree still answers
}

// A line the file format cannot read is skipped and the rest counts; a section
// given again continues the first, a key given twice counts with its last value.
TEST_F(Registry, StrayLinesAreSkippedAndRepeatsAreResolved)
{
    const struct {
        const char* what;
        std::string file;
        std::string expected; // of \local\KeyDevices\v0
    } cases[] = {
        {"stray word before the key", "[KeyDevices]\nstray\nv0 = 30\n", "30"},
        {"stray word after the key", "[KeyDevices]\nv0 = 30\nstray words here\n", "30"},
        {"binary bytes", std::string("[KeyDevices]\n\x00\xff\x01\x7f\nv0 = 31\n\xfe\xfe=\x00\n", 31), "31"},
        {"a key before any section", "v0 = 1\n[KeyDevices]\nv0 = 32\n", "32"},
        {"keys under an unreadable section line", "[KeyDevices]\nv0 = 33\n[Broken\nv0 = 1\n", "33"},
        {"a key given twice", "[KeyDevices]\nv0 = 1\nv0 = 34\n", "34"},
        {"a section given again", "[KeyDevices]\nv0 = 1\n[Other]\nv0 = 2\n[KeyDevices]\nv0 = 35\n", "35"},
        {"a section given again, key only in the first", "[KeyDevices]\nv0 = 36\n[KeyDevices]\nv1 = 2\n", "36"},
        {"only stray lines", "stray\n\x01\x02\n", kMissing},
    };
    for (const auto& c : cases) {
        m_box.WriteFile("stray.ini", c.file);
        setenv("TORVIK_LOCAL_CONFIG", m_box.Path("stray.ini").c_str(), 1);
        EXPECT_EQ(Get("\\local\\KeyDevices\\v0"), c.expected) << c.what;
    }
}

TEST_F(Registry, UnreadableFileAndDefaultLocation)
{
    // Permission bits do not stop root: the check drops to an unprivileged user.
    ASSERT_EQ(chmod(m_box.LocalConfig().c_str(), 0), 0);
    EXPECT_EQ(testkit::RunInChild({{"TORVIK_LOCAL_CONFIG", m_box.LocalConfig()}}, [] {
        return geteuid() == 0 && setuid(65534) != 0 ? "setuid failed" : Get("\\local\\KeyDevices\\v0");
    }), kDenied);
    // The default local file is torvik/local.ini in the user's config directory.
    ASSERT_EQ(mkdir(m_box.Path("torvik").c_str(), 0700), 0);
    m_box.WriteFile("torvik/local.ini", "[KeyDevices]\nv0 = 77\n");
    EXPECT_EQ(testkit::RunInChild({{"XDG_CONFIG_HOME", m_box.Dir()}}, [] { return Get("\\local\\KeyDevices\\v0"); }), "77");
}

} // namespace
