// AccessibilityBus.h: what a screen reader sees of the helper. A private D-Bus
// session bus with the accessibility bus behind it (started by D-Bus
// activation, as on a desktop), shared by this test process and the helpers it
// starts; the helper's accessible tree read through libatspi, and the events
// its bridge sends. Every wait has a deadline; failures throw
// std::runtime_error.
#pragma once

#include "common/Sandbox.h"
#include "common/XClient.h"

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace testkit {

// A copy of one accessible object and its subtree, as the bus reported it.
struct A11yNode {
    std::string role; // AT-SPI role name: "password text", "push button", ...
    std::string name;
    std::string description;
    std::optional<std::string> text;   // the Text interface's whole text
    std::optional<double> value;       // the Value interface's current value
    std::vector<std::string> columns;  // a table's column headers, by their names
    std::vector<std::string> labelledBy; // names of the targets of these relations
    std::vector<std::string> labelFor;
    bool focused = false;
    bool showing = false;
    bool sensitive = false;
    bool checked = false;
    std::vector<A11yNode> children;

    // Depth-first, this node first; nullptr when none matches.
    const A11yNode* Find(const std::function<bool(const A11yNode&)>& matches) const;
    std::vector<const A11yNode*> FindAll(const std::function<bool(const A11yNode&)>& matches) const;
    const A11yNode* FindRole(const std::string& role, size_t index = 0) const;
    const A11yNode* FindName(const std::string& name) const;
    // Every name, description and text in the subtree.
    std::vector<std::string> Strings() const;
};

// One event from the helper's bridge.
struct A11yEvent {
    std::string type;       // "object:property-change:accessible-name", "object:text-changed:insert", ...
    std::string sourceRole;
    std::string sourceName; // as the source reported it when the event was read
    std::string data;       // the event's string payload, if it had one
};

// One per test process (libatspi connects once): see PrivateAccessibilityBus.
class AccessibilityBus {
public:
    // Starts the private session bus and connects this process to the
    // accessibility bus; the private Xvfb is started if needed.
    AccessibilityBus();
    ~AccessibilityBus();
    AccessibilityBus(const AccessibilityBus&) = delete;
    AccessibilityBus& operator=(const AccessibilityBus&) = delete;

    // Points a helper started with `sandbox`'s environment at the bus and
    // loads the toolkit's accessibility modules into it.
    void Prepare(Sandbox& sandbox) const;

    // The top-level window of the application whose process is `pid`, once a
    // node satisfying `ready` is in it (the whole tree is reread each time).
    A11yNode WaitForWindow(pid_t pid, const std::function<bool(const A11yNode&)>& ready, Millis timeout);
    // Reads the window again; nothing while the application is gone.
    std::optional<A11yNode> Window(pid_t pid);

    // Events seen since the last call (or since the bus started).
    std::vector<A11yEvent> TakeEvents();
    // Waits until an event that `matches` arrives and returns it; nullopt
    // when the deadline passes first. Events read meanwhile stay queued.
    std::optional<A11yEvent> WaitForEvent(const std::function<bool(const A11yEvent&)>& matches, Millis timeout);
    // Reads whatever the helper has sent by now: events until the bus has been
    // quiet for `quiet`.
    void Drain(Millis quiet = Millis(300));

private:
    void Pump(Millis wait);

    pid_t m_daemon = -1;
    std::string m_address;
    void* m_listener = nullptr; // AtspiEventListener
    std::vector<A11yEvent> m_events;
};

// The bus of this test process, started on first use and ended with the
// process; events left from an earlier test are dropped.
AccessibilityBus& PrivateAccessibilityBus();

} // namespace testkit
