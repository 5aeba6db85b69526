#include "Platform/Linux/JsonUserDefaults.h"

#include "Worlds/Wait.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QJsonValue plusOne(const QJsonValue &count) {
    return count.toInteger() + 1;
}

class UserDefaultsFile : public ::testing::Test {
protected:
    QString path(const QString &name) const { return folder_.filePath(name); }
    QString file() const { return path(u"defaults.json"_s); }

    static QByteArray contentOf(const QString &path) {
        QFile source(path);
        return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray("(no file)");
    }
    QJsonObject stored() const { return QJsonDocument::fromJson(contentOf(file())).object(); }

    /** As an editor does that writes into the file itself. */
    void edit(const QByteArray &bytes) const {
        QFile target(file());
        ASSERT_TRUE(target.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(target.write(bytes), bytes.size());
    }

    QStringList names() const {
        QStringList all =
            QDir(folder_.path())
                .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDir::Name);
        all.removeOne(u"defaults.json.lock"_s);
        return all;
    }
    QStringList keptAside() const { return names().filter(u"defaults.json.damaged-"_s); }

    QTemporaryDir folder_;
};

/** Keeps every store from writing, as another process does that is just writing. */
class HeldLock {
public:
    explicit HeldLock(const QString &file) : lock_(file + u".lock"_s) {
        EXPECT_TRUE(lock_.open(QIODevice::ReadWrite));
        EXPECT_EQ(flock(lock_.handle(), LOCK_EX), 0);
    }
    void release() { lock_.close(); }

private:
    QFile lock_;
};

} // namespace

// --- Reading

TEST_F(UserDefaultsFile, aMissingFileReadsAsEmptyAndReadingCreatesNothing) {
    {
        JsonUserDefaults defaults(file());
        EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
        defaults.synchronize();
    }
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
              QStringList());
}

TEST_F(UserDefaultsFile, livesInTheUsersConfigurationFolder) {
    qputenv("XDG_CONFIG_HOME", path(u"config"_s).toLocal8Bit());
    {
        JsonUserDefaults defaults;
        defaults.set(u"a"_s, 1);
    }
    qunsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(contentOf(path(u"config/Corvid/defaults.json"_s)), "{\n    \"a\": 1\n}\n");
}

TEST_F(UserDefaultsFile, everyPlainTypeIsReadAsWritten) {
    edit(R"({"text": "é", "whole": 2048, "fraction": 0.1, "flag": true, "nothing": null,
             "list": ["a", 1], "table": {"k": -1}})");
    const JsonUserDefaults defaults(file());
    EXPECT_EQ(defaults.value(u"text"_s), QJsonValue(u"é"_s));
    EXPECT_EQ(defaults.value(u"whole"_s), QJsonValue(2048));
    EXPECT_EQ(defaults.value(u"fraction"_s), QJsonValue(0.1));
    EXPECT_EQ(defaults.value(u"flag"_s), QJsonValue(true));
    EXPECT_TRUE(defaults.value(u"nothing"_s).isNull());
    EXPECT_EQ(defaults.value(u"list"_s), QJsonValue(QJsonArray{u"a"_s, 1}));
    EXPECT_EQ(defaults.value(u"table"_s), QJsonValue(QJsonObject{{u"k"_s, -1}}));
    EXPECT_TRUE(defaults.value(u"absent"_s).isUndefined());
}

TEST_F(UserDefaultsFile, aValueOfAnUnexpectedTypeIsHandedOverAsItIs) {
    edit(R"({"launchCounts": "seven"})");
    JsonUserDefaults defaults(file());
    EXPECT_EQ(defaults.value(u"launchCounts"_s), QJsonValue(u"seven"_s));
    QJsonValue seen;
    defaults.update(u"launchCounts"_s, [&seen](const QJsonValue &present) {
        seen = present;
        return present;
    });
    EXPECT_EQ(seen, QJsonValue(u"seven"_s));
}

TEST_F(UserDefaultsFile, aByteOrderMarkIsNoDamage) {
    edit("\xEF\xBB\xBF{\"a\": 1}");
    EXPECT_EQ(JsonUserDefaults(file()).value(u"a"_s), QJsonValue(1));
}

