/*
 * SelectReaderDialog: "VTSelectReader", the choice of a reader and one of
 * its applet types.
 *
 * Request: argv = program, keyword, prompt (empty: the built-in prompt),
 * then the reader options of protocol/ReaderRequest.h; fewer than three
 * arguments raise ResultCode::BadArgs "Can not create SelectReaderDialog"
 * (function ParseArgs) before anything is shown. The prompt is shown as
 * given, in every locale.
 *
 * The readers fill a list (one selected at a time); the applet types of the
 * selected reader fill a drop-down, greyed while there are fewer than two;
 * below it the description of the chosen applet type, read-only. Changing
 * either restarts the countdown where "selcar_resume_time" is set. OK, the
 * focused button, answers "name=READER;applet=APPLET" with the selected
 * reader and applet type (the first ones unless changed). Without readers
 * only the prompt shows, OK is greyed and Cancel has the focus. Cancel,
 * closing the window and the "selcar_time" time-out cancel.
 *
 * A reader without applet types, or an applet type without a description
 * (arguments that end early), shows and answers an empty text in their place.
 *
 * Widget names: "xvtui-prompt" (the prompt label), "xvtui-readers" (the
 * list), "xvtui-applets" (the drop-down), "xvtui-description" (the text view).
 */
#ifndef XVTUI_DIALOGS_SELECT_SELECTREADERDIALOG_H
#define XVTUI_DIALOGS_SELECT_SELECTREADERDIALOG_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <gtk/gtk.h>

#include "base/BaseDialog.h"
#include "protocol/Pipe.h"
#include "protocol/ReaderRequest.h"

class SelectReaderDialog : public BaseDialog {
public:
    // One reader: its applet types and their descriptions, as received.
    using SelectReaderItem = xvtui::protocol::ReaderItem;

    // The answer goes to `pipe`'s output.
    SelectReaderDialog(int argc, char** argv,
                       const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~SelectReaderDialog() override;

    // "name=" + reader + ";applet=" + applet type, byte for byte. Raises
    // ResultCode::BrokenPipe when the parent no longer reads.
    void PrintResultToPipe() const override;

    // The previous reader becomes the current one's predecessor; `index`,
    // cut to 16 bits, the current one.
    void SetReaderIndex(unsigned index);
    // The object-data key under which each list item carries its index text.
    std::string GetReaderKey() const { return m_readerDataKey; }

    // Members behind the callbacks (public for base/Callback.h).
    void OnReaderChanged();
    void OnAppletChanged();
    void OnOKClicked();
    // Tab and Shift+Tab on the list; true when the key was used.
    bool OnListKeyPressed(const GdkEventKey& key);

private:
    void ParseArgs(int argc, char** argv);
    void SelectReaderTermsInit();
    void SelectReaderGtkInit();
    void AddReadersListBox();
    void AddAppletsWidgets();
    void AddAppletTextBox();
    // Detaches this dialog from the widgets that may outlive it, or change
    // while the window is destroyed.
    void DisconnectHandlers();

    // The reader at `index`, or null when there is none.
    const SelectReaderItem* Reader(int index) const;
    // Applet type and description `applet` of reader `reader`; "" where the
    // arguments gave none.
    std::string AppletOf(int reader, int applet) const;
    std::string DescriptionOf(int reader, int applet) const;

    GtkWidget* m_readersList = nullptr; // null once destroyed
    GtkWidget* m_appletCombo = nullptr; // null once destroyed
    GtkTextBuffer* m_descriptionBuffer = nullptr;
    GtkWidget* m_descriptionView = nullptr;
    std::vector<SelectReaderItem> m_readers;
    // "0", "1", ...: the list items point into these, so they never move.
    std::deque<std::string> m_readerIndexTexts;
    std::int16_t m_prevReaderIndex = 0;
    std::int16_t m_readerIndex = 0;
    std::int16_t m_appletIndex = 0;
    std::string m_prompt; // as received; empty: m_selectReaderTerm
    xvtui::protocol::Pipe m_pipe;

    static LocalizedText m_selectReaderTerm; // "Select reader to create container"
    static LocalizedText m_appletTypeTerm;   // "Applet type:"
    static LocalizedText m_descriptionTerm;  // "Description:"
    static const std::string m_readerDataKey;
};

#endif
