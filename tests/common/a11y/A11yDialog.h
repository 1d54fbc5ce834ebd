// A11yDialog.h: a helper's dialog on screen with the accessibility bridge
// loaded, its tree read once it is complete. Header-only, like Blackbox.h.
#pragma once

#include "common/Blackbox.h"
#include "common/a11y/AccessibilityBus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace testkit {

// Fails the test when `secret` is in any string the bus reported: a name, a
// description or a text of the tree, or an event's source name or payload.
inline void ExpectAbsent(const std::string& secret, const A11yNode& tree, const std::vector<A11yEvent>& events)
{
    for (const std::string& text : tree.Strings())
        EXPECT_EQ(text.find(secret), std::string::npos) << "in the tree: " << text;
    for (const A11yEvent& event : events) {
        EXPECT_EQ(event.sourceName.find(secret), std::string::npos) << event.type << " from " << event.sourceName;
        EXPECT_EQ(event.data.find(secret), std::string::npos) << event.type << " carried " << event.data;
    }
}

// The names of the tree's nodes of `role`, sorted (a table lists its
// children last attached first).
inline std::vector<std::string> NamesOf(const A11yNode& tree, const std::string& role)
{
    std::vector<std::string> names;
    for (const A11yNode* node : tree.FindAll([&](const A11yNode& n) { return n.role == role; }))
        names.push_back(node->name);
    std::sort(names.begin(), names.end());
    return names;
}

// Starts the request's helper with the bridge, focuses its window and reads
// its tree once a node `ready` accepts is in it (by default, once a widget in
// it has the focus).
class A11yDialog {
public:
    A11yDialog(AccessibilityBus& bus, Sandbox& sandbox, const xvtui::client::Request& request,
               std::function<bool(const A11yNode&)> ready = HasFocus)
        : m_bus((bus.Prepare(sandbox), bus)), m_dialog(request, sandbox, m_x),
          m_tree(bus.WaitForWindow(m_dialog.Process().Pid(), ready, kWindowTimeout))
    {
    }

    static bool HasFocus(const A11yNode& node) { return node.focused && node.role != "frame"; }

    XClient& X() { return m_x; }
    ShownDialog& Dialog() { return m_dialog; }
    const A11yNode& Tree() const { return m_tree; }
    // Reads the tree again (ASSERTs that the window is still there).
    const A11yNode& Reread()
    {
        std::optional<A11yNode> tree = m_bus.Window(m_dialog.Process().Pid());
        if (tree)
            m_tree = std::move(*tree);
        EXPECT_TRUE(tree.has_value()) << "the window left the bus";
        return m_tree;
    }

private:
    XClient m_x;
    AccessibilityBus& m_bus;
    ShownDialog m_dialog;
    A11yNode m_tree;
};

} // namespace testkit
