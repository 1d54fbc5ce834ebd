#include "protocol/Answer.h"

namespace xvtui::protocol {

void AppendFlag(secure::String& answer, std::string_view key, bool value)
{
    answer.append(key);
    answer.append(value ? kTrue : kFalse);
}

void AppendText(secure::String& answer, std::string_view key, std::string_view value)
{
    answer.append(key);
    answer.append(value);
}

} // namespace xvtui::protocol
