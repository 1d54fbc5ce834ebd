// The container dialog's table in process: which column the radio buttons
// show, and which record OK answers once the table is sorted.
#include "gui/base/GuiSupport.h"

#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "dialogs/select/SelectContainerDialog.h"
#include "protocol/SelectItem.h"

namespace {

using xvtui::protocol::FieldText;
using xvtui::protocol::Pipe;
using xvtui::protocol::VTUISelectItem_;

struct Names {
    std::string primary;
    std::string friendly;
    std::string unique;
};

// A dialog over two pipes: the records already written and closed, the
// answer read back from the other.
class Dialog {
public:
    explicit Dialog(const std::vector<Names>& records)
    {
        int in[2];
        if (pipe(in) != 0 || pipe(m_out) != 0)
            throw std::runtime_error("no pipes");
        const auto count = static_cast<std::uint32_t>(records.size());
        std::string input(reinterpret_cast<const char*>(&count), sizeof count);
        for (const Names& names : records) {
            VTUISelectItem_ item{};
            std::strcpy(item.primary_name, names.primary.c_str());
            std::strcpy(item.friendly_name, names.friendly.c_str());
            std::strcpy(item.unique_name, names.unique.c_str());
            input.append(reinterpret_cast<const char*>(&item), sizeof item);
        }
        std::thread writer([&] {
            EXPECT_EQ(write(in[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
            close(in[1]);
        });
        m_dialog = std::make_unique<SelectContainerDialog>(Pipe(in[0], m_out[1]));
        writer.join();
        close(in[0]);
        m_view = GTK_TREE_VIEW(Find("xvtui-containers"));
    }
    ~Dialog()
    {
        m_dialog.reset();
        close(m_out[0]);
        close(m_out[1]);
    }

    GtkWidget* Find(const char* name) const { return FindInToplevels(name); }
    GtkTreeViewColumn* Column(int i) const { return gtk_tree_view_get_column(m_view, i); }
    // Which of the three view columns are visible, as "101".
    std::string Shown() const
    {
        std::string shown;
        for (int i = 0; i < 3; ++i)
            shown += gtk_tree_view_column_get_visible(Column(i)) ? '1' : '0';
        return shown;
    }
    void Select(int row) const
    {
        GtkTreePath* path = gtk_tree_path_new_from_indices(row, -1);
        gtk_tree_selection_select_path(gtk_tree_view_get_selection(m_view), path);
        gtk_tree_path_free(path);
    }
    // Shows the dialog, does `act` and clicks OK from within its main loop,
    // then returns the answer the dialog writes.
    VTUISelectItem_ ClickOk(std::function<void()> act) const
    {
        return ClickOkWhen([act] { return act(), true; });
    }
    // The same, `step` run every 10 ms until it returns true.
    VTUISelectItem_ ClickOkWhen(std::function<bool()> step) const
    {
        WhenReady([this, step] {
            if (!step())
                return false;
            gtk_button_clicked(GTK_BUTTON(Find("xvtui-ok")));
            return true;
        });
        EXPECT_EQ(m_dialog->ShowDialog(), 0u);
        m_dialog->PrintResultToPipe();
        VTUISelectItem_ answer;
        EXPECT_EQ(read(m_out[0], &answer, sizeof answer), static_cast<ssize_t>(sizeof answer));
        return answer;
    }

    GtkTreeView* m_view = nullptr;

private:
    std::unique_ptr<SelectContainerDialog> m_dialog;
    int m_out[2] = {-1, -1};
};

const std::vector<Names> kRecords = {
    {"c-alpha", "Zeta", "u-3"},
    {"c-beta", "Alpha", "u-1"},
    {"c-gamma", "Mu", "u-2"},
};

using ContainerDialog = GuiTest;

TEST_F(ContainerDialog, RadioButtonsSwitchTheSecondColumn)
{
    Dialog d(kRecords);
    EXPECT_STREQ(gtk_tree_view_column_get_title(d.Column(0)), "Key container");
    EXPECT_STREQ(gtk_tree_view_column_get_title(d.Column(1)), "Friendly name");
    EXPECT_STREQ(gtk_tree_view_column_get_title(d.Column(2)), "Unique name");
    GtkButton* unique = GTK_BUTTON(d.Find("xvtui-unique-radio"));
    GtkButton* friendly = GTK_BUTTON(d.Find("xvtui-friendly-radio"));
    EXPECT_STREQ(gtk_button_get_label(friendly), "Friendly name");
    EXPECT_STREQ(gtk_button_get_label(unique), "Unique name");
    // The window's own labels, top to bottom: the countdown, the texts above
    // the table and above the radio buttons, the space above OK and Cancel.
    std::vector<std::string> labels;
    GtkWidget* mainBox = gtk_widget_get_parent(gtk_widget_get_parent(GTK_WIDGET(friendly)));
    GList* rows = gtk_container_get_children(GTK_CONTAINER(mainBox));
    for (GList* row = rows; row != nullptr; row = row->next)
        if (GTK_IS_LABEL(row->data))
            labels.push_back(gtk_label_get_text(GTK_LABEL(row->data)));
    g_list_free(rows);
    EXPECT_EQ(labels, (std::vector<std::string>{"", "Select a key container:", "Show the containers by:", "\n"}));
    EXPECT_EQ(d.Shown(), "110");
    gtk_button_clicked(unique);
    EXPECT_EQ(d.Shown(), "101");
    gtk_button_clicked(unique); // already active: stays
    EXPECT_EQ(d.Shown(), "101");
    gtk_button_clicked(friendly);
    EXPECT_EQ(d.Shown(), "110");
}

// OK answers the row under the selection, wherever sorting moved it.
TEST_F(ContainerDialog, SortedTableAnswersTheSelectedRow)
{
    const struct {
        int column;
        int clicks; // on the header: ascending, then descending
        int row;
        const char* primary;
        const char* friendly;
    } cases[] = {
        {2, 1, 0, "c-beta", "Alpha"},  // u-1 first
        {2, 2, 0, "c-alpha", "Zeta"},  // u-3 first
        {1, 1, 1, "c-gamma", "Mu"},    // Alpha, Mu, Zeta
        {0, 2, 2, "c-alpha", "Zeta"},  // gamma, beta, alpha
        {0, 0, 1, "c-beta", "Alpha"},  // unsorted: input order
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.column) + " " + std::to_string(c.clicks));
        Dialog d(kRecords);
        const VTUISelectItem_ answer = d.ClickOk([&] {
            if (c.column == 2)
                gtk_button_clicked(GTK_BUTTON(d.Find("xvtui-unique-radio")));
            for (int i = 0; i < c.clicks; ++i)
                gtk_tree_view_column_clicked(d.Column(c.column));
            d.Select(c.row);
        });
        EXPECT_EQ(FieldText(answer.primary_name), c.primary);
        EXPECT_EQ(FieldText(answer.friendly_name), c.friendly);
        EXPECT_EQ(FieldText(answer.unique_name), "");
    }
}

TEST_F(ContainerDialog, NoRowSelectedAnswersTheEmptyRecord)
{
    Dialog d(kRecords);
    const VTUISelectItem_ answer =
        d.ClickOk([&] { gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(d.m_view)); });
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&answer), sizeof answer), std::string(sizeof answer, '\0'));
}

