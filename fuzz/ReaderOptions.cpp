// The reader request's options, read with getopt_long_only from any
// arguments. Whatever was read must survive the way back: the options the
// parent's side writes for those readers are read as the same readers (a
// reader without applets only last, as ReaderOptions documents; and a prompt
// that getopt does not take for an option, as it takes "-x" and ends the
// options at "--"), and an
// answer naming any offered reader and applet is decoded.
#include "FuzzInput.h"

#include "protocol/ReaderRequest.h"

#include <getopt.h>

namespace {

using xvtui::protocol::ReaderItem;

std::optional<xvtui::protocol::ReaderRequest> Parse(const std::vector<std::string>& arguments)
{
    std::vector<std::string> owned{"xvtui", "VTSelectReader"};
    owned.insert(owned.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : owned)
        argv.push_back(argument.data());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    return xvtui::protocol::ParseReaderRequest(argc, argv.data());
}

// Descriptions as the parent's side writes them: one per applet.
std::vector<ReaderItem> Padded(std::vector<ReaderItem> readers)
{
    for (ReaderItem& reader : readers)
        reader.descriptions.resize(reader.applets.size());
    return readers;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    opterr = 0; // getopt's diagnostics on standard error are not under test
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace xvtui::protocol;
    const std::optional<ReaderRequest> request = Parse(fuzz::Split(data, size));
    fuzz::Check(request.has_value());
    const std::vector<ReaderItem>& readers = request->readers;
    for (const ReaderItem& reader : readers)
        fuzz::Check(reader.descriptions.size() <= reader.applets.size());

    bool onlyLastWithoutApplets = true;
    for (std::size_t i = 0; i + 1 < readers.size(); ++i)
        onlyLastWithoutApplets = onlyLastWithoutApplets && !readers[i].applets.empty();
    const std::string& prompt = request->prompt;
    const bool promptIsOption = prompt.size() >= 2 && prompt[0] == '-';
    if (onlyLastWithoutApplets && !promptIsOption) {
        std::vector<std::string> options{request->prompt};
        for (const std::string& option : ReaderOptions(readers))
            options.push_back(option);
        const std::optional<ReaderRequest> again = Parse(options);
        fuzz::Check(again.has_value() && again->prompt == request->prompt);
        fuzz::Check(Padded(again->readers) == Padded(readers));
    }

    for (const ReaderItem& reader : readers) {
        if (reader.applets.empty())
            fuzz::Check(DecodeReaderAnswer(EncodeReaderAnswer(reader.name, ""), readers).has_value());
        for (const std::string& applet : reader.applets)
            fuzz::Check(DecodeReaderAnswer(EncodeReaderAnswer(reader.name, applet), readers).has_value());
    }
    return 0;
}
