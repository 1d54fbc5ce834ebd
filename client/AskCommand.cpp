// AskCommand.cpp: xvtui-ask's argument parsing and output.
#include "client/AskCommand.h"

#include "client/ContainerRequest.h"
#include "client/HelperProcess.h"
#include "client/PasswordRequest.h"
#include "client/RandomParent.h"
#include "client/ReaderRequest.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace xvtui::client {
namespace {

bool ParseSeconds(const std::string& text, std::chrono::milliseconds& out)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (errno != 0 || end == nullptr || *end != '\0' || !(seconds > 0) || seconds > 1e7)
        return false;
    out = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    return true;
}

// The options every password request takes: each names one argument of the
// "VTQueryPinEx" command line and takes one value, passed on as given.
struct PasswordOption {
    const char* name;
    std::string PasswordRequestArgs::*field;
};
constexpr PasswordOption kPasswordOptions[] = {
    {"--title", &PasswordRequestArgs::title},
    {"--header", &PasswordRequestArgs::header},
    {"--reader", &PasswordRequestArgs::readerName},
    {"--carrier", &PasswordRequestArgs::carrierName},
    {"--container", &PasswordRequestArgs::containerName},
    {"--reader-caption", &PasswordRequestArgs::readerCaption},
    {"--carrier-caption", &PasswordRequestArgs::carrierCaption},
    {"--container-caption", &PasswordRequestArgs::containerCaption},
    {"--term", &PasswordRequestArgs::passwordTerm},
    {"--new-term", &PasswordRequestArgs::newPasswordTerm},
    {"--carrier-active", &PasswordRequestArgs::carrierActive},
    {"--tries", &PasswordRequestArgs::triesLeft},
    {"--max", &PasswordRequestArgs::maxPasswordLength},
    {"--min", &PasswordRequestArgs::minPasswordLength},
    {"--max-new", &PasswordRequestArgs::maxNewPasswordLength},
    {"--min-new", &PasswordRequestArgs::minNewPasswordLength},
};

// A check-box control word: decimal, or hexadecimal with 0x, up to 32 bits.
bool ParseControlWord(const std::string& text, std::uint32_t& out)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || !std::isxdigit(static_cast<unsigned char>(digits[0])))
        return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long value = std::strtoull(digits.c_str(), &end, hex ? 16 : 10);
    if (errno != 0 || end == nullptr || *end != '\0' || value > 0xFFFFFFFFull)
        return false;
    out = static_cast<std::uint32_t>(value);
    return true;
}

// The control words of the one-entry dialog's two boxes. Unless given, both
// boxes are shown, changeable and unticked.
struct PinBoxes {
    std::uint32_t save = protocol::CBF_VISIBLE | protocol::CBF_CHANGEABLE;
    std::uint32_t dontCache = protocol::CBF_VISIBLE | protocol::CBF_CHANGEABLE;
};

// Reads password options from args[i] on, up to the end; false (and `error`)
// on an unknown option, a missing value or a positional argument. With
// `boxes`, --save-box and --dont-cache-box are taken as well.
bool ParsePasswordOptions(const std::vector<std::string>& args, size_t i, const std::string& request,
                          PasswordRequestArgs& out, PinBoxes* boxes, std::string& error)
{
    for (; i < args.size(); ++i) {
        const PasswordOption* option = nullptr;
        for (const PasswordOption& candidate : kPasswordOptions) {
            if (args[i] == candidate.name)
                option = &candidate;
        }
        std::uint32_t* word = nullptr;
        if (boxes != nullptr && args[i] == "--save-box")
            word = &boxes->save;
        else if (boxes != nullptr && args[i] == "--dont-cache-box")
            word = &boxes->dontCache;
        if (option == nullptr && word == nullptr) {
            error = "unknown " + request + " option " + args[i];
            return false;
        }
        if (i + 1 >= args.size()) {
            error = args[i] + " needs a value";
            return false;
        }
        ++i;
        if (option != nullptr) {
            out.*(option->field) = args[i];
        } else if (!ParseControlWord(args[i], *word)) {
            error = args[i - 1] + " needs a 32-bit number, not " + args[i];
            return false;
        }
    }
    return true;
}