// The view is no taller than the list's box, whatever the number of rows (as
// tall as its rows it would pass the 32767 pixels an X window may have), and
// scrolls itself to the cursor.
TEST_F(ContainerDialog, ManyRowsScrollWithinTheView)
{
    std::vector<Names> many;
    for (int i = 0; i < 2000; ++i)
        many.push_back({"p-" + std::to_string(i), "row " + std::to_string(i), ""});
    Dialog d(many);
    GtkAdjustment* scroll = gtk_tree_view_get_vadjustment(d.m_view);
    bool cursorSet = false;
    const VTUISelectItem_ answer = d.ClickOkWhen([&] {
        if (!gtk_widget_get_mapped(GTK_WIDGET(d.m_view)))
            return false;
        GtkAllocation view;
        gtk_widget_get_allocation(GTK_WIDGET(d.m_view), &view);
        if (view.height > 400) {
            ADD_FAILURE() << "the view is " << view.height << " pixels tall";
            return true;
        }
        if (!cursorSet) {
            GtkTreePath* last = gtk_tree_path_new_from_indices(1999, -1);
            gtk_tree_view_set_cursor(d.m_view, last, nullptr, FALSE);
            gtk_tree_path_free(last);
            cursorSet = true;
        }
        const double value = gtk_adjustment_get_value(scroll);
        return value > 0 && value + gtk_adjustment_get_page_size(scroll) >= gtk_adjustment_get_upper(scroll) - 1;
    });
    EXPECT_EQ(FieldText(answer.primary_name), "p-1999");
}

} // namespace
