// Request.cpp: the requests the client knows how to make.
#include "client/Request.h"


namespace xvtui::client {

Request MessageRequest(const std::string& flags, const std::string& text, bool extended)
{
    Request request;
    request.arguments = {std::string(extended ? protocol::kMessageExKeyword : protocol::kMessageKeyword), flags, text};
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

} // namespace xvtui::client