// "container" options from args[i] on; false (and `error`) on anything else.
std::optional<Request> ParseContainerOptions(const std::vector<std::string>& args, size_t i, std::string& error)
{
    unsigned codePage = kDefaultCodePage;
    std::optional<std::uint32_t> count;
    std::vector<ContainerRecord> records;
    for (; i < args.size(); ++i) {
        const std::string& option = args[i];
        const size_t values = option == "--item" ? 3 : 1;
        if (option != "--item" && option != "--file" && option != "--code-page" && option != "--count") {
            error = "unknown container option " + option;
            return std::nullopt;
        }
        if (args.size() - i - 1 < values) {
            error = option + (values == 3 ? " needs FRIENDLY UNIQUE PRIMARY" : " needs a value");
            return std::nullopt;
        }
        const std::string& value = args[i + 1];
        std::uint32_t number = 0;
        if (option == "--item") {
            records.push_back({value, codePage, args[i + 2], args[i + 3]});
        } else if (option == "--file") {
            std::ifstream file(value, std::ios::binary);
            const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            if (!file.good() && !file.eof()) {
                error = "cannot read " + value;
                return std::nullopt;
            }
            if (!ParseContainerList(text, codePage, records, error)) {
                error = value + ": " + error;
                return std::nullopt;
            }
        } else if (!ParseControlWord(value, number) ||
                   (option == "--code-page" && number != kDefaultCodePage && number != kUtf8CodePage)) {
            error = option == "--count" ? "--count needs a 32-bit number" : "--code-page needs 0 or 65001";
            return std::nullopt;
        } else if (option == "--count") {
            count = number;
        } else {
            codePage = number; // for the records that follow
        }
        i += values;
    }
    std::vector<VTUISelectItem_> items;
    for (const ContainerRecord& record : records) {
        const std::optional<VTUISelectItem_> item = EncodeContainerRecord(record, error);
        if (!item) {
            error = "container " + std::to_string(items.size() + 1) + ": " + error;
            return std::nullopt;
        }
        items.push_back(*item);
    }
    return ContainerRequest(count.value_or(static_cast<std::uint32_t>(items.size())), items);
}

} // namespace

std::string AskUsageText()
{
    return "usage: xvtui-ask [--helper PATH] [--timeout SECONDS] [--reveal] REQUEST\n"
           "requests:\n"
           "  message [--flags N] [--ex] TEXT   show a message (flags: 2 OK and Cancel,\n"
           "                                    128 the \"don't show again\" box)\n"
           "  raw [KEYWORD [ARGUMENT...]]       any command line, answer shown as is\n"
           "  pin [PASSWORD OPTIONS] [--save-box N] [--dont-cache-box N]\n"
           "                                    the current password or PIN; N drives a\n"
           "                                    check box: 1 shown, 2 changeable, 4 ticked\n"
           "                                    (default 3)\n"
           "  new-password [PASSWORD OPTIONS]   a new password and its confirmation\n"
           "  change-password [PASSWORD OPTIONS]\n"
           "                                    the current password, a new one and its\n"
           "                                    confirmation\n"
           "  random [--units N]                random data from mouse motion and keys,\n"
           "                                    one unit per accepted event (default 200)\n"
           "  reader [--prompt TEXT] (--reader NAME [--applet TYPE:DESCRIPTION]...)...\n"
           "  reader [--prompt TEXT] --file PATH\n"
           "                                    a reader and one of its applet types; the\n"
           "                                    file holds blocks of a reader name line and\n"
           "                                    TYPE:DESCRIPTION lines, a blank line between\n"
           "  container [--code-page 0|65001] [--count N] [--file FILE]\n"
           "            [--item FRIENDLY UNIQUE PRIMARY]...\n"
           "                                    choose a key container; FILE holds one\n"
           "                                    record a line, its three names separated\n"
           "                                    by tabs; friendly names are sent in the\n"
           "                                    code page given before them (default 0,\n"
           "                                    CP1251); --count replaces the record count\n"
           "  doctor                            check this machine's set-up for the helper:\n"
           "                                    each failure with its fix; exit 0 when all is well\n"
           "password options (each takes a value, sent as given):\n"
           "  --title --header --reader --carrier --container --reader-caption\n"
           "  --carrier-caption --container-caption --term WORD --new-term WORD\n"
           "  --carrier-active N --tries N (65535: none) --max N --min N --max-new N\n"
           "  --min-new N (maximums in characters, minimums in bytes, 0: none)\n"
           "Secret values are shown as their length unless --reveal is given.\n"
           "The helper is --helper, else $XVTUI_HELPER, else the xvtui next to this tool.\n"
           "Exit status: 0 answered, 1 refused (ret=...), 2 bad usage, 3 helper failure.\n";
}

