#pragma once

#include "Platform/Appearance.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QHash>
#include <QObject>

#include <cstdint>
#include <memory>

struct xcb_connection_t;

namespace corvid {

/** The values that are text in what a settings daemon of an X11 desktop has published: what comes
    before the first damage. Any thread. */
QHash<QByteArray, QString> textsInXSettings(const QByteArray &published);

/**
 * The appearance that another source tells, with what that leaves open filled in from the settings
 * daemon of an X11 desktop (Xfce, MATE, Cinnamon): the font, and dark or high contrast by the name
 * of the theme. Follows both. Without a daemon nothing is filled in, until one starts. Asks it once
 * the event loop runs; over Qt's own connection.
 */
class XSettingsAppearance final : public QObject,
                                  public AppearanceSettings,
                                  private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    /** The application object must run on X11. */
    explicit XSettingsAppearance(std::unique_ptr<AppearanceSettings> first);

    Appearance current() const override;

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void findDaemon();
    void read();

    std::unique_ptr<AppearanceSettings> first_;
    xcb_connection_t *connection_;
    struct {
        std::uint32_t selection, settings, manager;
    } atoms_{};
    std::uint32_t daemon_ = 0; ///< its window; 0 without one
    QHash<QByteArray, QString> texts_;
};

} // namespace corvid
