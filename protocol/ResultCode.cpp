#include "protocol/ResultCode.h"

namespace xvtui::protocol {

std::string_view ResultCodeName(std::uint32_t code)
{
    switch (code) {
    case Answered:
        return "success";
    case Cancelled:
        return "cancelled";
    case Failed:
        return "failed";
    case BadArgs:
        return "bad arguments";
    case ForeignException:
        return "foreign exception";
    case BrokenPipe:
        return "broken pipe";
    case GtkInitFailed:
        return "no display";
    default:
        return "unknown";
    }
}

std::string RetText(std::uint32_t code)
{
    return std::string(kRetPrefix) + std::to_string(code);
}

} // namespace xvtui::protocol
