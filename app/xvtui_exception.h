/*
 * xvtui_exception: the helper's only exception type, and the result codes.
 *
 * An error is raised where it arises, as an xvtui_exception carrying the
 * result code that the process reports ("ret=" and the decimal code), and is
 * caught only by the process entry. GTK handlers never let it escape into
 * GTK's C frames: base/Callback.h parks it until gtk_main has returned.
 *
 * The message always reads
 *     "Error in function: " + function + "(...)" + " : " + reason + "\n"
 * so the log shows where the error was raised. A password or PIN must never
 * be part of a reason.
 */
#ifndef XVTUI_APP_XVTUI_EXCEPTION_H
#define XVTUI_APP_XVTUI_EXCEPTION_H

#include <cstdint>
#include <exception>
#include <string>

#include "protocol/ResultCode.h"


class xvtui_exception : public std::exception {
public:
    // `function` is the raising function's name, without "(...)";
    // `reason` the human-readable cause.
    xvtui_exception(std::uint32_t code, const std::string& function, const std::string& reason);
    ~xvtui_exception() override;

    const char* what() const noexcept override;
    // The result code the process reports for this error.
    std::uint32_t GetCode() const noexcept { return m_code; }

    // The message text as every raising place builds it.
    static std::string FormatMessage(const std::string& function, const std::string& reason);

private:
    std::string m_message;
    std::uint32_t m_code;
};

#endif
