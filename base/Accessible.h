// Accessible.h: what the dialogs tell a screen reader through ATK, without
// changing anything a user sees. With the toolkit's accessibility modules
// loaded (GTK_MODULES=gail:atk-bridge) these reach the accessibility bus;
// without them they land on ATK's no-op objects and cost nothing.
#ifndef XVTUI_BASE_ACCESSIBLE_H
#define XVTUI_BASE_ACCESSIBLE_H

#include <string>

#include <atk/atk.h>
#include <gtk/gtk.h>

namespace accessible {

// Ties the caption `label` to the widget it names (label-for and
// labelled-by); a `target` that is not itself a label (an entry, a list, a
// drop-down, a text view) also takes the caption's text as its accessible
// name, which is what a screen reader speaks when it gets the focus. The
// caption keeps its look: it gets no mnemonic.
void TieCaption(GtkWidget* label, GtkWidget* target);

// Sets the window's accessible description (the request's header or
// message), trailing line ends left out.
void DescribeWindow(GtkWidget* window, const std::string& text);

// Gives a label whose text changes (a warning, the countdown, a prompt) a
// role under which screen readers announce its changes; the label's own
// accessible name is its text.
void SetRole(GtkWidget* widget, AtkRole role);

// Gives a label that shows changing text (a warning line padded with line
// ends) the text without trailing line ends as its accessible name, so that
// a line that shows nothing is announced as nothing. Call after each change
// of the label's text; an unchanged name sends no event.
void NameAfterText(GtkWidget* label);

// Names a widget that has no caption of its own (a list, a text view).
void SetName(GtkWidget* widget, const std::string& name);

} // namespace accessible

#endif
