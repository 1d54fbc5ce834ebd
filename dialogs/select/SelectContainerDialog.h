/*
 * SelectContainerDialog: the user picks one key container ("VTSelectContainer").
 *
 * Request: no arguments beyond the keyword; on the input pipe a 32-bit count
 * and container records (protocol/SelectItem.h), all read before any widget
 * exists. The list ends early where the input does; nothing is made up for
 * records that never arrived.
 *
 * The table has three sortable columns: the primary names, the friendly
 * names (converted from code page 0 to UTF-8; an unconvertible one shows
 * empty) and the unique names, hidden at start. Two radio buttons show either
 * the friendly or the unique column. The primary and unique names are kept
 * byte for byte; only their on-screen form is repaired when not UTF-8.
 *
 * OK (or Enter or a double click on a row) with a selected row gives result 0 and the answer: a zero-filled record
 * holding the row's friendly name in UTF-8 and its primary name, each clipped
 * to leave a terminating zero; the unique name and the reserved bytes stay
 * zero whichever column is shown. OK with no row selected answers the
 * zero-filled record. Cancel, closing and the "choice_..." time-out give
 * ResultCode::Cancelled.
 *
 * Widget names: "xvtui-containers" (the tree view), "xvtui-friendly-radio",
 * "xvtui-unique-radio".
 */
#ifndef XVTUI_DIALOGS_SELECT_SELECTCONTAINERDIALOG_H
#define XVTUI_DIALOGS_SELECT_SELECTCONTAINERDIALOG_H

#include <deque>

#include <gtk/gtk.h>

#include "base/BaseDialog.h"
#include "protocol/Pipe.h"
#include "protocol/SelectItem.h"

class SelectContainerDialog : public BaseDialog {
public:
    using VTUISelectItem_ = xvtui::protocol::VTUISelectItem_;

    explicit SelectContainerDialog(const xvtui::protocol::Pipe& pipe = xvtui::protocol::Pipe::Standard());
    ~SelectContainerDialog() override;

    // Exactly the bytes of m_resultItem, nothing before or after.
    void PrintResultToPipe() const override;

    // Members behind the callbacks (public for base/Callback.h).
    // Shows view column 1 (friendly names) and view column 2 (unique names).
    void OnContainerTypeChanged(bool showFriendly, bool showUnique);
    void OnOKClicked();
    // The on-screen form of a primary or unique name that is not UTF-8.
    void OnCellData(GtkTreeViewColumn* column, GtkCellRenderer* renderer, GtkTreeModel* model, GtkTreeIter* iter);

private:
    void SelectContainerGtkInit();
    void AddContainersList();
    void AddContTypesRadioButtons();

    xvtui::protocol::Pipe m_pipe;
    GtkWidget* m_treeView = nullptr;
    GtkWidget* m_uniqueRadio = nullptr;
    GtkWidget* m_friendlyRadio = nullptr;
    std::deque<VTUISelectItem_> m_items; // as received, in input order
    VTUISelectItem_ m_resultItem{};      // the answer
};

#endif
