// A real terminal as a person gets it: what runs in it finds out where.

#include "DesktopTest.h"

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TerminalTest : public DesktopTest {
protected:
    TerminalTest() {
        for (const QString &name : {u"bin/shell"_s, u"bin/vimlike"_s})
            writeTracingProgram(home.path(name), home.path(u"shell.trace"_s));
        writeTracingProgram(home.path(u"bin/files"_s), home.path(u"files.trace"_s));
        writeFile(home.path(u".local/share/applications/files.desktop"_s),
                  u"[Desktop Entry]\nType=Application\nName=Files\nExec=%1 %F\n"
                  "Categories=FileManager;\n"_s.arg(home.path(u"bin/files"_s)));
        writeFile(home.path(u".config/mimeapps.list"_s),
                  u"[Default Applications]\ninode/directory=files.desktop\n"_s);
        QProcessEnvironment additional;
        additional.insert(u"TERMINAL"_s, u"xterm"_s);
        writeFile(home.path(u".local/share/applications/vimlike.desktop"_s),
                  u"[Desktop Entry]\nType=Application\nName=Vimlike\nExec=%1 %F\nTerminal=true\n"
                  "Categories=Utility;TextEditor;\n"_s.arg(home.path(u"bin/vimlike"_s)));
        writeFile(home.path(u".local/share/applications/debian-xterm.desktop"_s),
                  u"[Desktop Entry]\nType=Application\nName=XTerm\nExec=xterm -e %1\n"
                  "Categories=System;TerminalEmulator;\n"_s.arg(home.path(u"bin/shell"_s)));
        launch({}, additional);
    }

    Trace shell() const { return Trace(home.path(u"shell.trace"_s)); }
    QString project() const { return home.path(u"Code/my web"_s); }
};

} // namespace

TEST_F(TerminalTest, aTerminalOpensInTheProjectsFolder) {
    type(u"web in xterm"_s);
    press(u"Return"_s);
    EXPECT_EQ(shell().workingFolder(), project());
    EXPECT_EQ(shell().arguments(), QStringList());
}

TEST_F(TerminalTest, aProjectInAnEditorOfTheTerminalIsItsArgumentAndItsWorkingFolder) {
    type(u"web in vimlike"_s);
    press(u"Return"_s);
    EXPECT_EQ(shell().workingFolder(), project());
    EXPECT_EQ(shell().arguments(), QStringList{project()});
}

TEST_F(TerminalTest, shellMeansTheUsersTerminal) {
    const QString files = home.path(u"files.trace"_s);
    const QString shellsOwn = home.path(u"shell.trace"_s);
    // On a busy machine Return may come before the terminal has been looked up.
    for (bool again = true; again && !HasFailure();) {
        type(u"web in shell"_s);
        press(u"Return"_s);
        EXPECT_TRUE(eventually([&] { return QFile::exists(shellsOwn) || QFile::exists(files); }));
        again = QFile::remove(files);
        if (again) {
            EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
            press(u"alt+k"_s);
            EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
        }
    }
    EXPECT_EQ(shell().workingFolder(), project());
}