TEST_F(UserDefaultsFile, aByteOrderMarkWithinATextIsAPartOfIt) {
    for (const QByteArray &text : {QByteArray("\xef\xbb\xbfx"), QByteArray("\\ufeffx")}) {
        const auto object = decodeDefaults("\xef\xbb\xbf{\"theirs\": \"" + text + "\"}");
        ASSERT_TRUE(object);
        EXPECT_EQ(object->value(u"theirs"_s), QJsonValue(u"\ufeffx"_s));
        EXPECT_EQ(decodeDefaults(encodeDefaults(*object)), object);
    }
}

TEST_F(UserDefaultsFile, anEditInTheFileIsSeenAtTheNextUse) {
    edit(R"({"a": 1})");
    const JsonUserDefaults defaults(file());
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    edit(R"({"a": "another"})");
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(u"another"_s));
}

TEST_F(UserDefaultsFile, aFilePutInPlaceOfTheOldOneIsSeenAtTheNextUse) {
    edit(R"({"a": 1})");
    const JsonUserDefaults defaults(file());
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    ASSERT_EQ(rename(QFile::encodeName(file()), QFile::encodeName(path(u"old"_s))), 0);
    EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
    edit(R"({"a": 2})");
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
}

// File times advance by milliseconds; size and identity stay the same here.
TEST_F(UserDefaultsFile, editsInQuickSuccessionAreAllSeen) {
    const JsonUserDefaults defaults(file());
    for (int i = 100; i < 600; ++i) {
        edit("{\"a\": " + QByteArray::number(i) + "}");
        ASSERT_EQ(defaults.value(u"a"_s), QJsonValue(i));
    }
}

TEST_F(UserDefaultsFile, anEditThatSetsTheOldTimeAgainIsSeen) {
    edit(R"({"a": 1})");
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(file()).constData(), &status), 0);
    const JsonUserDefaults defaults(file());
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    edit(R"({"a": 2})");
    const timespec times[] = {status.st_atim, status.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(file()).constData(), times, 0), 0);
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
}

// --- The generation

TEST_F(UserDefaultsFile, theGenerationStaysWhileNothingChanges) {
    edit(R"({"a": 1})");
    const JsonUserDefaults defaults(file());
    const quint64 generation = defaults.generation();
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    EXPECT_EQ(defaults.generation(), generation);
}

TEST_F(UserDefaultsFile, theGenerationDiffersAfterEveryChangeWhoeverMadeIt) {
    JsonUserDefaults defaults(file());
    quint64 last = defaults.generation();
    const auto differs = [&] {
        const quint64 now = defaults.generation();
        return std::exchange(last, now) != now;
    };
    edit(R"({"a": 1})");
    EXPECT_TRUE(differs()) << "by hand";
    defaults.set(u"a"_s, 2);
    EXPECT_TRUE(differs()) << "here";
    defaults.synchronize();
    last = defaults.generation();
    {
        JsonUserDefaults other(file());
        other.set(u"a"_s, 3);
    }
    EXPECT_TRUE(differs()) << "by another process";
    QFile::remove(file());
    EXPECT_TRUE(differs()) << "the file is gone";
    EXPECT_FALSE(differs()) << "nothing";
}

TEST_F(UserDefaultsFile, theGenerationDiffersWhenMergingGivesAnotherValueThanWasShown) {
    edit(R"({"count": 1})");
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    defaults.update(u"count"_s, plusOne);
    edit(R"({"count": 10})");
    const quint64 generation = defaults.generation();
    EXPECT_EQ(defaults.value(u"count"_s), QJsonValue(2));
    lock.release();
    defaults.synchronize();
    EXPECT_NE(defaults.generation(), generation);
    EXPECT_EQ(defaults.value(u"count"_s), QJsonValue(11));
}

TEST_F(UserDefaultsFile, theGenerationDiffersWhenTheFileWinsOverWhatWasShown) {
    edit(R"({"a": 1})");
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    const auto atLeastFive = [](const QJsonValue &value) {
        return QJsonValue(std::max<qint64>(value.toInteger(), 5));
    };
    defaults.update(u"a"_s, atLeastFive);
    edit(R"({"a": 10})");
    const quint64 generation = defaults.generation();
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(5));
    lock.release();
    defaults.synchronize();
    EXPECT_NE(defaults.generation(), generation);
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(10));
}

// --- Writing

TEST_F(UserDefaultsFile, anUpdateIsVisibleAtOnceAndDoesNotWaitForTheDisk) {
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    defaults.set(u"a"_s, 1);
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    defaults.update(u"a"_s, plusOne);
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
    EXPECT_FALSE(QFileInfo::exists(file()));
    lock.release();
    defaults.synchronize();
    EXPECT_EQ(stored(), (QJsonObject{{u"a"_s, 2}}));
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
}

