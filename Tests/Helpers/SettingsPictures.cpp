// Draws the settings window in several states, each into a picture of its own:
//
//   corvid_settings_pictures <folder>
//
// On the offscreen platform, at the scale that QT_SCALE_FACTOR gives.

#include "Fakes/FakeFolderDialog.h"
#include "Fakes/FakeHotKeyBackend.h"
#include "Fakes/FakePanelSurface.h"
#include "Fakes/LauncherWorld.h"
#include "HotKeyManager.h"
#include "Panel/Style.h"
#include "Settings/FlatStyle.h"
#include "Settings/FolderSection.h"
#include "SettingsView.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTableWidget>

#include <algorithm>
#include <cstdio>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QJsonArray folders(int count) {
    QJsonArray result;
    for (int i = 1; i <= count; ++i) {
        result.append(i % 4 == 0 ? u"/home/user/Documents/Customers/A rather long name/%1/Sources "
                                   "and more of them/Projects"_s.arg(i)
                                 : u"/home/user/Projects/%1"_s.arg(i));
    }
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle(new FlatStyle);
    if (argc != 2) {
        std::fputs("usage: corvid_settings_pictures <folder>\n", stderr);
        return 2;
    }
    const QTemporaryDir home; // whose default folders are none
    qputenv("HOME", home.path().toLocal8Bit());
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.mkpath(u"."_s))
        return 1;

    bool taken = true;
    for (const auto &[scheme, name] :
         {std::pair{ColorScheme::Light, u"light"_s}, std::pair{ColorScheme::Dark, u"dark"_s}}) {
        Appearance appearance;
        appearance.colorScheme = scheme;
        style::setAppearance(appearance);
        LauncherWorld world({}, {makeProject(u"web"_s), makeProject(u"api"_s)});
        FakeHotKeyBackend backend;
        HotKeyManager hotKeys(backend);
        FakeFolderDialog folderDialog;
        FakePanelSurface surface;
        SettingsView window({.defaults = world.defaults,
                             .projects = world.projects,
                             .hotKeys = hotKeys,
                             .folderDialog = folderDialog,
                             .keychain = world.keychain,
                             .stats = world.stats,
                             .ai = world.ai,
                             .panelSurface = surface});
        auto *scrollArea = window.findChild<QScrollArea *>();
        QScrollBar *scrollBar = scrollArea->verticalScrollBar();
        enum class At { Top, Folders, Bottom, AsItIs };
        const auto scene = [&](const QString &what, At at) {
            // Layouts settle with their own events; the scans of this machine's folders stay away.
            for (int i = 0; i < 5; ++i)
                QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            window.findChild<QTableWidget *>()->doItemsLayout();
            if (at != At::AsItIs)
                scrollBar->setValue(at == At::Bottom ? scrollBar->maximum() : 0);
            if (at == At::Folders) // the last ones
                scrollArea->ensureVisible(
                    0, window.findChild<FolderSection *>()->geometry().bottom(), 0, 0);
            taken = taken && window.grab().save(folder.filePath(what + u'-' + name + u".png"_s));
        };
        world.defaults.set(u"projectRoots"_s, QJsonArray());
        window.present();
        scene(u"settings-no-folders"_s, At::Top);
        scene(u"settings-web-search"_s, At::Bottom);
        window.close();

        world.secrets.set(settings::aiKeyAccount, u"sk-0123456789abcdef"_s);
        world.defaults.set(u"hotkeyKeyCode"_s, 49);
        world.defaults.set(u"hotkeyModifiers"_s, 0x900);
        world.defaults.set(u"projectRoots"_s, folders(30));
        window.present();
        window.startRecording();
        scene(u"settings-recording"_s, At::Top);
        window.stopRecording();
        scene(u"settings-thirty-folders"_s, At::Folders);
        backend.where = Desktop::Openbox;
        hotKeys.registerHotKey(49, 0x900, [] {});
        backend.callbacks.foundFree({49, 0x100});
        backend.callbacks.answered(HotKeyAnswer::Taken);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        scene(u"settings-hot-key-taken"_s, At::Top);
        backend.where = Desktop::Sway;
        backend.callbacks.answered(HotKeyAnswer::NoPortal);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        scene(u"settings-no-hot-key"_s, At::Top);
        hotKeys.unregister();
        window.close();

        world.defaults.set(u"aiBaseURL"_s, u"http://127.0.0.1:1/v1"_s);
        world.defaults.set(u"projectRoots"_s, folders(2));
        window.present();
        const QList<QPushButton *> buttons = window.findChildren<QPushButton *>();
        for (QPushButton *button : buttons)
            if (button->text() == u"&Test")
                button->click();
        taken = taken && waitUntil([&window] {
                    const QList<QLabel *> labels = window.findChildren<QLabel *>();
                    return std::any_of(labels.begin(), labels.end(), [](const QLabel *label) {
                        return label->accessibleName().startsWith(u"Connection refused"_s);
                    });
                });
        QCoreApplication::processEvents();
        scene(u"settings-ai-test"_s, At::AsItIs);

        // Scans of folders that are none.
        world.defaults.set(u"projectRoots"_s, folders(2));
        window.save();
        taken = taken && waitUntil([&] { return !world.projects.scanning(); });
        window.present();
        scene(u"settings-no-projects"_s, At::Folders);
    }
    return taken ? 0 : 1;
}
