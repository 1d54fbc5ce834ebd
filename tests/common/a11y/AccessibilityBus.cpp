// AccessibilityBus.cpp: the private session bus and the libatspi side.
#include "common/a11y/AccessibilityBus.h"

#include "common/Xvfb.h"

#include <atspi/atspi.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace testkit {
namespace {

using Clock = std::chrono::steady_clock;

// Takes a string libatspi allocated; "" for none.
std::string Take(gchar* text, GError*& error)
{
    std::string result = text != nullptr ? text : "";
    g_free(text);
    g_clear_error(&error);
    return result;
}

std::vector<std::string> TargetNames(AtspiRelation* relation)
{
    std::vector<std::string> names;
    for (gint i = 0; i < atspi_relation_get_n_targets(relation); ++i) {
        AtspiAccessible* target = atspi_relation_get_target(relation, i);
        if (target == nullptr)
            continue;
        GError* error = nullptr;
        names.push_back(Take(atspi_accessible_get_name(target, &error), error));
        g_object_unref(target);
    }
    return names;
}

A11yNode Read(AtspiAccessible* object)
{
    A11yNode node;
    GError* error = nullptr;
    node.role = Take(atspi_accessible_get_role_name(object, &error), error);
    node.name = Take(atspi_accessible_get_name(object, &error), error);
    node.description = Take(atspi_accessible_get_description(object, &error), error);
    if (AtspiText* text = atspi_accessible_get_text_iface(object)) {
        node.text = Take(atspi_text_get_text(text, 0, -1, &error), error);
        g_object_unref(text);
    }
    if (AtspiValue* value = atspi_accessible_get_value_iface(object)) {
        node.value = atspi_value_get_current_value(value, &error);
        g_clear_error(&error);
        g_object_unref(value);
    }
    if (AtspiTable* table = atspi_accessible_get_table_iface(object)) {
        const gint count = atspi_table_get_n_columns(table, &error);
        g_clear_error(&error);
        for (gint i = 0; i < count; ++i) {
            AtspiAccessible* header = atspi_table_get_column_header(table, i, &error);
            g_clear_error(&error);
            node.columns.push_back(header != nullptr ? Take(atspi_accessible_get_name(header, &error), error) : "");
            if (header != nullptr)
                g_object_unref(header);
        }
        g_object_unref(table);
    }
    if (GArray* relations = atspi_accessible_get_relation_set(object, &error)) {
        for (guint i = 0; i < relations->len; ++i) {
            AtspiRelation* relation = g_array_index(relations, AtspiRelation*, i);
            const AtspiRelationType type = atspi_relation_get_relation_type(relation);
            if (type == ATSPI_RELATION_LABELLED_BY)
                node.labelledBy = TargetNames(relation);
            else if (type == ATSPI_RELATION_LABEL_FOR)
                node.labelFor = TargetNames(relation);
            g_object_unref(relation);
        }
        g_array_free(relations, TRUE);
    }
    g_clear_error(&error);
    if (AtspiStateSet* states = atspi_accessible_get_state_set(object)) {
        node.focused = atspi_state_set_contains(states, ATSPI_STATE_FOCUSED);
        node.showing = atspi_state_set_contains(states, ATSPI_STATE_SHOWING);
        node.sensitive = atspi_state_set_contains(states, ATSPI_STATE_SENSITIVE);
        node.checked = atspi_state_set_contains(states, ATSPI_STATE_CHECKED);
        g_object_unref(states);
    }
    const gint count = atspi_accessible_get_child_count(object, &error);
    g_clear_error(&error);
    for (gint i = 0; i < count; ++i) {
        AtspiAccessible* child = atspi_accessible_get_child_at_index(object, i, &error);
        g_clear_error(&error);
        if (child == nullptr)
            continue;
        node.children.push_back(Read(child));
        g_object_unref(child);
    }
    return node;
}

// The application of process `pid` on the desktop, with its cache dropped so
// that everything is read afresh; nullptr when it is not there.
AtspiAccessible* Application(pid_t pid)
{
    AtspiAccessible* desktop = atspi_get_desktop(0);
    GError* error = nullptr;
    AtspiAccessible* found = nullptr;
    const gint count = atspi_accessible_get_child_count(desktop, &error);
    g_clear_error(&error);
    for (gint i = 0; i < count && found == nullptr; ++i) {
        AtspiAccessible* app = atspi_accessible_get_child_at_index(desktop, i, &error);
        g_clear_error(&error);
        if (app == nullptr)
            continue;
        if (static_cast<pid_t>(atspi_accessible_get_process_id(app, &error)) == pid)
            found = app;
        else
            g_object_unref(app);
        g_clear_error(&error);
    }
    g_object_unref(desktop);
    if (found != nullptr)
        atspi_accessible_clear_cache(found);
    return found;
}

void OnEvent(AtspiEvent* event, void* data)
{
    auto* events = static_cast<std::vector<A11yEvent>*>(data);
    A11yEvent copy;
    copy.type = event->type != nullptr ? event->type : "";
    if (event->source != nullptr) {
        GError* error = nullptr;
        copy.sourceRole = Take(atspi_accessible_get_role_name(event->source, &error), error);
        copy.sourceName = Take(atspi_accessible_get_name(event->source, &error), error);
    }
    if (G_VALUE_HOLDS_STRING(&event->any_data) && g_value_get_string(&event->any_data) != nullptr)
        copy.data = g_value_get_string(&event->any_data);
    events->push_back(std::move(copy));
    g_boxed_free(ATSPI_TYPE_EVENT, event);
}

// Everything a screen reader would speak from: names, descriptions, texts,
// values and focus.
constexpr const char* kEventTypes[] = {
    "object:property-change:accessible-name", "object:property-change:accessible-description",
    "object:property-change:accessible-value", "object:text-changed", "object:state-changed:focused",
    "object:state-changed:checked", "object:state-changed:showing", "object:children-changed",
    "object:selection-changed",
};

} // namespace