TEST_F(UserDefaultsFile, theVeryNextReadNeverMissesAnUpdateWhileItIsBeingWritten) {
    JsonUserDefaults defaults(file());
    for (int i = 1; i <= 20'000; ++i) {
        defaults.update(u"count"_s, plusOne);
        for (int read = 0; read < 5; ++read)
            ASSERT_EQ(defaults.value(u"count"_s), QJsonValue(i));
    }
}

TEST_F(UserDefaultsFile, isWrittenIndentedForTheEye) {
    JsonUserDefaults defaults(file());
    defaults.set(u"roots"_s, QJsonArray{u"/a"_s});
    defaults.set(u"flag"_s, true);
    defaults.synchronize();
    EXPECT_EQ(contentOf(file()), "{\n"
                                 "    \"flag\": true,\n"
                                 "    \"roots\": [\n"
                                 "        \"/a\"\n"
                                 "    ]\n"
                                 "}\n");
}

TEST_F(UserDefaultsFile, integersStayIntegers) {
    edit(R"({"exact": 9007199254740993, "million": 1000000, "byHand": 1e6})");
    JsonUserDefaults defaults(file());
    defaults.set(u"count"_s, 1'000'000);
    defaults.set(u"fromDouble"_s, 100'000'000.0);
    defaults.set(u"negative"_s, -2048);
    defaults.synchronize();
    EXPECT_EQ(contentOf(file()), "{\n"
                                 "    \"byHand\": 1000000,\n"
                                 "    \"count\": 1000000,\n"
                                 "    \"exact\": 9007199254740993,\n"
                                 "    \"fromDouble\": 100000000,\n"
                                 "    \"million\": 1000000,\n"
                                 "    \"negative\": -2048\n"
                                 "}\n");
}

TEST_F(UserDefaultsFile, keysWeDoNotKnowSurvive) {
    edit(R"({"theirs": {"deep": [1, null, {"x": 0.5}]}, "é": "", "a": 1})");
    JsonUserDefaults defaults(file());
    defaults.set(u"a"_s, 2);
    defaults.synchronize();
    EXPECT_EQ(stored(), QJsonDocument::fromJson(
                            R"({"theirs": {"deep": [1, null, {"x": 0.5}]}, "é": "", "a": 2})")
                            .object());
}

TEST_F(UserDefaultsFile, anUndefinedResultRemovesTheKey) {
    edit(R"({"a": 1, "b": 2})");
    JsonUserDefaults defaults(file());
    defaults.set(u"a"_s, QJsonValue::Undefined);
    EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
    defaults.synchronize();
    EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
    EXPECT_EQ(stored(), (QJsonObject{{u"b"_s, 2}}));
}

TEST_F(UserDefaultsFile, aChangeToTheSameValueWritesNothing) {
    const QByteArray asEdited = R"({ "a" : 1 })";
    edit(asEdited);
    JsonUserDefaults defaults(file());
    const quint64 generation = defaults.generation();
    defaults.set(u"a"_s, 1);
    defaults.set(u"absent"_s, QJsonValue::Undefined);
    defaults.synchronize();
    EXPECT_EQ(contentOf(file()), asEdited);
    EXPECT_EQ(defaults.generation(), generation);
    EXPECT_FALSE(QFileInfo::exists(file() + u".lock"_s));
}

TEST_F(UserDefaultsFile, aChangeThatAnotherProcessAlreadyMadeWritesNothing) {
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    defaults.set(u"a"_s, 1);
    const QByteArray asEdited = R"({ "a" : 1 })";
    edit(asEdited);
    lock.release();
    defaults.synchronize();
    EXPECT_EQ(contentOf(file()), asEdited);
}

TEST_F(UserDefaultsFile, changesAreAppliedInTheirOrder) {
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    for (const QString &letter : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        defaults.update(u"text"_s, [letter](const QJsonValue &text) {
            return QJsonValue(text.toString() + letter);
        });
    }
    EXPECT_EQ(defaults.value(u"text"_s), QJsonValue(u"abcd"_s));
    lock.release();
    defaults.synchronize();
    EXPECT_EQ(stored().value(u"text"_s), QJsonValue(u"abcd"_s));
}

