// PasswordRequests.h: the password requests the black-box tests and the
// benchmark send, and the PIN dialog's answer. Header-only, so the test kit
// library does not depend on the client library.
#pragma once

#include "client/PasswordRequest.h"

#include <string>

namespace testkit {

// A request for the PIN of the container "keys" on "Carrier 17" in "Reader 0",
// with the given minimum lengths (bytes) of the current and the new PIN.
inline xvtui::client::PasswordRequestArgs KeyContainerArgs(const char* minPassword = "0",
                                                           const char* minNewPassword = "0")
{
    xvtui::client::PasswordRequestArgs args;
    args.title = args.passwordTerm = "PIN";
    args.header = "Enter the PIN of the key container";
    args.readerName = "Reader 0";
    args.carrierName = "Carrier 17";
    args.containerName = "keys";
    args.minPasswordLength = minPassword;
    args.minNewPasswordLength = minNewPassword;
    return args;
}

// The one-entry dialog's answer, byte for byte.
inline std::string PinAnswer(bool save, bool dontCache, const std::string& password)
{
    using namespace xvtui::client;
    return std::string(kSavePasswdKey) + (save ? "true" : "false") + std::string(kDontCacheKey) +
           (dontCache ? "true" : "false") + std::string(kPasswdKey) + password;
}

} // namespace testkit
