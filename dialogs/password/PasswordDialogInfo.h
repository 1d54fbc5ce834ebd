// PasswordDialogInfo: one parsed "VTQueryPinEx" request, the only input of the
// password dialogs; the record and its parser live with the protocol.
#ifndef XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGINFO_H
#define XVTUI_DIALOGS_PASSWORD_PASSWORDDIALOGINFO_H

#include "protocol/PasswordRequest.h"

using xvtui::protocol::PasswordDialogInfo;

#endif
