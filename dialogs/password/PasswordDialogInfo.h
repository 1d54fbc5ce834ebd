// PasswordDialogInfo: one parsed "VTQueryPinEx" request, the only input of the
// password dialogs. Filled by PasswordDialog::ParseArguments; a dialog copies
// what it needs in its constructor, so the record may die right after.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGINFO_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGINFO_H

#include <cstdint>
#include <string>

struct PasswordDialogInfo {
    std::string title;            // argv[2]: window title; empty keeps the default one
    std::string header;           // argv[3] + "\n": text above the information table
    std::string readerName;       // argv[4]: value of the reader row
    std::string carrierName;      // argv[5]: value of the carrier row
    std::string containerName;    // argv[6]: container name; empty drops the container row
    std::string readerCaption;    // argv[7]: caption of the reader row
    std::string carrierCaption;   // argv[8]: caption of the carrier row
    std::string containerCaption; // argv[9]: caption of the container row
    std::string passwordTerm;     // argv[10]: the word naming the secret ("password", "PIN")
    std::string newPasswordTerm;  // argv[11]: the word naming the new secret; empty: passwordTerm
    bool carrierActive = false;   // argv[12] != 0; false greys the carrier row
    std::int32_t triesLeft = 0;   // argv[13]: for the tries-left warning
    // The four lengths hold the parsed 32-bit values widened with their sign.
    std::int64_t maxPasswordLength = 0;    // argv[14]: characters; 0 or less: no limit
    std::int64_t minPasswordLength = 0;    // argv[15]: bytes
    std::int64_t maxNewPasswordLength = 0; // argv[16]
    std::int64_t minNewPasswordLength = 0; // argv[17]
};

#endif
