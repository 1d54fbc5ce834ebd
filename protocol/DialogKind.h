/*
 * DialogKind: which dialog a request asks for. The frame builds every kind
 * but the message dialog with the OK/Cancel row, the countdown and the timer.
 */
#ifndef XVTUI_PROTOCOL_DIALOGKIND_H
#define XVTUI_PROTOCOL_DIALOGKIND_H

namespace xvtui::protocol {

enum class DialogKind : unsigned {
    Reader = 0,    // reader and applet selection
    Container = 1, // key-container selection
    Random = 2,    // random-data gathering
    Password = 3,  // the three password dialogs
    Message = 4,   // message with OK (and Cancel)
};

} // namespace xvtui::protocol

#endif
