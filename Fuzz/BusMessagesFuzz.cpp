// What portals reply and signal and what other programs call, with arguments of any type: read as
// what they are or left alone. The messages are real ones, sent over a connection of two peers
// within this process, so that Qt takes them apart as it does in earnest.
#include "FuzzInput.h"
#include "Platform/Linux/Bus/BusInstance.h"
#include "Platform/Linux/Bus/PortalReplies.h"
#include "Platform/ReleasedBy.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServer>

#include <dbus/dbus.h>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <string>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

using Message = std::unique_ptr<DBusMessage, ReleasedBy<dbus_message_unref>>;

constexpr std::array signatures{
    "a{sa{sv}}", "ssv", "ua{sv}", "osta{sv}", "oa(sa{sv})", "sava{sv}", "a{sv}", "asa{sv}",
    "v",         "as",  "o",      "s",        "(ddd)",      "u",        "b",     "a(sa{sv})",
    "ay",        "d",   "aav",    "(uv)",     "h",          "x",        "g",     ""};

constexpr std::array words{"org.freedesktop.appearance",
                           "org.gnome.desktop.interface",
                           "accent-color",
                           "color-scheme",
                           "contrast",
                           "reduced-motion",
                           "enable-animations",
                           "font-name",
                           "Sans 11",
                           "uris",
                           "file:///home/a%20b",
                           "trigger_description",
                           "activation_token",
                           "toggle-ALT+K",
                           "show",
                           "toggle",
                           "settings",
                           "/session/1"};

/** Fills a message with values that the input chooses. */
class Filler {
public:
    Filler(const std::uint8_t *data, std::size_t size) : at_(data), end_(data + size) {}

    std::uint8_t byte() { return at_ < end_ ? *at_++ : std::uint8_t{0}; }
    const char *signature() { return signatures[byte() % signatures.size()]; }

    void append(DBusMessageIter &to, const char *signature, int depth = 0) {
        if (*signature == '\0')
            return;
        DBusSignatureIter types;
        dbus_signature_iter_init(&types, signature);
        do {
            appendOne(to, types, depth);
        } while (dbus_signature_iter_next(&types));
    }

private:
    void appendOne(DBusMessageIter &to, const DBusSignatureIter &type, int depth) {
        const int kind = dbus_signature_iter_get_current_type(&type);
        if (kind == DBUS_TYPE_VARIANT)
            appendVariant(to, depth);
        else if (dbus_type_is_container(kind))
            appendContainer(to, type, kind, depth);
        else
            appendBasic(to, kind);
    }

    void appendVariant(DBusMessageIter &to, int depth) {
        const char *inner = depth < 12 ? signature() : "s";
        if (!dbus_signature_validate_single(inner, nullptr))
            inner = "s";
        DBusMessageIter box;
        dbus_message_iter_open_container(&to, DBUS_TYPE_VARIANT, inner, &box);
        append(box, inner, depth + 1);
        dbus_message_iter_close_container(&to, &box);
    }

    void appendContainer(DBusMessageIter &to, const DBusSignatureIter &type, int kind, int depth) {
        DBusSignatureIter inner;
        dbus_signature_iter_recurse(&type, &inner);
        DBusMessageIter box;
        if (kind == DBUS_TYPE_ARRAY) {
            char *element = dbus_signature_iter_get_signature(&inner);
            dbus_message_iter_open_container(&to, kind, element, &box);
            for (int left = byte() % 4; left > 0; --left)
                appendOne(box, inner, depth + 1);
            dbus_free(element);
        } else {
            dbus_message_iter_open_container(&to, kind, nullptr, &box);
            do {
                appendOne(box, inner, depth + 1);
            } while (dbus_signature_iter_next(&inner));
        }
        dbus_message_iter_close_container(&to, &box);
    }

    void appendBasic(DBusMessageIter &to, int kind) {
        if (kind == DBUS_TYPE_UNIX_FD) {
            const int file = 0;
            dbus_message_iter_append_basic(&to, kind, &file);
        } else if (dbus_type_is_fixed(kind)) {
            DBusBasicValue value{};
            const std::uint8_t first = byte();
            if (kind == DBUS_TYPE_BOOLEAN)
                value.bool_val = first & 1;
            else if (kind == DBUS_TYPE_DOUBLE)
                value.dbl = first == 255 ? std::numeric_limits<double>::quiet_NaN() : first / 128.0;
            else if (first < 16)
                value.u64 = first;
            else
                for (int i = 0; i < 8; ++i)
                    value.u64 = value.u64 << 8 | byte();
            dbus_message_iter_append_basic(&to, kind, &value);
        } else {
            const std::string value = text(kind);
            const char *const start = value.c_str();
            dbus_message_iter_append_basic(&to, kind, &start);
        }
    }

