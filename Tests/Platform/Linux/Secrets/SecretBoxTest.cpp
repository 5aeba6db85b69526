#include "Platform/Linux/Secrets/SecretBox.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>
#include <sodium.h>

using namespace corvid;

namespace {

struct SecretBox : ::testing::Test {
    void SetUp() override { ASSERT_GE(sodium_init(), 0); }

    const QJsonObject table{{QStringLiteral("service"), QStringLiteral("secret")}};
};

} // namespace

TEST_F(SecretBox, whatWasSealedComesBack) {
    const QByteArray key = newBoxKey();
    EXPECT_EQ(openBox(sealBox(table, key), key), table);
}

TEST_F(SecretBox, aChangeAnywhereIsNoticed) {
    const QByteArray key = newBoxKey();
    const QByteArray sealed = sealBox(table, key);
    for (qsizetype i = 0; i < sealed.size(); ++i) {
        QByteArray changed = sealed;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_FALSE(openBox(changed, key)) << i;
        EXPECT_FALSE(openBox(sealed.first(i), key)) << i;
    }
}

TEST_F(SecretBox, onlyItsKeyOpensIt) {
    const QByteArray sealed = sealBox(table, newBoxKey());
    EXPECT_FALSE(openBox(sealed, newBoxKey()));
    EXPECT_FALSE(openBox(sealed, QByteArray()));
}