const A11yNode* A11yNode::Find(const std::function<bool(const A11yNode&)>& matches) const
{
    if (matches(*this))
        return this;
    for (const A11yNode& child : children)
        if (const A11yNode* found = child.Find(matches))
            return found;
    return nullptr;
}

std::vector<const A11yNode*> A11yNode::FindAll(const std::function<bool(const A11yNode&)>& matches) const
{
    std::vector<const A11yNode*> found;
    std::function<void(const A11yNode&)> walk = [&](const A11yNode& node) {
        if (matches(node))
            found.push_back(&node);
        for (const A11yNode& child : node.children)
            walk(child);
    };
    walk(*this);
    return found;
}

const A11yNode* A11yNode::FindRole(const std::string& wanted, size_t index) const
{
    const auto all = FindAll([&](const A11yNode& node) { return node.role == wanted; });
    return index < all.size() ? all[index] : nullptr;
}

const A11yNode* A11yNode::FindName(const std::string& wanted) const
{
    return Find([&](const A11yNode& node) { return node.name == wanted; });
}

std::vector<std::string> A11yNode::Strings() const
{
    std::vector<std::string> strings;
    for (const A11yNode* node : FindAll([](const A11yNode&) { return true; })) {
        strings.push_back(node->name);
        strings.push_back(node->description);
        if (node->text)
            strings.push_back(*node->text);
    }
    return strings;
}

AccessibilityBus::AccessibilityBus()
{
    PrivateDisplay(); // the bus launcher and the helpers need DISPLAY
    const char* argv[] = {"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1", nullptr};
    m_address = SpawnReady(argv, m_daemon, "accessibility bus: dbus-daemon reported no address");
    setenv("DBUS_SESSION_BUS_ADDRESS", m_address.c_str(), 1);
    unsetenv("AT_SPI_BUS_ADDRESS");
    setenv("NO_AT_BRIDGE", "1", 1); // this process only reads the tree
    if (atspi_init() > 1)
        throw std::runtime_error("accessibility bus: atspi_init failed");
    AtspiEventListener* listener = atspi_event_listener_new(OnEvent, &m_events, nullptr);
    m_listener = listener;
    for (const char* type : kEventTypes) {
        GError* error = nullptr;
        if (!atspi_event_listener_register(listener, type, &error)) {
            const std::string why = error != nullptr ? error->message : "";
            g_clear_error(&error);
            throw std::runtime_error("accessibility bus: cannot listen to " + std::string(type) + ": " + why);
        }
    }
}