std::optional<AskCommand> ParseAskCommand(const std::vector<std::string>& args, std::string& error)
{
    AskCommand command;
    size_t i = 0;
    const auto value = [&](const std::string& option) -> const std::string* {
        if (i + 1 >= args.size()) {
            error = option + " needs a value";
            return nullptr;
        }
        return &args[++i];
    };
    for (; i < args.size() && args[i].starts_with("--"); ++i) {
        const std::string& option = args[i];
        if (option == "--help") {
            command.help = true;
            return command;
        }
        if (option == "--reveal") {
            command.reveal = true;
        } else if (option == "--helper") {
            const std::string* path = value(option);
            if (path == nullptr)
                return std::nullopt;
            if (path->empty()) {
                error = "--helper needs a path";
                return std::nullopt;
            }
            command.helper = *path;
        } else if (option == "--timeout") {
            const std::string* text = value(option);
            if (text == nullptr)
                return std::nullopt;
            std::chrono::milliseconds timeout{};
            if (!ParseSeconds(*text, timeout)) {
                error = "--timeout needs a positive number of seconds";
                return std::nullopt;
            }
            command.timeout = timeout;
        } else {
            error = "unknown option " + option;
            return std::nullopt;
        }
    }
    if (i >= args.size()) {
        error = "no request given";
        return std::nullopt;
    }
    const std::string kind = args[i++];
    if (kind == "message") {
        std::string flags = "0";
        bool extended = false;
        for (; i < args.size() && args[i].starts_with("--"); ++i) {
            if (args[i] == "--ex") {
                extended = true;
            } else if (args[i] == "--flags") {
                const std::string* text = value("--flags");
                if (text == nullptr)
                    return std::nullopt;
                flags = *text; // sent as given: the helper judges it
            } else {
                error = "unknown message option " + args[i];
                return std::nullopt;
            }
        }
        if (args.size() - i != 1) {
            error = "message needs exactly one TEXT";
            return std::nullopt;
        }
        command.request = MessageRequest(flags, args[i], extended);
    } else if (kind == "pin") {
        PasswordRequestArgs password;
        PinBoxes boxes;
        if (!ParsePasswordOptions(args, i, kind, password, &boxes, error))
            return std::nullopt;
        command.request = PinRequest(password, boxes.save, boxes.dontCache);
    } else if (kind == "new-password" || kind == "change-password") {
        PasswordRequestArgs password;
        if (!ParsePasswordOptions(args, i, kind, password, nullptr, error))
            return std::nullopt;
        command.request =
            kind == "new-password" ? NewPasswordRequest(password) : ChangePasswordRequest(password);
    } else if (kind == "container") {
        std::optional<Request> request = ParseContainerOptions(args, i, error);
        if (!request)
            return std::nullopt;
        command.request = std::move(*request);
    } else if (kind == "random") {
        std::uint64_t units = 200;
        for (; i < args.size(); ++i) {
            const std::string* text = args[i] == "--units" ? value("--units") : nullptr;
            char* end = nullptr;
            if (text != nullptr && !text->empty() && std::isdigit(static_cast<unsigned char>((*text)[0])))
                units = std::strtoull(text->c_str(), &end, 10);
            if (text == nullptr || end == nullptr || *end != '\0' || units == 0 || units > 1000000) {
                error = "random takes only --units N, 1 to 1000000";
                return std::nullopt;
            }
        }
        command.request = RandomRequest();
        command.randomUnits = units;
    } else if (kind == "reader") {
        std::optional<Request> request = ParseReaderCommand(args, i, error);
        if (!request)
            return std::nullopt;
        command.request = std::move(*request);
    } else if (kind == "doctor") {
        if (i != args.size()) {
            error = "doctor takes no arguments";
            return std::nullopt;
        }
        command.doctor = true;
    } else if (kind == "raw") {
        // Without a keyword the helper is run with none, which it refuses.
        command.request = RawRequest(std::vector<std::string>(args.begin() + static_cast<long>(i),
                                                              args.end()));
    } else {
        error = "unknown request " + kind;
        return std::nullopt;
    }
    return command;
}

