// What is installed and taken away while the program runs.

#include "DesktopTest.h"

#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class InstalledMeanwhileTest : public DesktopTest {
protected:
    InstalledMeanwhileTest() { launch(); }

    QString entry(const QString &name) const {
        return home.path(u".local/share/applications/%1.desktop"_s.arg(name));
    }
    void install(const QString &name) const {
        writeFile(entry(name), u"[Desktop Entry]\nType=Application\nName=%1\nExec=%2 --%1\n"_s.arg(
                                   name, home.path(u"bin/frobnicator"_s)));
    }
    void hide() {
        press(u"Escape"_s);
        EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    }
    void show() {
        press(u"alt+k"_s);
        EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    }
    /** The cache is written after the list has been shown. */
    bool isListed(const QString &name) const {
        return readFile(home.path(u".local/share/Corvid/catalog.json"_s)).contains(name);
    }
};

} // namespace

TEST_F(InstalledMeanwhileTest,
       whatWasInstalledWhileHiddenIsThereAtTheNextShowingAndGoneAfterwards) {
    hide();
    install(u"Newcomer"_s);
    show();
    EXPECT_TRUE(eventually([this] { return isListed(u"Newcomer"_s); }));
    type(u"newcom"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), QStringList{u"--Newcomer"_s});
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    ASSERT_TRUE(QFile::remove(entry(u"Newcomer"_s)));
    show();
    EXPECT_TRUE(eventually([this] { return !isListed(u"Newcomer"_s); }));
}

TEST_F(InstalledMeanwhileTest, theSelectionStaysOnItsItemWhenAnApplicationComesBeforeIt) {
    type(u"frob"_s);
    press(u"Down"_s);
    install(u"Frob"_s); // the best match, so the first row
    EXPECT_TRUE(eventually([this] { return isListed(u"Frob"_s + u'"'); }));
    press(u"Return"_s);
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"launchCounts"_s].toObject().contains(home.path(u"Code/frobs"_s));
    })) << "the project, which was the second row";
}

TEST_F(InstalledMeanwhileTest, anAppImageThatIsPutIntoAFolderIsFoundAndRun) {
    hide();
    writeTracingProgram(home.path(u"Applications/Tumbler-1.2-x86_64.AppImage"_s),
                        home.path(u"image.trace"_s));
    show();
    EXPECT_TRUE(eventually([this] { return isListed(u"appimage.Tumbler"_s); }));
    type(u"tumbl"_s);
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"image.trace"_s)).arguments(), QStringList());
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
}
