// Assistive technology, as far as the scripts beside it need one: reads what programs on the
// accessibility bus of the session show, and has them act.
//
//   AccessClient tree                   prints what there is in windows, each in its parent:
//                                       ROLE "NAME" "DESCRIPTION" X Y WIDTH HEIGHT STATES (ACTIONS)
//                                       with places in the coordinates of the window, of the states
//                                       those of `kStates`, and of actions the names
//   AccessClient find ROLE NAME         prints the line of the one of this role and name: of
//   several,
//                                       the first that the keyboard reaches, or else the first
//   AccessClient act ROLE NAME ACTION   has it do so
//   AccessClient watch                  prints "watching", and then until it is ended:
//                                       name "NEW NAME" / description "NEW ONE" / focus ROLE "NAME"
//
// Its status is 1 where there is no such thing, and 2 where there is no bus.
#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kAction = "org.a11y.atspi.Action";
constexpr const char* kComponent = "org.a11y.atspi.Component";
constexpr const char* kObjectEvents = "org.a11y.atspi.Event.Object";

/// By the numbers they have in the protocol. What cannot be acted on is not sensitive.
constexpr int kFocusable = 11;
constexpr std::array<std::pair<int, const char*>, 4> kStates = {
    {{4, "checked"}, {kFocusable, "focusable"}, {12, "focused"}, {24, "sensitive"}}};
constexpr std::uint32_t kInWindow = 1;  // as coordinates are meant

/// Results own what they hold.
using Variant = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

GDBusConnection* bus = nullptr;

/// Where something accessible is on the bus.
struct Place {
    std::string program;
    std::string path;
};

Variant call(const Place& place, const char* interface, const char* method, GVariant* arguments) {
    return {g_dbus_connection_call_sync(bus, place.program.c_str(), place.path.c_str(), interface,
                                        method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000,
                                        nullptr, nullptr),
            g_variant_unref};
}

/// Something accessible, as it is when it is read.
struct Accessible {
    Place place;
    std::string role;
    std::string name;
    std::string description;
    std::array<int, 4> extents = {0, 0, 0, 0};
    std::uint64_t states = 0;
    std::vector<std::string> actions;

    std::string line() const;
};

std::string Accessible::line() const {
    std::string text = role + " \"" + name + "\" \"" + description + "\"";
    for (const int number : extents) {
        text += " " + std::to_string(number);
    }
    for (const auto& [number, state] : kStates) {
        if ((states >> number & 1U) != 0) {
            text += std::string(" ") + state;
        }
    }
    std::vector<std::string> sorted = actions;  // toolkits have them in any order
    std::sort(sorted.begin(), sorted.end());
    for (const std::string& action : sorted) {
        text += " (" + action + ")";
    }
    return text;
}

std::string property(const Place& place, const char* name) {
    const Variant reply = call(place, "org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", kAccessible, name));
    if (!reply) {
        return {};
    }
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    const Variant value(boxed, g_variant_unref);
    return g_variant_get_string(value.get(), nullptr);
}

std::vector<std::string> actionsOf(const Place& place) {
    std::vector<std::string> actions;
    if (const Variant reply = call(place, kAction, "GetActions", nullptr)) {
        GVariantIter* rows = nullptr;
        g_variant_get(reply.get(), "(a(sss))", &rows);
        const char* name = nullptr;
        while (g_variant_iter_next(rows, "(&s&s&s)", &name, nullptr, nullptr) != FALSE) {
            actions.emplace_back(name);
        }
        g_variant_iter_free(rows);
    }
    return actions;
}

Accessible read(const Place& place) {
    Accessible accessible;
    accessible.place = place;
    accessible.name = property(place, "Name");
    accessible.description = property(place, "Description");
    if (const Variant reply = call(place, kAccessible, "GetRoleName", nullptr)) {
        const char* role = nullptr;
        g_variant_get(reply.get(), "(&s)", &role);
        accessible.role = role;
    }
    if (const Variant reply = call(place, kAccessible, "GetState", nullptr)) {
        GVariantIter* words = nullptr;
        g_variant_get(reply.get(), "(au)", &words);
        std::uint32_t word = 0;
        for (unsigned shift = 0; g_variant_iter_next(words, "u", &word) != FALSE; shift += 32) {
            accessible.states |= std::uint64_t(word) << shift;
        }
        g_variant_iter_free(words);
    }
    if (const Variant reply =
            call(place, kComponent, "GetExtents", g_variant_new("(u)", kInWindow))) {
        auto& box = accessible.extents;
        g_variant_get(reply.get(), "((iiii))", &box[0], &box[1], &box[2], &box[3]);
    }
    accessible.actions = actionsOf(place);
    return accessible;
}

