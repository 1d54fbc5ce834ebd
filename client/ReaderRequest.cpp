// ReaderRequest.cpp: the reader selection request and its answer.
#include "client/ReaderRequest.h"

#include <fstream>
#include <sstream>

namespace xvtui::client {

Request SelectReaderRequest(const std::string& prompt, const std::vector<ReaderItem>& readers)
{
    Request request;
    request.arguments = {std::string(protocol::kReaderKeyword), prompt};
    for (std::string& option : protocol::ReaderOptions(readers))
        request.arguments.push_back(std::move(option));
    request.decoder = [readers](std::string_view output, std::vector<Field>& fields, std::string& problem) {
        const std::optional<protocol::ReaderChoice> choice = protocol::DecodeReaderAnswer(output, readers);
        if (!choice) {
            problem = "not a reader and applet type that were offered";
            return false;
        }
        Field reader{std::string(kReaderField), {}, false}, applet{std::string(kAppletField), {}, false};
        reader.value.assign(choice->reader);
        applet.value.assign(choice->applet);
        fields.push_back(std::move(reader));
        fields.push_back(std::move(applet));
        return true;
    };
    return request;
}

std::string ReaderRequestProblem(const std::string& prompt, const std::vector<ReaderItem>& readers)
{
    if (prompt.starts_with("-"))
        return "a prompt that begins with - would be read as an option";
    for (size_t i = 0; i + 1 < readers.size(); ++i) {
        if (readers[i].applets.empty())
            return "reader " + readers[i].name + " has no applet type: only the last reader may have none";
    }
    return {};
}

void AddApplet(ReaderItem& reader, const std::string& typeAndDescription)
{
    const size_t colon = typeAndDescription.find(':');
    reader.applets.push_back(typeAndDescription.substr(0, colon));
    reader.descriptions.push_back(colon == std::string::npos ? std::string() : typeAndDescription.substr(colon + 1));
}

bool ParseReaderFile(const std::string& text, std::vector<ReaderItem>& readers, std::string& error)
{
    std::istringstream lines(text);
    std::string line;
    bool inBlock = false;
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty()) {
            inBlock = false;
        } else if (!inBlock) {
            readers.push_back({});
            readers.back().name = line;
            inBlock = true;
        } else {
            AddApplet(readers.back(), line);
        }
    }
    if (readers.empty()) {
        error = "the reader file names no reader";
        return false;
    }
    return true;
}

std::optional<Request> ParseReaderCommand(const std::vector<std::string>& args, size_t i, std::string& error)
{
    std::string prompt;
    std::vector<ReaderItem> readers;
    for (; i < args.size(); ++i) {
        const std::string& option = args[i];
        if (option != "--prompt" && option != "--reader" && option != "--applet" && option != "--file") {
            error = "unknown reader option " + option;
            return std::nullopt;
        }
        if (i + 1 >= args.size()) {
            error = option + " needs a value";
            return std::nullopt;
        }
        const std::string& value = args[++i];
        if (option == "--prompt") {
            prompt = value;
        } else if (option == "--reader") {
            readers.push_back({});
            readers.back().name = value;
        } else if (option == "--applet") {
            if (readers.empty()) {
                error = "--applet needs a --reader before it";
                return std::nullopt;
            }
            AddApplet(readers.back(), value);
        } else {
            std::ifstream file(value, std::ios::binary);
            std::ostringstream text;
            text << file.rdbuf();
            if (!file) {
                error = "cannot read the reader file " + value;
                return std::nullopt;
            }
            if (!ParseReaderFile(text.str(), readers, error))
                return std::nullopt;
        }
    }
    if (readers.empty()) {
        error = "reader needs a --reader or a --file";
        return std::nullopt;
    }
    if (std::string problem = ReaderRequestProblem(prompt, readers); !problem.empty()) {
        error = problem;
        return std::nullopt;
    }
    return SelectReaderRequest(prompt, readers);
}

} // namespace xvtui::client
