#include <csignal>

#include "app/Entry.h"

int main(int argc, char** argv)
{
    // The answer goes into the provider's pipe; if the provider is gone, the
    // write fails with EPIPE instead of killing the helper, which then exits
    // with its result code as usual.
    std::signal(SIGPIPE, SIG_IGN);
    return RunEntry(argc, argv);
}
