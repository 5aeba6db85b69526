#include "Platform/Linux/Launching/DefaultTerminal.h"

#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

DesktopEntry terminalEntry(const QString &id, const QString &name, const QString &program) {
    DesktopEntry entry;
    entry.id = id;
    entry.path = u"/applications/%1.desktop"_s.arg(id);
    entry.name = name;
    entry.program = program;
    entry.categories = QStringList{u"System"_s, u"TerminalEmulator"_s};
    return entry;
}

class DefaultTerminalTest : public ::testing::Test {
protected:
    DefaultTerminalTest() {
        DesktopEntry vim = terminalEntry(u"vim"_s, u"Vim"_s, u"vim"_s);
        vim.categories = QStringList{u"TextEditor"_s};
        entries_ = {vim, terminalEntry(u"kitty"_s, u"kitty"_s, u"kitty"_s),
                    terminalEntry(u"org.gnome.Terminal"_s, u"Terminal"_s, u"gnome-terminal"_s)};
    }

    void install(const QString &program) const {
        QFile file(path(program));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QString path(const QString &program) const { return disk_.filePath(program); }

    /** Name and path of what is found, or "none". */
    QString found(const QStringList &preferred = {}, const QStringList &ids = {}) const {
        const auto terminal =
            defaultTerminal(entries_, ids, preferred, [this](const QString &name) {
                return !name.isEmpty() && QFile::exists(path(name)) ? path(name) : QString();
            });
        return terminal ? terminal->name + u' ' + terminal->path : u"none"_s;
    }

    std::vector<DesktopEntry> entries_;
    QTemporaryDir disk_;
};

const QString gnomeTerminal = u"Terminal /applications/org.gnome.Terminal.desktop"_s;
const QString kitty = u"kitty /applications/kitty.desktop"_s;

} // namespace

TEST(PreferredTerminalIds, areTheIdsOfTheListInTheirOrder) {
    EXPECT_EQ(preferredTerminalIds("# mine\n kitty.desktop \n+foot.desktop:new\n\n-xterm.desktop\n"
                                   "/execarg_strict\nno-entry\n#x.desktop\nlast.desktop"),
              (QStringList{u"kitty"_s, u"foot"_s, u"last"_s}));
    EXPECT_EQ(preferredTerminalIds(QByteArray("\xff\0\n.desktop\n", 12)), QStringList{QString()});
}

TEST_F(DefaultTerminalTest, isTheFirstOfTheChosenEntriesThatIsThere) {
    install(u"gnome-terminal"_s);
    EXPECT_EQ(found({u"gnome-terminal"_s}, {u"gone"_s, u"vim"_s, u"kitty"_s}), kitty);
}

TEST_F(DefaultTerminalTest, elseWhatTheUserPrefersElseTheFirstThatIsInstalled) {
    install(u"gnome-terminal"_s);
    install(u"kitty"_s);
    EXPECT_EQ(found({QString(), u"gone"_s, u"kitty -1"_s}), kitty);
    EXPECT_EQ(found(), gnomeTerminal);
}

TEST_F(DefaultTerminalTest, theDistributionsChoiceIsKnownByWhatItLeadsTo) {
    install(u"kitty"_s);
    ASSERT_TRUE(QFile::link(path(u"kitty"_s), path(u"x-terminal-emulator"_s)));
    EXPECT_EQ(found(), kitty);
    ASSERT_TRUE(QFile::remove(path(u"x-terminal-emulator"_s)));
    install(u"gnome-terminal.wrapper"_s);
    ASSERT_TRUE(QFile::link(path(u"gnome-terminal.wrapper"_s), path(u"x-terminal-emulator"_s)));
    EXPECT_EQ(found(), gnomeTerminal);
}

TEST_F(DefaultTerminalTest, oneWithoutAnEntryIsItsProgram) {
    install(u"xterm"_s);
    EXPECT_EQ(found(), u"xterm "_s + path(u"xterm"_s));
    ASSERT_TRUE(QFile::link(path(u"xterm"_s), path(u"x-terminal-emulator"_s)));
    EXPECT_EQ(found(), u"xterm "_s + path(u"x-terminal-emulator"_s));
}

TEST_F(DefaultTerminalTest, whereNoProgramIsKnownAnyEntryOfATerminalWillDo) {
    EXPECT_EQ(found(), kitty);
    entries_.resize(1);
    EXPECT_EQ(found(), u"none");
}