std::vector<Place> childrenOf(const Place& place) {
    std::vector<Place> children;
    if (const Variant reply = call(place, kAccessible, "GetChildren", nullptr)) {
        GVariantIter* rows = nullptr;
        g_variant_get(reply.get(), "(a(so))", &rows);
        const char* program = nullptr;
        const char* path = nullptr;
        while (g_variant_iter_next(rows, "(&s&o)", &program, &path) != FALSE) {
            children.push_back({program, path});
        }
        g_variant_iter_free(rows);
    }
    return children;
}

/// Calls `see` with all there is below a place until it answers false.
/// @return whether it has not
bool visit(const Place& place, int depth,
           const std::function<bool(const Accessible& seen, int depth)>& see) {
    for (const Place& child : childrenOf(place)) {
        if (!see(read(child), depth) || !visit(child, depth + 1, see)) {
            return false;
        }
    }
    return true;
}

const Place kAll = {"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};

std::optional<Accessible> find(const std::string& role, const std::string& name) {
    std::optional<Accessible> found;
    visit(kAll, 0, [&](const Accessible& seen, int) {
        const bool isReached = (seen.states >> kFocusable & 1U) != 0;
        if (seen.role == role && seen.name == name && (!found || isReached)) {
            found = seen;
            return !isReached;
        }
        return true;
    });
    return found;
}

bool act(const Accessible& accessible, const std::string& action) {
    for (std::size_t i = 0; i < accessible.actions.size(); ++i) {
        if (accessible.actions[i] == action) {
            const Variant reply = call(accessible.place, kAction, "DoAction",
                                       g_variant_new("(i)", static_cast<int>(i)));
            gboolean isDone = FALSE;
            if (reply) {
                g_variant_get(reply.get(), "(b)", &isDone);
            }
            return isDone != FALSE;
        }
    }
    return false;
}

void printEvent(GDBusConnection*, const char* program, const char* path, const char*,
                const char* signal, GVariant* arguments, gpointer) {
    if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(siiva{sv})")) == FALSE) {
        return;  // as some toolkits have it for children that come and go
    }
    const char* what = nullptr;
    std::int32_t value = 0;
    GVariant* boxed = nullptr;
    g_variant_get(arguments, "(&siiv@a{sv})", &what, &value, nullptr, &boxed, nullptr);
    const Variant detail(boxed, g_variant_unref);
    const std::string kind = std::string(signal) + " " + what;
    if (kind == "PropertyChange accessible-name") {
        std::printf("name \"%s\"\n", g_variant_get_string(detail.get(), nullptr));
    } else if (kind == "PropertyChange accessible-description") {
        std::printf("description \"%s\"\n", g_variant_get_string(detail.get(), nullptr));
    } else if (kind == "StateChanged focused" && value != 0) {
        const Accessible now = read({program, path});
        std::printf("focus %s \"%s\"\n", now.role.c_str(), now.name.c_str());
    }
}

int watch() {
    g_dbus_connection_signal_subscribe(bus, nullptr, kObjectEvents, nullptr, nullptr, nullptr,
                                       G_DBUS_SIGNAL_FLAGS_NONE, printEvent, nullptr, nullptr);
    call({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, "org.freedesktop.DBus", "GetId",
         nullptr);
    std::puts("watching");
    for (;;) {
        g_main_context_iteration(nullptr, TRUE);
    }
}

bool connect() {
    bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (bus == nullptr) {
        return false;
    }
    const Variant reply =
        call({"org.a11y.Bus", "/org/a11y/bus"}, "org.a11y.Bus", "GetAddress", nullptr);
    if (!reply) {
        return false;
    }
    const char* address = nullptr;
    g_variant_get(reply.get(), "(&s)", &address);
    bus = g_dbus_connection_new_for_address_sync(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    return bus != nullptr;
}

}  // namespace

int main(int count, char** arguments) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.empty() || !connect()) {
        std::puts("there is no accessibility bus");
        return 2;
    }
    if (words[0] == "watch") {
        return watch();
    }
    if (words[0] == "tree") {
        visit(kAll, 0, [](const Accessible& seen, int depth) {
            if (depth > 0) {
                std::printf("%*s%s\n", 2 * (depth - 1), "", seen.line().c_str());
            }
            return true;
        });
        return 0;
    }
    const auto found = words.size() > 2 ? find(words[1], words[2]) : std::nullopt;
    if (!found) {
        return 1;
    }
    if (words[0] == "find") {
        std::puts(found->line().c_str());
        return 0;
    }
    return words.size() > 3 && act(*found, words[3]) ? 0 : 1;
}