TEST_F(UserDefaultsFile, theDestructorWritesWhatIsWaiting) {
    {
        JsonUserDefaults defaults(file());
        for (int i = 0; i < 50; ++i)
            defaults.update(u"count"_s, plusOne);
    }
    EXPECT_EQ(stored(), (QJsonObject{{u"count"_s, 50}}));
}

TEST_F(UserDefaultsFile, leavesOnlyTheFileAndItsLock) {
    {
        JsonUserDefaults defaults(file());
        defaults.set(u"a"_s, 1);
        defaults.synchronize();
        defaults.set(u"a"_s, 2);
    }
    EXPECT_EQ(names(), QStringList{u"defaults.json"_s});
}

TEST_F(UserDefaultsFile, theFileItsLockAndItsFolderAreForTheUserAlone) {
    const mode_t before = umask(0);
    {
        JsonUserDefaults defaults(path(u"new/defaults.json"_s));
        defaults.set(u"a"_s, 1);
    }
    umask(before);
    const std::pair<QString, mode_t> rows[]{
        {u"new"_s, 0700}, {u"new/defaults.json"_s, 0600}, {u"new/defaults.json.lock"_s, 0600}};
    for (const auto &[name, mode] : rows) {
        struct stat status = {};
        ASSERT_EQ(stat(QFile::encodeName(path(name)).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode) << qPrintable(name);
    }
}

// --- Several processes

TEST_F(UserDefaultsFile, whatAnotherWroteMeanwhileIsMerged) {
    edit(R"({"count": 1, "removedByThem": 1})");
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    defaults.update(u"count"_s, plusOne);
    defaults.set(u"ours"_s, u"here"_s);
    edit(R"({"count": 5, "theirs": "there"})");
    lock.release();
    defaults.synchronize();
    EXPECT_EQ(stored(),
              (QJsonObject{{u"count"_s, 6}, {u"ours"_s, u"here"_s}, {u"theirs"_s, u"there"_s}}));
    EXPECT_EQ(defaults.value(u"count"_s), QJsonValue(6));
    EXPECT_EQ(defaults.value(u"theirs"_s), QJsonValue(u"there"_s));
    EXPECT_TRUE(defaults.value(u"removedByThem"_s).isUndefined());
}

TEST_F(UserDefaultsFile, keysThatAreNotWaitingShowWhatAnotherWroteAtOnce) {
    JsonUserDefaults defaults(file());
    HeldLock lock(file());
    defaults.set(u"ours"_s, 1);
    edit(R"({"theirs": 2})");
    EXPECT_EQ(defaults.value(u"ours"_s), QJsonValue(1));
    EXPECT_EQ(defaults.value(u"theirs"_s), QJsonValue(2));
    lock.release();
}

TEST_F(UserDefaultsFile, aLockThatIsNeverReleasedHoldsNobodyForEver) {
    JsonUserDefaults defaults(file());
    {
        const HeldLock lock(file());
        defaults.set(u"ours"_s, 1);
        defaults.synchronize();
        EXPECT_FALSE(QFileInfo::exists(file())) << "it gave up";
        EXPECT_EQ(defaults.value(u"ours"_s), QJsonValue(1)) << "and shows the change all the same";
    }
    defaults.synchronize();
    EXPECT_EQ(stored(), (QJsonObject{{u"ours"_s, 1}}));
}

TEST_F(UserDefaultsFile, twoStoresSeeEachOthersValues) {
    JsonUserDefaults one(file());
    JsonUserDefaults two(file());
    for (int i = 0; i < 50; ++i) {
        one.update(u"count"_s, plusOne);
        one.synchronize();
        ASSERT_EQ(two.value(u"count"_s), QJsonValue(2 * i + 1));
        two.update(u"count"_s, plusOne);
        two.synchronize();
        ASSERT_EQ(one.value(u"count"_s), QJsonValue(2 * i + 2));
    }
}

TEST_F(UserDefaultsFile, twoProcessesThatCountLoseNothing) {
    QProcess one;
    QProcess two;
    for (QProcess *process : {&one, &two}) {
        process->setProcessChannelMode(QProcess::ForwardedChannels);
        process->start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/DefaultsWriter"),
                       {file(), u"count"_s, u"200"_s});
    }
    for (QProcess *process : {&one, &two}) {
        ASSERT_TRUE(process->waitForFinished());
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 0);
    }
    EXPECT_EQ(stored(), (QJsonObject{{u"count"_s, 400}}));
    EXPECT_EQ(names(), QStringList{u"defaults.json"_s});
}

