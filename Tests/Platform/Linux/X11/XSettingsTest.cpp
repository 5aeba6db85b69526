#include "Platform/Linux/X11/XSettings.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Writes as a settings daemon does. */
class Published {
public:
    Published(bool bigEndian, int count) : bigEndian_(bigEndian) {
        bytes_ = QByteArray(1, bigEndian ? '\1' : '\0') + QByteArray(3, '\0');
        number<quint32>(7);
        number<quint32>(static_cast<quint32>(count));
    }
    Published &text(const QByteArray &name, const QByteArray &value) {
        begin(1, name);
        number<quint32>(static_cast<quint32>(value.size()));
        return padded(value);
    }
    Published &integer(const QByteArray &name) {
        begin(0, name);
        return number<quint32>(42);
    }
    Published &colour(const QByteArray &name) {
        begin(2, name);
        return number<quint32>(1).number<quint32>(2);
    }
    const QByteArray &bytes() const { return bytes_; }

private:
    void begin(char type, const QByteArray &name) {
        bytes_ += QByteArray(1, type) + '\0';
        number<quint16>(static_cast<quint16>(name.size())).padded(name).number<quint32>(3);
    }
    template <typename T>
    Published &number(T value) {
        value = bigEndian_ ? qToBigEndian(value) : qToLittleEndian(value);
        bytes_.append(reinterpret_cast<const char *>(&value), sizeof value);
        return *this;
    }
    Published &padded(const QByteArray &text) {
        bytes_ += text + QByteArray((4 - text.size() % 4) % 4, '\0');
        return *this;
    }

    bool bigEndian_;
    QByteArray bytes_;
};

QByteArray published(bool bigEndian) {
    return Published(bigEndian, 4)
        .integer("Xft/DPI")
        .text("Net/ThemeName", "Greybird-dark")
        .colour("A/Colour")
        .text("Gtk/FontName", "Noto Sans 10")
        .bytes();
}

} // namespace

TEST(XSettings, textsAreReadInBothByteOrdersAmongWhatIsNone) {
    for (const bool bigEndian : {false, true}) {
        const QHash<QByteArray, QString> texts = textsInXSettings(published(bigEndian));
        EXPECT_EQ(texts, (QHash<QByteArray, QString>{{"Net/ThemeName", u"Greybird-dark"_s},
                                                     {"Gtk/FontName", u"Noto Sans 10"_s}}));
    }
}

TEST(XSettings, whatComesBeforeADamageCounts) {
    const QByteArray whole = published(false);
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QHash<QByteArray, QString> texts = textsInXSettings(whole.first(length));
        EXPECT_LE(texts.size(), 1);
        EXPECT_TRUE(texts.isEmpty() || texts.value("Net/ThemeName") == u"Greybird-dark");
    }
    EXPECT_TRUE(textsInXSettings({}).isEmpty());
    EXPECT_TRUE(textsInXSettings(QByteArray(64, '\xff')).isEmpty());
    EXPECT_EQ(textsInXSettings(Published(false, 1'000'000).text("a", "b").bytes()).size(), 1);
    EXPECT_EQ(
        textsInXSettings(Published(false, 1).text("empty", "").bytes()).value("empty", u"x"_s),
        QString());
}
