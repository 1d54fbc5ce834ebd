// The worked examples of docs/protocol.md, run against the built helper: each
// ```exchange block there is a command line, the bytes the parent writes, what
// the user does, the exact bytes the helper answers and its exit status. The
// document is what integrators copy, so it is the test's data.
#include "common/Blackbox.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace testkit;
using namespace xvtui::client;

constexpr Millis kPipeTimeout = 15s;

struct Line {
    char kind; // '$' command, '>' to the helper, '<' from the helper, 'u' user, 'x' exit
    std::string text;
};

struct Example {
    std::string title; // the heading above the block
    std::vector<Line> lines;
};

std::vector<Example> ReadExamples(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    std::vector<Example> examples;
    std::string line, heading;
    bool inside = false;
    while (std::getline(in, line)) {
        if (!inside && line.rfind("#", 0) == 0) {
            heading = line;
        } else if (!inside && line == "```exchange") {
            inside = true;
            examples.push_back({heading, {}});
        } else if (inside && line == "```") {
            inside = false;
        } else if (inside && !line.empty()) {
            // A trailing "# ..." is a comment for the reader.
            const size_t comment = line.find("  #");
            std::string body = line.substr(0, comment);
            while (!body.empty() && body.back() == ' ')
                body.pop_back();
            if (body.rfind("$ xvtui", 0) == 0)
                examples.back().lines.push_back({'$', body.substr(7)});
            else if (body.rfind("> ", 0) == 0 || body.rfind("< ", 0) == 0)
                examples.back().lines.push_back({body[0], body.substr(2)});
            else if (body.rfind("user: ", 0) == 0)
                examples.back().lines.push_back({'u', body.substr(6)});
            else if (body.rfind("exit ", 0) == 0)
                examples.back().lines.push_back({'x', body.substr(5)});
            else
                throw std::runtime_error("unknown line in an example: " + line);
        }
    }
    return examples;
}

// A quoted text ('...' as is, "..." with C escapes) or a bare word, from `at`.
std::string Word(const std::string& text, size_t& at)
{
    std::string out;
    const char quote = text[at];
    if (quote != '\'' && quote != '"') {
        while (at < text.size() && text[at] != ' ')
            out += text[at++];
        return out;
    }
    for (++at; at < text.size() && text[at] != quote; ++at) {
        if (quote == '"' && text[at] == '\\' && at + 1 < text.size()) {
            const char c = text[++at];
            if (c == 'x') {
                out += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
                at += 2;
            } else {
                out += c == 'n' ? '\n' : c == 't' ? '\t' : c == '0' ? '\0' : c;
            }
        } else {
            out += text[at];
        }
    }
    if (at >= text.size())
        throw std::runtime_error("unterminated quote: " + text);
    ++at;
    return out;
}

std::vector<std::string> Words(const std::string& text)
{
    std::vector<std::string> words;
    for (size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
            continue;
        }
        words.push_back(Word(text, at));
    }
    return words;
}

// Bytes and a mask of the bytes that must match (wildcards "?*N" do not):
// "text" (C escapes), "text"/N (padded with zeros to N bytes), HH (one byte
// in hex), 0*N (N zero bytes), u32:N, i32:N, u64:N (host byte order).
struct Bytes {
    std::string data;
    std::string mask;
};

