#include "app/xvtui_exception.h"

xvtui_exception::xvtui_exception(std::uint32_t code, const std::string& function,
                                 const std::string& reason)
    : m_message(FormatMessage(function, reason)), m_code(code)
{
}

xvtui_exception::~xvtui_exception() = default;

const char* xvtui_exception::what() const noexcept
{
    return m_message.c_str();
}

std::string xvtui_exception::FormatMessage(const std::string& function, const std::string& reason)
{
    return "Error in function: " + function + "(...)" + " : " + reason + "\n";
}
