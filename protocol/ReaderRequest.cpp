#include "protocol/ReaderRequest.h"

#include <algorithm>

#include <getopt.h>

namespace xvtui::protocol {
namespace {

// Past 1, which getopt returns for a word that is no option.
enum Option : int { kName = 2, kApplet, kDesc };

// Where the parse stands: which option may come next.
enum State : int {
    kAfterName = 0,   // an applet
    kAfterApplet = 1, // its description
    kAfterDesc = 2,   // another applet or the next reader
    kStart = 3,       // a reader name
};

constexpr option kLongOptions[] = {
    {"name", required_argument, nullptr, kName},
    {"applet", required_argument, nullptr, kApplet},
    {"desc", required_argument, nullptr, kDesc},
    {nullptr, 0, nullptr, 0},
};

constexpr std::string_view kNameKey = kReaderNameKey;
constexpr std::string_view kAppletKey = kReaderAppletKey;

// getopt keeps its position in globals: 0 makes glibc start over from
// argv[1], forgetting a half-read argument of an earlier parse.
void ResetGetopt()
{
    optind = 0;
}

} // namespace

std::optional<ReaderRequest> ParseReaderRequest(int argc, char** argv)
{
    if (argc < 3 || argv == nullptr)
        return std::nullopt;
    ReaderRequest request;
    request.prompt = argv[2] != nullptr ? argv[2] : "";

    ResetGetopt();
    int state = kStart;
    bool error = false;
    int option = 0;
    // After an error the parser is asked once more before the loop ends, as
    // the provider's helpers always did: only getopt's diagnostics see it.
    // "-": words that are no options come back in their place as 1 and are
    // skipped, so the parse is the same whether or not the environment asks
    // getopt to stop at the first such word (POSIXLY_CORRECT): the keyword
    // and the prompt come first.
    while ((option = getopt_long_only(argc, argv, "-", kLongOptions, nullptr)) != -1 && !error) {
        const std::string value = optarg != nullptr ? optarg : "";
        switch (option) {
        case 1: // a word that is no option
            break;
        case kName:
            if (state != kAfterDesc && state != kStart) {
                error = true;
                break;
            }
            request.readers.push_back({});
            request.readers.back().name = value;
            state = kAfterName;
            break;
        case kApplet:
            if (state != kAfterName && state != kAfterDesc) {
                error = true;
                break;
            }
            request.readers.back().applets.push_back(value);
            state = kAfterApplet;
            break;
        case kDesc:
            if (state != kAfterApplet) {
                error = true;
                break;
            }
            request.readers.back().descriptions.push_back(value);
            state = kAfterDesc;
            break;
        default: // '?': unknown option or missing value
            error = true;
        }
    }
    return request;
}

std::vector<std::string> ReaderOptions(const std::vector<ReaderItem>& readers)
{
    std::vector<std::string> options;
    for (const ReaderItem& reader : readers) {
        options.push_back("--name=" + reader.name);
        for (size_t i = 0; i < reader.applets.size(); ++i) {
            options.push_back("--applet=" + reader.applets[i]);
            options.push_back("--desc=" + (i < reader.descriptions.size() ? reader.descriptions[i] : std::string()));
        }
    }
    return options;
}

std::string EncodeReaderAnswer(std::string_view reader, std::string_view applet)
{
    std::string answer;
    answer.reserve(kNameKey.size() + reader.size() + kAppletKey.size() + applet.size());
    answer.append(kNameKey).append(reader).append(kAppletKey).append(applet);
    return answer;
}

std::optional<ReaderChoice> DecodeReaderAnswer(std::string_view answer, const std::vector<ReaderItem>& readers)
{
    if (!answer.starts_with(kNameKey))
        return std::nullopt;
    const std::string_view rest = answer.substr(kNameKey.size());
    for (size_t at = rest.find(kAppletKey); at != std::string_view::npos; at = rest.find(kAppletKey, at + 1)) {
        const std::string_view name = rest.substr(0, at), applet = rest.substr(at + kAppletKey.size());
        for (const ReaderItem& reader : readers) {
            if (reader.name != name)
                continue;
            const bool offered = reader.applets.empty()
                                     ? applet.empty()
                                     : std::find(reader.applets.begin(), reader.applets.end(), applet) !=
                                           reader.applets.end();
            if (offered)
                return ReaderChoice{std::string(name), std::string(applet)};
        }
    }
    return std::nullopt;
}

} // namespace xvtui::protocol