AccessibilityBus::~AccessibilityBus()
{
    if (m_listener != nullptr) {
        auto* listener = static_cast<AtspiEventListener*>(m_listener);
        for (const char* type : kEventTypes)
            atspi_event_listener_deregister(listener, type, nullptr);
        g_object_unref(listener);
    }
    // The bus launcher and the registry end with the session bus.
    Terminate(m_daemon);
}

void AccessibilityBus::Prepare(Sandbox& sandbox) const
{
    sandbox.SetEnv("DBUS_SESSION_BUS_ADDRESS", m_address);
    sandbox.SetEnv("GTK_MODULES", "gail:atk-bridge");
    sandbox.UnsetEnv("NO_AT_BRIDGE");
}

void AccessibilityBus::Pump(Millis wait)
{
    const auto until = Clock::now() + wait;
    do {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        if (Clock::now() >= until)
            break;
        // Sleep in poll on the bus connections until something arrives or 20 ms pass.
        GSource* tick = g_timeout_source_new(20);
        g_source_set_callback(tick, [](gpointer) { return G_SOURCE_REMOVE; }, nullptr, nullptr);
        g_source_attach(tick, nullptr);
        g_main_context_iteration(nullptr, TRUE);
        g_source_destroy(tick);
        g_source_unref(tick);
    } while (Clock::now() < until);
}

std::optional<A11yNode> AccessibilityBus::Window(pid_t pid)
{
    Pump(Millis(0));
    AtspiAccessible* app = Application(pid);
    if (app == nullptr)
        return std::nullopt;
    std::optional<A11yNode> window;
    GError* error = nullptr;
    const gint count = atspi_accessible_get_child_count(app, &error);
    g_clear_error(&error);
    for (gint i = 0; i < count && !window; ++i) {
        AtspiAccessible* child = atspi_accessible_get_child_at_index(app, i, &error);
        g_clear_error(&error);
        if (child == nullptr)
            continue;
        A11yNode node = Read(child);
        if (node.showing)
            window = std::move(node);
        g_object_unref(child);
    }
    g_object_unref(app);
    return window;
}

A11yNode AccessibilityBus::WaitForWindow(pid_t pid, const std::function<bool(const A11yNode&)>& ready,
                                         Millis timeout)
{
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        if (std::optional<A11yNode> window = Window(pid); window && window->Find(ready))
            return *window;
        if (Clock::now() >= deadline)
            throw std::runtime_error("accessibility bus: the helper's window did not appear");
        Pump(Millis(50));
    }
}

std::vector<A11yEvent> AccessibilityBus::TakeEvents()
{
    Pump(Millis(0));
    std::vector<A11yEvent> taken;
    taken.swap(m_events);
    return taken;
}

std::optional<A11yEvent> AccessibilityBus::WaitForEvent(const std::function<bool(const A11yEvent&)>& matches,
                                                        Millis timeout)
{
    const auto deadline = Clock::now() + timeout;
    size_t seen = 0;
    for (;;) {
        for (; seen < m_events.size(); ++seen)
            if (matches(m_events[seen]))
                return m_events[seen];
        if (Clock::now() >= deadline)
            return std::nullopt;
        Pump(Millis(20));
    }
}

void AccessibilityBus::Drain(Millis quiet)
{
    // A countdown may talk every second: give up waiting for silence after a while.
    for (int round = 0; round < 10; ++round) {
        const size_t before = m_events.size();
        Pump(quiet);
        if (m_events.size() == before)
            break;
    }
}

AccessibilityBus& PrivateAccessibilityBus()
{
    static AccessibilityBus bus;
    bus.TakeEvents();
    return bus;
}

} // namespace testkit