    std::string text(int kind) {
        const std::uint8_t choice = byte();
        std::string value;
        if (choice < 128) {
            value = words[choice % words.size()];
        } else {
            for (int left = choice & 31; left > 0; --left)
                if (const std::uint8_t next = byte())
                    value += static_cast<char>(next);
        }
        if (kind == DBUS_TYPE_OBJECT_PATH)
            return dbus_validate_path(value.c_str(), nullptr) ? value : "/session/1";
        if (kind == DBUS_TYPE_SIGNATURE)
            return !value.empty() && dbus_signature_validate(value.c_str(), nullptr) ? value : "s";
        return dbus_validate_utf8(value.c_str(), nullptr) ? value : "text";
    }

    const std::uint8_t *at_;
    const std::uint8_t *end_;
};

/** Our side of the connection: hears the calls that the other makes. */
class Listener final : public QDBusVirtualObject {
public:
    std::optional<QDBusMessage> heard;

    bool handleMessage(const QDBusMessage &call, const QDBusConnection & /*bus*/) override {
        heard = call;
        return true;
    }
    QString introspect(const QString & /*path*/) const override { return {}; }
};

/** The two ends of a connection. */
class Peers {
public:
    Peers() : server_(u"unix:tmpdir=/tmp"_s) {
        server_.setAnonymousAuthenticationAllowed(true);
        QObject::connect(&server_, &QDBusServer::newConnection, &server_,
                         [this](const QDBusConnection &accepted) { ours_ = accepted; });
        other_ = dbus_connection_open_private(server_.address().toUtf8().constData(), nullptr);
        require(other_, "the peers are connected");
        dbus_connection_set_exit_on_disconnect(other_, 0);
        while (!ours_) {
            dbus_connection_read_write(other_, 1);
            QCoreApplication::processEvents();
        }
        ours_->registerVirtualObject(u"/"_s, &listener_, QDBusConnection::SubPath);
    }

    QDBusMessage call(const char *member, const char *signature, Filler &filler) {
        const Message call(
            dbus_message_new_method_call(nullptr, "/app", "app.corvid.Fuzz", member));
        dbus_message_set_no_reply(call.get(), 1);
        send(call.get(), signature, filler);
        listener_.heard.reset();
        while (!listener_.heard) {
            require(dbus_connection_get_is_connected(other_), "the connection lasts");
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return *listener_.heard;
    }

    QDBusMessage reply(const char *signature, Filler &filler) {
        QDBusPendingCall pending =
            ours_->asyncCall(QDBusMessage::createMethodCall({}, u"/"_s, u"a.b"_s, u"Ask"_s));
        Message asked;
        while (!asked) {
            dbus_connection_read_write(other_, -1);
            asked.reset(dbus_connection_pop_message(other_));
        }
        const Message answer(dbus_message_new_method_return(asked.get()));
        send(answer.get(), signature, filler);
        pending.waitForFinished();
        return pending.reply();
    }

private:
    void send(DBusMessage *message, const char *signature, Filler &filler) {
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        filler.append(arguments, signature);
        dbus_connection_send(other_, message, nullptr);
        dbus_connection_flush(other_);
    }

    QDBusServer server_;
    Listener listener_;
    std::optional<QDBusConnection> ours_;
    DBusConnection *other_ = nullptr;
};

void readAll(const QDBusMessage &message) {
    const QVariantList arguments = message.arguments();
    Appearance before;
    before.fontFamily = u"Serif"_s;
    const Appearance after = appearanceAfter(message, before);
    require(message.signature() == "ssv"_L1 || after == before,
            "only a change of a setting changes the appearance");
    require(after.accent.value_or(0) <= 0xffffff, "a colour has three channels");

    const PortalResponse response = responseIn(message);
    require(message.signature() == "ua{sv}"_L1 || (response.code == 2 && response.results.empty()),
            "what is no response grants nothing");
    for (const QString &folder : foldersIn(response.results))
        require(!folder.isEmpty(), "a folder has a path");

    const auto event = keyEventIn(message);
    require(event.has_value() == (message.signature() == "osta{sv}"_L1),
            "a press has its arguments");
    for (const QVariant &argument : arguments) {
        handleOf(argument);
        shortcutHasKey(argument, u"toggle-ALT+K"_s);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static int count = 1;
    static std::array name{const_cast<char *>("fuzz"), static_cast<char *>(nullptr)};
    static const QCoreApplication application(count, name.data());
    static Peers peers;
    static const bool registered = (registerPortalShortcuts(), true);
    require(registered, "lists of shortcuts are known");

    Filler filler(data, size);
    const std::uint8_t choice = filler.byte();
    const char *const signature = filler.signature();
    if (choice % 4 == 0) {
        const QDBusMessage reply = peers.reply(signature, filler);
        require(appearanceIn(reply).has_value() == (qstrcmp(signature, "a{sa{sv}}") == 0),
                "an appearance comes from a reply of its type");
        readAll(reply);
        return 0;
    }
    constexpr std::array members{"Activate", "Open", "ActivateAction"};
    const QDBusMessage call = peers.call(members[choice % 3], signature, filler);
    if (const auto wish = wishOf(call))
        require(call.member() == "ActivateAction"_L1 || *wish == Wish{},
                "only an action asks for more than to be shown");
    require(!appearanceIn(call), "a call tells no appearance");
    readAll(call);
    return 0;
}
