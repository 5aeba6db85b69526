#include "Platform/Linux/Secrets/LockedText.h"

#include "Worlds/QtPrinters.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <optional>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Of this process: memory that is never swapped. */
qint64 lockedKibibytes() {
    QFile status(u"/proc/self/status"_s);
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    static const QRegularExpression line(u"VmLck:\\s*(\\d+) kB"_s);
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong();
}

} // namespace

TEST(LockedText, isWhatItWasMadeOf) {
    for (const QString &text : {u"sk-key"_s, u"ключ 🔑"_s, QString(10'000, u'x'), QString()})
        EXPECT_EQ(LockedText(text).copy(), text);
    EXPECT_EQ(LockedText(u"a"_s), LockedText(u"a"_s));
    EXPECT_FALSE(LockedText(u"a"_s) == LockedText(u"b"_s));
}

TEST(LockedText, isLockedUntilTheLastCopyIsGone) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer has nothing locked";
#endif
    const qint64 before = lockedKibibytes();
    std::optional<LockedText> text(LockedText(u"sk-key"_s));
    std::optional<LockedText> copy = text;
    EXPECT_GT(lockedKibibytes(), before);
    text.reset();
    EXPECT_EQ(copy->copy(), u"sk-key");
    EXPECT_GT(lockedKibibytes(), before);
    copy.reset();
    EXPECT_EQ(lockedKibibytes(), before);
}
