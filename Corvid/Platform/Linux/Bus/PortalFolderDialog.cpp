#include "Platform/Linux/Bus/PortalFolderDialog.h"

#include "Platform/Linux/Bus/PortalReplies.h"

#include <QGuiApplication>
#include <QWindow>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto chooserInterface = "org.freedesktop.portal.FileChooser"_L1;
constexpr quint32 firstWithFolders = 3; // version of the interface
constexpr int patienceMs = 3'000;       // the portal may have to be started

// How portals call a window; empty for those that they cannot be told of.
QString portalsNameOf(const QWindow &window) {
    if (QGuiApplication::platformName() != "xcb"_L1)
        return u""_s;
    return u"x11:"_s + QString::number(window.winId(), 16);
}

} // namespace

PortalFolderDialog::PortalFolderDialog() : portal_(QDBusConnection::sessionBus()) {
    portal_.onOwnerChange = [this](bool there) {
        if (!there && portal_.hasRequest())
            finish(QStringList());
    };
}

PortalFolderDialog::~PortalFolderDialog() {
    portal_.withdrawRequest();
}

void PortalFolderDialog::choose(const QWindow &window, const QString &prompt, Done done) {
    portal_.withdrawRequest();
    portal_.forgetCalls();
    done_ = std::move(done);
    const auto version = portal_.method(Portal::path, u"org.freedesktop.DBus.Properties"_s,
                                        u"Get"_s, {chooserInterface, u"version"_s});
    const auto replied = [this, name = portalsNameOf(window), prompt](const QDBusMessage &reply) {
        if (unboxed<quint32>(reply.arguments().value(0)) >= firstWithFolders)
            ask(name, prompt);
        else
            finish(std::nullopt);
    };
    portal_.send(version, replied, patienceMs);
}

void PortalFolderDialog::ask(const QString &window, const QString &prompt) {
    const QVariantMap options{{u"accept_label"_s, prompt},
                              {u"modal"_s, true},
                              {u"directory"_s, true},
                              {u"multiple"_s, true}};
    const auto responded = [this](Portal::Outcome outcome, const QVariantMap &results) {
        if (outcome == Portal::Outcome::Granted)
            finish(foldersIn(results));
        else if (outcome == Portal::Outcome::Refused || outcome == Portal::Outcome::Ended)
            finish(QStringList());
        else
            finish(std::nullopt);
    };
    portal_.request(chooserInterface, u"OpenFile"_s, {window, u"Add folders"_s}, options, responded,
                    patienceMs);
}

void PortalFolderDialog::finish(const std::optional<QStringList> &folders) {
    portal_.forgetRequest();
    if (const Done done = std::exchange(done_, nullptr))
        done(folders);
}

} // namespace corvid
