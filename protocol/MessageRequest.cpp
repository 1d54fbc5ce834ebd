#include "protocol/MessageRequest.h"

#include "protocol/Answer.h"
#include "protocol/Number.h"

namespace xvtui::protocol {

std::optional<MessageRequest> ParseMessageRequest(int argc, const char* const* argv)
{
    if (argc != kMessageArgumentCount || argv == nullptr)
        return std::nullopt;
    const std::optional<std::int32_t> flags = ParseWholeNumber(argv[2]);
    if (!flags)
        return std::nullopt;
    MessageRequest request;
    request.flags = *flags;
    request.text = argv[3] != nullptr ? argv[3] : "";
    return request;
}

secure::String EncodeMessageAnswer(bool dontShowWarning)
{
    secure::String answer;
    AppendFlag(answer, kDontShowWarningKey, dontShowWarning);
    return answer;
}

} // namespace xvtui::protocol
