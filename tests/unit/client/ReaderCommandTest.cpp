// xvtui-ask's reader request: options and reader files turned into the
// helper's command line, and what it refuses to send.
#include "client/AskCommand.h"
#include "client/ReaderRequest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace xvtui::client;
using Args = std::vector<std::string>;

TEST(ReaderCommand, CommandLinesAndRefusals)
{
    char path[] = "/tmp/xvtui-readers-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    std::ofstream(path) << "Reader 1\r\nA:first: with colon\nB\n\n\nReader 2\nC:third\n";
    const std::string file = path;
    const struct {
        Args args;
        Args helperArgs; // empty: refused
    } cases[] = {
        {{"reader", "--prompt", "Pick", "--reader", "R", "--applet", "A:D"},
         {"VTSelectReader", "Pick", "--name=R", "--applet=A", "--desc=D"}},
        {{"reader", "--reader", "R", "--applet", "A", "--reader", "S"},
         {"VTSelectReader", "", "--name=R", "--applet=A", "--desc=", "--name=S"}},
        {{"reader", "--file", file},
         {"VTSelectReader", "", "--name=Reader 1", "--applet=A", "--desc=first: with colon", "--applet=B", "--desc=",
          "--name=Reader 2", "--applet=C", "--desc=third"}},
        {{"reader", "--reader", "R", "--reader", "S", "--applet", "A:D"}, {}}, // R would end the list
        {{"reader", "--prompt", "-p", "--reader", "R", "--applet", "A:D"}, {}},
        {{"reader", "--applet", "A:D"}, {}},
        {{"reader", "--prompt", "P"}, {}},
        {{"reader", "--reader"}, {}},
        {{"reader", "--reader", "R", "--colour", "red"}, {}},
        {{"reader", "--file", file + ".missing"}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        std::string error;
        const std::optional<AskCommand> command = ParseAskCommand(c.args, error);
        ASSERT_EQ(command.has_value(), !c.helperArgs.empty()) << error;
        if (command)
            EXPECT_EQ(command->request.arguments, c.helperArgs);
        else
            EXPECT_FALSE(error.empty());
    }
    std::remove(path);
}

} // namespace
