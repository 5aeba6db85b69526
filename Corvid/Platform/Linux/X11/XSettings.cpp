#include "Platform/Linux/X11/XSettings.h"

#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QCoreApplication>
#include <QtEndian>

#include <optional>

namespace corvid {

namespace {

/** Reads what has been published, which may be damaged: from its end on there is nothing. */
class Reader {
public:
    explicit Reader(const QByteArray &bytes) : bytes_(bytes) {}

    void setOrder(bool bigEndian) { bigEndian_ = bigEndian; }

    template <typename T>
    std::optional<T> number() {
        const QByteArray bytes = take(sizeof(T));
        if (bytes.isEmpty())
            return std::nullopt;
        return bigEndian_ ? qFromBigEndian<T>(bytes.constData())
                          : qFromLittleEndian<T>(bytes.constData());
    }
    /** With what fills it up to four bytes. */
    std::optional<QByteArray> text(std::size_t length) {
        const std::size_t padded = (length + 3) / 4 * 4;
        if (length > 0 && padded > left())
            return std::nullopt;
        return take(padded).first(static_cast<qsizetype>(length));
    }
    /** Empty when there is less. */
    QByteArray take(std::size_t length) {
        if (length > left())
            return {};
        QByteArray result = bytes_.mid(place_, static_cast<qsizetype>(length));
        place_ += static_cast<qsizetype>(length);
        return result;
    }

private:
    std::size_t left() const { return static_cast<std::size_t>(bytes_.size() - place_); }

    const QByteArray &bytes_;
    qsizetype place_ = 0;
    bool bigEndian_ = false;
};

} // namespace

QHash<QByteArray, QString> textsInXSettings(const QByteArray &published) {
    enum Type : std::uint8_t { Integer, Text, Colour };
    QHash<QByteArray, QString> result;
    Reader reader(published);
    const std::optional<std::uint8_t> order = reader.number<std::uint8_t>();
    reader.setOrder(order == XCB_IMAGE_ORDER_MSB_FIRST);
    reader.take(3 + sizeof(std::uint32_t)); // padding, serial number
    const std::uint32_t count = reader.number<std::uint32_t>().value_or(0);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::optional<std::uint8_t> type = reader.number<std::uint8_t>();
        reader.take(1);
        const std::optional<std::uint16_t> length = reader.number<std::uint16_t>();
        const std::optional<QByteArray> name = length ? reader.text(*length) : std::nullopt;
        if (!name || !reader.number<std::uint32_t>()) // the serial number of its last change
            break;
        if (!type || *type > Colour)
            break;
        if (*type != Text) {
            if (reader.take(*type == Colour ? 8 : 4).isEmpty())
                break;
            continue;
        }
        const std::optional<std::uint32_t> size = reader.number<std::uint32_t>();
        const std::optional<QByteArray> value = size ? reader.text(*size) : std::nullopt;
        if (!value)
            break;
        result.insert(*name, QString::fromUtf8(*value));
    }
    return result;
}

XSettingsAppearance::XSettingsAppearance(std::unique_ptr<AppearanceSettings> first)
    : first_(std::move(first)), connection_(x11::connectionOfQt()) {
    first_->onChange = [this] {
        if (onChange)
            onChange();
    };
    const QByteArray selection = "_XSETTINGS_S" + QByteArray::number(x11::screenOfQt());
    const auto begin = [this, selection] {
        x11::intern(connection_, {{&atoms_.selection, selection.constData()},
                                  {&atoms_.settings, "_XSETTINGS_SETTINGS"},
                                  {&atoms_.manager, "MANAGER"}});
        QCoreApplication::instance()->installNativeEventFilter(this);
        findDaemon();
    };
    QMetaObject::invokeMethod(this, begin, Qt::QueuedConnection);
}

Appearance XSettingsAppearance::current() const {
    Appearance result = first_->current();
    if (result.fontFamily.isEmpty())
        result.fontFamily = desktopsettings::familyOf(texts_.value("Gtk/FontName"));
    const QString theme = texts_.value("Net/ThemeName");
    if (result.colorScheme == ColorScheme::NoPreference &&
        (theme.contains(QLatin1StringView("dark"), Qt::CaseInsensitive) ||
         theme == QLatin1StringView("HighContrastInverse")))
        result.colorScheme = ColorScheme::Dark;
    result.highContrast |= theme.startsWith(QLatin1StringView("HighContrast"));
    return result;
}

bool XSettingsAppearance::nativeEventFilter(const QByteArray & /*type*/, void *message,
                                            qintptr * /*result*/) {
    const auto &event = *static_cast<const xcb_generic_event_t *>(message);
    switch (x11::typeOf(event)) {
    case XCB_PROPERTY_NOTIFY: {
        const auto &change = x11::as<xcb_property_notify_event_t>(event);
        if (daemon_ && change.window == daemon_ && change.atom == atoms_.settings)
            read();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (daemon_ && x11::as<xcb_destroy_notify_event_t>(event).window == daemon_)
            findDaemon();
        break;
    case XCB_CLIENT_MESSAGE: { // sent to the root window, where Qt listens for the tray's
        const auto &started = x11::as<xcb_client_message_event_t>(event);
        if (started.type == atoms_.manager && started.data.data32[1] == atoms_.selection)
            findDaemon();
        break;
    }
    default:
        break;
    }
    return false;
}

void XSettingsAppearance::findDaemon() {
    const x11::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection_, xcb_get_selection_owner(connection_, atoms_.selection), nullptr));
    daemon_ = owner ? owner->owner : xcb_window_t{XCB_NONE};
    if (daemon_) {
        // The very events that Qt itself asks for, whose connection this is.
        constexpr std::uint32_t events =
            XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection_, daemon_, XCB_CW_EVENT_MASK, &events);
    }
    read();
}

void XSettingsAppearance::read() {
    QByteArray published;
    if (daemon_)
        published =
            x11::bytesOf(connection_, xcb_get_property(connection_, 0, daemon_, atoms_.settings,
                                                       atoms_.settings, 0, x11::longestList));
    const Appearance before = current();
    texts_ = textsInXSettings(published);
    if (current() != before && onChange)
        onChange();
}

} // namespace corvid
