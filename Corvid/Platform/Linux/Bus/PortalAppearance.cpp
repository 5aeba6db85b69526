#include "Platform/Linux/Bus/PortalAppearance.h"

#include "Platform/Linux/Bus/SessionBus.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stop_token>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *portalName = "org.freedesktop.portal.Desktop";
constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *settingsInterface = "org.freedesktop.portal.Settings";
constexpr const char *appearanceNames = "org.freedesktop.appearance";
constexpr const char *interfaceNames = "org.gnome.desktop.interface";

struct ContextUnref {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
};
struct VariantUnref {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using VariantPointer = std::unique_ptr<GVariant, VariantUnref>;

// Any channel outside 0 to 1 means that no accent colour is set.
std::optional<quint32> accentOf(GVariant *value) {
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE("(ddd)")))
        return std::nullopt;
    std::array<double, 3> channels{};
    g_variant_get(value, "(ddd)", &channels[0], &channels[1], &channels[2]);
    quint32 colour = 0;
    for (const double channel : channels) {
        if (!(channel >= 0 && channel <= 1))
            return std::nullopt;
        colour = colour << 8 | static_cast<quint32>(std::lround(channel * 255));
    }
    return colour;
}

bool isOne(GVariant *value) {
    return g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32) && g_variant_get_uint32(value) == 1;
}

ColorScheme colorSchemeOf(GVariant *value) {
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32))
        return ColorScheme::NoPreference;
    switch (g_variant_get_uint32(value)) {
    case 1:
        return ColorScheme::Dark;
    case 2:
        return ColorScheme::Light;
    default:
        return ColorScheme::NoPreference;
    }
}

// "Cantarell 11" → "Cantarell"
QString familyOf(GVariant *value) {
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        return {};
    const QString font = QString::fromUtf8(g_variant_get_string(value, nullptr)).trimmed();
    const qsizetype space = font.lastIndexOf(u' ');
    bool endsInSize = false;
    font.sliced(space + 1).toDouble(&endsInSize);
    return endsInSize && space > 0 ? font.left(space) : font;
}

void apply(Appearance &appearance, const char *names, const char *key, GVariant *value) {
    const auto is = [&](const char *wantedNames, const char *wantedKey) {
        return std::strcmp(names, wantedNames) == 0 && std::strcmp(key, wantedKey) == 0;
    };
    if (is(appearanceNames, "accent-color"))
        appearance.accent = accentOf(value);
    else if (is(appearanceNames, "color-scheme"))
        appearance.colorScheme = colorSchemeOf(value);
    else if (is(appearanceNames, "contrast"))
        appearance.highContrast = isOne(value);
    else if (is(appearanceNames, "reduced-motion"))
        appearance.motion = !isOne(value);
    else if (is(interfaceNames, "enable-animations"))
        appearance.motion =
            !g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) || g_variant_get_boolean(value);
    // KDE's font reaches Qt by itself; what its portal says of another desktop's is no choice of
    // the user's.
    else if (is(interfaceNames, "font-name") &&
             !qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("KDE"))
        appearance.fontFamily = familyOf(value);
}

/** Talks to the portal on the thread that makes it. */
class PortalSettings {
public:
    explicit PortalSettings(GCancellable *cancellable) : cancellable_(cancellable) {
        g_main_context_push_thread_default(context_.get());
        bus_ = sessionBus(cancellable);
        if (!bus_)
            return;
        // Before asking, so that no change falls in between.
        subscription_ = g_dbus_connection_signal_subscribe(
            bus_.get(), portalName, settingsInterface, "SettingChanged", portalPath, nullptr,
            G_DBUS_SIGNAL_FLAGS_NONE, &changed, this, nullptr);
        readAll();
    }
    PortalSettings(const PortalSettings &) = delete;
    PortalSettings &operator=(const PortalSettings &) = delete;
    ~PortalSettings() {
        if (bus_)
            g_dbus_connection_signal_unsubscribe(bus_.get(), subscription_);
        g_main_context_pop_thread_default(context_.get());
    }

    GMainContext *context() const { return context_.get(); }
    bool hasBus() const { return bus_ != nullptr; }
    const Appearance &appearance() const { return appearance_; }

private:
    void readAll() {
        const std::array<const char *, 2> wanted{appearanceNames, interfaceNames};
        const VariantPointer reply(g_dbus_connection_call_sync(
            bus_.get(), portalName, portalPath, settingsInterface, "ReadAll",
            g_variant_new("(@as)", g_variant_new_strv(wanted.data(), wanted.size())),
            G_VARIANT_TYPE("(a{sa{sv}})"), G_DBUS_CALL_FLAGS_NONE, -1, cancellable_, nullptr));
        if (!reply)
            return;
        GVariantIter *namespaces = nullptr;
        g_variant_get(reply.get(), "(a{sa{sv}})", &namespaces);
        const char *names = nullptr;
        GVariantIter *settings = nullptr;
        while (g_variant_iter_loop(namespaces, "{&sa{sv}}", &names, &settings)) {
            const char *key = nullptr;
            GVariant *value = nullptr;
            while (g_variant_iter_loop(settings, "{&sv}", &key, &value))
                apply(appearance_, names, key, value);
        }
        g_variant_iter_free(namespaces);
    }

    static void changed(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                        const char * /*interface*/, const char * /*signal*/, GVariant *arguments,
                        gpointer self) {
        if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ssv)")))
            return;
        const char *names = nullptr;
        const char *key = nullptr;
        GVariant *value = nullptr;
        g_variant_get(arguments, "(&s&sv)", &names, &key, &value);
        apply(static_cast<PortalSettings *>(self)->appearance_, names, key, value);
        g_variant_unref(value);
    }

    GCancellable *cancellable_;
    std::unique_ptr<GMainContext, ContextUnref> context_{g_main_context_new()};
    GObjectPointer<GDBusConnection> bus_;
    guint subscription_ = 0;
    Appearance appearance_;
};

} // namespace

PortalAppearance::PortalAppearance() {
    thread_ = std::jthread([this](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> cancellable(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(cancellable.get()); });
        PortalSettings settings(cancellable.get());
        const std::stop_callback wake(stop, [&] { g_main_context_wakeup(settings.context()); });
        Appearance told;
        while (settings.hasBus() && !stop.stop_requested()) {
            if (settings.appearance() != told) {
                told = settings.appearance();
                QMetaObject::invokeMethod(
                    &receiver_, [this, told] { install(told); }, Qt::QueuedConnection);
            }
            g_main_context_iteration(settings.context(), TRUE);
        }
    });
}

PortalAppearance::~PortalAppearance() = default;

void PortalAppearance::install(const Appearance &appearance) {
    current_ = appearance;
    if (onChange)
        onChange();
}

} // namespace corvid
