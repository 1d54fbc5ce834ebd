// The reader selection request: its option grammar, the option list the
// parent builds, and the answer read back against what was offered.
#include "protocol/ReaderRequest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace xvtui::protocol;

using Readers = std::vector<ReaderItem>;

// Parses "xvtui VTSelectReader <args...>" from a mutable copy, as main's argv.
std::optional<ReaderRequest> Parse(std::vector<std::string> args)
{
    args.insert(args.begin(), {"xvtui", "VTSelectReader"});
    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    return ParseReaderRequest(static_cast<int>(args.size()), argv.data());
}

// The table runs in one process, one parse after another: each row also
// checks that the previous one left no getopt state behind.
TEST(ReaderRequest, Grammar)
{
    const ReaderItem r{{"A"}, {"D"}, "R"};
    const struct {
        const char* what;
        std::vector<std::string> args; // from argv[2], the prompt, on
        Readers readers;
    } cases[] = {
        {"two dashes and =", {"", "--name=R", "--applet=A", "--desc=D"}, {r}},
        {"one dash and =", {"", "-name=R", "-applet=A", "-desc=D"}, {r}},
        {"prefixes", {"", "-n", "R", "-a", "A", "-d", "D"}, {r}},
        {"one dash, value after", {"", "-name", "R", "-applet", "A", "-desc", "D"}, {r}},
        {"mixed spellings and prefixes", {"", "--na", "R", "-app=A", "--de=D"}, {r}},
        {"two readers",
         {"Pick", "-name", "R1", "-applet", "A", "-desc", "D1", "-applet", "B", "-desc", "D2", "-name", "R2",
          "-applet", "A", "-desc", "D3"},
         {{{"A", "B"}, {"D1", "D2"}, "R1"}, {{"A"}, {"D3"}, "R2"}}},
        {"applet before any name", {"", "-applet", "A", "-desc", "D", "-name", "R"}, {}},
        {"description right after a name", {"", "-name", "R", "-desc", "D", "-applet", "A"}, {{{}, {}, "R"}}},
        {"two applets in a row", {"", "-name", "R", "-applet", "A", "-applet", "B", "-desc", "D"},
         {{{"A"}, {}, "R"}}},
        {"name right after an applet", {"", "-name", "R", "-applet", "A", "-name", "S"}, {{{"A"}, {}, "R"}}},
        {"two names in a row", {"", "-name", "R", "-name", "S"}, {{{}, {}, "R"}}},
        {"ends after a name", {"", "-name", "R"}, {{{}, {}, "R"}}},
        {"ends after an applet", {"", "-name", "R", "-applet", "A"}, {{{"A"}, {}, "R"}}},
        {"unknown option keeps what came before",
         {"", "-name", "R", "-applet", "A", "-desc", "D", "-colour", "red", "-name", "S"}, {r}},
        {"ambiguous prefix is unknown", {"", "-name", "R", "-applet", "A", "-desc", "D", "-", "x"}, {r}},
        {"missing value at the end", {"", "-name", "R", "-applet", "A", "-desc", "D", "-name"}, {r}},
        {"a value may begin with a dash", {"", "-name", "-applet", "--applet=-A", "-desc", "-d"},
         {{{"-A"}, {"-d"}, "-applet"}}},
        {"values keep = and ;", {"", "--name=a=b;c", "-applet", "x=y", "-d="}, {{{"x=y"}, {""}, "a=b;c"}}},
        {"stray words are skipped", {"", "word", "-name", "R", "other", "-applet", "A", "-desc", "D"}, {r}},
        {"a prompt with a dash is taken for an option", {"-prompt", "-name", "R", "-applet", "A"}, {}},
        {"no options", {""}, {}},
    };
    // The same grammar when the environment asks getopt to stop at the
    // first word that is no option (here the keyword itself).
    for (const bool posixlyCorrect : {false, true}) {
        if (posixlyCorrect)
            setenv("POSIXLY_CORRECT", "1", 1);
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(c.what) + (posixlyCorrect ? ", POSIXLY_CORRECT" : ""));
            const std::optional<ReaderRequest> request = Parse(c.args);
            ASSERT_TRUE(request);
            EXPECT_EQ(request->prompt, c.args[0]);
            EXPECT_EQ(request->readers, c.readers);
        }
        unsetenv("POSIXLY_CORRECT");
    }
    EXPECT_FALSE(Parse({}));
}

// What the parent sends reads back as what it meant, whatever the texts hold.
TEST(ReaderRequest, OptionsReadBackAsSent)
{
    const Readers readers = {
        {{"A", "-B", "--desc=x"}, {"first", "-second", ""}, "Reader 1"},
        {{"a=b;applet=c"}, {"\xd0\x9e\xd0\xbf\xd0\xb8\xd1\x81"}, "\xd0\xa1\xd1\x87 \xff"},
        {{""}, {""}, ""},
        {{}, {}, "-name"}, // only the last reader can come without applets
    };
    std::vector<std::string> args = {"Prompt"};
    for (const std::string& option : ReaderOptions(readers))
        args.push_back(option);
    const std::optional<ReaderRequest> request = Parse(args);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->readers, readers);

    // An applet sent without a description still gets an (empty) one.
    const std::optional<ReaderRequest> padded = Parse([] {
        std::vector<std::string> a = {""};
        for (const std::string& option : ReaderOptions({{{"A", "B"}, {"D"}, "R"}}))
            a.push_back(option);
        return a;
    }());
    ASSERT_TRUE(padded);
    EXPECT_EQ(padded->readers, (Readers{{{"A", "B"}, {"D", ""}, "R"}}));
}

TEST(ReaderRequest, AnswerSplitWhereTheOfferFits)
{
    const Readers offered = {
        {{"A", "B"}, {"", ""}, "R"},
        {{"x;applet=y"}, {""}, "S;applet=T"},
        {{}, {}, "Empty"},
    };
    const struct {
        std::string answer;
        std::optional<ReaderChoice> choice;
    } cases[] = {
        {"name=R;applet=B", ReaderChoice{"R", "B"}},
        {"name=S;applet=T;applet=x;applet=y", ReaderChoice{"S;applet=T", "x;applet=y"}},
        {"name=Empty;applet=", ReaderChoice{"Empty", ""}},
        {"name=R;applet=C", std::nullopt},
        {"name=R;applet=", std::nullopt},
        {"name=Q;applet=A", std::nullopt},
        {"name=R", std::nullopt},
        {"reader=R;applet=A", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answer);
        EXPECT_EQ(DecodeReaderAnswer(c.answer, offered), c.choice);
    }
    // The encoder's bytes are what the decoder reads.
    EXPECT_EQ(EncodeReaderAnswer("R", "A"), "name=R;applet=A");
    EXPECT_EQ(DecodeReaderAnswer(EncodeReaderAnswer("S;applet=T", "x;applet=y"), offered),
              (ReaderChoice{"S;applet=T", "x;applet=y"}));
}

} // namespace