// --- Damage

TEST_F(UserDefaultsFile, aDamagedFileReadsAsEmptyAndIsKeptAsideBeforeTheFirstWrite) {
    const QList<QByteArray> damages{"{",
                                    R"({"a": 1)",
                                    R"({"a": 1}})",
                                    R"({"a": 1,})",
                                    "[]",
                                    "12",
                                    "\"text\"",
                                    "null",
                                    " ",
                                    R"({"a": 1} {"b": 2})",
                                    QByteArray(100, '\0'),
                                    "\xff\xfe{\x00}\x00",
                                    QByteArray(5000, '[')};
    for (const QByteArray &damage : damages) {
        edit(damage);
        {
            JsonUserDefaults defaults(file());
            EXPECT_TRUE(defaults.value(u"a"_s).isUndefined()) << damage.constData();
            EXPECT_EQ(names(), QStringList{u"defaults.json"_s}) << "reading moves nothing";
            defaults.set(u"b"_s, 2);
        }
        EXPECT_EQ(stored(), (QJsonObject{{u"b"_s, 2}})) << damage.constData();
        ASSERT_EQ(keptAside().size(), 1) << damage.constData();
        EXPECT_EQ(contentOf(path(keptAside().constFirst())), damage);
        QFile::remove(path(keptAside().constFirst()));
    }
}

TEST_F(UserDefaultsFile, aFileOfMoreThanOneMebibyteIsDamagedHoweverSoundItIs) {
    const QByteArray sound = R"({"a": 1})";
    const QByteArray most = sound + QByteArray((1 << 20) - sound.size(), ' ');
    for (const auto &[content, isRead] : {std::pair(most, true), std::pair(most + ' ', false),
                                          std::pair(most.repeated(200), false)}) {
        edit(content);
        {
            JsonUserDefaults defaults(file());
            EXPECT_EQ(defaults.value(u"a"_s).isUndefined(), !isRead) << content.size();
            defaults.set(u"b"_s, 2);
        }
        EXPECT_EQ(stored()[u"b"_s], 2) << content.size();
        ASSERT_EQ(keptAside().size(), isRead ? 0 : 1) << content.size();
        if (!isRead) {
            EXPECT_EQ(QFileInfo(path(keptAside().constFirst())).size(), content.size());
            ASSERT_TRUE(QFile::remove(path(keptAside().constFirst())));
        }
    }
}

