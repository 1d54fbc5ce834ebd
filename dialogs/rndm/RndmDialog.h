/*
 * RndmDialog: gathers random data from the user in lock-step with the parent
 * ("VTRndmBio", no arguments).
 *
 * The parent decides everything; the dialog forwards each mouse motion and
 * key press as a step message and blocks, inside the handler, until the parent
 * replies with a status and its new state record (protocol/RandomStep.h). It
 * shows the parent's progress (gathered / needed, from the record as it stood
 * before the step), its direction prompts and, once the parent asked for more
 * steps, the additional-steps text. A non-zero status ends the dialog with
 * result 0 and no text on standard output. The same key twice in a row sends
 * nothing the second time.
 *
 * The Cancel button's handler keeps its inverted argument test on purpose: a
 * click ends the process with ResultCode::BadArgs (2147942487), not with the
 * cancel code; closing the window and the time-outs ("bio_time", ...) cancel
 * as in every dialog.
 *
 * While it waits for the parent the dialog looks after it every 100 ms: a
 * parent that is gone (re-parented helper, or its answer pipe in error) ends
 * the dialog with ResultCode::BrokenPipe at once; a closed input gives empty
 * replies (status 0, the record unchanged), and the base timer's watch ends
 * the dialog.
 *
 * Widget names: "xvtui-rndm-action" (the instruction text), "xvtui-rndm-prompt"
 * (direction prompts), "xvtui-rndm-progress", "xvtui-rndm-cancel".
 */
#ifndef XVTUI_DIALOGS_RNDM_RNDMDIALOG_H
#define XVTUI_DIALOGS_RNDM_RNDMDIALOG_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include <gtk/gtk.h>

#include "base/BaseDialog.h"
#include "protocol/Pipe.h"
#include "protocol/RandomStep.h"

class RndmDialog : public BaseDialog {
public:
    // Reads the initial state record from the pipe, then builds the window.
    explicit RndmDialog(const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~RndmDialog() override;

    // Shows the window and runs the main loop (there is no OK to make default).
    std::uint32_t ShowDialog() override;
    // Writes nothing: the parent learns the end from the exit status.
    void PrintResultToPipe() const override;

    // One exchange: the step message, each piece in its own write, then the
    // reply read over the record; returns the status (0 when none came).
    std::uint32_t BioNextStep(unsigned long kind, unsigned int time, int x, int y);

    // Members behind the callbacks (public for base/Callback.h).
    bool OnMotionNotify(GdkEventMotion& event);
    bool OnKeyPressed(GdkEventKey& event);
    void OnResize(unsigned int width);

    const xvtui::protocol::StateRecord& Record() const { return m_record; }

    static constexpr int kWindowWidth = 550;
    static constexpr int kWindowHeight = 350;
    // Queued motion events one handler call takes before the main loop runs again.
    static constexpr int kMotionBatch = 32;

private:
    void RndmTermsInit();
    void RndmGtkInit();
    // The progress bar shows the record as it stands.
    void ShowProgress();
    // A step's exchange as a handler does it: true when the parent is done
    // (the dialog has then ended with 0).
    bool Step(const xvtui::protocol::StepEvent& event);
    // A motion's step and what the reply shows: true when the parent is done.
    bool MotionStep(const GdkEventMotion& event);
    // The base timer's tick is due: queued motions wait for the main loop.
    bool TimerDue() const;

    xvtui::protocol::Pipe m_pipe;
    xvtui::protocol::StateRecord m_record;
    std::unique_ptr<std::array<unsigned char, xvtui::protocol::kPrivateBlockSize>> m_private;
    GtkWidget* m_promptLabel = nullptr;
    GtkWidget* m_progressBar = nullptr;
    GtkWidget* m_actionLabel = nullptr;
    GtkWidget* m_rndmCancelButton = nullptr;
    int m_rndmWindowWidth = kWindowWidth;
    std::string m_actionText;
    guint m_lastKey = 0; // the key of the last key step; 0: none yet

    static LocalizedText m_actionTerm;
    static LocalizedText m_addActionTerm;
    static LocalizedText m_mouseLeftTerm;
    static LocalizedText m_mouseRightTerm;
};

#endif
