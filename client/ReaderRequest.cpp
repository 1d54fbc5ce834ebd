// ReaderRequest.cpp: the reader selection request and its answer.
#include "client/ReaderRequest.h"

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

} // namespace xvtui::client