template <class T>
void AppendNumber(std::string& out, T value)
{
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

Bytes ParseBytes(const std::string& text)
{
    Bytes bytes;
    for (size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
            continue;
        }
        const size_t before = bytes.data.size();
        bool wildcard = false;
        if (text[at] == '"') {
            std::string s = Word(text, at);
            if (at < text.size() && text[at] == '/') {
                size_t end = at + 1;
                const std::string width = Word(text, end);
                at = end;
                const size_t size = std::stoul(width);
                if (s.size() > size)
                    throw std::runtime_error("text wider than its field: " + text);
                s.resize(size, '\0');
            }
            bytes.data += s;
        } else {
            const std::string token = Word(text, at);
            const size_t colon = token.find(':');
            if (token.rfind("0*", 0) == 0) {
                bytes.data.append(std::stoul(token.substr(2)), '\0');
            } else if (token.rfind("?*", 0) == 0) {
                bytes.data.append(std::stoul(token.substr(2)), '\0');
                wildcard = true;
            } else if (colon != std::string::npos) {
                const std::string type = token.substr(0, colon);
                const long long value = std::stoll(token.substr(colon + 1), nullptr, 0);
                if (type == "u32")
                    AppendNumber(bytes.data, static_cast<std::uint32_t>(value));
                else if (type == "i32")
                    AppendNumber(bytes.data, static_cast<std::int32_t>(value));
                else if (type == "u64")
                    AppendNumber(bytes.data, static_cast<std::uint64_t>(value));
                else
                    throw std::runtime_error("unknown number type: " + token);
            } else if (token.size() == 2) {
                bytes.data += static_cast<char>(std::stoi(token, nullptr, 16));
            } else {
                throw std::runtime_error("unknown byte token: " + token);
            }
        }
        bytes.mask.append(bytes.data.size() - before, wildcard ? '?' : '=');
    }
    return bytes;
}

std::string Hex(const std::string& bytes)
{
    std::ostringstream out;
    for (const unsigned char c : bytes)
        out << "0123456789abcdef"[c >> 4] << "0123456789abcdef"[c & 15];
    return out.str();
}

// Runs one example; the helper's own window gets the user's keys.
void RunExample(const Example& example)
{
    ASSERT_FALSE(example.lines.empty());
    ASSERT_EQ(example.lines.front().kind, '$') << "an example starts with its command line";
    Sandbox sandbox;
    LaunchOptions options = HelperOptions(sandbox);
    options.conversation = true;
    HelperProcess helper(RawRequest(Words(example.lines.front().text)), options);
    std::optional<XClient> x;
    XWindow window = kNoWindow;
    for (size_t i = 1; i < example.lines.size(); ++i) {
        const Line& line = example.lines[i];
        SCOPED_TRACE(std::string(1, line.kind) + " " + line.text);
        if (line.kind == '>') {
            ASSERT_TRUE(helper.Send(ParseBytes(line.text).data, kPipeTimeout));
        } else if (line.kind == '<') {
            const Bytes expected = ParseBytes(line.text);
            std::string got(expected.data.size(), '\0');
            got.resize(helper.Receive(got.data(), got.size(), kPipeTimeout));
            ASSERT_EQ(got.size(), expected.data.size()) << "got " << Hex(got);
            for (size_t b = 0; b < got.size(); ++b)
                if (expected.mask[b] == '?')
                    got[b] = expected.data[b];
            EXPECT_EQ(Hex(got), Hex(expected.data));
        } else if (line.kind == 'u') {
            if (!x) {
                x.emplace();
                window = x->WaitForWindow(helper.Pid(), kWindowTimeout);
                ASSERT_NE(window, kNoWindow) << "the helper showed no window";
                x->Focus(window);
                ASSERT_TRUE(x->WaitForPaint(window, kWindowTimeout));
            }
            const std::vector<std::string> words = Words(line.text);
            ASSERT_EQ(words.size(), 2u) << "user: press KEY, or user: type TEXT";
            if (words[0] == "press")
                x->PressKey(words[1]);
            else if (words[0] == "type")
                x->TypeText(words[1]);
            else
                FAIL() << "unknown user action";
        } else if (line.kind == 'x') {
            const RunResult run = helper.Finish(kAnswerTimeout);
            ASSERT_TRUE(run.exited);
            EXPECT_EQ(run.output.view(), "") << "more output than the example shows";
            EXPECT_EQ(run.exitStatus, std::stoi(line.text));
            return;
        } else {
            FAIL() << "a second command line";
        }
    }
    FAIL() << "an example ends with its exit status";
}

TEST(ProtocolExamples, EveryExampleAnswersExactlyAsDocumented)
{
    const std::vector<Example> examples = ReadExamples(XVTUI_SOURCE_DIR "/docs/protocol.md");
    ASSERT_GE(examples.size(), 8u) << "docs/protocol.md lost its examples";
    for (const Example& example : examples) {
        SCOPED_TRACE(example.title);
        RunExample(example);
    }
}

} // namespace
