// Icons in the whole program.

#include "DesktopTest.h"

#include <gtest/gtest.h>

#include <csignal>

#include <sys/stat.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class IconsTest : public DesktopTest {
protected:
    void setIcon(const QString &drawing) const {
        writeFile(home.path(u"icon.svg"_s),
                  u"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 32 32'>"_s + drawing +
                      u"</svg>"_s);
        const QString entry =
            home.path(u".local/share/applications/org.example.Frobnicator.desktop"_s);
        const QString group = u"[Desktop Entry]\n"_s;
        writeFile(entry, readFile(entry).replace(group, group + u"Icon="_s +
                                                            home.path(u"icon.svg"_s) + u'\n'));
    }

    /** The process that draws icons, or 0. */
    pid_t drawer() const {
        for (const QString &number : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
            const QString folder = u"/proc/"_s + number;
            if (readFile(folder + u"/cmdline"_s).contains(u"--draw-icons"_s) &&
                readFile(folder + u"/status"_s)
                    .contains(u"\nPPid:\t%1\n"_s.arg(program.processId())))
                return number.toInt();
        }
        return 0;
    }
};

} // namespace

TEST_F(IconsTest, areKeptForTheUserAloneOnceTheyAreDrawn) {
    setIcon(u"<rect width='32' height='32' fill='#f00'/>"_s);
    launch();
    const QByteArray kept = QFile::encodeName(home.path(u".cache/Corvid/icons"_s));
    struct stat status = {};
    ASSERT_TRUE(eventually([&] { return stat(kept.constData(), &status) == 0; }));
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    QFile file(QFile::decodeName(kept));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains(QByteArray::fromHex("0000ffff").repeated(32 * 32)));
    EXPECT_TRUE(eventually([this] { return drawer() == 0; })) << "nothing is left to draw";
}

TEST_F(IconsTest, theProgramEndsInOrderWhileOneIsDrawn) {
    setIcon(u"<g stroke='red' stroke-width='2' stroke-linecap='round' stroke-dasharray='0.01'>"_s +
            u"<path d='M0 0L32 32'/>"_s.repeated(9'000) + u"</g>"_s);
    makeDependent(program);
    program.setProcessEnvironment(home.environment(server.environment()));
    program.start(executable, QStringList());
    pid_t process = 0;
    ASSERT_TRUE(eventually([&] { return (process = drawer()) != 0; }));
    program.terminate();
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_NE(kill(process, 0), 0) << "it ends before the program does";
}

TEST(IconsWithoutDisplay, drawingThemIsNoOptionForPeople) {
    QProcess process;
    process.start(executable, {u"--draw-icons"_s});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_TRUE(process.readAllStandardError().contains("unknown option --draw-icons"));
}
