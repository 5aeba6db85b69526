#include "Platform/Linux/Bus/PortalFolderDialog.h"

#include "Platform/Linux/Bus/SessionBus.h"

#include <QGuiApplication>
#include <QUrl>
#include <QWindow>

#include <stop_token>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *portalName = "org.freedesktop.portal.Desktop";
constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *chooserInterface = "org.freedesktop.portal.FileChooser";
constexpr const char *requestInterface = "org.freedesktop.portal.Request";
constexpr guint32 firstWithFolders = 3; // version of the interface
constexpr int patienceMs = 3'000;       // the portal may have to be started

struct ContextUnref {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
};
struct VariantUnref {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using VariantPointer = std::unique_ptr<GVariant, VariantUnref>;

/** Asks the portal once, on the thread that makes it. */
class Request {
public:
    Request(quint64 choice, QByteArray window, QByteArray prompt, GCancellable *cancellable)
        : token_("corvid_folders_" + QByteArray::number(choice)), window_(std::move(window)),
          prompt_(std::move(prompt)), cancellable_(cancellable) {
        g_main_context_push_thread_default(context_.get());
    }
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;
    ~Request() { g_main_context_pop_thread_default(context_.get()); }

    GMainContext *context() const { return context_.get(); }

    /** Returns when the user has chosen; absent without a portal that could be asked. */
    std::optional<QStringList> run(const std::stop_token &stop) {
        bus_ = sessionBus(cancellable_);
        if (!bus_ || !choosesFolders())
            return std::nullopt;
        // Before asking, so that no answer falls in between.
        QByteArray sender = g_dbus_connection_get_unique_name(bus_.get()) + 1;
        const QByteArray path =
            QByteArray(portalPath) + "/request/" + sender.replace('.', '_') + '/' + token_;
        const guint response = g_dbus_connection_signal_subscribe(
            bus_.get(), portalName, requestInterface, "Response", path.constData(), nullptr,
            G_DBUS_SIGNAL_FLAGS_NONE, &answered, this, nullptr);
        const guint owner = g_dbus_connection_signal_subscribe(
            bus_.get(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
            "/org/freedesktop/DBus", portalName, G_DBUS_SIGNAL_FLAGS_NONE, &ownerChanged, this,
            nullptr);
        const bool asked =
            call("OpenFile",
                 g_variant_new("(ss@a{sv})", window_.constData(), "Add folders", options()),
                 chooserInterface, "(o)") != nullptr;
        while (asked && !chosen_ && !stop.stop_requested())
            g_main_context_iteration(context_.get(), TRUE);
        // Nobody waits for the answer; the cancellable would keep us from asking. Stopped amid the
        // call, the portal may have it all the same.
        if (!chosen_ && stop.stop_requested())
            g_dbus_connection_call(bus_.get(), portalName, path.constData(), requestInterface,
                                   "Close", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, patienceMs,
                                   nullptr, nullptr, nullptr);
        g_dbus_connection_signal_unsubscribe(bus_.get(), owner);
        g_dbus_connection_signal_unsubscribe(bus_.get(), response);
        return chosen_;
    }

private:
    VariantPointer call(const char *method, GVariant *arguments, const char *interface,
                        const char *replyType) const {
        return VariantPointer(g_dbus_connection_call_sync(
            bus_.get(), portalName, portalPath, interface, method, arguments,
            G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, patienceMs, cancellable_, nullptr));
    }

    bool choosesFolders() const {
        const VariantPointer reply = call("Get", g_variant_new("(ss)", chooserInterface, "version"),
                                          "org.freedesktop.DBus.Properties", "(v)");
        if (!reply)
            return false;
        GVariant *inner = nullptr;
        g_variant_get(reply.get(), "(v)", &inner);
        const VariantPointer version(inner);
        return g_variant_is_of_type(inner, G_VARIANT_TYPE_UINT32) &&
               g_variant_get_uint32(inner) >= firstWithFolders;
    }

    GVariant *options() const {
        GVariantBuilder options;
        g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&options, "{sv}", "handle_token",
                              g_variant_new_string(token_.constData()));
        g_variant_builder_add(&options, "{sv}", "accept_label",
                              g_variant_new_string(prompt_.constData()));
        for (const char *wish : {"modal", "directory", "multiple"})
            g_variant_builder_add(&options, "{sv}", wish, g_variant_new_boolean(TRUE));
        return g_variant_builder_end(&options);
    }

    static void answered(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                         const char * /*interface*/, const char * /*signal*/, GVariant *arguments,
                         gpointer self) {
        QStringList folders;
        if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})"))) {
            guint32 code = 0;
            GVariant *results = nullptr;
            g_variant_get(arguments, "(u@a{sv})", &code, &results);
            const VariantPointer owned(results);
            GVariantIter *uris = nullptr;
            if (code == 0 && g_variant_lookup(results, "uris", "as", &uris)) {
                const char *uri = nullptr;
                while (g_variant_iter_loop(uris, "&s", &uri)) {
                    const QString path = QUrl(QString::fromUtf8(uri)).toLocalFile();
                    if (!path.isEmpty())
                        folders.append(path);
                }
                g_variant_iter_free(uris);
            }
        }
        static_cast<Request *>(self)->chosen_ = folders;
    }

    static void ownerChanged(GDBusConnection * /*bus*/, const char * /*sender*/,
                             const char * /*path*/, const char * /*interface*/,
                             const char * /*signal*/, GVariant * /*arguments*/, gpointer self) {
        static_cast<Request *>(self)->chosen_ = QStringList();
    }

    QByteArray token_; ///< of its own for each, for the one before may just be closing
    QByteArray window_;
    QByteArray prompt_;
    GCancellable *cancellable_;
    std::unique_ptr<GMainContext, ContextUnref> context_{g_main_context_new()};
    GObjectPointer<GDBusConnection> bus_;
    std::optional<QStringList> chosen_;
};

// How portals call a window; empty for those that they cannot be told of.
QByteArray portalsNameOf(const QWindow &window) {
    if (QGuiApplication::platformName() != "xcb"_L1)
        return {};
    return "x11:" + QByteArray::number(window.winId(), 16);
}

} // namespace

PortalFolderDialog::~PortalFolderDialog() = default;

void PortalFolderDialog::choose(const QWindow &window, const QString &prompt, Done done) {
    const quint64 choice = ++choice_;
    // Ends the one before.
    thread_ = {};
    thread_ = std::jthread([this, choice, name = portalsNameOf(window), prompt = prompt.toUtf8(),
                            done = std::move(done)](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> cancellable(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(cancellable.get()); });
        Request request(choice, name, prompt, cancellable.get());
        const std::stop_callback wake(stop, [&] { g_main_context_wakeup(request.context()); });
        const std::optional<QStringList> folders = request.run(stop);
        if (stop.stop_requested())
            return;
        QMetaObject::invokeMethod(
            &receiver_,
            [this, choice, folders, done] {
                if (choice == choice_)
                    done(folders);
            },
            Qt::QueuedConnection);
    });
}

} // namespace corvid