std::string ChooseHelper(const std::string& given, const char* environment,
                         const std::string& selfExecutable)
{
    if (!given.empty())
        return given;
    if (environment != nullptr && *environment != '\0')
        return environment;
    // A build tree keeps the helper next to the tool; an installed tree keeps
    // it in <libexecdir>.
    const std::string nextTo = HelperNextTo(selfExecutable);
    if (access(nextTo.c_str(), X_OK) == 0)
        return nextTo;
    const size_t slash = selfExecutable.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : selfExecutable.substr(0, slash);
    return std::filesystem::path(dir + "/" XVTUI_TOOL_TO_HELPER "/xvtui").lexically_normal();
}

namespace {

// Appends `bytes` to `out` as a C-like quoted string. `Out` is std::string,
// or secure::String where the bytes may be a secret.
template <class Out>
void AppendEscaped(Out& out, std::string_view bytes)
{
    static const char hex[] = "0123456789abcdef";
    out.append(std::string_view("\""));
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
        case '\n':
            out.append(std::string_view("\\n"));
            break;
        case '\t':
            out.append(std::string_view("\\t"));
            break;
        case '"':
            out.append(std::string_view("\\\""));
            break;
        case '\\':
            out.append(std::string_view("\\\\"));
            break;
        default:
            if (byte >= 0x20 && byte < 0x7F) {
                out.push_back(c);
            } else {
                const char escaped[] = {'\\', 'x', hex[byte >> 4], hex[byte & 0xF]};
                out.append(std::string_view(escaped, sizeof escaped));
            }
        }
    }
    out.push_back('"');
}

} // namespace

std::string Escape(std::string_view bytes)
{
    std::string out;
    AppendEscaped(out, bytes);
    return out;
}

secure::String FormatAnswer(const Answer& answer, std::string_view rawOutput, bool secretAnswer,
                            bool reveal)
{
    // Revealed secrets and a raw answer that may hold one pass through here:
    // the text is built in wiped storage, never in a std::string.
    secure::String text;
    const auto add = [&text](std::string_view part) { text.append(part); };
    switch (answer.outcome) {
    case Outcome::Answered:
        for (const Field& field : answer.fields) {
            if (field.secret && !reveal) {
                add(field.key + "<hidden, " + std::to_string(field.value.size()) + " bytes>\n");
            } else if (field.key.empty()) {
                add("answer: ");
                AppendEscaped(text, field.value.view());
                add("\n");
            } else {
                add(field.key);
                add(field.value.view());
                add("\n");
            }
        }
        break;
    case Outcome::Refused:
        add(protocol::RetText(answer.code) + " (" + std::string(protocol::ResultCodeName(answer.code)) + ")\n");
        break;
    case Outcome::Usage:
        add("usage text: " + Escape(kUsageText) + "\n");
        break;
    case Outcome::Malformed:
        add("malformed answer: " + answer.problem + "\n");
        if (!secretAnswer || reveal) {
            add("output: ");
            AppendEscaped(text, rawOutput);
            add("\n");
        }
        break;
    case Outcome::Killed:
        add("the helper was killed by signal " + std::to_string(answer.termSignal) + "\n");
        break;
    case Outcome::TimedOut:
        add("no answer in time: the helper was stopped\n");
        break;
    }
    if (answer.outcome == Outcome::Refused && !answer.problem.empty())
        add("note: " + answer.problem + "\n");
    if (answer.exited)
        add("exit status: " + std::to_string(answer.exitStatus) + "\n");
    else
        add("ended by signal " + std::to_string(answer.termSignal) + "\n");
    return text;
}

AskExit ExitCodeFor(const Answer& answer)
{
    switch (answer.outcome) {
    case Outcome::Answered:
        return kAskAnswered;
    case Outcome::Refused:
    case Outcome::Usage:
        return kAskRefused;
    default:
        return kAskError;
    }
}

} // namespace xvtui::client
