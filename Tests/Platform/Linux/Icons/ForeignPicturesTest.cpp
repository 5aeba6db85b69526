// Pictures that strangers made, drawn by the real program.

#include "Platform/Linux/Icons/PictureProcess.h"

#include "Worlds/EventLoop.h"
#include "Worlds/IconFiles.h"
#include "Worlds/QtPrinters.h"

#include <QElapsedTimer>
#include <QProcess>

#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray numbered(const QByteArray &pattern, int count) {
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += QByteArray(pattern).replace('%', QByteArray::number(i));
    return result;
}

QByteArray embedded(const QByteArray &bytes) {
    return "data:image/png;base64," + bytes.toBase64();
}

QByteArray picture(const QByteArray &reference) {
    return svg("<image width='32' height='32' xlink:href='" + reference + "'/>");
}

// Each takes ten seconds or more.
const QByteArray dashesByAnotherName =
    svg("<style>path{stroke:red;stroke-linecap:round;stroke-width:2;stroke-d\\61sharray:0.01}"
        "</style>" +
        QByteArray("<path d='M0 0L32 32'/>").repeated(9'000));
const QByteArray dashedLines =
    svg("<g fill='none' stroke='red' stroke-linecap='round' stroke-width='2'>" +
        QByteArray("<path d='M0 0L32 32L0 32L32 0L0 16L32 16L16 0L16 32L0 0L32 32L0 32L32 0L0 16"
                   "L32 16L16 0L16 32' stroke-dasharray='0.01'/>")
            .repeated(400) +
        "</g>");
const QByteArray texts = svg(numbered("<text y='9' stroke='red' transform='scale(.02)'>" +
                                          QByteArray("% glyphs ").repeated(40) + "</text>",
                                      4'000));

class ForeignPicturesTest : public IconFiles {
protected:
    Image iconOf(const IconLoader &icons, const QByteArray &drawing) const {
        file(u"drawing.svg"_s, drawing);
        return icons.icon(entry(path(u"drawing.svg"_s)));
    }
    QString redIcon() const {
        png(u"red.png"_s, {32, 32}, red);
        return entry(path(u"red.png"_s));
    }
    /** Whether a process that was started to draw is gone, and no child of ours any more. */
    bool isGone(const QByteArray &start) const {
        return kill(start.toInt(), 0) != 0 && errno == ESRCH;
    }
};

QByteArray readProc(const QByteArray &process, const char *name) {
    QFile file(u"/proc/%1/%2"_s.arg(QString::fromLatin1(process), QString::fromLatin1(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

TEST_F(ForeignPicturesTest, aDrawingThatTakesTooLongHasTheStandInAndTheNextIconArrives) {
    const IconLoader icons = loader();
    const QByteArray drawings[]{dashesByAnotherName, dashedLines, texts};
    for (const QByteArray &drawing : drawings)
        EXPECT_EQ(iconOf(icons, drawing), icons.genericIcon());
    EXPECT_EQ(middle(icons.icon(redIcon())), red);
    const QList<QByteArray> processes = starts();
    ASSERT_EQ(processes.size(), 4) << "each was ended by its limit";
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(isGone(processes[i]));
}

TEST_F(ForeignPicturesTest, whatEndedAProcessIsNotTriedAgain) {
    const IconLoader icons = loader();
    EXPECT_EQ(iconOf(icons, dashedLines), icons.genericIcon());
    EXPECT_EQ(icons.icon(path(u"app.desktop"_s)), icons.genericIcon());
    EXPECT_EQ(starts().size(), 1);
}

TEST_F(ForeignPicturesTest, picturesThatAreMeantToDoHarmDoNone) {
    const QByteArray shape = "<rect class='c1' width='32' height='32'/>";
    const std::pair<QString, QByteArray> rows[]{
        {u"many.svg"_s, svg(QByteArray("<g/>").repeated(1'900'000))},
        {u"deep.svg"_s, svg(QByteArray("<g>").repeated(900'000))},
        {u"styles.svg"_s,
         svg("<style>" + numbered(".c%{fill:red}", 40'000) + "</style>" + shape.repeated(20'000))},
        {u"stops.svg"_s, svg("<linearGradient id='g'>" + QByteArray("<stop/>").repeated(500'000) +
                             "</linearGradient>")},
        {u"attributes.svg"_s, svg("<rect" + numbered(" a%=''", 500'000) + "/>")},
        {u"circle.svg"_s, svg("<g id='a'><use xlink:href='#a'/></g><use xlink:href='#a'/>")},
        {u"header.png"_s, QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"
                                              "0000ffff0000ffff0800000000"
                                              "00000000")},
        {u"header-of-billions.png"_s, QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"
                                                          "7fffffff7fffffff0800000000"
                                                          "00000000")},
        {u"colours.xpm"_s,
         "/* XPM */\nstatic char *x[] = {\n\"4096 4096 16777216 4\",\n\"a c #000000\"};\n"},
    };
    const IconLoader icons = loader();
    for (const auto &[name, content] : rows) {
        file(name, content);
        EXPECT_EQ(icons.icon(entry(path(name))), icons.genericIcon()) << qPrintable(name);
    }
    EXPECT_EQ(middle(icons.icon(redIcon())), red);
}

TEST_F(ForeignPicturesTest, aFileThatUnpacksToGigabytesIsNoPicture) {
    // Small on the disk; read as a whole it would fill the memory.
    QProcess gzip;
    gzip.setStandardOutputFile(path(u"bomb.svgz"_s));
    gzip.start(u"sh"_s, {u"-c"_s, u"head -c 300000000 /dev/zero | gzip -9c"_s});
    ASSERT_TRUE(gzip.waitForFinished());
    ASSERT_LT(QFileInfo(path(u"bomb.svgz"_s)).size(), 1'000'000);
    const IconLoader icons = loader();
    EXPECT_EQ(icons.icon(entry(path(u"bomb.svgz"_s))), icons.genericIcon());
}

TEST_F(ForeignPicturesTest, aDrawingThatNamesOtherFilesGetsNoneOfThem) {
    png(u"red.png"_s, {32, 32}, red);
    file(u"red.css"_s, "rect { fill: #f00 }");
    const QByteArray raster = path(u"red.png"_s).toUtf8();
    const QByteArray pipe = path(u"pipe"_s).toUtf8();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    const auto sheet = [](const QByteArray &name) {
        return "<?xml version='1.0'?><?xml-stylesheet type='text/css' href='" + name + "'?>" +
               svg("<rect width='32' height='32' fill='#00f'/>");
    };
    const IconLoader icons = loader();
    for (const QByteArray &outside :
         {picture(raster), picture("file://" + raster), picture(pipe), picture("/dev/zero"),
          picture("file:///dev/zero"), picture("http://127.0.0.1/red.png"),
          picture(embedded(picture(raster)))})
        EXPECT_EQ(iconOf(icons, outside), icons.genericIcon()) << outside.constData();
    for (const QByteArray &name : {path(u"red.css"_s).toUtf8(), pipe, QByteArray("/dev/zero")})
        EXPECT_EQ(middle(iconOf(icons, sheet(name))), blue) << name.constData();
    EXPECT_EQ(starts().size(), 1) << "nothing kept it waiting";

    file(u"a-drawing-by-another-name.png"_s, picture(raster));
    EXPECT_EQ(icons.icon(entry(path(u"a-drawing-by-another-name.png"_s))), icons.genericIcon());
    QFile source(path(u"red.png"_s));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    EXPECT_EQ(middle(iconOf(icons, picture(embedded(source.readAll())))), red);
}

TEST_F(ForeignPicturesTest, theProcessHasNothingOfOursAndCannotOpenAnything) {
    qputenv("CORVID_TEST_SECRET", "x");
    const FileDescriptor inheritable(open("/dev/null", O_RDONLY));
    const FileDescriptor interruption(eventfd(0, EFD_CLOEXEC));
    for (const bool hasText : {false, true}) {
        PictureProcess process(path(u"drawer"_s), interruption.number());
        const DrawnPicture drawn = process.draw(
            svg(hasText ? "<text y='30' font-size='30'>A</text>" : "<rect width='9' height='9'/>"),
            true, 32);
        ASSERT_EQ(drawn.outcome, DrawnPicture::Outcome::Drawn);
        const QByteArray number = starts().last();

        // The conversation, the null device, and what wakes an event loop.
        const QDir open(u"/proc/%1/fd"_s.arg(QString::fromLatin1(number)));
        for (const QFileInfo &descriptor :
             open.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
            std::error_code error;
            const std::string target =
                std::filesystem::read_symlink(descriptor.filePath().toStdString(), error).string();
            const int place = descriptor.fileName().toInt();
            EXPECT_TRUE(place == 2 ? target == "/dev/null"
                                   : target.starts_with(place < 2 ? "socket:" : "anon_inode:"))
                << place << ' ' << target;
        }
        const QByteArray environment = readProc(number, "environ");
        for (const char *name :
             {"CORVID_TEST_SECRET", "DBUS", "DISPLAY", "PATH", "XDG_RUNTIME_DIR"})
            EXPECT_FALSE(('\0' + environment).contains('\0' + QByteArray(name))) << name;
        const QByteArray limits = readProc(number, "limits").simplified();
        EXPECT_TRUE(limits.contains("Max core file size 0 0 ")) << limits.constData();
        EXPECT_TRUE(limits.contains("Max file size 0 0 "));
        EXPECT_TRUE(limits.contains("Max cpu time 60 60 "));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        EXPECT_TRUE(limits.contains("Max data size 268435456 268435456 "));
#endif
        const QByteArray status = readProc(number, "status");
        EXPECT_TRUE(status.contains("NoNewPrivs:\t1")) << status.constData();
        EXPECT_TRUE(status.contains("\nSeccomp:\t2") || limits.contains("Max open files 0 0 "));
    }
    qunsetenv("CORVID_TEST_SECRET");
}

TEST_F(ForeignPicturesTest, whoKillsTheProcessDoesNotCostThePicture) {
    // The first one is killed before it can answer.
    script(u"drawer"_s, "read -r first <'" + QFile::encodeName(path(u"starts"_s)) +
                            "'\n[ \"$first\" != $$ ] || kill -KILL $$\n"
                            "exec " CORVID_BUILD_FOLDER "/corvid \"$@\"\n");
    EXPECT_EQ(middle(loader().icon(redIcon())), red);
    EXPECT_EQ(starts().size(), 2);
}

TEST_F(ForeignPicturesTest, oneThatIsKilledWhileItDrawsIsReplaced) {
    const IconLoader icons = loader();
    Image image;
    std::jthread asking([&] { image = iconOf(icons, dashedLines); });
    ASSERT_TRUE(eventually([this] { return starts().size() == 1; }));
    kill(starts()[0].toInt(), SIGKILL);
    asking.join();
    EXPECT_EQ(image, icons.genericIcon());
    EXPECT_EQ(starts().size(), 2);
    EXPECT_EQ(middle(icons.icon(redIcon())), red);
}

TEST_F(ForeignPicturesTest, whereNobodyCanDrawThereAreStandInsUntilSomebodyCan) {
    script(u"killed"_s, "kill -KILL $$\n");
    script(u"mute"_s, "exit 0\n");
    script(u"other"_s, "echo 'something else'; read -r line\n");
    const QString icon = redIcon();
    for (const QString &drawer : {u"no-such-program"_s, u"killed"_s, u"mute"_s, u"other"_s}) {
        const IconLoader icons = loader(1, drawer);
        EXPECT_EQ(icons.icon(icon), icons.genericIcon()) << qPrintable(drawer);
    }
    EXPECT_EQ(middle(loader().icon(icon)), red);
}

TEST_F(ForeignPicturesTest, aProcessThatStandsStillIsGivenUp) {
    script(u"stopped"_s, "kill -STOP $$\n");
    const QString icon = redIcon();
    const IconLoader icons = loader(1, u"stopped"_s);
    EXPECT_EQ(icons.icon(icon), icons.genericIcon());
    ASSERT_EQ(starts().size(), 1);
    EXPECT_TRUE(isGone(starts()[0]));
    EXPECT_EQ(middle(loader().icon(icon)), red) << "the picture is not to blame";
}

TEST_F(ForeignPicturesTest, endingWaitsForNoPicture) {
    script(u"stopped"_s, "kill -STOP $$\n");
    const QString icon = redIcon();
    IconLoader icons({}, {}, 1, path(u"stopped"_s));
    Image image;
    QElapsedTimer time;
    std::jthread asking([&] { image = icons.icon(icon); });
    ASSERT_TRUE(eventually([this] { return starts().size() == 1; }));
    time.start();
    icons.end();
    asking.join();
    EXPECT_LT(time.elapsed(), 4'000) << "a process that stands still is waited for longer";
    EXPECT_TRUE(isGone(starts()[0]));
    EXPECT_EQ(image, icons.genericIcon());
    EXPECT_EQ(icons.icon(icon), icons.genericIcon());
    EXPECT_EQ(starts().size(), 1) << "nothing is drawn from then on";
}

TEST_F(ForeignPicturesTest, theProcessEndsWhenThereIsNothingLeftToDraw) {
    const IconLoader icons = loader();
    EXPECT_EQ(middle(icons.icon(redIcon())), red);
    EXPECT_TRUE(eventually([this] { return isGone(starts()[0]); }));
    EXPECT_TRUE(eventually([this] { return QFile::exists(path(u"cache/Corvid/icons"_s)); }));
    png(u"blue.png"_s, {32, 32}, blue);
    EXPECT_EQ(middle(icons.icon(entry(path(u"blue.png"_s)))), blue) << "another one is started";
    EXPECT_EQ(starts().size(), 2);
}

TEST_F(ForeignPicturesTest, aStartWithNothingNewStartsNoProcess) {
    png(u"red.png"_s, {32, 32}, red);
    file(u"red.svg"_s, svg("<rect width='32' height='32' fill='red'/>"));
    file(u"broken.png"_s, "no picture");
    const QStringList names{u"red.png"_s, u"red.svg"_s, u"broken.png"_s};
    const auto lookAtAll = [&](const IconLoader &icons) {
        for (const QString &name : names) {
            const Image image = icons.icon(entry(path(name)));
            if (name.startsWith(u"red"))
                EXPECT_EQ(middle(image), red) << qPrintable(name);
            else
                EXPECT_EQ(image, icons.genericIcon());
        }
    };
    {
        const IconLoader icons = loader();
        lookAtAll(icons);
        ASSERT_TRUE(eventually([this] { return QFile::exists(path(u"cache/Corvid/icons"_s)); }));
    }
    EXPECT_EQ(starts().size(), 1);
    ASSERT_TRUE(QFile::remove(path(u"starts"_s)));
    lookAtAll(loader());
    EXPECT_EQ(starts().size(), 0);

    png(u"red.png"_s, {32, 32}, blue);
    EXPECT_EQ(middle(loader().icon(entry(path(u"red.png"_s)))), blue) << "it has changed";
    EXPECT_EQ(starts().size(), 1);
}
