#include "Program/StatusItem.h"

#include "Fakes/FakeTrayWatch.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class StatusItemTest : public ::testing::Test {
protected:
    void appear() {
        ASSERT_TRUE(waitUntil([this] { return bool(tray.there); }));
        tray.there();
    }
    const QAction &entry(int index) const { return *item->menu()->actions().at(index); }

    FakeTrayWatch tray;
    QStringList done;
    std::optional<StatusItem> item{std::in_place, tray,
                                   StatusItem::Actions{[this] { done.append(u"show"_s); },
                                                       [this] { done.append(u"settings"_s); },
                                                       [this] { done.append(u"quit"_s); }}};
};

/** Relative luminance, as contrast between colours is reckoned. */
double luminance(const QColor &colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

} // namespace

TEST_F(StatusItemTest, isNotMadeBeforeThereIsATray) {
    ASSERT_TRUE(waitUntil([this] { return bool(tray.there); }));
    EXPECT_EQ(item->icon(), nullptr);
    EXPECT_EQ(item->menu(), nullptr);
    tray.there();
    ASSERT_NE(item->icon(), nullptr);
    EXPECT_TRUE(item->icon()->isVisible());
    EXPECT_EQ(item->icon()->contextMenu(), item->menu());
}

TEST_F(StatusItemTest, hasFiveEntriesInTheirOrder) {
    appear();
    ASSERT_EQ(item->menu()->actions().size(), 5);
    EXPECT_EQ(entry(0).text(), u"Show Corvid"_s);
    EXPECT_TRUE(entry(1).isSeparator());
    EXPECT_EQ(entry(2).text(), u"Settings…"_s);
    EXPECT_TRUE(entry(3).isSeparator());
    EXPECT_EQ(entry(4).text(), u"Quit Corvid"_s);
}

TEST_F(StatusItemTest, showsTheKeysOfSettingsAndQuit) {
    appear();
    EXPECT_TRUE(entry(0).shortcut().isEmpty());
    EXPECT_EQ(entry(2).shortcut().toString(), u"Ctrl+,"_s);
    EXPECT_EQ(entry(4).shortcut().toString(), u"Ctrl+Q"_s);
    EXPECT_TRUE(entry(2).isShortcutVisibleInContextMenu());
    EXPECT_TRUE(entry(4).isShortcutVisibleInContextMenu());
}

TEST_F(StatusItemTest, eachEntryDoesWhatItSays) {
    appear();
    for (QAction *action : item->menu()->actions())
        action->trigger();
    EXPECT_EQ(done, (QStringList{u"show"_s, u"settings"_s, u"quit"_s}));
}

TEST_F(StatusItemTest, aClickShowsAndAnyOtherButtonDoesNot) {
    appear();
    auto *icon = const_cast<QSystemTrayIcon *>(item->icon());
    Q_EMIT icon->activated(QSystemTrayIcon::Context);
    Q_EMIT icon->activated(QSystemTrayIcon::MiddleClick);
    EXPECT_EQ(done, QStringList());
    Q_EMIT icon->activated(QSystemTrayIcon::Trigger);
    EXPECT_EQ(done, QStringList{u"show"_s});
}

TEST_F(StatusItemTest, aTrayThatAppearsAfterItsEndIsIgnored) {
    ASSERT_TRUE(waitUntil([this] { return bool(tray.there); }));
    item.reset();
    tray.there();
    EXPECT_EQ(item, std::nullopt);
}

TEST(StatusIcon, isAnOutlineAtEverySizeThatTraysUse) {
    const QIcon icon = statusIcon();
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        const QImage image = icon.pixmap(size).toImage();
        ASSERT_EQ(image.size(), QSize(size, size));
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << size;
        EXPECT_EQ(qAlpha(image.pixel(size / 2, size / 2)), 0) << size;
        EXPECT_GT(qAlpha(image.pixel(size / 2, size / 8)), 100) << size;
        EXPECT_GT(qAlpha(image.pixel(size - 1 - size / 8, size / 2)), 100) << size;
    }
}

TEST(StatusIcon, standsOutOnDarkAndOnLightBars) {
    const QImage image = statusIcon().pixmap(64).toImage();
    const double own = luminance(image.pixelColor(32, 8));
    EXPECT_GE((own + 0.05) / (luminance(QColor(30, 31, 36)) + 0.05), 3.0);
    EXPECT_GE(1.05 / (own + 0.05), 3.0);
}
