#include "Base/Wipe.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(Wipe, nothingOfASecretIsLeftInItsMemory) {
    QString text = QString::fromUtf8("key €");
    wipe(text);
    EXPECT_EQ(text, QString(5, QChar(0)));
    QByteArray bytes("key");
    wipe(bytes);
    EXPECT_EQ(bytes, QByteArray(3, '\0'));
    QString none;
    wipe(none);
    EXPECT_EQ(none, QString());
}

TEST(Wipe, aSecretThatSomebodyElseHasStays) {
    QString text = u"key"_s;
    text.detach();
    const QString shared = text;
    wipe(text);
    EXPECT_EQ(shared, u"key");
    EXPECT_EQ(text, u"key");
}