TEST_F(UserDefaultsFile, aFileThatIsNestedDeeperThanThirtyTwoLevelsIsDamaged) {
    const auto nested = [](int levels) {
        return R"({"text": "[[[\"{{{", "a": )" + QByteArray(levels - 1, '[') +
               QByteArray(levels - 1, ']') + '}';
    };
    edit(nested(32));
    EXPECT_TRUE(JsonUserDefaults(file()).value(u"a"_s).isArray());
    for (const QByteArray &deeper : {nested(33), QByteArray("{\"a\":").repeated(100'000)}) {
        edit(deeper);
        {
            JsonUserDefaults defaults(file());
            EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
            defaults.set(u"b"_s, 2);
        }
        EXPECT_EQ(stored(), (QJsonObject{{u"b"_s, 2}}));
        ASSERT_EQ(keptAside().size(), 1);
        EXPECT_EQ(contentOf(path(keptAside().constFirst())), deeper);
        ASSERT_TRUE(QFile::remove(path(keptAside().constFirst())));
    }
}

TEST_F(UserDefaultsFile, aFileThatIndentationWouldMakeTooLargeIsWrittenWithoutIt) {
    edit(R"({"theirs": [)" + QByteArray("1,").repeated(400'000) + "1]}");
    {
        JsonUserDefaults defaults(file());
        defaults.set(u"b"_s, 2);
    }
    const JsonUserDefaults again(file());
    EXPECT_EQ(again.value(u"b"_s), QJsonValue(2));
    EXPECT_EQ(again.value(u"theirs"_s).toArray().size(), 400'001);
    EXPECT_EQ(keptAside(), QStringList());
}

TEST_F(UserDefaultsFile, whatWouldMakeTheFileTooLargeToBeReadIsNotWritten) {
    const QByteArray before = R"({"a": 1})";
    edit(before);
    {
        JsonUserDefaults defaults(file());
        defaults.set(u"b"_s, QString(1 << 20, u'x'));
        defaults.synchronize();
        EXPECT_EQ(defaults.value(u"b"_s).toString().size(), 1 << 20) << "but shown";
    }
    EXPECT_EQ(contentOf(file()), before);
    EXPECT_EQ(keptAside(), QStringList());
}

TEST_F(UserDefaultsFile, whatIsKeptAsideCarriesItsTimeInUtc) {
    edit("{");
    const QDateTime before = QDateTime::currentDateTimeUtc();
    JsonUserDefaults(file()).set(u"a"_s, 1);
    ASSERT_EQ(keptAside().size(), 1);
    QDateTime time = QDateTime::fromString(keptAside().constFirst(),
                                           u"'defaults.json.damaged-'yyyyMMdd'T'HHmmss'Z'"_s);
    time.setTimeZone(QTimeZone::utc());
    EXPECT_TRUE(time.isValid()) << qPrintable(keptAside().constFirst());
    EXPECT_GE(time.secsTo(QDateTime::currentDateTimeUtc()), 0);
    EXPECT_LE(time.secsTo(before), 1);
}

TEST_F(UserDefaultsFile, whatIsKeptAsideNeverReplacesAnEarlierOne) {
    for (const char *damage : {"{one", "{two", "{three", "{four"}) {
        edit(damage);
        JsonUserDefaults(file()).set(u"a"_s, 1);
    }
    QList<QByteArray> contents;
    for (const QString &name : keptAside())
        contents.append(contentOf(path(name)));
    std::ranges::sort(contents);
    EXPECT_EQ(contents, (QList<QByteArray>{"{four", "{one", "{three", "{two"}));
}

TEST_F(UserDefaultsFile, aDamagedFileStaysWhenThereIsNothingToWrite) {
    edit("{");
    {
        JsonUserDefaults defaults(file());
        defaults.set(u"absent"_s, QJsonValue::Undefined);
    }
    EXPECT_EQ(contentOf(file()), "{");
    EXPECT_EQ(keptAside(), QStringList());
}

TEST_F(UserDefaultsFile, anEmptyFileIsEmptyAndNotKeptAside) {
    edit("");
    {
        JsonUserDefaults defaults(file());
        EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
        defaults.set(u"a"_s, 1);
    }
    EXPECT_EQ(stored(), (QJsonObject{{u"a"_s, 1}}));
    EXPECT_EQ(names(), QStringList{u"defaults.json"_s});
}

// --- Links and special files

TEST_F(UserDefaultsFile, aLinkedFileStaysALink) {
    ASSERT_TRUE(QDir(folder_.path()).mkdir(u"dotfiles"_s));
    ASSERT_TRUE(QFile::link(u"dotfiles/real.json"_s, file()));
    edit(R"({"a": 1})");
    JsonUserDefaults defaults(file());
    defaults.set(u"b"_s, 2);
    defaults.synchronize();
    EXPECT_TRUE(QFileInfo(file()).isSymLink());
    EXPECT_EQ(contentOf(path(u"dotfiles/real.json"_s)), "{\n    \"a\": 1,\n    \"b\": 2\n}\n");
    EXPECT_EQ(defaults.value(u"b"_s), QJsonValue(2));
}

TEST_F(UserDefaultsFile, aDamagedLinkedFileIsKeptAsideAndTheLinkStays) {
    ASSERT_TRUE(QDir(folder_.path()).mkdir(u"dotfiles"_s));
    ASSERT_TRUE(QFile::link(u"dotfiles/real.json"_s, file()));
    edit("{");
    JsonUserDefaults(file()).set(u"a"_s, 1);
    EXPECT_TRUE(QFileInfo(file()).isSymLink());
    EXPECT_EQ(contentOf(path(u"dotfiles/real.json"_s)), "{\n    \"a\": 1\n}\n");
    ASSERT_EQ(keptAside().size(), 1);
    EXPECT_EQ(contentOf(path(keptAside().constFirst())), "{");
}

TEST_F(UserDefaultsFile, aPipeNeitherBlocksNorIsReplaced) {
    ASSERT_EQ(mkfifo(QFile::encodeName(file()).constData(), 0600), 0);
    {
        JsonUserDefaults defaults(file());
        EXPECT_TRUE(defaults.value(u"a"_s).isUndefined());
        defaults.set(u"a"_s, 1);
        EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
    }
    EXPECT_FALSE(QFileInfo(file()).isFile());
    EXPECT_EQ(names(), QStringList{u"defaults.json"_s});
}

// --- When writing is impossible

namespace {

/** A store whose folder cannot be made until somebody removes the file in its way. */
class BlockedUserDefaults : public UserDefaultsFile {
protected:
    BlockedUserDefaults() {
        QFile obstacle(path(u"config"_s));
        EXPECT_TRUE(obstacle.open(QIODevice::WriteOnly));
    }
    void unblock() { EXPECT_TRUE(QFile::remove(path(u"config"_s))); }
    QString blockedFile() const { return path(u"config/defaults.json"_s); }
    QJsonObject storedThere() const {
        return QJsonDocument::fromJson(contentOf(blockedFile())).object();
    }
};

} // namespace

TEST_F(BlockedUserDefaults, whatCannotBeWrittenStaysVisibleInThisProcessOnly) {
    {
        JsonUserDefaults defaults(blockedFile());
        defaults.set(u"a"_s, 1);
        defaults.synchronize();
        EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(1));
        defaults.update(u"a"_s, plusOne);
        defaults.synchronize();
        EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
        EXPECT_TRUE(JsonUserDefaults(blockedFile()).value(u"a"_s).isUndefined());
    }
    EXPECT_EQ(names(), QStringList{u"config"_s});
}

TEST_F(BlockedUserDefaults, theNextUpdateWritesTheEarlierOnesToo) {
    JsonUserDefaults defaults(blockedFile());
    defaults.update(u"a"_s, plusOne);
    defaults.synchronize();
    defaults.update(u"a"_s, plusOne);
    defaults.synchronize();
    unblock();
    JsonUserDefaults(blockedFile()).set(u"a"_s, 10);
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(2));
    defaults.set(u"b"_s, true);
    defaults.synchronize();
    EXPECT_EQ(storedThere(), (QJsonObject{{u"a"_s, 12}, {u"b"_s, true}}));
    EXPECT_EQ(defaults.value(u"a"_s), QJsonValue(12));
}

TEST_F(BlockedUserDefaults, synchronizeAndTheDestructorTryAgain) {
    {
        JsonUserDefaults defaults(blockedFile());
        defaults.set(u"a"_s, 1);
        defaults.synchronize();
        unblock();
        defaults.synchronize();
        EXPECT_EQ(storedThere(), (QJsonObject{{u"a"_s, 1}}));
    }
    ASSERT_TRUE(QDir(path(u"config"_s)).removeRecursively());
    QFile obstacle(path(u"config"_s));
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    {
        JsonUserDefaults defaults(blockedFile());
        defaults.set(u"a"_s, 2);
        defaults.synchronize();
        unblock();
    }
    EXPECT_EQ(storedThere(), (QJsonObject{{u"a"_s, 2}}));
}

TEST_F(BlockedUserDefaults, itTriesAgainByItself) {
    JsonUserDefaults defaults(blockedFile(), std::chrono::milliseconds(10));
    defaults.set(u"a"_s, 1);
    defaults.synchronize();
    EXPECT_FALSE(QFileInfo::exists(blockedFile()));
    unblock();
    EXPECT_TRUE(waitUntil([&] { return storedThere() == QJsonObject{{u"a"_s, 1}}; }));
}

TEST_F(UserDefaultsFile, aFileThatSomebodyKeepsRewritingIsWrittenOnceTheyRest) {
    edit("{}");
    JsonUserDefaults defaults(file());
    std::atomic<bool> goesOn = true;
    std::atomic<int> attempts = 0;
    defaults.update(u"ours"_s, [&](const QJsonValue &) {
        // Between the look at the file and its replacement.
        if (++attempts > 1 && goesOn)
            edit("{\"theirs\": " + QByteArray::number(attempts) + '}' + QByteArray(attempts, ' '));
        return QJsonValue(1);
    });
    defaults.synchronize();
    EXPECT_FALSE(stored().contains(u"ours"_s));
    EXPECT_EQ(defaults.value(u"ours"_s), QJsonValue(1)) << "and shows the change all the same";
    goesOn = false;
    const int theirs = attempts;
    defaults.synchronize();
    EXPECT_EQ(stored(), (QJsonObject{{u"ours"_s, 1}, {u"theirs"_s, theirs}}));
}
