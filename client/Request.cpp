// Request.cpp: the requests the client knows how to make.
#include "client/Request.h"

#include <cstring>

namespace xvtui::client {

Request MessageRequest(const std::string& flags, const std::string& text, bool extended)
{
    Request request;
    request.arguments = {extended ? "VTDisplayMessageEx" : "VTDisplayMessage", flags, text};
    request.decoder = KeyDecoder({{std::string(kDontShowWarningKey), ValueKind::Flag}});
    return request;
}

Request MessageRequest(int flags, const std::string& text, bool extended)
{
    return MessageRequest(std::to_string(flags), text, extended);
}

Request RawRequest(std::vector<std::string> arguments)
{
    Request request;
    request.arguments = std::move(arguments);
    request.decoder = [](std::string_view output, std::vector<Field>& fields, std::string&) {
        Field field;
        field.value.assign(output);
        fields.push_back(std::move(field));
        return true;
    };
    return request;
}

void AppendWord(secure::String& input, std::uint32_t word)
{
    char bytes[sizeof word];
    std::memcpy(bytes, &word, sizeof word);
    input.append(bytes, sizeof bytes);
}

} // namespace xvtui::client
